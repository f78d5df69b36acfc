// The main loop of the unfolder.
#include "unfold/unfold_engine.h"

#include <algorithm>
#include <map>

#include "platform/reporter.h"
#include "platform/stop_request.h"
#include "platform/system.h"
#include "unfold/adequate_order.h"
#include "unfold/concurrency_relation.h"
#include "unfold/correspondent_search.h"

namespace nurex {

namespace {

std::string dummyCycleText(const std::string& trace) {
  return "the unfolding is infinite: a cycle of dummy transitions is reachable; trace:\n" + trace;
}

// Of two markings of one size, one holds the other only if they are equal. Cuts as trees
// are compared by their differences, which skip what the two share.
bool sameCandidateMarking(const Candidate& a, const Candidate& b) {
  if (a.markingSize() != b.markingSize()) return false;
  if (!a.cut.isArray()) return sameMarking(a.cut, a.transition, b.cut, b.transition);
  bool same = true;
  a.cut.forEach([&](uint32_t p, uint32_t) { same = same && b.marks(p); });
  for (const Place* p : a.transition->postset) same = same && b.marks(p->index);
  return same;
}

void printAbandoned() {
  if (verbosity >= 2) printTo(stdout, "\n The concurrency relation is abandoned\n");
}

}  // namespace

Unfolder::Unfolder(PetriNet& net, const UnfoldOptions& options, std::vector<uint8_t> mayBeCutOff)
    : state_(net, options),
      workers_(std::max(1, options.number_of_threads)),
      pool_(static_cast<unsigned>(std::max(1, options.number_of_threads))) {
  state_.mayBeCutOff = std::move(mayBeCutOff);
  state_.placeConditions.resize(net.places.size());
  state_.placeDepthMax.resize(net.places.size());
}

Unfolder::~Unfolder() {
  for (Candidate* c : batch_) delete c;
}

void Unfolder::takeResult(NodeList<Condition>& conditions, NodeList<Event>& events) {
  conditions = std::move(state_.conditions);
  events = std::move(state_.events);
}

// Initial conditions, in place order; the empty configuration's marking; the relation;
// the first possible extensions.
bool Unfolder::start() {
  PetriNet& net = state_.net;
  for (Place* p : net.places) {
    if (p->tokens > 1) {
      fail(netNotSafe(p->name, ""));
      return false;
    }
    if (p->tokens == 0) continue;
    auto* c = new Condition;
    c->place = p;
    state_.conditions.add(c);
    state_.addPlaceCondition(c);
    state_.conditionPlace.push_back(p->index);
    state_.conditionProducer.push_back(NoIndex);
    state_.pivotFirst.push_back(NoIndex);
    state_.chain.push_back({1, NoIndex, c->index});
    state_.conditionWeight.push_back(0);
  }
  state_.initialCount = state_.conditions.size();
  state_.weightsCountEvents = std::none_of(net.transitions.begin(), net.transitions.end(),
                                           [](const Transition* t) { return t->postset.empty(); });
  state_.keepCuts = state_.weightsCountEvents && state_.options.keep_cuts == 1;
  CutMap initialCut(static_cast<uint32_t>(net.places.size()), &state_.conditionWeight);
  initialCut.setOwner(UnfoldState::InitialOwner);
  for (uint32_t b = 0; b < state_.initialCount; ++b) initialCut.set(state_.conditionPlace[b], b);
  state_.initialCut = PinnedCut(std::move(initialCut));
  state_.postsetBegin.assign(1, state_.initialCount);
  if (state_.initialCount == 0) warn("the initial marking is empty");
  // A transition without preset can fire any number of times.
  for (Transition* t : net.transitions)
    if (t->preset.empty() && !t->postset.empty()) {
      fail(netNotSafe(t->postset[0]->name, eventTrace({}, {t, t})));
      return false;
    }
  const CutMap& initial = state_.initialCut.map();
  MarkingTable::Record& empty =
      table_.insert(finishHash(initial.sum()), initial.size(), [](const MarkingTable::Record&) { return false; });
  empty.emptyConfiguration = true;
  keepMarking(empty, initial, nullptr);
  if (state_.options.conc_rel_size > 0) {
    state_.relation = std::make_unique<ConcurrencyRelation>(state_.conditions, state_.events,
                                                            static_cast<uint32_t>(state_.options.conc_rel_size));
    state_.relation->setInitialRow(state_.initialCount);
  }
  if (state_.options.non_local_correspondents) correspondents_ = std::make_unique<CorrespondentSearch>(state_, pool_.threads());
  workers_[0].seed(state_);
  return !reportWorkerError();
}

bool Unfolder::fetchBatch() {
  uint32_t smallest = 0;
  for (ExtensionWorker& w : workers_) {
    uint32_t s = w.queue().smallestSize();
    if (s && (!smallest || s < smallest)) smallest = s;
  }
  if (!smallest) return false;
  currentSize_ = smallest;
  for (ExtensionWorker& w : workers_) w.queue().take(smallest, batch_);
  return true;
}

// Which worker found an extension depends on timing; the order of the batch must not.
// Transition, then preset, identifies an event. The transition and the first three preset
// conditions, side by side with the candidate, mostly decide without reading it (the first
// alone did not on nets whose events share old conditions, such as readers and writers).
void Unfolder::sortBatch() {
  sortKeys_.clear();
  for (Candidate* c : batch_) {
    std::span<const uint32_t> preset = c->preset();
    auto at = [&](size_t k) -> uint64_t { return k < preset.size() ? preset[k] : 0; };
    sortKeys_.push_back({uint64_t(c->transition->index) << 32 | at(0), at(1) << 32 | at(2), c});
  }
  std::sort(sortKeys_.begin(), sortKeys_.end(), [](const SortKey& a, const SortKey& b) {
    if (a.key != b.key) return a.key < b.key;
    if (a.next != b.next) return a.next < b.next;
    std::span<const uint32_t> x = a.candidate->preset(), y = b.candidate->preset();
    return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end());
  });
  for (size_t i = 0; i < batch_.size(); ++i) batch_[i] = sortKeys_[i].candidate;
}

