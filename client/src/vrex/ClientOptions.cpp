#include "vrex/ClientOptions.h"

#include <cstdio>

namespace vrex {

namespace {

std::string Hex(unsigned char byte) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%02X", byte);
  return text;
}

// "ClientOptions::totalTimeout is 0 ms; ..." for a duration that must be positive.
std::string NotPositive(const char* name, std::chrono::milliseconds value) {
  if (value.count() > 0) return {};
  return std::string("ClientOptions::") + name + " is " + std::to_string(value.count()) +
         " ms; it must be longer than 0 (libcurl would read 0 as no time-out at all)";
}

std::string Negative(const char* name, std::chrono::milliseconds value) {
  if (value.count() >= 0) return {};
  return std::string("ClientOptions::retry.") + name + " is " + std::to_string(value.count()) +
         " ms; it must not be negative";
}

}  // namespace

std::string GatewayTokenProblem(std::string_view token) {
  if (token.empty()) {
    return "the gateway token is empty";
  }
  for (std::size_t i = 0; i < token.size(); ++i) {
    const auto byte = static_cast<unsigned char>(token[i]);
    if (byte < 0x20 || byte > 0x7E) {
      return "byte " + std::to_string(i + 1) + " of the gateway token is " + Hex(byte) +
             "; only printable ASCII is allowed, from the blank (0x20) to the tilde (0x7E)";
    }
  }
  if (token.front() == ' ' || token.back() == ' ') {
    return "the gateway token starts or ends with a blank, which servers drop from a header "
           "value";
  }
  return {};
}

std::string ClientOptionsProblem(const ClientOptions& options) {
  if (options.token) {
    if (std::string problem = GatewayTokenProblem(*options.token); !problem.empty()) {
      return "ClientOptions::token cannot be sent: " + problem;
    }
  }
  for (std::string problem :
       {NotPositive("connectTimeout", options.connectTimeout),
        NotPositive("totalTimeout", options.totalTimeout),
        Negative("initialDelay", options.retry.initialDelay),
        Negative("maxDelay", options.retry.maxDelay),
        Negative("maxTotalTime", options.retry.maxTotalTime)}) {
    if (!problem.empty()) return problem;
  }
  return {};
}

}  // namespace vrex
