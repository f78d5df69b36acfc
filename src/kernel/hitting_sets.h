// All minimal hitting sets of a family of sets.
#pragma once

#include <cstdint>
#include <vector>

namespace nurex {

// Every inclusion-minimal set of elements that meets each set of the family, each sorted
// ascending, the list ordered by size and then lexicographically. An empty family has the
// empty set as its only hitting set; a family with an empty set has none.
std::vector<std::vector<uint32_t>> minimalHittingSets(const std::vector<std::vector<uint32_t>>& family);

}  // namespace nurex
