// A greedy hitting set with bucketed counts, used to pick a small set of elements (events,
// literals) that meets every set of a list.
#pragma once

#include <cstdint>
#include <vector>

namespace nurex {

// Elements that meet every set of `sets` that `chosen` (a bit per element number) does not
// meet already. Greedy: the element in the most unmet sets first; among equals, the one that
// stands last in its count bucket. A set with no element cannot be met and is left out.
std::vector<uint32_t> greedyHittingSet(const std::vector<std::vector<uint32_t>>& sets, const std::vector<bool>& chosen);

}  // namespace nurex
