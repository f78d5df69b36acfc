// Fuzz targets of every reader and parser, and of a whole small run. Each takes arbitrary
// bytes and must end normally whatever they are: errors go through the Reporter, whose
// status is reset before the next input. libFuzzer drives them in the fuzz build; the
// regression corpora replay through the same entry points in the tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace nurex::fuzz {

struct FuzzTarget {
  const char* name;  // also the corpus and dictionary names
  int (*run)(const uint8_t* data, size_t size);
};

const std::vector<FuzzTarget>& fuzzTargets();
// How many units the reader targets have loaded so far (to tell that mutated inputs reach
// both outcomes).
uint64_t loadedUnits();
const FuzzTarget* findFuzzTarget(const std::string& name);

}  // namespace nurex::fuzz
