// One extension worker per thread: finds the possible extensions that the postset of a new
// event opens, describes them and keeps them in its own queue, bucketed by the size of
// their local configurations.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "unfold/adequate_order.h"
#include "unfold/co_search.h"
#include "unfold/local_configuration.h"

namespace nurex {

// Possible extensions by local configuration size; sizes only grow over a run.
class CandidateQueue {
 public:
  ~CandidateQueue();
  void add(Candidate* candidate);
  uint32_t count() const { return count_; }
  // The smallest size present, or 0 when empty.
  uint32_t smallestSize();
  // Moves the candidates of that size to `out`.
  void take(uint32_t size, std::vector<Candidate*>& out);

 private:
  std::vector<std::vector<Candidate*>> bySize_;
  uint32_t lowest_ = 0;
  uint32_t count_ = 0;
};

// Aligned so that two workers' fields never share a cache line.
class alignas(64) ExtensionWorker {
 public:
  // The extensions enabled at the initial cut; transitions with empty presets included.
  void seed(const UnfoldState& state);
  // The extensions whose preset has its highest-numbered condition in the postset of the
  // batch event at `position`, and the test that this postset marks no place twice.
  void extend(const UnfoldState& state, uint32_t position);

  // What the order compares of [e] for a candidate of the batch.
  ConfigurationSummary summarize(const UnfoldState& state, const Candidate& candidate, int order);

  CandidateQueue& queue() { return queue_; }
  const CandidateDescriber& describer() const { return describer_; }
  RowScratch& rowScratch() { return rowScratch_; }
  // The first error of the pass, by batch position: empty if none.
  bool hasError() const { return errorPosition_ != NoError; }
  uint32_t errorPosition() const { return errorPosition_; }
  const std::string& errorText() const { return errorText_; }
  void clearError() { errorPosition_ = NoError; }

 private:
  static constexpr uint32_t NoError = 0xFFFFFFFFu;
  void prepare(const UnfoldState& state);
  CoMethod chooseMethod(const UnfoldState& state, const Event* e) const;
  bool checkSafety(const UnfoldState& state, Event* e, const Candidate& own, uint32_t position);
  void collectPartners(Event* e);
  void searchTransition(const UnfoldState& state, Transition* t, Condition* c);
  void combine(const UnfoldState& state, Transition* t, Condition* c, size_t level);
  bool isPartner(const UnfoldState& state, Event* e, Condition* x);
  bool pairConcurrent(const UnfoldState& state, const Condition* x, const Condition* y);
  void emit(const UnfoldState& state, Transition* t, const std::vector<Condition*>& preset);
  void fail(uint32_t position, std::string text);

  CandidateQueue queue_;
  RowScratch rowScratch_;
  CandidateDescriber describer_;
  PastWalker summaryWalker_;
  CoClosure closure_;
  ConfigurationAnchor eventAnchor_, pairAnchor_;
  StampSet interesting_;
  std::vector<std::vector<Condition*>> buckets_;  // closure members by place, for one event
  std::vector<uint32_t> filledBuckets_;
  // Candidate lists of the places of a transition's preset; lists_[level][k] holds the
  // choices for place k that remain after fixing the places before `level`.
  std::vector<std::vector<std::vector<Condition*>>> lists_;
  std::vector<Condition*> chosen_;
  uint32_t position_ = 0;
  CoMethod method_ = CoMethod::Closure;  // for the event being extended
  uint64_t closureWork_ = 0;             // running average of the closure's steps
  uint32_t errorPosition_ = NoError;
  std::string errorText_;
};

}  // namespace nurex
