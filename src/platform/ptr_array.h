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

// 24 bytes: up to two pointers held in place (most presets and postsets of a prefix: a
// heap block of its own would cost another 48 bytes each), else a heap block, with size and
// capacity. Grows to twice the capacity plus 4.
template <class T>
class PtrArray {
 public:
  PtrArray() = default;
  PtrArray(std::initializer_list<T*> items) {
    for (T* item : items) push_back(item);
  }
  PtrArray(const PtrArray& other) { *this = other; }
  PtrArray(PtrArray&& other) noexcept { swap(other); }
  ~PtrArray() {
    if (onHeap()) std::free(slots_.heap);
  }
  PtrArray& operator=(const PtrArray& other) {
    if (this != &other) {
      clear();
      reserve(other.size_);
      if (other.size_) std::memcpy(data(), other.data(), other.size_ * sizeof(T*));
      size_ = other.size_;
    }
    return *this;
  }
  PtrArray& operator=(PtrArray&& other) noexcept {
    swap(other);
    return *this;
  }
  void swap(PtrArray& other) noexcept {
    std::swap(slots_, other.slots_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }

  uint32_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T* operator[](uint32_t i) const { return data()[i]; }
  T*& operator[](uint32_t i) { return data()[i]; }
  T* const* begin() const { return data(); }
  T* const* end() const { return data() + size_; }
  T** begin() { return data(); }
  T** end() { return data() + size_; }
  T* back() const { return data()[size_ - 1]; }

  void push_back(T* item) {
    if (size_ == capacity_) reserve(capacity_ * 2 + 4);
    data()[size_++] = item;
  }
  void pop_back() { --size_; }
  void clear() { size_ = 0; }
  void resize(uint32_t n) {
    reserve(n);
    for (uint32_t i = size_; i < n; ++i) data()[i] = nullptr;
    size_ = n;
  }
  void reserve(uint32_t n) {
    if (n <= capacity_) return;
    T** grown = static_cast<T**>(checkedMalloc(sizeof(T*) * n));
    if (size_) std::memcpy(grown, data(), size_ * sizeof(T*));
    if (onHeap()) std::free(slots_.heap);
    slots_.heap = grown;
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
  static constexpr uint32_t InPlace = 2;
  bool onHeap() const { return capacity_ > InPlace; }
  T** data() { return onHeap() ? slots_.heap : slots_.items; }
  T* const* data() const { return onHeap() ? slots_.heap : slots_.items; }
  union Slots {
    T* items[InPlace];
    T** heap;
  } slots_{};
  uint32_t size_ = 0;
  uint32_t capacity_ = InPlace;
};

}  // namespace nurex
