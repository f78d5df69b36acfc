// Gate matching by one BDD per gate over selection variables: for every gate input, which
// support variable feeds it (one-hot) and a polarity bit. The BDD holds exactly the
// selections under which the gate's output agrees with the cover everywhere (universal
// quantification over the support), and a cheapest path through it gives the selection
// with the fewest input bubbles.
#include "decompose/gate_match.h"

#include <algorithm>
#include <limits>
#include <map>

#include "platform/reporter.h"

namespace nurex {

namespace {

// Gate inputs beyond this are not matched: the selection BDD grows with inputs times support.
constexpr uint32_t MaxMatchedInputs = 8;

bdd evaluate(const GenlibExpr& e, const std::vector<std::string>& names, const std::vector<bdd>& values) {
  switch (e.kind) {
    case GenlibExpr::Const0: return bddfalse;
    case GenlibExpr::Const1: return bddtrue;
    case GenlibExpr::Input: {
      auto at = std::find(names.begin(), names.end(), e.name);
      return at == names.end() ? bddfalse : values[static_cast<size_t>(at - names.begin())];
    }
    case GenlibExpr::Not: return !evaluate(*e.operands[0], names, values);
    case GenlibExpr::And: {
      bdd r = bddtrue;
      for (const auto& o : e.operands) r &= evaluate(*o, names, values);
      return r;
    }
    case GenlibExpr::Or: {
      bdd r = bddfalse;
      for (const auto& o : e.operands) r |= evaluate(*o, names, values);
      return r;
    }
  }
  return bddfalse;
}

// One more than the largest variable the BDD reads. (BuDDy's bdd_support keeps a buffer of
// its own that is never freed, which the leak checker reports.)
uint32_t variablesBelow(const bdd& f) {
  uint32_t top = 0;
  std::vector<bdd> pending{f};
  std::map<int, bool> seen;
  while (!pending.empty()) {
    bdd g = pending.back();
    pending.pop_back();
    if (g == bddtrue || g == bddfalse || !seen.emplace(g.id(), true).second) continue;
    top = std::max(top, static_cast<uint32_t>(bdd_var(g)) + 1);
    pending.push_back(bdd_low(g));
    pending.push_back(bdd_high(g));
  }
  return top;
}

// The selection variables of one gate: for data input i, select(i, j) says that support
// variable j feeds it and polarity(i) that it is fed inverted.
struct Selection {
  uint32_t base, inputs, support;
  int select(uint32_t i, uint32_t j) const { return static_cast<int>(base + i * (support + 1) + j); }
  int polarity(uint32_t i) const { return static_cast<int>(base + i * (support + 1) + support); }
  uint32_t variables() const { return inputs * (support + 1); }
};

// The cheapest path to TRUE, counting a polarity variable set to 1; variables off the path
// are free and taken as 0.
class FewestBubbles {
 public:
  FewestBubbles(const Selection& s) : s_(s) {}
  uint32_t cost(const bdd& f) {
    if (f == bddtrue) return 0;
    if (f == bddfalse) return Infinite;
    auto known = memo_.find(f.id());
    if (known != memo_.end()) return known->second;
    int v = bdd_var(f);
    uint32_t low = cost(bdd_low(f)), high = cost(bdd_high(f));
    if (high != Infinite && isPolarity(v)) ++high;
    uint32_t best = std::min(low, high);
    memo_.emplace(f.id(), best);
    return best;
  }
  // The variables set along a cheapest path.
  std::vector<int> path(bdd f) {
    std::vector<int> set;
    while (f != bddtrue) {
      int v = bdd_var(f);
      uint32_t high = cost(bdd_high(f));
      if (high != Infinite && isPolarity(v)) ++high;
      if (cost(bdd_low(f)) <= high) {
        f = bdd_low(f);
      } else {
        set.push_back(v);
        f = bdd_high(f);
      }
    }
    return set;
  }
  static constexpr uint32_t Infinite = std::numeric_limits<uint32_t>::max();

