// Inference of event signs and initial signal values of an STG prefix, and the records of
// the phases in which a signal is 1.
#include <algorithm>
#include <unordered_set>

#include "model/checks.h"
#include "platform/reporter.h"

namespace nurex {

std::string localConfigurationTrace(Event* e) {
  std::string text;
  for (Event* x : localConfiguration(e)) text += (text.empty() ? "" : ", ") + x->transition->name;
  return text;
}

namespace {

void reportInconsistency(const Signal* s, Event* e) {
  reportError("the STG is inconsistent, signal " + s->name + "; trace:\n" + localConfigurationTrace(e));
}

// The walk visits every event once, each time with a configuration C that holds the local
// configuration of the visited event. It follows postsets so that C can grow along chains
// instead of being rebuilt for every event.
class InferenceWalk {
 public:
  explicit InferenceWalk(StgPrefix& prefix)
      : prefix_(prefix),
        visited_(prefix.events.size(), false),
        inC_(prefix.events.size(), 0),
        count_(prefix.signals.size(), 0),
        countStamp_(prefix.signals.size(), 0) {
    // The walks below revisit pasts many times; numbers in flat arrays keep them in cache.
    producerBegin_.reserve(prefix.events.size() + 1);
    producerBegin_.push_back(0);
    for (Event* e : prefix.events) {
      const Signal* s = e->transition->signal;
      signalOf_.push_back(s ? s->index : NoSignal);
      for (Condition* c : e->preset)
        if (c->producer) producers_.push_back(c->producer->index);
      producerBegin_.push_back(static_cast<uint32_t>(producers_.size()));
    }
  }

  // The next event to visit, or null at the end.
  Event* advance() {
    Event* next = nullptr;
    if (current_)
      for (Condition* c : current_->postset) {
        for (Event* consumer : c->postset)
          if (!visited_[consumer->index]) {
            next = consumer;
            break;
          }
        if (next) break;
      }
    if (!next) {
      while (cursor_ < visited_.size() && visited_[cursor_]) ++cursor_;
      if (cursor_ == visited_.size()) return nullptr;
      next = prefix_.events[cursor_];
      ++generation_;  // clears C and the counters
    }
    current_ = next;
    addLocalConfiguration(current_->index);
    visited_[current_->index] = true;
    return current_;
  }

  // Occurrences in C of the transitions of s.
  uint32_t occurrences(const Signal* s) const { return countStamp_[s->index] == generation_ ? count_[s->index] : 0; }

 private:
  void addLocalConfiguration(uint32_t e) {
    auto add = [&](uint32_t x) {
      if (inC_[x] == generation_) return;
      inC_[x] = generation_;
      stack_.push_back(x);
      uint32_t s = signalOf_[x];
      if (s == NoSignal) return;
      if (countStamp_[s] != generation_) {
        countStamp_[s] = generation_;
        count_[s] = 0;
      }
      ++count_[s];
    };
    add(e);
    while (!stack_.empty()) {
      uint32_t x = stack_.back();
      stack_.pop_back();
      for (uint32_t k = producerBegin_[x]; k < producerBegin_[x + 1]; ++k) add(producers_[k]);
    }
  }

