// Cuts as persistent maps from places to conditions: a cut derived from another by a few
// changes shares all the rest with it, so describing a candidate costs what it changes.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace nurex {

// One pseudo-random word per place; a marking hashes to the sum of its places' words.
uint64_t placeWord(uint32_t place);

// A radix tree of 16-way nodes over place numbers, shared between maps and copied along
// the path of a change only where another map still uses it. The reference counts are
// atomic because the maps of one pass are derived from each other by several threads.
// A place maps to the condition that marks it or, flagged Consumed, to a condition that
// was on it and is consumed (a mark of how far the place's history goes); only the
// former count as marked.
class CutMap {
 public:
  static constexpr uint32_t None = 0xFFFFFFFFu;
  static constexpr uint32_t Consumed = 0x80000000u;
  static bool marks(uint32_t entry) { return entry < Consumed; }

  CutMap() = default;
  explicit CutMap(uint32_t placeCount);
  CutMap(const CutMap& other) : root_(other.root_), levels_(other.levels_), size_(other.size_), sum_(other.sum_) {
    retain(root_);
  }
  CutMap(CutMap&& other) noexcept { swap(other); }
  CutMap& operator=(CutMap other) noexcept {
    swap(other);
    return *this;
  }
  ~CutMap() { release(root_, levels_); }

  // The entry of the place: a condition, possibly flagged Consumed, or None.
  uint32_t get(uint32_t place) const;
  // Sets the entry of the place.
  void set(uint32_t place, uint32_t entry);
  // The number of marked places.
  uint32_t size() const { return size_; }
  // The sum of placeWord over the marked places.
  uint64_t sum() const { return sum_; }
  // f(place, condition) for every marked place, by ascending place.
  template <class F>
  void forEach(F&& f) const {
    visit(root_, levels_, 0, f);
  }
  // f(place, entry in a, entry in b) wherever the two differ; maps of the same
  // place count only. Subtrees that the two share are skipped.
  template <class F>
  static void forEachDifference(const CutMap& a, const CutMap& b, F&& f) {
    differ(a.root_, b.root_, a.levels_, 0, f);
  }

 private:
  struct Node {
    std::atomic<uint32_t> refs{1};
    union {
      uint32_t conditions[16];  // a leaf, at level 0
      Node* children[16];       // above; null is a subtree that maps nothing
    };
  };
  static Node* newNode(uint32_t level);
  static Node* clone(const Node* n, uint32_t level);
  static void retain(Node* n) {
    if (n) n->refs.fetch_add(1, std::memory_order_relaxed);
  }
  static void release(Node* n, uint32_t level);
  void swap(CutMap& other) noexcept {
    std::swap(root_, other.root_);
    std::swap(levels_, other.levels_);
    std::swap(size_, other.size_);
    std::swap(sum_, other.sum_);
  }
  static uint32_t slot(uint32_t place, uint32_t level) { return (place >> (4 * level)) & 15; }

  template <class F>
  static void visit(const Node* n, uint32_t level, uint32_t base, F& f) {
    if (!n) return;
    for (uint32_t i = 0; i < 16; ++i) {
      if (level == 0) {
        if (marks(n->conditions[i])) f((base << 4) + i, n->conditions[i]);
      } else {
        visit(n->children[i], level - 1, (base << 4) + i, f);
      }
    }
  }
  template <class F>
  static void differ(const Node* a, const Node* b, uint32_t level, uint32_t base, F& f) {
    if (a == b) return;
    for (uint32_t i = 0; i < 16; ++i) {
      if (level == 0) {
        uint32_t x = a ? a->conditions[i] : None, y = b ? b->conditions[i] : None;
        if (x != y) f((base << 4) + i, x, y);
      } else {
        differ(a ? a->children[i] : nullptr, b ? b->children[i] : nullptr, level - 1, (base << 4) + i, f);
      }
    }
  }

  Node* root_ = nullptr;
  uint32_t levels_ = 0;  // levels above the leaves
  uint32_t size_ = 0;
  uint64_t sum_ = 0;
};

}  // namespace nurex
