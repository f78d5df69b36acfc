// Mapped output of -T: the Verilog blocks of hand-built implementations (bubbles, inverted
// outputs, constants, latches, pragmas, buffers, sub-functions), the text and XML forms, the
// result line, and the mapped circuit judge on a C-element with right and wrong mappings.
#include "decompose/mapped_implementation.h"

#include <gtest/gtest.h>
#include <rapidxml/rapidxml.hpp>

#include <functional>

#include "model/formats/g_reader.h"
#include "support/capture.h"
#include "support/mapped_circuit_checker.h"

namespace nurex::test {
namespace {

using mapping::MappedGate;
using mapping::Pin;
using mapping::SignalImplementation;

const char* const CElement =
    ".model celement\n.inputs a b\n.outputs c\n.graph\na+ c+\nb+ c+\nc+ a- b-\na- c-\nb- c-\nc- a+ b+\n"
    ".marking {<c-,a+> <c-,b+>}\n.end\n";

class MappedOutput : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::string err = captureStderr([] { library = loadGateLibrary("").release(); });
    ASSERT_TRUE(library) << err;
  }
  static void TearDownTestSuite() { delete library; }

  void SetUp() override { read(CElement); }
  void read(const char* text) {
    stg = parseStgText(text, "stg.g");
    ASSERT_TRUE(stg);
    for (Signal* s : stg->signals) s->initialValue = 0;
  }

  static const GenlibGate* gate(const std::string& name) {
    for (const GenlibGate& g : library->genlib.gates)
      if (g.name == name) return &g;
    ADD_FAILURE() << "no gate " << name;
    return nullptr;
  }
  const Signal* signal(const std::string& name) const {
    for (const Signal* s : stg->signals)
      if (s->name == name) return s;
    return nullptr;
  }
  // A gate over pins written "A=a", "B=!b" (a bubble) or "A=$0" (sub-function 0).
  MappedGate mapped(const std::string& equation, const std::string& cell, std::vector<std::string> pins,
                    bool inverted = false) const {
    MappedGate g{equation, gate(cell), inverted, false, {}, "", ""};
    for (const std::string& p : pins) {
      Pin pin;
      size_t eq = p.find('=');
      pin.name = p.substr(0, eq);
      std::string source = p.substr(eq + 1);
      pin.inverted = source[0] == '!';
      if (pin.inverted) source.erase(0, 1);
      if (source[0] == '$') pin.subFunction = std::stoi(source.substr(1));
      else pin.signal = signal(source);
      g.pins.push_back(pin);
    }
    return g;
  }
  std::unique_ptr<SignalImplementation> implementation(MappedGate top, double area,
                                                       std::vector<MappedGate> subFunctions = {},
                                                       const char* name = "c") const {
    auto s = std::make_unique<SignalImplementation>();
    s->signal = signal(name);
    s->area = area;
    s->triggers = {signal("a"), signal("b")};
    s->context = {signal("a"), signal("b"), signal("c")};
    s->top = std::move(top);
    s->subFunctions = std::move(subFunctions);
    return s;
  }
  std::string netlist(const ResultList& list) const {
    return mapping::mappedNetlistText(*stg, list, *library, false);
  }

  static GateLibrary* library;
  std::unique_ptr<Stg> stg;
};
GateLibrary* MappedOutput::library = nullptr;

const char* const Header =
    "module NUREX_mapped_implementation(c, a, b);\n    output c;\n\n    input a;\n    input b;\n\n";
const char* const Trailer = "    // initial values of the signals\n    // a=0 b=0 c=0\nendmodule\n";

