// USC and CSC conflict detection over two configuration records with equal codes. Method 1
// asks in one formula that some item differ; method 2 takes the items one by one, the item
// constraint alone changing between solver calls.
#include "verify/conflicts.h"

#include <algorithm>

#include "platform/reporter.h"
#include "platform/system.h"
#include "reach/dummy_closure.h"

namespace nurex {

namespace {

const char* const DummyCutOffWarning = "there are dummy cut-offs; the result will not be reliable";
const char* const InclusionWarning = "+l is valid only for (dynamically) conflict-free nets; the result may be incorrect";

}  // namespace

void ConflictSolution::print(FILE* stream, ResultForm form) const {
  Solution::print(stream, form);
  if (signal) printTo(stream, "\nConflict for signal %s\n", signal->name.c_str());
}

ConflictMode::ConflictMode(const StgPrefix& prefix, const OptionMap& given, bool csc, bool warn_dummy_cutoffs)
    : Base(prefix, given), csc(csc), conflict_free(is_conflict_free(prefix)), signals(prefix, given["enable_via_dummies"] != 0) {
  resolve_inclusion_constraints(options, conflict_free);
  if (options["method"] == 0) options["method"] = 2;
  if (warn_dummy_cutoffs && signals.ok() && hasDummyCutOffs(prefix)) reportWarning(DummyCutOffWarning);
}

VerdictTexts conflictVerdicts(bool csc) {
  if (csc) return {"CSC conflict has been detected", "there are no CSC conflicts"};
  return {"USC conflict has been detected", "there are no USC conflicts"};
}

std::string ConflictMode::message_if_found() const { return conflictVerdicts(csc).found; }
std::string ConflictMode::message_if_none() const { return conflictVerdicts(csc).none; }

void ConflictMode::encode_records(std::initializer_list<Configuration*> records, int group) {
  for (Configuration* record : records)
    record->encode_base(group, backward_conflict_constraints, incremental_acyclic_constraint);
  if (options["no_max_dummies"] != 0)
    for (Configuration* record : records) encodeNoMaximalDummies(*record, group);
}

void ConflictMode::build_instance(int group) {
  Configuration& first = first_record();
  Configuration& second = second_record();
  encode_records({&first, &second}, group);
  equal_codes(group);
  if (options["inclusion_constraints"] == 1) {
    if (!conflict_free && !is_probe_) reportWarning(InclusionWarning);
    order_configurations(first, second, group);
  }
  if (method() == 1) difference_constraint(group);
  cores_at_build_ = known_cores_.size();
  for (size_t i = 0; i < cores_at_build_; ++i) exclude_core(known_cores_[i], ItemGroup);
}

void ConflictMode::equal_codes(int group) {
  for (const Signal* s : unit.signals) {
    if (s->kind == SignalDummy) continue;
    Literal a = signals.code(first_record(), s), b = signals.code(second_record(), s);
    formula.add_binary(negate(a), b, group);
    formula.add_binary(a, negate(b), group);
  }
}

// The difference is symmetric except for -C by items, where the two records play different
// roles (off, then on), so only that case needs the unordered form.
void ConflictMode::order_configurations(Configuration& first, Configuration& second, int group) {
  add_inclusion(first, second, !csc || method() == 1, group);
}

void ConflictMode::add_inclusion(Configuration& first, Configuration& second, bool ordered, int group) {
  if (ordered) add_ordered_inclusion(first, second, group);
  else add_unordered_inclusion(first, second, group);
}

void ConflictMode::difference_constraint(int group) {
  std::vector<Literal> differs;
  if (csc) {
    for (uint32_t i = unit.outputsBegin; i < unit.dummiesBegin; ++i) {
      const Signal* s = unit.signals[i];
      Literal pair[2] = {signals.enabled(first_record(), s), signals.enabled(second_record(), s)};
      differs.push_back(formula.make_gate(GateXor, pair, PermanentGroup, +1));
    }
  } else {
    std::vector<bool> hasConditions(unit.places.size(), false);
    for (const Condition* c : unit.conditions) hasConditions[c->place->index] = true;
    for (const Place* p : unit.places) {
      if (!hasConditions[p->index]) continue;
      Literal pair[2] = {first_record().place_marked(p, 0), second_record().place_marked(p, 0)};
      differs.push_back(formula.make_gate(GateXor, pair, PermanentGroup, +1));
    }
  }
  formula.add_clause(differs, group);
}

uint32_t ConflictMode::first_item() const { return csc ? unit.outputsBegin : 0; }
uint32_t ConflictMode::end_item() const { return csc ? unit.dummiesBegin : static_cast<uint32_t>(unit.places.size()); }

void ConflictMode::item_constraint(int group) {
  if (csc) {
    const Signal* s = unit.signals[item];
    formula.add_unit(negate(signals.enabled(first_record(), s)), group);
    formula.add_unit(signals.enabled(second_record(), s), group);
  } else {
    const Place* p = unit.places[item];
    formula.add_unit(negate(first_record().place_marked(p, -1)), group);
    formula.add_unit(second_record().place_marked(p, +1), group);
  }
}

void ConflictMode::select_item(uint32_t x) {
  if (item >= 0) {
    formula.recreate_group(ItemGroup);
    for (size_t i = 0; i < cores_at_build_; ++i) exclude_core(known_cores_[i], ItemGroup);
  }
  item = x;
  item_constraint(ItemGroup);
}

namespace {

// Literals of which one is true exactly when the record's configuration is not `events`:
// an event of it is missing, or one of its direct extensions is present. Any larger
// configuration holds a direct extension, so nothing else is needed.
void differsFrom(StgConfiguration& record, const std::vector<const Event*>& events, std::vector<Literal>& out) {
  const StgPrefix& prefix = record.unit;
  std::vector<bool> in(prefix.events.size(), false);
  for (const Event* e : events) {
    in[e->index] = true;
    out.push_back(negate(record.event_in(e)));
  }
  for (const Event* f : prefix.events) {
    if (in[f->index] || eventIsCutOff(f)) continue;
    if (std::all_of(f->preset.begin(), f->preset.end(),
                    [&](const Condition* c) { return !c->producer || in[c->producer->index]; }))
      out.push_back(record.event_in(f));
  }
}

}  // namespace

void ConflictMode::exclude_core(const ConfigurationPair& core, int group) {
  std::vector<Literal> clause;
  differsFrom(first_record(), core.first, clause);
  differsFrom(second_record(), core.second, clause);
  formula.add_clause(clause, group);
  clause.clear();
  differsFrom(first_record(), core.second, clause);
  differsFrom(second_record(), core.first, clause);
  formula.add_clause(clause, group);
}

ConfigurationPair ConflictMode::model_pair() const {
  ConfigurationPair pair;
  for (const Event* e : configurations[0]->events_in_model()) pair.first.push_back(e);
  for (const Event* e : configurations[1]->events_in_model()) pair.second.push_back(e);
  return pair;
}

bool ConflictMode::is_conflict_of(const FinalState& first, const FinalState& second) const {
  if (!codesEqual(first, second)) return false;
  return csc ? localExcitationDiffers(unit, first, second) : first.marking != second.marking;
}

const Signal* ConflictMode::differing_local_signal(const FinalState& first, const FinalState& second) const {
  for (uint32_t i = unit.outputsBegin; i < unit.dummiesBegin; ++i)
    if (first.enabled[i] != second.enabled[i]) return unit.signals[i];
  return nullptr;
}

bool ConflictMode::validate(const Solution& solution) {
  if (!Base::validate(solution)) return false;
  const auto& traces = solution.traces;
  if (traces.size() != 2 || !is_conflict_of(finalStateOf(unit, traces[0], signals.via_dummies), finalStateOf(unit, traces[1], signals.via_dummies))) {
    reportError(csc ? "CSC conflict check failed" : "USC conflict check failed");
    return false;
  }
  return true;
}

void ConflictMode::add_solution() {
  auto solution = std::make_unique<ConflictSolution>(options["output_configurations"] != 0);
  collect_solution(*solution);
  if (csc) {
    if (item >= 0) solution->signal = unit.signals[item];
    else solution->signal = differing_local_signal(finalStateOf(unit, solution->traces[0], signals.via_dummies),
                                                   finalStateOf(unit, solution->traces[1], signals.via_dummies));
  }
  if (!validate(*solution)) return;
  if (all_solutions == 0) solutions.clear();
  solutions.push_back(std::move(solution));
}

// Refutes every item on solver 0, which proves these far faster than solver 1; on such an
// instance as pipelines of C-elements, solver 1 takes three times as long. A satisfiable
// item ends the attempt: the caller's own solver then finds the pair it always found.
bool ConflictMode::items_refuted_elsewhere() {
  if (!refute_on_solver0 || options["solver"] != 1 || options["store_cnf_formula"] != 0) return false;
  OptionMap probeOptions = options;
  probeOptions["solver"] = 0;
  struct Quiet {
    unsigned saved = verbosity;
    Quiet() { verbosity = 0; }
    ~Quiet() { verbosity = saved; }
  } quiet;
  ConflictMode probe(unit, probeOptions, csc, false);
  probe.is_probe_ = true;  // the warnings are the real run's to give
  probe.known_cores_ = known_cores_;
  probe.build_instance(PermanentGroup);
  for (uint32_t x = first_item(); x < end_item(); ++x) {
    probe.select_item(x);
    // The engine is asked directly: a failure of solver 0 is no error of the run, which
    // then goes on with solver 1.
    double start = monotonicSeconds();
    int result = probe.formula.engine().solve();
    globalSatTime += monotonicSeconds() - start;
    if (result != SolveUnsatisfiable) return false;
  }
  return true;
}

bool ConflictMode::solve_first() {
  if (!signals.ok() || raiseStatus(0) >= StatusError) return false;
  if (method() == 1) return Base::solve_first();
  if (items_refuted_elsewhere()) {
    // The instance is still built item by item, so that its size reads as before.
    build_instance(PermanentGroup);
    for (uint32_t x = first_item(); x < end_item(); ++x) {
      select_item(x);
      formula.print_instance_size();
    }
    return false;
  }
  build_instance(PermanentGroup);
  for (uint32_t x = first_item(); x < end_item(); ++x) {
    select_item(x);
    formula.print_instance_size();
    if (formula.solve()) {
      add_solution();
      return !solutions.empty();
    }
    if (raiseStatus(0) >= StatusError) return false;
  }
  return false;
}

bool ConflictMode::limit_reached() const {
  return all_solutions >= 0 && solutions.size() + rejected_cores_ >= static_cast<uint64_t>(all_solutions);
}

void ConflictMode::collect_cores() {
  // Past the first solution only blocking clauses arrive, and subsumption checks of each of
  // them against the whole instance cost more than they save.
  struct Simplification {
    SatSolver& engine;
    ~Simplification() { engine.allow_simplification(true); }
  } restore{formula.engine()};
  for (bool first = true; !limit_reached() && raiseStatus(0) < StatusError; first = false) {
    formula.engine().allow_simplification(first);
    formula.print_instance_size();
    if (!formula.solve()) return;
    ConfigurationPair core = model_pair();
    bool rejected = reject_core && reject_core(core, known_cores_);
    if (!rejected) add_solution();
    else ++rejected_cores_;
    exclude_core(core, BlockingGroup);
    if (!rejected) known_cores_.push_back(std::move(core));
  }
}

bool ConflictMode::solve_all() {
  if (!signals.ok() || raiseStatus(0) >= StatusError) return false;
  build_instance(PermanentGroup);
  if (method() == 1) {
    collect_cores();
  } else {
    for (uint32_t x = first_item(); x < end_item() && !limit_reached() && raiseStatus(0) < StatusError; ++x) {
      select_item(x);
      collect_cores();
    }
  }
  return !solutions.empty();
}

namespace {

// Sinz's sequential counter, in the one direction that an upper bound needs: the returned
// register r has r[j] forced true once more than j of the literals are true, so the unit
// not r[k] allows at most k of them, and unit propagation sees it early.
std::vector<Literal> countRegister(SatFormula& formula, const std::vector<Literal>& literals, size_t levels) {
  std::vector<Literal> previous(levels, LiteralFalse), current(levels);
  for (Literal x : literals) {
    for (size_t j = 0; j < levels; ++j) {
      Literal below = j == 0 ? LiteralTrue : previous[j - 1];
      if (below == LiteralFalse && previous[j] == LiteralFalse) {
        current[j] = LiteralFalse;
        continue;
      }
      current[j] = formula.new_literal(true);
      formula.add_binary(negate(previous[j]), current[j], PermanentGroup);
      formula.add_clause({negate(x), negate(below), current[j]}, PermanentGroup);
    }
    previous.swap(current);
  }
  return previous;
}

}  // namespace

// One solve of the current item for a pair of at most `limit` events, recorded if found.
// An adder tree proves such bounds slowly, so the bound goes through a counter register,
// built once with as many levels as the best cost then has, wherever it can express it.
bool ConflictMode::item_within(uint64_t limit, const BitVector& v, std::vector<bool>& b) {
  if (register_covers(limit)) formula.add_unit(negate(at_least_[limit]), TemporaryGroup);
  else BitVectorEncoder(formula, TemporaryGroup).assert_less(v, BitVectorEncoder::from_constant(limit + 1));
  bool found = solve_and_record(v, b);
  formula.recreate_group(TemporaryGroup);
  return found;
}

bool ConflictMode::register_covers(uint64_t limit) {
  if (at_least_.empty()) {
    std::vector<Literal> events;
    projection(events);
    uint64_t levels = solutions.back()->cost();
    if (events.size() * levels <= register_limit) at_least_ = countRegister(formula, events, levels);
  }
  return limit < at_least_.size();
}

// By items. A first pass asks each item for a pair of half the best cost (where the register
// can say so), else for a cheaper one, which brings the best down within a few items; the second runs the descent of each
// item that can still improve on the best, so that an item whose pairs are all long costs
// one quick refutation instead of a descent.
bool ConflictMode::solve_minimum() {
  if (!signals.ok() || raiseStatus(0) >= StatusError) return false;
  if (method() == 1) return Base::solve_minimum();
  BitVector v;
  std::vector<bool> b;
  first_for_minimum(v, b);
  for (int pass = 0; pass < 2; ++pass)
    for (uint32_t x = first_item(); x < end_item(); ++x) {
      if (raiseStatus(0) >= StatusError || solutions.empty()) break;
      uint64_t best = solutions.back()->cost();
      if (best == 0) break;
      select_item(x);
      if (pass == 0 && best > 2 && register_covers(best / 2) && item_within(best / 2, v, b)) continue;
      if (item_within(best - 1, v, b) && pass == 1) descend(v, b);
    }
  return raiseStatus(0) < StatusError && !solutions.empty();
}

std::unique_ptr<SearchModeBase> makeUscMode(const StgPrefix& prefix, const OptionMap& options) {
  auto mode = std::make_unique<ConflictMode>(prefix, options, false, false);
  mode->refute_on_solver0 = true;
  return mode;
}

std::unique_ptr<SearchModeBase> makeCscMode(const StgPrefix& prefix, const OptionMap& options) {
  auto mode = std::make_unique<ConflictMode>(prefix, options, true, true);
  mode->refute_on_solver0 = true;
  return mode;
}

}  // namespace nurex
