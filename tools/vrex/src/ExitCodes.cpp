#include "ExitCodes.h"

#include "vrex/HttpStatus.h"

namespace vrex::cli {

const std::vector<ExitCodeMeaning>& ExitCodeTable() {
  static const std::vector<ExitCodeMeaning> table = {
      {ExitCode::Ok, "success"},
      {ExitCode::Failure, "other failure"},
      {ExitCode::Usage, "usage: bad arguments, unknown type or request JSON that does not fit"},
      {ExitCode::Transport, "transport: the server could not be reached"},
      {ExitCode::Rejected, "the server rejected the request (HTTP 4xx)"},
      {ExitCode::ServerFailed, "the server failed the request (other HTTP status)"},
      {ExitCode::BadAnswer, "bad answer: HTTP 200 with a body that is not the expected message"},
      {ExitCode::VersionNotAccepted, "version not accepted (vrex version)"},
      {ExitCode::FileFailed, "the downloaded file could not be written"},
  };
  return table;
}

ExitCode ExitCodeFor(const Outcome& outcome) {
  switch (outcome.GetEvent()) {
    case Outcome::Event::Succeeded:
      return ExitCode::Ok;
    case Outcome::Event::TransportFailed:
      return ExitCode::Transport;
    case Outcome::Event::HttpStatusFailed:
      return IsRejectedStatus(outcome.HttpStatus()) ? ExitCode::Rejected : ExitCode::ServerFailed;
    case Outcome::Event::AnswerUnreadable:
      return ExitCode::BadAnswer;
    case Outcome::Event::FileFailed:
      return ExitCode::FileFailed;
    case Outcome::Event::Cancelled:
      return ExitCode::Failure;
  }
  return ExitCode::Failure;
}

}  // namespace vrex::cli
