// The .g path of the loaders: reader, unfolder, signal inference and load-time checks.
#include "unfold/g_unfolding.h"

#include <memory>

#include "model/checks.h"
#include "model/formats/g_reader.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

template <class Net>
std::unique_ptr<Prefix<Net>> unfoldInto(std::unique_ptr<Net> net, const UnfoldOptions& options) {
  auto prefix = std::make_unique<Prefix<Net>>();
  static_cast<Net&>(*prefix) = std::move(*net);
  if (!unfoldNet(*prefix, options)) return nullptr;
  prefix->unfoldedHere = true;
  return prefix;
}

}  // namespace

bool readUnfoldedG(const std::string& fileName, bool petriNetAccepted, const UnfoldOptions& options, bool runChecks,
                   LoadedUnit& out) {
  bool hasSignals = false;
  std::unique_ptr<Stg> stg = readStgText(fileName, &hasSignals);
  if (!stg) return false;
  if (!hasSignals && petriNetAccepted) {
    std::unique_ptr<PetriNetPrefix> prefix = unfoldInto(withoutSignals(std::move(stg)), options);
    if (!prefix || (runChecks && !runLoadChecks(*prefix))) return false;
    out.petriNetPrefix = std::move(prefix);
    return true;
  }
  // Unfolded as an STG, such a net would only fail later for a reason beside the point.
  if (!hasSignals) {
    reportError("the mode needs an STG, but " + fileName + " declares no signals, only dummy transitions");
    return false;
  }
  std::unique_ptr<StgPrefix> prefix = unfoldInto(std::move(stg), options);
  if (!prefix || !inferSignalValues(*prefix) || (runChecks && !runLoadChecks(*prefix))) return false;
  out.stgPrefix = std::move(prefix);
  return true;
}

}  // namespace nurex
