#include "Endpoints.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace vrex::reliability {

int FreeLoopbackPort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) {
    throw std::runtime_error("socket() failed");
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  const bool bound = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                     ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0;
  ::close(fd);
  if (!bound) {
    throw std::runtime_error("cannot bind a loopback port");
  }
  return ntohs(address.sin_port);
}

std::string RefusedBaseUrl() {
  return "http://127.0.0.1:" + std::to_string(FreeLoopbackPort());
}

std::string UnknownHostBaseUrl() { return "http://results-server.vrex.invalid:8080"; }

std::string BaseUrlOf(Target target, const stub::StubServer& server) {
  switch (target) {
    case Target::Stub:
      return server.BaseUrl();
    case Target::RefusedPort:
      return RefusedBaseUrl();
    case Target::UnknownHost:
      return UnknownHostBaseUrl();
  }
  throw std::logic_error("unknown target");
}

}  // namespace vrex::reliability
