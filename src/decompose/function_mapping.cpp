// Tree mapping of a function: a gate where one matches, else the cheapest of a few algebraic
// splits of its minimised cover (sums and products cut in two, a shared literal factored
// out, the same on the complement), each part mapped in turn. Parts that are single
// literals feed the gate above directly, through a bubble if negative.
#include "decompose/function_mapping.h"

#include <algorithm>
#include <map>

#include "kernel/two_level.h"

namespace nurex {

namespace {

// A part of a split: either one literal, read by the gate above directly, or a function.
struct Part {
  SumOfProducts sop;
  bool literal() const { return sop.size() == 1 && sop[0].size() == 1; }
};

BddCover partCover(const Part& part, const bdd& care) { return coverOfPart(part.sop, care); }

}  // namespace

// The care set seen from the part's own variables: gate matching quantifies over the support
// only, so the regions must not read anything else.
BddCover coverOfPart(const SumOfProducts& sop, const bdd& care) {
  std::vector<uint32_t> support = sopVariables(sop);
  std::vector<int> others;
  bdd all = bddSupport(care);
  while (all != bddtrue && all != bddfalse) {
    uint32_t v = static_cast<uint32_t>(bdd_var(all));
    if (!std::binary_search(support.begin(), support.end(), v)) others.push_back(static_cast<int>(v));
    all = bdd_high(all);
  }
  bdd seen = others.empty() ? care : bdd_exist(care, bdd_makesetpp(others.data(), static_cast<int>(others.size())));
  BddCover c = coverOfFunction(sopToBdd(sop), seen);
  c.support = support;
  return c;
}

namespace {

// The top function G(t0, t1) over the parts: a literal part stands for itself.
BddCover topCover(bool orForm, bool inverted, const Part parts[2], uint32_t free) {
  bdd t[2];
  std::vector<uint32_t> support;
  for (int i = 0; i < 2; ++i) {
    if (parts[i].literal()) {
      const CubeLiteral& l = parts[i].sop[0][0];
      t[i] = l.positive ? bddVariable(l.variable) : !bddVariable(l.variable);
      support.push_back(l.variable);
    } else {
      t[i] = bddVariable(free + static_cast<uint32_t>(i));
      support.push_back(free + static_cast<uint32_t>(i));
    }
  }
  bdd g = orForm ? (t[0] | t[1]) : (t[0] & t[1]);
  if (inverted) g = !g;
  BddCover c;
  c.on = g;
  c.off = !g;
  std::sort(support.begin(), support.end());
  support.erase(std::unique(support.begin(), support.end()), support.end());
  c.support = support;
  return c;
}

void addSplit(std::vector<CoverSplit>& out, const char* kind, bool inverted, SumOfProducts a, SumOfProducts b,
              const bdd& care, uint32_t free) {
  if (a.empty() || b.empty()) return;
  Part parts[2] = {{std::move(a)}, {std::move(b)}};
  CoverSplit s;
  s.kind = kind;
  bool orForm = std::string(kind) == "OR";
  s.top = topCover(orForm, inverted, parts, free);
  for (int i = 0; i < 2; ++i) s.parts[i] = partCover(parts[i], care);
  out.push_back(std::move(s));
}

// Splits of one polarity of the function: the minimised sum of `f`, whose complement is
// taken by the gate above when `inverted`.
void splitsOf(const SumOfProducts& sop, bool inverted, const bdd& care, uint32_t free, std::vector<CoverSplit>& out) {
  if (sop.size() >= 2) {
    size_t half = sop.size() / 2;
    addSplit(out, "OR", inverted, {sop.begin(), sop.begin() + half}, {sop.begin() + half, sop.end()}, care, free);
    // A literal shared by several products comes out as one factor.
    std::map<std::pair<uint32_t, bool>, int> uses;
    for (const Cube& c : sop)
      for (const CubeLiteral& l : c) ++uses[{l.variable, l.positive}];
    int tried = 0;
    for (const auto& [lit, count] : uses) {
      if (count < 2 || count == static_cast<int>(sop.size()) || tried >= 3) continue;
      SumOfProducts with, rest;
      for (const Cube& c : sop) {
        bool has = std::find(c.begin(), c.end(), CubeLiteral{lit.first, lit.second}) != c.end();
        (has ? with : rest).push_back(c);
      }
      addSplit(out, "OR", inverted, std::move(with), std::move(rest), care, free);
      ++tried;
    }
    for (size_t i = 0; i < sop.size() && i < 3; ++i) {
      if (sop.size() == 2 && i == 1) break;
      SumOfProducts rest;
      for (size_t j = 0; j < sop.size(); ++j)
        if (j != i) rest.push_back(sop[j]);
      if (half == 1 && i == 0) continue;  // the same as the halves
      addSplit(out, "OR", inverted, {sop[i]}, std::move(rest), care, free);
    }
  } else if (sop.size() == 1 && sop[0].size() >= 2) {
    const Cube& c = sop[0];
    size_t half = c.size() / 2;
    addSplit(out, "AND", inverted, {Cube(c.begin(), c.begin() + half)}, {Cube(c.begin() + half, c.end())}, care, free);
  }
  // A sum whose products share a literal: l * (rest) as a product of two parts.
  if (sop.size() >= 2) {
    for (const CubeLiteral& l : sop[0]) {
      bool everywhere = true;
      for (const Cube& c : sop) everywhere = everywhere && std::find(c.begin(), c.end(), l) != c.end();
      if (!everywhere) continue;
      SumOfProducts quotient;
      for (const Cube& c : sop) {
        Cube q;
        for (const CubeLiteral& m : c)
          if (!(m == l)) q.push_back(m);
        quotient.push_back(std::move(q));
      }
      addSplit(out, "AND", inverted, {Cube{l}}, std::move(quotient), care, free);
      break;
    }
  }
}

// Appends `sub` to `out` and feeds with its root every input of out's gate that reads y.
void graft(GateNetwork& out, const GateNetwork& sub, uint32_t y) {
  int32_t root = static_cast<int32_t>(out.nodes.size());
  for (GateNode node : sub.nodes) {
    for (int32_t& f : node.feeds)
      if (f >= 0) f += root;
    out.nodes.push_back(std::move(node));
  }
  out.area += sub.area;
  const GateMatch& m = out.nodes[0].match;
  for (size_t k = 0; k < m.inputs.size(); ++k)
    if (m.inputs[k].variable == y) out.nodes[0].feeds[k] = root;
}

class TreeMapper {
 public:
  explicit TreeMapper(const MappingContext& context) : context_(context) {}