// An event of a dummy that may not be a cut-off, whose marking was reached before in its
// own past by a run of such events only, lies on a cycle that would unfold for ever.
bool Unfolder::checkDummyCycle(const Candidate& candidate, const MarkingTable::Record& record) {
  walker_.walk(state_, candidate.preset());
  std::vector<uint32_t> past = walker_.events();
  auto onlyDummiesAbove = [&](Event* f) {
    std::vector<Event*> below = f ? localConfiguration(f) : std::vector<Event*>{};
    for (uint32_t g : past)
      if (!std::binary_search(below.begin(), below.end(), state_.events[g],
                              [](Event* a, Event* b) { return a->index < b->index; }) &&
          state_.mayBeCutOff[state_.eventTransition[g]])
        return false;
    return true;
  };
  bool cycle = record.emptyConfiguration && onlyDummiesAbove(nullptr);
  for (uint32_t f = record.first; f != NoIndex && !cycle; f = table_.nextEvent(f))
    if (walker_.contains(f)) cycle = onlyDummiesAbove(state_.events[f]);
  if (!cycle) return true;
  fail(dummyCycleText(eventTrace(state_, past, {candidate.transition})));
  return false;
}

// Hash and size agree, so the markings are equal when the candidate marks every place of
// the record's. Without kept places the record's marking is that of its first event, and
// comparing costs a walk of its local configuration.
bool Unfolder::sameAsRecord(const Candidate& candidate, const MarkingTable::Record& record) {
  if (record.places != MarkingTable::NoPlaces) {
    for (uint32_t p : table_.keptPlaces(record))
      if (!candidate.marks(p)) return false;
    return true;
  }
  comparer_.ensure(state_);
  return comparer_.same(state_, record.emptyConfiguration ? NoIndex : record.first, candidate);
}

