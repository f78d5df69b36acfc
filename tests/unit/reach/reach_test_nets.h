// Small hand-made processes for the REACH expansion tests, and a helper that parses and
// normalises a property over one of them.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "model/net.h"
#include "reach/reach.h"
#include "reach/reach_normalise.h"
#include "support/capture.h"
#include "support/prefix_builder.h"

namespace nurex::test {

// Places a, b (marked), c, p, p1, e (marked); t1: a -> c, t2: b -> p, t3: c, p -> p1.
// Conditions C1 a, C2 b, C3 c, C4 p, C5 p1, C6 e; events E1 t1, E2 t2, E3 t3 (a cut-off).
inline void buildSmallNet(PrefixBuilder<PetriNet>& b) {
  Place *a = b.place("a", 1), *pb = b.place("b", 1), *c = b.place("c"), *p = b.place("p"), *p1 = b.place("p1");
  Place* e = b.place("e", 1);
  Transition* t1 = b.transition("t1", {a}, {c});
  Transition* t2 = b.transition("t2", {pb}, {p});
  Transition* t3 = b.transition("t3", {c, p}, {p1});
  Condition* ca = b.condition(a);
  Condition* cb = b.condition(pb);
  Condition* cc = b.condition(c, b.event(t1, {ca}));
  Condition* cp = b.condition(p, b.event(t2, {cb}));
  b.condition(p1, b.event(t3, {cc, cp}));
  b.condition(e);
  b.prefix.events[2]->correspondent.setInitialState();
}

// An STG: input a, output b, dummy d. p0 -a+-> p1 -d.dum-> p2 -b+-> p3 -a--> p4, with p0
// marked; one event per transition, E1 a+, E2 d.dum, E3 b+, E4 a-.
inline void buildDummyStg(PrefixBuilder<Stg>& b) {
  Signal* a = b.signal("a", SignalInput, 0);
  Signal* o = b.signal("b", SignalOutput, 0);
  Signal* d = b.signal("d", SignalDummy);
  b.prefix.outputsBegin = 1;
  b.prefix.internalsBegin = b.prefix.dummiesBegin = 2;
  Place* p[5];
  for (int i = 0; i < 5; ++i) p[i] = b.place("p" + std::to_string(i), i == 0);
  Transition* t[4] = {b.transition("a+", a, SignPlus), b.transition("d.dum", d), b.transition("b+", o, SignPlus),
                      b.transition("a-", a, SignMinus)};
  Condition* c = b.condition(p[0]);
  for (int i = 0; i < 4; ++i) {
    addPlaceArc(p[i], t[i]);
    addTransitionArc(t[i], p[i + 1]);
    Event* e = b.event(t[i], {c});
    e->sign = t[i]->sign;
    c = b.condition(p[i + 1], e);
  }
}

// The printed normal form of a property, or its failure message after "fail: ".
template <class Unit>
std::string normalised(const Unit& unit, const std::string& property) {
  ReachExprPtr tree;
  std::string err = captureStderr([&] { tree = parseReachText(property); });
  if (!tree) return "parse error: " + err;
  normaliseReach(unit, tree);
  if (tree->tag == ReachFail) return "fail: " + tree->unary().child->text();
  return printReach(*tree);
}

}  // namespace nurex::test
