// Sorting and renumbering of nets.
#include "model/net.h"

#include <algorithm>

namespace nurex {

bool nameLess(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return a.size() < b.size();
  return a < b;
}

namespace {
template <class T>
void sortByName(NodeList<T>& list) {
  std::vector<T*> order(list.begin(), list.end());
  std::stable_sort(order.begin(), order.end(), [](const T* a, const T* b) { return nameLess(a->name, b->name); });
  list.reorder(std::move(order));
}
}  // namespace

void sortNodes(PetriNet& net) {
  sortByName(net.places);
  sortByName(net.transitions);
}

void sortArcs(PetriNet& net) {
  for (Place* p : net.places) {
    p->preset.sortByIndex();
    p->postset.sortByIndex();
  }
  for (Transition* t : net.transitions) {
    t->preset.sortByIndex();
    t->postset.sortByIndex();
  }
}

void sortSignals(Stg& stg) {
  std::vector<Signal*> order(stg.signals.begin(), stg.signals.end());
  std::stable_sort(order.begin(), order.end(), [](const Signal* a, const Signal* b) {
    if (a->kind != b->kind) return a->kind < b->kind;
    return nameLess(a->name, b->name);
  });
  stg.signals.reorder(std::move(order));
  uint32_t n = stg.signals.size(), i = 0;
  while (i < n && stg.signals[i]->kind < SignalOutput) ++i;
  stg.outputsBegin = i;
  while (i < n && stg.signals[i]->kind < SignalInternal) ++i;
  stg.internalsBegin = i;
  while (i < n && stg.signals[i]->kind < SignalDummy) ++i;
  stg.dummiesBegin = i;
}

void copyStg(const Stg& from, Stg& to) {
  to.name = from.name;
  for (const Signal* s : from.signals) to.signals.add(new Signal{NoIndex, s->name, s->kind, s->initialValue});
  for (const Place* p : from.places) {
    Place* q = to.places.add(new Place);
    q->name = p->name;
    q->tokens = p->tokens;
  }
  for (const Transition* t : from.transitions) {
    Transition* u = to.transitions.add(new Transition);
    u->name = t->name;
    u->sign = t->sign;
    u->signal = t->signal ? to.signals[t->signal->index] : nullptr;
    for (const Place* p : t->preset) addPlaceArc(to.places[p->index], u);
    for (const Place* p : t->postset) addTransitionArc(u, to.places[p->index]);
  }
  sortArcs(to);
  to.outputsBegin = from.outputsBegin;
  to.internalsBegin = from.internalsBegin;
  to.dummiesBegin = from.dummiesBegin;
}

std::string unusedPlaceName(const PetriNet& net, const std::string& name) {
  auto taken = [&](const std::string& n) {
    return std::any_of(net.places.begin(), net.places.end(), [&](const Place* p) { return p->name == n; });
  };
  std::string result = name;
  for (uint32_t k = 1; taken(result); ++k) result = name + "_" + std::to_string(k);
  return result;
}

}  // namespace nurex