uint32_t Unfolder::findMarking(const Candidate& candidate, uint64_t key) {
  return table_.find(key, candidate.markingSize(),
                     [&](const MarkingTable::Record& r) { return sameAsRecord(candidate, r); });
}

// A state of an STG counts only after runs with no dummy occurrence pending. The local
// configuration of a dummy event ends with that event pending, so it must not serve as the
// correspondent of a signal event with the same marking: the states beyond the cut-off would
// be held by the prefix only after a pending dummy. Dummy events therefore keep records of
// their own, under a key set apart from the hash.
uint64_t Unfolder::tableKey(const Candidate& candidate) const {
  constexpr uint64_t PendingDummy = 0x9E3779B97F4A7C15ull;
  return state_.mayBeCutOff[candidate.transition->index] ? candidate.hash : candidate.hash ^ PendingDummy;
}

// Every event of an earlier batch has a smaller local configuration; except under order 0,
// which also asks for inclusion, it is below the candidate.
bool Unfolder::decideFromTable(uint32_t position) {
  const Candidate& candidate = *batch_[position];
  if (!state_.mayBeCutOff[candidate.transition->index]) {
    // A cycle of dummies may return to a marking first reached by a signal event or by one.
    for (uint64_t key : {candidate.hash, tableKey(candidate)})
      if (uint32_t r = findMarking(candidate, key); r != MarkingTable::NoRecord && !checkDummyCycle(candidate, table_.record(r)))
        return false;
    return true;
  }
  uint32_t found = findMarking(candidate, tableKey(candidate));
  if (found == MarkingTable::NoRecord) return true;
  MarkingTable::Record* record = &table_.record(found);
  Decision& d = decisions_[position];
  if (record->emptyConfiguration) {
    d.kind = Decision::Initial;
    return true;
  }
  if (state_.options.order == 0) {
    walker_.walk(state_, candidate.preset());
    for (uint32_t f = record->first; f != NoIndex; f = table_.nextEvent(f))
      if (walker_.contains(f)) {
        d.kind = Decision::Earlier;
        d.earlier = state_.events[f];
        return true;
      }
    return true;
  }
  if (record->first != NoIndex) {
    d.kind = Decision::Earlier;
    d.earlier = state_.events[record->first];
  }
  return true;
}

// Events of one batch have equal sizes; orders 2 to 4 may still rank two of them with the
// same marking, and then the lower is the correspondent of the higher.
void Unfolder::decideWithinBatch() {
  int order = state_.options.order;
  if (order < 2) return;
  // The open events grouped by table key; a run of equal keys is split by marking, in batch order.
  std::vector<std::pair<uint64_t, uint32_t>> keyed;
  for (uint32_t i = 0; i < batch_.size(); ++i)
    if (decisions_[i].kind == Decision::NotCutOff) keyed.emplace_back(tableKey(*batch_[i]), i);
  std::sort(keyed.begin(), keyed.end());
  std::vector<std::vector<uint32_t>> groups;
  for (size_t begin = 0, end; begin < keyed.size(); begin = end) {
    for (end = begin + 1; end < keyed.size() && keyed[end].first == keyed[begin].first;) ++end;
    if (end - begin < 2) continue;
    size_t first = groups.size();
    for (size_t k = begin; k < end; ++k) {
      uint32_t i = keyed[k].second;
      size_t g = first;
      while (g < groups.size() && !sameCandidateMarking(*batch_[groups[g][0]], *batch_[i])) ++g;
      if (g == groups.size()) groups.emplace_back();
      groups[g].push_back(i);
    }
  }
  std::vector<uint32_t> compared;
  for (const auto& group : groups)
    if (group.size() > 1) compared.insert(compared.end(), group.begin(), group.end());
  if (compared.empty()) return;
  // The summaries need walks of [e]; they are the parallel part of the cut-off check.
  // Parikh vectors first: the finer orders only matter where they tie.
  std::vector<ConfigurationSummary> summaries(batch_.size());
  uint32_t count = static_cast<uint32_t>(compared.size());
  pool_.run(CommandCorrespondent, count, [&](unsigned worker, uint32_t item) {
    uint32_t i = compared[count - item];
    summaries[i] = workers_[worker].summarize(state_, *batch_[i], std::min(order, 2));
  });
  for (const auto& group : groups)
    if (group.size() > 1) decideGroup(group, summaries);
}

