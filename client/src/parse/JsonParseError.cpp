#include "parse/JsonParseError.h"

#include <google/protobuf/descriptor.h>

#include <array>
#include <cctype>
#include <utility>

namespace vrex::internal {

namespace {

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// "one of DAYS, HOURS, ..." for an enumeration the parser names by its type URL.
std::string EnumerationValues(std::string_view typeUrl) {
  const std::string name(typeUrl.substr(typeUrl.rfind('/') + 1));
  const auto* type = google::protobuf::DescriptorPool::generated_pool()->FindEnumTypeByName(name);
  if (type == nullptr) return "a value of " + name;
  std::string values;
  for (int i = 0; i < type->value_count(); ++i) {
    values += (i == 0 ? "one of " : ", ") + type->value(i)->name();
  }
  return values;
}

// What a field of the parser's type name holds, as people say it.
std::string Expected(std::string_view type) {
  static const std::array<std::pair<std::string_view, std::string_view>, 12> kinds = {{
      {"TYPE_INT32", "a 32-bit integer"},
      {"TYPE_SINT32", "a 32-bit integer"},
      {"TYPE_SFIXED32", "a 32-bit integer"},
      {"TYPE_UINT32", "a 32-bit integer of 0 or more"},
      {"TYPE_FIXED32", "a 32-bit integer of 0 or more"},
      {"TYPE_INT64", "a 64-bit integer (a number or a string of digits)"},
      {"TYPE_SINT64", "a 64-bit integer (a number or a string of digits)"},
      {"TYPE_SFIXED64", "a 64-bit integer (a number or a string of digits)"},
      {"TYPE_STRING", "a string"},
      {"TYPE_BOOL", "true or false"},
      {"TYPE_BYTES", "base64 text"},
      {"TYPE_DOUBLE", "a number"},
  }};
  for (const auto& [name, meaning] : kinds) {
    if (name == type) return std::string(meaning);
  }
  if (StartsWith(type, "TYPE_")) return "a number";  // the rest: unsigned 64-bit, float
  const auto* message = google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(
      std::string(type.substr(type.rfind('/') + 1)));
  return message != nullptr ? "an object (" + message->name() + ")" : EnumerationValues(type);
}

// "(Time.From.scale): invalid value \"WEEKS\" for type <type>".
std::string DescribeInvalidValue(std::string_view field, std::string_view rest) {
  constexpr std::string_view kInvalid = "invalid value ";
  constexpr std::string_view kForType = " for type ";
  const std::size_t forType = rest.rfind(kForType);
  if (!StartsWith(rest, kInvalid) || forType == std::string_view::npos) {
    return "field " + std::string(field) + ": " + std::string(rest);
  }
  const std::string_view value = rest.substr(kInvalid.size(), forType - kInvalid.size());
  if (StartsWith(value, "Starting an object")) {
    return "field " + std::string(field) + ": expected a plain value, got an object";
  }
  return "field " + std::string(field) + ": expected " +
         Expected(rest.substr(forType + kForType.size())) + ", got " + std::string(value);
}

// "Unexpected token.\n}\n^": the first line, and where the caret points.
// Other text of one line is passed on as it is.
std::string DescribeSyntaxError(std::string_view text) {
  const std::size_t lineEnd = text.find('\n');
  if (lineEnd == std::string_view::npos) return std::string(text);
  std::string message(text.substr(0, lineEnd));
  if (EndsWith(message, ".")) message.pop_back();
  if (!message.empty()) message[0] = static_cast<char>(std::tolower(message[0]));
  const std::string described = "not JSON: " + message;
  const std::string_view rest = text.substr(lineEnd + 1);
  const std::string_view context = rest.substr(0, rest.find('\n'));
  const std::size_t caret = rest.find('^');
  const std::size_t column = caret == std::string_view::npos ? 0 : caret - context.size() - 1;
  const std::string_view near = column < context.size() ? context.substr(column, 20) : "";
  return near.empty() ? described : described + " near \"" + std::string(near) + "\"";
}

}  // namespace

std::string DescribeJsonParseError(std::string_view text) {
  constexpr std::string_view kUnknownField = ": Cannot find field.";
  if (EndsWith(text, kUnknownField)) {
    std::string_view field = text.substr(0, text.size() - kUnknownField.size());
    std::string_view location;
    const std::size_t close = field.find(") ");
    if (StartsWith(field, "(") && close != std::string_view::npos) {
      location = field.substr(1, close - 1);
      field.remove_prefix(close + 2);
    }
    const std::string described = "unknown field \"" + std::string(field) + "\"";
    return location.empty() ? described : described + " in " + std::string(location);
  }
  if (StartsWith(text, ": Root element must be a message")) {
    return "not JSON of a message: the request is an object, { ... }";
  }
  const std::size_t close = text.find("): ");
  if (StartsWith(text, "(") && close != std::string_view::npos) {
    return DescribeInvalidValue(text.substr(1, close - 1), text.substr(close + 3));
  }
  if (EndsWith(text, "Proto field is not repeating, cannot start list.")) {
    return "field " + std::string(text.substr(0, text.find(':'))) +
           ": expected a single value, got a list";
  }
  return DescribeSyntaxError(text);
}

}  // namespace vrex::internal
