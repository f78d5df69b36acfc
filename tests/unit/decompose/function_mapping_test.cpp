// Tree and latch mapping against truth tables: on random covers with don't-cares, every
// network found must compute the function on ON and OFF, gate by gate, bubbles and inverted
// outputs included; with the built-in library every combinational cover must map.
#include <gtest/gtest.h>

#include <random>

#include "decompose/function_mapping.h"
#include "support/capture.h"
#include "unit/kernel/kernel_test_support.h"

namespace nurex::test {
namespace {

using kernel_test::tableToBdd;

// The value of node k at an assignment of the signal variables; `own` is a latch's feedback.
bool evaluate(const GateNetwork& n, size_t k, uint64_t m, bool own) {
  const GateNode& node = n.nodes[k];
  const GenlibGate& gate = *node.match.gate;
  std::vector<bool> values(gate.inputs.size(), own);
  size_t data = 0;
  for (size_t i = 0; i < gate.inputs.size(); ++i) {
    if (static_cast<int>(i) == gate.nextInput()) continue;
    int32_t feed = node.feeds[data];
    bool v = feed >= 0 ? evaluate(n, static_cast<size_t>(feed), m, own) : (m >> node.match.inputs[data].variable & 1);
    values[i] = v != node.match.inputs[data].bubble;
    ++data;
  }
  return evaluateGenlib(*gate.function, gate.inputs, values) != node.match.inverted;
}

struct Fixture {
  std::unique_ptr<GateLibrary> library;
  MappingContext context;
  Fixture() {
    std::vector<LibraryGate> gates;
    quietly([&] { setLibrary("", true, 0x7FFFFFFF, library, gates); });
    for (const LibraryGate& g : gates) (g.gate->latch ? context.latches : context.combinational).push_back(g.gate);
    context.inverterArea = library->inverterArea;
    context.firstFreeVariable = 8;
  }
};

TEST(FunctionMapping, RandomCoversMapOntoCorrectNetworks) {
  Fixture f;
  std::mt19937_64 random(11);
  std::vector<uint32_t> vars = {0, 1, 2, 3, 4};
  int multiGate = 0;
  for (int round = 0; round < 30; ++round) {
    uint64_t on = random() & 0xFFFFFFFF, care = random() | random();
    BddCover cover;
    cover.on = tableToBdd(on & care, vars);
    cover.off = tableToBdd(~on & care & 0xFFFFFFFF, vars);
    cover.support = vars;
    std::optional<GateNetwork> n = mapCombinational(cover, f.context);
    ASSERT_TRUE(n) << "round " << round;
    multiGate += !n->single();
    for (uint64_t m = 0; m < 32; ++m)
      if (care >> m & 1) {
        ASSERT_EQ(evaluate(*n, 0, m, false), (on >> m & 1) != 0) << "round " << round << " minterm " << m;
      }
  }
  EXPECT_GT(multiGate, 15);
}

// Set where S holds, reset where R holds (never both), hold elsewhere: the latch's next value
// at both feedback values.
TEST(FunctionMapping, MonotonicCoversDriveALatch) {
  Fixture f;
  std::mt19937_64 random(5);
  std::vector<uint32_t> vars = {0, 1, 2, 3};
  for (int round = 0; round < 20; ++round) {
    uint64_t s = random() & 0xFFFF, r = random() & 0xFFFF & ~s;
    BddCover set, reset;
    set.on = tableToBdd(s, vars), set.off = !set.on, set.support = vars;
    reset.on = tableToBdd(r, vars), reset.off = !reset.on, reset.support = vars;
    std::optional<GateNetwork> n = mapMonotonic(set, reset, f.context);
    ASSERT_TRUE(n) << "round " << round;
    for (uint64_t m = 0; m < 16; ++m)
      for (bool own : {false, true}) {
        bool expected = (s >> m & 1) ? true : (r >> m & 1) ? false : own;
        ASSERT_EQ(evaluate(*n, 0, m, own), expected) << "round " << round << " minterm " << m << " feedback " << own;
      }
  }
}

}  // namespace
}  // namespace nurex::test
