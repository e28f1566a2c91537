#pragma once
// Reads request JSON the way the command-line tool does (vrex::MessageFromJson)
// and checks what it promises: a failure always comes with an error text, and
// an accepted request prints back to JSON (in each layout the tool offers)
// that reads back to the same message, compared by its deterministic binary
// encoding, which is what goes to the server.

#include <string_view>

#include "CheckResult.h"

namespace vrex::fuzz {

CheckResult CheckJsonRequestRoundTrip(std::string_view typeName, std::string_view json);

}  // namespace vrex::fuzz
