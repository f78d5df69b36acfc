// The state of one coefficient evaluation, shared by the hand-written scanner and the
// generated parser. Internal to src/reach.
#pragma once

#include <cstdint>
#include <string>

#include "model/net.h"

namespace nurex {

struct CoeffScanState {
  const std::string& text;
  size_t position;  // next byte to read
  const Stg& stg;
  int32_t result;
};

// "bad coefficient option: <message> when parsing <text with <<<ERROR>>> at the read position>".
void reportCoefficientError(const CoeffScanState& state, const std::string& message);

}  // namespace nurex
