// nurex-unfold: reads a net in the .g form, builds a complete prefix of its unfolding and
// writes it as .pnml, .pnml.gz or .mci; the exit code is the reporter's status.
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "model/formats/writers.h"
#include "platform/memory.h"
#include "platform/reporter.h"
#include "platform/system.h"
#include "unfold/g_unfolding.h"

namespace nurex {
namespace {

// One command-line option: a flag sets its field to 1, a valued option reads a number
// either attached ("-o2") or as the next argument ("-o 2").
struct UnfoldFlag {
  const char* name;
  bool valued;
  int32_t low, high;
  int32_t UnfoldOptions::*field;  // null: the verbosity word
  const char* help;
};

const UnfoldFlag flagTable[] = {
    {"-o", true, 0, 4, &UnfoldOptions::order,
     "N  adequate order (default 3): 0 size and inclusion, 1 size, 2 size and Parikh\n"
     "       vector, 3 as 2 and Foata normal form, 4 as 3 and causal structure"},
    {"-t", true, 1, 256, &UnfoldOptions::number_of_threads, "N  threads (default: the number of cores)"},
    {"-r", true, 0, INT32_MAX, &UnfoldOptions::conc_rel_size,
     "N  node limit of the concurrency relation (default 0: no relation; the modes'\n"
     "       re-unfoldings use 40000)"},
    {"-n", false, 0, 0, &UnfoldOptions::no_cutoffs, "   throw cut-off events away (a deadlock check may then find false deadlocks)"},
    {"-d", false, 0, 0, &UnfoldOptions::dummy_cutoffs, "   allow events of dummy transitions of an STG to be cut-offs"},
    {"-l", false, 0, 0, &UnfoldOptions::non_local_correspondents,
     "   search correspondents among all configurations, by SAT (slow)"},
    {"-s", true, 0, 1, &UnfoldOptions::solver, "N  SAT solver of -l: 0 CaDiCaL, 1 MiniSat (default 1)"},
    {"-u", false, 0, 0, &UnfoldOptions::unoptimized_trees, "   plain search for possible extensions"},
    {"-p", false, 0, 0, &UnfoldOptions::print_running_statistics, "   print running statistics, one line per batch"},
    {"-w", false, 0, 0, &UnfoldOptions::wait_user, "   wait for Enter at the end"},
    {"-v", true, 0, 9, nullptr, "N  verbosity (default 0); 1 and up print the time and unfolder statistics"},
};

void printHelp() {
  printTo(stdout,
          "\nnurex-unfold: builds a complete prefix of the unfolding of a safe Petri net or STG."
          "\n\nUsage: nurex-unfold [-h]"
          "\n       nurex-unfold [options] input.g output"
          "\n\nThe output is written in the form that its name asks for: .pnml, .pnml.gz or .mci."
          "\nA .g file that declares only dummy transitions is a Petri net, otherwise an STG."
          "\n\nOptions:");
  for (const UnfoldFlag& flag : flagTable) printTo(stdout, "\n  %s%s", flag.name, flag.help);
  printTo(stdout, "\n  -h   this help\n");
}

bool parseNumber(const char* text, int32_t low, int32_t high, int32_t& value) {
  if (!*text) return false;
  char* end = nullptr;
  long long v = std::strtoll(text, &end, 10);
  if (*end || v < low || v > high) return false;
  value = static_cast<int32_t>(v);
  return true;
}

struct UnfoldCommand {
  UnfoldOptions options;
  unsigned verbosity = 0;
  std::string input, output;
  bool help = false;
};

// Applies the option at argv[i]; advances i past a separate value. False after an error.
bool applyOption(int argc, char** argv, int& i, UnfoldCommand& command) {
  const char* arg = argv[i];
  for (const UnfoldFlag& flag : flagTable) {
    size_t length = std::strlen(flag.name);
    if (std::strncmp(arg, flag.name, length) != 0) continue;
    int32_t value = 1;
    if (flag.valued) {
      const char* text = arg + length;
      if (!*text && i + 1 < argc) text = argv[++i];
      if (!parseNumber(text, flag.low, flag.high, value)) {
        reportError(std::string("invalid value of option ") + flag.name + ": \"" + text + "\"");
        return false;
      }
    } else if (arg[length]) {
      continue;
    }
    if (flag.field) command.options.*flag.field = value;
    else command.verbosity = static_cast<unsigned>(value);
    return true;
  }
  reportError(std::string("unrecognized option: ") + arg);
  return false;
}

// Without the relation the search chooses between the co-set closure and the scan by place
// for each event, which is faster on large nets than keeping the relation up to date.
bool parseArguments(int argc, char** argv, UnfoldCommand& command) {
  command.options.number_of_threads = static_cast<int32_t>(processorCores());
  command.options.conc_rel_size = 0;
  std::vector<std::string> names;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "-h") == 0) {
      command.help = true;
      return true;
    }
    if (argv[i][0] == '-' && argv[i][1]) {
      if (!applyOption(argc, argv, i, command)) return false;
    } else {
      names.push_back(argv[i]);
    }
  }
  if (names.size() != 2) {
    reportError("an input file and an output file must be given (nurex-unfold -h shows how)");
    return false;
  }
  command.input = names[0];
  command.output = names[1];
  return true;
}

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

bool knownOutputName(const std::string& name) {
  return endsWith(name, ".pnml") || endsWith(name, ".pnml.gz") || endsWith(name, ".mci");
}

template <class Net>
bool writePrefix(Prefix<Net>& prefix, const std::string& output) {
  printStatistics(prefix);
  return savePrefix(prefix, output);
}

// Left to the end of the process, which takes the memory back at once: destroying the
// prefix node by node costs about as long as writing it.
LoadedUnit& unitKeptToTheEnd() {
  static LoadedUnit* unit = new LoadedUnit;
  return *unit;
}

int runUnfold(int argc, char** argv) {
  installOutOfMemoryHandler();
  UnfoldCommand command;
  bool parsed = parseArguments(argc, argv, command);
  if (parsed && command.help) printHelp();
  if (parsed && !command.help) {
    verbosity = command.verbosity;
    command.options.print_time = command.options.print_statistics = verbosity >= 1;
    printTo(stdout, "\nfile: %s", command.input.c_str());
    LoadedUnit& unit = unitKeptToTheEnd();
    if (!endsWith(command.input, ".g")) {
      reportError("unexpected file extension of " + command.input + ": a .g file is expected");
    } else if (!knownOutputName(command.output)) {
      reportError("unexpected file extension of " + command.output + ": .pnml, .pnml.gz or .mci is expected");
    } else if (readUnfoldedG(command.input, true, command.options, false, unit)) {
      if (unit.petriNetPrefix) writePrefix(*unit.petriNetPrefix, command.output);
      else writePrefix(*unit.stgPrefix, command.output);
    }
    printTo(stdout, "\n");
  }
  releaseMemoryReserve();
  return static_cast<int>(raiseStatus(0));
}

}  // namespace
}  // namespace nurex

int main(int argc, char** argv) { return nurex::runUnfold(argc, argv); }
