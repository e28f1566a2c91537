#include "ConnectionOptions.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "BoundedInput.h"
#include "WireTrace.h"
#include "vrex/data/SecretMask.h"
#include "vrex/data/Text.h"

namespace vrex::cli {

namespace {

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(static_cast<long long>(seconds * 1000.0));
}

// A token file holds the token and perhaps a line end.
constexpr std::uint64_t kMaxTokenFileBytes = 4096;

// The token of --token, --token-file or VREX_TOKEN, in that order, and where
// it came from; unset: the build's token.
std::optional<std::pair<std::string, std::string>> GivenToken(const ServerArguments& arguments) {
  if (arguments.token) {
    return std::pair(*arguments.token, std::string("--token"));
  }
  if (!arguments.tokenFile.empty()) {
    auto text = ReadRegularFile(arguments.tokenFile, kMaxTokenFileBytes, "the token file");
    if (!text.Ok()) throw CLI::ValidationError("--token-file", text.GetStatus().Message());
    std::string token = text.Value();
    if (!token.empty() && token.back() == '\n') token.pop_back();
    if (!token.empty() && token.back() == '\r') token.pop_back();
    return std::pair(std::move(token), "--token-file " + arguments.tokenFile);
  }
  const char* token = std::getenv("VREX_TOKEN");
  if (token == nullptr || *token == '\0') {
    return std::nullopt;
  }
  return std::pair(std::string(token), std::string("VREX_TOKEN"));
}

// The token to send, held to the library's rule; the message never shows it.
void ResolveToken(ServerArguments& arguments) {
  auto given = GivenToken(arguments);
  if (!given) return;
  if (const std::string problem = GatewayTokenProblem(given->first); !problem.empty()) {
    throw CLI::ValidationError(given->second, problem);
  }
  arguments.token = std::move(given->first);
}

void CheckScheme(const std::string& url) {
  const std::size_t end = url.find("://");
  const std::string scheme = end == std::string::npos ? "" : url.substr(0, end);
  if (!data::EqualsIgnoringCase(scheme, "http") && !data::EqualsIgnoringCase(scheme, "https")) {
    throw CLI::ValidationError("URL", "\"" + data::MaskUrlPasswords(url) +
                                          "\" is no http:// or https:// URL; vrex speaks "
                                          "http and https only");
  }
}

// Seconds of a time-out: finite, at least a millisecond (libcurl reads 0 ms
// as none), at most about 11 days.
const CLI::Validator kSeconds(
    [](const std::string& text) -> std::string {
      char* end = nullptr;
      const double seconds = std::strtod(text.c_str(), &end);
      if (end == text.c_str() || *end != '\0' || !std::isfinite(seconds) || seconds < 0.001 ||
          seconds > 1e6) {
        return "\"" + text + "\" is no time-out; give seconds from 0.001 to 1000000";
      }
      return {};
    },
    "SECONDS");

}  // namespace

void AddServerArguments(CLI::App& command, ServerArguments& arguments) {
  command.add_option("URL", arguments.url, "Server base URL, e.g. http://results:8080")->required();
  const std::string group = "Connection";
  CLI::Option* token =
      command
          .add_option("--token", arguments.token,
                      "Gateway token (default: $VREX_TOKEN, else the token built into the "
                      "library); never printed, but other users see it in the process list")
          ->group(group);
  command
      .add_option("--token-file", arguments.tokenFile,
                  "File holding the gateway token (a trailing line end is dropped)")
      ->excludes(token)
      ->group(group);
  command.parse_complete_callback([&arguments] {
    CheckScheme(arguments.url);
    ResolveToken(arguments);
  });
  command.add_option("--timeout", arguments.timeoutSeconds, "Seconds one attempt may take")
      ->check(kSeconds)
      ->capture_default_str()
      ->group(group);
  command
      .add_option("--connect-timeout", arguments.connectTimeoutSeconds,
                  "Seconds to wait for the connection")
      ->check(kSeconds)
      ->capture_default_str()
      ->group(group);
  command.add_option("--cacert", arguments.caFile, "CA bundle (PEM) to check the server with")
      ->check(CLI::ExistingFile)
      ->group(group);
  command.add_option("--cert", arguments.clientCertificate, "Client certificate (PEM)")
      ->check(CLI::ExistingFile)
      ->group(group);
  command.add_option("--key", arguments.clientKey, "Private key of --cert (PEM)")
      ->check(CLI::ExistingFile)
      ->group(group);
  command
      .add_flag("--insecure", arguments.insecure,
                "Do not check the server's certificate (test servers only)")
      ->group(group);
  command.add_option("--proxy", arguments.proxy, "Proxy URL; \"\" for none")->group(group);
  command
      .add_option("--retries", arguments.retries,
                  "Repeats of a query after a transport failure or HTTP 502/503/504")
      ->check(CLI::Range(0, 10))
      ->capture_default_str()
      ->group(group);
  command
      .add_option("--max-answer-size", arguments.maxAnswerBytes,
                  "Most bytes of an answer to hold in memory: 512M, 2G or plain bytes; 0 for no "
                  "limit (default 1G)")
      ->transform(
          [](std::string text) {
            const auto size = data::ParseByteSize(text);
            if (!size) throw CLI::ValidationError(size.GetStatus().Message());
            return std::to_string(size.Value());
          },
          "SIZE")
      ->group(group);
  command
      .add_flag("-v,--verbose", arguments.verbose,
                "Show the request line and headers, the status and the time taken on stderr")
      ->group(group);
}

std::string NormaliseUrl(std::string url) {
  while (!url.empty() && url.back() == '/') {
    url.pop_back();
  }
  return url;
}

ClientOptions MakeClientOptions(const ServerArguments& arguments, Console& console) {
  ClientOptions options;
  options.baseUrl = NormaliseUrl(arguments.url);
  options.token = arguments.token;
  options.totalTimeout = Milliseconds(arguments.timeoutSeconds);
  options.connectTimeout = Milliseconds(arguments.connectTimeoutSeconds);
  options.tls.caFile = arguments.caFile;
  options.tls.clientCertificate = arguments.clientCertificate;
  options.tls.clientKey = arguments.clientKey;
  options.tls.verifyPeer = !arguments.insecure;
  options.proxy = arguments.proxy;
  options.retry.maxAttempts = arguments.retries + 1;
  options.maxAnswerBytes = arguments.maxAnswerBytes;
  options.userAgent = "vrex";
  if (arguments.insecure) {
    console.err << "vrex: warning: --insecure: the server's certificate is not checked; use it "
                   "only against test servers\n";
  }
  if (arguments.verbose) {
    options.onWireTrace = MakeTraceWriter(console.err);
  }
  return options;
}

ExitCode ReportOutcome(const Outcome& outcome, const ServerArguments& arguments, Console& console) {
  if (arguments.verbose) {
    console.err << FormatTraceSummary(outcome);
  }
  if (!outcome.Ok()) {
    console.err << "vrex: "
                << data::MaskSecrets(DescribeFailure(outcome, NormaliseUrl(arguments.url)),
                                     arguments.token.value_or(""))
                << '\n';
  }
  return ExitCodeFor(outcome);
}

}  // namespace vrex::cli
