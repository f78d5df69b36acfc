// Readers of every input format. Each opens the file itself, reports its own errors,
// runs the load-time checks and returns the unit, or null.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "model/prefix.h"

namespace nurex {

std::unique_ptr<PetriNetPrefix> readPrefixMci(const std::string& fileName);
std::unique_ptr<StgPrefix> readStgPrefixMci(const std::string& fileName);
std::unique_ptr<PetriNetMergedProcess> readMergedProcessMp(const std::string& fileName);
std::unique_ptr<StgMergedProcess> readStgMergedProcessMp(const std::string& fileName);

// One of the four kinds that a PNML document can hold; exactly one pointer is set.
struct LoadedUnit {
  std::unique_ptr<PetriNetPrefix> petriNetPrefix;
  std::unique_ptr<StgPrefix> stgPrefix;
  std::unique_ptr<PetriNetMergedProcess> petriNetMergedProcess;
  std::unique_ptr<StgMergedProcess> stgMergedProcess;
};
// Reads a .pnml or .pnml.gz prefix or merged process whose net `type` is among
// `acceptedTypes`; any other type ends with "unexpected net type: " + type.
bool readPnmlUnit(const std::string& fileName, const std::vector<std::string>& acceptedTypes, LoadedUnit& out);

}  // namespace nurex
