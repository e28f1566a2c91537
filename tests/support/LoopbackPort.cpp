#include "LoopbackPort.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>

namespace vrex::testing {

namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

int FreeLoopbackPort() {
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  int port = 0;
  if (::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  ::close(socket);
  if (port == 0) throw std::runtime_error("no free port on 127.0.0.1");
  return port;
}

std::string UnreachableUrl() { return "http://127.0.0.1:" + std::to_string(FreeLoopbackPort()); }

bool AcceptsConnections(int port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = Loopback(port);
  const bool connected =
      ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(socket);
  return connected;
}

}  // namespace vrex::testing
