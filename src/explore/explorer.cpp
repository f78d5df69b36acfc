// Breadth-first exploration of a safe net's states: packed markings, signal parities and the
// pending dummy occurrences where the question needs them; stubborn sets for deadlocks.
#include "explore/explorer.h"

#include <algorithm>

namespace nurex {

namespace {

bool needsPending(ExploreQuestion q) {
  return q == ExploreQuestion::Usc || q == ExploreQuestion::Csc || q == ExploreQuestion::Normalcy ||
         q == ExploreQuestion::StgReach;
}

bool isDummy(const Transition* t) { return !t->signal || t->signal->kind == SignalDummy; }

}  // namespace

Explorer::Explorer(const Stg& net, bool hasSignals, const ExploreParams& params)
    : net_(net), hasSignals_(hasSignals), params_(params) {
  places_ = net.places.size();
  parityBase_ = places_;
  uint32_t paritySignals = hasSignals ? net.dummiesBegin : 0;
  pendingBase_ = parityBase_ + paritySignals;
  trackPending_ = hasSignals && needsPending(params.question);
  uint32_t pendingBits = 0;
  consumers_.resize(places_);
  moves_.resize(net.transitions.size());
  takers_.resize(places_);
  readers_.resize(places_);
  markers_.resize(places_);
  for (const Transition* t : net.transitions) {
    Move& m = moves_[t->index];
    for (const Place* p : t->preset) m.pre.push_back(p->index), consumers_[p->index].push_back(t->index);
    for (const Place* p : t->postset) m.post.push_back(p->index);
    for (uint32_t p : m.pre) {
      bool reads = std::find(m.post.begin(), m.post.end(), p) != m.post.end();
      m.reads.push_back(reads);
      (reads ? readers_ : takers_)[p].push_back(t->index);
    }
    for (uint32_t p : m.post)
      if (std::find(m.pre.begin(), m.pre.end(), p) == m.pre.end()) markers_[p].push_back(t->index);
    m.sign = t->sign;
    if (hasSignals && !isDummy(t)) {
      m.signal = t->signal->index;
      m.parity = parityBase_ + m.signal;
    } else if (trackPending_) {
      m.pending = pendingBase_ + pendingBits++;
    }
  }
  // A transition ends the pending occurrence of every dummy whose postset it consumes from.
  if (trackPending_)
    for (const Transition* d : net.transitions) {
      if (moves_[d->index].pending == NoIndex) continue;
      for (const Place* p : d->postset)
        for (uint32_t t : consumers_[p->index]) moves_[t].clears.push_back(moves_[d->index].pending);
    }
  for (Move& m : moves_) {
    std::sort(m.clears.begin(), m.clears.end());
    m.clears.erase(std::unique(m.clears.begin(), m.clears.end()), m.clears.end());
  }
  bits_ = pendingBase_ + pendingBits;
  table_ = std::make_unique<StateTable>((bits_ + 63) / 64, params.memoryBudget);
  value_.assign(net.signals.size(), ValueUnknown);
  fired_.assign(net.signals.size(), 0);
  stamp_.assign(moves_.size(), 0);
  firedMove_.assign(moves_.size(), 0);
  consumed_.assign(places_, 0);
  for (const Place* p : net.places) unconsumed_ += p->tokens != 0;
}

bool Explorer::decline(const std::string& why) {
  result_.verdict = ExploreVerdict::Declined;
  result_.why = why;
  result_.traces.clear();
  return false;
}

// What the prefix engine would report beside its verdict, read off the net: errors of the
// unfolder and the load-time checks, and their warnings (taken for any transition, even one
// that never fires). Self-loops of the net are no self-loops of its unfolding.
const char* Explorer::structuralObstacle() const {
  for (const Place* p : net_.places) {
    if (p->tokens > 1) return "the initial marking is not safe";
    if (p->tokens && p->postset.empty()) return "an isolated place";
  }
  if (!unconsumed_) return "the initial marking is empty";
  // Unless some first move changes the marking, every event of the prefix is a cut-off.
  bool moves = false;
  for (const Transition* t : net_.transitions) {
    bool enabled = std::all_of(t->preset.begin(), t->preset.end(), [](const Place* p) { return p->tokens != 0; });
    moves |= enabled && !std::equal(t->preset.begin(), t->preset.end(), t->postset.begin(), t->postset.end());
  }
  if (!moves) return "the prefix has no events that are not cut-offs";
  for (const Transition* t : net_.transitions) {
    if (t->preset.empty()) return "a transition with an empty preset";
    if (t->postset.empty()) return "a transition with an empty postset";
    if (hasSignals_ && isDummy(t) && t->sign != SignNone) return "a dummy transition with a sign";
  }
  if (!hasSignals_ && needsPending(params_.question)) return "the mode needs an STG";
  if (!hasSignals_ && params_.question == ExploreQuestion::Normalcy) return "the mode needs an STG";
  return nullptr;
}

bool Explorer::enabled(const Move& m, const uint64_t* s) const {
  for (uint32_t p : m.pre)
    if (!bit(s, p)) return false;
  return true;
}

bool Explorer::fire(const Move& m, const uint64_t* s, uint64_t* out) const {
  std::copy(s, s + table_->words(), out);
  for (uint32_t p : m.pre) clearBit(out, p);
  for (uint32_t p : m.post) {
    if (bit(out, p)) return false;
    setBit(out, p);
  }
  if (m.parity != NoIndex) out[m.parity >> 6] ^= uint64_t{1} << (m.parity & 63);
  for (uint32_t k : m.clears) clearBit(out, k);
  if (m.pending != NoIndex) setBit(out, m.pending);
  return true;
}

void Explorer::enabledMoves(const uint64_t* s, std::vector<uint32_t>& out) const {
  out.clear();
  for (uint32_t t = 0; t < moves_.size(); ++t)
    if (enabled(moves_[t], s)) out.push_back(t);
}

// An enabled member brings in every transition that could take a token from under it (one
// that only reads a place the member also only reads cannot); a disabled one the transitions
// that can mark one of its unmarked input places, that with the fewest of them.
bool Explorer::closeStubborn(const uint64_t* s, uint32_t start, size_t bound, std::vector<uint32_t>& set) {
  ++generation_;
  set.assign(1, start);
  stamp_[start] = generation_;
  size_t enabledCount = 0;
  auto add = [&](uint32_t t) {
    if (stamp_[t] == generation_) return;
    stamp_[t] = generation_;
    set.push_back(t);
  };
  for (size_t i = 0; i < set.size(); ++i) {
    const Move& m = moves_[set[i]];
    uint32_t scapegoat = NoIndex;
    for (uint32_t p : m.pre)
      if (!bit(s, p) && (scapegoat == NoIndex || markers_[p].size() < markers_[scapegoat].size())) scapegoat = p;
    if (scapegoat != NoIndex) {
      for (uint32_t t : markers_[scapegoat]) add(t);
      continue;
    }
    if (++enabledCount >= bound) return false;
    for (size_t k = 0; k < m.pre.size(); ++k) {
      uint32_t p = m.pre[k];
      for (uint32_t t : takers_[p]) add(t);
      if (!m.reads[k])
        for (uint32_t t : readers_[p]) add(t);
    }
  }
  return true;
}

// The smallest of the sets grown from a few enabled transitions.
void Explorer::stubbornMoves(const uint64_t* s, std::vector<uint32_t>& out) {
  enabledMoves(s, all_);
  out.clear();
  if (all_.size() <= 1) {
    out = all_;
    return;
  }
  size_t tries = std::min<size_t>(all_.size(), 4), bound = all_.size();
  for (size_t i = 0; i < tries && bound > 1; ++i) {
    if (!closeStubborn(s, all_[i * all_.size() / tries], bound, set_)) continue;
    out.clear();
    for (uint32_t t : set_)
      if (enabled(moves_[t], s)) out.push_back(t);
    bound = out.size();
  }
  if (out.empty()) out = all_;
  std::sort(out.begin(), out.end());
}

// A consumer enabled in a reachable state can fire, and the first firing of any consumer
// takes the initial token: enough to know without exploring the states that fire it.
void Explorer::noteEnabledConsumers(const uint64_t* s) {
  for (uint32_t p = 0; p < places_; ++p) {
    if (!net_.places[p]->tokens || consumed_[p]) continue;
    for (uint32_t t : consumers_[p])
      if (enabled(moves_[t], s)) {
        consumed_[p] = 1, --unconsumed_;
        break;
      }
  }
}

void Explorer::noteFired(uint32_t t) {
  if (firedMove_[t]) return;
  firedMove_[t] = 1;
  for (uint32_t p : moves_[t].pre)
    if (net_.places[p]->tokens && !consumed_[p]) consumed_[p] = 1, --unconsumed_;
}

bool Explorer::learnValue(const Move& m, const uint64_t* s) {
  if (m.signal == NoIndex) return true;
  fired_[m.signal] = 1;
  if (m.sign == SignNone) return true;
  uint8_t implied = static_cast<uint8_t>(bit(s, m.parity) ^ (m.sign == SignMinus));
  if (value_[m.signal] == ValueUnknown) value_[m.signal] = implied;
  return value_[m.signal] == implied;
}

bool Explorer::explore() {
  std::vector<uint64_t> start((bits_ + 63) / 64 + 1, 0), next(start.size(), 0);
  for (const Place* p : net_.places)
    if (p->tokens) setBit(start.data(), p->index);
  bool added;
  table_->insert(start.data(), StateTable::NoState, NoIndex, added);
  bool stubborn = params_.question == ExploreQuestion::Deadlock && !params_.minimal && earlyStops();
  std::vector<uint32_t> moves;
  uint32_t witness = StateTable::NoState;
  // Without -f a deadlock needs no shortest run: depth first, stubborn sets reach one after a
  // few hundred states where breadth first would store the whole layers above it.
  std::vector<uint32_t> stack{0};
  uint32_t ordered = 0;
  auto nextState = [&] {
    if (!stubborn) return ordered < table_->size() ? ordered++ : StateTable::NoState;
    if (stack.empty()) return StateTable::NoState;
    uint32_t top = stack.back();
    stack.pop_back();
    return top;
  };
  for (uint32_t i; (i = nextState()) != StateTable::NoState;) {
    if (params_.stop && params_.stop->load(std::memory_order_relaxed)) return decline("stopped");
    const uint64_t* s = table_->state(i);
    if (unconsumed_) noteEnabledConsumers(s);
    if (stubborn) stubbornMoves(s, moves);
    else enabledMoves(s, moves);
    // An answer found early still waits until every initial token has been seen consumed:
    // one never consumed is an isolated condition of the prefix, which draws a warning.
    if (earlyStops() && witness == StateTable::NoState) {
      bool dead = params_.question == ExploreQuestion::Deadlock && moves.empty();
      if (dead || (params_.question == ExploreQuestion::Reach && satisfies(i))) witness = i;
    }
    if (witness != StateTable::NoState && unconsumed_ == 0) break;
    for (uint32_t t : moves) {
      noteFired(t);
      if (!learnValue(moves_[t], table_->state(i))) return decline("the STG is inconsistent");
      if (!fire(moves_[t], table_->state(i), next.data())) return decline("the net is not safe");
      uint32_t j = table_->insert(next.data(), i, t, added);
      if (j == StateTable::NoState) return decline("memory budget exhausted");
      if (added && stubborn) stack.push_back(j);
    }
  }
  result_.states = table_->size();
  if (earlyStops()) {
    if (unconsumed_) return decline("an isolated place");
    if (witness == StateTable::NoState) result_.verdict = ExploreVerdict::None;
    else found({witness});
    return true;
  }
  return nothingToWarn() && !dummyCycleReachable();
}

// Signals whose value the prefix engine would assume or find dead draw its warnings, and so
// does an initial token that nothing ever consumes (an isolated condition of the prefix).
bool Explorer::nothingToWarn() {
  if (unconsumed_) return decline("an isolated place");
  for (uint32_t s = 0; s < net_.dummiesBegin; ++s)
    if (value_[s] == ValueUnknown) return decline(fired_[s] ? "a signal value is assumed" : "a dead signal");
  return true;
}

// A reachable cycle of dummy transitions makes the unfolding of an STG infinite.
bool Explorer::dummyCycleReachable() {
  bool anyDummy = std::any_of(moves_.begin(), moves_.end(), [](const Move& m) { return m.signal == NoIndex; });
  if (!anyDummy) return false;
  std::vector<uint8_t> colour(table_->size(), 0);  // 0 new, 1 on the stack, 2 done
  std::vector<std::pair<uint32_t, uint32_t>> stack;  // state, next transition to try
  std::vector<uint64_t> next(table_->words() + 1);
  for (uint32_t root = 0; root < table_->size(); ++root) {
    if (colour[root]) continue;
    stack.assign(1, {root, 0});
    colour[root] = 1;
    while (!stack.empty()) {
      auto& [i, t] = stack.back();
      if (t == moves_.size()) {
        colour[i] = 2;
        stack.pop_back();
        continue;
      }
      const Move& m = moves_[t++];
      if (m.signal != NoIndex || !enabled(m, table_->state(i))) continue;
      bool added;
      fire(m, table_->state(i), next.data());
      uint32_t j = table_->insert(next.data(), i, 0, added);
      if (added || j == StateTable::NoState) return decline("memory budget exhausted"), true;
      if (colour[j] == 1) return decline("a cycle of dummy transitions is reachable"), true;
      if (colour[j] == 0) {
        colour[j] = 1;
        stack.push_back({j, 0});
      }
    }
  }
  return false;
}

void Explorer::found(std::initializer_list<uint32_t> states) {
  result_.verdict = ExploreVerdict::Found;
  for (uint32_t i : states) {
    std::vector<const Transition*> trace;
    for (uint32_t t : table_->pathTo(i)) trace.push_back(net_.transitions[t]);
    result_.traces.push_back(std::move(trace));
  }
}

// Over a plain net the predicate is tested while exploring; over an STG once the signal
// values are known, which `is_init` may ask for.
bool Explorer::readPredicate() {
  if (params_.question != ExploreQuestion::Reach && params_.question != ExploreQuestion::StgReach) return true;
  predicate_ = normaliseExplorePredicate(net_, hasSignals_, value_, params_.property,
                                         params_.question == ExploreQuestion::StgReach, result_.why);
  return predicate_ || decline(result_.why.c_str());
}

ExploreResult Explorer::run() {
  if (const char* why = structuralObstacle()) {
    decline(why);
    return result_;
  }
  if ((earlyStops() && !readPredicate()) || !explore() || (!earlyStops() && !readPredicate())) return result_;
  result_.states = table_->size();
  if (earlyStops()) return result_;
  switch (params_.question) {
    case ExploreQuestion::Deadlock:
    case ExploreQuestion::Reach:
    case ExploreQuestion::StgReach: {
      result_.verdict = ExploreVerdict::None;
      std::vector<uint32_t> moves;
      for (uint32_t i = 0; i < table_->size(); ++i) {
        if (params_.stop && params_.stop->load(std::memory_order_relaxed)) {
          decline("stopped");
          break;
        }
        if (params_.question == ExploreQuestion::Deadlock) {
          enabledMoves(table_->state(i), moves);
          if (moves.empty()) {
            found({i});
            break;
          }
        } else if (satisfies(i)) {
          found({i});
          break;
        }
      }
      break;
    }
    case ExploreQuestion::Usc:
    case ExploreQuestion::Csc: answerConflicts(); break;
    case ExploreQuestion::Normalcy: answerNormalcy(); break;
  }
  return result_;
}

ExploreResult exploreNet(const Stg& net, bool hasSignals, const ExploreParams& params) {
  return Explorer(net, hasSignals, params).run();
}

}  // namespace nurex
