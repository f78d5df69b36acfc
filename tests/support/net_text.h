// Test support: a canonical text of a net and of an STG's signals, independent of node
// numbering, which two reads of the same net must share.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "model/net.h"

namespace nurex::test {

// Names of nodes and their neighbours, independent of numbering: two nets with equal texts
// have the same places, transitions, arcs and marking. With `implicitNames` a place with one
// producer and one consumer is named "<t,u>" after them, as the .g form writes it; with
// `anonymousPlaces` no place has a name, and a place is told only by its arcs and tokens.
inline std::string canonicalNet(const PetriNet& net, bool implicitNames = false, bool anonymousPlaces = false) {
  std::vector<std::string> lines;
  for (const Place* p : net.places) {
    std::vector<std::string> in, out;
    for (const Transition* t : p->preset) in.push_back(t->name);
    for (const Transition* t : p->postset) out.push_back(t->name);
    std::sort(in.begin(), in.end());
    std::sort(out.begin(), out.end());
    std::string name = p->name;
    if (implicitNames && in.size() == 1 && out.size() == 1) name = "<" + in[0] + "," + out[0] + ">";
    if (anonymousPlaces) name = "-";
    std::string line = "P " + name + " " + std::to_string(p->tokens) + " <";
    for (auto& n : in) line += " " + n;
    line += " >";
    for (auto& n : out) line += " " + n;
    lines.push_back(line);
  }
  for (const Transition* t : net.transitions) lines.push_back("T " + t->name);
  std::sort(lines.begin(), lines.end());
  std::string text;
  for (auto& l : lines) text += l + "\n";
  return text;
}

inline std::string canonicalSignals(const Stg& stg) {
  std::string text;
  for (const Signal* s : stg.signals)
    text += s->name + ":" + std::to_string(s->kind) + ":" + std::to_string(s->initialValue) + "\n";
  std::vector<std::string> lines;
  for (const Transition* t : stg.transitions)
    lines.push_back(t->name + "->" + (t->signal ? t->signal->name : "-") + ":" + std::to_string(t->sign) + "\n");
  std::sort(lines.begin(), lines.end());
  for (auto& l : lines) text += l;
  return text;
}

// The .g text of a Muller pipeline of `stages` C-elements between two environment inputs
// (as bench/stg_family.sh makes it): long chains of each signal and cuts that grow with it.
inline std::string mullerPipelineText(int stages) {
  auto c = [](int i) { return "c" + std::to_string(i); };
  std::string text = ".model pipeline\n.inputs c0 " + c(stages + 1) + "\n.outputs";
  for (int i = 1; i <= stages; ++i) text += " " + c(i);
  text += "\n.graph\n";
  std::string marking;
  for (int i = 1; i <= stages + 1; ++i) {
    std::string p = c(i - 1), q = c(i);
    text += p + "+ " + q + "+\n" + q + "+ " + p + "-\n" + p + "- " + q + "-\n" + q + "- " + p + "+\n";
    marking += " <" + q + "-," + p + "+>";
  }
  return text + ".marking {" + marking + " }\n.end\n";
}

}  // namespace nurex::test
