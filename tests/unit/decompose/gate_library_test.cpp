// Loading gate libraries: the area model of the built-in library, the edge cases of small
// hand-written ones, the missing pieces reported together, and the selection of candidates.
#include "decompose/gate_library.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "support/capture.h"

namespace nurex::test {
namespace {

std::unique_ptr<GateLibrary> loadText(const std::string& text, std::string* err = nullptr) {
  std::string path = "/tmp/nurex_genlib_" + std::to_string(getpid()) + ".genlib";
  std::ofstream(path) << text;
  std::unique_ptr<GateLibrary> library;
  std::string captured = captureStderr([&] { library = loadGateLibrary(path); });
  if (err) *err = captured;
  std::remove(path.c_str());
  return library;
}

const char* const Basics =
    "GATE zero 1 O=CONST0;\nGATE one 1 O=CONST1;\nGATE buf 10 O=a;\nPIN * NONINV 1 999 1 .2 1 .2\n";

TEST(GateLibrary, BuiltInAreaModel) {
  std::unique_ptr<GateLibrary> library;
  std::string err = captureStderr([&] { library = loadGateLibrary(""); });
  ASSERT_TRUE(library) << err;
  EXPECT_EQ(library->genlib.name, "internal_gate_library");
  EXPECT_EQ(library->inverterArea, 16);
  EXPECT_EQ(library->literalArea, 8);
  EXPECT_EQ(library->gateBaseArea, 8);
  // The zero-area delay latch is the cheapest buffer; the inverter beats the inverting
  // delay latch of equal area by being combinational.
  EXPECT_EQ(library->bufferGate->name, "delay:asynch");
  EXPECT_EQ(library->inverterGate->name, "inv:combinational");
  std::vector<const GenlibGate*> nand = gatesOfFunction(library->genlib, "o=!(i1*i2);");
  ASSERT_FALSE(nand.empty());
  EXPECT_EQ(nand.front()->name, "nand2:combinational");
  // A*!B is found for !i1*i2 with the inputs exchanged.
  std::vector<const GenlibGate*> andNot = gatesOfFunction(library->genlib, "o=!i1*i2;");
  ASSERT_EQ(andNot.size(), 1u);
  EXPECT_EQ(andNot[0]->name, "and2_1:combinational");
}

TEST(GateLibrary, AreaModelEdgeCases) {
  struct Case {
    const char* what;
    std::string text;
    double inverter, literal, base;
    const char* inverterName;
  } cases[] = {
      {"no NAND, no NOR: half and half", std::string(Basics) + "GATE n 10 O=!a;\nGATE and 30 O=a*b;\n", 10, 5, 5, "n"},
      {"a NAND cheaper than the inverter", std::string(Basics) + "GATE n 10 O=!a;\nGATE nand 6 O=!(a*b);\n", 10, -4, 14,
       "n"},
      {"a NOR when there is no NAND", std::string(Basics) + "GATE n 10 O=!a;\nGATE nor 13 O=!(a+b);\n", 10, 3, 7, "n"},
      {"equal inverters: the first by name", std::string(Basics) + "GATE n2 10 O=!a;\nGATE n1 10 O=a';\nGATE or 9 O=a+b;\n",
       10, 5, 5, "n1"},
  };
  for (const Case& c : cases) {
    std::string err;
    std::unique_ptr<GateLibrary> library = loadText(c.text, &err);
    ASSERT_TRUE(library) << c.what << err;
    EXPECT_EQ(library->inverterArea, c.inverter) << c.what;
    EXPECT_EQ(library->literalArea, c.literal) << c.what;
    EXPECT_EQ(library->gateBaseArea, c.base) << c.what;
    EXPECT_EQ(library->inverterGate->name, c.inverterName) << c.what;
    EXPECT_EQ(library->bufferGate->name, "buf") << c.what;
  }
}

TEST(GateLibrary, MissingPiecesAreAllReported) {
  std::string err;
  EXPECT_FALSE(loadText("GATE and 30 O=a*b*c;\n", &err));
  EXPECT_EQ(err,
            "\nError: the gate \"const0\" is not in the library\n"
            "\nError: the gate \"const1\" is not in the library\n"
            "\nError: the gate \"buffer\" is not in the library\n"
            "\nError: the gate \"inverter\" is not in the library\n"
            "\nError: the gate \"[n]or2[_1]/[n]and2[_1]\" is not in the library\n");
  EXPECT_FALSE(loadText("GATE g 1 O=(a;\n", &err));
  EXPECT_NE(err.find("Error: incorrect syntax of /tmp/nurex_genlib_"), std::string::npos) << err;
  EXPECT_NE(err.find("(line 1: \")\" expected before \";\")"), std::string::npos) << err;
  EXPECT_FALSE(captureStderr([] { EXPECT_FALSE(loadGateLibrary("/no/such/library.genlib")); }).empty());
}

TEST(GateLibrary, SelectionByLatchesAndInputs) {
  std::unique_ptr<GateLibrary> library;
  captureStderr([&] { library = loadGateLibrary(""); });
  ASSERT_TRUE(library);
  auto names = [](const std::vector<const GenlibGate*>& gates) {
    std::vector<std::string> out;
    for (const GenlibGate* g : gates) out.push_back(g->name);
    return out;
  };
  std::vector<std::string> all = names(selectGates(*library, true, 2147483647));
  EXPECT_EQ(all.size(), library->genlib.gates.size());
  std::vector<std::string> noLatches = names(selectGates(*library, false, 2147483647));
  // The buffer (a latch) comes back at the end, as every selection keeps it.
  EXPECT_EQ(noLatches.size(), 23u + 1u);
  EXPECT_EQ(noLatches.back(), "delay:asynch");
  // Two inputs, the C-elements' feedback not counted.
  std::vector<std::string> two = names(selectGates(*library, true, 2));
  for (const char* kept : {"nand2:combinational", "c_element0:asynch", "const0:combinational", "inv:combinational"})
    EXPECT_NE(std::find(two.begin(), two.end(), kept), two.end()) << kept;
  for (const char* dropped : {"nand3:combinational", "aoi12:combinational", "ao22:combinational"})
    EXPECT_EQ(std::find(two.begin(), two.end(), dropped), two.end()) << dropped;
}

}  // namespace
}  // namespace nurex::test
