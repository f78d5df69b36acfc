// The formula of one step. A chosen set of insertions is one new signal x; in a
// configuration of the present prefix an instance counts when the event it sits in front of
// (Before) or behind (After) is in it, so x's value there is the parity of the counted
// chosen instances. The constraints keep x consistent (no two of its events concurrent,
// each transition of it with one sign, cut-offs agreeing with their correspondents) and ask
// that x's value tell apart the two sides of at least one CSC core.
#include <algorithm>
#include <set>

#include "platform/reporter.h"
#include "resolve/core_adjacency.h"
#include "resolve/encoding_resolver.h"
#include "sat/bit_vector_encoder.h"
#include "verify/signal_encoding.h"

namespace nurex {

TransformationSearch::TransformationSearch(const StgPrefix& prefix, const OptionMap& options,
                                           const std::vector<CscCore>& cores)
    : SearchMode<StgPrefix>(prefix, options), cores_(cores), order_(prefix) {}

bool TransformationSearch::precedes(const Placed& a, const Placed& b) const {
  for (const Event* f : a.instance.before)
    if (b.past.contains(f->index)) return true;
  return false;
}

bool TransformationSearch::concurrent(const Placed& a, const Placed& b) const {
  if (precedes(a, b) || precedes(b, a)) return false;
  if (a.past.intersects(b.excluded) || b.past.intersects(a.excluded)) return false;
  for (const Condition* c : a.instance.conditions)
    if (std::find(b.instance.conditions.begin(), b.instance.conditions.end(), c) != b.instance.conditions.end())
      return false;
  return true;
}

// Behind t, or in parallel after u: x counts as soon as its source has occurred (the start,
// for the token that is there from the beginning).
bool TransformationSearch::sourceIn(const Placed& a, const EventSet& configuration) const {
  return !a.instance.base || configuration.contains(a.instance.base->index);
}

bool TransformationSearch::countedIn(const Placed& a, const EventSet& configuration) const {
  if (candidates_[a.candidate].index() != 0) return sourceIn(a, configuration);
  for (const Event* f : a.instance.before)
    if (configuration.contains(f->index)) return true;
  return false;
}

// The new event can fire, or (behind t) can still be pending, in the state the configuration
// reaches: the states where x is excited or its value is not yet settled.
bool TransformationSearch::enabledAt(const Placed& a, const EventSet& configuration) const {
  for (const Event* f : a.instance.before)
    if (configuration.contains(f->index)) return false;
  if (candidates_[a.candidate].index() != 0) return sourceIn(a, configuration);
  for (const Condition* c : a.instance.conditions) {
    if (c->producer && !configuration.contains(c->producer->index)) return false;
    for (const Event* h : c->postset)
      if (configuration.contains(h->index)) return false;
  }
  return true;
}

// Behind t, x may still be pending where a configuration ends, with a token on the new place
// between them; a cut-off and its correspondent must agree on that token, or the two would
// no longer reach the same marking.
bool TransformationSearch::agreesAtCutOffs(const Insertion& insertion, size_t first) const {
  if (std::get_if<InsertionBefore>(&insertion)) return true;
  auto pending = [&](const EventSet& configuration) {
    for (size_t a = first; a < placed_.size(); ++a) {
      const InsertionInstance& instance = placed_[a].instance;
      if (instance.base && !configuration.contains(instance.base->index)) continue;
      if (std::none_of(instance.before.begin(), instance.before.end(),
                       [&](const Event* f) { return configuration.contains(f->index); }))
        return true;
    }
    return false;
  };
  return order_.cutOffsAgree(unit, [&](const EventSet& here, const EventSet& there, const Event*) {
    return pending(here) == pending(there);
  });
}

void TransformationSearch::buildCandidates() {
  std::vector<Insertion> all = validInsertions(unit, options["concurrent_insertions"]);
  size_t n = unit.events.size();
  for (Insertion& insertion : all) {
    std::vector<InsertionInstance> instances = instancesOf(unit, insertion);
    if (instances.empty()) continue;
    size_t first = placed_.size();
    for (InsertionInstance& instance : instances) {
      Placed p{candidates_.size(), std::move(instance), EventSet(n), EventSet(n)};
      for (const Event* f : p.instance.after) {
        p.past |= order_.past(f);
        p.excluded |= order_.conflict(f);
      }
      for (const Condition* c : p.instance.conditions)
        for (const Event* h : c->postset)
          if (std::find(p.instance.before.begin(), p.instance.before.end(), h) == p.instance.before.end())
            p.excluded |= order_.future(h);
      placed_.push_back(std::move(p));
    }
    // Two of its own events side by side would make x inconsistent whatever else is chosen.
    bool selfConcurrent = false;
    for (size_t a = first; a < placed_.size() && !selfConcurrent; ++a)
      for (size_t b = a + 1; b < placed_.size() && !selfConcurrent; ++b) selfConcurrent = concurrent(placed_[a], placed_[b]);
    if (selfConcurrent || !agreesAtCutOffs(insertion, first)) {
      placed_.resize(first);
      continue;
    }
    placedOf_.emplace_back();
    for (size_t a = first; a < placed_.size(); ++a) placedOf_.back().push_back(a);
    candidates_.push_back(std::move(insertion));
  }
  if (verbosity >= 5) printTo(stdout, "\nNumber of valid transition insertions: %zu", candidates_.size());
  if (verbosity >= 8) {
    printTo(stdout, "\nInsertions:");
    for (size_t i = 0; i < candidates_.size(); ++i)
      printTo(stdout, "\n%zu: %s", i, insertionText(candidates_[i]).c_str());
  }
  for (size_t i = 0; i < candidates_.size(); ++i) variables_.push_back(formula.new_literal(false));
}

std::vector<Literal> TransformationSearch::oddCount(const EventSet& x, const EventSet& y) const {
  std::vector<Literal> odd;
  for (size_t i = 0; i < candidates_.size(); ++i) {
    bool parity = false;
    for (size_t a : placedOf_[i]) parity ^= countedIn(placed_[a], x) != countedIn(placed_[a], y);
    if (parity) odd.push_back(variables_[i]);
  }
  return odd;
}

// Insertions that re-route the same arcs, or whose events could fire side by side, exclude
// each other; the pairs are covered by cliques, each an at-most-one constraint.
void TransformationSearch::exclusionConstraints(int group) {
  size_t n = candidates_.size();
  std::vector<std::set<size_t>> adjacent(n);
  for (size_t i = 0; i < n; ++i)
    for (size_t j = i + 1; j < n; ++j) {
      bool exclusive = structurallyExclusive(candidates_[i], candidates_[j]);
      for (size_t a = 0; a < placedOf_[i].size() && !exclusive; ++a)
        for (size_t b = 0; b < placedOf_[j].size() && !exclusive; ++b)
          exclusive = concurrent(placed_[placedOf_[i][a]], placed_[placedOf_[j][b]]);
      if (exclusive) {
        adjacent[i].insert(j);
        adjacent[j].insert(i);
      }
    }
  size_t edges = 0;
  for (const auto& a : adjacent) edges += a.size();
  if (verbosity >= 4) {
    printTo(stdout, "\nMutex relation: |V|=%zu |E|=%zu:\n", n, edges / 2);
    for (size_t i = 0; i < n; ++i) {
      if (adjacent[i].empty()) continue;
      printTo(stdout, "%zu:", i);
      for (size_t j : adjacent[i]) printTo(stdout, " %zu", j);
      printTo(stdout, "\n");
    }
  }
  std::set<std::pair<size_t, size_t>> covered;
  size_t cliques = 0, members = 0;
  for (size_t i = 0; i < n; ++i)
    for (size_t j : adjacent[i]) {
      if (j < i || covered.count({i, j})) continue;
      std::vector<size_t> clique{i, j};
      for (size_t k : adjacent[i]) {
        if (k == j) continue;
        bool all = std::all_of(clique.begin(), clique.end(), [&](size_t m) { return m == i || adjacent[m].count(k); });
        if (all) clique.push_back(k);
      }
      std::vector<Literal> literals;
      for (size_t a : clique) {
        literals.push_back(variables_[a]);
        for (size_t b : clique)
          if (a < b) covered.insert({a, b});
      }
      formula.at_most_one(literals, group);
      ++cliques;
      members += clique.size();
    }
  if (verbosity >= 4) printTo(stdout, "\nCover statistics: |cover|=%zu ||cover||=%zu", cliques, members);
}

// All events of one new transition get one sign: the chosen events before each instance have
// the parity of those before its first.
void TransformationSearch::signConstraints(int group) {
  auto oddBefore = [&](size_t a) {
    std::vector<bool> odd(candidates_.size(), false);
    for (size_t b = 0; b < placed_.size(); ++b)
      if (b != a && precedes(placed_[b], placed_[a])) odd[placed_[b].candidate] = !odd[placed_[b].candidate];
    return odd;
  };
  for (size_t i = 0; i < candidates_.size(); ++i) {
    if (placedOf_[i].size() < 2) continue;
    std::vector<bool> reference = oddBefore(placedOf_[i][0]);
    for (size_t k = 1; k < placedOf_[i].size(); ++k) {
      std::vector<bool> other = oddBefore(placedOf_[i][k]);
      std::vector<Literal> differing;
      for (size_t j = 0; j < candidates_.size(); ++j)
        if (reference[j] != other[j]) differing.push_back(variables_[j]);
      Literal s = sums_.literalFor(differing, formula);
      formula.add_binary(negate(variables_[i]), negate(s), group);
    }
  }
}

// x has one value at a cut-off and at its correspondent, which continue alike.
void TransformationSearch::cutOffConstraints(int group) {
  order_.cutOffsAgree(unit, [&](const EventSet& here, const EventSet& there, const Event*) {
    formula.add_unit(negate(sums_.literalFor(oddCount(here, there), formula)), group);
    return true;
  });
}

// A CSC core is resolved when x differs between its two sides and neither side leaves an
// event of x enabled or pending, which would bring the conflict back one step away. A core
// that only differs in marking must not become a CSC conflict through x's excitation: x is
// excited at both of its sides or at neither.
void TransformationSearch::coreConstraints(int group) {
  std::vector<Literal> progress;
  size_t n = unit.events.size();
  for (const CscCore& core : cores_) {
    EventSet x = eventSetOf(n, core.first), y = eventSetOf(n, core.second);
    Literal parity = sums_.literalFor(oddCount(x, y), formula);
    std::vector<Literal> atFirst, atSecond, either;
    for (size_t i = 0; i < candidates_.size(); ++i) {
      bool ex = false, ey = false;
      for (size_t a : placedOf_[i]) {
        ex |= enabledAt(placed_[a], x);
        ey |= enabledAt(placed_[a], y);
      }
      if (ex) atFirst.push_back(variables_[i]);
      if (ey) atSecond.push_back(variables_[i]);
      if (ex || ey) either.push_back(variables_[i]);
    }
    auto any = [&](const std::vector<Literal>& literals) {
      return literals.empty() ? LiteralFalse : formula.make_gate(GateOr, literals, group, 0);
    };
    Literal excited = core.csc ? any(either) : any(atFirst);
    Literal separated = parity;
    if (separated != LiteralFalse && excited != LiteralFalse)
      separated = formula.make_gate(GateAnd, {negate(excited), parity}, group, 0);
    // x separates a core by its value, never by its excitation: that would be a new CSC
    // conflict on x. A USC-only core keeps x's excitation alike on both sides (below), so its
    // parity alone separates it, and x cannot turn it into a CSC conflict.
    instanceSeparation_.push_back(core.csc ? separated : parity);
    paritySeparation_.push_back(LiteralFalse);
    if (core.csc) {
      if (separated == LiteralFalse) {
        reportWarning("structurally irreducible CSC conflict: " + core.text());
        formula.add_empty_clause(group);
      }
      progress.push_back(separated);
    } else {
      Literal second = any(atSecond);
      formula.add_clause({negate(excited), second}, group);
      formula.add_clause({excited, negate(second)}, group);
    }
  }
  formula.add_clause(progress, group);
  if (options["coeff_CSC_cores"] || options["coeff_USC_cores"]) countUnresolved(group);
}

// A core counts while x leaves it in conflict. Two adjacent cores that x separates both
// leave their union in conflict, the two parities cancelling there: the pair counts once.
void TransformationSearch::countUnresolved(int group) {
  CoreAdjacencyGraph graph = buildAdjacencyGraph(unit, cores_);
  std::vector<Literal> csc, usc;
  std::vector<Literal> separated(cores_.size(), LiteralUninit);
  auto either = [&](uint32_t c) {
    if (separated[c] == LiteralUninit)
      separated[c] = formula.make_gate(GateOr, {instanceSeparation_[c], paritySeparation_[c]}, group, 0);
    return separated[c];
  };
  for (uint32_t c = 0; c < cores_.size(); ++c) {
    if (cores_[c].csc) {
      csc.push_back(negate(instanceSeparation_[c]));
      continue;
    }
    csc.push_back(paritySeparation_[c]);
    usc.push_back(negate(either(c)));
  }
  for (uint32_t a = 0; a < cores_.size(); ++a)
    for (uint32_t b : graph.vertices[a].out) {
      Literal both = formula.make_gate(GateAnd, {either(a), either(b)}, group, 0);
      if (!graph.isUscArc(a, b)) {
        csc.push_back(both);
        continue;
      }
      Literal parity = formula.make_gate(GateOr, {paritySeparation_[a], paritySeparation_[b]}, group, 0);
      csc.push_back(formula.make_gate(GateAnd, {parity, both}, group, 0));
      usc.push_back(formula.make_gate(GateAnd, {instanceSeparation_[a], instanceSeparation_[b]}, group, 0));
    }
  BitVectorEncoder encoder(formula, group);
  cscCounter_ = encoder.count(csc);
  uscCounter_ = encoder.count(usc);
}

void TransformationSearch::build_instance(int group) {
  buildCandidates();
  exclusionConstraints(group);
  signConstraints(group);
  cutOffConstraints(group);
  coreConstraints(group);
  if (uint32_t c = options["coeff_non_locked_signals"]) lockTerms(lockWeights_, c);
  sums_.emit(formula, group);
  measureSets();
}

void TransformationSearch::projection(std::vector<Literal>& out) { out.insert(out.end(), variables_.begin(), variables_.end()); }

namespace {

uint32_t eventDelay(const Event* e) {
  const Signal* s = e->transition->signal;
  if (!s || s->kind == SignalDummy) return 0;
  return s->kind == SignalInput ? 3 : 1;
}

}  // namespace

// Critical events lie on a longest path (inputs 3 units, local signals 1, dummies 0) that
// ends in an input or output event; an insertion lengthens such a path when it sits between
// a critical event and a critical predecessor.
void TransformationSearch::measureSets() {
  size_t n = unit.events.size();
  std::vector<uint64_t> time(n, 0);
  for (const Event* e : unit.events) {
    uint64_t start = 0;
    for (const Condition* c : e->preset)
      if (c->producer) start = std::max(start, time[c->producer->index]);
    time[e->index] = start + eventDelay(e);
  }
  std::vector<bool> critical(n, false);
  for (size_t k = n; k-- > 0;) {
    const Event* e = unit.events[static_cast<uint32_t>(k)];
    const Signal* s = e->transition->signal;
    if (!critical[k] && s && (s->kind == SignalInput || s->kind == SignalOutput)) critical[k] = true;
    if (!critical[k]) continue;
    for (const Condition* c : e->preset)
      if (c->producer && time[c->producer->index] + eventDelay(e) == time[k]) critical[c->producer->index] = true;
  }
  for (const Event* e : unit.events) {
    if (!critical[e->index]) continue;
    std::vector<size_t> lengthening;
    for (const Placed& p : placed_) {
      if (std::find(p.instance.before.begin(), p.instance.before.end(), e) == p.instance.before.end()) continue;
      bool onPath = p.instance.after.empty() && time[e->index] == eventDelay(e);
      for (const Event* f : p.instance.after)
        onPath |= critical[f->index] && time[f->index] + eventDelay(e) == time[e->index];
      if (onPath) lengthening.push_back(p.candidate);
    }
    std::sort(lengthening.begin(), lengthening.end());
    lengthening.erase(std::unique(lengthening.begin(), lengthening.end()), lengthening.end());
    if (!lengthening.empty()) delaySets_.push_back(std::move(lengthening));
  }
  // Each local signal that gets x as a trigger of one of its transitions counts once.
  std::vector<std::vector<size_t>> bySignal(unit.signals.size());
  auto affects = [&](const Transition* t, size_t i) {
    if (t->signal && isLocalSignal(t->signal)) bySignal[t->signal->index].push_back(i);
  };
  for (size_t i = 0; i < candidates_.size(); ++i) {
    if (auto* b = std::get_if<InsertionBefore>(&candidates_[i])) affects(b->t, i);
    if (auto* c = std::get_if<InsertionConcurrent>(&candidates_[i])) affects(c->t, i);
    if (auto* a = std::get_if<InsertionAfter>(&candidates_[i]))
      for (const Place* p : a->places)
        for (const Transition* d : p->postset) affects(d, i);
  }
  for (auto& set : bySignal) {
    std::sort(set.begin(), set.end());
    set.erase(std::unique(set.begin(), set.end()), set.end());
    if (!set.empty()) logicSets_.push_back(std::move(set));
  }
}

// x is locked with a signal s when between any two consecutive events of s (or before the
// first one) exactly one of x's events occurs. Each other signal adds 2 (an input) or 4.
void TransformationSearch::lockTerms(std::vector<WeightedLiterals>& terms, uint32_t coefficient) {
  auto before = [&](const Placed& a, const Event* e) {
    return std::any_of(a.instance.before.begin(), a.instance.before.end(),
                       [&](const Event* f) { return order_.past(e).contains(f->index); });
  };
  lockedLiterals_.assign(unit.signals.size(), LiteralFalse);
  for (const Signal* s : unit.signals) {
    if (s->kind == SignalDummy) continue;
    std::vector<Literal> conjuncts;
    for (const Event* e : unit.events) {
      if (e->transition->signal != s) continue;
      // The latest earlier event of s: the one whose past holds every other.
      const Event* previous = nullptr;
      for (const Event* f : unit.events)
        if (f != e && f->transition->signal == s && order_.past(e).contains(f->index) &&
            (!previous || order_.past(f).contains(previous->index)))
          previous = f;
      std::vector<bool> odd(candidates_.size(), false);
      for (const Placed& a : placed_)
        if (before(a, e) && !(previous && before(a, previous))) odd[a.candidate] = !odd[a.candidate];
      std::vector<Literal> between, any;
      for (size_t i = 0; i < candidates_.size(); ++i)
        if (odd[i]) between.push_back(variables_[i]);
      for (const Placed& a : placed_)
        if (before(a, e) && !(previous && before(a, previous))) any.push_back(variables_[a.candidate]);
      std::sort(any.begin(), any.end());
      any.erase(std::unique(any.begin(), any.end()), any.end());
      conjuncts.push_back(sums_.literalFor(between, formula));
      // Exactly one event of x in between, so that x's events alternate with s's both ways.
      if (any.size() > 1) conjuncts.push_back(negate(BitVectorEncoder(formula).more_than(any, 1)));
    }
    if (conjuncts.empty()) continue;
    // An event of x side by side with one of s can fire on either side of it.
    std::vector<bool> sideBySide(candidates_.size(), false);
    for (const Placed& a : placed_)
      for (const Event* f : unit.events)
        if (f->transition->signal == s && !before(a, f) && !a.past.contains(f->index) &&
            !a.excluded.contains(f->index))
          sideBySide[a.candidate] = true;
    for (size_t i = 0; i < candidates_.size(); ++i)
      if (sideBySide[i]) conjuncts.push_back(negate(variables_[i]));
    // Runs go on behind a cut-off as behind its correspondent: the events of x after the last
    // event of s must agree there too, or an interval of s spanning the cut-off gets two.
    auto lastOf = [&](const EventSet& configuration) {
      const Event* last = nullptr;
      for (const Event* f : unit.events)
        if (f->transition->signal == s && configuration.contains(f->index) &&
            (!last || order_.past(f).contains(last->index)))
          last = f;
      return last;
    };
    order_.cutOffsAgree(unit, [&](const EventSet& here, const EventSet& there, const Event*) {
      const Event *lastHere = lastOf(here), *lastThere = lastOf(there);
      std::vector<bool> odd(candidates_.size(), false);
      for (const Placed& a : placed_) {
        bool tailHere = countedIn(a, here) && !(lastHere && before(a, lastHere));
        bool tailThere = countedIn(a, there) && !(lastThere && before(a, lastThere));
        if (tailHere != tailThere) odd[a.candidate] = !odd[a.candidate];
      }
      std::vector<Literal> differing;
      for (size_t i = 0; i < candidates_.size(); ++i)
        if (odd[i]) differing.push_back(variables_[i]);
      conjuncts.push_back(negate(sums_.literalFor(differing, formula)));
      return true;
    });
    lockedLiterals_[s->index] = formula.make_gate(GateAnd, conjuncts, PermanentGroup, 0);
    if (lockedLiterals_[s->index] != LiteralTrue)
      terms.push_back({uint64_t{coefficient} * (s->kind == SignalInput ? 2 : 4), {negate(lockedLiterals_[s->index])}});
  }
}

uint64_t TransformationSearch::unlockInModel(std::vector<std::string>& lockedNames) const {
  uint64_t total = 0;
  std::string locked;
  for (const Signal* s : unit.signals) {
    if (s->kind == SignalDummy) continue;
    Literal l = s->index < lockedLiterals_.size() ? lockedLiterals_[s->index] : LiteralFalse;
    if (l == LiteralTrue || (!is_constant(l) && formula.value(l) == ValueTrue)) {
      locked += " " + s->name;
      lockedNames.push_back(s->name);
    } else {
      total += s->kind == SignalInput ? 2 : 4;
    }
  }
  if (verbosity >= 4) printTo(stdout, "\nLocked signals:%s", locked.c_str());
  return total;
}

BitVector TransformationSearch::counterOf(const std::vector<std::vector<size_t>>& sets) {
  std::vector<Literal> terms;
  for (const auto& set : sets) {
    std::vector<Literal> literals;
    for (size_t i : set) literals.push_back(variables_[i]);
    terms.push_back(formula.make_gate(GateOr, literals, PermanentGroup, 0));
  }
  return BitVectorEncoder(formula).count(terms);
}

void TransformationSearch::cost_vector(BitVector& out, Polarity) {
  BitVectorEncoder encoder(formula);
  std::vector<WeightedLiterals> terms;
  auto add = [&](const char* coefficient, auto&& bits) {
    if (uint32_t c = options[coefficient]) terms.push_back({c, bits()});
  };
  add("coeff_CSC_cores", [&] { return cscCounter_; });
  add("coeff_USC_cores", [&] { return uscCounter_; });
  add("coeff_delay", [&] { return counterOf(delaySets_); });
  add("coeff_logic", [&] { return counterOf(logicSets_); });
  std::vector<Literal> sequential, parallel;
  for (size_t i = 0; i < candidates_.size(); ++i) (isSequential(candidates_[i]) ? sequential : parallel).push_back(variables_[i]);
  add("coeff_seq_insertions", [&] { return encoder.count(sequential); });
  add("coeff_conc_insertions", [&] { return encoder.count(parallel); });
  terms.insert(terms.end(), lockWeights_.begin(), lockWeights_.end());
  out = encoder.sum(terms);
}

std::vector<uint32_t> TransformationSearch::signsInModel(const std::vector<size_t>& chosen) const {
  std::vector<bool> isChosen(candidates_.size(), false);
  for (size_t i : chosen) isChosen[i] = true;
  std::vector<uint32_t> signs;
  for (size_t i : chosen) {
    const Placed& first = placed_[placedOf_[i][0]];
    uint32_t parity = 0;
    for (const Placed& p : placed_)
      if (&p != &first && isChosen[p.candidate] && precedes(p, first)) parity ^= 1;
    signs.push_back(parity);
  }
  return signs;
}

void TransformationSearch::add_solution() {
  auto solution = std::make_unique<ResolutionSolution>(options);
  std::vector<size_t> chosen;
  for (size_t i = 0; i < candidates_.size(); ++i)
    if (formula.is_true(variables_[i])) chosen.push_back(i);
  for (size_t i : chosen) solution->transformation.push_back(candidates_[i]);
  solution->freezeTexts();
  solution->signs = signsInModel(chosen);
  BitVectorEncoder encoder(formula);
  solution->cscCores = options["coeff_CSC_cores"] ? encoder.value_in_model(cscCounter_) : 0;
  solution->uscCores = options["coeff_USC_cores"] ? encoder.value_in_model(uscCounter_) : 0;
  std::vector<bool> isChosen(candidates_.size(), false);
  for (size_t i : chosen) isChosen[i] = true;
  auto setsHit = [&](const std::vector<std::vector<size_t>>& sets) {
    uint64_t n = 0;
    for (const auto& set : sets) n += std::any_of(set.begin(), set.end(), [&](size_t i) { return isChosen[i]; });
    return n;
  };
  solution->delay = options["coeff_delay"] ? setsHit(delaySets_) : 0;
  solution->logic = options["coeff_logic"] ? setsHit(logicSets_) : 0;
  solution->unlock =
      options["coeff_non_locked_signals"] && !lockedLiterals_.empty() ? unlockInModel(solution->lockedSignals) + unlockBase : 0;
  if (all_solutions == 0) solutions.clear();
  solutions.push_back(std::move(solution));
}

}  // namespace nurex
