// Reductions are few and each changes the state space, so each candidate is judged on the
// reduced STG itself: unfolded again (an unsafe place shows there), searched for a dead state
// that only the new place causes, and measured. A parity formula over the present prefix
// proposes the source sets, so that only plausible ones are unfolded.
#include "resolve/reduction.h"

#include <algorithm>
#include <array>
#include <map>

#include "model/checks.h"
#include "platform/reporter.h"
#include "resolve/csc_core.h"
#include "resolve/event_order.h"
#include "resolve/insertion.h"
#include "resolve/lock_relation.h"
#include "resolve/sums_tree.h"
#include "sat/bit_vector_encoder.h"
#include "sat/configuration.h"
#include "unfold/unfolder.h"

namespace nurex {

namespace {

// Source sets proposed per target, and their size: each proposal is unfolded and searched for
// conflicts, and larger sets are rarely what a designer would accept.
constexpr size_t SourceSetsPerTarget = 16;
constexpr size_t MaxSources = 2;
constexpr size_t ReductionsTried = 24;
constexpr size_t CoreLimit = 100;  // conflicts found per detection

// Per event, the parity of each transition's events in its local configuration.
class ParityTable {
 public:
  ParityTable(const StgPrefix& prefix, const EventOrder& order) : width_(prefix.transitions.size()) {
    bits_.assign(prefix.events.size() * width_, false);
    for (const Event* e : prefix.events) flip(e->index, order.past(e), prefix);
  }
  // In [e] without e itself.
  bool before(const Event* e, const Transition* t) const {
    return bits_[e->index * width_ + t->index] != (e->transition == t);
  }
  static std::vector<bool> of(const EventSet& configuration, const StgPrefix& prefix) {
    std::vector<bool> parity(prefix.transitions.size(), false);
    configuration.forEach([&](uint32_t f) { parity[prefix.events[f]->transition->index].flip(); });
    return parity;
  }

