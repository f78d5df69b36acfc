// BitVectorEncoder against integer arithmetic on both solvers: all inputs up to 4 bits,
// random wider ones.
#include <gtest/gtest.h>

#include <bit>

#include "sat/bit_vector_encoder.h"
#include "sat_test_support.h"

namespace nurex {
namespace {

using namespace sat_test;

// Two free numbers of the given widths as the first variables of a fresh formula.
struct Operands {
  SatFormula formula;
  BitVectorEncoder encoder;
  BitVector a, b;
  Operands(int solver, size_t width_a, size_t width_b)
      : formula(solver, false, false), encoder(formula, 0), a(fresh_literals(formula, width_a)),
        b(fresh_literals(formula, width_b)) {}
  std::vector<Literal> fixing(uint64_t x, uint64_t y) const {
    std::vector<Literal> units = fix(a, x), more = fix(b, y);
    units.insert(units.end(), more.begin(), more.end());
    return units;
  }
};

// Pairs (x, y): every pair below 2^4 for narrow widths, else a seeded sample.
std::vector<std::pair<uint64_t, uint64_t>> operand_values(size_t width_a, size_t width_b, uint64_t seed) {
  std::vector<std::pair<uint64_t, uint64_t>> values;
  if (width_a <= 4 && width_b <= 4) {
    for (uint64_t x = 0; x < (uint64_t{1} << width_a); ++x)
      for (uint64_t y = 0; y < (uint64_t{1} << width_b); ++y) values.emplace_back(x, y);
    return values;
  }
  Random random(seed);
  for (int i = 0; i < 40; ++i) values.emplace_back(random.below(uint64_t{1} << width_a), random.below(uint64_t{1} << width_b));
  return values;
}

TEST(SatArithmetic, LessThanAndItsAssertions) {
  const std::pair<size_t, size_t> widths[] = {{1, 1}, {3, 4}, {4, 4}, {4, 2}, {9, 12}, {16, 16}};
  for (int solver : Solvers)
    for (auto [wa, wb] : widths) {
      Operands both(solver, wa, wb), strict(solver, wa, wb), weak(solver, wa, wb);
      Literal less = both.encoder.less_than(both.a, both.b, 0);
      strict.encoder.assert_less(strict.a, strict.b);
      weak.encoder.assert_not_less(weak.a, weak.b);
      for (auto [x, y] : operand_values(wa, wb, wa * 31 + wb)) {
        ASSERT_TRUE(solve_under(both.formula, both.fixing(x, y)));
        EXPECT_EQ(both.formula.is_true(less), x < y) << x << " < " << y;
        EXPECT_EQ(solve_under(strict.formula, strict.fixing(x, y)), x < y) << x << " < " << y;
        EXPECT_EQ(solve_under(weak.formula, weak.fixing(x, y)), x >= y) << x << " >= " << y;
      }
    }
}

TEST(SatArithmetic, AddersMatchAddition) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, false);
    BitVectorEncoder encoder(formula, 0);
    std::vector<Literal> x = fresh_literals(formula, 3);
    // Inputs include constants, repeats and opposites, which fold.
    const Literal inputs[][3] = {{x[0], x[1], x[2]},           {x[0], x[0], x[1]},       {x[0], negate(x[0]), x[2]},
                                 {x[0], LiteralTrue, x[1]},      {LiteralFalse, x[1], x[2]}, {LiteralTrue, LiteralTrue, x[2]},
                                 {negate(x[1]), x[2], negate(x[0])}};
    for (const auto& in : inputs) {
      auto [half_sum, half_carry] = encoder.half_adder(in[0], in[1]);
      auto [full_sum, full_carry] = encoder.full_adder(in[0], in[1], in[2]);
      for (uint64_t assignment = 0; assignment < 8; ++assignment) {
        ASSERT_TRUE(solve_under(formula, fix(x, assignment)));
        int half = literal_value(in[0], assignment) + literal_value(in[1], assignment);
        int full = half + literal_value(in[2], assignment);
        EXPECT_EQ(formula.is_true(half_sum) + 2 * formula.is_true(half_carry), half);
        EXPECT_EQ(formula.is_true(full_sum) + 2 * formula.is_true(full_carry), full);
      }
    }
  }
}

TEST(SatArithmetic, FoldedAddersCreateNoVariable) {
  SatFormula formula(1, false, false);
  BitVectorEncoder encoder(formula, 0);
  Literal x = formula.new_literal(false), y = formula.new_literal(false);
  EXPECT_EQ(encoder.half_adder(x, negate(x)), std::make_pair(LiteralTrue, LiteralFalse));
  EXPECT_EQ(encoder.half_adder(x, x), std::make_pair(LiteralFalse, x));
  EXPECT_EQ(encoder.half_adder(LiteralTrue, y), std::make_pair(negate(y), y));
  EXPECT_EQ(encoder.full_adder(x, x, y), std::make_pair(y, x));
  EXPECT_EQ(encoder.full_adder(x, negate(x), y), std::make_pair(negate(y), y));
  EXPECT_EQ(formula.engine().num_variables(), 2u);
  EXPECT_EQ(formula.engine().num_clauses(), 0u);
}

