// Cubes and sums of products as BDDs against direct evaluation, and the cover operations and
// text forms.
#include "kernel/bdd_cover.h"

#include <gtest/gtest.h>

#include "kernel_test_support.h"

namespace nurex {
namespace {

using namespace kernel_test;

TEST(BddCover, SumsOfProductsAgreeWithEvaluation) {
  std::mt19937 random(17);
  for (int round = 0; round < 60; ++round) {
    std::vector<uint32_t> variables = randomVariables(random, 1 + round % 6, 40);
    SumOfProducts sop;
    uint64_t literals = 0;
    for (uint32_t k = random() % 5; k > 0; --k) {
      sop.push_back(randomCube(random, variables, random() % (variables.size() + 1)));
      literals += sop.back().size();
    }
    EXPECT_EQ(sopToBdd(sop), tableToBdd(sopTable(sop, variables), variables)) << "round " << round;
    EXPECT_EQ(literalCount(sop), literals);
  }
  EXPECT_EQ(sopToBdd({}), bddfalse);
  EXPECT_EQ(sopToBdd({Cube{}}), bddtrue);
  EXPECT_EQ(cubeToBdd({}), bddtrue);
}

TEST(BddCover, VariablesAreMadeOnDemand) {
  uint32_t beyond = static_cast<uint32_t>(bdd_varnum()) + 40;
  bdd v = cubeToBdd({{beyond, false}});
  EXPECT_GT(static_cast<uint32_t>(bdd_varnum()), beyond);
  EXPECT_EQ(v, !bddVariable(beyond));
  EXPECT_EQ(bdd_var(v), static_cast<int>(beyond));
}

TEST(BddCover, AddingCubesWidensRegionsAndSupport) {
  BddCover cover;
  EXPECT_TRUE(cover.isEmpty());
  cover.add_on({{4, true}, {9, false}});
  cover.add_on({{2, true}});
  cover.add_off({{4, false}, {7, true}});
  EXPECT_FALSE(cover.isEmpty());
  EXPECT_EQ(cover.support, (std::vector<uint32_t>{2, 4, 7, 9}));
  EXPECT_EQ(cover.on, (bddVariable(4) & !bddVariable(9)) | bddVariable(2));
  EXPECT_EQ(cover.off, (!bddVariable(4)) & bddVariable(7));
  BddCover sequential;
  sequential.sequential = true;
  sequential.qr_minus = bddVariable(1);
  EXPECT_FALSE(sequential.isEmpty());
}

TEST(BddCover, ComplementSwapsRegionsAndToggles) {
  BddCover cover;
  cover.on = bddVariable(1);
  cover.er_plus = bddVariable(2);
  cover.qr_plus = bddVariable(3);
  BddCover c = cover.complement();
  EXPECT_TRUE(c.complemented);
  EXPECT_TRUE(c.on == bddfalse && c.off == cover.on && c.er_minus == cover.er_plus && c.qr_minus == cover.qr_plus);
  EXPECT_TRUE(c.er_plus == bddfalse && c.qr_plus == bddfalse);
  EXPECT_FALSE(c.complement().complemented);
}

TEST(BddCover, TextListsPathsLowBranchFirst) {
  BddCover cover;
  EXPECT_EQ(cover.text(), "BDDCover{ON: 0, OFF: 0}");
  cover.add_on({{1, true}, {3, false}});
  cover.add_off({{1, false}});
  cover.add_off({{1, true}, {3, true}});
  EXPECT_EQ(cover.text(), "BDDCover{ON: v1*!v3, OFF: !v1 + v1*v3}");
  BddCover sequential;
  sequential.sequential = true;
  sequential.er_plus = bddtrue;
  sequential.er_minus = bddVariable(0) ^ bddVariable(2);
  EXPECT_EQ(sequential.text(), "BDDCover{ER+: 1, QR+: 0, ER-: !v0*v2 + v0*!v2, QR-: 0}");
}

TEST(BddCover, TextOfAHugeFunctionIsCut) {
  BddCover cover;
  cover.on = bddfalse;
  for (uint32_t v = 0; v < 12; ++v) cover.on ^= bddVariable(v);  // 2048 paths
  std::string text = cover.text();
  EXPECT_NE(text.find(" + ..., OFF: 0}"), std::string::npos);
  EXPECT_LT(text.size(), 100000u);
}

}  // namespace
}  // namespace nurex
