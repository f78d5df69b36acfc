// Summaries of configurations and the comparisons of the adequate orders.
#include "unfold/adequate_order.h"

#include <algorithm>

namespace nurex {

namespace {

struct EventFacts {
  uint32_t transition;
  uint32_t depth;
  const Condition* const* preset;
  uint32_t presetSize;
};

// Depth, transition, then (place, producer transition + 1 or 0, producer depth) per preset
// condition in place order.
std::vector<uint32_t> causalDescription(const UnfoldState& state, const EventFacts& facts) {
  std::vector<std::vector<uint32_t>> inputs;
  for (uint32_t i = 0; i < facts.presetSize; ++i) {
    const Condition* b = facts.preset[i];
    uint32_t producer = b->producer ? b->producer->transition->index + 1 : 0;
    inputs.push_back({b->place->index, producer, state.depthOf(b)});
  }
  std::sort(inputs.begin(), inputs.end());
  std::vector<uint32_t> out{facts.depth, facts.transition};
  for (const auto& input : inputs) out.insert(out.end(), input.begin(), input.end());
  return out;
}

template <class T>
int lexicographic(const std::vector<T>& a, const std::vector<T>& b) {
  if (std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end())) return -1;
  if (std::lexicographical_compare(b.begin(), b.end(), a.begin(), a.end())) return 1;
  return 0;
}

}  // namespace

ConfigurationSummary summarizeConfiguration(const UnfoldState& state, const std::vector<Event*>& events,
                                            const Candidate* extra, int order) {
  std::vector<EventFacts> facts;
  facts.reserve(events.size() + 1);
  for (const Event* e : events)
    facts.push_back({e->transition->index, state.eventDepth[e->index], e->preset.begin(), e->preset.size()});
  if (extra)
    facts.push_back({extra->transition->index, extra->depth, extra->preset.data(),
                     static_cast<uint32_t>(extra->preset.size())});

  ConfigurationSummary s;
  s.size = static_cast<uint32_t>(facts.size());
  if (order < 2) return s;
  for (const EventFacts& f : facts) s.parikh.push_back(f.transition);
  std::sort(s.parikh.begin(), s.parikh.end());
  if (order < 3) return s;
  for (const EventFacts& f : facts) {
    if (s.levels.size() < f.depth) s.levels.resize(f.depth);
    s.levels[f.depth - 1].push_back(f.transition);
  }
  for (auto& level : s.levels) std::sort(level.begin(), level.end());
  if (order < 4) return s;
  for (const EventFacts& f : facts) s.causal.push_back(causalDescription(state, f));
  std::sort(s.causal.begin(), s.causal.end());
  return s;
}

int compareConfigurations(int order, const ConfigurationSummary& a, const ConfigurationSummary& b) {
  if (a.size != b.size) return a.size < b.size ? -1 : 1;
  if (order < 2) return 0;
  if (int c = lexicographic(a.parikh, b.parikh)) return c;
  if (order < 3) return 0;
  size_t common = std::min(a.levels.size(), b.levels.size());
  for (size_t i = 0; i < common; ++i) {
    if (a.levels[i].size() != b.levels[i].size()) return a.levels[i].size() < b.levels[i].size() ? -1 : 1;
    if (int c = lexicographic(a.levels[i], b.levels[i])) return c;
  }
  if (a.levels.size() != b.levels.size()) return a.levels.size() < b.levels.size() ? -1 : 1;
  if (order < 4) return 0;
  return lexicographic(a.causal, b.causal);
}

}  // namespace nurex
