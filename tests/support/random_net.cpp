// Test support: generators of random safe nets and STGs.
#include "support/random_net.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "support/state_space.h"

namespace nurex::test {

namespace {

class Draw {
 public:
  explicit Draw(uint64_t seed) : engine_(seed * 0x9E3779B97F4A7C15ull + 12345) {}
  // Uniform in [low, high].
  uint32_t between(uint32_t low, uint32_t high) { return std::uniform_int_distribution<uint32_t>(low, high)(engine_); }
  bool percent(uint32_t chance) { return between(1, 100) <= chance; }

 private:
  std::mt19937_64 engine_;
};

template <class Net>
Place* newPlace(Net& net) {
  auto* p = net.places.add(new Place);
  p->name = "p" + std::to_string(p->index);
  return p;
}

template <class Net>
Transition* newTransition(Net& net) {
  auto* t = net.transitions.add(new Transition);
  t->name = "t" + std::to_string(t->index);
  return t;
}

void addArcOnce(Place* p, Transition* t) {
  if (!t->preset.contains(p)) addPlaceArc(p, t);
}
void addArcOnce(Transition* t, Place* p) {
  if (!t->postset.contains(p)) addTransitionArc(t, p);
}

template <class Net>
void composeStateMachines(Net& net, Draw& draw, const RandomNetOptions& o) {
  uint32_t components = draw.between((o.maxComponents + 1) / 2, o.maxComponents);
  std::vector<std::vector<Place*>> places(components);
  for (auto& component : places) {
    uint32_t n = draw.between(2, std::max<uint32_t>(2, o.maxPlacesPerComponent));
    for (uint32_t i = 0; i < n; ++i) component.push_back(newPlace(net));
    if (draw.percent(90)) component[draw.between(0, n - 1)]->tokens = 1;
  }
  // Most components get a ring through their places, so that tokens keep moving; the
  // other transitions join random components at random places.
  for (const auto& component : places) {
    if (!draw.percent(70)) continue;
    for (size_t k = 0; k < component.size(); ++k) {
      Transition* t = newTransition(net);
      addArcOnce(component[k], t);
      addArcOnce(t, component[(k + 1) % component.size()]);
    }
  }
  uint32_t transitions = draw.between((o.maxTransitions + 1) / 2, o.maxTransitions);
  for (uint32_t i = 0; i < transitions; ++i) {
    Transition* t = newTransition(net);
    uint32_t first = 0, range = components;
    if (o.window && o.window < components) {
      range = o.window;
      first = draw.between(0, components - range);
    }
    uint32_t joined = draw.between(1, std::min(o.maxSynchronised, range));
    std::vector<uint32_t> order(range);
    for (uint32_t k = 0; k < range; ++k) order[k] = first + k;
    for (uint32_t k = 0; k < joined; ++k) std::swap(order[k], order[draw.between(k, range - 1)]);
    for (uint32_t k = 0; k < joined; ++k) {
      const auto& component = places[order[k]];
      addArcOnce(component[draw.between(0, component.size() - 1)], t);
      addArcOnce(t, component[draw.between(0, component.size() - 1)]);
    }
  }
}

template <class Net>
void freeArcs(Net& net, Draw& draw, const RandomNetOptions& o) {
  uint32_t placeCount = draw.between(1, o.maxComponents * o.maxPlacesPerComponent / 2 + 1);
  for (uint32_t i = 0; i < placeCount; ++i) newPlace(net)->tokens = draw.percent(40) ? 1 : 0;
  uint32_t transitions = draw.between(1, o.maxTransitions);
  for (uint32_t i = 0; i < transitions; ++i) {
    Transition* t = newTransition(net);
    uint32_t in = draw.between(1, std::min<uint32_t>(3, placeCount));
    uint32_t out = draw.between(0, std::min<uint32_t>(3, placeCount));
    for (uint32_t k = 0; k < in; ++k) addArcOnce(net.places[draw.between(0, placeCount - 1)], t);
    for (uint32_t k = 0; k < out; ++k) addArcOnce(t, net.places[draw.between(0, placeCount - 1)]);
  }
}

template <class Net>
std::unique_ptr<Net> drawNet(uint64_t seed, const RandomNetOptions& o) {
  Draw draw(seed);
  if (!o.onlySafe) {
    auto net = std::make_unique<Net>();
    if (o.extraArcs == 0) {
      freeArcs(*net, draw, o);
    } else {
      composeStateMachines(*net, draw, o);
      for (uint32_t k = 0; k < o.extraArcs; ++k)
        addArcOnce(net->transitions[draw.between(0, net->transitions.size() - 1)],
                   net->places[draw.between(0, net->places.size() - 1)]);
    }
    sortArcs(*net);
    return net;
  }
  bool free = draw.percent(o.freeArcsPercent);
  for (uint32_t attempt = 0; free && attempt < 50; ++attempt) {
    auto net = std::make_unique<Net>();
    freeArcs(*net, draw, o);
    sortArcs(*net);
    StateSpace s = exploreStateSpace(*net, {.stateLimit = o.stateLimit});
    if (s.safe && s.complete) return net;
  }
  auto net = std::make_unique<Net>();
  composeStateMachines(*net, draw, o);
  sortArcs(*net);
  return net;
}

}  // namespace

std::unique_ptr<PetriNet> randomSafeNet(uint64_t seed, const RandomNetOptions& options) {
  return drawNet<PetriNet>(seed, options);
}

std::unique_ptr<Stg> randomSafeStg(uint64_t seed, const RandomNetOptions& options) {
  auto stg = drawNet<Stg>(seed, options);
  Draw draw(seed ^ 0x5bd1e995u);
  static const char* const names[] = {"a", "b", "x", "y", "i", "d"};
  static const uint8_t kinds[] = {SignalInput, SignalInput, SignalOutput, SignalOutput, SignalInternal, SignalDummy};
  std::vector<Signal*> signals;
  for (int k = 0; k < 6; ++k) {
    auto* s = stg->signals.add(new Signal);
    s->name = names[k];
    s->kind = kinds[k];
    signals.push_back(s);
  }
  for (Transition* t : stg->transitions) {
    Signal* s = signals[draw.between(0, 5)];
    t->signal = s;
    if (s->kind != SignalDummy) t->sign = draw.percent(50) ? SignPlus : SignMinus;
    t->name = s->name + (s->kind == SignalDummy ? "" : t->sign == SignPlus ? "+" : "-") + "/" + std::to_string(t->index);
  }
  sortSignals(*stg);
  return stg;
}

}  // namespace nurex::test
