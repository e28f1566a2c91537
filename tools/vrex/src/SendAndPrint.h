#pragma once
// The common shape of a friendly read: send one query, report a failed
// outcome, print the answer as a table or, with --json, as JSON.

#include "ConnectionOptions.h"
#include "vrex/Client.h"
#include "vrex/MessageJson.h"

namespace vrex::cli {

/// Sends `query` and prints its answer with `render` (or as JSON when
/// `json`); a failed outcome is reported and its exit code returned.
template <class Query, class Render>
ExitCode SendAndPrint(const Client& client, const Query& query, const ServerArguments& server,
                      bool json, Console& console, Render render) {
  const auto answer = client.Send(query);
  const ExitCode code = ReportOutcome(answer.GetStatus(), server, console);
  if (code != ExitCode::Ok) {
    return code;
  }
  if (json) {
    const auto text = MessageToJson(answer.Value());
    console.out << (text.Ok() ? text.Value() : "{}\n");
  } else {
    console.out << render(answer.Value());
  }
  return ExitCode::Ok;
}

}  // namespace vrex::cli
