#pragma once
// Answers as tables for people: test headers, measurements and log entries,
// times in the line's zone.

#include <map>
#include <string>

#include "GeneralInformation.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "LogEntryContainer.pb.h"
#include "MeasurementContainer.pb.h"
#include "vrex/data/LineTimeZone.h"

namespace vrex::cli {

/// Id, time, serial, type, bench, result, test kind and repetition; "no
/// tests" when the container is empty.
std::string RenderTestTable(const Korvan::KQ::DataContracts::GeneralInformationContainer& tests,
                            const data::LineTimeZone& zone);

/// "1002  2024-03-12T07:01:47+01:00  SN-24-0003142  Bench-1  NOK": one
/// test in a line, as the heading of its values.
std::string DescribeTest(const Korvan::KQ::DataContracts::GeneralInformation& test,
                         const data::LineTimeZone& zone);

/// The tests of a measurement answer in ascending identifier order.
std::map<int, const Korvan::KQ::DataContracts::Measurement*> TestsInOrder(
    const Korvan::KQ::DataContracts::MeasurementContainer& container);

/// Tests in ascending identifier order; "No measurements match." when empty.
std::string RenderMeasurements(const Korvan::KQ::DataContracts::MeasurementContainer& container,
                               const data::LineTimeZone& zone);

/// A heading naming the context, then time, level, source and message of
/// each entry; an exception follows its entry on indented lines.
std::string RenderLog(const Korvan::KQ::DataContracts::LogEntryContainer& log,
                      const data::LineTimeZone& zone);

}  // namespace vrex::cli
