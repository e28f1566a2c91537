// vrex-stub: a stand-in results server answering from a data directory, or
// recording one from a live server (--record-from). Prints "vrex-stub
// listening on http://HOST:PORT" as its first line, then serves until SIGINT
// or SIGTERM.

#include <pthread.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <optional>
#include <string>

#include "DefaultDataDirectory.h"
#include "Recorder.h"
#include "vrex/RequestCatalog.h"
#include "vrex/data/Text.h"
#include "vrex/stub/StubServer.h"

namespace {

struct CommandLine {
  vrex::stub::StubServerOptions server;
  std::string dataDirectory;
  std::string recordFrom;
  std::chrono::milliseconds recordTimeout{5000};
  bool verbose = false;
};

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000.0));
}

/// Reads "512K", "64M" or plain bytes.
std::function<std::string(const std::string&)> ByteSize() {
  return [](const std::string& text) {
    const auto size = vrex::data::ParseByteSize(text);
    if (!size) throw CLI::ValidationError(size.GetStatus().Message());
    return std::to_string(size.Value());
  };
}

// The bounds that keep clients that misbehave from hanging the stub (each
// one logs a line on stderr when it applies), and who may use its admin API.
void AddClientBounds(CLI::App& app, vrex::stub::StubServerOptions& options) {
  app.add_option("--max-request-size", options.maxRequestBytes,
                 "Largest request body: 512K, 64M or plain bytes; a larger one gets 413 "
                 "(default 64M)")
      ->transform(ByteSize(), "SIZE");
  app.add_option_function<double>(
         "--read-timeout",
         [&options](double seconds) { options.readTimeout = Milliseconds(seconds); },
         "Seconds a request may take to arrive, and an idle connection may stay (default 30)")
      ->check(CLI::PositiveNumber);
  app.add_option_function<double>(
         "--write-timeout",
         [&options](double seconds) { options.writeTimeout = Milliseconds(seconds); },
         "Seconds a client may take no byte of its answer before it is dropped (default 30)")
      ->check(CLI::PositiveNumber);
  app.add_option("--max-connections", options.maxConnections,
                 "Connections open at once; beyond it the longest idle one closes (default 512)")
      ->check(CLI::Range(1, 100000));
  app.add_option("--journal-entries", options.journalEntries,
                 "Requests the journal keeps; older ones are dropped and counted (default 100000)")
      ->check(CLI::Range(1, 100000000));
  app.add_option("--journal-size", options.journalBytes,
                 "Bytes of requests the journal keeps: 512K, 64M or plain bytes (default 64M)")
      ->transform(ByteSize(), "SIZE");
  app.add_flag("--allow-remote-admin", options.allowRemoteAdmin,
               "Let the admin API answer any Host and web pages (requests with an Origin)");
}

CommandLine ParseCommandLine(int argc, char** argv) {
  CommandLine line;
  CLI::App app{"Stub results server: answers POST /api/<RequestType> from a data directory"};
  app.add_option("--port", line.server.port, "Port to listen on; 0 picks a free one")
      ->check(CLI::Range(0, 65535));
  app.add_option("--host", line.server.host, "Address to listen on");
  app.add_option("--data", line.dataDirectory,
                 "Data directory, one answer per request type (default: the sample plant)");
  app.add_option("--threads", line.server.threads, "Connections served at once")
      ->check(CLI::Range(1, 256));
  AddClientBounds(app, line.server);
  app.add_option("--record-from", line.recordFrom,
                 "Live server URL: forward every request to it and write each distinct "
                 "request with its answer as a case into --data; a path in it goes before "
                 "each request's");
  app.add_option_function<double>(
         "--record-timeout",
         [&line](double seconds) { line.recordTimeout = Milliseconds(seconds); },
         "Seconds the live server may stay silent before it is given up (default 5)")
      ->check(CLI::Range(0.001, 86400.0));  // below a millisecond it would be none
  app.add_flag("--verbose", line.verbose, "Print every request and its status on stderr");
  app.set_version_flag("--version", "vrex-stub " VREX_STUB_VERSION);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::exit(app.exit(error));
  }
  if (!line.recordFrom.empty() && line.dataDirectory.empty()) {
    std::cerr << "vrex-stub: --record-from needs --data, the directory to record into\n";
    std::exit(EXIT_FAILURE);
  }
  if (line.dataDirectory.empty()) {
    line.dataDirectory = vrex::stub::DefaultDataDirectory().string();
  }
  return line;
}

/// Blocks SIGINT and SIGTERM in this thread and in every thread started
/// after it, so that only sigwait() in main receives them.
sigset_t BlockStopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

void StandardError(std::string_view line) { std::cerr << "vrex-stub: " << line << '\n'; }

void PrintEachRequest(vrex::stub::StubServer& server) {
  server.SetRequestObserver(
      [](const vrex::stub::JournalEntry& entry, const vrex::stub::CannedAnswer& answer) {
        std::cerr << entry.method << ' ' << entry.path << " -> " << answer.status << ", "
                  << answer.body.size() << " bytes\n";
      });
}

/// Answers every request type from the live server, recording as it goes.
void RecordFromLiveServer(vrex::stub::StubServer& server, vrex::stub::Recorder& recorder) {
  for (const vrex::RequestInfo& request : vrex::Requests()) {
    const std::string type(request.name);
    server.SetBlockingResponder(type, [&recorder, type](const vrex::stub::JournalEntry& entry) {
      return recorder.Forward(type, entry);
    });
  }
}

}  // namespace

int main(int argc, char** argv) {
  const CommandLine line = ParseCommandLine(argc, argv);
  const sigset_t stopSignals = BlockStopSignals();
  try {
    vrex::stub::StubServer server(line.server);
    std::optional<vrex::stub::Recorder> recorder;
    auto answers = vrex::Result<std::size_t>::Success(0);
    if (line.recordFrom.empty()) {
      answers = server.LoadAnswers(line.dataDirectory);
    } else {
      RecordFromLiveServer(server, recorder.emplace(line.recordFrom, line.dataDirectory,
                                                    line.recordTimeout, StandardError));
    }
    if (!answers) {
      std::cerr << "vrex-stub: " << answers.GetStatus().Message() << '\n';
      return EXIT_FAILURE;
    }
    if (line.verbose) {
      PrintEachRequest(server);
    }
    server.Start();
    std::cout << "vrex-stub listening on " << server.BaseUrl() << std::endl;
    if (recorder) {
      std::cerr << "vrex-stub: recording answers of " << line.recordFrom << " into "
                << line.dataDirectory << '\n';
    } else {
      std::cerr << "vrex-stub: " << answers.Value() << " cases from " << line.dataDirectory << '\n';
    }

    int received = 0;
    sigwait(&stopSignals, &received);
    std::cerr << "vrex-stub: stopping on signal " << received << '\n';
    server.Stop();
  } catch (const std::exception& error) {
    std::cerr << "vrex-stub: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
