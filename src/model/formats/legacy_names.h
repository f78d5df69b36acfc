// Legacy transition names, which carry signal kind and sign: "[prefix.]identifier[+|-][/number]"
// with the kind prefixes "O." output, "I." internal, "i." input, "d." dummy.
#pragma once

#include <string>

#include "model/net.h"

namespace nurex {

bool hasKindPrefix(const std::string& name);
// The name without its kind prefix, if it has one.
std::string withoutKindPrefix(const std::string& name);
// "O.", "I.", "i." or "d." for a SignalKind.
const char* kindPrefixOf(uint8_t kind);

// Takes signal and sign of every transition from its name, strips the prefixes, then sorts
// signals, nodes and arcs. False after a reported error.
bool assignSignalsFromNames(Stg& stg);

// Gives every transition its kind prefix back for the legacy writer, and takes exactly
// those two bytes away again afterwards.
void addKindPrefixes(Stg& stg);
void removeKindPrefixes(Stg& stg);

}  // namespace nurex
