// Command-line parsing driven by one table of option forms.
#include "driver/command_line.h"

#include <cstring>
#include <string>

#include "platform/reporter.h"
#include "platform/system.h"

namespace nurex {

namespace {

struct ModeEntry {
  const char* argument;
  int mode;
};
const ModeEntry modeTable[ModeCount] = {{"-D", 1}, {"-F", 2}, {"-Fs", 3}, {"-U", 4}, {"-C", 5}, {"-N", 6},
                                        {"-E", 7}, {"-G", 8}, {"-S", 9},  {"-R", 10}, {"-T", 11}};

constexpr uint32_t modeBit(int mode) { return 1u << mode; }
constexpr uint32_t AllModes = 0xFFEu;  // 1 to 11
constexpr uint32_t SearchModes = modeBit(1) | modeBit(2) | modeBit(3) | modeBit(4) | modeBit(5) | modeBit(6) |
                                 modeBit(10) | modeBit(11);
constexpr uint32_t TransformingModes = modeBit(10) | modeBit(11);

enum class Outcome { Ok, Unrecognized, InvalidInMode, Failed };

struct ParseState {
  OptionMap& options;
  int mode;
  int argc;
  char** argv;
  int& position;  // index of the argument being parsed
};

// Reads an unsigned decimal that must take the whole text, with at least one digit.
bool readUnsigned(const char* text, uint32_t& value) {
  if (!*text) return false;
  uint64_t v = 0;
  for (const char* p = text; *p; ++p) {
    if (*p < '0' || *p > '9') return false;
    v = v * 10 + static_cast<uint64_t>(*p - '0');
    if (v > 0xFFFFFFFFull) return false;
  }
  value = static_cast<uint32_t>(v);
  return true;
}

bool modeAllowed(uint32_t modes, int mode) { return (modes & modeBit(mode)) != 0; }

// Flag options: exact length 2, a key set to 1 (or a stated value).
Outcome setFlag(ParseState& s, const char* arg, const char* key, int32_t value, uint32_t modes) {
  if (std::strlen(arg) != 2) return Outcome::Unrecognized;
  if (!modeAllowed(modes, s.mode)) return Outcome::InvalidInMode;
  s.options[key] = value;
  return Outcome::Ok;
}

// Options of length 3 whose third character is one of `allowed`.
Outcome setCharValue(ParseState& s, const char* arg, const char* key, const char* allowed, uint32_t modes) {
  if (std::strlen(arg) != 3 || !std::strchr(allowed, arg[2])) return Outcome::Unrecognized;
  s.options[key] = arg[2] - '0';
  if (!modeAllowed(modes, s.mode)) return Outcome::InvalidInMode;
  return Outcome::Ok;
}

Outcome parseAll(ParseState& s, const char* arg) {
  if (s.options["min_cost"] != 0) {
    reportError("only one option among -f, -a may be specified");
    return Outcome::Failed;
  }
  uint32_t count = 0xFFFFFFFFu;
  if (arg[2] && !readUnsigned(arg + 2, count)) return Outcome::Unrecognized;
  s.options["all_solutions"] = static_cast<int32_t>(count);
  if (!modeAllowed(SearchModes, s.mode)) return Outcome::InvalidInMode;
  return Outcome::Ok;
}

Outcome parseCoefficient(ParseState& s, const char* arg) {
  if (!modeAllowed(TransformingModes, s.mode)) return Outcome::InvalidInMode;
  std::string text = arg;
  if (text == "-cs" || text == "-cl") {
    static const char* const presets[2][2][CoefficientSlotCount] = {
        {{"32", "16", "0", "0", "1", "2", "0"}, {"0", "0", "0", "0", "1", "2", "0"}},
        {{"#s*8", "#s*4", "0", "#s*1", "#s*4", "#s*8", "50"}, {"0", "0", "0", "#s*32", "#s*1", "#s*2", "8"}}};
    int which = text == "-cl", forT = s.mode == 11;
    s.options["pwr_of_2"] = 0;
    for (int i = 0; i < CoefficientSlotCount; ++i) runStrings.coefficientText[i] = presets[which][forT][i];
    return Outcome::Ok;
  }
  for (int i = 0; i < CoefficientSlotCount; ++i) {
    std::string head = std::string("-c") + coefficientInfo[i].name + "=";
    if (text.compare(0, head.size(), head) == 0) {
      runStrings.coefficientText[i] = text.substr(head.size());
      return Outcome::Ok;
    }
  }
  return Outcome::Unrecognized;
}

Outcome parseData(ParseState& s, const char* arg) {
  if (!modeAllowed(modeBit(2) | modeBit(3) | modeBit(11), s.mode)) return Outcome::InvalidInMode;
  if (std::strlen(arg) != 2) return Outcome::Unrecognized;
  if (s.argc - s.position - 1 < 2) {
    reportError("no data is provided with the -d option");
    return Outcome::Failed;
  }
  runStrings.dataString = s.argv[++s.position];
  return Outcome::Ok;
}

Outcome parseMinCost(ParseState& s, const char* arg) {
  if (std::strlen(arg) != 2) return Outcome::Unrecognized;
  if (!modeAllowed(SearchModes, s.mode)) return Outcome::InvalidInMode;
  if (s.options["all_solutions"] != 0) {
    reportError("only one option among -a, -f may be specified");
    return Outcome::Failed;
  }
  s.options["min_cost"] = 1;
  return Outcome::Ok;
}

// -e, -ep, -ex, -er; the modes whose .g input can go to the explicit-state engine.
Outcome parseEngine(ParseState& s, const char* arg) {
  static const char letters[] = "pxr";
  int engine = 3;
  if (arg[2]) {
    const char* at = arg[3] ? nullptr : std::strchr(letters, arg[2]);
    if (!at || !*at) return Outcome::Unrecognized;
    engine = static_cast<int>(at - letters) + 1;
  }
  if (!modeAllowed(modeBit(1) | modeBit(2) | modeBit(3) | modeBit(4) | modeBit(5) | modeBit(6), s.mode))
    return Outcome::InvalidInMode;
  s.options["engine"] = engine;
  return Outcome::Ok;
}

Outcome parseGates(ParseState& s, const char* arg) {
  const char* rest = arg + 2;
  if (*rest == '!') {
    s.options["use_latches"] = 0;
    ++rest;
  }
  if (!*rest) return Outcome::Ok;
  uint32_t n;
  if (!readUnsigned(rest, n)) return Outcome::Unrecognized;
  s.options["max_gate_inputs"] = static_cast<int32_t>(n);
  return Outcome::Ok;
}

Outcome parseInclusion(ParseState& s, const char* arg) {
  if (std::strlen(arg) != 3 || (arg[2] != '+' && arg[2] != '-')) return Outcome::Unrecognized;
  s.options["inclusion_constraints"] = arg[2] == '+';
  if (!modeAllowed(AllModes & ~(modeBit(1) | modeBit(2)), s.mode)) return Outcome::InvalidInMode;
  return Outcome::Ok;
}

Outcome parseMethod(ParseState& s, const char* arg) {
  if (std::strlen(arg) != 3 || arg[2] < '0' || arg[2] > '9') return Outcome::Unrecognized;
  s.options["method"] = arg[2] - '0';
  bool modeOk = modeAllowed(modeBit(1) | modeBit(4) | modeBit(5) | modeBit(6), s.mode);
  if (!modeOk || (arg[2] != '1' && arg[2] != '2')) return Outcome::InvalidInMode;
  return Outcome::Ok;
}

Outcome parseWait(ParseState& s, const char* arg) {
  if (std::strlen(arg) == 2) {
    s.options["wait_mode"] = 3;
    return Outcome::Ok;
  }
  return setCharValue(s, arg, "wait_mode", "0123", AllModes);
}

Outcome parseOption(ParseState& s, const char* arg) {
  switch (arg[1]) {
    case '!': return setFlag(s, arg, "restrict_branching", 1, AllModes);
    case '$': return setCharValue(s, arg, "solver", "01", AllModes);
    case '+': return setFlag(s, arg, "incremental_acyclic_constraint", 1, AllModes);
    case '@': return setFlag(s, arg, "output_configurations", 1, AllModes);
    case 'a': return parseAll(s, arg);
    case 'b': return setFlag(s, arg, "backward_conflict_constraints", 1, AllModes);
    case 'c': return parseCoefficient(s, arg);
    case 'd': return parseData(s, arg);
    case 'e': return parseEngine(s, arg);
    case 'f': return parseMinCost(s, arg);
    case 'g': return parseGates(s, arg);
    case 'l': return parseInclusion(s, arg);
    case 'm': return parseMethod(s, arg);
    case 'p': return setCharValue(s, arg, "concurrent_insertions", "012", TransformingModes);
    case 'r': return setFlag(s, arg, "use_concurrency_reduction", 1, modeBit(10));
    case 's': return setFlag(s, arg, "store_cnf_formula", 1, AllModes);
    case 't': return setFlag(s, arg, "decompose_down_to_trivial", 1, modeBit(11));
    case 'v': return setCharValue(s, arg, "verbosity", "0123456789", AllModes);
    case 'w': return parseWait(s, arg);
    default: return Outcome::Unrecognized;
  }
}

}  // namespace

std::optional<OptionMap> parseCommandLine(int argc, char** argv) {
  OptionMap options;
  runStrings = RunStrings();
  if (argc < 2) {
    printBriefHelp(options);
    return std::nullopt;
  }
  if (std::strcmp(argv[1], "-h") == 0) {
    printFullHelp(options);
    return std::nullopt;
  }
  int mode = 0;
  for (const ModeEntry& entry : modeTable)
    if (std::strcmp(argv[1], entry.argument) == 0) mode = entry.mode;
  if (!mode) {
    reportError(std::string("unrecognized mode: ") + argv[1]);
    return std::nullopt;
  }
  options["mode"] = mode;
  int position = 2;
  ParseState state{options, mode, argc, argv, position};
  for (; position < argc && argv[position][0] == '-'; ++position) {
    const char* arg = argv[position];
    Outcome outcome = arg[1] >= '!' && arg[1] <= 'w' ? parseOption(state, arg) : Outcome::Unrecognized;
    if (outcome == Outcome::Unrecognized) reportError(std::string("unrecognized option: ") + arg);
    if (outcome == Outcome::InvalidInMode) reportError(std::string("option ") + arg + " is invalid in the current mode");
    if (outcome != Outcome::Ok) return std::nullopt;
  }
  if (runStrings.dataString.empty() && (mode == 2 || mode == 3)) {
    reportError("the -d option must be used in the current mode to provide additional information");
    return std::nullopt;
  }
  if (options["solver"] == -1) options["solver"] = mode >= 7 && mode <= 9 ? 0 : 1;
  if (position >= argc) {
    reportError("unfolding file name must be specified");
    return std::nullopt;
  }
  runStrings.inputFileName = argv[position];
  if (position + 1 < argc) runStrings.outputFileName = argv[position + 1];
  // Results written over the input would destroy the user's file before it is read.
  if (!runStrings.outputFileName.empty() && sameFile(runStrings.inputFileName, runStrings.outputFileName)) {
    reportError("the output file " + runStrings.outputFileName + " is the input file");
    return std::nullopt;
  }
  return options;
}

}  // namespace nurex
