// Mode -T: bring every output and internal signal down to library gates. Each pass derives
// the signals' functions from the STG, maps what maps, and realises one sub-function of a
// signal that does not map as a new internal "deco" signal inserted into the STG, so that the
// STG stays the specification of the circuit throughout.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "decompose/function_mapping.h"
#include "decompose/mapped_implementation.h"
#include "resolve/insertion.h"
#include "sat/search_mode.h"

namespace nurex {

class LogicDecomposer : public SearchModeBase {
 public:
  LogicDecomposer(const StgPrefix& prefix, const OptionMap& options);
  ~LogicDecomposer() override;

  bool run() override;
  void describe() override;
  void describe_failure() override;
  void print_statistics() override {}
  const ResultList& result_list() const override { return results_; }

  // "Logic decomposition finished (area=...)" or "Failed to decompose".
  std::string report() const;
  const Stg& net() const;
  size_t insertedSignals() const { return inserted_; }
  bool failed() const { return failed_; }
  const GateLibrary* library() const { return library_.get(); }
  bool writeFiles = true;  // nurex.g and nurex.pnml after a successful run
  uint32_t passLimit = 64;  // each pass inserts one signal; a bound all the same

 private:
  struct Task;
  bool unfold();
  // Both forms of every signal's function; false after an error (a CSC conflict).
  bool derive(std::vector<Task>& tasks);
  void mapSignal(Task& task);
  // Sub-functions worth realising as a signal of their own, most promising first.
  struct SubFunctionChoice {
    BddCover cover;
    std::vector<uint32_t> rest;  // the signals the decomposed gate still reads beside it
    bool latch = false;          // the set or reset function of a latch
  };
  std::vector<SubFunctionChoice> subFunctionsOf(const Task& task);
  // Inserts a signal for h into the STG if some pair of insertions realises it; the STG is
  // unchanged otherwise.
  bool insertSubFunction(const Task& task, const SubFunctionChoice& choice);
  std::unique_ptr<StgPrefix> probe(const Task& task, const bdd& h, const std::vector<uint32_t>& support,
                                   const std::vector<uint32_t>& rest, bool latch, const Insertion& rise,
                                   const Insertion& fall, bool startValue);
  void buildResults(const std::vector<Task>& tasks);
  void writeStg(const std::string& base) const;

  OptionMap options_;
  std::unique_ptr<StgPrefix> prefix_;
  std::unique_ptr<GateLibrary> library_;
  std::vector<LibraryGate> gates_;
  MappingContext context_;
  bool inputDeadlocks_ = false;
  size_t inserted_ = 0;
  bool failed_ = false;
  const char* probeFailure_ = "";
  std::map<std::string, std::vector<std::string>> servedBy_;
  std::string insertedName_;  // the new signal of the last probe  // signal -> signals inserted for it  // why the last probe rejected its pair
  ResultList results_;
};

std::unique_ptr<SearchModeBase> makeLogicDecomposer(const StgPrefix& prefix, const OptionMap& options);

}  // namespace nurex
