#include "CheckResult.h"

#include <cstdio>
#include <cstdlib>

namespace vrex::fuzz {

void AbortOnProblem(const char* target, const CheckResult& result) {
  if (result.Holds()) {
    return;
  }
  std::fprintf(stderr, "%s: %s\n", target, result.problem.c_str());
  std::abort();
}

}  // namespace vrex::fuzz
