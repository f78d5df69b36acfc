// NetUnit: a tagged variant over the four kinds of loaded unit, visited by tag through
// tables of functions, one table per visitor.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <new>
#include <type_traits>
#include <utility>

#include "model/prefix.h"

namespace nurex {

struct BadGet : std::exception {
  const char* what() const noexcept override { return "bad_get"; }
};

template <class T, class... Ts>
struct IndexOf;
template <class T, class... Ts>
struct IndexOf<T, T, Ts...> : std::integral_constant<uint32_t, 0> {};
template <class T, class U, class... Ts>
struct IndexOf<T, U, Ts...> : std::integral_constant<uint32_t, 1 + IndexOf<T, Ts...>::value> {};

template <class... Alternatives>
class NetUnit {
 public:
  static constexpr uint32_t alternativeCount = sizeof...(Alternatives);

  // The unit takes the lists of a freshly read object over by moving them.
  template <class T>
  static NetUnit* adoptFrom(T&& loaded) {
    using U = std::decay_t<T>;
    auto* unit = new NetUnit;
    new (unit->storage_) U(std::move(loaded));
    unit->tag_ = IndexOf<U, Alternatives...>::value;
    return unit;
  }
  NetUnit(const NetUnit&) = delete;
  NetUnit& operator=(const NetUnit&) = delete;
  ~NetUnit() { destructors[tag_](storage_); }

  uint32_t tag() const { return tag_; }
  template <class T>
  bool holds() const { return tag_ == IndexOf<T, Alternatives...>::value; }
  template <class T>
  T& get() {
    if (!holds<T>()) throw BadGet();
    return *std::launder(reinterpret_cast<T*>(storage_));
  }

  // A visitor is a struct with `template <class U> static R run(U&, Args...)`; its table
  // holds one instantiation per alternative.
  template <class Visitor, class R, class... Args>
  static constexpr std::array<R (*)(void*, Args...), alternativeCount> tableOf() {
    return {[](void* p, Args... args) -> R { return Visitor::run(*static_cast<Alternatives*>(p), args...); }...};
  }
  template <class R, class... Args>
  R visit(const std::array<R (*)(void*, Args...), alternativeCount>& table, Args... args) {
    return table[tag_](storage_, args...);
  }

 private:
  NetUnit() = default;
  static constexpr void (*destructors[])(void*) = {[](void* p) { static_cast<Alternatives*>(p)->~Alternatives(); }...};
  alignas(Alternatives...) unsigned char storage_[std::max({sizeof(Alternatives)...})];
  uint32_t tag_ = 0;
};

// The variant of each loader.
using DeadlockUnit = NetUnit<PetriNetPrefix, StgPrefix, PetriNetMergedProcess, StgMergedProcess>;
using ReachUnit = NetUnit<PetriNetPrefix, StgPrefix, PetriNetMergedProcess>;
using StgUnit = NetUnit<StgPrefix>;

}  // namespace nurex
