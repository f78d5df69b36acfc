// Algebraic operations on covers: canonical form, weak and three-way division, kernel
// extraction, divisors, and good factoring (Brayton's kernel-based factoring).
#include "kernel/algebraic.h"

#include <algorithm>
#include <iterator>
#include <set>


namespace nurex {

namespace {

// A literal's rank: by variable, the positive literal first, the order of literals in a cube.
uint32_t rank(const CubeLiteral& literal) { return literal.variable * 2 + (literal.positive ? 0 : 1); }
bool literalBefore(const CubeLiteral& a, const CubeLiteral& b) { return rank(a) < rank(b); }
bool cubeBefore(const Cube& a, const Cube& b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), literalBefore);
}

// `small` divides `big`: every literal of `small` is in `big`.
bool divides(const Cube& small, const Cube& big) {
  return std::includes(big.begin(), big.end(), small.begin(), small.end(), literalBefore);
}

Cube cubeMinus(const Cube& big, const Cube& small) {
  Cube result;
  std::set_difference(big.begin(), big.end(), small.begin(), small.end(), std::back_inserter(result), literalBefore);
  return result;
}

Cube cubeUnion(const Cube& a, const Cube& b) {
  Cube result;
  std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result), literalBefore);
  return result;
}

// A literal set holding x and !x is no cube; the product is then constant 0.
bool isContradictory(const Cube& cube) {
  for (size_t i = 0; i + 1 < cube.size(); ++i)
    if (cube[i].variable == cube[i + 1].variable) return true;
  return false;
}

// The cubes of F that `c` divides, with `c` taken out.
SumOfProducts cubeQuotient(const SumOfProducts& f, const Cube& c) {
  SumOfProducts result;
  for (const Cube& cube : f)
    if (divides(c, cube)) result.push_back(cubeMinus(cube, c));
  return result;
}

Cube commonCube(const SumOfProducts& f) {
  if (f.empty()) return {};
  Cube common = f[0];
  for (size_t i = 1; i < f.size() && !common.empty(); ++i) {
    Cube next;
    std::set_intersection(common.begin(), common.end(), f[i].begin(), f[i].end(), std::back_inserter(next),
                          literalBefore);
    common = std::move(next);
  }
  return common;
}

// The distinct literals of a cover in rank order.
std::vector<CubeLiteral> literalsOf(const SumOfProducts& f) {
  std::vector<CubeLiteral> all;
  for (const Cube& cube : f) all.insert(all.end(), cube.begin(), cube.end());
  std::sort(all.begin(), all.end(), literalBefore);
  all.erase(std::unique(all.begin(), all.end()), all.end());
  return all;
}

size_t occurrences(const SumOfProducts& f, const CubeLiteral& literal) {
  return static_cast<size_t>(std::count_if(f.begin(), f.end(), [&](const Cube& cube) {
    return std::binary_search(cube.begin(), cube.end(), literal, literalBefore);
  }));
}

std::optional<SopNode> minimiseBetween(const bdd& on, const bdd& off, std::vector<uint32_t> support) {
  BddCover cover;
  cover.on = on;
  cover.off = off;
  cover.support = std::move(support);
  std::optional<SumOfProducts> result = minimiseCover(cover);
  if (!result) return std::nullopt;
  return SopNode(std::move(*result));
}

// Recursive kernel extraction: literals are taken in rank order from `first`, and a cube
// quotient whose common cube holds an earlier literal was already reached by that literal.
class KernelFinder {
 public:
  explicit KernelFinder(size_t limit) : limit_(limit) {}

  // `g` is cube-free with at least two cubes; `coKernel` divides F to give it.
  void extract(const SumOfProducts& g, const Cube& coKernel, size_t first, const std::vector<CubeLiteral>& order) {
    if (found_.size() >= limit_) return;
    found_.push_back({SopNode(g), coKernel});
    for (size_t i = first; i < order.size() && found_.size() < limit_; ++i) {
      if (occurrences(g, order[i]) < 2) continue;
      SumOfProducts quotient = cubeQuotient(g, {order[i]});
      Cube common = commonCube(quotient);
      bool earlier = std::any_of(common.begin(), common.end(), [&](const CubeLiteral& literal) {
        return rank(literal) < rank(order[i]);
      });
      if (earlier) continue;
      Cube divisor = cubeUnion(common, {order[i]});
      extract(normaliseCover(cubeQuotient(g, divisor)), cubeUnion(coKernel, divisor), i + 1, order);
    }
  }

