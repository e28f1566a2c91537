#pragma once
// The tests of an answer held against the question: a server (or a stub)
// that answers more tests than asked for, other identifiers, times outside
// the window or another bench or serial is worth a note, since the table
// alone would not show it.

#include <string>
#include <type_traits>
#include <vector>

#include "Console.h"
#include "GeneralInformationByIdQuery.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "MeasurementByIdQuery.pb.h"
#include "MeasurementContainer.pb.h"
#include "SelectionOptions.h"
#include "vrex/data/LineTimeZone.h"

namespace vrex::cli {

/// What was asked: by identifier (`ids`), else by `filters`.
struct Question {
  std::vector<int> ids;
  SelectionFilters filters;
};

/// What `query`, a test or measurement query by identifier or by selection,
/// asks for.
template <class Query>
Question AskedBy(const Query& query) {
  namespace dc = ::Korvan::KQ::DataContracts;
  Question question;
  if constexpr (std::is_same_v<Query, dc::GeneralInformationByIdQuery> ||
                std::is_same_v<Query, dc::MeasurementByIdQuery>) {
    question.ids.assign(query.identifier().begin(), query.identifier().end());
  } else {
    if (query.has_time()) question.filters.time = query.time();
    if (query.has_lastn()) question.filters.lastN = query.lastn();
    if (query.has_bench()) question.filters.bench = query.bench();
    if (query.has_serialnumber()) question.filters.serial = query.serialnumber();
  }
  return question;
}

using TestHeaders = std::vector<const Korvan::KQ::DataContracts::GeneralInformation*>;

/// The tests of an answer, in its order.
TestHeaders TestsOf(const Korvan::KQ::DataContracts::GeneralInformationContainer& answer);
TestHeaders TestsOf(const Korvan::KQ::DataContracts::MeasurementContainer& answer);

/// One note per way in which `tests` contradict `question`, naming the
/// first test at fault: "asked for the last 3, got 4", "asked for bench
/// Bench-1, got test 1003 of bench Bench-3". Times are shown in `zone`.
std::vector<std::string> CheckAnswer(const Question& question, const TestHeaders& tests,
                                     const data::LineTimeZone& zone);

/// Prints the notes of CheckAnswer on stderr, "vrex: note: ...".
void NoteContradictions(const Question& question, const TestHeaders& tests,
                        const data::LineTimeZone& zone, Console& console);

/// For SendAndPrint: notes where an answer to `query` contradicts it.
template <class Query>
auto NoterOfContradictions(const Query& query, LineZoneLookUp& zone, Console& console) {
  return [&zone, &console, question = AskedBy(query)](const auto& answer) {
    NoteContradictions(question, TestsOf(answer), zone.Get(console), console);
  };
}

}  // namespace vrex::cli
