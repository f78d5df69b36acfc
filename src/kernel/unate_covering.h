// Minimum-weight unate covering: choose columns of least total weight so that every row holds
// a chosen column.
#pragma once

#include <cstdint>
#include <vector>

namespace nurex {

struct CoveringMatrix {
  std::vector<std::vector<uint32_t>> rows;  // the columns that cover each row, ascending
  std::vector<uint32_t> weights;            // one per column
};

struct CoveringResult {
  std::vector<uint32_t> columns;  // chosen, ascending
  bool feasible = true;           // false when a row has no column
  bool exact = true;              // false when the node budget ended the search
};

// Branch and bound; past `max_nodes` search nodes the best cover found so far is returned.
// Every 256 matrix entries that the reductions look at count as one more node, so the budget
// bounds the time also when the matrix is large.
CoveringResult minimumCover(const CoveringMatrix& matrix, uint64_t max_nodes);

}  // namespace nurex
