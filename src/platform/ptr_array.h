// A growable array of plain pointers, as used by every relation of the nets and prefixes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "platform/memory.h"

namespace nurex {

// 16 bytes: pointer, size, capacity. Grows to twice the capacity plus 4, which keeps
// the many small presets and postsets of a prefix cheap.
template <class T>
class PtrArray {
 public:
  PtrArray() = default;
  PtrArray(std::initializer_list<T*> items) {
    for (T* item : items) push_back(item);
  }
  PtrArray(const PtrArray& other) { *this = other; }
  PtrArray(PtrArray&& other) noexcept { swap(other); }
  ~PtrArray() { std::free(items_); }
  PtrArray& operator=(const PtrArray& other) {
    if (this != &other) {
      clear();
      reserve(other.size_);
      if (other.size_) std::memcpy(items_, other.items_, other.size_ * sizeof(T*));
      size_ = other.size_;
    }
    return *this;
  }
  PtrArray& operator=(PtrArray&& other) noexcept {
    swap(other);
    return *this;
  }
  void swap(PtrArray& other) noexcept {
    std::swap(items_, other.items_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }

  uint32_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T* operator[](uint32_t i) const { return items_[i]; }
  T*& operator[](uint32_t i) { return items_[i]; }
  T* const* begin() const { return items_; }
  T* const* end() const { return items_ + size_; }
  T** begin() { return items_; }
  T** end() { return items_ + size_; }
  T* back() const { return items_[size_ - 1]; }

  void push_back(T* item) {
    if (size_ == capacity_) reserve(capacity_ * 2 + 4);
    items_[size_++] = item;
  }
  void pop_back() { --size_; }
  void clear() { size_ = 0; }
  void resize(uint32_t n) {
    reserve(n);
    for (uint32_t i = size_; i < n; ++i) items_[i] = nullptr;
    size_ = n;
  }
  void reserve(uint32_t n) {
    if (n <= capacity_) return;
    T** grown = static_cast<T**>(checkedMalloc(sizeof(T*) * n));
    if (size_) std::memcpy(grown, items_, size_ * sizeof(T*));
    std::free(items_);
    items_ = grown;
    capacity_ = n;
  }
  bool contains(const T* item) const { return std::find(begin(), end(), item) != end(); }
  // Removes the first occurrence, keeping order; false if absent.
  bool erase(const T* item) {
    T** at = std::find(begin(), end(), item);
    if (at == end()) return false;
    std::memmove(at, at + 1, (end() - at - 1) * sizeof(T*));
    --size_;
    return true;
  }
  // Sorted by the nodes' `index`, ascending.
  void sortByIndex() {
    std::sort(begin(), end(), [](const T* a, const T* b) { return a->index < b->index; });
  }

 private:
  T** items_ = nullptr;
  uint32_t size_ = 0;
  uint32_t capacity_ = 0;
};

}  // namespace nurex
