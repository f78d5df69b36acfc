// Summaries of configurations and the comparisons of the adequate orders.
#include "unfold/adequate_order.h"

#include <algorithm>

namespace nurex {

namespace {

// Depth, transition, then (place, producer transition + 1 or 0, producer depth) per preset
// condition in place order.
std::vector<uint32_t> causalDescription(const UnfoldState& state, uint32_t transition, uint32_t depth,
                                        std::span<const uint32_t> preset) {
  std::vector<std::vector<uint32_t>> inputs;
  for (uint32_t b : preset) {
    const Condition* c = state.conditions[b];
    uint32_t producer = c->producer ? c->producer->transition->index + 1 : 0;
    inputs.push_back({c->place->index, producer, state.depthOf(c)});
  }
  std::sort(inputs.begin(), inputs.end());
  std::vector<uint32_t> out{depth, transition};
  for (const auto& input : inputs) out.insert(out.end(), input.begin(), input.end());
  return out;
}

template <class T>
int lexicographic(const T* a, size_t na, const T* b, size_t nb) {
  for (size_t i = 0; i < na && i < nb; ++i)
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  return na == nb ? 0 : na < nb ? -1 : 1;
}

template <class T>
int lexicographic(const std::vector<T>& a, const std::vector<T>& b) {
  return lexicographic(a.data(), a.size(), b.data(), b.size());
}

// The level starting at `at` ends where the depth changes.
size_t levelEnd(const std::vector<uint64_t>& foata, size_t at) {
  size_t end = at;
  while (end < foata.size() && (foata[end] >> 32) == (foata[at] >> 32)) ++end;
  return end;
}

int compareFoata(const std::vector<uint64_t>& a, const std::vector<uint64_t>& b) {
  size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    size_t ie = levelEnd(a, i), je = levelEnd(b, j);
    if (ie - i != je - j) return ie - i < je - j ? -1 : 1;
    // Within a level the depth is common, so the words compare as their transitions.
    if (int c = lexicographic(a.data() + i, ie - i, b.data() + j, je - j)) return c;
    i = ie;
    j = je;
  }
  return i < a.size() ? 1 : j < b.size() ? -1 : 0;
}

}  // namespace

ConfigurationSummary summarizeConfiguration(const UnfoldState& state, const std::vector<uint32_t>& events,
                                            const Candidate* extra, int order) {
  ConfigurationSummary s;
  s.size = static_cast<uint32_t>(events.size()) + (extra ? 1 : 0);
  if (order < 2) return s;
  s.parikh.reserve(s.size);
  for (uint32_t e : events) s.parikh.push_back(state.eventTransition[e]);
  if (extra) s.parikh.push_back(extra->transition->index);
  std::sort(s.parikh.begin(), s.parikh.end());
  if (order < 3) return s;
  s.foata.reserve(s.size);
  for (uint32_t e : events) s.foata.push_back(uint64_t(state.eventDepth[e]) << 32 | state.eventTransition[e]);
  if (extra) s.foata.push_back(uint64_t(extra->depth) << 32 | extra->transition->index);
  std::sort(s.foata.begin(), s.foata.end());
  if (order < 4) return s;
  for (uint32_t e : events)
    s.causal.push_back(causalDescription(state, state.eventTransition[e], state.eventDepth[e], state.presetOf(e)));
  if (extra) s.causal.push_back(causalDescription(state, extra->transition->index, extra->depth, extra->preset()));
  std::sort(s.causal.begin(), s.causal.end());
  return s;
}

int compareConfigurations(int order, const ConfigurationSummary& a, const ConfigurationSummary& b) {
  if (a.size != b.size) return a.size < b.size ? -1 : 1;
  if (order < 2) return 0;
  if (int c = lexicographic(a.parikh, b.parikh)) return c;
  if (order < 3) return 0;
  if (int c = compareFoata(a.foata, b.foata)) return c;
  if (order < 4) return 0;
  return lexicographic(a.causal, b.causal);
}

}  // namespace nurex
