#include "JsonTimes.h"

#include "bcl.pb.h"
#include "vrex/MessageJson.h"
#include "vrex/data/LineTimeZone.h"
#include "vrex/data/Time.h"

namespace vrex::cli {

// A scan rather than a regular expression: answers run to megabytes, and
// std::regex recurses per character of a match.
std::string WithIsoTimes(const std::string& json) {
  constexpr std::string_view kObjectMember = "\": {";
  std::string result;
  std::size_t copied = 0;
  for (std::size_t at = json.find(kObjectMember); at != std::string::npos;
       at = json.find(kObjectMember, at + 1)) {
    // A time is an object without objects inside that names a value or a scale.
    const std::size_t open = at + kObjectMember.size() - 1;
    const std::size_t close = json.find_first_of("{}", open + 1);
    const std::size_t nameStart = json.rfind('"', at - 1);
    if (close == std::string::npos || json[close] != '}' || nameStart == std::string::npos) {
      continue;
    }
    const std::string object = json.substr(open, close + 1 - open);
    bcl::DateTime time;
    if ((object.find("\"value\"") == std::string::npos &&
         object.find("\"scale\"") == std::string::npos) ||
        !MergeJsonInto(object, time).empty() || !data::ToInstant(time).Ok()) {
      continue;
    }
    const std::size_t lineStart = json.rfind('\n', nameStart);
    const std::string indent =
        lineStart == std::string::npos ? " " : json.substr(lineStart, nameStart - lineStart);
    result += json.substr(copied, close + 1 - copied) + "," + indent +
              json.substr(nameStart, at - nameStart) + "Iso\": \"" +
              data::LineTimeZone::Utc().Format(time) + "\"";
    copied = close + 1;
  }
  return result + json.substr(copied);
}

}  // namespace vrex::cli
