#include "DisabledMembers.h"

#include <cctype>

namespace vrex::cli {

namespace {

// Past the closing quote of the string that starts at `at`.
std::size_t StringEnd(std::string_view json, std::size_t at) {
  for (std::size_t i = at + 1; i < json.size(); ++i) {
    if (json[i] == '\\') {
      ++i;
    } else if (json[i] == '"') {
      return i + 1;
    }
  }
  return json.size();
}

std::size_t SkipSpace(std::string_view json, std::size_t at) {
  while (at < json.size() && std::isspace(static_cast<unsigned char>(json[at]))) ++at;
  return at;
}

// Past the value that starts at `at`: a string, an object or list with all
// it holds, or a number or word up to the next delimiter.
std::size_t ValueEnd(std::string_view json, std::size_t at) {
  int depth = 0;
  for (std::size_t i = at; i < json.size(); ++i) {
    const char c = json[i];
    if (c == '"') {
      i = StringEnd(json, i) - 1;
      if (depth == 0) return i + 1;
    } else if (c == '{' || c == '[') {
      ++depth;
    } else if (c == '}' || c == ']') {
      if (depth == 0) return i;
      if (--depth == 0) return i + 1;
    } else if (c == ',' && depth == 0) {
      return i;
    }
  }
  return json.size();
}

}  // namespace

std::string DisableTopLevelMembers(std::string json, const std::vector<std::string>& names) {
  if (names.empty() || json.empty() || json[0] != '{') return json;
  const std::size_t indent = SkipSpace(json, 1) - 2;  // after "{\n"
  const std::string margin = "\n" + std::string(indent, ' ') + "\"";
  for (const std::string& name : names) {
    const std::size_t at = json.find(margin + name + "\":");
    if (at != std::string::npos) json.insert(at + margin.size(), kDisabledPrefix);
  }
  json.insert(1, margin.substr(0, margin.size() - 1) +
                     "\"//\": \"Members named \\\"//...\\\" are not sent: remove the // of each "
                     "filter to use (a filter present restricts what is selected).\",");
  return json;
}

std::string WithoutDisabledMembers(std::string_view json) {
  std::string kept;
  std::string open;  // the containers around, innermost last
  bool keyNext = false;
  for (std::size_t i = 0; i < json.size();) {
    const char c = json[i];
    if (c == '"') {
      const std::size_t end = StringEnd(json, i);
      if (keyNext && json.substr(i + 1, kDisabledPrefix.size()) == kDisabledPrefix) {
        const std::size_t colon = SkipSpace(json, end);
        const std::size_t next = SkipSpace(json, ValueEnd(json, SkipSpace(json, colon + 1)));
        if (next < json.size() && json[next] == ',') {
          i = next + 1;  // another member follows in its place
          continue;
        }
        while (!kept.empty() && std::isspace(static_cast<unsigned char>(kept.back()))) {
          kept.pop_back();
        }
        if (!kept.empty() && kept.back() == ',') kept.pop_back();
        i = next;
        keyNext = false;
        continue;
      }
      kept.append(json.substr(i, end - i));
      i = end;
      keyNext = false;
      continue;
    }
    if (c == '{' || c == '[') open += c;
    if ((c == '}' || c == ']') && !open.empty()) open.pop_back();
    if (!std::isspace(static_cast<unsigned char>(c)))
      keyNext = (c == '{' || c == ',') && !open.empty() && open.back() == '{';
    kept += c;
    ++i;
  }
  return kept;
}

}  // namespace vrex::cli
