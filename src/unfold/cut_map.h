// Cuts as persistent maps from places to conditions: a cut derived from another by a few
// changes shares all the rest with it, so describing a candidate costs what it changes.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace nurex {

// One pseudo-random word per place; a marking hashes to the sum of its places' words.
uint32_t placeWord(uint32_t place);

// A map of few entries is one sorted array of (place, entry) pairs, copied whole on a
// change: small cuts cost a copy of a few hundred bytes where a tree would copy several
// paths of nodes. Past SparseLimit entries it becomes a radix tree of 16-way nodes over
// place numbers, copied along the path of a change only where another map still uses it.
// Nodes are shared between maps; the reference counts are atomic because the maps of one
// pass are derived from each other by several threads.
// A place maps to the condition that marks it or, flagged Consumed, to a condition that
// was on it and is consumed (a mark of how far the place's history goes); only the
// former count as marked.
class CutMap {
 public:
  static constexpr uint32_t None = 0xFFFFFFFFu;
  static constexpr uint32_t Consumed = 0x80000000u;
  static constexpr uint32_t SparseLimit = 128;
  static bool marks(uint32_t entry) { return entry < Consumed; }

  // Stands for the configurations whose cuts hold a node (see owner()); NoOwner for none.
  static constexpr uint32_t NoOwner = 0xFFFFFFFFu;

  CutMap() = default;
  // `weights`, when given, holds one weight per condition; the map keeps the sum of its
  // entries' weights, marked or not.
  explicit CutMap(uint32_t placeCount, const std::vector<uint32_t>* weights = nullptr);
  CutMap(const CutMap& other)
      : root_(other.root_),
        weights_(other.weights_),
        sum_(other.sum_),
        levels_(other.levels_),
        size_(other.size_),
        weightSum_(other.weightSum_),
        owner_(other.owner_) {
    retain(root_);
  }
  CutMap(CutMap&& other) noexcept { swap(other); }
  CutMap& operator=(CutMap other) noexcept {
    swap(other);
    return *this;
  }
  ~CutMap() { release(root_, levels_); }

  // The entry of the place: a condition, possibly flagged Consumed, or None.
  uint32_t get(uint32_t place) const {
    if (!root_) return None;
    return root_->sparse ? sparseGet(root_, place) : treeGet(place);
  }
  // Sets the entry of the place.
  void set(uint32_t place, uint32_t entry);
  // Sets several entries, given as pair(place, entry) by ascending place, each place once:
  // an array is copied once for all of them.
  void setMany(std::span<const uint64_t> changes);
  // The form of one entry in arrays and in setMany.
  static uint64_t pair(uint32_t place, uint32_t entry) { return uint64_t(place) << 32 | entry; }
  // The number of marked places.
  uint32_t size() const { return size_; }
  // Whether the map is one array, where a look-up is cheap next to a walk over differences.
  bool isArray() const { return !root_ || root_->sparse; }
  // The sum of placeWord over the marked places.
  uint32_t sum() const { return sum_; }
  // The sum of the weights of all entries.
  uint32_t weightSum() const { return weightSum_; }
  // The tag that nodes made by later changes of this map carry: the caller's name for the
  // configuration whose cut the map becomes. Copies inherit it.
  void setOwner(uint32_t owner) { owner_ = owner; }
  uint32_t owner() const { return owner_; }
  // Makes each entry the later of its own and the other map's, both trees over the same
  // places. Order policy: `compareOwners(x, y)` is negative when every entry of a node
  // tagged x is no later than the entry of the same place in any node tagged y, positive
  // for the converse and 0 when it cannot tell; `later(a, b)` picks between two entries.
  // Subtrees that the owners decide are taken whole, so the cost follows what neither
  // side's owner covers.
  template <class Policy>
  void mergeLater(const CutMap& other, Policy& policy) {
    Node* merged = mergeNodes(root_, other.root_, levels_, 0, policy);
    release(root_, levels_);
    root_ = merged;
    size_ = merged ? totals(merged).marked : 0;
    sum_ = merged ? totals(merged).sum : 0;
    weightSum_ = merged ? totals(merged).weight : 0;
  }
  // f(place, condition) for every marked place, by ascending place.
  template <class F>
  void forEach(F&& f) const {
    forEachEntry([&f](uint32_t place, uint32_t entry) {
      if (marks(entry)) f(place, entry);
    });
  }
  // f(place, entry) for every place with an entry, marked or not, by ascending place.
  template <class F>
  void forEachEntry(F&& f) const {
    if (root_ && root_->sparse) {
      for (uint64_t at : pairsOf(root_)) f(placeOf(at), entryOf(at));
    } else {
      visitEntries(root_, levels_, 0, f);
    }
  }
  // f(place, entry in a, entry in b) wherever the two differ; maps of the same
  // place count only. What the two share is skipped.
  template <class F>
  static void forEachDifference(const CutMap& a, const CutMap& b, F&& f) {
    const Node *x = a.root_, *y = b.root_;
    if (x == y) return;
    bool treeX = x && !x->sparse, treeY = y && !y->sparse;
    if (!treeX && !treeY) return mergeDifferences(pairsOf(x), pairsOf(y), f);
    if (!(x && x->sparse) && !(y && y->sparse)) return differ(x, y, a.levels_, 0, f);
    // A tree beside an array: both as arrays.
    std::vector<uint64_t> expandedX, expandedY;
    mergeDifferences(treeX ? expand(x, a.levels_, expandedX) : pairsOf(x),
                     treeY ? expand(y, b.levels_, expandedY) : pairsOf(y), f);
  }

