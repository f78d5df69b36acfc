// PNML prefixes and merged processes: the top of the reader, which selects by the net's
// `type`, and one reader per unit kind.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "model/checks.h"
#include "model/formats/pnml_net_reader.h"
#include "model/formats/readers.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

constexpr const char* BranchingLowLevel = "branching_process:low_level_net";
constexpr const char* BranchingStg = "branching_process:STG";
constexpr const char* MergedLowLevel = "merged_process:low_level_net";
constexpr const char* MergedStg = "merged_process:STG";

template <class Net>
bool readOriginal(XmlElement element, Net& net, XmlIdMap& ids) {
  if constexpr (Net::isStg) return readStg(element, net, ids);
  else return readLowLevelNet(element, net, ids);
}

// The place or transition of the original net that a prefix node instantiates.
template <class T>
bool readOriginalNode(XmlElement element, const XmlIdMap& originalIds, XmlIdKind kind, T*& out) {
  XmlElement original = requireChild(element, "originalNode");
  const char* ref = original ? requireAttribute(original, "ref") : nullptr;
  return ref && lookUpXmlId(originalIds, ref, kind, out);
}

bool readCondition(XmlElement element, const XmlIdMap& originalIds, Condition* c) {
  return readOriginalNode(element, originalIds, XmlPlace, c->place);
}

bool readCondition(XmlElement element, const XmlIdMap& originalIds, MpCondition* c) {
  if (!readOriginalNode(element, originalIds, XmlPlace, c->place)) return false;
  XmlElement depth = requireChild(element, "occurrence_depth");
  if (!depth || !readDecimal(depth, 1, c->occurrenceDepth)) return false;
  XmlElement marking = findChild(element, "initialMarking");
  return !marking || readDecimal(marking, 0, c->tokens);
}

// No `correspondent` leaves the correspondent unknown; otherwise its `ref` children name
// the correspondents, none meaning the initial state.
bool readCutOff(XmlElement cutOff, const XmlIdMap& ids, Event* e) {
  XmlElement correspondent = findChild(cutOff, "correspondent");
  if (!correspondent) {
    e->correspondent.setUnknown();
    return true;
  }
  CutOffLink::EventList list;
  for (XmlElement ref = correspondent.firstChild(); ref; ref = ref.nextSibling()) {
    if (!hasName(ref, "ref")) continue;
    Event* other;
    if (!lookUpXmlId(ids, ref.value(), XmlTransition, other)) return false;
    list.push_back(other);
  }
  setCorrespondents(e, list);
  return true;
}

bool readEvent(XmlElement element, const XmlIdMap& originalIds, const XmlIdMap& ids, Event* e) {
  if (!readOriginalNode(element, originalIds, XmlTransition, e->transition)) return false;
  XmlElement cutOff = findChild(element, "cut-off");
  return !cutOff || readCutOff(cutOff, ids, e);
}

bool readEvent(XmlElement element, const XmlIdMap& originalIds, const XmlIdMap&, MpEvent* e) {
  if (!readOriginalNode(element, originalIds, XmlTransition, e->transition)) return false;
  e->isCutOff = static_cast<bool>(findChild(element, "cut-off"));
  return true;
}

std::string severalProducers(const char* condition) {
  return "XML node \"place\" with id \"" + std::string(condition) + "\" has more than one producer";
}

// Arcs of the prefix level; a condition of a branching process has one producer.
bool linkArc(Condition* c, Event* e, bool conditionToEvent) {
  if (conditionToEvent) {
    c->postset.push_back(e);
    e->preset.push_back(c);
    return true;
  }
  if (c->producer) return false;
  c->producer = e;
  e->postset.push_back(c);
  return true;
}

bool linkArc(MpCondition* c, MpEvent* e, bool conditionToEvent) {
  if (conditionToEvent) {
    c->postset.push_back(e);
    e->preset.push_back(c);
  } else {
    c->preset.push_back(e);
    e->postset.push_back(c);
  }
  return true;
}

const char* conditionIdOf(const XmlIdMap& ids, const void* condition) {
  for (const auto& [id, entry] : ids)
    if (entry.node == condition) return id.data();
  return "";
}

