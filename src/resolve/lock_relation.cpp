// Two signals alternate when, in every configuration, their events form one chain in which
// the signals take turns. Inside the prefix that is a test on the local configuration of
// each event; runs that go on behind a cut-off go on as behind its correspondent, so the
// two must agree on which of the pair came last.
#include "resolve/lock_relation.h"

#include "platform/reporter.h"
#include "resolve/event_order.h"

namespace nurex {

namespace {

bool takesPart(const Signal* s) { return s && s->kind != SignalDummy; }

// For every event and signal, 1 + the number of the signal's last event in the event's
// local configuration, or 0. In a consistent STG the events of one signal in a
// configuration form a chain, so the highest number is the causally last.
class LastEvents {
 public:
  LastEvents(const StgPrefix& prefix) : signals_(prefix.signals.size()), last_(prefix.events.size() * signals_, 0) {
    for (const Event* e : prefix.events) {
      uint32_t* row = &last_[e->index * signals_];
      for (const Condition* c : e->preset)
        if (c->producer) {
          const uint32_t* from = &last_[c->producer->index * signals_];
          for (size_t s = 0; s < signals_; ++s) row[s] = std::max(row[s], from[s]);
        }
      if (takesPart(e->transition->signal)) row[e->transition->signal->index] = e->index + 1;
    }
  }
  // In [e], e included.
  uint32_t in(const Event* e, const Signal* s) const { return last_[e->index * signals_ + s->index]; }
  // In [e] without e.
  uint32_t before(const Event* e, const Signal* s) const {
    uint32_t last = 0;
    for (const Condition* c : e->preset)
      if (c->producer) last = std::max(last, in(c->producer, s));
    return last;
  }

 private:
  size_t signals_;
  std::vector<uint32_t> last_;
};

}  // namespace

uint32_t pairWeight(const Signal* a, const Signal* b) {
  int inputs = (a->kind == SignalInput) + (b->kind == SignalInput);
  return inputs == 2 ? 1 : inputs == 1 ? 2 : 4;
}

LockRelation::LockRelation(const StgPrefix& prefix) : prefix_(prefix) {
  size_t n = prefix.signals.size();
  locked_.assign(n, std::vector<bool>(n, false));
  EventOrder order(prefix);
  LastEvents last(prefix);
  std::vector<std::vector<const Event*>> eventsOf(n);
  for (const Event* e : prefix.events)
    if (takesPart(e->transition->signal)) eventsOf[e->transition->signal->index].push_back(e);
  auto causallyAfter = [&](uint32_t later, uint32_t earlier) {
    return later && order.past(prefix.events[later - 1]).contains(earlier - 1);
  };
  auto alternate = [&](const Signal* a, const Signal* b) {
    // Between an event and the last earlier one of its signal, the other signal occurs.
    for (const Signal* x : {a, b}) {
      const Signal* y = x == a ? b : a;
      for (const Event* e : eventsOf[x->index]) {
        uint32_t previous = last.before(e, x);
        if (previous && !causallyAfter(last.before(e, y), previous)) return false;
      }
    }
    for (const Event* e : eventsOf[a->index])
      for (const Event* f : eventsOf[b->index])
        if (!order.past(e).contains(f->index) && !order.past(f).contains(e->index) &&
            !order.conflict(e).contains(f->index))
          return false;
    // Which of the two came last: 0 neither, 1 a, 2 b.
    auto lastOf = [&](uint32_t la, uint32_t lb) { return la == lb ? 0 : la > lb ? 1 : 2; };
    bool startsWith[3] = {false, false, false};
    for (const Signal* x : {a, b})
      for (const Event* e : eventsOf[x->index])
        if (!last.before(e, a) && !last.before(e, b)) startsWith[x == a ? 1 : 2] = true;
    for (const Event* c : prefix.events) {
      if (!eventIsCutOff(c) || c->correspondent.isUnknown()) continue;
      int here = lastOf(last.in(c, a), last.in(c, b));
      uint32_t la = 0, lb = 0;
      for (const Event* k : c->correspondent.correspondents()) {
        la = std::max(la, last.in(k, a));
        lb = std::max(lb, last.in(k, b));
      }
      int there = lastOf(la, lb);
      if (here == 0 || here == there) continue;
      // Behind an empty correspondent the pair starts afresh: the first of them must not be
      // the one that came last here.
      if (there != 0 || startsWith[here]) return false;
    }
    return true;
  };
  for (const Signal* a : prefix.signals)
    for (const Signal* b : prefix.signals)
      if (a->index < b->index && takesPart(a) && takesPart(b) && !eventsOf[a->index].empty() &&
          !eventsOf[b->index].empty() && alternate(a, b))
        locked_[a->index][b->index] = locked_[b->index][a->index] = true;
}

bool LockRelation::locked(const Signal* a, const Signal* b) const { return locked_[a->index][b->index]; }

std::vector<std::pair<const Signal*, const Signal*>> LockRelation::pairs() const {
  std::vector<std::pair<const Signal*, const Signal*>> result;
  for (const Signal* a : prefix_.signals)
    for (const Signal* b : prefix_.signals)
      if (a->index < b->index && locked(a, b)) result.push_back({a, b});
  return result;
}

uint64_t LockRelation::lockingNumber() const {
  uint64_t total = 0;
  for (auto [a, b] : pairs()) total += pairWeight(a, b);
  return total;
}

uint64_t LockRelation::unlockNumber() const {
  uint64_t inputs = 0, others = 0;
  for (const Signal* s : prefix_.signals)
    if (takesPart(s)) ++(s->kind == SignalInput ? inputs : others);
  uint64_t all = (inputs ? inputs * (inputs - 1) / 2 : 0) + (others ? 2 * others * (inputs + others - 1) : 0);
  return all - lockingNumber();
}

uint64_t unlockNumber(const StgPrefix& prefix, const std::string& heading) {
  LockRelation relation(prefix);
  if (verbosity >= 4) {
    printTo(stdout, "%s", heading.c_str());
    for (auto [a, b] : relation.pairs()) printTo(stdout, " {%s,%s}", a->name.c_str(), b->name.c_str());
  }
  uint64_t unlock = relation.unlockNumber();
  if (verbosity >= 1)
    printTo(stdout, "\nLock/Unlock numbers: %llu/%llu", static_cast<unsigned long long>(relation.lockingNumber()),
            static_cast<unsigned long long>(unlock));
  return unlock;
}

}  // namespace nurex
