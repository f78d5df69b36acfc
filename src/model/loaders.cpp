// The loaders of the three mode groups: file kind by extension, unit kind by PNML type.
#include "model/loaders.h"

#include <cstddef>
#include <memory>
#include <type_traits>

#include "model/formats/readers.h"
#include "platform/reporter.h"
#include "unfold/g_unfolding.h"

namespace nurex {

namespace {

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The text behind the last '.', empty if there is none.
std::string extensionOf(const std::string& name) {
  auto dot = name.rfind('.');
  return dot == std::string::npos ? "" : name.substr(dot + 1);
}

void reportUnexpectedExtension(const std::string& extension) {
  reportError("unexpected file extension: \"" + extension + "\"");
}

bool isPnmlName(const std::string& name) { return endsWith(name, ".pnml") || endsWith(name, ".pnml.gz"); }

template <class Unit>
Unit* adoptLoaded(LoadedUnit& loaded) {
  if constexpr (Unit::alternativeCount > 1) {
    if (loaded.petriNetPrefix) return Unit::adoptFrom(std::move(*loaded.petriNetPrefix));
    if (loaded.stgPrefix) return Unit::adoptFrom(std::move(*loaded.stgPrefix));
    if (loaded.petriNetMergedProcess) return Unit::adoptFrom(std::move(*loaded.petriNetMergedProcess));
  }
  if constexpr (Unit::alternativeCount > 3)
    if (loaded.stgMergedProcess) return Unit::adoptFrom(std::move(*loaded.stgMergedProcess));
  if (loaded.stgPrefix) return Unit::adoptFrom(std::move(*loaded.stgPrefix));
  return nullptr;
}

template <class Unit, class Loaded>
Unit* adopt(std::unique_ptr<Loaded> loaded) {
  return loaded ? Unit::adoptFrom(std::move(*loaded)) : nullptr;
}

// A .g net is unfolded in memory with the options of a re-unfolding, but without the
// concurrency relation: on the large benchmarks it never saved more than it cost, and on a
// Muller pipeline of 256 stages it took 4.2 s of a 4.4 s unfolding (same prefix either way).
template <class Unit>
Unit* loadUnfoldedG(const std::string& fileName, bool petriNetAccepted) {
  LoadedUnit loaded;
  UnfoldOptions options = reUnfoldingOptions();
  options.conc_rel_size = 0;
  if (!readUnfoldedG(fileName, petriNetAccepted, options, true, loaded)) return nullptr;
  return adoptLoaded<Unit>(loaded);
}

// The one loader behind the three tables: PNML by name and type, then legacy kinds and .g by
// extension. A null `readMp` means the group takes no merged process in the legacy form.
template <class Unit, class MciReader, class MpReader>
Unit* loadUnit(const std::string& fileName, const std::vector<std::string>& pnmlTypes, MciReader readMci,
               MpReader readMp, bool petriNetAccepted) {
  if (isPnmlName(fileName)) {
    LoadedUnit loaded;
    if (!readPnmlUnit(fileName, pnmlTypes, loaded)) return nullptr;
    return adoptLoaded<Unit>(loaded);
  }
  std::string extension = extensionOf(fileName);
  if (extension == "mci") return adopt<Unit>(readMci(fileName));
  if constexpr (!std::is_same_v<MpReader, std::nullptr_t>)
    if (extension == "mp") return adopt<Unit>(readMp(fileName));
  if (extension == "g") return loadUnfoldedG<Unit>(fileName, petriNetAccepted);
  reportUnexpectedExtension(extension);
  return nullptr;
}

}  // namespace

// In the two Petri net groups a legacy file is always read as a Petri net: the STG
// readers of legacy files serve the STG group alone.
DeadlockUnit* loadDeadlockUnit(const std::string& fileName) {
  return loadUnit<DeadlockUnit>(fileName,
                                {"branching_process:low_level_net", "branching_process:STG",
                                 "merged_process:low_level_net", "merged_process:STG"},
                                readPrefixMci, readMergedProcessMp, true);
}

ReachUnit* loadReachUnit(const std::string& fileName) {
  return loadUnit<ReachUnit>(fileName,
                             {"branching_process:low_level_net", "branching_process:STG", "merged_process:low_level_net"},
                             readPrefixMci, readMergedProcessMp, true);
}

StgUnit* loadStgUnit(const std::string& fileName) {
  return loadUnit<StgUnit>(fileName, {"branching_process:STG"}, readStgPrefixMci, nullptr, false);
}

}  // namespace nurex
