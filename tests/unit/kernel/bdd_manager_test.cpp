// BuDDy's errors become the system's messages and a BddError instead of ending the process;
// the minimiser turns one into a null result.
#include "kernel/bdd_manager.h"

#include <gtest/gtest.h>

#include "kernel/two_level.h"
#include "platform/reporter.h"

namespace nurex {
namespace {

// Runs `action`, which must throw BddError, and returns what went to the error stream.
template <typename Action>
std::string errorOf(Action action) {
  resetStatus();
  testing::internal::CaptureStderr();
  EXPECT_THROW(action(), BddError);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(raiseStatus(0), StatusError);
  resetStatus();
  return err;
}

TEST(BddManager, InvalidArgumentIsReportedAndThrown) {
  bddManager();
  EXPECT_EQ(errorOf([] { bdd_ithvar(bdd_varnum() + 3); }), "\nError: an invalid argument provided to a BDD function\n");
  EXPECT_EQ(errorOf([] { ensureBddVariables(0xFFFFFFFFu); }), "\nError: an invalid argument provided to a BDD function\n");
  // The manager still works afterwards.
  EXPECT_EQ(bddVariable(2) & !bddVariable(2), bddfalse);
}

TEST(BddManager, ErrorCodesGiveTheirMessages) {
  bddManager();
  bddinthandler hook = bdd_error_hook(nullptr);
  bdd_error_hook(hook);
  EXPECT_EQ(errorOf([&] { hook(BDD_MEMORY); }), "\nError: memory overflow\n");
  EXPECT_EQ(errorOf([&] { hook(BDD_NODENUM); }), "\nError: exceeded memory limit in BDD manager\n");
  EXPECT_EQ(errorOf([&] { hook(BDD_VARSET); }), "\nError: an invalid argument provided to a BDD function\n");
  EXPECT_EQ(errorOf([&] { hook(BDD_FILE); }), "\nError: internal error in BDD manager\n");
}

// x0 x(n) + x1 x(n+1) + ... in this order needs about 2^n nodes.
bdd pairing(uint32_t n) {
  bdd f = bddfalse;
  for (uint32_t i = 0; i < n; ++i) f |= bddVariable(i) & bddVariable(n + i);
  return f;
}

TEST(BddManager, NodeLimitStopsTheMinimiser) {
  bddManager();
  ensureBddVariables(48);
  bdd_gbc();
  int saved = bdd_setmaxnodenum(bdd_getallocnum() + 1);
  resetStatus();
  testing::internal::CaptureStderr();
  // The minimiser needs several times the nodes of its input, so it meets the limit first.
  std::optional<SumOfProducts> sop;
  try {
    for (uint32_t n = 8; n <= 24 && (n == 8 || sop); ++n) {
      BddCover cover;
      cover.on = pairing(n);
      cover.off = !cover.on;
      sop = minimiseCover(cover, {1, 1, 1});
    }
  } catch (const BddError&) {
    ADD_FAILURE() << "the test's own function met the limit first";
  }
  std::string err = testing::internal::GetCapturedStderr();
  bdd_setmaxnodenum(saved);
  EXPECT_FALSE(sop);
  EXPECT_NE(err.find("\nError: exceeded memory limit in BDD manager\n"), std::string::npos) << err;
  EXPECT_EQ(raiseStatus(0), StatusError);
  resetStatus();
  EXPECT_EQ(pairing(6) & !pairing(6), bddfalse);
}

}  // namespace
}  // namespace nurex
