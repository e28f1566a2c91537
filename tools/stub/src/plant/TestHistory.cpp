#include "plant/TestHistory.h"

#include <algorithm>
#include <ctime>
#include <set>
#include <vector>

#include "TestHistoryErrorGroupsContainer.pb.h"
#include "TestHistoryErrorGroupsQuery.pb.h"
#include "TestHistoryGeneralContainer.pb.h"
#include "TestHistoryGeneralQuery.pb.h"
#include "TestHistoryTopNContainer.pb.h"
#include "TestHistoryTopNQuery.pb.h"
#include "plant/DefectFilter.h"
#include "plant/PlantLine.h"
#include "plant/TestSelection.h"

namespace vrex::stub::plant {

namespace {

/// The selected tests of a history request by day: UTC days, or the line's
/// local days when the request applies the shift offset.
template <typename Query>
std::map<std::int64_t, std::vector<TestRow>> TestsByDay(SqliteDatabase& db, const PlantLine& line,
                                                        const Query& query) {
  std::map<std::int64_t, std::vector<TestRow>> days;
  for (TestRow& test : SelectTests(db, line, ReadSelection(query))) {
    const std::int64_t time = test.header.measurementtime().value();
    const std::int64_t local =
        query.applyshiftoffset() ? WallClockAt(line, time) : time;
    const std::int64_t day = local >= 0 ? local / 86400 : (local - 86399) / 86400;
    days[day].push_back(std::move(test));
  }
  return days;
}

/// Year, ISO week, day of month and the bounds of the week of `day` (days since 1970).
template <typename Data>
void SetPeriod(Data& data, std::int64_t day) {
  const std::time_t seconds = day * 86400;
  std::tm date{};
  gmtime_r(&seconds, &date);
  char week[4];
  std::strftime(week, sizeof week, "%V", &date);
  data.set_year(date.tm_year + 1900);
  data.set_week(std::atoi(week));
  data.set_day(date.tm_mday);
  const std::int64_t monday = day - (date.tm_wday + 6) % 7;
  *data.mutable_startofweek() = UtcTime(monday, bcl::DateTime_TimeSpanScale_DAYS);
  *data.mutable_endofweek() = UtcTime(monday + 7, bcl::DateTime_TimeSpanScale_DAYS);
}

dc::TestHistoryGeneralContainer General(SqliteDatabase& db,
                                        const dc::TestHistoryGeneralQuery& query) {
  dc::TestHistoryGeneralContainer container;
  for (const auto& [day, tests] : TestsByDay(db, LineOf(db, query), query)) {
    dc::TestHistoryGeneralData& data = *container.add_values();
    SetPeriod(data, day);
    for (const TestRow& test : tests) {
      data.set_allunits(data.allunits() + 1);
      if (test.header.resultid() == 1) {
        data.set_goodunits(data.goodunits() + 1);
      } else {
        data.set_badunits(data.badunits() + 1);
      }
    }
  }
  return container;
}

/// A category of one day: its id, name and the rejected tests in it.
struct Category {
  std::int32_t id;
  std::string name;
  int units;
};

/// Appends `categories` of `day`, most units first (then by id), `topN` of
/// them when above 0.
template <typename Container>
void AddDay(Container& container, std::int64_t day, int allUnits, std::vector<Category> categories,
            int topN) {
  std::stable_sort(categories.begin(), categories.end(), [](const Category& a, const Category& b) {
    return a.units != b.units ? a.units > b.units : a.id < b.id;
  });
  if (topN > 0 && categories.size() > static_cast<std::size_t>(topN)) categories.resize(topN);
  for (const Category& category : categories) {
    auto& data = *container.add_values();
    SetPeriod(data, day);
    data.set_groupid(category.id);
    data.set_groupname(category.name);
    data.set_units(category.units);
    data.set_allunits(allUnits);
  }
}

dc::TestHistoryTopNContainer TopCodes(SqliteDatabase& db, const dc::TestHistoryTopNQuery& query) {
  const PlantLine line = LineOf(db, query);
  const DefectFilter errors(db, line, query, false);
  dc::TestHistoryTopNContainer container;
  for (const auto& [day, tests] : TestsByDay(db, line, query)) {
    std::map<std::int32_t, Category> codes;
    for (const Reject& reject : RejectsOf(db, tests)) {
      std::set<std::int32_t> seen;  // a test counts once per code
      for (const dc::Defect* defect : errors.Select(reject.defects.defects())) {
        if (!seen.insert(defect->errorcode()).second) continue;
        Category& code = codes
                             .try_emplace(defect->errorcode(),
                                          Category{defect->errorcode(), defect->errortext(), 0})
                             .first->second;
        ++code.units;
      }
    }
    std::vector<Category> ranked;
    for (auto& [code, category] : codes) ranked.push_back(std::move(category));
    AddDay(container, day, static_cast<int>(tests.size()), std::move(ranked), query.topncount());
  }
  return container;
}

dc::TestHistoryErrorGroupsContainer TopGroups(SqliteDatabase& db,
                                              const dc::TestHistoryErrorGroupsQuery& query) {
  const PlantLine line = LineOf(db, query);
  const DefectFilter errors(db, line, query, false);
  const std::vector<ErrorGroupRanges> groups = LoadErrorGroups(db, line);
  dc::TestHistoryErrorGroupsContainer container;
  for (const auto& [day, tests] : TestsByDay(db, line, query)) {
    const std::vector<Reject> rejects = RejectsOf(db, tests);
    std::vector<Category> ranked;
    for (const ErrorGroupRanges& group : groups) {
      const auto units = std::count_if(rejects.begin(), rejects.end(), [&](const Reject& reject) {
        const auto defects = errors.Select(reject.defects.defects());
        return std::any_of(defects.begin(), defects.end(),
                           [&](const dc::Defect* d) { return group.Holds(d->errorcode()); });
      });
      if (units > 0) ranked.push_back({group.id, group.name, static_cast<int>(units)});
    }
    AddDay(container, day, static_cast<int>(tests.size()), std::move(ranked), query.topn());
  }
  return container;
}

}  // namespace

void AddHistoryHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers) {
  handlers.emplace("TestHistoryGeneralQuery", Answering<dc::TestHistoryGeneralQuery>(General));
  handlers.emplace("TestHistoryTopNQuery", Answering<dc::TestHistoryTopNQuery>(TopCodes));
  handlers.emplace("TestHistoryErrorGroupsQuery",
                   Answering<dc::TestHistoryErrorGroupsQuery>(TopGroups));
}

}  // namespace vrex::stub::plant
