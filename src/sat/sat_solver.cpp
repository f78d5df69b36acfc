// The adapter factory.
#include "sat/sat_solver.h"

#include "sat/cadical_solver.h"
#include "sat/minisat_solver.h"

namespace nurex {

std::unique_ptr<SatSolver> create_sat_solver(int number) {
  if (number == 0) return std::make_unique<CadicalSolver>();
  return std::make_unique<MinisatSolver>();
}

}  // namespace nurex
