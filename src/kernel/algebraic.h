// Multi-level logic on sums of products read algebraically (a cube is a set of literals, x and
// !x distinct): nodes, weak division, kernels and divisors, and factored forms.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kernel/bdd_cover.h"
#include "kernel/two_level.h"

namespace nurex {

// A node's function as a cover held in a canonical form: literals of a cube in variable order,
// cubes sorted, no cube repeated and none containing another (single-cube containment), the
// constant 1 as the one empty cube. Algebraic operations on covers assume this form.
class SopNode {
 public:
  SopNode() = default;  // constant 0
  explicit SopNode(SumOfProducts cover);

  const SumOfProducts& cover() const { return cover_; }
  uint64_t literals() const { return literalCount(cover_); }
  bool isZero() const { return cover_.empty(); }
  bool isOne() const { return cover_.size() == 1 && cover_[0].empty(); }
  // Throws BddError after a report, as the BDD operators do.
  bdd function() const { return sopToBdd(cover_); }

  // A two-level minimum of the node's function, free where `dontCare` holds (by default the
  // exact function), and a minimised cover of the complement; nullopt only after a reported
  // BDD error.
  std::optional<SopNode> simplify(const bdd& dontCare = bddfalse) const;
  std::optional<SopNode> complement() const;

  bool operator==(const SopNode&) const = default;

 private:
  SumOfProducts cover_;
};

// The node of a minimised cover of a function's combinational form (ON to NOT OFF); nullopt
// only after a reported error.
std::optional<SopNode> nodeFromCover(const BddCover& cover, const MinimiserLimits& limits = {});

// The canonical form of SopNode.
SumOfProducts normaliseCover(SumOfProducts cover);

// Weak division F = Q*D + R: Q is the largest cover whose algebraic product with D (no literal
// of a Q cube in a D cube) consists of cubes of F; R holds the other cubes of F. A zero
// divisor gives Q = 0, R = F.
struct Division {
  SopNode quotient, remainder;
};
Division weakDivide(const SopNode& f, const SopNode& d);

// F = Q1*D + Q0*!D + R with !D a minimised cover of D's complement: Q1 = F/D, then Q0 = R1/!D
// on the remainder R1 of the first division. Either quotient may be zero.
struct ThreeWayDivision {
  SopNode divisor, complement;       // D and !D
  SopNode onQuotient, offQuotient;   // Q1 and Q0
  SopNode remainder;                 // R
};
// nullopt only after a reported BDD error.
std::optional<ThreeWayDivision> divideThreeWay(const SopNode& f, const SopNode& d);

// The largest cube dividing every cube of F (the empty cube when there is none, or F is 0).
Cube largestCommonCube(const SopNode& f);
// No cube other than 1 divides F evenly; a single cube is cube-free only when it is 1.
bool isCubeFree(const SopNode& f);

// A kernel K of F is a cube-free quotient F/C of at least two cubes for a cube C, its co-kernel.
struct Kernel {
  SopNode kernel;
  Cube coKernel;
};
// Kernels by the recursive extraction over literals (each kernel and co-kernel pair found
// once), F divided by its largest common cube first (F itself when cube-free, co-kernel 1);
// at most `limit` of them, in a deterministic order. None for a single cube or 0.
std::vector<Kernel> kernels(const SopNode& f, size_t limit = 1000);
// Candidate divisors of F: its kernels, the co-kernel cubes and the single literals of F,
// each once, only those with fewer literals than F, in that order.
std::vector<SopNode> divisors(const SopNode& f, size_t kernelLimit = 1000);

// A factored form: an expression tree of literals under AND and OR.
struct FactoredForm {
  enum class Kind { Zero, One, Literal, And, Or };
  Kind kind = Kind::Zero;
  CubeLiteral literal{0, true};        // a Literal's
  std::vector<FactoredForm> children;  // an And's or an Or's, at least two

  uint64_t literals() const;
  // Throws BddError after a report, as the BDD operators do.
  bdd function() const;
};

// Good factoring: F split by its best kernel (the one saving most literals) or, when no kernel
// helps, by its most frequent literal, recursively. Never more literals than the cover.
FactoredForm factor(const SopNode& f);

// "a & (b | !c)": OR below AND in parentheses, the constants "1b`1" and "1b`0", as the
// equations of results spell sums of products; `name` gives a variable's name.
std::string factoredText(const FactoredForm& form, const std::function<std::string(uint32_t)>& name);
// "v3*(v4 + !v5)", in the style of bddText, with the constants "0" and "1".
std::string factoredText(const FactoredForm& form);

}  // namespace nurex