  std::vector<Kernel> found_;

 private:
  size_t limit_;
};

// Kernels above this count are not weighed when factoring.
constexpr size_t FactorKernelLimit = 200;

FactoredForm literalForm(const CubeLiteral& literal) {
  FactoredForm form;
  form.kind = FactoredForm::Kind::Literal;
  form.literal = literal;
  return form;
}

// A conjunction or disjunction of the parts, flattened, with the neutral constant dropped and
// the absorbing one taking over.
FactoredForm combine(FactoredForm::Kind kind, std::vector<FactoredForm> parts) {
  using Kind = FactoredForm::Kind;
  Kind neutral = kind == Kind::And ? Kind::One : Kind::Zero;
  Kind absorbing = kind == Kind::And ? Kind::Zero : Kind::One;
  FactoredForm result;
  result.kind = kind;
  for (FactoredForm& part : parts) {
    if (part.kind == absorbing) return part;
    if (part.kind == neutral) continue;
    if (part.kind == kind) {
      for (FactoredForm& child : part.children) result.children.push_back(std::move(child));
    } else {
      result.children.push_back(std::move(part));
    }
  }
  if (result.children.empty()) result.kind = neutral;
  if (result.children.size() == 1) return std::move(result.children[0]);
  return result;
}

FactoredForm cubeForm(const Cube& cube) {
  std::vector<FactoredForm> parts;
  for (const CubeLiteral& literal : cube) parts.push_back(literalForm(literal));
  return combine(FactoredForm::Kind::And, std::move(parts));
}

FactoredForm sumForm(const SumOfProducts& f) {
  std::vector<FactoredForm> parts;
  for (const Cube& cube : f) parts.push_back(cubeForm(cube));
  return combine(FactoredForm::Kind::Or, std::move(parts));
}

FactoredForm goodFactor(const SopNode& f);

// F = l*Q + R for the literal in most cubes, the first in rank order among equals.
FactoredForm literalFactor(const SopNode& f) {
  std::vector<CubeLiteral> literals = literalsOf(f.cover());
  size_t best = 0, bestCount = 0;
  for (size_t i = 0; i < literals.size(); ++i) {
    size_t count = occurrences(f.cover(), literals[i]);
    if (count > bestCount) best = i, bestCount = count;
  }
  if (bestCount < 2) return sumForm(f.cover());
  Division split = weakDivide(f, SopNode({{literals[best]}}));
  return combine(FactoredForm::Kind::Or,
                 {combine(FactoredForm::Kind::And, {literalForm(literals[best]), goodFactor(split.quotient)}),
                  goodFactor(split.remainder)});
}

// Literals saved by writing Q*K as (Q)(K).
int64_t saving(const Division& split, const SopNode& kernel) {
  auto cubes = [](const SopNode& n) { return static_cast<int64_t>(n.cover().size()); };
  auto literals = [](const SopNode& n) { return static_cast<int64_t>(n.literals()); };
  return (cubes(split.quotient) - 1) * literals(kernel) + (cubes(kernel) - 1) * literals(split.quotient);
}

FactoredForm goodFactor(const SopNode& f) {
  if (f.isZero()) return FactoredForm{};
  if (f.cover().size() == 1) return cubeForm(f.cover()[0]);
  Cube common = commonCube(f.cover());
  if (!common.empty())
    return combine(FactoredForm::Kind::And, {cubeForm(common), goodFactor(SopNode(cubeQuotient(f.cover(), common)))});
  std::optional<SopNode> best;
  int64_t bestSaving = 0;
  for (const Kernel& k : kernels(f, FactorKernelLimit)) {
    if (k.coKernel.empty()) continue;  // F itself
    int64_t s = saving(weakDivide(f, k.kernel), k.kernel);
    if (s > bestSaving) best = k.kernel, bestSaving = s;
  }
  if (!best) return literalFactor(f);
  Division split = weakDivide(f, *best);
  if (split.quotient.cover().size() == 1)
    return combine(FactoredForm::Kind::Or,
                   {combine(FactoredForm::Kind::And, {cubeForm(split.quotient.cover()[0]), goodFactor(*best)}),
                    goodFactor(split.remainder)});
  // Divide again by the cube-free quotient: the divisor it gives back may be wider than the kernel.
  SopNode quotient(cubeQuotient(split.quotient.cover(), commonCube(split.quotient.cover())));
  Division again = weakDivide(f, quotient);
  return combine(FactoredForm::Kind::Or,
                 {combine(FactoredForm::Kind::And, {goodFactor(quotient), goodFactor(again.quotient)}),
                  goodFactor(again.remainder)});
}

