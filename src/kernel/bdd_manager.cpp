// The one BuDDy manager of the process: its sizes, its silent hooks, and the error hook that
// turns BuDDy's error codes into reported errors and a BddError.
#include "kernel/bdd_manager.h"

#include <cstdlib>
#include <string>

#include "platform/reporter.h"

namespace nurex {

namespace {

constexpr int InitialNodes = 100003;
constexpr int InitialCache = 10007;
constexpr int CacheRatio = 4;                // operator caches grow with the node table
constexpr int MaxNodeIncrease = 1 << 20;     // BuDDy's default of 50,000 makes large tables grow slowly
constexpr int MaxNodes = 1 << 24;            // about 320 MB of nodes: beyond it, "exceeded memory limit"
constexpr int InitialVariables = 32;
constexpr uint32_t MaxVariables = 0x1FFFFF;  // BuDDy's own bound on the variable count

bool running = false;

std::string bddErrorText(int code) {
  switch (code) {
    case BDD_MEMORY:
      return "memory overflow";
    case BDD_NODENUM:
      return "exceeded memory limit in BDD manager";
    case BDD_VAR:
    case BDD_RANGE:
    case BDD_ILLBDD:
    case BDD_SIZE:
    case BDD_VARSET:
    case BDD_VARNUM:
    case BDD_DECVNUM:
    case BDD_ORDER:
    case BDD_OP:
    case BDD_REPLACE:
    case BDD_NODES:
      return "an invalid argument provided to a BDD function";
    default:
      return "internal error in BDD manager";
  }
}

// BuDDy's own handler prints and calls exit(); ours reports and leaves the operation. BuDDy is
// compiled with unwind tables, and a throw from a node allocation leaves its tables whole.
void onBddError(int code) {
  std::string text = bddErrorText(code);
  reportError(text);
  throw BddError(text);
}

// Only records that bdd_init failed, which it also says by its result.
void duringInit(int) {}

[[noreturn]] void failedToCreate() {
  reportError("failed to create a BDD manager");
  raiseStatus(StatusOutOfMemory);
  std::exit(static_cast<int>(raiseStatus(0)));
}

}  // namespace

void bddManager() {
  if (running) return;
  bdd_error_hook(duringInit);
  if (bdd_init(InitialNodes, InitialCache) < 0) failedToCreate();
  // bdd_init installs BuDDy's printing handlers; garbage collections and resizes stay silent.
  bdd_gbc_hook(nullptr);
  bdd_resize_hook(nullptr);
  if (bdd_setvarnum(InitialVariables) < 0) failedToCreate();
  bdd_setcacheratio(CacheRatio);
  bdd_setmaxincrease(MaxNodeIncrease);
  bdd_setmaxnodenum(MaxNodes);
  bdd_error_hook(onBddError);
  running = true;
}

void ensureBddVariables(uint32_t count) {
  bddManager();
  int present = bdd_varnum();
  if (count <= static_cast<uint32_t>(present)) return;
  if (count > MaxVariables) onBddError(BDD_RANGE);
  bdd_extvarnum(static_cast<int>(count) - present);
}

bdd bddVariable(uint32_t index) {
  ensureBddVariables(index + 1);
  return bdd_ithvar(static_cast<int>(index));
}

}  // namespace nurex
