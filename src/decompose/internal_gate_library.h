// The cell library that -T maps onto when no GENLIB file is named: NAND/NOR/AND/OR gates of
// two to four inputs, and-or-invert gates, constants, and asynchronous latches (C-elements,
// set/reset latches, delays).
#pragma once

#include <string_view>

namespace nurex {

inline constexpr std::string_view InternalGateLibraryName = "internal_gate_library";
extern const std::string_view InternalGateLibraryText;

}  // namespace nurex
