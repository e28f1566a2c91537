#pragma once
// The verdict of one fuzz check: whether the input was accepted (parsed) and
// what property broke, if any. A broken property is a finding; a rejected
// input is not.

#include <string>

namespace vrex::fuzz {

struct CheckResult {
  bool accepted = false;
  std::string problem;  ///< empty when every property held

  bool Holds() const { return problem.empty(); }
};

/// Stops the fuzzer with `problem` on standard error when it is not empty:
/// abort() makes libFuzzer keep the input as a crash.
void AbortOnProblem(const char* target, const CheckResult& result);

}  // namespace vrex::fuzz
