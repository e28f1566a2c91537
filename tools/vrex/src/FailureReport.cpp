#include "FailureReport.h"

#include <array>
#include <utility>

#include "vrex/HttpStatus.h"

namespace vrex::cli {

const std::vector<ExitCodeMeaning>& ExitCodeTable() {
  static const std::vector<ExitCodeMeaning> table = {
      {ExitCode::Ok, "success"},
      {ExitCode::Failure, "other failure"},
      {ExitCode::Usage, "usage: bad arguments, unknown type or request JSON that does not fit"},
      {ExitCode::Transport, "transport: the server could not be reached (no connection)"},
      {ExitCode::Rejected, "the server rejected the request (HTTP 4xx)"},
      {ExitCode::ServerFailed, "the server failed the request (other HTTP status)"},
      {ExitCode::BadAnswer, "bad answer: HTTP 200 with a body that is not the expected message"},
      {ExitCode::VersionNotAccepted, "version not accepted (vrex version)"},
      {ExitCode::FileFailed, "the downloaded file could not be written"},
      {ExitCode::TimedOut, "connected, but the answer did not come or finish within --timeout"},
      {ExitCode::BrokenAnswer,
       "the server answered, but not in readable HTTP (cut short, malformed)"},
      {ExitCode::TooLarge, "the answer was larger than --max-answer-size"},
  };
  return table;
}

ExitCode ExitCodeFor(const Outcome& outcome) {
  switch (outcome.GetEvent()) {
    case Outcome::Event::Succeeded:
      return ExitCode::Ok;
    case Outcome::Event::Unreachable:
    case Outcome::Event::TransportFailed:
      return ExitCode::Transport;
    case Outcome::Event::NoAnswer:
    case Outcome::Event::ReceiveTimedOut:
      return ExitCode::TimedOut;
    case Outcome::Event::BrokenAnswer:
      return ExitCode::BrokenAnswer;
    case Outcome::Event::AnswerTooLarge:
      return ExitCode::TooLarge;
    case Outcome::Event::ClientFailed:
      return ExitCode::Failure;
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

namespace {

std::string_view TransportHint(FailureCause cause) {
  switch (cause) {
    case FailureCause::ConnectionRefused:
      return "is the server running? check the URL";
    case FailureCause::HostNotResolved:
      return "check the host name in the URL";
    case FailureCause::ProxyNotResolved:
    case FailureCause::ProxyFailed:
      return "check --proxy";
    case FailureCause::ConnectTimedOut:
    case FailureCause::AnswerTimedOut:
      return "the server did not answer in time; check the URL or raise --timeout";
    case FailureCause::CertificateRejected:
      return "check --cacert, or try --insecure against a test server";
    case FailureCause::TlsFailed:
      return "check --cacert, --cert and --key, or whether the server speaks https";
    case FailureCause::UnsupportedScheme:
      return "the URL must start with http:// or https://";
    case FailureCause::Unknown:
    case FailureCause::ConnectionClosed:
      break;
  }
  return "check the URL and the network";
}

std::string_view RejectionHint(int status) {
  switch (status) {
    case 401:
    case 403:
      return "check the gateway token (--token or VREX_TOKEN)";
    case 404:
      return "check the URL: give the server's base address, without \"/api/\"";
    case 405:
      return "check the URL: it must lead to the results server's gateway";
    default:
      return "check the request fields; `vrex template TYPE` shows them";
  }
}

std::string_view ServerFailureHint(int status) {
  if (status >= 300 && status <= 399) {
    return "the server redirects; check the URL (https? path prefix?)";
  }
  if (IsUnavailableStatus(status)) {
    return "the server or a gateway in between is not available; try again later or "
           "raise --retries";
  }
  return "the server could not carry out the request; see its log (`vrex log URL`) or ask "
         "its administrator";
}

// What a status means over HTTP: the outcome's detail code is the
// established API's (every 4xx is "Unauthorized" there), not the server's word.
std::string_view StatusMeaning(int status) {
  // clang-format off
  static const std::array<std::pair<int, std::string_view>, 19> meanings = {{
      {301, "Moved Permanently"}, {302, "Found"}, {303, "See Other"}, {307, "Temporary Redirect"},
      {308, "Permanent Redirect"}, {400, "Bad Request"}, {401, "Unauthorized"},
      {403, "Forbidden"}, {404, "Not Found"}, {405, "Method Not Allowed"},
      {408, "Request Timeout"}, {413, "Content Too Large"}, {415, "Unsupported Media Type"},
      {429, "Too Many Requests"}, {500, "Internal Server Error"}, {501, "Not Implemented"},
      {502, "Bad Gateway"}, {503, "Service Unavailable"}, {504, "Gateway Timeout"},
  }};
  // clang-format on
  for (const auto& [code, meaning] : meanings) {
    if (code == status) return meaning;
  }
  return "";
}

std::string StatusText(int status) {
  const std::string_view meaning = StatusMeaning(status);
  return "HTTP " + std::to_string(status) + (meaning.empty() ? "" : " " + std::string(meaning));
}

}  // namespace

std::string DescribeFailure(const Outcome& outcome, std::string_view baseUrl) {
  const std::string url(baseUrl);
  const int status = outcome.HttpStatus();
  const std::string httpText = StatusText(status);
  switch (outcome.GetEvent()) {
    case Outcome::Event::Succeeded:
      return outcome.RequestType() + " succeeded";
    case Outcome::Event::Unreachable:
    case Outcome::Event::TransportFailed: {
      // The system's reason ("Connection refused") says it better than libcurl's summary.
      const std::string& reason =
          outcome.SystemReason().empty() ? outcome.ErrorText() : outcome.SystemReason();
      return "cannot reach " + url + ": " + reason + " (" +
             std::string(TransportHint(outcome.Cause())) + ")";
    }
    case Outcome::Event::NoAnswer:
      return url + " took " + outcome.RequestType() +
             " but gave no answer: " + outcome.ErrorText() +
             " \u2014 the server may be overloaded or stuck; see its log, or raise --timeout";
    case Outcome::Event::ReceiveTimedOut:
      return "the answer from " + url + " did not finish in time: " + outcome.ErrorText() +
             " \u2014 raise --timeout for large answers, or narrow the request";
    case Outcome::Event::BrokenAnswer:
      return "the answer from " + url + " is not readable HTTP: " + outcome.ErrorText() +
             " \u2014 the connection broke, or " + url +
             " is not the results server (a proxy or another service?)";
    case Outcome::Event::AnswerTooLarge:
      return outcome.ErrorText() +
             " \u2014 raise --max-answer-size (e.g. --max-answer-size 4G), or narrow the request";
    case Outcome::Event::ClientFailed:
      return outcome.RequestType() + " failed in vrex itself: " + outcome.ErrorText();
    case Outcome::Event::HttpStatusFailed:
      if (IsRejectedStatus(status)) {
        return "server rejected the request: " + httpText + " \u2014 " +
               std::string(RejectionHint(status));
      }
      return "server failed the request: " + httpText + " \u2014 " +
             std::string(ServerFailureHint(status));
    case Outcome::Event::AnswerUnreadable:
      return "the answer to " + outcome.RequestType() + " could not be read (" +
             outcome.ErrorText() + ") \u2014 is " + url +
             " a results server of this interface version? check with `vrex version " + url + "`";
    case Outcome::Event::FileFailed:
      return "cannot write the file: " + outcome.ErrorText() +
             " \u2014 check the path, its permissions and the free space";
    case Outcome::Event::Cancelled:
      return outcome.RequestType() + " was cancelled before it finished";
  }
  return outcome.Message();
}

}  // namespace vrex::cli