// Text of a form; `And` children that are disjunctions are parenthesised.
std::string formText(const FactoredForm& form, const std::function<std::string(uint32_t)>& name, const char* andText,
                     const char* orText, const char* notText, const char* zero, const char* one) {
  using Kind = FactoredForm::Kind;
  switch (form.kind) {
    case Kind::Zero:
      return zero;
    case Kind::One:
      return one;
    case Kind::Literal:
      return (form.literal.positive ? "" : notText) + name(form.literal.variable);
    case Kind::And:
    case Kind::Or:
      break;
  }
  std::string text;
  for (const FactoredForm& child : form.children) {
    if (!text.empty()) text += form.kind == Kind::And ? andText : orText;
    std::string part = formText(child, name, andText, orText, notText, zero, one);
    text += form.kind == Kind::And && child.kind == Kind::Or ? "(" + part + ")" : part;
  }
  return text;
}

}  // namespace

SumOfProducts normaliseCover(SumOfProducts cover) {
  SumOfProducts cubes;
  for (Cube& cube : cover) {
    std::sort(cube.begin(), cube.end(), literalBefore);
    cube.erase(std::unique(cube.begin(), cube.end()), cube.end());
    if (cube.empty()) return {Cube{}};
    if (!isContradictory(cube)) cubes.push_back(std::move(cube));
  }
  // Shorter cubes first, so a cube need only be checked against those kept before it.
  std::sort(cubes.begin(), cubes.end(), [](const Cube& a, const Cube& b) {
    return a.size() != b.size() ? a.size() < b.size() : cubeBefore(a, b);
  });
  SumOfProducts kept;
  for (Cube& cube : cubes) {
    bool contained = std::any_of(kept.begin(), kept.end(), [&](const Cube& k) { return divides(k, cube); });
    if (!contained) kept.push_back(std::move(cube));
  }
  std::sort(kept.begin(), kept.end(), cubeBefore);
  return kept;
}

SopNode::SopNode(SumOfProducts cover) : cover_(normaliseCover(std::move(cover))) {}

std::optional<SopNode> nodeFromCover(const BddCover& cover, const MinimiserLimits& limits) {
  std::optional<SumOfProducts> result = minimiseCover(cover, limits);
  if (!result) return std::nullopt;
  return SopNode(std::move(*result));
}

std::optional<SopNode> SopNode::simplify(const bdd& dontCare) const {
  try {
    bdd f = function();
    return minimiseBetween(bdd_apply(f, dontCare, bddop_diff), bdd_apply(f, dontCare, bddop_nor), sopVariables(cover_));
  } catch (const BddError&) {
    return std::nullopt;  // reported by the error hook
  }
}

std::optional<SopNode> SopNode::complement() const {
  try {
    bdd f = function();
    return minimiseBetween(!f, f, sopVariables(cover_));
  } catch (const BddError&) {
    return std::nullopt;
  }
}