 private:
  void flip(uint32_t row, const EventSet& configuration, const StgPrefix& prefix) {
    configuration.forEach([&](uint32_t f) { bits_[row * width_ + prefix.events[f]->transition->index].flip(); });
  }
  size_t width_;
  std::vector<bool> bits_;
};

bool concurrentEvents(const EventOrder& order, const Event* e, const Event* f) {
  return e != f && !order.past(e).contains(f->index) && !order.past(f).contains(e->index) &&
         !order.conflict(e).contains(f->index);
}

// Source sets for target t: the new place's token, m + sources - t counted by parity, is 0
// where a chosen source occurs (a second token would make it unsafe) and agrees at cut-offs.
// Nothing is asked where t occurs: the reduction exists to make t wait where the token is
// not there yet; whether it always comes is the deadlock test on the reduced STG.
std::vector<ConcurrencyReduction> proposals(const StgPrefix& prefix, const EventOrder& order,
                                            const ParityTable& parity,
                                            const std::vector<std::vector<const Event*>>& eventsOf,
                                            const Transition* t) {
  std::vector<const Transition*> candidates;
  for (const Transition* u : prefix.transitions) {
    if (u == t || eventsOf[u->index].empty()) continue;
    bool concurrent = false, forcesChoice = false;
    for (const Event* f : eventsOf[u->index])
      for (const Event* e : eventsOf[t->index])
        if (concurrentEvents(order, e, f)) {
          concurrent = true;
          // Waiting for f would settle a choice against f's rivals that t did not have to
          // settle before, and a rival may be the way to an input.
          forcesChoice = forcesChoice || order.conflict(f).exceeds(order.conflict(e));
        }
    if (concurrent && !forcesChoice) candidates.push_back(u);
  }
  if (candidates.empty()) return {};
  if (verbosity >= 8) {
    std::string names;
    for (const Transition* u : candidates) names += " " + u->name;
    printTo(stdout, "\nSources that run beside %s:%s", t->name.c_str(), names.c_str());
  }
  SatFormula formula(1, false, false);
  SumsTree sums;
  std::vector<Literal> chosen;
  for (size_t i = 0; i < candidates.size(); ++i) chosen.push_back(formula.new_literal(false));
  Literal marked = formula.new_literal(false);
  // The parity of the chosen sources and t counted by `odd`, plus the initial token if asked.
  auto count = [&](auto&& odd, bool withToken) {
    std::vector<Literal> literals;
    if (withToken) literals.push_back(marked);
    for (size_t i = 0; i < candidates.size(); ++i)
      if (odd(candidates[i])) literals.push_back(chosen[i]);
    if (odd(t)) literals.push_back(LiteralTrue);
    return sums.literalFor(literals, formula);
  };
  for (size_t i = 0; i < candidates.size(); ++i)
    for (const Event* e : eventsOf[candidates[i]->index]) {
      Literal token = count([&](const Transition* u) { return parity.before(e, u); }, true);
      formula.add_binary(negate(chosen[i]), negate(token), PermanentGroup);
      // Two sources firing side by side would put two tokens on the place.
      for (size_t j = i; j < candidates.size(); ++j)
        for (const Event* f : eventsOf[candidates[j]->index])
          if (concurrentEvents(order, e, f)) formula.add_binary(negate(chosen[i]), negate(chosen[j]), PermanentGroup);
    }
  order.cutOffsAgree(prefix, [&](const EventSet& here, const EventSet& there, const Event*) {
    std::vector<bool> a = ParityTable::of(here, prefix), b = ParityTable::of(there, prefix);
    formula.add_unit(negate(count([&](const Transition* u) { return a[u->index] != b[u->index]; }, false)),
                     PermanentGroup);
    return true;
  });
  sums.emit(formula, PermanentGroup);
  // Smallest source sets first, each found set barring its supersets: a source beyond what
  // safety needs only adds arcs.
  std::vector<ConcurrencyReduction> out;
  formula.add_clause(chosen, PermanentGroup);
  for (size_t size = 1; size <= MaxSources && out.size() < SourceSetsPerTarget; ++size) {
    formula.recreate_group(2);
    BitVectorEncoder encoder(formula, 2);
    formula.add_unit(negate(encoder.more_than(chosen, static_cast<uint32_t>(size))), 2);
    while (out.size() < SourceSetsPerTarget && formula.solve()) {
      ConcurrencyReduction r;
      r.target = t;
      std::vector<Literal> barred;
      for (size_t i = 0; i < candidates.size(); ++i)
        if (formula.is_true(chosen[i])) {
          r.sources.push_back(candidates[i]);
          barred.push_back(negate(chosen[i]));
        }
      formula.add_clause(barred, PermanentGroup);
      // t comes first everywhere: the token must be there from the start.
      r.marked = true;
      for (const Transition* u : r.sources)
        for (const Event* e : eventsOf[u->index])
          if (std::none_of(eventsOf[t->index].begin(), eventsOf[t->index].end(),
                           [&](const Event* f) { return order.past(e).contains(f->index); }))
            r.marked = false;
      out.push_back(std::move(r));
    }
  }
  return out;
}

// One side of a core as the reduction sees it: its events, and the transitions enabled in
// the state it reaches.
struct CoreSide {
  const EventList* events;
  EventSet in;
  std::vector<bool> enabled;  // by transition
};

std::vector<std::array<CoreSide, 2>> coreSides(const StgPrefix& prefix, const std::vector<CscCore>& cores) {
  std::vector<std::array<CoreSide, 2>> out;
  for (const CscCore& core : cores) {
    std::array<CoreSide, 2> sides;
    for (int k = 0; k < 2; ++k) {
      CoreSide& side = sides[k];
      side.events = k ? &core.second : &core.first;
      side.in = eventSetOf(prefix.events.size(), *side.events);
      std::vector<bool> marked(prefix.places.size(), false);
      for (const Condition* c : prefix.conditions)
        if ((!c->producer || side.in.contains(c->producer->index)) &&
            std::none_of(c->postset.begin(), c->postset.end(), [&](const Event* h) { return side.in.contains(h->index); }))
          marked[c->place->index] = true;
      for (const Transition* t : prefix.transitions)
        side.enabled.push_back(std::all_of(t->preset.begin(), t->preset.end(), [&](const Place* p) { return marked[p->index]; }));
    }
    out.push_back(std::move(sides));
  }
  return out;
}

// What the reduction does to a conflict: a side becomes unreachable (an event of t there
// would lack the token even with every source event that need not follow it), or t, enabled
// at a side, waits there, so that the local signals excited at the two sides may agree.
bool resolvesCore(const StgPrefix& prefix, const EventOrder& order, const ConcurrencyReduction& r,
                  const std::array<CoreSide, 2>& sides) {
  auto isSource = [&](const Transition* x) {
    return std::find(r.sources.begin(), r.sources.end(), x) != r.sources.end();
  };
  std::vector<bool> excited[2];
  for (int k = 0; k < 2; ++k) {
    const CoreSide& side = sides[k];
    int64_t tokens = r.marked;
    for (const Event* e : *side.events) tokens += isSource(e->transition) ? 1 : e->transition == r.target ? -1 : 0;
    for (const Event* e : *side.events) {
      if (e->transition != r.target) continue;
      int64_t before = r.marked;
      for (const Event* f : *side.events) {
        if (f == e || order.future(e).contains(f->index)) continue;
        if (isSource(f->transition)) ++before;
        if (f->transition == r.target) --before;
      }
      if (before < 1) return true;
    }
    excited[k].assign(prefix.signals.size(), false);
    for (const Transition* t : prefix.transitions)
      if (side.enabled[t->index] && t->signal && !(t == r.target && tokens < 1)) excited[k][t->signal->index] = true;
  }
  for (const Signal* s : prefix.signals)
    if ((s->kind == SignalOutput || s->kind == SignalInternal) && excited[0][s->index] != excited[1][s->index])
      return false;
  return true;
}

// A reachable state of the reduced STG in which nothing can fire but t would have fired
// without the new place.
bool addsDeadlock(const StgPrefix& reduced, const Transition* t, const Place* added) {
  SatFormula formula(1, false, false);
  ConfigurationVariables<StgPrefix> record(formula, reduced, false);
  record.encode_base(PermanentGroup, false, false);
  std::vector<bool> occurs(reduced.transitions.size(), false);
  for (const Event* e : reduced.events) occurs[e->transition->index] = true;
  std::vector<Literal> clause;
  for (const Transition* x : reduced.transitions) {
    if (x == t) continue;
    if (!occurs[x->index]) continue;
    clause.clear();
    for (const Place* p : x->preset) clause.push_back(negate(record.place_marked(p, 0)));
    formula.add_clause(clause, PermanentGroup);
  }
  for (const Place* p : t->preset)
    formula.add_unit(p == added ? negate(record.place_marked(p, 0)) : record.place_marked(p, 0), PermanentGroup);
  return formula.solve();
}

uint32_t ownDelay(const Event* e) {
  const Signal* s = e->transition->signal;
  if (!s || s->kind == SignalDummy) return 0;
  return s->kind == SignalInput ? 3 : 1;
}

// The longest increase of a path into an event of t when it waits for the sources that ran
// beside it (inputs 3 units, local signals 1, dummies 0).
uint64_t delayIncrease(const StgPrefix& prefix, const EventOrder& order, const ConcurrencyReduction& r,
                       const std::vector<std::vector<const Event*>>& eventsOf) {
  std::vector<uint64_t> time(prefix.events.size(), 0);
  for (const Event* e : prefix.events) {
    uint64_t start = 0;
    for (const Condition* c : e->preset)
      if (c->producer) start = std::max(start, time[c->producer->index]);
    time[e->index] = start + ownDelay(e);
  }
  uint64_t increase = 0;
  for (const Event* e : eventsOf[r.target->index]) {
    uint64_t latest = 0;
    for (const Transition* u : r.sources)
      for (const Event* f : eventsOf[u->index])
        if (concurrentEvents(order, e, f)) latest = std::max(latest, time[f->index]);
    if (latest + ownDelay(e) > time[e->index]) increase = std::max(increase, latest + ownDelay(e) - time[e->index]);
  }
  return increase;
}

// New triggers of the target's signal: sources whose signal feeds none of its transitions yet.
uint64_t newTriggers(const ConcurrencyReduction& r) {
  const Signal* s = r.target->signal;
  if (!s || s->kind == SignalDummy || s->kind == SignalInput) return 0;
  uint64_t count = 0;
  for (const Transition* u : r.sources) {
    if (!u->signal || u->signal->kind == SignalDummy) continue;
    bool already = false;
    for (const Place* p : r.target->preset)
      for (const Transition* v : p->preset) already = already || v->signal == u->signal;
    count += !already;
  }
  return count;
}

// The reduced STG, unfolded quietly; false if it is not safe.
bool unfoldReduced(const StgPrefix& prefix, const ConcurrencyReduction& r, StgPrefix& reduced, const Place*& added) {
  copyStg(prefix, reduced);
  added = addReductionPlace(reduced, r);
  UnfoldOptions options = reUnfoldingOptions();
  options.conc_rel_size = 0;
  options.quiet = 1;
  if (!unfoldNet(reduced, options)) return false;
  reduced.unfoldedHere = true;
  return inferSignalValues(reduced);
}

const Transition* sameIn(const Stg& net, const Transition* t) { return net.transitions[t->index]; }

}  // namespace

std::string reductionText(const ConcurrencyReduction& r) {
  std::string text;
  if (r.sources.size() == 1) {
    text = r.sources[0]->name;
  } else {
    text = "{";
    for (size_t i = 0; i < r.sources.size(); ++i) text += (i ? "," : "") + r.sources[i]->name;
    text += "}";
  }
  return text + (r.marked ? " -*-> " : " --> ") + r.target->name;
}

bool reductionLess(const ConcurrencyReduction& a, const ConcurrencyReduction& b) {
  auto key = [](const ConcurrencyReduction& r) {
    std::vector<uint32_t> k{r.target->index, static_cast<uint32_t>(r.sources.size())};
    for (const Transition* u : r.sources) k.push_back(u->index);
    k.push_back(r.marked);
    return k;
  };
  return key(a) < key(b);
}

Place* addReductionPlace(Stg& net, const ConcurrencyReduction& r) {
  auto* t = const_cast<Transition*>(sameIn(net, r.target));
  std::string from = r.sources.size() == 1 ? r.sources[0]->name : "CR";
  Place* p = net.places.add(new Place);
  p->name = unusedPlaceName(net, "<" + from + "," + t->name + ">");
  p->tokens = r.marked ? 1 : 0;
  for (const Transition* u : r.sources) addTransitionArc(const_cast<Transition*>(sameIn(net, u)), p);
  addPlaceArc(p, t);
  sortArcs(net);
  return p;
}

std::vector<PricedReduction> validReductions(const StgPrefix& prefix, const OptionMap& options,
                                            const std::vector<CscCore>& cores) {
  size_t conflicts = std::count_if(cores.begin(), cores.end(), [](const CscCore& c) { return c.csc; });
  EventOrder order(prefix);
  ParityTable parity(prefix, order);
  std::vector<std::vector<const Event*>> eventsOf(prefix.transitions.size());
  for (const Event* e : prefix.events) eventsOf[e->transition->index].push_back(e);
  std::vector<ConcurrencyReduction> proposed;
  for (const Transition* t : prefix.transitions) {
    if (eventsOf[t->index].empty() || isInputDriven(t)) continue;
    std::vector<ConcurrencyReduction> more = proposals(prefix, order, parity, eventsOf, t);
    proposed.insert(proposed.end(), more.begin(), more.end());
  }
  std::sort(proposed.begin(), proposed.end(), reductionLess);
  if (verbosity >= 8)
    for (const ConcurrencyReduction& r : proposed) printTo(stdout, "\nProposed reduction: %s", reductionText(r).c_str());
  // Each proposal costs an unfolding and a conflict search: those that resolve the most of
  // the present conflicts are tried first, and only so many of them.
  std::vector<std::array<CoreSide, 2>> sides = coreSides(prefix, cores);
  std::vector<std::pair<size_t, const ConcurrencyReduction*>> ranked;
  for (const ConcurrencyReduction& r : proposed) {
    size_t resolved = 0;
    for (size_t k = 0; k < cores.size(); ++k) resolved += cores[k].csc && resolvesCore(prefix, order, r, sides[k]);
    if (resolved) ranked.push_back({resolved, &r});
  }
  std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  if (ranked.size() > ReductionsTried) ranked.resize(ReductionsTried);
  std::vector<PricedReduction> valid;
  for (auto [resolved, proposal] : ranked) {
    const ConcurrencyReduction& r = *proposal;
    StgPrefix reduced;
    const Place* added = nullptr;
    if (!unfoldReduced(prefix, r, reduced, added)) continue;
    if (addsDeadlock(reduced, sameIn(reduced, r.target), added)) continue;
    PricedReduction priced{r};
    priced.delay = delayIncrease(prefix, order, r, eventsOf);
    priced.logic = newTriggers(r);
    // The reduced STG may have conflicts of its own; with all of them known (fewer than the
    // detection's limit) there must be fewer than now.
    if (conflicts < CoreLimit && countCscCores(reduced, options, static_cast<uint32_t>(conflicts)) >= conflicts) continue;
    // Priced as insertions are: the present conflicts left.
    priced.cscCores = conflicts - resolved;
    for (size_t k = 0; k < cores.size(); ++k) priced.uscCores += !cores[k].csc && !resolvesCore(prefix, order, r, sides[k]);
    if (options["coeff_non_locked_signals"])
      priced.unlock = unlockNumber(reduced, "\nLock relation after concurrency reduction " + reductionText(r) + ":\n");
    valid.push_back(std::move(priced));
    if (raiseStatus(0) >= StatusError) break;
  }
  std::sort(valid.begin(), valid.end(),
            [](const PricedReduction& a, const PricedReduction& b) { return reductionLess(a.reduction, b.reduction); });
  if (verbosity >= 5) printTo(stdout, "\nNumber of valid concurrency reductions: %zu", valid.size());
  return valid;
}

std::vector<const Place*> implicitPlaces(const StgPrefix& prefix) {
  SatFormula formula(1, false, false);
  ConfigurationVariables<StgPrefix> record(formula, prefix, false);
  record.encode_base(PermanentGroup, false, false);
  std::vector<bool> removed(prefix.places.size(), false);
  std::vector<const Place*> out;
  for (const Place* p : prefix.places) {
    bool soleReason = false;
    for (const Transition* t : p->postset) {
      if (soleReason) break;
      std::vector<const Place*> rest;
      for (const Place* q : t->preset)
        if (q != p && !removed[q->index]) rest.push_back(q);
      // With nothing else in its preset, p alone decides whether t can fire.
      if (rest.empty()) {
        soleReason = true;
        break;
      }
      formula.recreate_group(2);
      formula.add_unit(negate(record.place_marked(p, 0)), 2);
      for (const Place* q : rest) formula.add_unit(record.place_marked(q, 0), 2);
      soleReason = formula.solve();
    }
    if (!soleReason) {
      removed[p->index] = true;
      out.push_back(p);
    }
  }
  formula.recreate_group(2);
  if (verbosity >= 4) {
    if (out.empty()) {
      printTo(stdout, "\n No implicit places found");
    } else {
      std::string names;
      for (const Place* p : out) names += (names.empty() ? "" : ", ") + p->name;
      printTo(stdout, "\n %zu implicit places removed: %s", out.size(), names.c_str());
    }
  }
  return out;
}

void removePlaces(Stg& net, const std::vector<const Place*>& places) {
  for (const Place* cp : places) {
    auto* p = const_cast<Place*>(cp);
    for (Transition* t : p->preset) t->postset.erase(p);
    for (Transition* t : p->postset) t->preset.erase(p);
    net.places.removeAt(p->index);
  }
  sortArcs(net);
}

}  // namespace nurex
