// Loading the gate library: the constants, the buffer and inverter, a two-input gate, and
// the area of a literal and of a gate, from which every function is priced before mapping.
#include "decompose/gate_library.h"

#include <algorithm>

#include "decompose/internal_gate_library.h"
#include "platform/system.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

std::string gateMissing(const std::string& name) { return "the gate \"" + name + "\" is not in the library"; }

// Truth table of an expression over its inputs, bit m for the assignment m.
std::vector<bool> truthTable(const GenlibExpr& f, const std::vector<std::string>& inputs) {
  std::vector<bool> table(size_t{1} << inputs.size());
  std::vector<bool> values(inputs.size());
  for (size_t m = 0; m < table.size(); ++m) {
    for (size_t i = 0; i < inputs.size(); ++i) values[i] = (m >> i) & 1;
    table[m] = evaluateGenlib(f, inputs, values);
  }
  return table;
}

constexpr size_t MaxTableInputs = 16;

bool realises(const GenlibGate& gate, const std::vector<bool>& wanted, size_t inputs) {
  if (gate.nextInput() >= 0 || gate.inputs.size() != inputs || inputs > MaxTableInputs) return false;
  return truthTable(*gate.function, gate.inputs) == wanted;
}

}  // namespace

bool betterGate(const GenlibGate& a, const GenlibGate& b) {
  if (a.area != b.area) return a.area < b.area;
  if (a.latch != b.latch) return !a.latch;
  return a.name < b.name;
}

std::vector<const GenlibGate*> gatesOfFunction(const GenlibLibrary& library, std::string_view text) {
  GenlibLibrary wanted;
  std::string error;
  if (!parseGenlib("GATE f 0 " + std::string(text), wanted, error) || wanted.gates.size() != 1) return {};
  const GenlibGate& f = wanted.gates[0];
  if (f.inputs.size() > MaxTableInputs) return {};
  std::vector<std::vector<std::string>> orders{f.inputs};
  if (f.inputs.size() == 2) orders.push_back({f.inputs[1], f.inputs[0]});
  for (const std::vector<std::string>& order : orders) {
    std::vector<bool> table = truthTable(*f.function, order);
    std::vector<const GenlibGate*> found;
    for (const GenlibGate& gate : library.gates)
      if (realises(gate, table, order.size())) found.push_back(&gate);
    if (!found.empty()) return found;
  }
  return {};
}

std::unique_ptr<GateLibrary> loadGateLibrary(const std::string& fileName) {
  auto library = std::make_unique<GateLibrary>();
  if (fileName.empty()) {
    // The built-in text goes through a file like any library, so that it meets the same reader.
    FILE* file = createTempFile();
    if (!file) return nullptr;
    bool written = std::fwrite(InternalGateLibraryText.data(), 1, InternalGateLibraryText.size(), file) ==
                       InternalGateLibraryText.size() &&
                   std::fflush(file) == 0;
    std::rewind(file);
    std::unique_ptr<GenlibLibrary> read;
    if (!written) reportError(cannotWriteFile());
    else read = readGenlibStream(file, std::string(InternalGateLibraryName));
    discardLastTempFile(file);
    if (!read) return nullptr;
    library->genlib = std::move(*read);
  } else {
    std::unique_ptr<GenlibLibrary> read = readGenlibFile(fileName);
    if (!read) return nullptr;
    library->genlib = std::move(*read);
  }
  const GenlibLibrary& genlib = library->genlib;
  // Every missing piece is reported before the library is refused.
  bool complete = true;
  auto require = [&](bool present, const char* gate) {
    if (!present) reportError(gateMissing(gate));
    complete = complete && present;
  };
  require(!gatesOfFunction(genlib, "o=0;").empty(), "const0");
  require(!gatesOfFunction(genlib, "o=1;").empty(), "const1");
  const GenlibGate *buffer = nullptr, *inverter = nullptr;
  for (const GenlibGate& gate : genlib.gates) {
    if (gate.inputCount() != 1 || gate.name == "**wire**") continue;
    // The data input is the one that is not fed back; inverting for both feedback values.
    size_t data = gate.nextInput() == 0 ? 1 : 0;
    bool inverts = true;
    for (uint32_t m = 0; m < (1u << gate.inputs.size()); ++m) {
      std::vector<bool> values(gate.inputs.size());
      for (size_t i = 0; i < values.size(); ++i) values[i] = (m >> i) & 1;
      inverts = inverts && evaluateGenlib(*gate.function, gate.inputs, values) == !values[data];
    }
    const GenlibGate*& best = inverts ? inverter : buffer;
    if (!best || betterGate(gate, *best)) best = &gate;
  }
  require(buffer != nullptr, "buffer");
  require(inverter != nullptr, "inverter");
  static const char* const twoInputs[] = {"o=i1+i2;",    "o=!(i1+i2);",   "o=i1*i2;",
                                          "o=!(i1*i2);", "o=!(!i1+i2);", "o=!(!i1*i2);"};
  require(std::any_of(std::begin(twoInputs), std::end(twoInputs),
                      [&](const char* f) { return !gatesOfFunction(genlib, f).empty(); }),
          "[n]or2[_1]/[n]and2[_1]");
  if (!complete || raiseStatus(0) >= StatusError) return nullptr;
  library->bufferGate = buffer;
  library->inverterGate = inverter;
  library->inverterArea = inverter->area;
  for (const GenlibGate* g : gatesOfFunction(genlib, "o=!i1;")) library->inverterArea = std::min(library->inverterArea, g->area);
  std::vector<const GenlibGate*> nand = gatesOfFunction(genlib, "o=!(i1*i2);");
  if (nand.empty()) nand = gatesOfFunction(genlib, "o=!(i1+i2);");
  library->literalArea = nand.empty() ? library->inverterArea * 0.5 : nand.front()->area - library->inverterArea;
  double base = library->inverterArea - library->literalArea;
  library->gateBaseArea = base > 0 ? base : 0;
  return library;
}

std::vector<const GenlibGate*> selectGates(const GateLibrary& library, bool useLatches, int32_t maxInputs) {
  std::vector<const GenlibGate*> gates;
  for (const GenlibGate& gate : library.genlib.gates) {
    if (gate.name == "**wire**" || (!useLatches && gate.latch)) continue;
    if (maxInputs >= 0 && gate.inputCount() > static_cast<uint32_t>(maxInputs)) continue;
    gates.push_back(&gate);
  }
  if (maxInputs != 0)
    for (const GenlibGate* g : {library.bufferGate, library.inverterGate})
      if (g && std::find(gates.begin(), gates.end(), g) == gates.end()) gates.push_back(g);
  return gates;
}

}  // namespace nurex
