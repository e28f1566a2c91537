#pragma once
// The admin API of the stub server, under /__stub/ on the port it serves,
// for tests in any language:
//
//   GET    /__stub/cases             every case, as a case file
//   POST   /__stub/cases             adds the case in the body (201)
//   DELETE /__stub/cases             removes every case
//   POST   /__stub/sequences/reset   every case gives its first answer again
//   GET    /__stub/journal           the requests received, bodies decoded
//   DELETE /__stub/journal           empties the journal
//
// Its own requests are not journalled. Unless the options allow remote
// callers, it answers only requests naming a loopback Host and carrying no
// Origin: a web page, even one whose name resolves to 127.0.0.1, gets 403.

#include <string_view>

#include "AnswerTable.h"
#include "RequestJournal.h"
#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/JournalEntry.h"
#include "vrex/stub/StubServerOptions.h"

namespace vrex::stub {

/// Whether `path` (without query) is one of the admin API.
bool IsAdminPath(std::string_view path);

/// The answer to an admin request, after doing what it asks; every refusal
/// is logged.
CannedAnswer AnswerAdmin(std::string_view method, std::string_view path,
                         const JournalEntry& request, AnswerTable& answers,
                         RequestJournal& journal, const StubServerOptions& options);

}  // namespace vrex::stub
