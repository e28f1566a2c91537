#pragma once
// What an HTTP status of the gateway means to a client; the one place that
// decides it for the established functions, the session client and the tools.

namespace vrex {

/// The server refused the request itself: any status from 400 to 499 (one
/// unsigned comparison, so 0 and negative values are not). The established
/// API reports these as ApiPipeline_Unauthorized, whatever the server meant.
constexpr bool IsRejectedStatus(int httpStatus) {
  return static_cast<unsigned>(httpStatus) - 400u <= 99u;
}

/// The server or a gateway in between is not available for now (502, 503,
/// 504): the statuses worth another attempt.
constexpr bool IsUnavailableStatus(int httpStatus) {
  return httpStatus == 502 || httpStatus == 503 || httpStatus == 504;
}

}  // namespace vrex
