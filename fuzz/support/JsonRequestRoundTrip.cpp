#include "JsonRequestRoundTrip.h"

#include <array>
#include <string>

#include "vrex/MessageJson.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::fuzz {

namespace {

// The compact form, and the fullest one: every field, enumerations as numbers.
constexpr std::array<JsonLayout, 2> kLayouts{JsonLayout{false, false, false},
                                             JsonLayout{true, true, true}};

std::string LayoutName(const JsonLayout& layout) {
  return std::string(layout.multiLine ? "multi-line" : "one-line") +
         (layout.withDefaults ? ", with defaults" : "") +
         (layout.enumsAsNumbers ? ", enums as numbers" : "");
}

std::string CheckPrintedForm(std::string_view typeName, const google::protobuf::Message& request,
                             const JsonLayout& layout) {
  const std::string where = std::string(typeName) + " (" + LayoutName(layout) + "): ";
  const auto printed = MessageToJson(request, layout);
  if (!printed.Ok()) {
    return where + "an accepted request does not print: " + printed.GetStatus().Message();
  }
  const auto reread = MessageFromJson(typeName, printed.Value());
  if (!reread.Ok()) {
    return where + "the printed form does not read back: " + reread.GetStatus().Message();
  }
  if (stub::SerializeDeterministically(*reread.Value()) !=
      stub::SerializeDeterministically(request)) {
    return where + "the printed form reads back to another message";
  }
  return {};
}

}  // namespace

CheckResult CheckJsonRequestRoundTrip(std::string_view typeName, std::string_view json) {
  const auto request = MessageFromJson(typeName, json);
  if (!request.Ok()) {
    return {false, {}};
  }
  for (const JsonLayout& layout : kLayouts) {
    std::string problem = CheckPrintedForm(typeName, *request.Value(), layout);
    if (!problem.empty()) {
      return {true, std::move(problem)};
    }
  }
  return {true, {}};
}

}  // namespace vrex::fuzz
