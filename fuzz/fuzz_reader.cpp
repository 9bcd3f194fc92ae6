#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "harness.h"

#ifndef KIND
#error "compile with -DKIND=\"...\", the kind of input"
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static vellandra::Harness harness(KIND);
  const auto verdict = harness.run({reinterpret_cast<const char*>(data), size});
  if (!verdict.fault.empty()) {
    (void)std::fprintf(stderr, "%s\n", verdict.fault.c_str());
    std::abort();
  }
  return 0;
}