 private:
  bool isPolarity(int v) const {
    uint32_t offset = static_cast<uint32_t>(v) - s_.base;
    return static_cast<uint32_t>(v) >= s_.base && offset % (s_.support + 1) == s_.support;
  }
  const Selection& s_;
  std::map<int, uint32_t> memo_;  // by node: the BDD is alive throughout, so ids stay valid
};

struct Regions {
  bdd one, zero;          // where the output must be 1 and 0 (combinational view)
  bdd oneLow, oneHigh;    // sequential: must be 1 with the feedback at 0 (ER+) and at 1 (QR+)
  bdd zeroLow, zeroHigh;  // must be 0 with the feedback at 0 (QR-) and at 1 (ER-)
};

Regions regionsOf(const BddCover& c) {
  if (!c.sequential) return {c.on, c.off, c.on, c.on, c.off, c.off};
  return {c.er_plus | c.qr_plus, c.er_minus | c.qr_minus, c.er_plus, c.qr_plus, c.qr_minus, c.er_minus};
}

// The BDD of all selections under which the gate matches the regions.
bdd matches(const GenlibGate& gate, const Regions& r, const std::vector<uint32_t>& support, const Selection& s) {
  std::vector<bdd> values(gate.inputs.size(), bddfalse);
  int next = gate.nextInput();
  bdd constraint = bddtrue;
  uint32_t data = 0;
  for (size_t k = 0; k < gate.inputs.size(); ++k) {
    if (static_cast<int>(k) == next) continue;
    bdd fed = bddfalse, one = bddfalse, none = bddtrue;
    for (uint32_t j = 0; j < s.support; ++j) {
      bdd sel = bdd_ithvar(s.select(data, j));
      fed |= sel & bdd_ithvar(static_cast<int>(support[j]));
      one = (one & !sel) | (none & sel);  // exactly one selection so far
      none &= !sel;
    }
    constraint &= one;
    values[k] = fed ^ bdd_ithvar(s.polarity(data));
    ++data;
  }
  // Every support variable feeds some input.
  for (uint32_t j = 0; j < s.support; ++j) {
    bdd used = bddfalse;
    for (uint32_t i = 0; i < s.inputs; ++i) used |= bdd_ithvar(s.select(i, j));
    constraint &= used;
  }
  bdd good;
  if (next >= 0) {
    values[next] = bddfalse;
    bdd atLow = evaluate(*gate.function, gate.inputs, values);
    values[next] = bddtrue;
    bdd atHigh = evaluate(*gate.function, gate.inputs, values);
    good = bdd_imp(r.oneLow, atLow) & bdd_imp(r.oneHigh, atHigh) & bdd_imp(r.zeroLow, !atLow) &
           bdd_imp(r.zeroHigh, !atHigh);
  } else {
    bdd out = evaluate(*gate.function, gate.inputs, values);
    good = bdd_imp(r.one, out) & bdd_imp(r.zero, !out);
  }
  std::vector<int> vars(support.begin(), support.end());
  bdd quantified = vars.empty() ? good : bdd_forall(good, bdd_makesetpp(vars.data(), static_cast<int>(vars.size())));
  return quantified & constraint;
}

}  // namespace

std::string GateMatch::text() const {
  if (!gate) return "UNSUCCESSFUL MATCH";
  std::string text = "Gate: " + gate->name + (inverted ? " (inverted)" : "") + ", area: ";
  char number[32];
  std::snprintf(number, sizeof number, "%g", area);
  text += number;
  text += ", inputs:";
  for (const GateMatchInput& in : inputs) text += std::string(" ") + (in.bubble ? "!" : "") + "v" + std::to_string(in.variable);
  return text;
}

GateMatch matchGate(const BddCover& cover, const std::vector<const GenlibGate*>& gates, double inverterArea) {
  GateMatch best;
  try {
    bddManager();
    std::vector<uint32_t> support = cover.support;
    uint32_t widest = 0;
    for (const GenlibGate* g : gates) widest = std::max(widest, g->inputCount());
    if (verbosity >= 5) printTo(stdout, "\nTrying to match %s", cover.text().c_str());
    if (support.size() > widest || support.size() > MaxMatchedInputs) {
      if (verbosity >= 5) printTo(stdout, "\nNo match found - too many inputs");
      return best;
    }
    // Selection variables lie just above every variable the regions read, so that repeated
    // matches reuse them instead of adding variables each time.
    uint32_t base = 0;
    for (uint32_t v : support) base = std::max(base, v + 1);
    for (const bdd& region : {cover.on, cover.off, cover.er_plus, cover.qr_plus, cover.er_minus, cover.qr_minus})
      base = std::max(base, variablesBelow(region));
    double bestCost = std::numeric_limits<double>::infinity();
    // The support's own variables stand for the gate's inputs, so substituting them is the
    // identity here.
    if (verbosity >= 7) printTo(stdout, "\nCovers after substituting variables: %s", cover.text().c_str());
    const Regions direct = regionsOf(cover), complemented = regionsOf(cover.complement());
    for (const GenlibGate* gate : gates)
      for (bool inverted : {false, true}) {
        const Regions& regions = inverted ? complemented : direct;
        uint32_t inputs = gate->inputCount();
        bool feedback = gate->nextInput() >= 0;
        if (inputs < support.size() || inputs > MaxMatchedInputs || (feedback && !cover.sequential)) continue;
        if (support.empty() && inputs > 0) continue;
        Selection s{base, inputs, static_cast<uint32_t>(support.size())};
        ensureBddVariables(base + s.variables());
        bdd all = matches(*gate, regions, support, s);
        if (verbosity >= 7) printTo(stdout, "\nBDD for gate %s: %s", gate->name.c_str(), bddText(all).c_str());
        if (all == bddfalse) {
          if (verbosity >= 6) printTo(stdout, "\nNo match for gate %s", gate->name.c_str());
          continue;
        }
        if (verbosity >= 6) {
          printTo(stdout, "\nMatch(es) exist for gate %s", gate->name.c_str());
          printTo(stdout, "\nBDD for all matches: %s", bddText(all).c_str());
        }
        FewestBubbles walk(s);
        uint32_t bubbles = walk.cost(all);
        double cost = gate->area + (bubbles + (inverted ? 1 : 0)) * inverterArea;
        if (!(cost < bestCost)) {
          if (verbosity >= 6) printTo(stdout, "\nNo improvement in cost with gate %s; skip the gate", gate->name.c_str());
          continue;
        }
        if (verbosity >= 6) printTo(stdout, "\nBetter match found with gate %s", gate->name.c_str());
        std::vector<int> set = walk.path(all);
        GateMatch match;
        match.gate = gate;
        match.inverted = inverted;
        match.area = cost;
        for (uint32_t i = 0; i < inputs; ++i) {
          GateMatchInput in{support.empty() ? 0 : support[0], false};
          for (uint32_t j = 0; j < s.support; ++j)
            if (std::find(set.begin(), set.end(), s.select(i, j)) != set.end()) in.variable = support[j];
          in.bubble = std::find(set.begin(), set.end(), s.polarity(i)) != set.end();
          match.inputs.push_back(in);
        }
        best = match;
        bestCost = cost;
      }
    if (verbosity >= 5) printTo(stdout, best.gate ? "\nBest match: %s" : "\nNo match found", best.text().c_str());
  } catch (const BddError&) {
    // Reported by the error hook; the status tells the caller.
    return GateMatch{};
  }
  return best;
}

bool setLibrary(const std::string& fileName, bool useLatches, int32_t maxInputs, std::unique_ptr<GateLibrary>& library,
                std::vector<LibraryGate>& gates, std::vector<TwoInputCover>* covers) {
  if (verbosity >= 3) printTo(stdout, "\nSetting the gate library to %s", fileName.empty() ? "DEFAULT" : fileName.c_str());
  library = loadGateLibrary(fileName);
  if (!library) return false;
  gates = classifyGates(*library, useLatches, maxInputs);
  if (covers) *covers = twoInputCovers(gates, library->inverterArea, useLatches);
  return raiseStatus(0) < StatusError;
}

namespace {

// "1- -0": the sum of the cubes, one character per variable.
bdd cubesToBdd(const std::string& text) {
  bdd sum = bddfalse, cube = bddtrue;
  uint32_t variable = 0;
  for (char c : text + " ") {
    if (c == ' ') {
      sum |= cube;
      cube = bddtrue;
      variable = 0;
      continue;
    }
    if (c != '-') cube &= c == '1' ? bdd_ithvar(static_cast<int>(variable)) : bdd_nithvar(static_cast<int>(variable));
    ++variable;
  }
  return sum;
}

}  // namespace

std::vector<TwoInputCover> twoInputCovers(const std::vector<LibraryGate>& gates, double inverterArea, bool useLatches) {
  ensureBddVariables(2);
  std::vector<const GenlibGate*> candidates;
  for (const LibraryGate& g : gates) candidates.push_back(g.gate);
  std::vector<TwoInputCover> out;
  auto add = [&](const std::string& text, BddCover cover) {
    cover.support = {0, 1};
    GateMatch match = matchGate(cover, candidates, inverterArea);
    out.push_back({text, std::move(cover), std::move(match)});
  };
  static const char* const minterms[] = {"11", "00", "10", "01"};
  static const char* const sums[] = {"1- -1", "-0 0-", "1- -0", "0- -1", "10 01", "11 00"};
  for (const char* text : minterms) {
    BddCover cover;
    cover.on = cubesToBdd(text);
    cover.off = !cover.on;
    add(text, cover);
  }
  for (const char* text : sums) {
    BddCover cover;
    cover.on = cubesToBdd(text);
    cover.off = !cover.on;
    add(text, cover);
  }
  if (!useLatches) return out;
  for (const char* set : minterms)
    for (const char* reset : minterms) {
      if (set == reset) continue;
      BddCover cover;
      cover.sequential = true;
      cover.er_plus = cubesToBdd(set);
      cover.qr_minus = !cover.er_plus;
      cover.er_minus = cubesToBdd(reset);
      cover.qr_plus = !cover.er_minus;
      add(std::string(set) + "/" + reset, cover);
    }
  return out;
}

BddCover gateCover(const GenlibGate& gate) {
  BddCover cover;
  uint32_t inputs = gate.inputCount();
  ensureBddVariables(inputs);
  int next = gate.nextInput();
  std::vector<bdd> values(gate.inputs.size(), bddfalse);
  for (size_t k = 0, data = 0; k < gate.inputs.size(); ++k)
    if (static_cast<int>(k) != next) {
      cover.support.push_back(static_cast<uint32_t>(data));
      values[k] = bdd_ithvar(static_cast<int>(data++));
    }
  if (next < 0) {
    cover.on = evaluate(*gate.function, gate.inputs, values);
    cover.off = !cover.on;
    return cover;
  }
  cover.sequential = true;
  values[next] = bddfalse;
  cover.er_plus = evaluate(*gate.function, gate.inputs, values);
  cover.qr_minus = !cover.er_plus;
  values[next] = bddtrue;
  cover.qr_plus = evaluate(*gate.function, gate.inputs, values);
  cover.er_minus = !cover.qr_plus;
  return cover;
}

std::vector<LibraryGate> classifyGates(const GateLibrary& library, bool useLatches, int32_t maxInputs) {
  std::vector<LibraryGate> table;
  try {
    for (const GenlibGate* g : selectGates(library, useLatches, maxInputs)) {
      table.push_back({g, gateCover(*g)});
      if (verbosity >= 4)
        printTo(stdout, "\nGate: %s (area=%g), Covers:\n%s", g->name.c_str(), g->area, table.back().cover.text().c_str());
    }
  } catch (const BddError&) {
    return {};
  }
  for (size_t i = 0; i < table.size();) {
    const GenlibGate* gate = table[i].gate;
    std::vector<const GenlibGate*> others;
    for (size_t j = 0; j < table.size(); ++j)
      if (j != i) others.push_back(table[j].gate);
    GateMatch match = matchGate(table[i].cover, others, library.inverterArea);
    bool useless =
        match.gate && (match.area < gate->area || (match.area == gate->area && match.gate->name < gate->name));
    if (!useless) {
      ++i;
      continue;
    }
    if (verbosity >= 1)
      printTo(stdout, "\nGate %s will be ignored as it can be matched as %s", gate->name.c_str(), match.text().c_str());
    table.erase(table.begin() + static_cast<std::ptrdiff_t>(i));
  }
  // The mapped output needs them, whatever could stand in for them.
  for (const GenlibGate* g : {library.inverterGate, library.bufferGate})
    if (g && std::none_of(table.begin(), table.end(), [g](const LibraryGate& l) { return l.gate == g; }))
      table.push_back({g, gateCover(*g)});
  if (verbosity >= 1) printTo(stdout, "\nFinished setting the gate library");
  return table;
}

}  // namespace nurex