// The lowest of a group with one marking corresponds to every member above it. The
// summaries hold Parikh vectors; the members that tie with the lowest on them are
// summarised again as the order asks.
void Unfolder::decideGroup(const std::vector<uint32_t>& members, std::vector<ConfigurationSummary>& summaries) {
  int order = state_.options.order;
  int coarse = std::min(order, 2);
  uint32_t lowest = members[0];
  for (uint32_t i : members)
    if (compareConfigurations(coarse, summaries[i], summaries[lowest]) < 0) lowest = i;
  std::vector<uint32_t> tied;
  for (uint32_t i : members)
    if (compareConfigurations(coarse, summaries[i], summaries[lowest]) == 0) tied.push_back(i);
  if (order > coarse && tied.size() > 1) {
    for (uint32_t i : tied) {
      walker_.walk(state_, batch_[i]->preset());
      summaries[i] = summarizeConfiguration(state_, walker_.events(), batch_[i], order);
    }
    lowest = tied[0];
    for (uint32_t i : tied)
      if (compareConfigurations(order, summaries[i], summaries[lowest]) < 0) lowest = i;
  }
  for (uint32_t i : members) {
    if (i == lowest || !state_.mayBeCutOff[batch_[i]->transition->index]) continue;
    bool tie = std::find(tied.begin(), tied.end(), i) != tied.end();
    if (compareConfigurations(tie ? order : coarse, summaries[lowest], summaries[i]) < 0) {
      decisions_[i].kind = Decision::SameBatch;
      decisions_[i].position = lowest;
    }
  }
}

// The buckets of a large table are far apart: each is fetched a few candidates before it is
// read, so that the waits overlap.
void Unfolder::prefetchBucket(uint32_t position) const {
  if (position < batch_.size()) table_.prefetch(tableKey(*batch_[position]));
}

bool Unfolder::decideCutOffs() {
  decisions_.assign(batch_.size(), Decision{});
  walker_.ensure(state_.events.size());
  for (uint32_t i = 0; i < PrefetchAhead; ++i) prefetchBucket(i);
  for (uint32_t i = 0; i < batch_.size(); ++i) {
    prefetchBucket(i + PrefetchAhead);
    if (!decideFromTable(i)) return false;
  }
  decideWithinBatch();
  return true;
}

void Unfolder::printRunningStatistics() const {
  uint32_t queued = 0;
  for (const ExtensionWorker& w : workers_) queued += const_cast<ExtensionWorker&>(w).queue().count();
  printTo(stdout, "\n|B|=%u |E|=%u |C|=%u |Q|=%u |[e]|=%u |SP|/|Si|=%u/%u", state_.conditions.size(),
          state_.events.size(), cutOffCount_, queued, currentSize_, sliceCount_, static_cast<uint32_t>(batch_.size()));
}

void Unfolder::dropRelation() {
  if (!state_.relation) return;
  if (state_.options.print_statistics)
    printTo(stdout, "\nConcurrency relation: |V|=%u |E|=%llu", state_.relation->nodeCount(),
            static_cast<unsigned long long>(state_.relation->edgeCount()));
  state_.relation.reset();
  printAbandoned();
}

