// Interim definitions until the format readers land: a clear error instead of a crash.
#include "model/formats/readers.h"
#include "platform/reporter.h"

namespace nurex {

namespace {
void notAvailable(const std::string& fileName) { reportError("reading \"" + fileName + "\" is not supported by this build yet"); }
}  // namespace

std::unique_ptr<PetriNetPrefix> readPrefixMci(const std::string& f) { notAvailable(f); return nullptr; }
std::unique_ptr<StgPrefix> readStgPrefixMci(const std::string& f) { notAvailable(f); return nullptr; }
std::unique_ptr<PetriNetMergedProcess> readMergedProcessMp(const std::string& f) { notAvailable(f); return nullptr; }
std::unique_ptr<StgMergedProcess> readStgMergedProcessMp(const std::string& f) { notAvailable(f); return nullptr; }
bool readPnmlUnit(const std::string& f, const std::vector<std::string>&, LoadedUnit&) { notAvailable(f); return false; }

}  // namespace nurex