 private:
  struct Node {
    std::atomic<uint32_t> refs{1};
    uint16_t count = 0;  // of a sparse node's pairs
    uint8_t sizeClass = 0;
    bool sparse = false;
    // Followed by the payload: (place << 32 | entry) pairs by ascending place if sparse,
    // else Totals and 16 entries in a leaf (level 0) or 16 children above, null for a
    // subtree that maps nothing.
  };
  // Of a tree node: the owner tag of the map that made it, and totals over the entries
  // below, so that a merge taking a subtree whole knows what it takes.
  struct Totals {
    uint32_t owner;
    uint32_t marked;
    uint32_t weight;
    uint32_t sum;
  };
  struct Pairs {
    const uint64_t* first;
    const uint64_t* last;
    const uint64_t* begin() const { return first; }
    const uint64_t* end() const { return last; }
  };
  static uint64_t* pairs(Node* n) { return reinterpret_cast<uint64_t*>(n + 1); }
  static Pairs pairsOf(const Node* n) {
    if (!n) return {nullptr, nullptr};
    auto* p = reinterpret_cast<const uint64_t*>(n + 1);
    return {p, p + n->count};
  }
  static Totals& totals(Node* n) { return *reinterpret_cast<Totals*>(n + 1); }
  static const Totals& totals(const Node* n) { return *reinterpret_cast<const Totals*>(n + 1); }
  static void* treePayload(const Node* n) {
    return reinterpret_cast<char*>(const_cast<Node*>(n) + 1) + sizeof(Totals);
  }
  static uint32_t* leaf(Node* n) { return static_cast<uint32_t*>(treePayload(n)); }
  static const uint32_t* leaf(const Node* n) { return static_cast<const uint32_t*>(treePayload(n)); }
  static Node** children(Node* n) { return static_cast<Node**>(treePayload(n)); }
  static Node* const* children(const Node* n) { return static_cast<Node* const*>(treePayload(n)); }
  static uint32_t placeOf(uint64_t pair) { return static_cast<uint32_t>(pair >> 32); }
  static uint32_t entryOf(uint64_t pair) { return static_cast<uint32_t>(pair); }

