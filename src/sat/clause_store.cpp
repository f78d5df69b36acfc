// The adapters' copy of the input clauses.
#include "sat/clause_store.h"

namespace nurex {

void ClauseStore::grow_group_tables(int group) {
  if (group < 0 || static_cast<size_t>(group) < dead_.size()) return;
  dead_.resize(group + 1, false);
  group_clauses_.resize(group + 1, 0);
  group_literals_.resize(group + 1, 0);
}

void ClauseStore::add(const Literal* literals, uint32_t size, int group) {
  grow_group_tables(group);
  words_.push_back(size);
  words_.push_back(static_cast<uint32_t>(group));
  words_.insert(words_.end(), literals, literals + size);
  ++clauses_;
  literals_ += size;
  if (group >= 0) {
    ++group_clauses_[group];
    group_literals_[group] += size;
  }
}

void ClauseStore::delete_group(int group) {
  if (group < 0) return;
  grow_group_tables(group);
  if (dead_[group]) return;
  dead_[group] = true;
  clauses_ -= group_clauses_[group];
  literals_ -= group_literals_[group];
  dead_words_ += 2 * uint64_t{group_clauses_[group]} + group_literals_[group];
  group_clauses_[group] = 0;
  group_literals_[group] = 0;
  // Reclaim the space once the dead part outweighs the live one.
  if (dead_words_ * 2 > words_.size()) compact();
}

void ClauseStore::compact() {
  size_t to = 0;
  for (size_t at = 0; at < words_.size();) {
    uint32_t length = 2 + words_[at];
    if (!is_dead(static_cast<int>(words_[at + 1]))) {
      for (uint32_t k = 0; k < length; ++k) words_[to + k] = words_[at + k];
      to += length;
    }
    at += length;
  }
  words_.resize(to);
  dead_words_ = 0;
}

void ClauseStore::clear() {
  words_.clear();
  dead_.clear();
  group_clauses_.clear();
  group_literals_.clear();
  clauses_ = 0;
  literals_ = 0;
  dead_words_ = 0;
}

bool ClauseStore::next_clause(size_t& at, const Literal*& literals, uint32_t& size) const {
  while (at < words_.size()) {
    size_t here = at;
    size = words_[here];
    at += 2 + size;
    if (!is_dead(static_cast<int>(words_[here + 1]))) {
      literals = &words_[here + 2];
      return true;
    }
  }
  return false;
}

}  // namespace nurex
