#pragma once
// An answer computed from the request it answers, for tests in which every
// caller must get its own data back (an echo tells mixed-up answers apart).

#include <functional>

#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

/// Called on the serving thread, on several at once when requests overlap;
/// `request.body` is the request's body. An exception it throws is answered
/// with status 500.
using Responder = std::function<CannedAnswer(const JournalEntry& request)>;

}  // namespace vrex::stub
