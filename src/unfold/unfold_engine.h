// The main object of one unfolder run: batches of possible extensions of equal local
// configuration size, cut-off decisions through the marking table, commits, and the
// parallel passes that extend each committed batch.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "unfold/adequate_order.h"
#include "unfold/extension_search.h"
#include "unfold/marking_table.h"
#include "unfold/unfold_state.h"
#include "unfold/worker_pool.h"

namespace nurex {

class CorrespondentSearch;

class Unfolder {
 public:
  // `mayBeCutOff` holds one flag per transition of the net.
  Unfolder(PetriNet& net, const UnfoldOptions& options, std::vector<uint8_t> mayBeCutOff);
  ~Unfolder();
  Unfolder(const Unfolder&) = delete;
  Unfolder& operator=(const Unfolder&) = delete;

  // Builds the prefix; false after a reported error.
  bool run();
  // Moves the conditions and events out.
  void takeResult(NodeList<Condition>& conditions, NodeList<Event>& events);

 private:
  using Decision = CutOffDecision;

  bool start();
  void fail(const std::string& text) const;
  void warn(const std::string& text) const;
  bool fetchBatch();
  void sortBatch();
  bool decideCutOffs();
  bool decideFromTable(uint32_t position);
  void decideWithinBatch();
  void decideGroup(const std::vector<uint32_t>& members, std::vector<ConfigurationSummary>& summaries);
  bool sameAsRecord(const Candidate& candidate, const MarkingTable::Record& record);
  uint32_t findMarking(const Candidate& candidate, uint64_t key);
  void keepMarking(MarkingTable::Record& record, const CutMap& cut, const Transition* t);
  // The candidate's key in the marking table: the hash of its marking, set apart for events
  // that end with a dummy occurrence still pending (see unfold_engine.cpp).
  uint64_t tableKey(const Candidate& candidate) const;
  bool checkDummyCycle(const Candidate& candidate, const MarkingTable::Record& record);
  bool runCorrespondentSearch();
  void printRunningStatistics() const;
  void dropRelation();
  static constexpr uint32_t PrefetchAhead = 8;
  void prefetchBucket(uint32_t position) const;
  void commit();
  void commitEvent(uint32_t position);
  void linkChain(uint32_t condition, uint32_t entry, bool first);
  static constexpr uint64_t KeepCutsAfterWalks = 64, KeepCutsAdded = 16;
  void considerKeepingCuts();
  void recordMarkings();
  bool extendBatch();
  bool reportWorkerError();
  void finish();
  void removeCutOffs();

  UnfoldState state_;
  MarkingTable table_;
  std::vector<ExtensionWorker> workers_;
  WorkerPool pool_;
  std::unique_ptr<CorrespondentSearch> correspondents_;
  PastWalker walker_;  // main thread's walks over candidates
  MarkingComparer comparer_;
  std::vector<uint32_t> markingPlaces_;  // scratch of keepMarking
  struct SortKey {
    uint64_t key, next;
    Candidate* candidate;
  };
  std::vector<SortKey> sortKeys_;  // scratch of sortBatch

  std::vector<Candidate*> batch_;
  std::vector<Decision> decisions_;
  uint32_t currentSize_ = 0;

  // Running counters.
  uint32_t sliceCount_ = 0, largestSlice_ = 0, cutOffCount_ = 0;
  uint64_t sizeSum_ = 0;  // of |[e]| over the events committed
  double startTime_ = 0;
};

}  // namespace nurex