  static constexpr uint32_t NoSignal = 0xFFFFFFFFu;
  StgPrefix& prefix_;
  std::vector<bool> visited_;
  std::vector<uint32_t> inC_;  // generation in which the event joined C
  std::vector<uint32_t> count_, countStamp_;
  uint32_t generation_ = 1;
  uint32_t cursor_ = 0;
  Event* current_ = nullptr;
  std::vector<uint32_t> signalOf_;                    // per event: its signal's index, or NoSignal
  std::vector<uint32_t> producerBegin_, producers_;  // per event: producers of its preset
  std::vector<uint32_t> stack_;
};

}  // namespace

bool inferSignalValues(StgPrefix& prefix) {
  for (uint32_t i = prefix.dummiesBegin; i < prefix.signals.size(); ++i) {
    Signal* s = prefix.signals[i];
    if (s->initialValue != ValueUnknown) {
      reportWarning("dummy signal " + s->name + " has an initial value distinct from '?'");
      s->initialValue = ValueUnknown;
    }
  }
  // Events whose sign rests on an assumed initial value, per signal; flipped together if the
  // assumption turns out wrong.
  std::vector<std::vector<Event*>> assumptions(prefix.signals.size());
  std::vector<bool> assumed(prefix.signals.size(), false);

  InferenceWalk walk(prefix);
  while (Event* e = walk.advance()) {
    Transition* t = e->transition;
    Signal* s = t->signal;
    if (!s || s->kind == SignalDummy) {
      if (t->sign != SignNone) {
        reportWarning("dummy transition " + t->name + " cannot have sign");
        t->sign = SignNone;
      }
      continue;
    }
    uint32_t p = walk.occurrences(s) & 1;
    uint32_t d = t->sign;
    bool vKnown = s->initialValue != ValueUnknown;
    if (!vKnown && d == SignNone) {
      e->sign = p == 1 ? SignPlus : SignMinus;
      assumptions[s->index].push_back(e);
      assumed[s->index] = true;
      s->initialValue = 0;
    } else if (!vKnown) {
      e->sign = d;
      s->initialValue = static_cast<uint8_t>(d == SignMinus ? p : 1 - p);
    } else if (d == SignNone) {
      e->sign = s->initialValue != p ? SignPlus : SignMinus;
      // A sign derived from an assumed value must flip with the assumption.
      if (assumed[s->index]) assumptions[s->index].push_back(e);
    } else {
      e->sign = d;
      uint32_t after = s->initialValue ^ p;
      if (after == (d == SignPlus ? 1u : 0u)) continue;
      if (!assumed[s->index]) {
        reportInconsistency(s, e);
        return false;
      }
      s->initialValue ^= 1;
      for (Event* x : assumptions[s->index]) x->sign = x->sign == SignPlus ? SignMinus : SignPlus;
      assumptions[s->index].clear();
      assumed[s->index] = false;
    }
  }
  for (Signal* s : prefix.signals)
    if (s->kind != SignalDummy && assumed[s->index]) reportWarning("signal " + s->name + " is assigned initial value 0");
  for (Signal* s : prefix.signals)
    if (s->kind != SignalDummy && s->initialValue == ValueUnknown) {
      s->initialValue = 0;
      reportWarning("signal " + s->name + " is dead");
      reportWarning("signal " + s->name + " is assigned initial value 0");
    }
  return true;
}

namespace {
// The events of `signal` in the past of e (e excluded) that no other such event follows.
std::vector<Event*> nearestSignalEvents(Event* e, const Signal* signal) {
  std::vector<Event*> frontier, stack{e};
  std::unordered_set<Event*> seen{e};
  while (!stack.empty()) {
    Event* x = stack.back();
    stack.pop_back();
    for (Condition* c : x->preset) {
      Event* p = c->producer;
      if (!p || !seen.insert(p).second) continue;
      if (p->transition->signal == signal) frontier.push_back(p);
      else stack.push_back(p);
    }
  }
  // Drop frontier events that lie in the past of another frontier event.
  std::vector<Event*> nearest;
  for (Event* f : frontier) {
    bool below = false;
    for (Event* g : frontier) {
      if (g == f) continue;
      auto past = localConfiguration(g);
      if (std::binary_search(past.begin(), past.end(), f, [](Event* a, Event* b) { return a->index < b->index; })) {
        below = true;
        break;
      }
    }
    if (!below) nearest.push_back(f);
  }
  return nearest;
}
}  // namespace

bool buildSignalPhaseRecords(const StgPrefix& prefix, const Signal* signal, std::vector<SignalPhaseRecord>& records) {
  records.clear();
  std::vector<int64_t> recordOfHead(prefix.events.size(), -1);
  int64_t noHead = -1;
  if (signal->initialValue == 1) {
    noHead = 0;
    records.emplace_back();
  }
  for (Event* e : prefix.events)
    if (e->transition->signal == signal && !eventIsCutOff(e) && e->sign == SignPlus && signal->kind != SignalDummy) {
      recordOfHead[e->index] = static_cast<int64_t>(records.size());
      records.push_back({e, {}});
    }
  for (Event* e : prefix.events) {
    if (e->transition->signal != signal || eventIsCutOff(e) || e->sign != SignMinus) continue;
    std::vector<Event*> previous = nearestSignalEvents(e, signal);
    int64_t record = previous.empty() ? noHead : recordOfHead[previous.front()->index];
    if (record < 0 || previous.size() > 1) {
      reportInconsistency(signal, e);
      return false;
    }
    records[record].followers.push_back(e);
  }
  return true;
}

}  // namespace nurex