  // A function met again is not searched again, whatever depth is left: the search is
  // exponential in the depth, and the first answer is good enough to share.
  std::optional<GateNetwork> map(const BddCover& cover, uint32_t depth) {
    auto key = std::make_pair(cover.on.id(), cover.off.id());
    auto known = memo_.find(key);
    if (known != memo_.end()) return known->second;
    std::optional<GateNetwork> best = search(cover, depth);
    memo_[key] = best;
    keep_.push_back(cover);  // the ids of the memo stay valid while the BDDs live
    return best;
  }

 private:
  std::optional<GateNetwork> search(const BddCover& cover, uint32_t depth) {
    GateMatch direct = matchGate(cover, context_.combinational, context_.inverterArea);
    std::optional<GateNetwork> best;
    if (direct.gate) {
      GateNetwork n;
      n.nodes.push_back({direct, std::vector<int32_t>(direct.inputs.size(), -1), cover});
      n.area = direct.area;
      best = std::move(n);
    }
    if (depth == 0 || (best && budget_ == 0)) return best;
    // Past the budget only the first split is followed, which halves the cover each time: the
    // search then ends after a number of steps linear in its size.
    bool wide = budget_ > 0;
    if (wide) --budget_;
    for (const CoverSplit& split : splitCover(cover, context_)) {
      std::optional<GateNetwork> candidate = compose(split.top, split.parts, wide ? depth : depth + 1, cover);
      if (candidate && (!best || candidate->area < best->area)) best = std::move(candidate);
      if (!wide && best) break;
    }
    return best;
  }