// Pass 1 makes the nodes and their ids, pass 2 fills them, pass 3 reads the arcs.
template <class Unit>
bool readPrefixPage(XmlElement page, Unit& unit, const XmlIdMap& originalIds) {
  using C = typename Unit::ConditionType;
  using E = typename Unit::EventType;
  XmlIdMap ids;
  reserveXmlIds(page, ids);
  for (XmlElement element = page.firstChild(); element; element = element.nextSibling()) {
    if (hasName(element, "place") && !registerXmlId(element, XmlPlace, unit.conditions.add(new C), ids)) return false;
    if (hasName(element, "transition") && !registerXmlId(element, XmlTransition, unit.events.add(new E), ids))
      return false;
  }
  uint32_t condition = 0, event = 0;
  for (XmlElement element = page.firstChild(); element; element = element.nextSibling()) {
    if (hasName(element, "place") && !readCondition(element, originalIds, unit.conditions[condition++])) return false;
    if (hasName(element, "transition") && !readEvent(element, originalIds, ids, unit.events[event++])) return false;
  }
  bool linked = readArcs(page, ids, [&ids](void* place, void* transition, bool placeToTransition) {
    if (linkArc(static_cast<C*>(place), static_cast<E*>(transition), placeToTransition)) return true;
    reportError(severalProducers(conditionIdOf(ids, place)));
    return false;
  });
  if (!linked) return false;
  // Nodes are in document order already, which is the order of their generated names.
  for (C* c : unit.conditions) {
    if constexpr (Unit::isMergedProcess) c->preset.sortByIndex();
    c->postset.sortByIndex();
  }
  for (E* e : unit.events) {
    e->preset.sortByIndex();
    e->postset.sortByIndex();
  }
  return true;
}

template <class Unit>
std::unique_ptr<Unit> readPnmlPrefix(XmlElement net) {
  auto unit = std::make_unique<Unit>();
  XmlElement original = requireChild(net, "original_net");
  XmlElement originalNet = original ? requireChild(original, "net") : XmlElement();
  XmlIdMap originalIds;
  if (!originalNet || !readOriginal(originalNet, *unit, originalIds)) return nullptr;
  if (XmlElement name = findChild(net, "name"))
    if (XmlElement text = findChild(name, "text")) unit->name = text.value();
  XmlElement page = requireChild(net, "page");
  if (!page || !readPrefixPage(page, *unit, originalIds)) return nullptr;
  if constexpr (std::is_same_v<Unit, StgPrefix>)
    if (!inferSignalValues(*unit)) return nullptr;
  if (!runLoadChecks(*unit)) return nullptr;
  return unit;
}

bool contains(const std::vector<std::string>& list, const char* item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

// Steps 1 to 4 of the top: the `net` element and its accepted `type`, or null.
XmlElement acceptedNet(XmlTree& document, const std::vector<std::string>& acceptedTypes) {
  XmlElement pnml = document.root().firstChild();
  if (!pnml) {
    reportError(xmlHasNoChildren("ROOT"));
    return {};
  }
  if (!hasName(pnml, "pnml")) {
    reportError(xmlMustHaveChild("ROOT", "pnml"));
    return {};
  }
  XmlElement net = pnml.firstChild();
  if (!net) {
    reportError(xmlHasNoChildren("pnml"));
    return {};
  }
  if (!hasName(net, "net")) {
    reportError(xmlMustHaveChild("pnml", "net"));
    return {};
  }
  const char* type = net.attribute("type");
  if (!type) {
    reportError(xmlMustHaveAttribute("net", "type"));
    return {};
  }
  if (contains(acceptedTypes, type)) return net;
  if (!contains(acceptedTypes, "low_level_net")) {
    reportError(unexpectedNetType(type));
    return {};
  }
  reportWarning(unexpectedNetType(type) + "; attempting to read as a low-level net");
  net.setAttribute("type", "low_level_net");
  return net;
}

}  // namespace

bool readPnmlUnit(const std::string& fileName, const std::vector<std::string>& acceptedTypes, LoadedUnit& out) {
  auto input = readXmlDocument(fileName);
  if (!input) return false;
  XmlElement net = acceptedNet(*input, acceptedTypes);
  if (!net) return false;
  const char* type = net.attribute("type");
  if (!std::strcmp(type, BranchingLowLevel)) out.petriNetPrefix = readPnmlPrefix<PetriNetPrefix>(net);
  else if (!std::strcmp(type, BranchingStg)) out.stgPrefix = readPnmlPrefix<StgPrefix>(net);
  else if (!std::strcmp(type, MergedLowLevel)) out.petriNetMergedProcess = readPnmlPrefix<PetriNetMergedProcess>(net);
  else if (!std::strcmp(type, MergedStg)) out.stgMergedProcess = readPnmlPrefix<StgMergedProcess>(net);
  else reportError(unexpectedNetType(type));  // a type that a loader accepts but no reader serves
  return out.petriNetPrefix || out.stgPrefix || out.petriNetMergedProcess || out.stgMergedProcess;
}

}  // namespace nurex
