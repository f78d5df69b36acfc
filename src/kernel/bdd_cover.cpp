// Cubes and sums of products as BDDs, the cover operations, and the text form of a BDD as the
// sum of its paths to 1.
#include "kernel/bdd_cover.h"

#include <algorithm>
#include <unordered_map>

namespace nurex {

namespace {

// A BDD with more paths than this prints the first ones and then " + ...".
constexpr size_t MaxPrintedCubes = 1000;

void addToSupport(std::vector<uint32_t>& support, const Cube& cube) {
  for (const CubeLiteral& literal : cube) {
    auto at = std::lower_bound(support.begin(), support.end(), literal.variable);
    if (at == support.end() || *at != literal.variable) support.insert(at, literal.variable);
  }
}

// The paths of `f` to 1, low branch first, so the text depends on the function and the
// variable order only.
class PathPrinter {
 public:
  std::string print(const bdd& f) {
    if (f == bddfalse) return "0";
    if (f == bddtrue) return "1";
    walk(f);
    return text_;
  }

 private:
  void walk(const bdd& f) {
    if (f == bddfalse || cubes_ > MaxPrintedCubes) return;
    if (f == bddtrue) {
      if (++cubes_ > MaxPrintedCubes) {
        text_ += " + ...";
        return;
      }
      if (!text_.empty()) text_ += " + ";
      std::string cube;
      for (const std::string& literal : path_) cube += (cube.empty() ? "" : "*") + literal;
      text_ += cube.empty() ? "1" : cube;
      return;
    }
    std::string name = "v" + std::to_string(bdd_var(f));
    path_.push_back("!" + name);
    walk(bdd_low(f));
    path_.back() = name;
    walk(bdd_high(f));
    path_.pop_back();
  }

  std::vector<std::string> path_;
  std::string text_;
  size_t cubes_ = 0;
};

}  // namespace

bdd cubeToBdd(const Cube& cube) {
  uint32_t top = 0;
  for (const CubeLiteral& literal : cube) top = std::max(top, literal.variable + 1);
  ensureBddVariables(top);
  // Bottom-up, so each conjunction only adds a node above the cube built so far.
  bdd result = bddtrue;
  for (auto literal = cube.rbegin(); literal != cube.rend(); ++literal) {
    int variable = static_cast<int>(literal->variable);
    result &= literal->positive ? bdd_ithvar(variable) : bdd_nithvar(variable);
  }
  return result;
}

bdd sopToBdd(const SumOfProducts& sop) {
  bddManager();
  bdd result = bddfalse;
  for (const Cube& cube : sop) result |= cubeToBdd(cube);
  return result;
}

std::string bddText(const bdd& f) { return PathPrinter().print(f); }

// BuDDy's own support routine keeps a static buffer that it replaces without freeing when the
// variable count grows; a walk over the nodes needs no such state.
bdd bddSupport(const bdd& f) {
  std::vector<bool> variables(static_cast<size_t>(bdd_varnum()), false);
  std::unordered_map<int, bool> seen;
  std::vector<bdd> stack{f};
  while (!stack.empty()) {
    bdd node = stack.back();
    stack.pop_back();
    if (node == bddtrue || node == bddfalse || !seen.emplace(node.id(), true).second) continue;
    variables[static_cast<size_t>(bdd_var(node))] = true;
    stack.push_back(bdd_low(node));
    stack.push_back(bdd_high(node));
  }
  bdd set = bddtrue;
  for (size_t v = variables.size(); v-- > 0;)
    if (variables[v]) set &= bdd_ithvar(static_cast<int>(v));
  return set;
}

std::vector<uint32_t> sopVariables(const SumOfProducts& sop) {
  std::vector<uint32_t> vars;
  for (const Cube& c : sop)
    for (const CubeLiteral& l : c) vars.push_back(l.variable);
  std::sort(vars.begin(), vars.end());
  vars.erase(std::unique(vars.begin(), vars.end()), vars.end());
  return vars;
}

uint64_t literalCount(const SumOfProducts& sop) {
  uint64_t count = 0;
  for (const Cube& cube : sop) count += cube.size();
  return count;
}

void BddCover::add_on(const Cube& cube) {
  try {
    on |= cubeToBdd(cube);
    addToSupport(support, cube);
  } catch (const BddError&) {
    // Reported by the error hook; the status tells the caller.
  }
}

void BddCover::add_off(const Cube& cube) {
  try {
    off |= cubeToBdd(cube);
    addToSupport(support, cube);
  } catch (const BddError&) {
  }
}

BddCover BddCover::complement() const {
  BddCover result = *this;
  std::swap(result.on, result.off);
  std::swap(result.er_plus, result.er_minus);
  std::swap(result.qr_plus, result.qr_minus);
  result.complemented = !complemented;
  return result;
}

bool BddCover::isEmpty() const {
  return on == bddfalse && off == bddfalse && er_plus == bddfalse && qr_plus == bddfalse && er_minus == bddfalse &&
         qr_minus == bddfalse;
}

std::string BddCover::text() const {
  auto print = [](const bdd& f) { return PathPrinter().print(f); };
  if (!sequential) return "BDDCover{ON: " + print(on) + ", OFF: " + print(off) + "}";
  return "BDDCover{ER+: " + print(er_plus) + ", QR+: " + print(qr_plus) + ", ER-: " + print(er_minus) +
         ", QR-: " + print(qr_minus) + "}";
}

}  // namespace nurex
