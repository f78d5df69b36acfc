// The original net of a PNML document, with signals for an STG.
#include "model/formats/pnml_net_reader.h"

#include <cstring>
#include <unordered_set>

#include "model/formats/format_common.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

bool checkNetType(XmlElement element, const char* expected) {
  const char* type = requireAttribute(element, "type");
  if (!type) return false;
  if (std::strcmp(type, expected) != 0) {
    reportError(incorrectAttributeValue("type", "net", type));
    return false;
  }
  return true;
}

// One of `values`, whose position is returned; the incorrect-value error otherwise.
bool readChoice(XmlElement node, const char* attribute, const std::vector<const char*>& values, uint8_t& out) {
  const char* value = requireAttribute(node, attribute);
  if (!value) return false;
  for (size_t i = 0; i < values.size(); ++i)
    if (std::strcmp(value, values[i]) == 0) {
      out = static_cast<uint8_t>(i);
      return true;
    }
  reportError(incorrectAttributeValue(attribute, node.name(), value));
  return false;
}

bool readSignal(XmlElement element, Stg& stg, XmlIdMap& ids, std::unordered_set<std::string>& names) {
  Signal* s = stg.signals.add(new Signal);
  if (!registerXmlId(element, XmlSignal, s, ids)) return false;
  const char* name = requireChildText(element, "name");
  if (!name) return false;
  s->name = name;
  if (!names.insert(s->name).second) {
    // XML input has no meaningful line number.
    reportError(signalDeclaredTwice(s->name, "XML", 0));
    return false;
  }
  if (!readChoice(element, "type", {"input", "output", "internal", "dummy"}, s->kind) ||
      !readChoice(element, "initialValue", {"0", "1", "?"}, s->initialValue))
    return false;
  if (s->kind == SignalDummy && s->initialValue != ValueUnknown) {
    reportError(dummySignalHasInitialValue(s->name));
    return false;
  }
  return true;
}

bool readTransitionSignal(XmlElement element, const XmlIdMap& ids, Transition* t) {
  XmlElement signal = requireChild(element, "signal");
  const char* ref = signal ? requireAttribute(signal, "ref") : nullptr;
  if (!ref || !lookUpXmlId(ids, ref, XmlSignal, t->signal)) return false;
  uint8_t sign;
  if (!readChoice(signal, "sign", {"+", "-", "~"}, sign)) return false;
  t->sign = sign;
  return true;
}

// Places and transitions of the page (signals must be read before).
template <class Net>
bool readNodes(XmlElement page, Net& net, XmlIdMap& ids) {
  for (XmlElement element = page.firstChild(); element; element = element.nextSibling()) {
    if (hasName(element, "place")) {
      Place* p = net.places.add(new Place);
      if (!registerXmlId(element, XmlPlace, p, ids)) return false;
      const char* name = requireChildText(element, "name");
      if (!name) return false;
      p->name = name;
      XmlElement marking = findChild(element, "initialMarking");
      if (marking && !readDecimal(marking, 0, p->tokens)) return false;
    } else if (hasName(element, "transition")) {
      Transition* t = net.transitions.add(new Transition);
      if (!registerXmlId(element, XmlTransition, t, ids)) return false;
      const char* name = requireChildText(element, "name");
      if (!name) return false;
      t->name = name;
      if constexpr (Net::isStg)
        if (!readTransitionSignal(element, ids, t)) return false;
    }
  }
  return true;
}

template <class Net>
bool readOriginalNet(XmlElement element, Net& net, XmlIdMap& ids) {
  if (!checkNetType(element, Net::isStg ? "STG" : "low_level_net")) return false;
  XmlElement page = requireChild(element, "page");
  if (!page) return false;
  reserveXmlIds(page, ids);
  if constexpr (Net::isStg) {
    std::unordered_set<std::string> names;
    for (XmlElement signal = page.firstChild(); signal; signal = signal.nextSibling())
      if (hasName(signal, "signal") && !readSignal(signal, net, ids, names)) return false;
  }
  if (!readNodes(page, net, ids)) return false;
  bool linked = readArcs(page, ids, [](void* place, void* transition, bool placeToTransition) {
    if (placeToTransition) addPlaceArc(static_cast<Place*>(place), static_cast<Transition*>(transition));
    else addTransitionArc(static_cast<Transition*>(transition), static_cast<Place*>(place));
    return true;
  });
  if (!linked) return false;
  if constexpr (Net::isStg) sortSignals(net);
  sortNodes(net);
  sortArcs(net);
  return true;
}

}  // namespace

bool readLowLevelNet(XmlElement element, PetriNet& net, XmlIdMap& ids) { return readOriginalNet(element, net, ids); }

bool readStg(XmlElement element, Stg& stg, XmlIdMap& ids) { return readOriginalNet(element, stg, ids); }

}  // namespace nurex
