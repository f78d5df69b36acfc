// The unfolder: builds a complete finite prefix of the unfolding of a safe net in memory.
// Its only public face is an options record and one entry point.
#pragma once

#include <cstdint>

#include "model/prefix.h"

namespace nurex {

// The options of one unfolder run; the names are the option keys of such a run.
struct UnfoldOptions {
  int32_t number_of_threads = 1;         // workers, the calling thread included
  int32_t print_time = 0;                // "\n unfolding time: ..." at the end
  int32_t print_statistics = 0;          // the statistics line and the relation size at the end
  int32_t print_running_statistics = 0;  // one line per batch
  int32_t wait_user = 0;                 // wait for Enter once the prefix is built
  int32_t unoptimized_trees = 0;         // plain per-place scan instead of the co-set closure
  int32_t no_cutoffs = 0;                // throw cut-off events away instead of keeping them
  int32_t dummy_cutoffs = 0;             // allow events of dummy transitions of an Stg to be cut-offs
  int32_t non_local_correspondents = 0;  // search correspondents among all configurations, by SAT
  int32_t order = 3;                     // adequate order, 0 to 4
  int32_t conc_rel_size = 40000;         // node limit of the concurrency relation; 0: no relation
  int32_t solver = 1;                    // SAT solver of the correspondent search
  // Whether cuts of events are kept to merge those of later candidates: -1 once the run
  // shows that it pays, 0 never, 1 from the start (same prefix either way).
  int32_t keep_cuts = -1;
  // Nothing is printed and the status is left alone: a caller probing a net it made itself
  // (is it safe?) only wants the answer.
  int32_t quiet = 0;
};

// The values with which a modified STG is unfolded again: all cores, order 3, a relation
// of up to 40000 nodes, no dummy cut-offs, local correspondents only.
UnfoldOptions reUnfoldingOptions();

// Replaces the conditions and events of `prefix` by a complete prefix of the unfolding of
// the prefix's own net. False after a reported error (unsafe net, cycle of dummies, bad
// options); the lists are then empty. Event signs of an Stg are left for inferSignalValues.
template <class Net>
bool unfoldNet(Prefix<Net>& prefix, const UnfoldOptions& options);

extern template bool unfoldNet<PetriNet>(Prefix<PetriNet>&, const UnfoldOptions&);
extern template bool unfoldNet<Stg>(Prefix<Stg>&, const UnfoldOptions&);

}  // namespace nurex
