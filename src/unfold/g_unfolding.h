// Reading a net in the .g text form and unfolding it in memory, for the loaders of the
// modes and for nurex-unfold.
#pragma once

#include <string>

#include "model/formats/readers.h"
#include "unfold/unfolder.h"

namespace nurex {

// Reads the file and unfolds it with `options`. The result is a PetriNetPrefix when the
// file declares no signals other than dummies and `petriNetAccepted` holds, otherwise an
// StgPrefix, whose signal values are inferred. With `runChecks` the load-time checks run
// last, as for any other input. False (with `out` empty) after a reported error.
bool readUnfoldedG(const std::string& fileName, bool petriNetAccepted, const UnfoldOptions& options, bool runChecks,
                   LoadedUnit& out);

}  // namespace nurex
