// A list that owns its nodes through plain pointers; moving it moves the nodes.
#pragma once

#include <cstdint>
#include <vector>

namespace nurex {

template <class T>
class NodeList {
 public:
  NodeList() = default;
  NodeList(const NodeList&) = delete;
  NodeList& operator=(const NodeList&) = delete;
  NodeList(NodeList&& other) noexcept : nodes_(std::move(other.nodes_)) { other.nodes_.clear(); }
  NodeList& operator=(NodeList&& other) noexcept {
    if (this != &other) {
      clear();
      nodes_.swap(other.nodes_);
    }
    return *this;
  }
  ~NodeList() { clear(); }

  uint32_t size() const { return static_cast<uint32_t>(nodes_.size()); }
  bool empty() const { return nodes_.empty(); }
  T* operator[](uint32_t i) const { return nodes_[i]; }
  T* back() const { return nodes_.back(); }
  auto begin() const { return nodes_.begin(); }
  auto end() const { return nodes_.end(); }
  void reserve(size_t n) { nodes_.reserve(n); }

  // Takes ownership and places the node at the end, setting its index.
  T* add(T* node) {
    node->index = size();
    nodes_.push_back(node);
    return node;
  }
  // Gives up ownership of every node, leaving the list empty (the nodes live on elsewhere).
  std::vector<T*> release() {
    std::vector<T*> out;
    out.swap(nodes_);
    return out;
  }
  // Replaces the order of the nodes and renumbers them.
  void reorder(std::vector<T*> order) {
    nodes_.swap(order);
    renumber();
  }
  void renumber() {
    for (uint32_t i = 0; i < size(); ++i) nodes_[i]->index = i;
  }
  // Removes and deletes the node at position i, renumbering those behind it.
  void removeAt(uint32_t i) {
    delete nodes_[i];
    nodes_.erase(nodes_.begin() + i);
    for (uint32_t k = i; k < size(); ++k) nodes_[k]->index = k;
  }
  void clear() {
    for (T* node : nodes_) delete node;
    nodes_.clear();
  }
  std::vector<T*>& raw() { return nodes_; }

 private:
  std::vector<T*> nodes_;
};

}  // namespace nurex