  // The gate matching `top`, its inputs on fresh variables fed by the parts' networks.
  std::optional<GateNetwork> compose(const BddCover& top, const BddCover parts[2], uint32_t depth, const BddCover& whole) {
    GateMatch m = matchGate(top, context_.combinational, context_.inverterArea);
    if (!m.gate) return std::nullopt;
    GateNetwork out;
    out.nodes.push_back({m, std::vector<int32_t>(m.inputs.size(), -1), whole});
    out.area = m.area;
    for (int i = 0; i < 2; ++i) {
      uint32_t y = context_.firstFreeVariable + static_cast<uint32_t>(i);
      bool fed = false;
      for (const GateMatchInput& in : m.inputs) fed = fed || in.variable == y;
      if (!fed) continue;
      std::optional<GateNetwork> sub = map(parts[i], depth - 1);
      if (!sub) return std::nullopt;
      graft(out, *sub, y);
    }
    return out;
  }

  const MappingContext& context_;
  uint32_t budget_ = 40;  // searches that may try every split
  std::map<std::pair<int, int>, std::optional<GateNetwork>> memo_;
  std::vector<BddCover> keep_;
};

}  // namespace

BddCover coverOfFunction(const bdd& h, const bdd& care) {
  BddCover c;
  c.on = h & care;
  c.off = (!h) & care;
  return c;
}

std::vector<CoverSplit> splitCover(const BddCover& cover, const MappingContext& context) {
  std::vector<CoverSplit> out;
  bdd care = cover.on | cover.off;
  for (bool inverted : {false, true}) {
    BddCover c = inverted ? cover.complement() : cover;
    std::optional<SumOfProducts> sop = minimiseCover(c);
    if (!sop) continue;
    splitsOf(*sop, inverted, care, context.firstFreeVariable, out);
  }
  return out;
}

std::optional<GateNetwork> mapCombinational(const BddCover& cover, const MappingContext& context) {
  ensureBddVariables(context.firstFreeVariable + 2);
  TreeMapper mapper(context);
  return mapper.map(cover, context.depthLimit);
}

std::optional<GateNetwork> mapMonotonic(const BddCover& set, const BddCover& reset, const MappingContext& context) {
  if (context.latches.empty()) return std::nullopt;
  ensureBddVariables(context.firstFreeVariable + 2);
  std::optional<SumOfProducts> s = minimiseCover(set), r = minimiseCover(reset);
  if (!s || !r) return std::nullopt;
  Part parts[2] = {{*s}, {*r}};
  bdd t[2];
  std::vector<uint32_t> support;
  for (int i = 0; i < 2; ++i) {
    uint32_t v = context.firstFreeVariable + static_cast<uint32_t>(i);
    if (parts[i].literal()) {
      const CubeLiteral& l = parts[i].sop[0][0];
      v = l.variable;
      t[i] = l.positive ? bddVariable(v) : !bddVariable(v);
    } else {
      t[i] = bddVariable(v);
    }
    support.push_back(v);
  }
  // High where set holds, low where reset holds, the value kept where neither does; both at
  // once never happens.
  BddCover top;
  top.sequential = true;
  top.er_plus = t[0] & !t[1];
  top.qr_plus = !t[1];
  top.er_minus = t[1] & !t[0];
  top.qr_minus = !t[0];
  std::sort(support.begin(), support.end());
  support.erase(std::unique(support.begin(), support.end()), support.end());
  top.support = support;
  GateMatch m = matchGate(top, context.latches, context.inverterArea);
  if (!m.gate) return std::nullopt;
  GateNetwork out;
  out.nodes.push_back({m, std::vector<int32_t>(m.inputs.size(), -1), top});
  out.area = m.area;
  const BddCover* covers[2] = {&set, &reset};
  for (int i = 0; i < 2; ++i) {
    if (parts[i].literal()) continue;
    uint32_t y = context.firstFreeVariable + static_cast<uint32_t>(i);
    std::optional<GateNetwork> sub = mapCombinational(*covers[i], context);
    if (!sub) return std::nullopt;
    graft(out, *sub, y);
  }
  return out;
}

}  // namespace nurex
