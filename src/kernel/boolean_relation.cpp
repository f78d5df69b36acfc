// The Boolean relation solver: a best-first BREL-style search that splits the relation where
// independently minimised outputs conflict, then sequential substitution of minimised outputs
// over several output orders as a fallback; every vector is checked by composition.
#include "kernel/boolean_relation.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <queue>
#include <string>

#include "platform/reporter.h"

namespace nurex {

namespace {

const char* const WrongSolution =
    "internal error in the Boolean relation solver: a solution does not satisfy the relation";
const char* const ForeignVariables =
    "internal error in the Boolean relation solver: the relation reads variables outside its inputs and outputs";
const char* const SharedVariables =
    "internal error in the Boolean relation solver: a variable is both an input and an output";

// Where output k must be 1 and where it must be 0, given the rest of the relation.
struct Interval {
  bdd on, off;
};

bdd variableSet(const std::vector<uint32_t>& variables) {
  bdd set = bddtrue;
  for (uint32_t v : variables) set &= bddVariable(v);
  return set;
}

bool isConstant(const SumOfProducts& f) { return f.empty() || (f.size() == 1 && f[0].empty()); }

class RelationSolver {
 public:
  RelationSolver(const BooleanRelation& relation, const RelationLimits& limits)
      : relation_(relation), limits_(limits) {}

  // False after a reported error.
  bool run() {
    if (!validVariables()) return false;
    inputSet_ = variableSet(relation_.inputs);
    outputSet_ = variableSet(relation_.outputs);
    for (uint32_t v : relation_.outputs) outputs_.push_back(bddVariable(v));
    domain_ = bdd_exist(relation_.relation, outputSet_);
    // Outside the domain every output value is allowed.
    bdd widened = relation_.relation | !domain_;
    // The search first, so that among vectors of equal cost its own come first.
    if (!explore(widened)) return false;
    std::vector<size_t> order(outputs_.size());
    std::iota(order.begin(), order.end(), 0);
    uint32_t orders = 0;
    do {
      if (!substitute(widened, order)) return false;
    } while (++orders < limits_.max_orders && std::next_permutation(order.begin(), order.end()));
    return true;
  }

  std::vector<RelationSolution> solutions() {
    std::stable_sort(pool_.begin(), pool_.end(),
                     [](const RelationSolution& a, const RelationSolution& b) { return a.literals < b.literals; });
    if (pool_.size() > limits_.max_solutions) pool_.resize(limits_.max_solutions);
    return std::move(pool_);
  }

 private:
  bool validVariables() {
    std::vector<uint32_t> all = relation_.inputs;
    all.insert(all.end(), relation_.outputs.begin(), relation_.outputs.end());
    std::sort(all.begin(), all.end());
    if (std::adjacent_find(all.begin(), all.end()) != all.end()) {
      reportError(SharedVariables);
      return false;
    }
    if (bdd_exist(bddSupport(relation_.relation), variableSet(all)) != bddtrue) {
      reportError(ForeignVariables);
      return false;
    }
    return true;
  }

  Interval interval(const bdd& r, size_t k) const {
    bdd canBeZero = bdd_appex(r, !outputs_[k], bddop_and, outputSet_);
    bdd canBeOne = bdd_appex(r, outputs_[k], bddop_and, outputSet_);
    return {!canBeZero, !canBeOne};
  }

  std::optional<SumOfProducts> minimiseIn(const Interval& interval) const {
    BddCover cover;
    cover.on = interval.on;
    cover.off = interval.off;
    cover.support = relation_.inputs;
    return minimiseCover(cover, limits_.minimiser);
  }

  // The x where f(x) is not an allowed output of `r` although x is in the domain.
  bdd conflicts(const bdd& r, const std::vector<bdd>& f) const {
    bdd equal = bddtrue;
    for (size_t k = 0; k < f.size(); ++k) equal &= bdd_biimp(outputs_[k], f[k]);
    return domain_ & !bdd_appex(r, equal, bddop_and, outputSet_);
  }

  // Each output in turn takes a cheapest function of its interval and is substituted into
  // the relation; the intervals keep every domain point satisfiable, so no conflict arises.
  bool substitute(bdd r, const std::vector<size_t>& order) {
    std::vector<SumOfProducts> functions(outputs_.size());
    for (size_t k : order) {
      Interval allowed = interval(r, k);
      std::optional<SumOfProducts> f = minimiseIn(allowed);
      if (!f) return false;
      r = bdd_compose(r, sopToBdd(*f), static_cast<int>(relation_.outputs[k]));
      functions[k] = std::move(*f);
    }
    return offer(std::move(functions));
  }

