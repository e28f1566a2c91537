#include "AnswerChecks.h"

#include <algorithm>

#include "AnswerTables.h"
#include "vrex/data/Time.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;
using Tests = TestHeaders;

std::string Text(int value) { return std::to_string(value); }
std::string Text(const std::string& value) { return value; }

template <class Items>
std::string Listed(const Items& items) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : ", ") + Text(item);
  return text;
}

template <class Items, class Value>
bool Among(const Items& items, const Value& value) {
  return std::find(items.begin(), items.end(), value) != items.end();
}

std::string Named(const dc::GeneralInformation& test) {
  return "test " + std::to_string(test.pkident());
}

// The first test whose `field` is not among `items`, as a note.
template <class Items, class Field>
std::string FirstOutside(const Tests& tests, const Items& items, const std::string& what,
                         Field field) {
  for (const dc::GeneralInformation* test : tests) {
    if (!Among(items, field(*test))) {
      return "asked for " + what + " " + Listed(items) + ", got " + Named(*test) + " of " + what +
             " " + field(*test);
    }
  }
  return "";
}

std::string OutsideWindow(const dc::TimeFilter& window, const Tests& tests,
                          const data::LineTimeZone& zone) {
  const auto from = data::ToSystemTime(window.from());
  const auto until = data::ToSystemTime(window.until());
  for (const dc::GeneralInformation* test : tests) {
    const auto time = data::ToSystemTime(test->measurementtime());
    if (from.Ok() && until.Ok() && time.Ok() &&
        (time.Value() < from.Value() || until.Value() < time.Value())) {
      return "asked for tests from " + zone.Format(window.from()) + " until " +
             zone.Format(window.until()) + ", got " + Named(*test) + " of " +
             zone.Format(test->measurementtime());
    }
  }
  return "";
}

}  // namespace

Tests TestsOf(const dc::GeneralInformationContainer& answer) {
  Tests tests;
  for (const dc::GeneralInformation& test : answer.values()) tests.push_back(&test);
  return tests;
}

Tests TestsOf(const dc::MeasurementContainer& answer) {
  Tests tests;
  for (const auto& [id, measurement] : TestsInOrder(answer)) {
    tests.push_back(&measurement->generalinformation());
  }
  return tests;
}

void NoteContradictions(const Question& question, const Tests& tests, const data::LineTimeZone& zone,
                        Console& console) {
  for (const std::string& note : CheckAnswer(question, tests, zone)) {
    console.err << "vrex: note: " << note << '\n';
  }
}

std::vector<std::string> CheckAnswer(const Question& question, const Tests& tests,
                                     const data::LineTimeZone& zone) {
  const SelectionFilters& filters = question.filters;
  std::vector<std::string> notes;
  if (!question.ids.empty()) {
    for (const dc::GeneralInformation* test : tests) {
      if (!Among(question.ids, test->pkident())) {
        notes.push_back("asked for tests " + Listed(question.ids) + ", got " + Named(*test));
        break;
      }
    }
    return notes;
  }
  if (filters.lastN && static_cast<int>(tests.size()) > filters.lastN->topn()) {
    notes.push_back("asked for the last " + std::to_string(filters.lastN->topn()) + ", got " +
                    std::to_string(tests.size()));
  }
  notes.push_back(filters.time ? OutsideWindow(*filters.time, tests, zone) : "");
  notes.push_back(filters.bench ? FirstOutside(tests, filters.bench->items(), "bench",
                                               [](const auto& test) { return test.bench(); })
                                : "");
  notes.push_back(filters.serial ? FirstOutside(tests, filters.serial->items(), "serial",
                                                [](const auto& test) { return test.serial(); })
                                 : "");
  notes.erase(std::remove(notes.begin(), notes.end(), ""), notes.end());
  return notes;
}

}  // namespace vrex::cli
