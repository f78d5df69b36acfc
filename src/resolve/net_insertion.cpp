// Adding an inserted signal to the net itself, and checking on a prefix that it came out
// consistent: shared by the resolution loop and the logic decomposition.
#include "resolve/prefix_insertion.h"

#include "platform/reporter.h"
#include "resolve/event_order.h"
#include "unfold/unfolder.h"

namespace nurex {

namespace {

bool nameTaken(const Stg& stg, const std::string& name) {
  for (const Transition* t : stg.transitions)
    if (t->name == name) return true;
  for (const Signal* s : stg.signals)
    if (s->name == name) return true;
  return false;
}

// A new place "<from,to>" between the two transitions.
Place* link(Stg& stg, Transition* from, Transition* to) {
  Place* p = stg.places.add(new Place);
  p->name = unusedPlaceName(stg, "<" + from->name + "," + to->name + ">");
  addTransitionArc(from, p);
  addPlaceArc(p, to);
  return p;
}

}  // namespace

bool unfoldAgain(std::unique_ptr<StgPrefix>& prefix) {
  auto next = std::make_unique<StgPrefix>();
  static_cast<Stg&>(*next) = std::move(static_cast<Stg&>(*prefix));
  prefix = std::move(next);
  UnfoldOptions options = reUnfoldingOptions();
  options.conc_rel_size = 0;
  if (!unfoldNet(*prefix, options)) return false;
  prefix->unfoldedHere = true;
  return true;
}

Signal* addInsertedSignal(Stg& net, const std::string& base, bool initialValue, std::vector<AppliedInsertion>& applied,
                          const std::vector<uint32_t>& signs) {
  std::string name = base;
  for (uint32_t k = 1; nameTaken(net, name); ++k) name = base + std::to_string(k);
  Signal* signal = net.signals.add(new Signal{NoIndex, name, SignalInternal, static_cast<uint8_t>(initialValue ? 1 : 0)});
  sortSignals(net);
  for (size_t i = 0; i < applied.size(); ++i) {
    AppliedInsertion& a = applied[i];
    std::string lead = name + (signs[i] ? "-" : "+"), tname = lead;
    for (uint32_t k = 1; nameTaken(net, tname); ++k) tname = lead + "/" + std::to_string(k);
    Transition* x = a.x = net.transitions.add(new Transition);
    x->name = tname;
    x->signal = signal;
    x->sign = signs[i] ? SignMinus : SignPlus;
    if (auto* b = std::get_if<InsertionBefore>(&a.insertion)) {
      auto* t = const_cast<Transition*>(b->t);
      for (const Place* cp : b->places) {
        auto* p = const_cast<Place*>(cp);
        p->postset.erase(t);
        t->preset.erase(p);
        addPlaceArc(p, x);
      }
      a.out = link(net, x, t);
    } else if (auto* af = std::get_if<InsertionAfter>(&a.insertion)) {
      auto* t = const_cast<Transition*>(af->t);
      for (const Place* cp : af->places) {
        auto* p = const_cast<Place*>(cp);
        p->preset.erase(t);
        t->postset.erase(p);
        addTransitionArc(x, p);
      }
      a.into = link(net, t, x);
    } else if (auto* c = std::get_if<InsertionConcurrent>(&a.insertion)) {
      a.into = link(net, const_cast<Transition*>(c->u), x);
      a.into->tokens = c->marked ? 1 : 0;
      a.out = link(net, x, const_cast<Transition*>(c->t));
    } else {
      const auto& g = std::get<InsertionGeneral>(a.insertion);
      for (size_t k = 0; k < g.sources.size(); ++k) {
        Place* p = link(net, const_cast<Transition*>(g.sources[k]), x);
        p->tokens = k < g.marked.size() && g.marked[k] ? 1 : 0;
        if (!a.into) a.into = p;
      }
      for (const Transition* d : g.destinations) {
        Place* p = link(net, x, const_cast<Transition*>(d));
        if (!a.out) a.out = p;
      }
    }
  }
  sortArcs(net);
  return signal;
}

// Every event of the signal has the sign that the parity of its predecessors of the signal
// gives, no two of them are concurrent, and cut-offs agree with their correspondents.
bool signalConsistent(const StgPrefix& prefix, const EventOrder& order, const Signal* signal) {
  std::vector<const Event*> own;
  for (const Event* e : prefix.events)
    if (e->transition->signal == signal) own.push_back(e);
  auto parity = [&](const EventSet& configuration) {
    uint32_t n = 0;
    for (const Event* f : own) n += configuration.contains(f->index);
    return (n + signal->initialValue) & 1;
  };
  for (const Event* e : own) {
    if ((parity(order.past(e)) ^ 1) != e->transition->sign) return false;
    for (const Event* f : own)
      if (f != e && !order.past(e).contains(f->index) && !order.past(f).contains(e->index) &&
          !order.conflict(e).contains(f->index))
        return false;
  }
  return order.cutOffsAgree(prefix, [&](const EventSet& here, const EventSet& there, const Event*) {
    return parity(here) == parity(there);
  });
}

}  // namespace nurex