  // A subrelation with each output minimised in its own interval. Narrowing a relation only
  // narrows the intervals, so the vector's cost bounds every vector compatible with it.
  struct Candidate {
    bdd relation;
    std::vector<Interval> intervals;
    std::vector<SumOfProducts> functions;
    std::vector<bdd> bdds;
    uint64_t cost = 0;
    uint64_t sequence = 0;  // ties go to the earlier candidate, for determinism
  };

  std::optional<Candidate> evaluate(const bdd& r) {
    Candidate candidate{r, {}, {}, {}, 0, sequence_++};
    for (size_t k = 0; k < outputs_.size(); ++k) {
      candidate.intervals.push_back(interval(r, k));
      std::optional<SumOfProducts> f = minimiseIn(candidate.intervals.back());
      if (!f) return std::nullopt;
      candidate.bdds.push_back(sopToBdd(*f));
      candidate.cost += literalCount(*f);
      candidate.functions.push_back(std::move(*f));
    }
    return candidate;
  }

  // Best-first search in the manner of BREL: the cheapest candidate is taken; if its vector
  // fits, it is a solution, else the relation is split at one conflicting point on an output
  // that is free there, once for each value. Solutions thus come cheapest first.
  bool explore(const bdd& widened) {
    auto later = [](const Candidate& a, const Candidate& b) {
      return a.cost != b.cost ? a.cost > b.cost : a.sequence > b.sequence;
    };
    std::priority_queue<Candidate, std::vector<Candidate>, decltype(later)> open(later);
    uint32_t budget = limits_.max_splits;
    uint32_t found = 0;
    auto push = [&](const bdd& r) {
      std::optional<Candidate> candidate = evaluate(r);
      if (candidate) open.push(std::move(*candidate));
      return candidate.has_value();
    };
    if (!push(widened)) return false;
    while (!open.empty() && found < limits_.max_solutions) {
      Candidate best = open.top();
      open.pop();
      bdd conflict = conflicts(best.relation, best.bdds);
      if (conflict == bddfalse) {
        size_t before = pool_.size();
        if (!offer(std::move(best.functions))) return false;
        found += pool_.size() > before;
        continue;
      }
      if (budget < 2) continue;
      budget -= 2;
      bdd point = bdd_satoneset(conflict, inputSet_, bddfalse);
      // A point where every output is forced has one allowed value, which the vector takes.
      size_t k = 0;
      while (k < outputs_.size() && (point & (best.intervals[k].on | best.intervals[k].off)) != bddfalse) ++k;
      if (k == outputs_.size()) {
        reportError(WrongSolution);
        return false;
      }
      bdd one = outputs_[k];
      if (!push(best.relation & !(point & one)) || !push(best.relation & bdd_imp(point, one))) return false;
    }
    return true;
  }

  // Keeps a new, distinct vector after checking it against the relation itself.
  bool offer(std::vector<SumOfProducts> functions) {
    if (limits_.exclude_constant && std::any_of(functions.begin(), functions.end(), isConstant)) return true;
    RelationSolution solution;
    for (const SumOfProducts& f : functions) {
      solution.bdds.push_back(sopToBdd(f));
      solution.literals += literalCount(f);
    }
    if (conflicts(relation_.relation, solution.bdds) != bddfalse) {
      reportError(WrongSolution);
      return false;
    }
    for (const RelationSolution& known : pool_)
      if (known.bdds == solution.bdds) return true;
    solution.functions = std::move(functions);
    pool_.push_back(std::move(solution));
    return true;
  }

  const BooleanRelation& relation_;
  const RelationLimits& limits_;
  bdd inputSet_, outputSet_, domain_;
  std::vector<bdd> outputs_;
  std::vector<RelationSolution> pool_;
  uint64_t sequence_ = 0;
};

}  // namespace

std::vector<RelationSolution> solveRelation(const BooleanRelation& relation, const RelationLimits& limits) {
  try {
    bddManager();
    RelationSolver solver(relation, limits);
    if (!solver.run()) return {};
    return solver.solutions();
  } catch (const BddError&) {
    return {};  // reported by the error hook
  }
}

}  // namespace nurex
