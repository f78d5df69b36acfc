// GENLIB reading: the built-in library entry by entry (areas, functions against their truth
// tables, pins, latch feedback), the forms of expressions, and the errors of malformed text.
#include "kernel/genlib_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>

#include "decompose/internal_gate_library.h"

namespace nurex::test {
namespace {

using Bits = const std::vector<bool>&;

GenlibLibrary parsed(std::string_view text) {
  GenlibLibrary library;
  std::string error;
  EXPECT_TRUE(parseGenlib(text, library, error)) << error;
  return library;
}

// Every assignment of the gate's inputs, in the order of `inputs`.
void expectFunction(const GenlibGate& gate, const std::function<bool(Bits)>& expected) {
  size_t n = gate.inputs.size();
  for (uint32_t m = 0; m < (1u << n); ++m) {
    std::vector<bool> values(n);
    for (size_t i = 0; i < n; ++i) values[i] = (m >> i) & 1;
    EXPECT_EQ(evaluateGenlib(*gate.function, gate.inputs, values), expected(values)) << gate.name << " at " << m;
  }
}

TEST(GenlibReader, BuiltInLibraryEntries) {
  GenlibLibrary library = parsed(InternalGateLibraryText);
  struct Expected {
    double area;
    std::vector<std::string> inputs;
    std::function<bool(Bits)> f;
  };
  // Functions written out by hand from the gates' names; inputs in order of first use.
  const std::map<std::string, Expected> combinational = {
      {"inv", {16, {"A"}, [](Bits v) { return !v[0]; }}},
      {"and2", {32, {"A", "B"}, [](Bits v) { return v[0] && v[1]; }}},
      {"and2_1", {32, {"A", "B"}, [](Bits v) { return v[0] && !v[1]; }}},
      {"nand2", {24, {"A", "B"}, [](Bits v) { return !(v[0] && v[1]); }}},
      {"nand2_1", {24, {"A", "B"}, [](Bits v) { return !(v[0] && !v[1]); }}},
      {"and3", {40, {"A", "B", "C"}, [](Bits v) { return v[0] && v[1] && v[2]; }}},
      {"nand3", {32, {"A", "B", "C"}, [](Bits v) { return !(v[0] && v[1] && v[2]); }}},
      {"and4", {48, {"A", "B", "C", "D"}, [](Bits v) { return v[0] && v[1] && v[2] && v[3]; }}},
      {"nand4", {40, {"A", "B", "C", "D"}, [](Bits v) { return !(v[0] && v[1] && v[2] && v[3]); }}},
      {"or2", {32, {"A", "B"}, [](Bits v) { return v[0] || v[1]; }}},
      {"or2_1", {32, {"A", "B"}, [](Bits v) { return v[0] || !v[1]; }}},
      {"nor2", {24, {"A", "B"}, [](Bits v) { return !(v[0] || v[1]); }}},
      {"or3", {40, {"A", "B", "C"}, [](Bits v) { return v[0] || v[1] || v[2]; }}},
      {"nor3", {32, {"A", "B", "C"}, [](Bits v) { return !(v[0] || v[1] || v[2]); }}},
      {"or4", {48, {"A", "B", "C", "D"}, [](Bits v) { return v[0] || v[1] || v[2] || v[3]; }}},
      {"nor4", {40, {"A", "B", "C", "D"}, [](Bits v) { return !(v[0] || v[1] || v[2] || v[3]); }}},
      {"aoi22", {40, {"A", "B", "C", "D"}, [](Bits v) { return !((v[0] && v[1]) || (v[2] && v[3])); }}},
      {"aoi12", {32, {"A", "B", "C"}, [](Bits v) { return !(v[0] || (v[1] && v[2])); }}},
      {"oai22", {40, {"A", "B", "C", "D"}, [](Bits v) { return !((v[0] || v[1]) && (v[2] || v[3])); }}},
      {"oai12", {32, {"A", "B", "C"}, [](Bits v) { return !(v[0] && (v[1] || v[2])); }}},
      {"ao22", {56, {"A", "B", "C", "D"}, [](Bits v) { return (v[0] && v[1]) || (v[2] && v[3]); }}},
      {"const1", {8, {}, [](Bits) { return true; }}},
      {"const0", {8, {}, [](Bits) { return false; }}},
  };
  // Latches, their feedback input among the others; the C-elements switch when both inputs agree.
  const std::map<std::string, Expected> latches = {
      {"delay", {0, {"D"}, [](Bits v) { return v[0]; }}},
      {"delay_inv", {16, {"D"}, [](Bits v) { return !v[0]; }}},
      {"sr_nand", {40, {"S", "R", "Q_NEXT"}, [](Bits v) { return !v[0] || (v[1] && v[2]); }}},
      {"sr_nor", {40, {"S", "R", "Q_NEXT"}, [](Bits v) { return v[0] || (!v[1] && v[2]); }}},
      {"rs_nand", {40, {"R", "S", "Q_NEXT"}, [](Bits v) { return !v[0] || (v[1] && v[2]); }}},
      {"rs_nor", {40, {"R", "Q_NEXT", "S"}, [](Bits v) { return !v[0] && (v[1] || v[2]); }}},
      {"c_element1", {40, {"A", "B", "C_NEXT"}, [](Bits v) { return (!v[0] && v[1]) || ((!v[0] || v[1]) && v[2]); }}},
      {"c_element0", {40, {"A", "B", "C_NEXT"}, [](Bits v) { return (v[0] && v[1]) || ((v[0] || v[1]) && v[2]); }}},
      {"c_element2", {40, {"A", "B", "C_NEXT"}, [](Bits v) { return (!v[0] && !v[1]) || ((!v[0] || !v[1]) && v[2]); }}},
      {"gated_latch0", {40, {"D", "G", "Q_NEXT"}, [](Bits v) { return (v[0] && v[1]) || (v[2] && (!v[1] || v[0])); }}},
      {"gated_latch1", {40, {"D", "G", "Q_NEXT"}, [](Bits v) { return (v[0] && !v[1]) || (v[2] && v[1]); }}},
  };
  ASSERT_EQ(library.gates.size(), combinational.size() + latches.size());
  for (const GenlibGate& gate : library.gates) {
    std::string base = gate.name.substr(0, gate.name.find(':'));
    const auto& table = gate.latch ? latches : combinational;
    auto found = table.find(base);
    ASSERT_NE(found, table.end()) << gate.name;
    EXPECT_EQ(gate.name, base + (gate.latch ? ":asynch" : ":combinational"));
    EXPECT_EQ(gate.area, found->second.area) << gate.name;
    EXPECT_EQ(gate.inputs, found->second.inputs) << gate.name;
    expectFunction(gate, found->second.f);
    if (gate.latch) {
      auto next = std::find_if(gate.inputs.begin(), gate.inputs.end(),
                               [](const std::string& in) { return in.find("_NEXT") != std::string::npos; });
      bool feedback = next != gate.inputs.end();
      EXPECT_EQ(gate.nextInput(), feedback ? static_cast<int32_t>(next - gate.inputs.begin()) : -1) << gate.name;
      EXPECT_EQ(gate.inputCount(), gate.inputs.size() - (feedback ? 1 : 0));
      EXPECT_EQ(gate.seqType, "ASYNCH");
      EXPECT_EQ(gate.pins.size(), gate.inputCount()) << gate.name;
    } else {
      EXPECT_EQ(gate.pins.size(), base.rfind("const", 0) == 0 ? 0u : 1u) << gate.name;
    }
  }
  const GenlibGate& nand2 = library.gates[3];
  ASSERT_EQ(nand2.pins.size(), 1u);
  EXPECT_EQ(nand2.pins[0].name, "*");
  EXPECT_EQ(nand2.pins[0].phase, PhaseInv);
  EXPECT_EQ(nand2.pins[0].maxLoad, 999);
  EXPECT_EQ(nand2.pins[0].riseFanout, 0.2);
}

TEST(GenlibReader, ExpressionForms) {
  GenlibLibrary library = parsed(
      "GATE g1 1 Y = a b + c';   # juxtaposition is a product, ' a complement\n"
      "GATE g2 2.5 Y=!(!a+!(b))*CONST1;\n"
      "GATE g3 1e1 Y=((a));\n");
  ASSERT_EQ(library.gates.size(), 3u);
  expectFunction(library.gates[0], [](Bits v) { return (v[0] && v[1]) || !v[2]; });
  expectFunction(library.gates[1], [](Bits v) { return v[0] && v[1]; });
  EXPECT_EQ(library.gates[1].area, 2.5);
  EXPECT_EQ(library.gates[2].area, 10);
  EXPECT_EQ(library.gates[2].inputs, std::vector<std::string>{"a"});
}

TEST(GenlibReader, MalformedTextIsRefusedWithItsLine) {
  const std::pair<std::string, std::string> cases[] = {
      {"GATE g x O=a;", "line 1: an area expected, not \"x\""},
      {"GATE g 1 O a;", "line 1: \"=\" expected before \"a\""},
      {"GATE g 1 O=a", "line 1: \";\" expected at the end"},
      {"GATE g 1 O=a+;", "line 1: unexpected \";\" in a function"},
      {"GATE g 1 O=(a;", "line 1: \")\" expected before \";\""},
      {"\n\nPIN * INV 1 1 1 1 1 1", "line 3: PIN before any GATE or LATCH"},
      {"GATE g 1 O=a;\nPIN * BOTH 1 1 1 1 1 1", "line 2: phase INV, NONINV or UNKNOWN expected, not \"BOTH\""},
      {"GATE g 1 O=a;\nPIN * INV 1 1 1", "line 2: a load or delay expected"},
      {"GATE g 1 O=a;\nSEQ Q ANY ASYNCH", "line 2: SEQ outside a LATCH"},
      {"CELL g", "line 1: unexpected \"CELL\""},
      {"GATE g 1 O=" + std::string(5000, '(') + "a;", "line 1: the function is nested too deeply"},
      {"GATE g 1 O=" + std::string(5000, '!') + "a;", "line 1: the function is nested too deeply"},
  };
  for (const auto& [text, expected] : cases) {
    GenlibLibrary library;
    std::string error;
    EXPECT_FALSE(parseGenlib(text, library, error)) << text;
    EXPECT_EQ(error, expected) << text.substr(0, 60);
  }
}

}  // namespace
}  // namespace nurex::test
