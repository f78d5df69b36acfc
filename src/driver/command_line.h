// The command line: option table, parser and help texts.
#pragma once

#include <optional>

#include "platform/options.h"

namespace nurex {

// Number of modes; mode numbers run from 1.
constexpr int ModeCount = 11;

// Parses argv into options and the process-wide strings. Nothing when the run ends at
// once: after help, or after a reported error.
std::optional<OptionMap> parseCommandLine(int argc, char** argv);

void printBriefHelp(const OptionMap& defaults);
void printFullHelp(const OptionMap& defaults);
// The banner that both helps begin with.
std::string bannerText();

}  // namespace nurex
