#pragma once
// The protobuf runtime logs every invalid UTF-8 string it refuses; at fuzzing
// speed that is millions of lines that hide the findings and slow the run.

namespace vrex::fuzz {

/// Drops the runtime's log messages below FATAL for the rest of the process;
/// FATAL ones still abort, so libFuzzer still sees them.
void DiscardProtobufLog();

}  // namespace vrex::fuzz
