// How the cores of one step combine: an arc a -> b when the nested core b, laid onto a side
// of a, gives a conflict again, so that resolving a and b alone may leave their union.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "resolve/csc_core.h"

namespace nurex {

struct CoreAdjacencyGraph {
  struct Vertex {
    std::vector<uint32_t> in, out;  // core positions
  };
  std::vector<Vertex> vertices;  // one per core, in core order
  std::vector<std::pair<uint32_t, uint32_t>> uscArcs;  // sorted; the union differs only in marking

  size_t arcs() const;
  bool isUscArc(uint32_t a, uint32_t b) const;
};

// Prints its statistics line, and at verbosity 4 the arcs of every vertex.
CoreAdjacencyGraph buildAdjacencyGraph(const StgPrefix& prefix, const std::vector<CscCore>& cores);

}  // namespace nurex
