// Load-time checks of prefixes and merged processes, shared by the four unit kinds.
#include "model/checks.h"

#include <algorithm>
#include <utility>

#include "platform/reporter.h"

namespace nurex {

namespace {

// Producers of a condition, as a small list, for both kinds of condition.
inline PtrArray<Event> producersOf(const Condition* c) {
  PtrArray<Event> list;
  if (c->producer) list.push_back(c->producer);
  return list;
}
inline const PtrArray<MpEvent>& producersOf(const MpCondition* c) { return c->preset; }

template <class T>
bool inList(const NodeList<T>& list, const T* node) {
  return node && node->index < list.size() && list[node->index] == node;
}

template <class E>
bool isUnlistedCutOffCondition(const E* e, uint32_t conditionIndex) {
  return eventIsCutOff(e) && conditionIndex == NoIndex;
}

template <class Items>
std::string joinNames(const Items& items, std::string (*name)(uint32_t)) {
  std::string text;
  for (uint32_t index : items) text += (text.empty() ? "" : ", ") + name(index);
  return text;
}

}  // namespace

template <class Unit>
bool checkPrefixStructure(const Unit& unit) {
  using Arc = std::pair<uint32_t, uint32_t>;
  std::vector<Arc> consumeFromConditions, consumeFromEvents, produceFromConditions, produceFromEvents;
  for (uint32_t i = 0; i < unit.conditions.size(); ++i) {
    const auto* c = unit.conditions[i];
    if (c->index != i) return false;
    for (const auto* e : producersOf(c)) {
      if (!inList(unit.events, e)) return false;
      produceFromConditions.emplace_back(e->index, c->index);
    }
    for (const auto* e : c->postset) {
      if (!inList(unit.events, e)) return false;
      consumeFromConditions.emplace_back(c->index, e->index);
    }
  }
  for (uint32_t i = 0; i < unit.events.size(); ++i) {
    const auto* e = unit.events[i];
    if (e->index != i) return false;
    for (const auto* c : e->preset) {
      if (!inList(unit.conditions, c)) return false;
      consumeFromEvents.emplace_back(c->index, e->index);
    }
    for (const auto* c : e->postset) {
      if (isUnlistedCutOffCondition(e, c->index)) continue;  // beyond the prefix, counted in statistics only
      if (!inList(unit.conditions, c)) return false;
      produceFromEvents.emplace_back(e->index, c->index);
    }
  }
  if (consumeFromConditions.size() != consumeFromEvents.size() || produceFromConditions.size() != produceFromEvents.size())
    return false;
  for (auto* arcs : {&consumeFromConditions, &consumeFromEvents, &produceFromConditions, &produceFromEvents})
    std::sort(arcs->begin(), arcs->end());
  return consumeFromConditions == consumeFromEvents && produceFromConditions == produceFromEvents;
}

template <class Unit>
bool checkInitialSafety(const Unit& unit) {
  if constexpr (Unit::isMergedProcess) {
    std::vector<uint32_t> unsafe;
    for (const auto* c : unit.conditions)
      if (c->tokens > 1) unsafe.push_back(c->index);
    if (!unsafe.empty()) {
      reportError("the initial marking is not safe: place(s) " + joinNames(unsafe, conditionName));
      return false;
    }
  }
  (void)unit;
  return true;
}

// "the net contains N transition(s) with empty <side>: e.., e..", or "" when none has.
template <class Unit, class Side>
std::string emptySideMessage(const Unit& unit, Side side, const char* name) {
  std::vector<uint32_t> found;
  for (const auto* e : unit.events)
    if ((e->*side).empty()) found.push_back(e->index);
  if (found.empty()) return "";
  return "the net contains " + std::to_string(found.size()) + " transition(s) with empty " + name + ": " +
         joinNames(found, eventName);
}

template <class Unit>
bool checkEmptyPresets(const Unit& unit) {
  std::string message = emptySideMessage(unit, &Unit::EventType::preset, "preset");
  if (!message.empty()) reportError(message);
  return message.empty();
}

template <class Unit>
void checkEmptyPostsets(const Unit& unit) {
  std::string message = emptySideMessage(unit, &Unit::EventType::postset, "postset");
  if (!message.empty()) reportWarning(message);
}

template <class Unit>
void checkSelfLoops(const Unit& unit) {
  for (const auto* e : unit.events) {
    if (e->preset.size() > e->postset.size()) continue;
    bool included = std::all_of(e->preset.begin(), e->preset.end(), [&](const auto* c) { return e->postset.contains(c); });
    if (!included) continue;
    if (e->preset.size() == e->postset.size())
      reportWarning("*T=T* for transition " + eventName(e) + "; |*T|=" + std::to_string(e->preset.size()));
    else
      reportWarning("*T<T* for transition " + eventName(e) + "; the net may be unbounded");
  }
}

template <class Unit>
void checkIsolatedPlaces(const Unit& unit) {
  std::vector<uint32_t> found;
  for (const auto* c : unit.conditions)
    if (producersOf(c).empty() && c->postset.empty()) found.push_back(c->index);
  if (!found.empty())
    reportWarning("the net contains " + std::to_string(found.size()) + " isolated place(s): " + joinNames(found, conditionName));
}

template <class Unit>
void checkUnproducedPlaces(const Unit& unit) {
  std::vector<uint32_t> found;
  for (const auto* c : unit.conditions) {
    const auto& producers = producersOf(c);
    if (producers.empty() || c->postset.size() < producers.size()) continue;
    if (std::all_of(producers.begin(), producers.end(), [&](const auto* e) { return c->postset.contains(e); }))
      found.push_back(c->index);
  }
  if (!found.empty())
    reportWarning("the net contains " + std::to_string(found.size()) + " unmarked place(s) with no producing arcs: " +
                  joinNames(found, conditionName));
}

template <class Unit>
bool runLoadChecks(const Unit& unit) {
  bool ok = checkPrefixStructure(unit);
  ok &= checkInitialSafety(unit);
  ok &= checkEmptyPresets(unit);
  checkEmptyPostsets(unit);
  checkSelfLoops(unit);
  checkIsolatedPlaces(unit);
  checkUnproducedPlaces(unit);
  return ok;
}

#define NUREX_INSTANTIATE_CHECKS(Unit)                         \
  template bool checkPrefixStructure<Unit>(const Unit&);     \
  template bool checkInitialSafety<Unit>(const Unit&);       \
  template bool checkEmptyPresets<Unit>(const Unit&);        \
  template void checkEmptyPostsets<Unit>(const Unit&);       \
  template void checkSelfLoops<Unit>(const Unit&);           \
  template void checkIsolatedPlaces<Unit>(const Unit&);      \
  template void checkUnproducedPlaces<Unit>(const Unit&);    \
  template bool runLoadChecks<Unit>(const Unit&);
NUREX_INSTANTIATE_CHECKS(PetriNetPrefix)
NUREX_INSTANTIATE_CHECKS(StgPrefix)
NUREX_INSTANTIATE_CHECKS(PetriNetMergedProcess)
NUREX_INSTANTIATE_CHECKS(StgMergedProcess)
#undef NUREX_INSTANTIATE_CHECKS

}  // namespace nurex
