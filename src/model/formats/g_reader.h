// Reader of the .g text form, in which STGs and Petri nets are commonly exchanged (and which
// writeStgText writes). A Petri net is a file that declares only `.dummy` transitions.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "model/net.h"

namespace nurex {

// Reads the file into an Stg, or null after a reported error. Places and transitions are
// numbered in order of first appearance in `.graph` (not sorted by name), arcs are sorted,
// signals sorted by kind and name with initial values unknown, and the `.model` name kept.
// `hasSignals`, if given, tells whether any input, output or internal signal was declared;
// if not, the file is a plain Petri net (see `withoutSignals`).
std::unique_ptr<Stg> readStgText(const std::string& fileName, bool* hasSignals = nullptr);
// The same from text in memory; `fileName` serves the messages.
std::unique_ptr<Stg> parseStgText(std::string_view text, const std::string& fileName, bool* hasSignals = nullptr);

// The net of an Stg read from a file without signals: nodes, arcs, marking and name kept,
// signals and signs dropped.
std::unique_ptr<PetriNet> withoutSignals(std::unique_ptr<Stg> stg);

}  // namespace nurex