// Numbers, lists and arcs of the batch; the marking table learns the non-cut-offs. The
// postsets of cut-offs are never extended, so they stay out of the lists by place.
void Unfolder::commit() {
  state_.batchEventsBegin = state_.events.size();
  state_.batchConditionsBegin = state_.conditions.size();
  state_.batch = &batch_;
  state_.batchExtended.clear();
  for (uint32_t i = 0; i < batch_.size(); ++i) commitEvent(i);
  recordMarkings();
  noteConsumers(state_);
}

// The conditions of a batch lie all over the prefix; fetching those of the event after next
// hides the wait for them.
void Unfolder::commitEvent(uint32_t i) {
  if (i + 2 < batch_.size())
    for (uint32_t b : batch_[i + 2]->preset()) __builtin_prefetch(state_.conditions[b]);
  const Candidate* candidate = batch_[i];
  auto* e = new Event;
  e->transition = candidate->transition;
  state_.events.add(e);
  for (uint32_t b : candidate->preset()) {
    Condition* c = state_.conditions[b];
    e->preset.push_back(c);
    c->postset.push_back(e);
    state_.presetConditions.push_back(b);
    if (uint32_t g = state_.conditionProducer[b]; g != NoIndex) state_.producers.push_back(g);
  }
  // Distinct producers: a producer's postset conditions are numbered together.
  auto first = state_.producers.begin() + state_.producerBegin.back();
  std::sort(first, state_.producers.end());
  state_.producers.erase(std::unique(first, state_.producers.end()), state_.producers.end());
  state_.producerBegin.push_back(static_cast<uint32_t>(state_.producers.size()));
  state_.presetBegin.push_back(static_cast<uint32_t>(state_.presetConditions.size()));
  state_.eventDepth.push_back(candidate->depth);
  sizeSum_ += candidate->size;
  state_.eventTransition.push_back(candidate->transition->index);
  bool cutOff = decisions_[i].kind != Decision::NotCutOff;
  state_.pivotNext.push_back(NoIndex);
  if (!cutOff && !candidate->preset().empty()) {
    uint32_t pivot = candidate->preset().back();
    state_.pivotNext.back() = state_.pivotFirst[pivot];
    state_.pivotFirst[pivot] = e->index;
  }
  std::span<const uint32_t> entries = candidate->postsetEntries();
  for (Place* p : candidate->transition->postset) {
    auto* c = new Condition;
    c->producer = e;
    c->place = p;
    state_.conditions.add(c);
    state_.conditionPlace.push_back(p->index);
    state_.conditionProducer.push_back(e->index);
    state_.pivotFirst.push_back(NoIndex);
    if (!cutOff) state_.addPlaceCondition(c);
    e->postset.push_back(c);
    linkChain(c->index, entries[e->postset.size() - 1], e->postset.size() == 1);
  }
  state_.postsetBegin.push_back(state_.conditions.size());
  if (!cutOff) state_.batchExtended.push_back(i);
  if (!state_.keepCuts) return;
  state_.eventCut.resize(e->index);
  state_.eventCut.push_back(!cutOff && !candidate->cut.isArray() ? candidate->cut : CutMap());
  if (!cutOff) {
    if (state_.ownerEvent.size() <= candidate->owner) state_.ownerEvent.resize(candidate->owner + 1, NoIndex);
    state_.ownerEvent[candidate->owner] = e->index;
  }
}

// Walking what a candidate adds to its base costs about the events added; merging the kept
// cuts of its preset's producers costs what their owners cannot decide, and keeping the
// cuts costs memory. Cuts are kept, for good, once the walks over tree cuts have shown to
// add many events each (long pipelines: about a sixth of their stages).
void Unfolder::considerKeepingCuts() {
  if (state_.keepCuts || !state_.weightsCountEvents || state_.options.keep_cuts == 0) return;
  uint64_t walks = 0, added = 0;
  for (ExtensionWorker& w : workers_) {
    walks += w.describer().treeWalks();
    added += w.describer().treeWalkAdded();
  }
  if (walks >= KeepCutsAfterWalks && added >= KeepCutsAdded * walks) state_.keepCuts = true;
}

