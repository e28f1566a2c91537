#include "vrex/data/JsonShape.h"

#include <algorithm>
#include <string>

namespace vrex::data {

JsonShape ScanJsonShape(std::string_view json) {
  JsonShape shape;
  std::string open;  // the brackets and braces not yet closed
  bool inString = false;
  bool escaped = false;
  for (const char c : json) {
    if (escaped) {
      escaped = false;
    } else if (inString) {
      escaped = c == '\\';
      inString = c != '"';
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      shape.listInList = shape.listInList || (c == '[' && !open.empty() && open.back() == '[');
      open.push_back(c);
      shape.depth = std::max(shape.depth, static_cast<int>(open.size()));
    } else if ((c == ']' || c == '}') && !open.empty()) {
      open.pop_back();
    }
  }
  return shape;
}

}  // namespace vrex::data
