// The adjacency graph of the cores: which nested core, added to a side of another core,
// leaves a conflict between the two sides.
#include "resolve/core_adjacency.h"

#include <algorithm>

#include "platform/reporter.h"
#include "reach/dummy_closure.h"

namespace nurex {

size_t CoreAdjacencyGraph::arcs() const {
  size_t n = 0;
  for (const Vertex& v : vertices) n += v.out.size();
  return n;
}

bool CoreAdjacencyGraph::isUscArc(uint32_t a, uint32_t b) const {
  return std::binary_search(uscArcs.begin(), uscArcs.end(), std::make_pair(a, b));
}

namespace {

bool disjoint(const EventList& a, const EventList& b) {
  for (auto i = a.begin(), j = b.begin(); i != a.end() && j != b.end();) {
    if ((*i)->index == (*j)->index) return false;
    if ((*i)->index < (*j)->index) ++i;
    else ++j;
  }
  return true;
}

// Marks by generation, so that a failed test costs only the events it looked at.
class Extension {
 public:
  explicit Extension(size_t events) : mark_(events, 0) {}

  // The configuration with `added` in it, sorted, if that is a configuration again. Cores
  // drop their maximal dummies, so a dummy that the added events need may be missing: it
  // does not fail the test, and it joins the result so that the marking after it is real.
  bool extend(const EventList& configuration, const EventList& added, EventList& out) {
    ++generation_;
    for (const Event* e : configuration) mark_[e->index] = generation_;
    for (const Event* e : added)
      if (mark_[e->index] == generation_) return false;
    out = configuration;
    std::vector<const Event*> stack;
    for (const Event* e : added) {
      mark_[e->index] = generation_;
      out.push_back(e);
      stack.push_back(e);
    }
    while (!stack.empty()) {
      const Event* e = stack.back();
      stack.pop_back();
      for (const Condition* c : e->preset) {
        const Event* p = c->producer;
        if (!p || mark_[p->index] == generation_) continue;
        if (!isDummyEvent(p)) return false;
        mark_[p->index] = generation_;
        out.push_back(p);
        stack.push_back(p);
      }
    }
    for (const Event* e : out)
      for (const Condition* c : e->preset)
        if (std::count_if(c->postset.begin(), c->postset.end(),
                          [&](const Event* f) { return mark_[f->index] == generation_; }) > 1)
          return false;
    std::sort(out.begin(), out.end(), [](const Event* x, const Event* y) { return x->index < y->index; });
    return true;
  }

 private:
  std::vector<uint32_t> mark_;
  uint32_t generation_ = 0;
};

void printGraph(const CoreAdjacencyGraph& graph, const std::vector<CscCore>& cores) {
  printTo(stdout, "\nAdjacency graph statistics: |V|=%u |E|=%u |USC arcs|=%u", unsigned(graph.vertices.size()),
          unsigned(graph.arcs()), unsigned(graph.uscArcs.size()));
  if (verbosity < 4) return;
  for (uint32_t a = 0; a < graph.vertices.size(); ++a) {
    std::string line = cores[a].text() + " ->";
    for (uint32_t b : graph.vertices[a].out) line += std::string(" ") + (graph.isUscArc(a, b) ? "[usc]" : "") + cores[b].text();
    printTo(stdout, "\n%s", line.c_str());
  }
}

}  // namespace

// Only a nested core b can be laid onto a: its difference, disjoint from both sides of a,
// extends one of them, and a's own difference must reach into b.
CoreAdjacencyGraph buildAdjacencyGraph(const StgPrefix& prefix, const std::vector<CscCore>& cores) {
  CoreAdjacencyGraph graph;
  graph.vertices.resize(cores.size());
  Extension extension(prefix.events.size());
  EventList extended;
  for (uint32_t a = 0; a < cores.size(); ++a)
    for (uint32_t b = 0; b < cores.size(); ++b) {
      const CscCore &x = cores[a], &y = cores[b];
      if (a == b || !y.nested || !disjoint(x.difference, y.difference) || !disjoint(y.difference, x.first) ||
          !disjoint(y.difference, x.second) || disjoint(x.difference, y.second))
        continue;
      bool onFirst = !x.nested && extension.extend(x.first, y.difference, extended);
      if (!onFirst && !extension.extend(x.second, y.difference, extended)) continue;
      const EventList& first = onFirst ? extended : x.first;
      const EventList& second = onFirst ? x.second : extended;
      if (!isUscConflict(prefix, first, second)) continue;
      graph.vertices[a].out.push_back(b);
      graph.vertices[b].in.push_back(a);
      if (!isCscConflict(prefix, first, second)) graph.uscArcs.emplace_back(a, b);
    }
  std::sort(graph.uscArcs.begin(), graph.uscArcs.end());
  printGraph(graph, cores);
  return graph;
}

}  // namespace nurex
