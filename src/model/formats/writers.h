// Writers of nets and prefixes: the legacy .mci form, PNML (plain or gzip by name) and the
// .g text form, with the choice of writer by file name. Each returns success.
#pragma once

#include <ostream>
#include <string>

#include "model/prefix.h"

namespace nurex {

// The .mci form of a prefix, with the deprecation warning; "cannot write a file" on failure.
template <class Net>
bool writePrefixMci(const Prefix<Net>& prefix, std::ostream& stream);

// A prefix or merged process of any of the four kinds as a PNML document; gzip if the name
// ends in ".gz". Reports its own errors.
template <class Unit>
bool writeUnitPnml(const Unit& unit, const std::string& fileName);
// An original net alone (a `net` of type "low_level_net" or "STG" under `pnml`).
template <class Net>
bool writeNetPnml(const Net& net, const std::string& fileName);

// The .g text form; success is the state of the stream. Reports nothing itself.
bool writeStgText(const Stg& stg, std::ostream& stream);

// By name: a last letter "g" gives the .g form, anything else PNML (with a warning unless
// the name ends in ".pnml" or ".pnml.gz").
bool saveStg(const Stg& stg, const std::string& fileName);
// By name: an ending "mci" gives the .mci form (an STG's transitions get their kind prefixes
// back while it is written, and the nodes are sorted again afterwards), anything else PNML.
template <class Net>
bool savePrefix(Prefix<Net>& prefix, const std::string& fileName);

}  // namespace nurex
