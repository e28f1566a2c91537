#pragma once
// How a StubServer listens and bounds its clients, and where its notices go.
// Apart from StubServer.h so that the server's own parts (listener,
// connections, admin API) can read them without the whole front.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vrex::stub {

/// Where the server's notices go: a limit that applied, a failure it survived.
using LogSink = std::function<void(std::string_view line)>;

struct StubServerOptions {
  std::string host = "127.0.0.1";
  int port = 0;  ///< 0: the system picks a free port
  /// Threads that serve the connections, each serving many; a responder or
  /// observer that blocks holds one of them.
  std::size_t threads = 8;
  /// Serve the admin API under "/__stub/"; off, those paths get 404 like any
  /// other (for drivers that send arbitrary requests, such as fuzzers).
  bool adminApi = true;
  /// Let the admin API answer any Host and requests with an Origin. Off, it
  /// answers only loopback Host names (127.0.0.0/8, ::1, localhost) and no
  /// Origin, so that a web page cannot drive it (403 with the reason).
  bool allowRemoteAdmin = false;

  // Bounds on hostile or broken clients; each one applied is logged.
  /// A request body over this is answered with 413 and its connection closed.
  std::uint64_t maxRequestBytes = std::uint64_t{64} << 20;
  /// A request must arrive whole within this time from when the connection
  /// starts waiting for it; an idle kept-alive connection closes after it.
  std::chrono::milliseconds readTimeout{30'000};
  /// A client that takes no byte of its answer for this long is dropped.
  std::chrono::milliseconds writeTimeout{30'000};
  /// Connections open at once. A new one beyond it closes the connection
  /// that has waited longest for a request, or is refused when all are busy.
  std::size_t maxConnections = 512;
  /// The journal keeps the newest requests within both bounds (the newest
  /// one always) and counts those it drops.
  std::size_t journalEntries = 100'000;
  std::uint64_t journalBytes = std::uint64_t{64} << 20;  ///< heads and bodies
  /// Empty: lines go to the standard error stream, prefixed "vrex-stub: ".
  LogSink log;
};

}  // namespace vrex::stub
