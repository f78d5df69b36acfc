// The banner and the two help texts; the full help prints the live defaults.
#include <bdd.h>

#include <cadical.hpp>
#include <cstdio>
#include <string>

#include "driver/command_line.h"
#include "platform/reporter.h"

namespace nurex {

std::string bannerText() {
  std::string text = "\nNUREX model checking/synthesis system, version 6.15alpha Compiled " __DATE__ ".";
  // The components this build links, with their own version strings.
  text += std::string("\n  CaDiCaL ") + CaDiCaL::Solver::version() + " (SAT solver 0).";
  text += "\n  MiniSat 2.2.0 (SAT solver 1).";
  int buddy = bdd_versionnum();
  text += "\n  BuDDy " + std::to_string(buddy / 10) + "." + std::to_string(buddy % 10) + " (BDD package).";
  return text;
}

namespace {

const char* const usageText =
    "\n\nUsage: nurex [-h]"
    "\n       nurex mode [options] inputfilename [outputfilename]\n";

const char* const modeListText =
    "\nModes:"
    "\n  Reachability-like:"
    "\n    -D  - deadlock checking"
    "\n    -F  - reachability of a marking satisfying a REACH predicate"
    "\n    -Fs - reachability of an STG state satisfying a REACH predicate"
    "\n    -N  - normalcy checking"
    "\n  Encoding conflict detection and resolution:"
    "\n    -U  - USC conflict detection"
    "\n    -C  - CSC conflict detection"
    "\n    -R  - resolution of encoding conflicts"
    "\n  Synthesis:"
    "\n    -E  - complex-gate implementation"
    "\n    -G  - gC-element implementation"
    "\n    -S  - standard-C implementation"
    "\n    -T  - logic decomposition and technology mapping\n";

const char* const briefOptionsText =
    "\nOptions:"
    "\n  -!  - Do not branch on auxiliary variables."
    "\n  -$N - Use SAT solver N (0 or 1)."
    "\n  -@  - Print configurations (event numbers) instead of traces."
    "\n  -a[N] - Look for all solutions, or about N of them."
    "\n  -b  - Use backward conflict constraints for merged processes."
    "\n  -c[s|l|COEFF=EXPR] - Set cost-function coefficients (-R and -T)."
    "\n  -d string - Additional data: a REACH property, or @file; a gate library for -T."
    "\n  -e[p|x|r] - Engine for *.g input: prefix, explicit-state, or both racing (default)."
    "\n  -f  - Look for a minimum-cost solution."
    "\n  -g[[!][N]] - Decompose into gates/latches with at most N inputs; ! forbids latches (-T)."
    "\n  -l[+|-] - Use or do not use inclusion constraints."
    "\n  -mN - Use method N."
    "\n  -pN - Concurrent signal insertions: N is 0, 1 or 2 (-R and -T)."
    "\n  -r  - Allow concurrency reductions (-R)."
    "\n  -s  - Store the CNF formula in formula.cnf."
    "\n  -t  - Decompose down to the gate/latch level (-T)."
    "\n  -vN - Verbosity level N (0 to 9)."
    "\n  -w[N] - Wait for Enter at the end (N is 0 to 3)."
    "\n  -x - Saves the results in nurex.xml.\n";

// Help texts may exceed one message buffer, so they bypass it.
void writeWhole(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

std::string coefficientList(const OptionMap&) {
  std::string text;
  for (int i = 0; i < CoefficientSlotCount; ++i)
    text += std::string(i ? ", " : "") + coefficientInfo[i].name + "=" + runStrings.coefficientText[i];
  return text + ".";
}

}  // namespace

void printBriefHelp(const OptionMap&) {
  std::string text = bannerText() + usageText + modeListText + briefOptionsText +
                     "\nInputs: prefixes (*.mci, *.pnml[.gz]), merged processes (*.mp), and *.g nets and STGs."
                     "\nType nurex -h for extended help.\n";
  writeWhole(text);
}

void printFullHelp(const OptionMap& defaults) {
  std::string text = bannerText() + usageText + modeListText;
  text +=
      "\nThe results are written to the output file if one is given, and to stdout otherwise;"
      "\nan output file name ending in \".xml\" gives an XML report, and the name \"cerr\" means stdout."
      "\n\n-F looks for a reachable marking of the net that satisfies the predicate; -Fs looks for a"
      "\nreachable state of the STG, i.e. one reached by a run that does not end in a dummy"
      "\ntransition, and also allows the signal-related features of REACH."
      "\n\nThe input file is a prefix of the unfolding (*.mci, or *.pnml and *.pnml.gz of type"
      "\nbranching_process), or a merged process (*.mp, or *.pnml and *.pnml.gz of type merged_process)."
      "\nA net or STG in the *.g text form is also accepted and unfolded on loading (our extension)."
      "\n\nAn STG is normal if every output or internal signal is implementable by a monotonic gate:"
      "\n-N reports the signals whose next-state functions are neither positive nor negative.\n";
  text +=
      "\nOptions:"
      "\n  -!  - Do not branch on auxiliary variables: the SAT solver decides only variables"
      "\n        that stand for events of the prefix."
      "\n  -$N - Use SAT solver N: 0 is CaDiCaL, 1 is MiniSat. The default is 0 for -E, -G"
      "\n        and -S, and 1 for the other modes."
      "\n  -@  - Print configurations as lists of event numbers instead of traces."
      "\n        The numbering of events starts from 1."
      "\n  -a[N] - Look for all solutions (-a), or for about N of them (-aN); -a0 looks for one."
      "\n        Valid with -D, -F, -Fs, -U, -C, -N, -R and -T; excludes -f."
      "\n  -b  - Use backward conflict constraints for merged processes (on by default)."
      "\n  -c[s|l|COEFF=EXPR] - Cost-function coefficients of -R and -T: -cs and -cl select the"
      "\n        presets for short and for long runs, -cCOEFF=EXPR sets one coefficient, where"
      "\n        COEFF is one of csc, usc, del, trig, seq, conc, lock and EXPR an integer expression"
      "\n        over + - * / % and the macros #i, #o, #I, #d, #s, #p, #t (the numbers of inputs,"
      "\n        outputs, internals, dummies, all non-dummy signals, places and transitions)."
      "\n        Several -c options are processed left to right. The defaults are: " +
      coefficientList(defaults) +
      "\n  -d string - Additional data: for -F and -Fs the REACH property, or @filename to read it"
      "\n        from a file; for -T the name of a gate library in the GENLIB format."
      "\n  -e[p|x|r] - For *.g input in -D, -F, -Fs, -U, -C and -N: answer with the prefix engine"
      "\n        (-ep), with the explicit-state engine (-ex), or with both on two threads, the"
      "\n        first answer counting (-er or -e, the default). -a, -@, -s and an XML report"
      "\n        always use the prefix engine (our extension)."
      "\n  -f  - Look for a minimum-cost solution. Valid with -D, -F, -Fs, -U, -C, -N, -R and -T;"
      "\n        excludes -a."
      "\n  -g[[!][N]] - For -T: decompose into gates or latches with at most N inputs; with !"
      "\n        latches are not used in the decomposition loop."
      "\n  -l[+|-] - Use (+) or do not use (-) inclusion constraints; by default they are used"
      "\n        iff the prefix is conflict-free."
      "\n  -mN - Use method N (1 or 2) of -D, -U, -C or -N."
      "\n  -pN - Concurrent signal insertions for -R and -T: 0 none, 1 some, 2 all."
      "\n        The default is -p" +
      std::to_string(defaults["concurrent_insertions"]) +
      "."
      "\n  -r  - Allow concurrency reductions in -R."
      "\n  -s  - Store the CNF formula for an external SAT solver in formula.cnf."
      "\n  -t  - For -T: decompose down to the gate/latch level."
      "\n  -vN - Verbosity level N, from 0 (results only) to 9."
      "\n  -w[N] - Wait for Enter at the end: -w0 never, -w1 after an error, -w2 after a warning"
      "\n        or an error, -w3 always. The default is -w" +
      std::to_string(defaults["wait_mode"]) +
      ", and -w is equivalent to -w3."
      "\n  -x - Saves the results in nurex.xml.\n";
  writeWhole(text);
}

}  // namespace nurex
