// The decomposition loop. A signal is done when one gate or latch implements it (with -t),
// or a small network of gates does (without). Otherwise a sub-function of it, a part of a
// split of its cover or the set or reset function of a latch, is inserted as a new signal.
// The pair of insertions that rises and falls with the sub-function is found by probing:
// each candidate STG is unfolded and must be consistent, free of new deadlocks and of CSC
// conflicts, with the new signal's next value equal to the sub-function on every reachable
// state and the decomposed signal's function expressible through it.
#include "decompose/logic_decomposer.h"

#include <algorithm>
#include <map>

#include "decompose/signal_cover.h"
#include "kernel/algebraic.h"
#include "kernel/boolean_relation.h"
#include "kernel/two_level.h"
#include "model/checks.h"
#include "model/formats/writers.h"
#include "platform/options.h"
#include "platform/reporter.h"
#include "resolve/event_order.h"
#include "resolve/prefix_insertion.h"
#include "synthesis/equations.h"
#include "synthesis/expression_text.h"
#include "synthesis/netlist_parts.h"
#include "unfold/unfolder.h"
#include "verify/conflicts.h"
#include "verify/deadlock.h"

namespace nurex {

namespace {

constexpr size_t MaxEvents = 30000;
constexpr size_t MaxProbes = 40;         // insertion pairs tried per sub-function
constexpr size_t MaxSubFunctions = 8;    // sub-functions tried per signal and pass
constexpr size_t MaxDivisors = 8;        // algebraic divisors offered per signal
const char* const FailedMessage = "failed to decompose";

std::string line(char c) { return std::string(52, c); }

// Whether h holds at the code of a configuration (signal values by index).
bool holdsAt(const bdd& h, const std::vector<uint8_t>& code) {
  bdd point = bddtrue;
  for (uint32_t i = 0; i < code.size(); ++i) point &= code[i] ? bddVariable(i) : !bddVariable(i);
  return (h & point) != bddfalse;
}

std::vector<uint8_t> codeOf(const StgPrefix& prefix, const EventSet& configuration) {
  std::vector<uint8_t> code(prefix.dummiesBegin);
  for (uint32_t i = 0; i < prefix.dummiesBegin; ++i) code[i] = prefix.signals[i]->initialValue & 1;
  configuration.forEach([&](uint32_t e) {
    const Signal* s = prefix.events[e]->transition->signal;
    if (s && s->index < prefix.dummiesBegin) code[s->index] ^= 1;
  });
  return code;
}

// The insertion with its transitions and places taken from a copy of the net (same indices).
Insertion translated(const Insertion& insertion, Stg& copy) {
  auto t = [&](const Transition* x) -> const Transition* { return copy.transitions[x->index]; };
  auto places = [&](const std::vector<const Place*>& list) {
    std::vector<const Place*> out;
    for (const Place* p : list) out.push_back(copy.places[p->index]);
    return out;
  };
  if (auto* b = std::get_if<InsertionBefore>(&insertion)) return InsertionBefore{t(b->t), places(b->places)};
  if (auto* a = std::get_if<InsertionAfter>(&insertion)) return InsertionAfter{t(a->t), places(a->places)};
  if (auto* c = std::get_if<InsertionConcurrent>(&insertion)) return InsertionConcurrent{t(c->u), c->marked, t(c->t)};
  const auto& g = std::get<InsertionGeneral>(insertion);
  InsertionGeneral out{{}, g.marked, {}};
  for (const Transition* s : g.sources) out.sources.push_back(t(s));
  for (const Transition* d : g.destinations) out.destinations.push_back(t(d));
  return out;
}

// How close an insertion sits to the signal it serves: in front of it, or behind a signal
// the sub-function reads.
int relevance(const Insertion& insertion, const Signal* z, const std::vector<uint32_t>& support) {
  const Transition* t = attachedTransition(insertion);
  auto reads = [&](const Transition* u) {
    return u->signal && std::binary_search(support.begin(), support.end(), u->signal->index);
  };
  switch (insertion.index()) {
    case 0: return t->signal == z ? 0 : 3;
    case 1: return reads(t) ? 1 : 3;
    case 2: return t->signal == z ? (reads(std::get<InsertionConcurrent>(insertion).u) ? 0 : 2) : 3;
    default: return 3;
  }
}

// Of the alternatives of a signal's function, the one that reads most of the signals inserted
// for it, then the cheapest: the decomposition already applied is not undone by an equally
// cheap support that ignores the new signals.
const EquationAlternative& preferred(const SignalImplementation& implementation, const std::vector<std::string>& served) {
  const EquationAlternative* best = &implementation.alternatives.front();
  size_t bestReads = 0;
  for (const EquationAlternative& a : implementation.alternatives) {
    size_t reads = 0;
    for (const Signal* s : a.context) reads += std::find(served.begin(), served.end(), s->name) != served.end();
    if (reads > bestReads) best = &a, bestReads = reads;
  }
  return *best;
}

}  // namespace

struct LogicDecomposer::Task {
  const Signal* z = nullptr;
  BddCover cg;          // complex gate: next value
  BddCover set, reset;  // standard C: the latch's set and reset functions
  bool hasLatchForm = false;
  BddCover looseSet, looseReset;  // generalised C: on where the latch is set (reset) or may be
  bool hasLooseForm = false;
  std::vector<const Signal*> triggers, context;
  std::string equation;
  uint64_t literals = 0;
  std::optional<GateNetwork> network;
  std::string setText, resetText;
  bool done = false;
};

LogicDecomposer::LogicDecomposer(const StgPrefix& prefix, const OptionMap& options)
    : options_(options), prefix_(std::make_unique<StgPrefix>()) {
  copyStg(prefix, *prefix_);
}

LogicDecomposer::~LogicDecomposer() = default;

const Stg& LogicDecomposer::net() const { return *prefix_; }

bool LogicDecomposer::unfold() {
  if (!unfoldAgain(prefix_)) return false;
  if (prefix_->events.size() > MaxEvents) {
    reportError("the prefix has " + std::to_string(prefix_->events.size()) + " events; -T handles at most " +
                std::to_string(MaxEvents));
    return false;
  }
  return inferSignalValues(*prefix_);
}

bool LogicDecomposer::derive(std::vector<Task>& tasks) {
  OptionMap options = options_;
  options["solver"] = 0;
  options["synthesis_type"] = ComplexGate;
  EquationMode complexGate(*prefix_, options);
  if (!complexGate.run() || raiseStatus(0) >= StatusError) return false;
  // The latch forms are derived quietly: the complex gate's run has said what there is to say
  // about the STG, and a signal without them is still mapped as a gate.
  std::unique_ptr<EquationMode> latch, loose;
  bool latchForm, looseForm;
  {
    QuietScope quiet;
    options["synthesis_type"] = StandardC;
    latch = std::make_unique<EquationMode>(*prefix_, options);
    latchForm = latch->run() && quiet.status() < StatusError;
    // The generalised C covers may stay on while the signal holds its value: often fewer
    // literals, and still never on together, so a latch takes them as well.
    options["synthesis_type"] = GeneralisedC;
    loose = std::make_unique<EquationMode>(*prefix_, options);
    looseForm = latchForm && loose->run() && quiet.status() < StatusError;
  }
  if (verbosity >= 1) {
    writeResults(complexGate.solutions, complexGate.message_if_found(), complexGate.message_if_none());
    printTo(stderr, "\nCG signals' costs:");
    for (const SignalImplementation* s : complexGate.implementations())
      printTo(stderr, "\n%s: %llu", s->name.c_str(), static_cast<unsigned long long>(s->cost()));
    printTo(stderr, "\n");
  }
  std::vector<const SignalImplementation*> cg = complexGate.implementations();
  std::vector<const SignalImplementation*> sr = latchForm ? latch->implementations() : std::vector<const SignalImplementation*>{};
  std::vector<const SignalImplementation*> gc = looseForm ? loose->implementations() : std::vector<const SignalImplementation*>{};
  tasks.clear();
  for (size_t i = 0; i < cg.size(); ++i) {
    Task task;
    task.z = cg[i]->signal;
    task.triggers = cg[i]->triggers;
    const std::vector<std::string>& served = servedBy_[task.z->name];
    if (!cg[i]->alternatives.empty()) {
      const EquationAlternative& best = preferred(*cg[i], served);
      task.cg = best.cover;
      task.cg.sequential = false;
      task.context = best.context;
      task.equation = best.equation;
      task.literals = best.literals;
    }
    if (2 * i + 1 < sr.size() && !sr[2 * i]->alternatives.empty() && !sr[2 * i + 1]->alternatives.empty()) {
      const EquationAlternative& set = preferred(*sr[2 * i], served);
      const EquationAlternative& reset = preferred(*sr[2 * i + 1], served);
      task.set = set.cover;
      task.reset = reset.cover;
      task.setText = set.equation;
      task.resetText = reset.equation;
      task.hasLatchForm = true;
    }
    if (2 * i + 1 < gc.size() && !gc[2 * i]->alternatives.empty() && !gc[2 * i + 1]->alternatives.empty()) {
      task.looseSet = preferred(*gc[2 * i], served).cover;
      task.looseReset = preferred(*gc[2 * i + 1], served).cover;
      task.hasLooseForm = true;
    }
    tasks.push_back(std::move(task));
  }
  return true;
}

// One gate or latch first; with several allowed, the cheaper of a tree of gates and a latch
// fed by networks for set and reset.
void LogicDecomposer::mapSignal(Task& task) {
  if (verbosity >= 2)
    printTo(stdout, "\n\n\n\n\n%s\nTrying to match: %s = %s\n%s", line('*').c_str(), task.z->name.c_str(),
            task.equation.c_str(), line('*').c_str());
  std::optional<GateNetwork> best;
  auto consider = [&](std::optional<GateNetwork> n) {
    if (n && (!best || n->area < best->area)) best = std::move(n);
  };
  GateMatch direct = matchGate(task.cg, context_.combinational, context_.inverterArea);
  if (direct.gate) consider(GateNetwork{{{direct, std::vector<int32_t>(direct.inputs.size(), -1), task.cg}}, direct.area});
  if (task.hasLatchForm && !context_.latches.empty()) {
    BddCover sequential = buildCover(task.set, task.reset, task.z->index);
    GateMatch latch = matchGate(sequential, context_.latches, context_.inverterArea);
    if (latch.gate) consider(GateNetwork{{{latch, std::vector<int32_t>(latch.inputs.size(), -1), sequential}}, latch.area});
  }
  // A latch whose set and reset are single literals is one cell too.
  for (bool strict : {false, true}) {
    bool has = strict ? task.hasLatchForm : task.hasLooseForm;
    if (!has) continue;
    std::optional<GateNetwork> n = strict ? mapMonotonic(task.set, task.reset, context_)
                                          : mapMonotonic(task.looseSet, task.looseReset, context_);
    if (n && n->single()) consider(std::move(n));
  }
  if (best) {
    if (verbosity >= 4)
      printTo(stdout, "\nTrivially implementable by %s (perhaps, with inverters)", best->nodes[0].match.gate->name.c_str());
    task.network = std::move(best);
    task.done = true;
    return;
  }
  if (options_["decompose_down_to_trivial"]) return;
  consider(mapCombinational(task.cg, context_));
  if (task.hasLatchForm) consider(mapMonotonic(task.set, task.reset, context_));
  if (task.hasLooseForm) consider(mapMonotonic(task.looseSet, task.looseReset, context_));
  task.network = std::move(best);
  task.done = task.network.has_value();
}

std::vector<LogicDecomposer::SubFunctionChoice> LogicDecomposer::subFunctionsOf(const Task& task) {
  struct Candidate {
    SubFunctionChoice choice;
    bool single;
    uint64_t literals;
    int origin;  // 0 the latch's own covers, 1 parts of splits
  };
  std::vector<Candidate> found;
  std::map<std::pair<int, int>, bool> seen;
  int origin = 0;
  // `other` is what the signal's gate still reads beside the new signal.
  auto add = [&](const BddCover& c, const BddCover& other, bool latch) {
    if (!seen.emplace(std::make_pair(c.on.id(), c.off.id()), true).second) return;
    std::optional<SumOfProducts> sop = minimiseCover(c), rest = minimiseCover(other);
    if (!sop || !rest || literalCount(*sop) <= 1) return;
    std::vector<uint32_t> vars = sopVariables(*rest);
    if (latch) vars.push_back(task.z->index);
    std::sort(vars.begin(), vars.end());
    vars.erase(std::unique(vars.begin(), vars.end()), vars.end());
    bool single = matchGate(c, context_.combinational, context_.inverterArea).gate != nullptr;
    // Down to single gates, a sub-function that is no gate would only be split again later.
    if (!single && options_["decompose_down_to_trivial"]) return;
    found.push_back({{c, vars, latch}, single, literalCount(*sop), origin});
  };
  if (!context_.latches.empty()) {
    // A phase whose loose cover is already one literal needs no signal: its strict cover would
    // only be the same signal again, delayed.
    auto literalsOf = [](const BddCover& c) {
      std::optional<SumOfProducts> sop = minimiseCover(c);
      return sop ? literalCount(*sop) : 0;
    };
    bool setDone = task.hasLooseForm && literalsOf(task.looseSet) <= 1;
    bool resetDone = task.hasLooseForm && literalsOf(task.looseReset) <= 1;
    if (task.hasLooseForm) {
      add(task.looseSet, task.looseReset, true);
      add(task.looseReset, task.looseSet, true);
    }
    if (task.hasLatchForm) {
      if (!setDone) add(task.set, task.reset, true);
      if (!resetDone) add(task.reset, task.set, true);
    }
  }
  origin = 1;
  for (const CoverSplit& split : splitCover(task.cg, context_)) {
    add(split.parts[0], split.parts[1], false);
    add(split.parts[1], split.parts[0], false);
  }
  // Algebraic decomposition: F = Q1*D + Q0*!D + R for each divisor D of the minimised cover;
  // D becomes the new signal, the rest reads the quotients and the remainder.
  if (std::optional<SumOfProducts> whole = minimiseCover(task.cg)) {
    bdd care = task.cg.on | task.cg.off;
    size_t tried = 0;
    for (const SopNode& d : divisors(SopNode(*whole), 64)) {
      if (d.literals() < 2 || tried++ >= MaxDivisors) continue;
      std::optional<ThreeWayDivision> split = divideThreeWay(SopNode(*whole), d);
      if (!split || (split->onQuotient.isZero() && split->offQuotient.isZero())) continue;
      SumOfProducts rest = split->onQuotient.cover();
      for (const SopNode* part : {&split->offQuotient, &split->remainder})
        rest.insert(rest.end(), part->cover().begin(), part->cover().end());
      add(coverOfPart(d.cover(), care), coverOfPart(rest, care), false);
    }
  }
  // Boolean decomposition: F = G(H1, H2) for each two-input gate G, the parts from the
  // solutions of the relation ON -> G(y), OFF -> !G(y).
  origin = 2;
  for (const GenlibGate* gate : context_.combinational) {
    if (gate->inputCount() != 2) continue;
    BddCover own = gateCover(*gate);
    bddPair* pair = bdd_newpair();
    bdd_setpair(pair, 0, static_cast<int>(context_.firstFreeVariable));
    bdd_setpair(pair, 1, static_cast<int>(context_.firstFreeVariable + 1));
    bdd g = bdd_replace(own.on, pair);
    bdd_freepair(pair);
    BooleanRelation relation{bdd_imp(task.cg.on, g) & bdd_imp(task.cg.off, !g), task.cg.support,
                             {context_.firstFreeVariable, context_.firstFreeVariable + 1}};
    RelationLimits limits;
    limits.max_solutions = 2;
    limits.exclude_constant = true;
    bdd care = task.cg.on | task.cg.off;
    for (const RelationSolution& solution : solveRelation(relation, limits)) {
      BddCover parts[2] = {coverOfPart(solution.functions[0], care), coverOfPart(solution.functions[1], care)};
      add(parts[0], parts[1], false);
      add(parts[1], parts[0], false);
    }
  }
  // The set and reset functions first: a latch then takes them. Of the parts, one that a gate
  // implements first, the largest of those first: it takes the most off the signal's gate.
  std::stable_sort(found.begin(), found.end(), [](const Candidate& a, const Candidate& b) {
    if (a.origin != b.origin) return a.origin < b.origin;
    if (a.single != b.single) return a.single;
    return a.literals > b.literals;
  });
  std::vector<SubFunctionChoice> out;
  for (size_t i = 0; i < found.size() && i < MaxSubFunctions; ++i) out.push_back(found[i].choice);
  return out;
}

std::unique_ptr<StgPrefix> LogicDecomposer::probe(const Task& task, const bdd& h, const std::vector<uint32_t>& support,
                                                  const std::vector<uint32_t>& rest, bool latch, const Insertion& rise,
                                                  const Insertion& fall, bool startValue) {
  auto trial = std::make_unique<StgPrefix>();
  copyStg(*prefix_, *trial);
  auto fail = [&](const char* why) -> std::unique_ptr<StgPrefix> {
    probeFailure_ = why;
    return nullptr;
  };
  std::vector<AppliedInsertion> applied{{translated(rise, *trial), {}}, {translated(fall, *trial), {}}};
  Signal* x = addInsertedSignal(*trial, "deco", startValue, applied, {0, 1});
  insertedName_ = x->name;
  QuietScope quiet;
  UnfoldOptions unfoldOptions = reUnfoldingOptions();
  unfoldOptions.conc_rel_size = 0;
  unfoldOptions.quiet = 1;
  if (!unfoldNet(*trial, unfoldOptions) || trial->events.size() > MaxEvents) return fail("not safe or too big");
  if (!inferSignalValues(*trial) || quiet.status() >= StatusError) return fail("inconsistent signs");
  // The old signals keep their indices: the new one comes behind the internal signals.
  for (uint32_t v : support)
    if (trial->signals[v]->name != prefix_->signals[v]->name) return fail("indices moved");
  if (trial->signals[task.z->index]->name != task.z->name) return fail("indices moved");
  {
    EventOrder order(*trial);
    if (!signalConsistent(*trial, order, x)) return fail("inconsistent");
  }
  OptionMap options = options_;
  options["all_solutions"] = 0;
  options["min_cost"] = 0;
  if (!inputDeadlocks_ && makeDeadlockMode<StgPrefix>(*trial, options)->run()) return fail("deadlock");
  if (quiet.status() >= StatusError || makeCscMode(*trial, options)->run()) return fail("CSC conflict");
  if (quiet.status() >= StatusError) return fail("error");
  options["synthesis_type"] = ComplexGate;
  EquationMode equations(*trial, options);
  BddCover next;
  if (!equations.next_state_regions(x, support, next)) return fail("regions");
  if ((next.on & !h) != bddfalse || (next.off & h) != bddfalse) return fail("not the sub-function");
  // The decomposed signal must now be a function of the new signal and the rest.
  std::vector<uint32_t> reduced = rest;
  reduced.push_back(x->index);
  std::sort(reduced.begin(), reduced.end());
  reduced.erase(std::unique(reduced.begin(), reduced.end()), reduced.end());
  BddCover after;
  const Signal* z = trial->signals[task.z->index];
  if (!equations.next_state_regions(z, reduced, after) || (after.on & after.off) != bddfalse) return fail("not reduced");
  // And simpler than before, or one gate: otherwise the next pass could pick the same part again.
  // (A latch's set or reset function is then the new signal itself: progress enough.)
  std::optional<SumOfProducts> simpler = minimiseCover(after);
  if (!latch && (!simpler || literalCount(*simpler) >= task.literals) &&
      !matchGate(after, context_.combinational, context_.inverterArea).gate)
    return fail("not simpler");
  if (quiet.status() >= StatusError) return fail("error");
  trial->unfoldedHere = true;
  return trial;
}

bool LogicDecomposer::insertSubFunction(const Task& task, const SubFunctionChoice& choice) {
  const std::vector<uint32_t>& rest = choice.rest;
  std::optional<SumOfProducts> sop = minimiseCover(choice.cover);
  if (!sop) return false;
  bdd h = sopToBdd(*sop);
  std::vector<uint32_t> support = sopVariables(*sop);
  std::string hText = expressionText(*sop, prefix_->signals, ConstantStyle::Result);
  if (verbosity >= 2)
    printTo(stdout, "\n\nTrying to insert subfunction $1=%s in [%s]=%s", hText.c_str(), task.z->name.c_str(),
            task.equation.c_str());
  EventOrder order(*prefix_);
  std::vector<uint8_t> initial = codeOf(*prefix_, EventSet(prefix_->events.size()));
  bool startValue = holdsAt(h, initial);
  struct Candidate {
    Insertion insertion;
    int score;
    bool initial;  // an instance is enabled at the initial marking
  };
  std::vector<Candidate> rises, falls;
  for (const Insertion& insertion : validInsertions(*prefix_, options_["concurrent_insertions"])) {
    int score = relevance(insertion, task.z, support);
    std::vector<InsertionInstance> instances = instancesOf(*prefix_, insertion);
    if (instances.empty()) continue;
    bool allHigh = true, allLow = true, initial = false;
    for (const InsertionInstance& instance : instances) {
      initial = initial || instance.after.empty();
      EventSet past(prefix_->events.size());
      for (const Event* e : instance.after) past |= order.past(e);
      bool high = holdsAt(h, codeOf(*prefix_, past));
      allHigh = allHigh && high;
      allLow = allLow && !high;
    }
    // The new signal rises only where h is 1 and falls only where it is 0.
    if (allHigh) rises.push_back({insertion, score, initial});
    if (allLow) falls.push_back({insertion, score, initial});
  }
  struct Pair {
    size_t rise, fall;
    int score;
  };
  if (verbosity >= 6) {
    printTo(stdout, "\n %zu rising and %zu falling candidates:", rises.size(), falls.size());
    for (const Candidate& c : rises) printTo(stdout, " +%s", insertionText(c.insertion).c_str());
    for (const Candidate& c : falls) printTo(stdout, " -%s", insertionText(c.insertion).c_str());
  }
  std::vector<Pair> pairs;
  for (size_t i = 0; i < rises.size(); ++i)
    for (size_t j = 0; j < falls.size(); ++j)
      if (!structurallyExclusive(rises[i].insertion, falls[j].insertion))
        pairs.push_back({i, j, rises[i].score + falls[j].score});
  std::stable_sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.score < b.score; });
  for (size_t k = 0; k < pairs.size() && k < MaxProbes; ++k) {
    const Insertion& rise = rises[pairs[k].rise].insertion;
    const Insertion& fall = falls[pairs[k].fall].insertion;
    // A transition enabled from the start fixes the value the new signal starts with: it is
    // then excited towards h.
    bool start = startValue;
    if (rises[pairs[k].rise].initial) start = false;
    if (falls[pairs[k].fall].initial) start = true;
    std::unique_ptr<StgPrefix> trial = probe(task, h, support, rest, choice.latch, rise, fall, start);
    if (!trial) {
      if (verbosity >= 6)
        printTo(stdout, "\n Insertion {%s, %s}: %s", insertionText(rise).c_str(), insertionText(fall).c_str(),
                probeFailure_);
      continue;
    }
    if (verbosity >= 2)
      printTo(stdout, "\nThe computed best insertion {%s, %s}", insertionText(rise).c_str(), insertionText(fall).c_str());
    if (verbosity >= 1)
      printTo(stdout, "\n inserted signal %s for $1=%s in [%s]: %s; %s",
              insertedName_.c_str(), hText.c_str(), task.z->name.c_str(),
              insertionText(rise).c_str(), insertionText(fall).c_str());
    servedBy_[task.z->name].push_back(insertedName_);
    prefix_ = std::move(trial);
    ++inserted_;
    return true;
  }
  if (verbosity >= 2) printTo(stdout, "\nCannot insert a signal");
  return false;
}