// A new condition continues the chain that its producer's cut ends on its place (the entry
// there is consumed or absent, or the net would not be safe). Jump pointers after Myers'
// skew-binary random-access lists: an ancestor is found in logarithmic steps.
void Unfolder::linkChain(uint32_t b, uint32_t entry, bool first) {
  std::vector<ChainLink>& chain = state_.chain;
  uint32_t parent = entry == CutMap::None ? NoIndex : entry & ~CutMap::Consumed;
  uint32_t weight = first ? 1 : 0;
  if (parent == NoIndex) {
    chain.push_back({1, NoIndex, b});
  } else {
    const ChainLink& up = chain[parent];
    const ChainLink& upJump = chain[up.jump];
    bool skip = up.index - upJump.index == upJump.index - chain[upJump.jump].index;
    chain.push_back({up.index + 1, parent, skip ? upJump.jump : parent});
    weight += state_.conditionWeight[parent];
  }
  state_.conditionWeight.push_back(weight);
}

// The marking table learns the non-cut-offs, and cut-offs get their correspondents.
void Unfolder::recordMarkings() {
  for (uint32_t i = 0; i < PrefetchAhead; ++i) prefetchBucket(i);
  for (uint32_t i = 0; i < batch_.size(); ++i) {
    prefetchBucket(i + PrefetchAhead);
    Event* e = state_.events[state_.batchEventsBegin + i];
    const Decision& d = decisions_[i];
    switch (d.kind) {
      case Decision::NotCutOff: {
        const Candidate& c = *batch_[i];
        MarkingTable::Record& record = table_.insert(
            tableKey(c), c.markingSize(), [&](const MarkingTable::Record& r) { return sameAsRecord(c, r); });
        if (record.first == NoIndex) keepMarking(record, c.cut, c.transition);
        table_.addEvent(record, e->index);
        continue;
      }
      case Decision::Initial: e->correspondent.setInitialState(); break;
      case Decision::Earlier: e->correspondent.setEvent(d.earlier); break;
      case Decision::SameBatch: e->correspondent.setEvent(state_.events[state_.batchEventsBegin + d.position]); break;
      case Decision::NonLocal: e->correspondent.setCorrespondents(d.maximal); break;
    }
    ++cutOffCount_;
  }
}

// The cut's places come in order; each of the few postset places (of t, if any) is put in
// its place.
void Unfolder::keepMarking(MarkingTable::Record& record, const CutMap& cut, const Transition* t) {
  if (record.size > MarkingTable::KeptPlacesLimit) return;
  markingPlaces_.clear();
  cut.forEach([this](uint32_t p, uint32_t) { markingPlaces_.push_back(p); });
  if (t)
    for (const Place* p : t->postset)
      markingPlaces_.insert(std::upper_bound(markingPlaces_.begin(), markingPlaces_.end(), p->index), p->index);
  table_.keep(record, markingPlaces_);
}

void Unfolder::fail(const std::string& text) const {
  if (!state_.options.quiet) reportError(text);
}

void Unfolder::warn(const std::string& text) const {
  if (!state_.options.quiet) reportWarning(text);
}

bool Unfolder::reportWorkerError() {
  const ExtensionWorker* first = nullptr;
  for (const ExtensionWorker& w : workers_)
    if (w.hasError() && (!first || w.errorPosition() < first->errorPosition())) first = &w;
  if (!first) return false;
  fail(first->errorText());
  for (ExtensionWorker& w : workers_) w.clearError();
  return true;
}

