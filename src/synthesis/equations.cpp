// Equation derivation: for a signal and a phase, the pairs of states that the function must
// tell apart give, through their maximal agreeing signal sets, the minimal supports; on each
// support the ON and OFF sets are enumerated and handed to the two-level minimiser.
#include "synthesis/equations.h"

#include <algorithm>

#include "kernel/hitting_sets.h"
#include "kernel/two_level.h"
#include "platform/reporter.h"
#include "synthesis/expression_text.h"
#include "verify/normalcy_triggers.h"

namespace nurex {

namespace {

// Not a fault of the tool, but "Cannot derive equation" alone reads like one.
const char* const NothingToDerive = "the STG has no output or internal signals: there is nothing to derive";

std::string cscConflictMessage(const Signal* z) {
  return "CSC conflict for output signal " + z->name + ": cannot derive equation";
}

}  // namespace

EquationMode::EquationMode(const StgPrefix& prefix, const OptionMap& given)
    : ConflictMode(prefix, given, true, true) {
  // The search is complete: every support yields an alternative.
  options["method"] = 0;
  options["all_solutions"] = 0x7FFFFFFF;
  options["min_cost"] = 0;
  all_solutions = 0x7FFFFFFF;
}

int32_t EquationMode::synthesis_type() const {
  int32_t type = options["synthesis_type"];
  return type == 0 ? ComplexGate : type;
}

std::string EquationMode::message_if_found() const {
  return "Equations derived (literals=" + std::to_string(total_cost()) + ")";
}
std::string EquationMode::message_if_none() const { return "Cannot derive equation"; }

std::vector<const SignalImplementation*> EquationMode::implementations() const {
  std::vector<const SignalImplementation*> list;
  for (const auto& s : solutions) list.push_back(static_cast<const SignalImplementation*>(s.get()));
  return list;
}

uint64_t EquationMode::total_cost() const {
  uint64_t total = 0;
  for (const SignalImplementation* s : implementations()) total += s->cost();
  return total;
}

bool EquationMode::run() {
  if (!signals.ok() || raiseStatus(0) >= StatusError) return false;
  if (unit.outputsBegin == unit.dummiesBegin) {
    reportWarning(NothingToDerive);
    return false;
  }
  ensureBddVariables(static_cast<uint32_t>(unit.signals.size()));
  bool latch = synthesis_type() == GeneralisedC || synthesis_type() == StandardC;
  for (uint32_t i = unit.outputsBegin; i < unit.dummiesBegin; ++i) {
    const Signal* z = unit.signals[i];
    bool ok = latch ? derive(z, PhaseSet, z->name + " SET") && derive(z, PhaseReset, z->name + " RESET")
                    : derive(z, PhaseNext, z->name);
    if (!ok || raiseStatus(0) >= StatusError) return false;
  }
  return !solutions.empty();
}

// The clauses that put a state into the region where the function must be 1 (`on`) or 0.
// Complex gate: the implied next value. gC: the set function is 1 where the rise is excited
// and 0 wherever the next value is 0 (it may hold 1 while z is stable at 1, where the latch
// keeps the value anyway). Standard C: the set function is exactly the excitation function
// of the rise, 0 also where z is stable at 1; it then falls as soon as z has risen and stays
// 0 until z is excited to rise again, the monotonic input that a C-element latch needs to
// stay free of hazards. Reset is the mirror image.
void EquationMode::region_constraint(Configuration& record, const Signal* z, bool on, int group) {
  Literal code = signals.code(record, z), enabled = signals.enabled(record, z);
  if (phase == PhaseNext) {
    Literal next = signals.next(record, z);
    formula.add_unit(on ? next : negate(next), group);
    return;
  }
  Literal phase_value = phase == PhaseSet ? negate(code) : code;  // z is at the phase's start value
  if (on) {
    formula.add_unit(phase_value, group);
    formula.add_unit(enabled, group);
  } else if (synthesis_type() == GeneralisedC) {
    Literal next = signals.next(record, z);
    formula.add_unit(phase == PhaseSet ? negate(next) : next, group);
  } else {
    formula.add_binary(negate(phase_value), negate(enabled), group);
  }
}

void EquationMode::fresh_instance() {
  formula.reset();
  configurations.clear();
}

// Each maximal set of signals on which a separating pair agrees must miss a support signal.
bool EquationMode::agreeing_sets(const Signal* z, std::vector<std::vector<uint32_t>>& complements) {
  fresh_instance();
  Configuration& first = first_record();
  Configuration& second = second_record();
  encode_records({&first, &second}, PermanentGroup);
  support_selectors.clear();
  for (uint32_t x = 0; x < unit.dummiesBegin; ++x) {
    Literal d = formula.new_literal(false);
    Literal a = signals.code(first, unit.signals[x]), b = signals.code(second, unit.signals[x]);
    formula.add_clause({negate(d), negate(a), b}, PermanentGroup);
    formula.add_clause({negate(d), a, negate(b)}, PermanentGroup);
    support_selectors.push_back(d);
  }
  region_constraint(first, z, true, PermanentGroup);
  region_constraint(second, z, false, PermanentGroup);
  formula.print_instance_size();
  std::vector<TernaryVector> maximal = formula.enumerate_maximal(support_selectors, 0);
  if (raiseStatus(0) >= StatusError) return false;
  complements.clear();
  for (const TernaryVector& v : maximal) {
    std::vector<uint32_t> outside;
    for (uint32_t x = 0; x < support_selectors.size(); ++x)
      if (!v[2 * x]) outside.push_back(x);
    if (outside.empty()) {
      reportError(cscConflictMessage(z));
      return false;
    }
    complements.push_back(std::move(outside));
  }
  return true;
}

namespace {

Cube cubeOf(const TernaryVector& v, const std::vector<uint32_t>& support) {
  Cube cube;
  for (size_t i = 0; i < support.size(); ++i)
    if (!v[2 * i + 1]) cube.push_back({support[i], static_cast<bool>(v[2 * i])});
  return cube;
}

}  // namespace

bool EquationMode::regions_on(const Signal* z, const std::vector<uint32_t>& support, BddCover& out) {
  Configuration& record = first_record();
  std::vector<Literal> codes;
  for (uint32_t x : support) codes.push_back(signals.code(record, unit.signals[x]));
  out.support = support;
  for (bool on : {true, false}) {
    formula.recreate_group(ItemGroup);
    region_constraint(record, z, on, ItemGroup);
    formula.enumerate(codes, ItemGroup, [&](const TernaryVector& v) {
      Cube cube = cubeOf(v, support);
      on ? out.add_on(cube) : out.add_off(cube);
    }, -1);
    if (raiseStatus(0) >= StatusError) return false;
  }
  return true;
}

bool EquationMode::next_state_regions(const Signal* z, const std::vector<uint32_t>& support, BddCover& out) {
  if (!signals.ok()) return false;
  ensureBddVariables(static_cast<uint32_t>(unit.signals.size()));
  phase = PhaseNext;
  fresh_instance();
  encode_records({&first_record()}, PermanentGroup);
  return regions_on(z, support, out);
}

// ON and OFF sets over the codes of one support, each by enumeration in the one-record
// instance under the item group, then the minimised cover.
bool EquationMode::alternative_on(const Signal* z, const std::vector<uint32_t>& support, EquationAlternative& out) {
  if (!regions_on(z, support, out.cover)) return false;
  if ((out.cover.on & out.cover.off) != bddfalse) {
    reportError("internal error: the states of signal " + z->name + " are not told apart by a support");
    return false;
  }
  std::optional<SumOfProducts> sop = minimiseCover(out.cover);
  if (!sop) return false;
  out.sop = std::move(*sop);
  out.literals = literalCount(out.sop);
  for (uint32_t x : support) out.context.push_back(unit.signals[x]);
  out.equation = expressionText(out.sop, unit.signals, ConstantStyle::Result);
  return true;
}

bool EquationMode::derive(const Signal* z, SynthesisPhase p, std::string name) {
  phase = p;
  std::vector<std::vector<uint32_t>> complements;
  if (!agreeing_sets(z, complements)) return false;
  std::vector<std::vector<uint32_t>> supports = minimalHittingSets(complements);
  if (raiseStatus(0) >= StatusError) return false;

  auto implementation = std::make_unique<SignalImplementation>();
  implementation->signal = z;
  implementation->name = std::move(name);
  implementation->phase = p;
  implementation->triggers = triggers_of(z);
  fresh_instance();
  encode_records({&first_record()}, PermanentGroup);
  for (const std::vector<uint32_t>& support : supports) {
    EquationAlternative alternative;
    if (!alternative_on(z, support, alternative)) return false;
    implementation->alternatives.push_back(std::move(alternative));
  }
  std::stable_sort(implementation->alternatives.begin(), implementation->alternatives.end(),
                   [](const EquationAlternative& a, const EquationAlternative& b) { return a.literals < b.literals; });
  solutions.push_back(std::move(implementation));
  return true;
}

// The signals of the nearest causes of z's events, looking through dummy events. The phase
// selects the rising or falling events of z, or both.
std::vector<const Signal*> EquationMode::triggers_of(const Signal* z) const {
  std::vector<bool> isTrigger(unit.signals.size(), false);
  for (const Event* e : unit.events) {
    if (e->transition->signal != z) continue;
    if ((phase == PhaseSet && e->sign != SignPlus) || (phase == PhaseReset && e->sign != SignMinus)) continue;
    for (const Event* t : triggerEvents(unit, e)) isTrigger[t->transition->signal->index] = true;
  }
  std::vector<const Signal*> triggers;
  for (const Signal* s : unit.signals)
    if (isTrigger[s->index]) triggers.push_back(s);
  return triggers;
}

std::unique_ptr<SearchModeBase> makeEquationMode(const StgPrefix& prefix, const OptionMap& options) {
  return std::make_unique<EquationMode>(prefix, options);
}

}  // namespace nurex
