// Binary arithmetic on literal vectors: adders, the bucketed weighted sum, comparisons.
#include "sat/bit_vector_encoder.h"

#include <algorithm>
#include <bit>
#include <deque>

namespace nurex {

namespace {
size_t bit_length(uint64_t value) { return 64 - std::countl_zero(value); }

bool all_distinct_variables(std::initializer_list<Literal> literals) {
  for (auto i = literals.begin(); i != literals.end(); ++i) {
    if (is_constant(*i)) return false;
    for (auto j = literals.begin(); j != i; ++j)
      if (variable_of(*i) == variable_of(*j)) return false;
  }
  return true;
}
}  // namespace

uint64_t BitVectorEncoder::value_in_model(std::span<const Literal> v) const {
  uint64_t value = 0;
  for (size_t i = 0; i < v.size() && i < 64; ++i)
    if (formula_.is_true(v[i])) value |= uint64_t{1} << i;
  return value;
}

BitVector BitVectorEncoder::from_constant(uint64_t value, size_t width) {
  BitVector bits(std::max(width, bit_length(value)), LiteralFalse);
  for (size_t i = 0; i < bits.size() && i < 64; ++i) bits[i] = constant_literal((value >> i) & 1);
  return bits;
}

// Gate normalisation does the folding; the redundant clause (not sum or not carry) is
// then trivially true for folded inputs and disappears in the clause normaliser.
std::pair<Literal, Literal> BitVectorEncoder::half_adder(Literal a, Literal b) {
  Literal sum = formula_.make_gate(GateXor, {a, b}, group_, 0);
  Literal carry = formula_.make_gate(GateAnd, {a, b}, group_, 0);
  if (formula_.wants_redundant_clauses()) formula_.add_binary(negate(sum), negate(carry), group_);
  return {sum, carry};
}

// The six redundant clauses: sum and carry both true force all inputs true, both false
// force all inputs false.
std::pair<Literal, Literal> BitVectorEncoder::full_adder(Literal a, Literal b, Literal c) {
  Literal sum = formula_.make_gate(GateXor, {a, b, c}, group_, 0);
  Literal carry = formula_.make_gate(GateMaj, {a, b, c}, group_, 0);
  if (formula_.wants_redundant_clauses() && all_distinct_variables({a, b, c})) {
    for (Literal x : {a, b, c}) {
      formula_.add_clause({negate(sum), negate(carry), x}, group_);
      formula_.add_clause({sum, carry, negate(x)}, group_);
    }
  }
  return {sum, carry};
}

// Bucket i holds the literals of weight 2^i. The lowest bucket is reduced by full adders
// (sum back into the bucket, carry one up), then a half adder, until one literal is left.
BitVector BitVectorEncoder::sum(const std::vector<WeightedLiterals>& terms) {
  std::vector<std::deque<Literal>> buckets;
  auto put = [&buckets](size_t position, Literal l) {
    if (l == LiteralFalse) return;
    if (buckets.size() <= position) buckets.resize(position + 1);
    buckets[position].push_back(l);
  };
  for (const WeightedLiterals& term : terms)
    for (size_t shift = 0; shift < 64; ++shift)
      if ((term.weight >> shift) & 1)
        for (size_t i = 0; i < term.bits.size(); ++i) put(i + shift, term.bits[i]);

  BitVector result;
  for (size_t position = 0; position < buckets.size(); ++position) {
    while (buckets[position].size() >= 2) {
      std::deque<Literal>& bucket = buckets[position];
      Literal a = bucket[0], b = bucket[1];
      std::pair<Literal, Literal> out;
      if (bucket.size() >= 3) {
        Literal c = bucket[2];
        bucket.erase(bucket.begin(), bucket.begin() + 3);
        out = full_adder(a, b, c);
      } else {
        bucket.erase(bucket.begin(), bucket.begin() + 2);
        out = half_adder(a, b);
      }
      put(position, out.first);
      put(position + 1, out.second);
    }
    result.push_back(buckets[position].empty() ? LiteralFalse : buckets[position].front());
  }
  while (!result.empty() && result.back() == LiteralFalse) result.pop_back();
  return result;
}

BitVector BitVectorEncoder::count(std::span<const Literal> literals) {
  std::vector<WeightedLiterals> terms;
  terms.reserve(literals.size());
  for (Literal l : literals) terms.push_back(WeightedLiterals{1, {l}});
  return sum(terms);
}

void BitVectorEncoder::assert_equal_constant(std::span<const Literal> v, uint64_t c) {
  if (bit_length(c) > v.size()) return formula_.add_empty_clause(group_);
  for (size_t i = 0; i < v.size(); ++i) formula_.add_unit(i < 64 && ((c >> i) & 1) ? v[i] : negate(v[i]), group_);
}

void BitVectorEncoder::assert_differs_from_constant(std::span<const Literal> v, uint64_t c) {
  if (bit_length(c) > v.size()) return;
  std::vector<Literal> clause;
  for (size_t i = 0; i < v.size(); ++i) clause.push_back(i < 64 && ((c >> i) & 1) ? negate(v[i]) : v[i]);
  formula_.add_clause(clause, group_);
}

Literal BitVectorEncoder::equals_constant_literal(std::span<const Literal> v, uint64_t c, Polarity polarity) {
  if (bit_length(c) > v.size()) return LiteralFalse;
  std::vector<Literal> bits;
  for (size_t i = 0; i < v.size(); ++i) bits.push_back(i < 64 && ((c >> i) & 1) ? v[i] : negate(v[i]));
  return formula_.make_gate(GateAnd, bits, group_, polarity);
}

// Beyond the OR and AND cases: not (count < k + 1), the comparison taking the opposite
// polarity since its result is negated.
Literal BitVectorEncoder::more_than(std::span<const Literal> list, int64_t k, Polarity polarity) {
  int64_t n = static_cast<int64_t>(list.size());
  if (k < 0) return LiteralTrue;
  if (k >= n) return LiteralFalse;
  if (k == 0) return formula_.make_gate(GateOr, list, group_, polarity);
  if (k == n - 1) return formula_.make_gate(GateAnd, list, group_, polarity);
  BitVector total = count(list);
  return negate(less_than(total, from_constant(static_cast<uint64_t>(k) + 1), -polarity));
}

// r is "a < b on the bits so far"; a higher bit decides unless equal: MAJ(r, not a, b).
Literal BitVectorEncoder::less_than(std::span<const Literal> a, std::span<const Literal> b, Polarity polarity) {
  Literal r = LiteralFalse;
  for (size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
    Literal ai = i < a.size() ? a[i] : LiteralFalse;
    Literal bi = i < b.size() ? b[i] : LiteralFalse;
    r = formula_.make_gate(GateMajN, {r, ai, bi}, group_, polarity);
  }
  return r;
}

void BitVectorEncoder::assert_less(std::span<const Literal> a, std::span<const Literal> b) {
  formula_.add_unit(less_than(a, b, 1), group_);
}

void BitVectorEncoder::assert_not_less(std::span<const Literal> a, std::span<const Literal> b) {
  formula_.add_unit(negate(less_than(a, b, -1)), group_);
}

}  // namespace nurex
