// Helpers of the unfolder tests: nets moved into prefixes, a text form of a prefix for
// comparing runs, and the options of the three extension-search methods.
#pragma once

#include <memory>
#include <string>

#include "model/prefix.h"
#include "unfold/unfolder.h"

namespace nurex::test {

template <class Net>
std::unique_ptr<Prefix<Net>> asPrefix(std::unique_ptr<Net> net) {
  auto prefix = std::make_unique<Prefix<Net>>();
  static_cast<Net&>(*prefix) = std::move(*net);
  return prefix;
}

// Every event with its transition, preset, postset and correspondents, by index.
inline std::string prefixSignature(const NodeList<Condition>& conditions, const NodeList<Event>& events) {
  std::string text = std::to_string(conditions.size()) + " conditions\n";
  for (const Condition* c : conditions) text += c->place->name + (c->producer ? "" : "*") + " ";
  text += "\n";
  for (const Event* e : events) {
    text += std::to_string(e->index) + ":" + e->transition->name + " [";
    for (const Condition* c : e->preset) text += std::to_string(c->index) + " ";
    text += "] -> [";
    for (const Condition* c : e->postset) text += std::to_string(c->index) + " ";
    text += "]";
    if (e->correspondent.isInitialState()) text += " cut-off of the initial state";
    for (const Event* f : e->correspondent.correspondents()) text += " cut-off of " + std::to_string(f->index);
    text += "\n";
  }
  return text;
}

enum class Search { Relation, Closure, Plain };

inline UnfoldOptions optionsFor(Search search, int threads, int order = 3) {
  UnfoldOptions o;
  o.number_of_threads = threads;
  o.order = order;
  o.conc_rel_size = search == Search::Relation ? 40000 : 0;
  o.unoptimized_trees = search == Search::Plain;
  return o;
}

}  // namespace nurex::test
