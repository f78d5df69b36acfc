// Literals of the SAT layer: the packed word, its reserved values, polarity, model values
// and the per-object cache of a gate output.
#pragma once

#include <cstdint>
#include <string>

namespace nurex {

// 2 * variable + sign; sign 1 means negated, so negation is an exclusive-or with 1.
using Literal = uint32_t;

constexpr Literal LiteralUninit = 0xFFFFFFFE;  // unset slot
constexpr Literal LiteralTrue = 0xFFFFFFFD;
constexpr Literal LiteralFalse = 0xFFFFFFFC;
constexpr uint32_t VariableUninit = 0x7FFFFFFF;  // variable part of LiteralUninit
constexpr uint32_t VariableConst = 0x7FFFFFFE;   // variable part of both constants

constexpr bool is_constant(Literal l) { return (l | 1) == LiteralTrue; }
constexpr Literal negate(Literal l) { return l ^ 1; }
constexpr uint32_t variable_of(Literal l) { return l >> 1; }
constexpr bool is_negated(Literal l) { return (l & 1) != 0; }
constexpr Literal positive_literal(uint32_t variable) { return variable << 1; }
constexpr Literal constant_literal(bool value) { return value ? LiteralTrue : LiteralFalse; }

// "UNINIT", "TRUE", "FALSE", or the variable number with a trailing ' when negated.
std::string literal_name(Literal l);
// "CONST" for the constants' variable part, "UNINIT" for the unset one, else the number.
std::string variable_name(uint32_t variable);

// +1: only output implies function; -1: only function implies output; 0: both
// (Plaisted-Greenbaum clause saving).
using Polarity = int;

// The value of a literal in a model.
enum TernaryValue : uint8_t { ValueTrue = 0, ValueFalse = 1, ValueUndefined = 2 };

// The literal encoded for one object, with the directions its clauses cover.
struct CachedLiteral {
  Literal literal = LiteralUninit;
  Polarity polarity = 0;
};

}  // namespace nurex
