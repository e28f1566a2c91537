#include "JsonTimes.h"

#include <regex>

#include "LineTimeZone.h"
#include "bcl.pb.h"
#include "vrex/MessageJson.h"
#include "vrex/data/Time.h"

namespace vrex::cli {

std::string WithIsoTimes(const std::string& json) {
  // A member whose value is an object without nested objects that names a scale or a value.
  static const std::regex kFlatObject(R"re("(\w+)": (\{[^{}]*"(scale|value)"[^{}]*\}))re");
  std::string result;
  std::size_t copied = 0;
  for (auto match = std::sregex_iterator(json.begin(), json.end(), kFlatObject);
       match != std::sregex_iterator(); ++match) {
    bcl::DateTime time;
    if (!MergeJsonInto((*match)[2].str(), time).empty() || !data::ToInstant(time).Ok()) continue;
    const std::size_t end = static_cast<std::size_t>(match->position() + match->length());
    const std::size_t lineStart = json.rfind('\n', static_cast<std::size_t>(match->position()));
    const std::string indent =
        lineStart == std::string::npos
            ? ""
            : json.substr(lineStart, static_cast<std::size_t>(match->position()) - lineStart);
    result += json.substr(copied, end - copied) + "," + (indent.empty() ? " " : indent) + "\"" +
              (*match)[1].str() + "Iso\": \"" + LineTimeZone::Utc().Format(time) + "\"";
    copied = end;
  }
  return result + json.substr(copied);
}

}  // namespace vrex::cli
