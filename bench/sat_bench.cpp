// SAT-layer micro-benchmark: cardinality constraints over 10,000 literals solved
// incrementally under 100 replaced groups, timed on both solvers (median of several runs).
// Usage: bench_sat_bench [runs]
#include <algorithm>
#include <ctime>
#include <cstdio>
#include <cstdlib>
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

// The count of true literals lies in [low, high]; each round fixes 300 distinct random
// literals (a third of them true) in the temporary group and solves.
Outcome counter_workload(int solver, uint64_t seed) {
  Outcome outcome;
  double start = monotonicSeconds();
  SatFormula formula(solver, false, false);
  BitVectorEncoder encoder(formula);
  std::vector<Literal> x;
  for (size_t i = 0; i < Literals; ++i) x.push_back(formula.new_literal(false));
  const uint64_t low = 4000, high = 4100;
  BitVector total = encoder.count(x);
  encoder.assert_not_less(total, BitVectorEncoder::from_constant(low));
  encoder.assert_less(total, BitVectorEncoder::from_constant(high + 1));
  outcome.build = monotonicSeconds() - start;
  Random random(seed);
  start = monotonicSeconds();
  double cpu = cpuSeconds();
  for (int round = 0; round < Rounds; ++round) {
    formula.recreate_group(TemporaryGroup);
    for (size_t i : sample(random, 300)) formula.add_unit(x[i] ^ (random.below(3) == 0 ? 0 : 1), TemporaryGroup);
    if (!formula.solve()) continue;
    ++outcome.satisfiable;
    uint64_t ones = 0;
    for (Literal l : x) ones += formula.is_true(l);
    outcome.valid = outcome.valid && ones >= low && ones <= high && encoder.value_in_model(total) == ones;
  }
  outcome.solve = monotonicSeconds() - start;
  outcome.solve_cpu = cpuSeconds() - cpu;
  return outcome;
}

// At most one of the 10,000 literals (the ladder); each round asks for one of 100 random
// literals in the temporary group and forbids 2,000 others.
Outcome at_most_one_workload(int solver, uint64_t seed) {
  Outcome outcome;
  double start = monotonicSeconds();
  SatFormula formula(solver, false, false);
  std::vector<Literal> x;
  for (size_t i = 0; i < Literals; ++i) x.push_back(formula.new_literal(false));
  formula.at_most_one(x, PermanentGroup);
  outcome.build = monotonicSeconds() - start;
  Random random(seed);
  start = monotonicSeconds();
  double cpu = cpuSeconds();
  for (int round = 0; round < Rounds; ++round) {
    formula.recreate_group(TemporaryGroup);
    std::vector<Literal> some;
    for (int k = 0; k < 100; ++k) some.push_back(x[random.below(Literals)]);
    formula.add_clause(some, TemporaryGroup);
    for (int k = 0; k < 2000; ++k) formula.add_unit(negate(x[random.below(Literals)]), TemporaryGroup);
    if (!formula.solve()) continue;
    ++outcome.satisfiable;
    int ones = 0;
    for (Literal l : x) ones += formula.is_true(l);
    outcome.valid = outcome.valid && ones == 1;
  }
  outcome.solve = monotonicSeconds() - start;
  outcome.solve_cpu = cpuSeconds() - cpu;
  return outcome;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void measure(const char* name, Outcome (*workload)(int, uint64_t), int runs) {
  for (int solver : {0, 1}) {
    std::vector<double> build, solve, solve_cpu;
    Outcome last;
    for (int run = 0; run < runs; ++run) {
      last = workload(solver, 1);  // the same seed: every run solves the same sequence
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
  measure("counter", counter_workload, runs);
  measure("at_most_one", at_most_one_workload, runs);
  return 0;
}
