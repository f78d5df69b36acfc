// libFuzzer's entry: the target named by NUREX_FUZZ_TARGET (see tests/fuzz/run).
#include <cstdio>
#include <cstdlib>

#include "fuzz/harnesses.h"

namespace {
const nurex::fuzz::FuzzTarget* target = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* name = std::getenv("NUREX_FUZZ_TARGET");
  target = name ? nurex::fuzz::findFuzzTarget(name) : nullptr;
  if (!target) {
    std::fprintf(stderr, "NUREX_FUZZ_TARGET must name a target: g mci mp pnml pnml_gz reach coefficient pipeline genlib\n");
    std::exit(2);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return target->run(data, size); }
