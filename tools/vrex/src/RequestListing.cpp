#include "RequestListing.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "TextTable.h"
#include "vrex/RequestCatalog.h"

namespace vrex::cli {

namespace {

bool SameArea(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

std::vector<std::string_view> Areas() {
  std::vector<std::string_view> areas;
  for (const RequestInfo& request : Requests()) {
    if (std::find(areas.begin(), areas.end(), request.area) == areas.end()) {
      areas.push_back(request.area);
    }
  }
  return areas;
}

std::string AnswerText(const RequestInfo& request) {
  switch (request.kind) {
    case RequestKind::Query:
      return std::string(request.answerType);
    case RequestKind::Command:
      return "(outcome)";
    case RequestKind::File:
      return "(file)";
  }
  return "";
}

std::string AsJson(const std::vector<const RequestInfo*>& requests) {
  // Every name is a plain identifier, so no escaping is needed.
  std::string json = "[\n";
  for (std::size_t i = 0; i < requests.size(); ++i) {
    const RequestInfo& request = *requests[i];
    json += "  {\"area\": \"" + std::string(request.area) + "\", \"request\": \"" +
            std::string(request.name) + "\", \"kind\": \"" + std::string(ToString(request.kind)) +
            "\", \"answer\": \"" + std::string(request.answerType) + "\"}" +
            (i + 1 < requests.size() ? ",\n" : "\n");
  }
  return json + "]\n";
}

std::string AsText(const std::vector<const RequestInfo*>& requests) {
  std::string text;
  std::string_view area;
  TextTable table({"  REQUEST", "KIND", "ANSWER"});
  const auto flush = [&] {
    if (!table.Empty()) {
      text += (text.empty() ? "" : "\n") + std::string(area) + "\n" + table.Render();
    }
    table = TextTable({"  REQUEST", "KIND", "ANSWER"});
  };
  for (const RequestInfo* request : requests) {
    if (request->area != area) {
      flush();
      area = request->area;
    }
    table.AddRow({"  " + std::string(request->name), std::string(ToString(request->kind)),
                  AnswerText(*request)});
  }
  flush();
  return text;
}

}  // namespace

Result<std::string> ListRequests(std::string_view area, bool asJson) {
  std::vector<const RequestInfo*> selected;
  for (const RequestInfo& request : Requests()) {
    if (area.empty() || SameArea(request.area, area)) {
      selected.push_back(&request);
    }
  }
  if (selected.empty()) {
    std::string known;
    for (std::string_view name : Areas()) {
      known += (known.empty() ? "" : ", ") + std::string(name);
    }
    return Result<std::string>::Failure("no area is named \"" + std::string(area) +
                                              "\"; the areas are " + known);
  }
  return Result<std::string>::Success(asJson ? AsJson(selected) : AsText(selected));
}

}  // namespace vrex::cli
