// Cost-coefficient expressions (-cCOEFF=EXPR): small integer expressions over the size of an STG.
#pragma once

#include <cstdint>
#include <string>

#include "model/net.h"
#include "platform/options.h"

namespace nurex {

// Evaluates one expression; on failure the error has been reported and `value` is untouched.
bool evaluateCoefficient(const std::string& text, const Stg& stg, int32_t& value);

// Evaluates the seven coefficient slots in slot order into their option keys, stopping at the
// first failure; the caller tests the Reporter status afterwards.
void evaluateCostCoefficients(const Stg& stg, OptionMap& options);

}  // namespace nurex
