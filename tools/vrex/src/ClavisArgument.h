#pragma once
// A quantity key typed on the command line: its six parts joined by "/", in
// the order Mode/Instrument/Channel/Location/InstrumentParameter/Sensor, as
// `vrex measurements` prints them.

#include <string_view>

#include "Clavis.pb.h"
#include "vrex/Result.h"

namespace vrex::cli {

/// Exactly six parts; any may be empty ("Run-Up/Level/Mic-1/Gearbox/RMS/").
Result<Korvan::KQ::DataContracts::Clavis> ParseClavisArgument(std::string_view text);

}  // namespace vrex::cli
