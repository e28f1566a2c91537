#pragma once
// What every command that talks to a server takes: the server URL and the
// connection options, turned into a vrex::Client; and how the outcome of a
// call is reported.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Console.h"
#include "FailureReport.h"
#include "vrex/Client.h"

namespace vrex::cli {

struct ServerArguments {
  std::string url;
  /// From --token, --token-file or VREX_TOKEN, checked once parsing is done;
  /// unset: the build's token.
  std::optional<std::string> token;
  std::string tokenFile;
  double timeoutSeconds = 60;
  double connectTimeoutSeconds = 10;
  std::string caFile;
  std::string clientCertificate;
  std::string clientKey;
  bool insecure = false;
  std::optional<std::string> proxy;
  int retries = 2;
  /// Most bytes of an answer held in memory; the library's default (1 GiB)
  /// unless given. Downloads to a file are not limited by it.
  std::uint64_t maxAnswerBytes = ClientOptions().maxAnswerBytes;
  bool verbose = false;
};

/// Adds the URL positional and the connection options to `command`. Once
/// the command line is parsed, the URL's scheme and the token are checked;
/// a token from --token-file or VREX_TOKEN is read then.
void AddServerArguments(CLI::App& command, ServerArguments& arguments);

/// The client options the arguments describe; warns about --insecure on
/// `console.err` and traces the wire there with -v.
ClientOptions MakeClientOptions(const ServerArguments& arguments, Console& console);

/// The server URL as the client takes it: without a trailing "/".
std::string NormaliseUrl(std::string url);

/// Prints the -v summary of the call, and on failure the message that names
/// the cause and a next step. Returns the exit code of the outcome.
ExitCode ReportOutcome(const Outcome& outcome, const ServerArguments& arguments, Console& console);

}  // namespace vrex::cli