// Only non-cut-off events are extended. If the net is not safe, some configuration free
// of cut-offs marks a place twice (shift each cut-off to its correspondent), so the safety
// test too needs no more than the postsets of non-cut-offs.
bool Unfolder::extendBatch() {
  const std::vector<uint32_t>& extended = state_.batchExtended;
  uint32_t count = static_cast<uint32_t>(extended.size());
  if (state_.relation) {
    state_.relation->growRows(state_.events.size());
    pool_.run(CommandRelation, count, [this, &extended, count](unsigned worker, uint32_t item) {
      uint32_t position = extended[count - item];
      std::vector<uint32_t> cut;
      batch_[position]->cut.forEach([&](uint32_t, uint32_t b) { cut.push_back(b); });
      state_.relation->computeRow(state_.events[state_.batchEventsBegin + position], cut,
                                  workers_[worker].rowScratch());
    });
  }
  // A candidate is done with once its event is extended; the worker frees it.
  pool_.run(CommandExtend, count, [this, &extended, count](unsigned worker, uint32_t item) {
    uint32_t position = extended[count - item];
    workers_[worker].extend(state_, position);
    delete batch_[position];
    batch_[position] = nullptr;
  });
  return !reportWorkerError() && raiseStatus(0) < StatusError;
}

bool Unfolder::runCorrespondentSearch() {
  if (!correspondents_) return true;
  return correspondents_->run(pool_, batch_, decisions_);
}

bool Unfolder::run() {
  startTime_ = monotonicSeconds();
  if (!start()) return false;
  // A racing engine that answered first stops the unfolding between slices.
  while (!stopRequested() && fetchBatch()) {
    sortBatch();
    if (!decideCutOffs()) return false;
    if (!runCorrespondentSearch()) return false;
    ++sliceCount_;
    largestSlice_ = std::max(largestSlice_, static_cast<uint32_t>(batch_.size()));
    if (state_.options.print_running_statistics) printRunningStatistics();
    if (state_.relation && batch_.size() + state_.conditions.size() > state_.relation->limit()) dropRelation();
    commit();
    bool extended = extendBatch();
    considerKeepingCuts();
    for (Candidate* c : batch_) delete c;
    batch_.clear();
    state_.batch = nullptr;
    if (!extended) return false;
  }
  if (stopRequested()) return false;
  finish();
  return true;
}

void Unfolder::finish() {
  dropRelation();
  if (state_.options.no_cutoffs) removeCutOffs();
  if (state_.options.print_statistics)
    printTo(stdout, "\n slices=%u largest slice=%u markings=%u mean |[e]|=%.1f", sliceCount_, largestSlice_,
            table_.recordCount(), state_.events.empty() ? 0.0 : double(sizeSum_) / state_.events.size());
  if (state_.options.print_time) printTo(stdout, "\n unfolding time: %.3f s", monotonicSeconds() - startTime_);
  // An empty initial marking has had its own warning.
  bool anyNonCutOff = state_.initialCount == 0;
  for (Event* e : state_.events)
    if (!eventIsCutOff(e)) {
      anyNonCutOff = true;
      break;
    }
  if (!anyNonCutOff) warn("the prefix contains no non-cut-off events");
}

// Cut-off events go with their postset conditions; the rest is renumbered.
void Unfolder::removeCutOffs() {
  std::vector<Event*> keptEvents;
  std::vector<Event*> events = state_.events.release();
  for (Event* e : events) {
    if (!eventIsCutOff(e)) {
      keptEvents.push_back(e);
      continue;
    }
    for (Condition* b : e->preset) b->postset.erase(e);
    for (Condition* c : e->postset) c->index = NoIndex;
  }
  std::vector<Condition*> keptConditions;
  for (Condition* c : state_.conditions.release()) {
    if (c->index == NoIndex) delete c;
    else keptConditions.push_back(c);
  }
  for (Event* e : events)
    if (eventIsCutOff(e)) delete e;
  for (auto& list : state_.placeConditions) list.clear();
  for (auto& list : state_.placeDepthMax) list.clear();
  state_.conditions.reorder(std::move(keptConditions));
  state_.events.reorder(std::move(keptEvents));
}

}  // namespace nurex
