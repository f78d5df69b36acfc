// Test support: random consistent STGs from nested fragments, and their prefixes.
#include "random_stg.h"

#include <random>
#include <set>
#include <string>
#include <vector>

#include "model/checks.h"
#include "unfold/unfolder.h"

namespace nurex::test {

namespace {

class StgDraw {
 public:
  StgDraw(uint64_t seed, const RandomStgOptions& options) : engine_(seed * 0x9E3779B97F4A7C15ull + 7), o_(options) {
    stg_ = std::make_unique<Stg>();
  }

  std::unique_ptr<Stg> build() {
    Place* home = place();
    home->tokens = 1;
    std::set<Signal*> used;
    fragment(home, home, between(0, o_.maxDepth), {}, used, true);
    for (Signal* s : stg_->signals) s->initialValue = 0;
    sortSignals(*stg_);
    sortArcs(*stg_);
    return std::move(stg_);
  }

 private:
  uint32_t between(uint32_t low, uint32_t high) { return std::uniform_int_distribution<uint32_t>(low, high)(engine_); }
  bool percent(uint32_t chance) { return between(1, 100) <= chance; }

  Place* place() {
    auto* p = stg_->places.add(new Place);
    p->name = "p" + std::to_string(p->index);
    return p;
  }
  Transition* transition(Signal* s, uint32_t sign, std::initializer_list<Place*> from, std::initializer_list<Place*> to) {
    auto* t = stg_->transitions.add(new Transition);
    t->signal = s;
    t->sign = sign;
    std::string edge = s->kind == SignalDummy ? "" : sign == SignPlus ? "+" : "-";
    t->name = s->name + edge + "/" + std::to_string(t->index);
    for (Place* p : from) addPlaceArc(p, t);
    for (Place* p : to) addTransitionArc(t, p);
    return t;
  }
  Signal* newSignal(uint8_t kind) {
    auto* s = stg_->signals.add(new Signal);
    s->kind = kind;
    s->name = (kind == SignalDummy ? "d" : "s") + std::to_string(s->index);
    return s;
  }
  // A signal not used by a concurrent fragment: an old one or, while the budget lasts, a new one.
  Signal* pickSignal(const std::set<Signal*>& forbidden, std::set<Signal*>& used) {
    std::vector<Signal*> reusable;
    for (Signal* s : stg_->signals)
      if (s->kind != SignalDummy && !forbidden.count(s)) reusable.push_back(s);
    Signal* s;
    if (!reusable.empty() && (signalCount_ >= o_.maxSignals || percent(35))) {
      s = reusable[between(0, reusable.size() - 1)];
    } else {
      uint32_t k = between(0, 9);
      s = newSignal(k < 4 ? SignalInput : k < 8 ? SignalOutput : SignalInternal);
      ++signalCount_;
    }
    used.insert(s);
    return s;
  }

  void leaf(Place* entry, Place* exit, std::set<Signal*> forbidden, std::set<Signal*>& used) {
    Signal* x = pickSignal(forbidden, used);
    if (percent(50)) {
      Place* m = place();
      transition(x, SignPlus, {dummiesBefore(entry)}, {m});
      transition(x, SignMinus, {dummiesBefore(m)}, {exit});
      return;
    }
    forbidden.insert(x);
    Signal* y = pickSignal(forbidden, used);
    Place *m1 = place(), *m2 = place(), *m3 = place();
    transition(x, SignPlus, {dummiesBefore(entry)}, {m1});
    transition(y, SignPlus, {dummiesBefore(m1)}, {m2});
    transition(x, SignMinus, {dummiesBefore(m2)}, {m3});
    transition(y, SignMinus, {dummiesBefore(m3)}, {exit});
  }

  // Now and then a chain of one to three dummies in front of a signal edge: the edge is
  // then excited through them, and at a choice the branch starts with a dummy. No draw at
  // all without dummies, so that dummy-free STGs stay those of earlier versions.
  Place* dummiesBefore(Place* from) {
    if (o_.dummyPercent == 0 || !percent(o_.dummyPercent / 2)) return from;
    for (uint32_t n = between(1, 3); n > 0; --n) {
      Place* m = place();
      dummyStep(from, m);
      from = m;
    }
    return from;
  }

  void dummyStep(Place* entry, Place* exit) {
    if (!dummy_) dummy_ = newSignal(SignalDummy);
    transition(dummy_, SignNone, {entry}, {exit});
  }

  // With `signalOnEveryPath` no path from entry to exit may consist of dummies only, so
  // that the cycle through the home place never does.
  void fragment(Place* entry, Place* exit, uint32_t depth, const std::set<Signal*>& forbidden, std::set<Signal*>& used,
                bool signalOnEveryPath) {
    uint32_t kind = depth == 0 ? 0 : between(0, 4);
    if (kind == 0 || kind == 1) return leaf(entry, exit, forbidden, used);
    if (kind == 2) {  // sequence, possibly with a dummy step between
      Place* m = place();
      fragment(entry, m, depth - 1, forbidden, used, signalOnEveryPath);
      if (percent(o_.dummyPercent)) {
        Place* n = place();
        dummyStep(m, n);
        m = n;
      }
      return fragment(m, exit, depth - 1, forbidden, used, false);
    }
    if (kind == 3) {  // choice; a branch may be a dummy step
      fragment(entry, exit, depth - 1, forbidden, used, signalOnEveryPath);
      if (!signalOnEveryPath && percent(o_.dummyPercent)) return dummyStep(entry, exit);
      return fragment(entry, exit, depth - 1, forbidden, used, signalOnEveryPath);
    }
    // Concurrency between the edges of a wrapping signal, branches on disjoint signals.
    std::set<Signal*> inner = forbidden;
    Signal* x = pickSignal(inner, used);
    inner.insert(x);
    Place *a = place(), *b = place(), *c = place(), *d = place();
    transition(x, SignPlus, {entry}, {a, b});
    transition(x, SignMinus, {c, d}, {exit});
    std::set<Signal*> first;
    fragment(a, c, depth - 1, inner, first, false);
    inner.insert(first.begin(), first.end());
    fragment(b, d, depth - 1, inner, used, false);
    used.insert(first.begin(), first.end());
  }

  std::mt19937_64 engine_;
  RandomStgOptions o_;
  std::unique_ptr<Stg> stg_;
  uint32_t signalCount_ = 0;
  Signal* dummy_ = nullptr;
};

}  // namespace

std::unique_ptr<Stg> randomConsistentStg(uint64_t seed, const RandomStgOptions& options) {
  return StgDraw(seed, options).build();
}

std::unique_ptr<StgPrefix> unfoldStg(std::unique_ptr<Stg> stg) {
  auto prefix = std::make_unique<StgPrefix>();
  static_cast<Stg&>(*prefix) = std::move(*stg);
  UnfoldOptions options = reUnfoldingOptions();
  options.number_of_threads = 1;
  if (!unfoldNet(*prefix, options) || !inferSignalValues(*prefix) || !runLoadChecks(*prefix)) return nullptr;
  return prefix;
}

}  // namespace nurex::test