bool LogicDecomposer::run() {
  std::string libraryName = runStrings.dataString;
  bool latches = options_["use_latches"] != 0;
  if (!setLibrary(libraryName, latches, options_["max_gate_inputs"], library_, gates_)) return false;
  for (const LibraryGate& g : gates_) (g.gate->latch ? context_.latches : context_.combinational).push_back(g.gate);
  context_.inverterArea = library_->inverterArea;
  if (!unfold()) return false;
  {
    QuietScope quiet;
    OptionMap options = options_;
    options["all_solutions"] = 0;
    options["min_cost"] = 0;
    inputDeadlocks_ = makeDeadlockMode<StgPrefix>(*prefix_, options)->run();
  }
  if (prefix_->outputsBegin == prefix_->dummiesBegin) {
    buildResults({});
    if (writeFiles) writeStg("nurex");
    return true;
  }
  for (uint32_t pass = 0; pass < passLimit; ++pass) {
    std::vector<Task> tasks;
    if (!derive(tasks)) return false;
    context_.firstFreeVariable = static_cast<uint32_t>(prefix_->signals.size());
    ensureBddVariables(context_.firstFreeVariable + 2);
    for (Task& task : tasks) mapSignal(task);
    std::vector<Task*> open;
    for (Task& task : tasks)
      if (!task.done) open.push_back(&task);
    if (open.empty()) {
      buildResults(tasks);
      if (writeFiles) writeStg("nurex");
      return true;
    }
    // The costliest signal first: it has the most to gain.
    std::stable_sort(open.begin(), open.end(), [](const Task* a, const Task* b) { return a->literals > b->literals; });
    bool progress = false;
    for (Task* task : open) {
      for (const SubFunctionChoice& h : subFunctionsOf(*task))
        if ((progress = insertSubFunction(*task, h))) break;
      if (raiseStatus(0) >= StatusError) return false;
      if (progress) break;
      if (verbosity >= 2) printTo(stdout, "\nNo decomposition for %s", task->z->name.c_str());
    }
    if (!progress) break;
    if (verbosity >= 1) printTo(stdout, "\n%zu new signal(s) inserted\n%s", inserted_, line('@').c_str());
    if (verbosity >= 3 && writeFiles) writeStg("nurex" + std::to_string(inserted_));
  }
  failed_ = true;
  reportError(FailedMessage);
  return false;
}

