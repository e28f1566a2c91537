#pragma once
// Runs a client call so that a hang fails the test instead of stalling it.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <utility>

namespace vrex::reliability {

/// Far above what any call of these tests takes, sanitizers included: it
/// tells a hang from slowness and is never a measure of speed.
inline constexpr std::chrono::seconds kHangBound{120};

/// Runs `call` on a thread of its own and returns its result. A call still
/// running after kHangBound fails the test; `release` must then make it
/// return (stopping the server it waits for, say).
template <class Call>
auto RunBounded(Call call, const std::function<void()>& release) {
  auto result = std::async(std::launch::async, std::move(call));
  if (result.wait_for(kHangBound) != std::future_status::ready) {
    ADD_FAILURE() << "the call hangs: it did not return within " << kHangBound.count() << " s";
    release();
  }
  return result.get();
}

}  // namespace vrex::reliability
