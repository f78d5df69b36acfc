// The questions over the stored states: deadlocks and REACH predicates in breadth-first order
// (so the first witness is a shortest one), USC and CSC conflicts as the pair of least total
// depth, and normalcy over the distinct codes.
#include <algorithm>
#include <set>

#include "explore/explorer.h"

namespace nurex {

namespace {

bool isLocal(const Signal* s) { return s->kind == SignalOutput || s->kind == SignalInternal; }

}  // namespace

// Only states reached with no dummy occurrence pending are states of the STG seen from outside.
bool Explorer::counted(uint32_t i) const {
  const uint64_t* s = table_->state(i);
  for (uint32_t k = pendingBase_; k < bits_; ++k)
    if (bit(s, k)) return false;
  return true;
}

std::vector<uint8_t> Explorer::excited(const uint64_t* s, bool viaDummies) const {
  std::vector<uint8_t> on(moves_.size(), 0);
  uint32_t words = table_->words();
  std::vector<uint64_t> start(s, s + words);
  for (uint32_t k = places_; k < words * 64; ++k) clearBit(start.data(), k);
  std::set<std::vector<uint64_t>> seen{start};
  std::vector<std::vector<uint64_t>> pending{start};
  std::vector<uint64_t> next(words + 1);
  while (!pending.empty()) {
    std::vector<uint64_t> m = std::move(pending.back());
    pending.pop_back();
    for (uint32_t t = 0; t < moves_.size(); ++t) {
      const Move& move = moves_[t];
      if (!enabled(move, m.data())) continue;
      on[t] = 1;
      if (!viaDummies || move.signal != NoIndex) continue;
      std::copy(m.begin(), m.end(), next.begin());
      for (uint32_t p : move.pre) clearBit(next.data(), p);
      for (uint32_t p : move.post) setBit(next.data(), p);
      std::vector<uint64_t> marking(next.begin(), next.begin() + words);
      if (seen.insert(marking).second) pending.push_back(std::move(marking));
    }
  }
  return on;
}

std::vector<uint8_t> Explorer::excitedSignals(const uint64_t* s) const {
  std::vector<uint8_t> on(net_.signals.size(), 0);
  std::vector<uint8_t> moves = excited(s, true);
  for (uint32_t t = 0; t < moves.size(); ++t)
    if (moves[t] && moves_[t].signal != NoIndex) on[moves_[t].signal] = 1;
  return on;
}

bool Explorer::holds(const ReachExpr& predicate, const uint64_t* s, std::vector<uint8_t>& cache, bool& cached) {
  return evaluateNormalised(predicate, lets_, [&](const ReachExpr& node) {
    const ReachExpr& x = *node.unary().child;
    if (node.tag == ReachState && x.tag == ReachPlaceValue) return bit(s, std::get<const Place*>(x.payload)->index);
    const Signal* signal = x.tag == ReachSignalValue ? std::get<const Signal*>(x.payload) : nullptr;
    bool value = signal && signal->index < net_.dummiesBegin && hasSignals_ && signalValue(s, signal->index);
    if (node.tag == ReachState) return value;
    if (!cached) {
      cache = excited(s, params_.question == ExploreQuestion::StgReach);
      cached = true;
    }
    bool on = false;
    if (x.tag == ReachTransitionValue) {
      on = cache[std::get<const Transition*>(x.payload)->index] != 0;
    } else {
      for (const Transition* t : net_.transitions) on |= t->signal == signal && cache[t->index];
    }
    return node.tag == ReachNext ? value != on : on;
  });
}

bool Explorer::satisfies(uint32_t i) {
  if (params_.question == ExploreQuestion::StgReach && !counted(i)) return false;
  std::vector<uint8_t> cache;
  bool cached = false;
  return holds(*predicate_, table_->state(i), cache, cached);
}


// Within one code, the shallowest state pairs best with the shallowest state that differs
// from it (in marking for USC, in excited local signals for CSC): any conflicting pair has a
// member that differs from the shallowest one.
void Explorer::answerConflicts() {
  bool csc = params_.question == ExploreQuestion::Csc;
  uint32_t words = table_->words();
  auto code = [&](uint32_t i) {
    std::vector<uint64_t> c(words, 0);
    const uint64_t* s = table_->state(i);
    for (uint32_t k = parityBase_; k < pendingBase_; ++k)
      if (bit(s, k)) setBit(c.data(), k - parityBase_);
    return c;
  };
  std::vector<std::pair<std::vector<uint64_t>, uint32_t>> states;
  for (uint32_t i = 0; i < table_->size(); ++i)
    if (counted(i)) states.push_back({code(i), i});
  std::sort(states.begin(), states.end());  // by code, then number, which is breadth-first order
  uint32_t bestA = StateTable::NoState, bestB = StateTable::NoState;
  uint64_t bestCost = ~uint64_t{0};
  for (size_t g = 0; g < states.size();) {
    size_t end = g + 1;
    while (end < states.size() && states[end].first == states[g].first) ++end;
    if (params_.stop && params_.stop->load(std::memory_order_relaxed)) {
      decline("stopped");
      return;
    }
    uint32_t a = states[g].second;
    std::vector<uint8_t> first = csc && end - g > 1 ? excitedSignals(table_->state(a)) : std::vector<uint8_t>();
    for (size_t k = g + 1; k < end; ++k) {
      uint32_t b = states[k].second;
      if (csc) {
        std::vector<uint8_t> other = excitedSignals(table_->state(b));
        bool differs = false;
        for (const Signal* z : net_.signals) differs |= isLocal(z) && first[z->index] != other[z->index];
        if (!differs) continue;
      }
      uint64_t cost = uint64_t{table_->depth(a)} + table_->depth(b);
      if (cost < bestCost) bestCost = cost, bestA = a, bestB = b;
      break;
    }
    g = end;
  }
  if (bestA == StateTable::NoState) {
    result_.verdict = ExploreVerdict::None;
    return;
  }
  // The deeper state first, as the prefix engine lists the larger configuration first.
  if (table_->depth(bestA) < table_->depth(bestB)) std::swap(bestA, bestB);
  found({bestA, bestB});
  if (!csc) return;
  std::vector<uint8_t> ea = excitedSignals(table_->state(bestA)), eb = excitedSignals(table_->state(bestB));
  for (const Signal* z : net_.signals)
    if (isLocal(z) && ea[z->index] != eb[z->index]) {
      result_.signal = z;
      break;
    }
}

// Normal STGs are answered; a violation or a CSC conflict is left to the prefix engine, whose
// report names the reason found by its own analysis.
void Explorer::answerNormalcy() {
  struct Code {
    std::vector<uint8_t> value, next;
  };
  // A local signal excited at the start has events without triggers, on which the prefix
  // engine's hypotheses may have nothing to rest.
  std::vector<uint8_t> initial = excitedSignals(table_->state(0));
  for (const Signal* z : net_.signals)
    if (isLocal(z) && initial[z->index]) {
      decline("a local signal is excited initially");
      return;
    }
  std::vector<std::pair<std::vector<uint8_t>, std::vector<uint8_t>>> byCode;  // code, excitation
  for (uint32_t i = 0; i < table_->size(); ++i) {
    if (!counted(i)) continue;
    const uint64_t* s = table_->state(i);
    std::vector<uint8_t> value(net_.dummiesBegin);
    for (uint32_t z = 0; z < net_.dummiesBegin; ++z) value[z] = signalValue(s, z);
    byCode.push_back({std::move(value), excitedSignals(s)});
    if (params_.stop && params_.stop->load(std::memory_order_relaxed)) {
      decline("stopped");
      return;
    }
  }
  std::sort(byCode.begin(), byCode.end());
  std::vector<Code> codes;
  std::vector<uint32_t> local;
  for (const Signal* z : net_.signals)
    if (isLocal(z)) local.push_back(z->index);
  for (size_t k = 0; k < byCode.size(); ++k) {
    if (!codes.empty() && codes.back().value == byCode[k].first) {
      for (uint32_t z : local)
        if (byCode[k].second[z] != byCode[k - 1].second[z]) {
          decline("a CSC conflict");
          return;
        }
      continue;
    }
    Code c{byCode[k].first, std::vector<uint8_t>(net_.signals.size(), 0)};
    for (uint32_t z : local) c.next[z] = c.value[z] ^ byCode[k].second[z];
    codes.push_back(std::move(c));
  }
  if (codes.size() > 40000) {
    decline("too many codes for the normalcy check");
    return;
  }
  std::vector<uint8_t> pBroken(net_.signals.size(), 0), nBroken(net_.signals.size(), 0);
  for (const Code& a : codes) {
    if (params_.stop && params_.stop->load(std::memory_order_relaxed)) {
      decline("stopped");
      return;
    }
    for (const Code& b : codes) {
      bool below = true;
      for (uint32_t z = 0; z < a.value.size() && below; ++z) below = a.value[z] <= b.value[z];
      if (!below || &a == &b) continue;
      for (uint32_t z : local) {
        pBroken[z] |= a.next[z] && !b.next[z];
        nBroken[z] |= !a.next[z] && b.next[z];
      }
    }
  }
  for (uint32_t z : local)
    if (pBroken[z] && nBroken[z]) {
      decline("normalcy is violated");
      return;
    }
  result_.verdict = ExploreVerdict::None;
}

}  // namespace nurex
