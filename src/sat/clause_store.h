// The adapters' own copy of the input clauses, by group, for the DIMACS dump and the
// statistics; clauses of a deleted group disappear from it.
#pragma once

#include <cstdint>
#include <vector>

#include "sat/literal.h"

namespace nurex {

constexpr int PermanentGroup = -2;

class ClauseStore {
 public:
  void add(const Literal* literals, uint32_t size, int group);
  // Forgets the clauses of `group`; other groups keep their identities.
  void delete_group(int group);
  void clear();

  uint32_t clauses() const { return clauses_; }
  uint64_t literals() const { return literals_; }

  // Live clauses in insertion order: f(const Literal*, uint32_t size).
  template <class F>
  void for_each(F f) const {
    size_t at = 0;
    const Literal* literals;
    uint32_t size;
    while (next_clause(at, literals, size)) f(literals, size);
  }

  // Position-based walk for the iterator: the next live clause at or after `at`.
  bool next_clause(size_t& at, const Literal*& literals, uint32_t& size) const;

 private:
  bool is_dead(int group) const {
    return group >= 0 && static_cast<size_t>(group) < dead_.size() && dead_[group];
  }
  void grow_group_tables(int group);
  void compact();

  std::vector<uint32_t> words_;            // per clause: size, group, literals
  std::vector<bool> dead_;                 // by group
  std::vector<uint32_t> group_clauses_;    // live clauses per group
  std::vector<uint64_t> group_literals_;   // live literals per group
  uint32_t clauses_ = 0;
  uint64_t literals_ = 0;
  uint64_t dead_words_ = 0;                // words of deleted groups still in words_
};

// Walks the live input clauses of one adapter. Any change to the solver invalidates it.
class ClauseIterator {
 public:
  explicit ClauseIterator(const ClauseStore& store) : store_(store) {}
  bool next(const Literal*& literals, uint32_t& size) { return store_.next_clause(at_, literals, size); }

 private:
  const ClauseStore& store_;
  size_t at_ = 0;
};

// Walks the literals that are true in the last model (undefined variables are skipped).
class LiteralIterator {
 public:
  explicit LiteralIterator(std::vector<Literal> literals) : literals_(std::move(literals)) {}
  bool next(Literal& l) {
    if (at_ == literals_.size()) return false;
    l = literals_[at_++];
    return true;
  }

 private:
  std::vector<Literal> literals_;
  size_t at_ = 0;
};

}  // namespace nurex