// Random weighted terms over few variables, every assignment.
TEST(SatArithmetic, WeightedSumMatchesIntegers) {
  Random random(5);
  for (int solver : Solvers)
    for (int round = 0; round < 12; ++round) {
      SatFormula formula(solver, false, false);
      BitVectorEncoder encoder(formula, 0);
      std::vector<Literal> x = fresh_literals(formula, 6);
      std::vector<WeightedLiterals> terms;
      for (uint64_t t = 0, n = 1 + random.below(5); t < n; ++t) {
        WeightedLiterals term{1 + random.below(round < 6 ? 4 : 1000), {}};
        for (uint64_t bit = 0, w = 1 + random.below(4); bit < w; ++bit) {
          uint64_t r = random.below(9);
          term.bits.push_back(r == 0 ? constant_literal(random.below(2)) : x[random.below(6)] ^ (r & 1));
        }
        terms.push_back(term);
      }
      BitVector total = encoder.sum(terms);
      for (uint64_t assignment = 0; assignment < 64; ++assignment) {
        uint64_t expected = 0;
        for (const WeightedLiterals& term : terms)
          for (size_t i = 0; i < term.bits.size(); ++i)
            expected += term.weight * (uint64_t{literal_value(term.bits[i], assignment)} << i);
        ASSERT_TRUE(solve_under(formula, fix(x, assignment)));
        EXPECT_EQ(encoder.value_in_model(total), expected) << "round " << round;
      }
    }
}

TEST(SatArithmetic, CountAndMoreThan) {
  for (int solver : Solvers)
    for (size_t n = 0; n <= 6; ++n)
      for (Polarity polarity : {0, 1, -1}) {
        SatFormula formula(solver, false, false);
        BitVectorEncoder encoder(formula, 0);
        std::vector<Literal> x = fresh_literals(formula, n);
        BitVector counted = encoder.count(x);
        std::vector<Literal> above;
        for (int64_t k = -1; k <= static_cast<int64_t>(n) + 1; ++k) above.push_back(encoder.more_than(x, k, polarity));
        for (uint64_t assignment = 0; assignment < (uint64_t{1} << n); ++assignment) {
          int64_t ones = std::popcount(assignment);
          for (int64_t k = -1; k <= static_cast<int64_t>(n) + 1; ++k)
            for (bool out : {false, true}) {
              std::vector<Literal> units = fix(x, assignment);
              units.push_back(above[k + 1] ^ (out ? 0 : 1));
              // Only the direction that the polarity keeps is checked: a threshold may fold
              // onto a literal defined both ways.
              if (polarity == 1 && !out) continue;
              if (polarity == -1 && out) continue;
              EXPECT_EQ(solve_under(formula, units), out == (ones > k))
                  << "n " << n << " k " << k << " ones " << ones << " out " << out;
            }
          ASSERT_TRUE(solve_under(formula, fix(x, assignment)));
          EXPECT_EQ(encoder.value_in_model(counted), static_cast<uint64_t>(ones));
        }
      }
}

TEST(SatArithmetic, ConstantComparisons) {
  for (int solver : Solvers)
    for (size_t width : {0u, 1u, 3u, 4u}) {
      for (uint64_t c = 0; c < 20; ++c) {
        Operands equal(solver, width, 0), differs(solver, width, 0), literal(solver, width, 0);
        equal.encoder.assert_equal_constant(equal.a, c);
        differs.encoder.assert_differs_from_constant(differs.a, c);
        Literal is_c = literal.encoder.equals_constant_literal(literal.a, c);
        bool fits = std::bit_width(c) <= width;
        if (!fits) {
          EXPECT_EQ(is_c, LiteralFalse);
        }
        for (uint64_t x = 0; x < (uint64_t{1} << width); ++x) {
          EXPECT_EQ(solve_under(equal.formula, fix(equal.a, x)), x == c) << x << " = " << c;
          EXPECT_EQ(solve_under(differs.formula, fix(differs.a, x)), x != c) << x << " != " << c;
          ASSERT_TRUE(solve_under(literal.formula, fix(literal.a, x)));
          EXPECT_EQ(literal.formula.is_true(is_c), x == c);
        }
      }
    }
}

TEST(SatArithmetic, ConstantsAndModelValues) {
  EXPECT_EQ(BitVectorEncoder::from_constant(5), (BitVector{LiteralTrue, LiteralFalse, LiteralTrue}));
  EXPECT_EQ(BitVectorEncoder::from_constant(1, 3), (BitVector{LiteralTrue, LiteralFalse, LiteralFalse}));
  EXPECT_TRUE(BitVectorEncoder::from_constant(0).empty());
  SatFormula formula(0, false, false);
  BitVectorEncoder encoder(formula);
  BitVector v = fresh_literals(formula, 40);
  uint64_t value = 0xA5F00000C3ull;
  ASSERT_TRUE(solve_under(formula, fix(v, value)));
  EXPECT_EQ(encoder.value_in_model(v), value);
  EXPECT_EQ(encoder.value_in_model(BitVectorEncoder::from_constant(value)), value);
}

}  // namespace
}  // namespace nurex
