// The possible-extension search of one worker: partners of each new condition, their
// combination into co-sets that map onto a transition's preset, and the safety test.
#include "unfold/extension_search.h"

#include <algorithm>

#include "unfold/concurrency_relation.h"

namespace nurex {

CandidateQueue::~CandidateQueue() {
  for (auto& bucket : bySize_)
    for (Candidate* c : bucket) delete c;
}

void CandidateQueue::add(Candidate* candidate) {
  if (bySize_.size() <= candidate->size) bySize_.resize(candidate->size + 1);
  if (count_ == 0 || candidate->size < lowest_) lowest_ = candidate->size;
  bySize_[candidate->size].push_back(candidate);
  ++count_;
}

uint32_t CandidateQueue::smallestSize() {
  if (count_ == 0) return 0;
  while (bySize_[lowest_].empty()) ++lowest_;
  return lowest_;
}

void CandidateQueue::take(uint32_t size, std::vector<Candidate*>& out) {
  if (size >= bySize_.size()) return;
  std::vector<Candidate*>& bucket = bySize_[size];
  out.insert(out.end(), bucket.begin(), bucket.end());
  count_ -= static_cast<uint32_t>(bucket.size());
  std::vector<Candidate*>().swap(bucket);
}

void ExtensionWorker::prepare(const UnfoldState& state) {
  describer_.ensure(state);
  closure_.ensure(state);
  eventAnchor_.ensure(state);
  pairAnchor_.ensure(state);
  interesting_.ensure(state.net.places.size());
  if (buckets_.size() < state.net.places.size()) buckets_.resize(state.net.places.size());
}

ConfigurationSummary ExtensionWorker::summarize(const UnfoldState& state, const Candidate& candidate, int order) {
  summaryWalker_.ensure(state.events.size());
  summaryWalker_.walk(state, candidate.preset());
  return summarizeConfiguration(state, summaryWalker_.events(), &candidate, order);
}

void ExtensionWorker::fail(uint32_t position, std::string text) {
  if (position < errorPosition_) {
    errorPosition_ = position;
    errorText_ = std::move(text);
  }
}

void ExtensionWorker::emit(const UnfoldState& state, Transition* t, const std::vector<Condition*>& preset) {
  auto* candidate = new Candidate;
  candidate->transition = t;
  candidate->owner = state.newOwner();
  candidate->data.reserve(preset.size() + t->postset.size());
  for (const Condition* b : preset) candidate->data.push_back(b->index);
  std::sort(candidate->data.begin(), candidate->data.end());
  if (Place* twice = describer_.describe(state, *candidate)) {
    fail(position_, netNotSafe(twice->name, eventTrace(state, describer_.pastEvents(), {t})));
    delete candidate;
    return;
  }
  queue_.add(candidate);
}

void ExtensionWorker::seed(const UnfoldState& state) {
  prepare(state);
  position_ = 0;
  describer_.setBase(state, 0, state.initialCut.map(), NoIndex);
  for (Transition* t : state.net.transitions)
    if (t->preset.empty()) emit(state, t, std::vector<Condition*>{});
  for (uint32_t i = 0; i < state.initialCount; ++i)
    for (Transition* t : state.conditions[i]->place->postset) searchTransition(state, t, state.conditions[i]);
}

void ExtensionWorker::extend(const UnfoldState& state, uint32_t position) {
  prepare(state);
  position_ = position;
  Event* e = state.events[state.batchEventsBegin + position];
  const Candidate& own = *(*state.batch)[position];
  uint32_t index = e->index;
  describer_.setBase(state, own.size, own.cut, index);
  method_ = chooseMethod(state, e);
  switch (method_) {
    case CoMethod::Closure: {
      uint64_t work = closure_.compute(state, describer_.baseCut().conditions(), index);
      closureWork_ = (closureWork_ * 7 + work) / 8;
      break;
    }
    case CoMethod::Relation: closure_.read(state, e); break;
    case CoMethod::Plain: break;  // anchored for each test
  }
  // One anchor serves the safety test and the scan by place, so their walks share memos.
  if (method_ == CoMethod::Plain) eventAnchor_.anchorCut(describer_.baseCut());
  if (!checkSafety(state, e, own, position) || eventIsCutOff(e)) return;
  if (method_ != CoMethod::Plain) collectPartners(e);
  for (Condition* c : e->postset)
    for (Transition* t : c->place->postset) searchTransition(state, t, c);
}

// The closure costs about the size of the co-set and its consumers; the plain scan costs the
// conditions of the places concerned, each a short walk back to the cut of [e]. Both are
// exact, so the choice only changes the time taken: the closure unless the lists by place are
// short next to the recent closures of this worker. The scans read only the deeper ends of
// the lists, but the whole lengths measure them better: on nets with choices, the walks
// behind the conditions read cost more than the reads.
CoMethod ExtensionWorker::chooseMethod(const UnfoldState& state, const Event* e) const {
  CoMethod method = state.coMethod();
  if (method != CoMethod::Closure) return method;
  uint64_t plain = 0;
  for (const Condition* c : e->postset) {
    plain += 2 * state.placeConditions[c->place->index].size();
    for (const Transition* t : c->place->postset) {
      for (const Place* p : t->preset) plain += 2 * state.placeConditions[p->index].size();
      if (plain >= closureWork_) return CoMethod::Closure;
    }
  }
  return plain < closureWork_ ? CoMethod::Plain : CoMethod::Closure;
}

namespace {

// A partner x of the scan by place is the condition of the cut of [e] on its place, or deeper
// than the cut's entry there (ConfigurationAnchor::concurrent): the scan may start where the
// list first holds a deeper condition, and take the cut's condition apart if it lies before.
uint32_t partnerScanStart(const UnfoldState& state, uint32_t place, uint32_t entry) {
  if (entry == CutMap::None) return 0;
  return state.firstDeeper(place, state.conditionDepth(entry & ~CutMap::Consumed));
}

// The batch adds few conditions to a place, at the end of its list.
uint32_t sameBatchStart(const UnfoldState& state, uint32_t place) {
  const std::vector<Condition*>& list = state.placeConditions[place];
  size_t k = list.size();
  for (int steps = 0; k > 0 && list[k - 1]->index >= state.batchConditionsBegin; --k)
    if (++steps == 8) {
      auto first = std::lower_bound(list.begin(), list.begin() + k, state.batchConditionsBegin,
                                    [](const Condition* x, uint32_t b) { return x->index < b; });
      return static_cast<uint32_t>(first - list.begin());
    }
  return static_cast<uint32_t>(k);
}

// The run goes on only while the safety test passes, so every configuration of non-cut-off
// events of earlier batches is safe: two tokens in its cut would have been found when the
// later of their producers was extended. Let y on the place of c (from e) be concurrent with
// c, produced by f of an earlier batch or initial; ⌈e⌉ ∪ [f] is such a configuration and holds
// y in its cut. If e consumes from the place, its preset condition there is in that cut too,
// so y cannot exist. Otherwise a condition z on the place consumed in ⌈e⌉ by g has g in [f],
// or the configuration [f] ∪ ⌈g⌉ would hold z and y; so y is deeper than z. Conditions of the
// same batch remain, at the end of the list.
uint32_t safetyScanStart(const UnfoldState& state, const Event* e, uint32_t place, const Candidate& own) {
  uint32_t sameBatch = sameBatchStart(state, place);
  for (const Place* p : e->transition->preset)
    if (p->index == place) return sameBatch;
  uint32_t entry = own.cut.get(place);
  if (entry == CutMap::None) return 0;
  return std::min(sameBatch, state.firstDeeper(place, state.conditionDepth(entry & ~CutMap::Consumed)));
}

}  // namespace

// A condition of the same place concurrent with a new one means a reachable marking with
// two tokens there. The witness with the lowest number is reported, with a run to it.
bool ExtensionWorker::checkSafety(const UnfoldState& state, Event* e, const Candidate& own, uint32_t position) {
  for (Condition* c : e->postset) {
    Condition* witness = nullptr;
    if (method_ != CoMethod::Plain) {
      if (closure_.coversPlace(c->place))
        for (Condition* x : closure_.members())
          if (x->place == c->place && (!witness || x->index < witness->index)) witness = x;
    } else {
      uint32_t place = c->place->index;
      const std::vector<Condition*>& same = state.placeConditions[place];
      for (size_t i = safetyScanStart(state, e, place, own); i < same.size(); ++i)
        if (same[i]->producer != e && eventAnchor_.concurrentOnOwnPlace(state, same[i])) {
          witness = same[i];
          break;
        }
    }
    if (witness) {
      std::vector<Event*> run = localConfiguration(e);
      if (witness->producer)
        for (Event* g : localConfiguration(witness->producer))
          if (std::find(run.begin(), run.end(), g) == run.end()) run.push_back(g);
      fail(position, netNotSafe(c->place->name, eventTrace(run)));
      return false;
    }
  }
  return true;
}

// The closure members that lie on a place of some transition that the new postset may
// enable, by place, from non-cut-off producers. In index order, as a scan by place would
// give them, so that the first error found does not depend on the method.
void ExtensionWorker::collectPartners(Event* e) {
  interesting_.next();
  for (Condition* c : e->postset)
    for (Transition* t : c->place->postset)
      for (Place* p : t->preset) interesting_.mark(p->index);
  for (uint32_t p : filledBuckets_) buckets_[p].clear();
  filledBuckets_.clear();
  for (Condition* x : closure_.members()) {
    uint32_t p = x->place->index;
    if (!interesting_.has(p) || (x->producer && eventIsCutOff(x->producer))) continue;
    if (buckets_[p].empty()) filledBuckets_.push_back(p);
    buckets_[p].push_back(x);
  }
  for (uint32_t p : filledBuckets_)
    std::sort(buckets_[p].begin(), buckets_[p].end(), [](Condition* a, Condition* b) { return a->index < b->index; });
}

// In the scan by place, x (numbered below the new condition) may join it in a preset: it is
// concurrent with the new postset of e and its producer is no cut-off. All initial
// conditions are partners of each other.
bool ExtensionWorker::isPartner(const UnfoldState& state, Event* e, Condition* x) {
  if (e == nullptr) return x->producer == nullptr;
  if (x->producer && eventIsCutOff(x->producer)) return false;
  return eventAnchor_.concurrent(state, x);
}

bool ExtensionWorker::pairConcurrent(const UnfoldState& state, const Condition* x, const Condition* y) {
  if (state.relation) return state.relation->concurrent(x, y);
  return pairAnchor_.concurrent(state, y);
}

// Each co-set is found once: from its highest-numbered condition, when that condition is new.
void ExtensionWorker::searchTransition(const UnfoldState& state, Transition* t, Condition* c) {
  size_t others = t->preset.size() - 1;
  if (others == 0) {
    chosen_.assign(1, c);
    emit(state, t, chosen_);
    return;
  }
  if (lists_.size() < others) lists_.resize(others);
  std::vector<std::vector<Condition*>>& first = lists_[0];
  first.resize(others);
  Event* e = c->producer;
  size_t k = 0;
  for (Place* p : t->preset) {
    if (p == c->place) continue;
    std::vector<Condition*>& list = first[k++];
    list.clear();
    if (e && method_ != CoMethod::Plain) {
      for (Condition* x : buckets_[p->index])
        if (x->index < c->index) list.push_back(x);
      for (Condition* y : e->postset)
        if (y->place == p && y->index < c->index) list.push_back(y);
    } else if (!e) {
      for (Condition* x : state.placeConditions[p->index]) {
        if (x->index >= c->index) break;
        if (isPartner(state, e, x)) list.push_back(x);
      }
    } else {
      const std::vector<Condition*>& all = state.placeConditions[p->index];
      uint32_t entry = describer_.baseCut().map().get(p->index);
      size_t i = partnerScanStart(state, p->index, entry);
      if (CutMap::marks(entry) && entry < c->index && (i == all.size() || entry < all[i]->index))
        list.push_back(state.conditions[entry]);
      for (; i < all.size() && all[i]->index < c->index; ++i)
        if (isPartner(state, e, all[i])) list.push_back(all[i]);
    }
    if (list.empty()) return;
  }
  chosen_.clear();
  chosen_.push_back(c);
  combine(state, t, c, 0);
}

void ExtensionWorker::combine(const UnfoldState& state, Transition* t, Condition* c, size_t level) {
  std::vector<std::vector<Condition*>>& current = lists_[level];
  if (current.size() == 1) {
    for (Condition* x : current[0]) {
      chosen_.push_back(x);
      emit(state, t, chosen_);
      chosen_.pop_back();
    }
    return;
  }
  for (Condition* x : current[0]) {
    std::vector<std::vector<Condition*>>& next = lists_[level + 1];
    next.resize(current.size() - 1);
    if (!state.relation) pairAnchor_.anchorCondition(state, x);
    bool open = true;
    for (size_t j = 1; j < current.size() && open; ++j) {
      next[j - 1].clear();
      for (Condition* y : current[j])
        if (pairConcurrent(state, x, y)) next[j - 1].push_back(y);
      open = !next[j - 1].empty();
    }
    if (!open) continue;
    chosen_.push_back(x);
    combine(state, t, c, level + 1);
    chosen_.pop_back();
  }
}

}  // namespace nurex
