#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string_view>

#include "harness.h"

#ifndef KIND
#error "compile with -DKIND=\"...\", the kind of input"
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static vellandra::Harness harness(KIND);
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  // Most trouble comes with reading, and the same input must always take the same way.
  constexpr std::size_t inputsToAWritten = 4;
  const bool writes = std::hash<std::string_view>()(input) % inputsToAWritten == 0;
  const auto verdict = harness.run(input, writes);
  if (!verdict.fault.empty()) {
    (void)std::fprintf(stderr, "%s\n", verdict.fault.c_str());
    std::abort();
  }
  return 0;
}
