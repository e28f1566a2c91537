#pragma once
// The HTTP library's server with its connection loop replaced by one that
// reads through a RecordingSocketStream, so that a handler can see the raw
// bytes of the request it is handling (RecordingServer::CurrentRequestBytes).
// The loop does what the library's own does: serve requests on a kept-alive
// connection until the count or the idle time runs out, the client closes or
// the server stops.

#include <httplib.h>

#include <string_view>

namespace vrex::stub {

class RecordingSocketStream;

class RecordingServer : public httplib::Server {
 public:
  /// The bytes read so far of the request that the calling thread is
  /// handling (its head, and its body once that is read); empty outside a
  /// handler. Handlers run on the thread that reads the request, so this
  /// needs no lock.
  static std::string_view CurrentRequestBytes();
  /// Shuts the connection of the request that the calling thread is handling
  /// down in both directions, so that nothing more is read or sent on it; the
  /// connection loop then closes it. Does nothing outside a handler.
  static void ShutDownCurrentConnection();

  /// Serves a connected socket on the calling thread until its peer closes
  /// or the server stops, then closes it.
  bool ServeConnection(socket_t sock) { return process_and_close_socket(sock); }

 private:
  bool process_and_close_socket(socket_t sock) override;
  bool WaitForNextRequest(const RecordingSocketStream& stream) const;
};

}  // namespace vrex::stub