  static Node* allocate(uint32_t sizeClass);
  static Node* newTreeNode(uint32_t level);
  static Node* cloneTreeNode(const Node* n, uint32_t level);
  friend class PinnedCut;
  // The reference count of a pinned node (see PinnedCut): it never changes, so a thread
  // only reads the node's header and the line stays shared between cores.
  static constexpr uint32_t PinnedRefs = 0x80000000u;
  static bool pinned(const Node* n) { return n->refs.load(std::memory_order_relaxed) >= PinnedRefs; }
  static void retain(Node* n) {
    if (n && !pinned(n)) n->refs.fetch_add(1, std::memory_order_relaxed);
  }
  static void release(Node* n, uint32_t level);
  static void pinTree(Node* n, uint32_t level);
  static void freePinned(Node* n, uint32_t level);
  static uint32_t sparseGet(const Node* n, uint32_t place);
  uint32_t treeGet(uint32_t place) const;
  uint32_t weightOf(uint32_t entry) const {
    return weights_ && entry != None ? (*weights_)[entry & ~Consumed] : 0;
  }
  // Keeps size, sum and weight sum up to date with the change of one entry.
  void account(uint32_t place, uint32_t old, uint32_t entry) {
    weightSum_ += weightOf(entry) - weightOf(old);
    if (!marks(old) && marks(entry)) {
      ++size_;
      sum_ += placeWord(place);
    } else if (marks(old) && !marks(entry)) {
      --size_;
      sum_ -= placeWord(place);
    }
  }
  // Sets an entry of the sparse root; false if the map must become a tree for it.
  bool sparseSet(uint32_t place, uint32_t entry, uint32_t& old);
  void treeSet(uint32_t place, uint32_t old, uint32_t entry);
  void totalLeaf(Node* n, uint32_t base) const;
  static void totalInner(Node* n);
  template <class Policy>
  Node* mergeNodes(Node* a, Node* b, uint32_t level, uint32_t base, Policy& policy) const {
    if (a == b || !b) {
      retain(a);
      return a;
    }
    if (!a) {
      retain(b);
      return b;
    }
    int order = policy.compareOwners(totals(a).owner, totals(b).owner);
    if (order != 0) {
      Node* taken = order < 0 ? b : a;
      retain(taken);
      return taken;
    }
    Node* n = newTreeNode(level);
    totals(n).owner = owner_;
    bool likeA = true, likeB = true;
    for (uint32_t i = 0; i < 16; ++i) {
      if (level == 0) {
        uint32_t x = leaf(a)[i], y = leaf(b)[i];
        uint32_t z = x == y ? x : x == None ? y : y == None ? x : policy.later(x, y);
        leaf(n)[i] = z;
        likeA = likeA && z == x;
        likeB = likeB && z == y;
      } else {
        Node* z = mergeNodes(children(a)[i], children(b)[i], level - 1, (base << 4) + i, policy);
        children(n)[i] = z;
        likeA = likeA && z == children(a)[i];
        likeB = likeB && z == children(b)[i];
      }
    }
    // What one side already holds is shared, not copied.
    if (likeA || likeB) {
      release(n, level);
      Node* same = likeA ? a : b;
      retain(same);
      return same;
    }
    if (level == 0) totalLeaf(n, base);
    else totalInner(n);
    return n;
  }
  void becomeTree();
  static Pairs expand(const Node* tree, uint32_t levels, std::vector<uint64_t>& out);
  void swap(CutMap& other) noexcept {
    std::swap(root_, other.root_);
    std::swap(weights_, other.weights_);
    std::swap(sum_, other.sum_);
    std::swap(levels_, other.levels_);
    std::swap(size_, other.size_);
    std::swap(weightSum_, other.weightSum_);
    std::swap(owner_, other.owner_);
  }
  static uint32_t slot(uint32_t place, uint32_t level) { return (place >> (4 * level)) & 15; }

  template <class F>
  static void mergeDifferences(Pairs a, Pairs b, F& f) {
    const uint64_t *x = a.first, *y = b.first;
    while (x != a.last || y != b.last) {
      if (y == b.last || (x != a.last && placeOf(*x) < placeOf(*y))) {
        f(placeOf(*x), entryOf(*x), None);
        ++x;
      } else if (x == a.last || placeOf(*y) < placeOf(*x)) {
        f(placeOf(*y), None, entryOf(*y));
        ++y;
      } else {
        if (*x != *y) f(placeOf(*x), entryOf(*x), entryOf(*y));
        ++x, ++y;
      }
    }
  }
  template <class F>
  static void visitEntries(const Node* n, uint32_t level, uint32_t base, F& f) {
    if (!n) return;
    for (uint32_t i = 0; i < 16; ++i) {
      if (level == 0) {
        if (leaf(n)[i] != None) f((base << 4) + i, leaf(n)[i]);
      } else {
        visitEntries(children(n)[i], level - 1, (base << 4) + i, f);
      }
    }
  }
  template <class F>
  static void differ(const Node* a, const Node* b, uint32_t level, uint32_t base, F& f) {
    if (a == b) return;
    for (uint32_t i = 0; i < 16; ++i) {
      if (level == 0) {
        uint32_t x = a ? leaf(a)[i] : None, y = b ? leaf(b)[i] : None;
        if (x != y) f((base << 4) + i, x, y);
      } else {
        differ(a ? children(a)[i] : nullptr, b ? children(b)[i] : nullptr, level - 1, (base << 4) + i, f);
      }
    }
  }

  Node* root_ = nullptr;  // null: no entries
  const std::vector<uint32_t>* weights_ = nullptr;
  uint32_t sum_ = 0;
  uint32_t levels_ = 0;  // of the tree form, above the leaves
  uint32_t size_ = 0;
  uint32_t weightSum_ = 0;
  uint32_t owner_ = NoOwner;
};

// A map whose nodes stay until it goes: maps derived from it copy and drop them without
// touching their reference counts. Every cut of a run is derived from the initial one, and
// its nodes are those that threads sharing a pass would otherwise all count on at once.
// It must outlive every map derived from it.
class PinnedCut {
 public:
  PinnedCut() = default;
  // The map must hold its nodes alone.
  explicit PinnedCut(CutMap map);
  PinnedCut(PinnedCut&& other) noexcept { map_.swap(other.map_); }
  PinnedCut& operator=(PinnedCut&& other) noexcept {
    map_.swap(other.map_);
    return *this;
  }
  ~PinnedCut();
  const CutMap& map() const { return map_; }

 private:
  CutMap map_;
};

}  // namespace nurex
