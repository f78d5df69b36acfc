// The SAT checkers of non-local correspondents and their parallel pass.
#include "unfold/correspondent_search.h"

#include <algorithm>

#include "platform/reporter.h"
#include "sat/configuration.h"
#include "unfold/adequate_order.h"
#include "unfold/local_configuration.h"

namespace nurex {

// One thread's formula: the configuration encoding of the prefix as built so far, over a
// prefix object that borrows the run's nodes without owning them.
class CorrespondentChecker {
 public:
  explicit CorrespondentChecker(const UnfoldState& state) : state_(state) {}
  ~CorrespondentChecker() { releaseView(); }

  // Encodes the prefix again if it has grown since the last encoding.
  void prepare();
  // A configuration with the marking of [e] below [e]: its maximal events go to `maximal`.
  bool check(const Candidate& candidate, std::vector<Event*>& maximal);

 private:
  void releaseView() {
    variables_.reset();
    formula_.reset();
    view_.places.release();
    view_.transitions.release();
    view_.conditions.release();
    view_.events.release();
  }
  bool below(const std::vector<Event*>& configuration, const Candidate& candidate,
             const ConfigurationSummary& summary) const;
  static std::vector<uint32_t> numbers(const std::vector<Event*>& events) {
    std::vector<uint32_t> out;
    for (const Event* e : events) out.push_back(e->index);
    return out;
  }
  static std::vector<Event*> maximalEvents(const std::vector<Event*>& configuration);

  static constexpr int MarkingGroup = 1;
  const UnfoldState& state_;
  PetriNetPrefix view_;
  std::unique_ptr<SatFormula> formula_;
  std::unique_ptr<ConfigurationVariables<PetriNetPrefix>> variables_;
  uint32_t encodedEvents_ = NoIndex;
  PastWalker walker_;
};

void CorrespondentChecker::prepare() {
  if (encodedEvents_ == state_.events.size()) return;
  releaseView();
  view_.places.raw().assign(state_.net.places.begin(), state_.net.places.end());
  view_.transitions.raw().assign(state_.net.transitions.begin(), state_.net.transitions.end());
  view_.conditions.raw().assign(state_.conditions.begin(), state_.conditions.end());
  view_.events.raw().assign(state_.events.begin(), state_.events.end());
  formula_ = std::make_unique<SatFormula>(state_.options.solver, false, false);
  variables_ = std::make_unique<ConfigurationVariables<PetriNetPrefix>>(*formula_, view_, false);
  variables_->encode_base(PermanentGroup, false, false);
  encodedEvents_ = state_.events.size();
}

bool CorrespondentChecker::below(const std::vector<Event*>& configuration, const Candidate& candidate,
                                 const ConfigurationSummary& summary) const {
  int order = state_.options.order;
  if (order == 0) {
    if (configuration.size() >= candidate.size) return false;
    return std::all_of(configuration.begin(), configuration.end(), [&](Event* f) { return walker_.contains(f); });
  }
  return compareConfigurations(order, summarizeConfiguration(state_, numbers(configuration), nullptr, order),
                               summary) < 0;
}

std::vector<Event*> CorrespondentChecker::maximalEvents(const std::vector<Event*>& configuration) {
  std::vector<Event*> causes;
  for (Event* e : configuration)
    for (Condition* b : e->preset)
      if (b->producer) causes.push_back(b->producer);
  std::sort(causes.begin(), causes.end());
  std::vector<Event*> out;
  for (Event* e : configuration)
    if (!std::binary_search(causes.begin(), causes.end(), e)) out.push_back(e);
  std::sort(out.begin(), out.end(), [](Event* a, Event* b) { return a->index < b->index; });
  return out;
}

// Enumerates the configurations with the marking of [e]; each one that is not below [e]
// is excluded by a clause over the event variables, until one is below or none is left.
bool CorrespondentChecker::check(const Candidate& candidate, std::vector<Event*>& maximal) {
  walker_.ensure(state_.events.size());
  walker_.walk(state_, candidate.preset());
  ConfigurationSummary summary = summarizeConfiguration(state_, walker_.events(), &candidate, state_.options.order);
  formula_->recreate_group(MarkingGroup);
  std::vector<bool> inMarking(state_.net.places.size(), false);
  for (uint32_t p : candidate.markingPlaces()) inMarking[p] = true;
  for (Place* p : state_.net.places) {
    Literal marked = variables_->place_marked(p, inMarking[p->index] ? 1 : -1);
    formula_->add_unit(inMarking[p->index] ? marked : negate(marked), MarkingGroup);
  }
  std::vector<Literal> projection, blocking;
  variables_->projection(projection);
  while (formula_->solve()) {
    std::vector<Event*> configuration = variables_->events_in_model();
    if (below(configuration, candidate, summary)) {
      maximal = maximalEvents(configuration);
      return true;
    }
    blocking.clear();
    for (Literal l : projection) blocking.push_back(formula_->is_true(l) ? negate(l) : l);
    formula_->add_clause(blocking, MarkingGroup);
    if (blocking.empty()) break;
  }
  return false;
}

CorrespondentSearch::CorrespondentSearch(const UnfoldState& state, unsigned threads) : state_(state) {
  for (unsigned i = 0; i < threads; ++i) checkers_.push_back(std::make_unique<CorrespondentChecker>(state));
}

CorrespondentSearch::~CorrespondentSearch() = default;

bool CorrespondentSearch::run(WorkerPool& pool, const std::vector<Candidate*>& batch,
                              std::vector<CutOffDecision>& decisions) {
  std::vector<uint32_t> open;
  for (uint32_t i = 0; i < batch.size(); ++i)
    if (decisions[i].kind == CutOffDecision::NotCutOff && state_.mayBeCutOff[batch[i]->transition->index])
      open.push_back(i);
  if (open.empty()) return true;
  uint32_t count = static_cast<uint32_t>(open.size());
  std::vector<std::vector<Event*>> found(count);
  std::vector<uint8_t> isCutOff(count, 0);
  pool.run(CommandCorrespondent, count, [&](unsigned worker, uint32_t item) {
    CorrespondentChecker& checker = *checkers_[worker];
    checker.prepare();
    uint32_t k = count - item;
    isCutOff[k] = checker.check(*batch[open[k]], found[k]);
  });
  if (raiseStatus(0) >= StatusError) return false;
  for (uint32_t k = 0; k < count; ++k)
    if (isCutOff[k]) {
      decisions[open[k]].kind = CutOffDecision::NonLocal;
      decisions[open[k]].maximal = std::move(found[k]);
    }
  return true;
}

}  // namespace nurex
