// SAT-layer micro-benchmark: cardinality constraints over 10,000 literals solved
// incrementally under 100 replaced groups, timed on both solvers (median of several runs).
// Usage: bench_sat_bench [runs]
#include <algorithm>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/system.h"
#include "sat/bit_vector_encoder.h"
#include "sat/sat_formula.h"

using namespace nurex;

namespace {

constexpr size_t Literals = 10000;
constexpr int Rounds = 100;
constexpr int TemporaryGroup = 2;

struct Random {
  uint64_t state;
  explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15ull + 1) {}
  uint64_t below(uint64_t n) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state % n;
  }
};

double cpuSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

// Wall and processor seconds: the machines are shared, so both are shown.
struct Outcome {
  double build = 0, solve = 0, solve_cpu = 0;
  int satisfiable = 0;
  bool valid = true;
};

// Distinct random positions, `count` of them.
std::vector<size_t> sample(Random& random, size_t count) {
  std::vector<bool> taken(Literals, false);
  std::vector<size_t> positions;
  while (positions.size() < count) {
    size_t i = random.below(Literals);
    if (!taken[i]) positions.push_back(i);
    taken[i] = true;
  }
  return positions;
}

// One workload: the permanent constraint over the literals, the clauses of one round in
// the temporary group, and the test of a model.
struct Workload {
  std::function<void(SatFormula&, const std::vector<Literal>&)> build;
  std::function<void(SatFormula&, const std::vector<Literal>&, Random&)> round;
  std::function<bool(SatFormula&, const std::vector<Literal>&)> valid;
};

Outcome run_workload(int solver, uint64_t seed, const Workload& workload) {
  Outcome outcome;
  double start = monotonicSeconds();
  SatFormula formula(solver, false, false);
  std::vector<Literal> x;
  for (size_t i = 0; i < Literals; ++i) x.push_back(formula.new_literal(false));
  workload.build(formula, x);
  outcome.build = monotonicSeconds() - start;
  Random random(seed);
  start = monotonicSeconds();
  double cpu = cpuSeconds();
  for (int round = 0; round < Rounds; ++round) {
    formula.recreate_group(TemporaryGroup);
    workload.round(formula, x, random);
    if (!formula.solve()) continue;
    ++outcome.satisfiable;
    outcome.valid = outcome.valid && workload.valid(formula, x);
  }
  outcome.solve = monotonicSeconds() - start;
  outcome.solve_cpu = cpuSeconds() - cpu;
  return outcome;
}

size_t ones(SatFormula& formula, const std::vector<Literal>& x) {
  size_t count = 0;
  for (Literal l : x) count += formula.is_true(l);
  return count;
}

// The count of true literals lies in [Low, High]; each round fixes 300 distinct random
// literals (a third of them true).
constexpr uint64_t Low = 4000, High = 4100;
const Workload counter = {
    [](SatFormula& formula, const std::vector<Literal>& x) {
      BitVectorEncoder encoder(formula);
      BitVector total = encoder.count(x);
      encoder.assert_not_less(total, BitVectorEncoder::from_constant(Low));
      encoder.assert_less(total, BitVectorEncoder::from_constant(High + 1));
    },
    [](SatFormula& formula, const std::vector<Literal>& x, Random& random) {
      for (size_t i : sample(random, 300)) formula.add_unit(x[i] ^ (random.below(3) == 0 ? 0 : 1), TemporaryGroup);
    },
    [](SatFormula& formula, const std::vector<Literal>& x) {
      size_t n = ones(formula, x);
      return n >= Low && n <= High;
    },
};

// At most one of the literals (the ladder); each round asks for one of 100 random literals
// and forbids 2,000 others.
const Workload at_most_one = {
    [](SatFormula& formula, const std::vector<Literal>& x) { formula.at_most_one(x, PermanentGroup); },
    [](SatFormula& formula, const std::vector<Literal>& x, Random& random) {
      std::vector<Literal> some;
      for (int k = 0; k < 100; ++k) some.push_back(x[random.below(Literals)]);
      formula.add_clause(some, TemporaryGroup);
      for (int k = 0; k < 2000; ++k) formula.add_unit(negate(x[random.below(Literals)]), TemporaryGroup);
    },
    [](SatFormula& formula, const std::vector<Literal>& x) { return ones(formula, x) == 1; },
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void measure(const char* name, const Workload& workload, int runs) {
  for (int solver : {0, 1}) {
    std::vector<double> build, solve, solve_cpu;
    Outcome last;
    for (int run = 0; run < runs; ++run) {
      last = run_workload(solver, 1, workload);  // the same seed: every run solves the same sequence
      build.push_back(last.build);
      solve.push_back(last.solve);
      solve_cpu.push_back(last.solve_cpu);
    }
    std::printf("%-12s solver %d  build %7.3f s  %d solves %7.3f s wall %7.3f s cpu  (%d sat, models %s)\n", name,
                solver, median(build), Rounds, median(solve), median(solve_cpu), last.satisfiable,
                last.valid ? "valid" : "INVALID");
  }
}

}  // namespace

int main(int argc, char** argv) {
  int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
  std::printf("SAT layer, %zu literals, %d groups replaced, median of %d runs\n", Literals, Rounds, runs);
  measure("counter", counter, runs);
  measure("at_most_one", at_most_one, runs);
  return 0;
}
