// BitVectorEncoder: binary numbers as literal vectors (least significant bit first) over a
// SatFormula: constants, adders and weighted sums, comparisons and thresholds.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "sat/sat_formula.h"

namespace nurex {

using BitVector = std::vector<Literal>;

// weight times the number that `bits` spells, least significant bit first. A plain count
// of literals is one term per literal, each of one bit.
struct WeightedLiterals {
  uint64_t weight = 1;
  BitVector bits;
};

class BitVectorEncoder {
 public:
  // Clauses go to `group` (a slot of the formula, or PermanentGroup).
  explicit BitVectorEncoder(SatFormula& formula, int group = PermanentGroup) : formula_(formula), group_(group) {}

  // Bit i is set when literal i is true in the model (the first 64 bits).
  uint64_t value_in_model(std::span<const Literal> v) const;
  // As many constant bits as the value needs, at least `width`.
  static BitVector from_constant(uint64_t value, size_t width = 0);

  // Sum, carry; constants and equal or opposite inputs fold without a variable.
  std::pair<Literal, Literal> half_adder(Literal a, Literal b);
  std::pair<Literal, Literal> full_adder(Literal a, Literal b, Literal c);
  // The binary total of the terms.
  BitVector sum(const std::vector<WeightedLiterals>& terms);
  // The binary number of true literals of the list.
  BitVector count(std::span<const Literal> literals);

  void assert_equal_constant(std::span<const Literal> v, uint64_t c);
  void assert_differs_from_constant(std::span<const Literal> v, uint64_t c);
  Literal equals_constant_literal(std::span<const Literal> v, uint64_t c, Polarity polarity = 0);

  // True when more than k literals of the list hold.
  Literal more_than(std::span<const Literal> list, int64_t k, Polarity polarity = 0);
  // a < b, unsigned; the shorter vector is padded with FALSE.
  Literal less_than(std::span<const Literal> a, std::span<const Literal> b, Polarity polarity = 0);
  void assert_less(std::span<const Literal> a, std::span<const Literal> b);
  void assert_not_less(std::span<const Literal> a, std::span<const Literal> b);

 private:
  SatFormula& formula_;
  int group_;
};

}  // namespace nurex
