// Entry point of the unfolder: option checks, the cut-off permissions of the net's
// transitions, the run, and the hand-over of the lists to the caller's prefix.
#include "unfold/unfolder.h"

#include <algorithm>
#include <cstdio>

#include "platform/reporter.h"
#include "platform/system.h"
#include "unfold/unfold_engine.h"
#include "unfold/unfold_state.h"

namespace nurex {

std::string netNotSafe(const std::string& placeName, const std::string& trace) {
  return "the net is not safe, place " + placeName + "; trace:\n" + trace;
}

std::string eventTrace(std::vector<Event*> events, const std::vector<Transition*>& extra) {
  std::sort(events.begin(), events.end(), [](Event* a, Event* b) { return a->index < b->index; });
  std::string text;
  auto append = [&text](const Transition* t) {
    if (!text.empty()) text += ", ";
    text += t->name;
  };
  for (Event* e : events) append(e->transition);
  for (Transition* t : extra) append(t);
  return text;
}

std::string eventTrace(const UnfoldState& state, std::vector<uint32_t> events, const std::vector<Transition*>& extra) {
  std::vector<Event*> nodes;
  for (uint32_t e : events) nodes.push_back(state.events[e]);
  return eventTrace(std::move(nodes), extra);
}

UnfoldOptions reUnfoldingOptions() {
  UnfoldOptions options;
  options.number_of_threads = static_cast<int32_t>(processorCores());
  return options;
}

namespace {

std::vector<uint8_t> cutOffPermissions(const PetriNet& net, const UnfoldOptions&) {
  return std::vector<uint8_t>(net.transitions.size(), 1);
}

// Events of dummies are kept from being cut-offs unless asked for.
std::vector<uint8_t> cutOffPermissions(const Stg& stg, const UnfoldOptions& options) {
  std::vector<uint8_t> allowed(stg.transitions.size(), 1);
  if (options.dummy_cutoffs) return allowed;
  for (const Transition* t : stg.transitions)
    if (t->signal && t->signal->kind == SignalDummy) allowed[t->index] = 0;
  return allowed;
}

void waitForUser() {
  printTo(stdout, "\n Press `Enter'...");
  int c;
  while ((c = std::getchar()) != EOF && c != '\n') {
  }
}

}  // namespace

template <class Net>
bool unfoldNet(Prefix<Net>& prefix, const UnfoldOptions& options) {
  prefix.conditions.clear();
  prefix.events.clear();
  if (options.order < 0 || options.order > 4) {
    reportError("unknown adequate order " + std::to_string(options.order));
    return false;
  }
  bool done;
  {
    Unfolder unfolder(prefix, options, cutOffPermissions(prefix, options));
    done = unfolder.run();
    if (done) unfolder.takeResult(prefix.conditions, prefix.events);
  }
  if (options.wait_user) waitForUser();
  return done;
}

template bool unfoldNet<PetriNet>(Prefix<PetriNet>&, const UnfoldOptions&);
template bool unfoldNet<Stg>(Prefix<Stg>&, const UnfoldOptions&);

}  // namespace nurex
