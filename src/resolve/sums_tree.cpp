// The tree is a trie over the sets with their literals ordered by how many sets share them,
// so that common literals sit near the root and each node's literal is the exclusive-or of
// its path; a chain without branching or result folds into one node.
#include "resolve/sums_tree.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

#include "platform/reporter.h"

namespace nurex {

Literal SumsTree::literalFor(std::vector<Literal> literals, SatFormula& formula) {
  bool flip = false;
  std::vector<Literal> kept;
  for (Literal l : literals) {
    if (is_constant(l)) {
      flip ^= l == LiteralTrue;
      continue;
    }
    // The variable's positive literal, with the sign moved out.
    flip ^= is_negated(l);
    kept.push_back(l & ~Literal{1});
  }
  std::sort(kept.begin(), kept.end());
  std::vector<Literal> odd;
  for (size_t i = 0; i < kept.size();) {
    size_t j = i;
    while (j < kept.size() && kept[j] == kept[i]) ++j;
    if ((j - i) % 2) odd.push_back(kept[i]);
    i = j;
  }
  Literal result;
  if (odd.empty()) result = LiteralFalse;
  else if (odd.size() == 1) result = odd[0];
  else {
    auto [it, inserted] = sets_.try_emplace(odd, LiteralUninit);
    if (inserted) it->second = formula.new_literal(true);
    result = it->second;
  }
  return flip ? negate(result) : result;
}

namespace {

struct Node {
  std::vector<Literal> residual;
  std::vector<Literal> results;
  std::vector<std::unique_ptr<Node>> children;
};

void insertSet(Node& root, const std::vector<Literal>& path, Literal result) {
  Node* node = &root;
  for (Literal l : path) {
    Node* next = nullptr;
    for (auto& child : node->children)
      if (child->residual[0] == l) next = child.get();
    if (!next) {
      node->children.push_back(std::make_unique<Node>());
      next = node->children.back().get();
      next->residual.push_back(l);
    }
    node = next;
  }
  node->results.push_back(result);
}

// A node with one child and no result of its own takes the child's literals over.
void fold(Node& node) {
  for (auto& child : node.children) {
    while (child->results.empty() && child->children.size() == 1) {
      std::unique_ptr<Node> only = std::move(child->children[0]);
      only->residual.insert(only->residual.begin(), child->residual.begin(), child->residual.end());
      child = std::move(only);
    }
    fold(*child);
  }
}

void measure(const Node& node, unsigned& nodes, unsigned& weight) {
  for (const auto& child : node.children) {
    ++nodes;
    weight += static_cast<unsigned>(child->residual.size());
    measure(*child, nodes, weight);
  }
}

void define(const Node& node, Literal parent, SatFormula& formula, int group) {
  std::vector<Literal> inputs = node.residual;
  if (parent != LiteralFalse) inputs.push_back(parent);
  Literal own;
  if (inputs.size() == 1) {
    own = inputs[0];
  } else {
    own = formula.make_gate(GateXor, inputs, group, 0);
  }
  for (Literal r : node.results) {
    formula.add_binary(negate(r), own, group);
    formula.add_binary(r, negate(own), group);
  }
  for (const auto& child : node.children) define(*child, own, formula, group);
}

}  // namespace

void SumsTree::emit(SatFormula& formula, int group) {
  std::unordered_map<Literal, unsigned> shared;
  unsigned plainWeight = 0;
  for (const auto& [set, result] : sets_) {
    plainWeight += static_cast<unsigned>(set.size());
    for (Literal l : set) ++shared[l];
  }
  Node root;
  for (const auto& [set, result] : sets_) {
    std::vector<Literal> path = set;
    std::sort(path.begin(), path.end(), [&](Literal a, Literal b) {
      return shared[a] != shared[b] ? shared[a] > shared[b] : a < b;
    });
    insertSet(root, path, result);
  }
  fold(root);
  unsigned nodes = 1, weight = 0;
  measure(root, nodes, weight);
  if (verbosity >= 5) {
    if (sets_.empty()) printTo(stdout, "\n SUMS set tree is empty");
    else
      printTo(stdout, "\n SUMS set tree: nodes=%u, optimised/non-optimised weight=%u/%u=%.2f\n", nodes, weight,
              plainWeight ? plainWeight : 1, static_cast<double>(weight) / (plainWeight ? plainWeight : 1));
  }
  sets_.clear();
  for (const auto& child : root.children) define(*child, LiteralFalse, formula, group);
}

}  // namespace nurex