Division weakDivide(const SopNode& f, const SopNode& d) {
  if (d.isZero()) return {SopNode(), f};
  // The quotient is the intersection over the divisor's cubes of the cube quotients.
  SumOfProducts quotient;
  for (size_t i = 0; i < d.cover().size(); ++i) {
    SumOfProducts part = cubeQuotient(f.cover(), d.cover()[i]);
    std::sort(part.begin(), part.end(), cubeBefore);
    if (i == 0) {
      quotient = std::move(part);
    } else {
      SumOfProducts common;
      std::set_intersection(quotient.begin(), quotient.end(), part.begin(), part.end(), std::back_inserter(common),
                            cubeBefore);
      quotient = std::move(common);
    }
    if (quotient.empty()) return {SopNode(), f};
  }
  SumOfProducts product;
  for (const Cube& q : quotient)
    for (const Cube& c : d.cover()) product.push_back(cubeUnion(q, c));
  std::sort(product.begin(), product.end(), cubeBefore);
  SumOfProducts remainder;
  for (const Cube& cube : f.cover())
    if (!std::binary_search(product.begin(), product.end(), cube, cubeBefore)) remainder.push_back(cube);
  return {SopNode(std::move(quotient)), SopNode(std::move(remainder))};
}

std::optional<ThreeWayDivision> divideThreeWay(const SopNode& f, const SopNode& d) {
  std::optional<SopNode> complement = d.complement();
  if (!complement) return std::nullopt;
  Division first = weakDivide(f, d);
  Division second = weakDivide(first.remainder, *complement);
  return ThreeWayDivision{d, *complement, first.quotient, second.quotient, second.remainder};
}

Cube largestCommonCube(const SopNode& f) { return commonCube(f.cover()); }

bool isCubeFree(const SopNode& f) { return !f.isZero() && commonCube(f.cover()).empty(); }

std::vector<Kernel> kernels(const SopNode& f, size_t limit) {
  Cube common = commonCube(f.cover());
  SumOfProducts g = cubeQuotient(f.cover(), common);
  if (g.size() < 2 || limit == 0) return {};
  KernelFinder finder(limit);
  finder.extract(normaliseCover(std::move(g)), common, 0, literalsOf(f.cover()));
  return std::move(finder.found_);
}

std::vector<SopNode> divisors(const SopNode& f, size_t kernelLimit) {
  std::vector<SopNode> candidates;
  std::vector<Kernel> all = kernels(f, kernelLimit);
  for (const Kernel& k : all) candidates.push_back(k.kernel);
  for (const Kernel& k : all)
    if (!k.coKernel.empty()) candidates.push_back(SopNode({k.coKernel}));
  for (const CubeLiteral& literal : literalsOf(f.cover())) candidates.push_back(SopNode({{literal}}));
  std::set<SumOfProducts, bool (*)(const SumOfProducts&, const SumOfProducts&)> seen(
      [](const SumOfProducts& a, const SumOfProducts& b) {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), cubeBefore);
      });
  std::vector<SopNode> result;
  for (SopNode& candidate : candidates)
    if (candidate.literals() < f.literals() && seen.insert(candidate.cover()).second)
      result.push_back(std::move(candidate));
  return result;
}

uint64_t FactoredForm::literals() const {
  if (kind == Kind::Literal) return 1;
  uint64_t count = 0;
  for (const FactoredForm& child : children) count += child.literals();
  return count;
}

bdd FactoredForm::function() const {
  switch (kind) {
    case Kind::Zero:
      return bddfalse;
    case Kind::One:
      return bddtrue;
    case Kind::Literal:
      return literal.positive ? bddVariable(literal.variable) : !bddVariable(literal.variable);
    case Kind::And:
    case Kind::Or:
      break;
  }
  bdd result = kind == Kind::And ? bddtrue : bddfalse;
  for (const FactoredForm& child : children)
    result = kind == Kind::And ? result & child.function() : result | child.function();
  return result;
}

FactoredForm factor(const SopNode& f) {
  if (f.isOne()) return FactoredForm{FactoredForm::Kind::One, {0, true}, {}};
  FactoredForm form = goodFactor(f);
  // Each step is an algebraic division, which cannot add literals; kept as a guard.
  return form.literals() <= f.literals() ? form : sumForm(f.cover());
}

std::string factoredText(const FactoredForm& form, const std::function<std::string(uint32_t)>& name) {
  return formText(form, name, " & ", " | ", "!", "1b`0", "1b`1");
}

std::string factoredText(const FactoredForm& form) {
  return formText(form, [](uint32_t v) { return "v" + std::to_string(v); }, "*", " + ", "!", "0", "1");
}

}  // namespace nurex