void LogicDecomposer::buildResults(const std::vector<Task>& tasks) {
  results_.clear();
  for (const Task& task : tasks) {
    auto impl = std::make_unique<mapping::SignalImplementation>();
    impl->signal = task.z;
    impl->area = task.network ? task.network->area : 0;
    impl->triggers = task.triggers;
    impl->context = task.context;
    const GateNetwork& n = *task.network;
    for (size_t k = 0; k < n.nodes.size(); ++k) {
      const GateNode& node = n.nodes[k];
      mapping::MappedGate gate;
      gate.gate = node.match.gate;
      gate.inverted = node.match.inverted;
      const GenlibGate& g = *node.match.gate;
      int next = g.nextInput();
      size_t data = 0;
      for (size_t i = 0; i < g.inputs.size(); ++i) {
        mapping::Pin pin;
        pin.name = g.inputs[i];
        if (static_cast<int>(i) == next) {
          pin.signal = task.z;
        } else {
          const GateMatchInput& in = node.match.inputs[data];
          int32_t feed = node.feeds[data];
          if (feed >= 0) pin.subFunction = feed - 1;
          else pin.signal = prefix_->signals[in.variable];
          pin.inverted = in.bubble;
          ++data;
        }
        gate.pins.push_back(std::move(pin));
      }
      if (node.cover.sequential) {
        gate.equation = task.equation;
        gate.setCover = task.setText;
        gate.resetCover = task.resetText;
      } else if (std::optional<SumOfProducts> sop = minimiseCover(node.cover)) {
        gate.equation = expressionText(*sop, prefix_->signals, ConstantStyle::Result);
      }
      if (k == 0) {
        if (g.latch && gate.setCover.empty() && task.hasLatchForm) {
          gate.setCover = task.setText;
          gate.resetCover = task.resetText;
        }
        if (!g.latch) gate.equation = task.equation;
        impl->top = std::move(gate);
      } else {
        impl->subFunctions.push_back(std::move(gate));
      }
    }
    results_.push_back(std::move(impl));
  }
}

std::string LogicDecomposer::report() const { return mapping::decompositionResult(results_, failed_); }

void LogicDecomposer::describe() {
  if (namesNetlist(runStrings.outputFileName))
    mapping::writeMappedNetlistFile(runStrings.outputFileName, *prefix_, results_, *library_, failed_);
  else
    writeResults(results_, report(), report());
}

void LogicDecomposer::describe_failure() {
  failed_ = true;
  results_.clear();
  if (namesNetlist(runStrings.outputFileName) && library_)
    mapping::writeMappedNetlistFile(runStrings.outputFileName, *prefix_, results_, *library_, true);
  else
    writeResults(results_, report(), report());
}

void LogicDecomposer::writeStg(const std::string& base) const {
  if (!saveStg(*prefix_, base + ".g")) return;
  writeNetPnml(static_cast<const Stg&>(*prefix_), base + ".pnml");
}

std::unique_ptr<SearchModeBase> makeLogicDecomposer(const StgPrefix& prefix, const OptionMap& options) {
  return std::make_unique<LogicDecomposer>(prefix, options);
}

}  // namespace nurex
