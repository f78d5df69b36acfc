// Gate matching against exhaustive enumeration: for random covers of up to four variables
// (combinational with don't-cares, and set/reset covers for the latches), the cost of the
// match found is the least over all gates, input wirings, bubbles and output inversions,
// the match returned does compute the cover, and covers that nothing realises stay unmatched.
#include "decompose/gate_match.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <random>

#include "decompose/signal_cover.h"
#include "model/loaders.h"
#include "support/capture.h"

namespace nurex::test {
namespace {

// Region of each minterm of the support: combinational 0 OFF, 1 ON, 2 don't care;
// sequential 0 QR-, 1 ER+, 2 QR+, 3 ER-, 4 don't care.
struct RandomCover {
  std::vector<uint32_t> support;
  std::vector<int> region;
  bool sequential = false;
};

BddCover toCover(const RandomCover& r) {
  BddCover cover;
  cover.sequential = r.sequential;
  cover.support = r.support;
  for (size_t m = 0; m < r.region.size(); ++m) {
    Cube cube;
    for (size_t j = 0; j < r.support.size(); ++j) cube.push_back({r.support[j], ((m >> j) & 1) != 0});
    bdd b = cubeToBdd(cube);
    int g = r.region[m];
    if (!r.sequential) {
      if (g == 1) cover.on |= b;
      if (g == 0) cover.off |= b;
    } else {
      if (g == 0) cover.qr_minus |= b;
      if (g == 1) cover.er_plus |= b;
      if (g == 2) cover.qr_plus |= b;
      if (g == 3) cover.er_minus |= b;
    }
  }
  return cover;
}

// Whether the gate with inputs wired as `wiring` (support position, bubble) computes the
// cover; the feedback of a latch takes the signal's own value in each region.
bool computes(const GenlibGate& gate, const std::vector<std::pair<uint32_t, bool>>& wiring, bool inverted,
              const RandomCover& r) {
  int next = gate.nextInput();
  for (size_t m = 0; m < r.region.size(); ++m) {
    int g = r.region[m];
    bool dontCare = r.sequential ? g == 4 : g == 2;
    if (dontCare) continue;
    bool want = r.sequential ? (g == 1 || g == 2) : g == 1;
    // The latch's own output, fed back: the signal's value (1 in QR+ and ER-), or its
    // complement when an inverter follows the latch.
    bool own = r.sequential && ((g == 2 || g == 3) != inverted);
    std::vector<bool> values(gate.inputs.size());
    size_t data = 0;
    for (size_t k = 0; k < gate.inputs.size(); ++k) {
      if (static_cast<int>(k) == next) {
        values[k] = own;
        continue;
      }
      auto [j, bubble] = wiring[data++];
      values[k] = (((m >> j) & 1) != 0) != bubble;
    }
    if ((evaluateGenlib(*gate.function, gate.inputs, values) != inverted) != want) return false;
  }
  return true;
}

// The least cost over every gate, wiring (each support variable used) and inversion.
double bruteForce(const std::vector<const GenlibGate*>& gates, const RandomCover& r, double inverterArea) {
  double best = std::numeric_limits<double>::infinity();
  uint32_t m = static_cast<uint32_t>(r.support.size());
  for (const GenlibGate* gate : gates) {
    uint32_t k = gate->inputCount();
    bool feedback = gate->nextInput() >= 0;
    if (k < m || (feedback && !r.sequential) || (m == 0 && k > 0)) continue;
    uint32_t choices = 2 * std::max(m, 1u), total = 1;
    for (uint32_t i = 0; i < k; ++i) total *= choices;
    for (uint32_t code = 0; code < total; ++code) {
      std::vector<std::pair<uint32_t, bool>> wiring;
      std::vector<bool> used(m, false);
      uint32_t bubbles = 0;
      for (uint32_t i = 0, c = code; i < k; ++i, c /= choices) {
        uint32_t j = (c % choices) / 2;
        bool bubble = c % 2;
        wiring.push_back({j, bubble});
        if (j < m) used[j] = true;
        bubbles += bubble;
      }
      if (std::find(used.begin(), used.end(), false) != used.end()) continue;
      for (bool inverted : {false, true})
        if (computes(*gate, wiring, inverted, r))
          best = std::min(best, gate->area + (bubbles + inverted) * inverterArea);
    }
  }
  return best;
}

RandomCover drawCover(std::mt19937& random, bool sequential) {
  RandomCover r;
  r.sequential = sequential;
  uint32_t m = std::uniform_int_distribution<uint32_t>(0, 4)(random);
  for (uint32_t v = 0; r.support.size() < m; ++v)
    if (std::uniform_int_distribution<int>(0, 1)(random)) r.support.push_back(v);
  r.region.resize(size_t{1} << m);
  for (int& g : r.region) g = std::uniform_int_distribution<int>(0, sequential ? 4 : 2)(random);
  return r;
}

std::unique_ptr<GateLibrary> richer() {
  std::unique_ptr<GateLibrary> library;
  captureStderr([&] { library = loadGateLibrary(std::string(NUREX_SOURCE_DIR) + "/tests/data/decompose/richer.genlib"); });
  return library;
}

TEST(GateMatch, CheapestMatchAgreesWithExhaustiveSearch) {
  std::unique_ptr<GateLibrary> builtIn;
  captureStderr([&] { builtIn = loadGateLibrary(""); });
  std::unique_ptr<GateLibrary> rich = richer();
  ASSERT_TRUE(builtIn && rich);
  std::mt19937 random(7);
  int matched = 0, unmatched = 0, latches = 0;
  for (const GateLibrary* library : {builtIn.get(), rich.get()}) {
    std::vector<const GenlibGate*> gates = selectGates(*library, true, 2147483647);
    for (int round = 0; round < 300; ++round) {
      RandomCover r = drawCover(random, round % 3 == 2);
      SCOPED_TRACE("round " + std::to_string(round) + (r.sequential ? " sequential" : ""));
      GateMatch match = matchGate(toCover(r), gates, library->inverterArea);
      double expected = bruteForce(gates, r, library->inverterArea);
      if (expected == std::numeric_limits<double>::infinity()) {
        EXPECT_EQ(match.gate, nullptr) << match.text();
        ++unmatched;
        continue;
      }
      ASSERT_NE(match.gate, nullptr);
      ++matched;
      latches += match.gate->latch;
      EXPECT_EQ(match.area, expected) << match.text();
      // The wiring returned computes the cover at the price stated.
      std::vector<std::pair<uint32_t, bool>> wiring;
      uint32_t bubbles = 0;
      for (const GateMatchInput& in : match.inputs) {
        auto at = std::find(r.support.begin(), r.support.end(), in.variable);
        ASSERT_NE(at, r.support.end());
        wiring.push_back({static_cast<uint32_t>(at - r.support.begin()), in.bubble});
        bubbles += in.bubble;
      }
      EXPECT_TRUE(computes(*match.gate, wiring, match.inverted, r)) << match.text();
      EXPECT_EQ(match.area, match.gate->area + (bubbles + match.inverted) * library->inverterArea);
    }
  }
  EXPECT_GT(matched, 150);
  EXPECT_GT(unmatched, 50);
  EXPECT_GT(latches, 5);
}

TEST(GateMatch, ConstantsLiteralsAndTooManyInputs) {
  std::unique_ptr<GateLibrary> library;
  captureStderr([&] { library = loadGateLibrary(""); });
  ASSERT_TRUE(library);
  std::vector<const GenlibGate*> gates = selectGates(*library, true, 2147483647);
  BddCover one;
  one.on = bddtrue;
  EXPECT_EQ(matchGate(one, gates, 16).gate->name, "const1:combinational");
  BddCover notA;
  notA.support = {2};
  notA.on = bdd_nithvar(2);
  notA.off = bdd_ithvar(2);
  GateMatch inverter = matchGate(notA, gates, 16);
  ASSERT_NE(inverter.gate, nullptr);
  EXPECT_EQ(inverter.text(), "Gate: inv:combinational, area: 16, inputs: v2");
  BddCover wide;
  wide.support = {0, 1, 2, 3, 4};
  wide.on = bdd_ithvar(0) & bdd_ithvar(1) & bdd_ithvar(2) & bdd_ithvar(3) & bdd_ithvar(4);
  wide.off = !wide.on;
  EXPECT_EQ(matchGate(wide, gates, 16).text(), "UNSUCCESSFUL MATCH");
}

// The two-input table of the decomposition: each combinational entry is priced as the
// cheapest wiring of any kept gate; set/reset pairs exist only with latches, and the
// C-element's pair is the C-element latch.
TEST(GateMatch, TwoInputCoversAreTheCheapestGates) {
  for (bool latches : {false, true}) {
    std::unique_ptr<GateLibrary> library;
    std::vector<LibraryGate> kept;
    std::vector<TwoInputCover> covers;
    captureStderr([&] { EXPECT_TRUE(setLibrary("", latches, 2147483647, library, kept, &covers)); });
    ASSERT_TRUE(library);
    std::vector<const GenlibGate*> gates;
    for (const LibraryGate& g : kept) gates.push_back(g.gate);
    EXPECT_EQ(covers.size(), latches ? 22u : 10u);
    int matched = 0;
    for (const TwoInputCover& c : covers) {
      SCOPED_TRACE(c.text);
      if (c.cover.sequential) {
        if (c.text == "11/00") {
          EXPECT_EQ(c.match.gate ? c.match.gate->name : "", "c_element0:asynch");
        }
        continue;
      }
      RandomCover r{{0, 1}, {}, false};
      for (uint32_t m = 0; m < 4; ++m)
        r.region.push_back((c.cover.on & cubeToBdd({{0, (m & 1) != 0}, {1, (m & 2) != 0}})) != bddfalse);
      double best = bruteForce(gates, r, library->inverterArea);
      if (std::isinf(best)) {
        EXPECT_EQ(c.match.gate, nullptr);
      } else {
        EXPECT_DOUBLE_EQ(c.match.area, best);
        ++matched;
      }
    }
    EXPECT_GE(matched, 8);  // every and and or of two literals
  }
}

// The built-in library loses the gates that another one does as cheaply: or2_1 (A+!B) is
// nand2_1 (!(A*!B) = !A+B) with its inputs exchanged (rs_nand reads R first, so its inputs
// are fed S, R), and sr_nand (!S+R*Q) is rs_nand (!R+S*Q) at the same area with a later
// name. The inverter ties with the delay latch fed through a bubble (area 0 + 16), whose
// name comes first; so does the inverting delay latch, once the inverter has gone. The
// inverter comes back at the end.
TEST(GateMatch, ClassificationDropsGatesThatOthersDoAsCheaply) {
  std::unique_ptr<GateLibrary> library;
  std::vector<LibraryGate> kept;
  verbosity = 3;
  testing::internal::CaptureStdout();
  captureStderr([&] { EXPECT_TRUE(setLibrary("", true, 2147483647, library, kept)); });
  std::string out = testing::internal::GetCapturedStdout();
  verbosity = 0;
  ASSERT_TRUE(library);
  EXPECT_EQ(out,
            "\nSetting the gate library to DEFAULT"
            "\nGate inv:combinational will be ignored as it can be matched as Gate: delay:asynch, area: 16, inputs: "
            "!v0"
            "\nGate or2_1:combinational will be ignored as it can be matched as Gate: nand2_1:combinational, area: 24, "
            "inputs: v1 v0"
            "\nGate delay_inv:asynch will be ignored as it can be matched as Gate: delay:asynch, area: 16, inputs: "
            "!v0"
            "\nGate sr_nand:asynch will be ignored as it can be matched as Gate: rs_nand:asynch, area: 40, inputs: v0 v1"
            "\nFinished setting the gate library");
  ASSERT_EQ(kept.size(), library->genlib.gates.size() - 3);
  EXPECT_EQ(kept.back().gate->name, "inv:combinational");
}

// From a specification to a gate: the C-element STG's standard-C equations give a set/reset
// cover that the built-in C-element latch matches, and its complex-gate cover (the majority
// of a, b and c) nothing in the library does as one gate.
TEST(GateMatch, CoversOfDerivedEquations) {
  std::unique_ptr<StgUnit> unit;
  captureStderr([&] { unit.reset(loadStgUnit(std::string(NUREX_SOURCE_DIR) + "/tests/data/synthesis/c_element.g")); });
  ASSERT_TRUE(unit);
  const StgPrefix& prefix = unit->get<StgPrefix>();
  std::unique_ptr<GateLibrary> library;
  captureStderr([&] { library = loadGateLibrary(""); });
  ASSERT_TRUE(library);
  std::vector<const GenlibGate*> gates = selectGates(*library, true, 2147483647);
  auto derive = [&](int type) {
    OptionMap options;
    options["mode"] = 6 + type;
    options["synthesis_type"] = type;
    options["solver"] = 0;
    std::unique_ptr<SearchModeBase> mode;
    quietly([&] {
      mode = makeEquationMode(prefix, options);
      EXPECT_TRUE(mode->run());
    });
    return mode;
  };
  std::unique_ptr<SearchModeBase> standardC = derive(3), complexGate = derive(1);
  auto setReset = static_cast<EquationMode&>(*standardC).implementations();
  ASSERT_EQ(setReset.size(), 2u);
  BddCover latch = buildCover(*setReset[0], *setReset[1]);
  GateMatch match = matchGate(latch, gates, library->inverterArea);
  ASSERT_NE(match.gate, nullptr) << latch.text();
  EXPECT_EQ(match.gate->name, "c_element0:asynch");
  EXPECT_FALSE(match.inverted);
  auto next = static_cast<EquationMode&>(*complexGate).implementations();
  ASSERT_EQ(next.size(), 1u);
  BddCover majority = buildCover(*next[0]);
  EXPECT_EQ(majority.support.size(), 3u);
  EXPECT_EQ(matchGate(majority, gates, library->inverterArea).gate, nullptr);
}

}  // namespace
}  // namespace nurex::test