TEST_F(MappedOutput, VerilogBlocks) {
  const std::string and2 = "\\and2:combinational  ", inv = "\\inv:combinational  ";
  struct Case {
    const char* name;
    std::function<std::unique_ptr<SignalImplementation>()> build;
    std::string block;  // between the area line and the initial values
    const char* area;
  };
  std::vector<Case> cases = {
      {"plain gate", [&] { return implementation(mapped("a & b", "and2:combinational", {"A=a", "B=b"}), 32); },
       "    // [c] = a & b\n    " + and2 + "U1 (.O(c), .A(a), .B(b));\n", "32.00"},
      {"inverted input", [&] { return implementation(mapped("a & !b", "and2:combinational", {"A=a", "B=!b"}), 48); },
       "    // [c] = a & !b\n    wire cw1;\n    " + inv + "IN_BUBBLE1 (.O(cw1), .A(b));\n    " + and2 +
           "U2 (.O(c), .A(a), .B(cw1));\n",
       "48.00"},
      {"inverted output",
       [&] { return implementation(mapped("!(a & b)", "and2:combinational", {"A=a", "B=b"}, true), 48); },
       "    // [c] = !(a & b)\n    wire cw1;\n    " + and2 + "U1 (.O(cw1), .A(a), .B(b));\n    " + inv +
           "OUT_BUBBLE2 (.O(c), .A(cw1));\n",
       "48.00"},
      {"constant", [&] { return implementation(mapped("1", "const1:combinational", {}), 8); },
       "    // [c] = 1\n    \\const1:combinational  U1 (.O(c));\n", "8.00"},
      {"latch with covers",
       [&] {
         MappedGate g = mapped("a & b | c & (a | b)", "c_element0:asynch", {"A=a", "B=b", "C_NEXT=c"});
         g.setCover = "a & b", g.resetCover = "!a & !b";
         return implementation(g, 40);
       },
       "    // [c] = monotonic_covers(SET: a & b, RESET: !a & !b)\n    \\c_element0:asynch  U1 (.C(c), .A(a), .B(b), "
       ".C_NEXT(c));\n",
       "40.00"},
      {"zero delay",
       [&] {
         MappedGate g = mapped("a & b", "and2:combinational", {"A=a", "B=b"});
         g.zeroDelay = true;
         return implementation(g, 32);
       },
       "    // [c] = a & b\n    // #PRAGMA: zero delay\n    " + and2 + "U1 (.O(c), .A(a), .B(b));\n", "32.00"},
      {"buffer", [&] { return implementation(mapped("a", "delay:asynch", {"D=a"}), 0); },
       "    // [c] = a\n    assign c = a;\n", "0.00"},
      {"sub-function",
       [&] {
         return implementation(mapped("a & b | a", "or2:combinational", {"A=$0", "B=a"}), 64,
                               {mapped("a & b", "and2:combinational", {"A=a", "B=b"})});
       },
       "    // [c] = a & b | a\n    wire cw1;\n    // [cw1] = a & b\n    " + and2 +
           "U1 (.O(cw1), .A(a), .B(b));\n    \\or2:combinational  U2 (.O(c), .A(cw1), .B(a));\n",
       "64.00"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ResultList list;
    list.push_back(c.build());
    std::string text = netlist(list);
    EXPECT_EQ(text, Header + std::string("    // mapped implementation; total area=") + c.area + "\n" + c.block + Trailer);
    EXPECT_EQ(mapping::decompositionResult(list, false), std::string("Logic decomposition finished (area=") + c.area + ")");
    EXPECT_EQ(compileWithCells(text, library->genlib), "");
  }
}

TEST_F(MappedOutput, FailureAndNoOutputs) {
  ResultList list;
  list.push_back(implementation(mapped("a & b", "and2:combinational", {"A=a", "B=b"}), 32));
  EXPECT_EQ(mapping::mappedNetlistText(*stg, list, *library, true), "\nFailed to decompose\n");
  EXPECT_EQ(mapping::decompositionResult(list, true), "Failed to decompose");

  // A file that cannot be opened: the warning, and the netlist on standard output.
  testing::internal::CaptureStdout();
  std::string err = captureStderr(
      [&] { mapping::writeMappedNetlistFile("/nonexistent/dir/out.v", *stg, list, *library, false); });
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(err, "\nWarning: cannot open \"/nonexistent/dir/out.v\" for output\n");
  EXPECT_EQ(out, netlist(list));
  resetStatus();

  std::unique_ptr<Stg> inputsOnly = parseStgText(".inputs a\n.graph\na+ a-\na- a+\n.marking {<a-,a+>}\n.end\n", "i.g");
  ASSERT_TRUE(inputsOnly);
  inputsOnly->signals[0]->initialValue = 0;
  std::string text = mapping::mappedNetlistText(*inputsOnly, {}, *library, false);
  EXPECT_EQ(text,
            "module NUREX_mapped_implementation(a);\n    input a;\n\n    // mapped implementation; total area=0.00\n"
            "    // initial values of the signals\n    // a=0\nendmodule\n");
  EXPECT_EQ(mapping::decompositionResult({}, false), "Logic decomposition finished (area=0.00)");
  EXPECT_EQ(compileWithCells(text, library->genlib), "");
  EXPECT_EQ(checkMappedCircuit(text, library->genlib, *inputsOnly).failure, "");
}

TEST_F(MappedOutput, TextAndXml) {
  auto s = implementation(mapped("a & !b | a", "or2:combinational", {"A=$0", "B=a"}, true), 80.5,
                          {mapped("a & !b", "and2:combinational", {"A=a", "B=!b"})});
  s->subFunctions[0].zeroDelay = true;
  char* buffer = nullptr;
  size_t size = 0;
  FILE* stream = open_memstream(&buffer, &size);
  s->print(stream, ResultForm::Stdout);
  std::fclose(stream);
  EXPECT_EQ(std::string(buffer, size),
            "Signal c (cost 80.50)\nTriggers (approximation): a b\nContext: a b c\nEquation: a & !b | a\n"
            "Gate or2:combinational (inverted), sub-functions:\n pin A:\t{Equation: a & !b; Gate: and2:combinational; "
            "#PRAGMA: zero delay; pins/inputs: A=a B=!b}\n pin B:\ta");
  std::free(buffer);
  EXPECT_EQ(s->cost(), 8050u);

  XmlDocument doc;
  XmlNode* node = s->toXml(doc);
  auto attribute = [](XmlNode* n, const char* name) { return std::string(n->first_attribute(name)->value()); };
  EXPECT_EQ(attribute(node, "signal"), "c");
  EXPECT_EQ(attribute(node, "message"), "Logic decomposition for signal c");
  EXPECT_EQ(attribute(node, "triggers"), "a, b");
  EXPECT_EQ(attribute(node, "context"), "a, b, c");
  XmlNode* top = node->first_node("gate");
  EXPECT_EQ(attribute(top, "name"), "or2:combinational");
  EXPECT_EQ(attribute(top, "inverted"), "true");
  XmlNode* pin = top->first_node("pin");
  XmlNode* sub = pin->first_node("gate");
  ASSERT_TRUE(sub);
  EXPECT_EQ(attribute(sub, "zero_delay"), "true");
  EXPECT_EQ(attribute(sub->first_node("pin")->next_sibling("pin"), "inverted"), "true");
  EXPECT_EQ(attribute(pin->next_sibling("pin"), "signal"), "a");
}

// The judge against mappings of the C-element: right ones with latches, bubbles and nested
// sub-functions over the signal's own value, and wrong ones that differ in one state.
TEST_F(MappedOutput, CircuitJudge) {
  struct Case {
    const char* name;
    std::function<std::unique_ptr<SignalImplementation>()> build;
    const char* failure;  // a part of the reason, or "" when the mapping is right
  };
  std::vector<Case> cases = {
      {"latch", [&] { return implementation(mapped("maj", "c_element0:asynch", {"A=a", "B=b", "C_NEXT=c"}), 40); }, ""},
      {"latch on bubbles",
       [&] { return implementation(mapped("maj", "c_element2:asynch", {"A=!a", "B=!b", "C_NEXT=c"}), 72); }, ""},
      {"nested sub-functions",
       [&] {
         return implementation(mapped("maj", "or2:combinational", {"A=$0", "B=$1"}), 128,
                               {mapped("a & b", "and2:combinational", {"A=a", "B=b"}),
                                mapped("c & (a | b)", "and2:combinational", {"A=c", "B=$2"}),
                                mapped("a | b", "or2:combinational", {"A=a", "B=b"})});
       },
       ""},
      {"wrong gate", [&] { return implementation(mapped("a & b", "and2:combinational", {"A=a", "B=b"}), 32); },
       "signal c: the gates give 0 where the next value is 1, after "},
      {"missing bubble",
       [&] { return implementation(mapped("maj", "c_element2:asynch", {"A=!a", "B=b", "C_NEXT=c"}), 56); },
       "signal c: the gates give "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ResultList list;
    list.push_back(c.build());
    std::string text = netlist(list);
    Judgement judgement = checkMappedCircuit(text, library->genlib, *stg);
    EXPECT_TRUE(judgement.decided);
    if (*c.failure) EXPECT_NE(judgement.failure.find(c.failure), std::string::npos) << judgement.failure;
    else EXPECT_EQ(judgement.failure, "");
    EXPECT_EQ(compileWithCells(text, library->genlib), "");
  }
}

// Netlists that are wrong as structure, each judged so and the compiler's refusal passed on.
TEST_F(MappedOutput, CircuitJudgeStructure) {
  ResultList list;
  list.push_back(implementation(mapped("maj", "c_element0:asynch", {"A=a", "B=b", "C_NEXT=c"}), 40));
  const std::string good = netlist(list);
  auto edited = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
  };
  struct Case {
    std::string text, failure;
  } cases[] = {
      {edited("(.C(c), ", "(.C(cw9), "), "signal c has no driver"},
      {edited("(.C(c), ", "(.C(a), "), "input a is driven"},
      {edited(".B(b), ", ""), "pin B is not connected"},
      {edited("c_element0", "c_element9"), "no cell c_element9:asynch"},
      {edited("    output c;\n", ""), "the output ports are not the STG's outputs"},
      {edited("U1 (.C(c), .A(a)", "U1 (.C(c), .A(w)"), "net w is neither a signal nor a declared wire"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.failure);
    EXPECT_NE(checkMappedCircuit(c.text, library->genlib, *stg).failure.find(c.failure), std::string::npos);
  }
  EXPECT_NE(compileWithCells(cases[3].text, library->genlib), "");
}

// An internal signal, no port, drives the output through a buffer.
TEST_F(MappedOutput, CircuitJudgeInternalSignal) {
  read(".inputs a b\n.outputs c\n.internal x\n.graph\na+ x+\nb+ x+\nx+ c+\nc+ a- b-\na- x-\nb- x-\nx- c-\n"
       "c- a+ b+\n.marking {<c-,a+> <c-,b+>}\n.end\n");
  for (const char* source : {"x", "a"}) {
    SCOPED_TRACE(source);
    ResultList list;
    list.push_back(implementation(mapped(source, "delay:asynch", {std::string("D=") + source}), 0));
    list.push_back(implementation(mapped("maj", "c_element0:asynch", {"A=a", "B=b", "C_NEXT=x"}), 40, {}, "x"));
    std::string text = netlist(list);
    EXPECT_NE(text.find("    assign c = " + std::string(source) + ";\n"), std::string::npos) << text;
    std::string failure = checkMappedCircuit(text, library->genlib, *stg).failure;
    if (*source == 'x') EXPECT_EQ(failure, "");
    else EXPECT_NE(failure.find("signal c: the gates give 1 where the next value is 0, after a+ ("), std::string::npos) << failure;
    EXPECT_EQ(compileWithCells(text, library->genlib), "");
  }
}

}  // namespace
}  // namespace nurex::test
