// Covers of a function's regions as BDDs, and sums of products over BDD variables.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/bdd_manager.h"

namespace nurex {

struct CubeLiteral {
  uint32_t variable;
  bool positive;
  bool operator==(const CubeLiteral&) const = default;
};
// Literals sorted by variable, each variable at most once; the empty cube is constant 1.
using Cube = std::vector<CubeLiteral>;
// The empty sum is constant 0.
using SumOfProducts = std::vector<Cube>;

// Like BuDDy's own operators, these throw BddError once the error hook has reported.
bdd cubeToBdd(const Cube& cube);
bdd sopToBdd(const SumOfProducts& sop);
uint64_t literalCount(const SumOfProducts& sop);
// The variables the sum reads, ascending, each once.
std::vector<uint32_t> sopVariables(const SumOfProducts& sop);
// A BDD as the sum of its paths to 1, as BddCover::text prints each region.
std::string bddText(const bdd& f);
// The variables `f` reads, as a BuDDy variable set (a conjunction of positive literals).
bdd bddSupport(const bdd& f);

// A function given by the regions where it must be 1 and 0 (combinational form), or by the
// excitation and quiescent regions of a signal (sequential form).
struct BddCover {
  bool sequential = false;
  bdd on = bddfalse, off = bddfalse;  // combinational form
  bdd er_plus = bddfalse, qr_plus = bddfalse, er_minus = bddfalse, qr_minus = bddfalse;  // sequential form
  std::vector<uint32_t> support;  // variables the regions are expressed over, ascending
  bool complemented = false;

  // Widens the ON (or OFF) region by a cube and adds its variables to the support; after a
  // reported BDD error the cover stays as it was.
  void add_on(const Cube& cube);
  void add_off(const Cube& cube);
  // ON and OFF exchanged (ER+/ER- and QR+/QR- in the sequential form), the flag toggled.
  BddCover complement() const;
  // No region holds anything.
  bool isEmpty() const;
  // "BDDCover{ON: ..., OFF: ...}" or the sequential form, each BDD as a sum of its paths to 1,
  // low branch first: literals "v3" and "!v3" joined by "*", cubes by " + ", constants "0" and
  // "1"; past 1000 paths " + ..." ends the list.
  std::string text() const;
};

}  // namespace nurex
