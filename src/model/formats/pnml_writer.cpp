// Writing nets, prefixes and merged processes as PNML documents with the system's extensions.
#include <rapidxml/rapidxml.hpp>

#include "model/formats/writers.h"
#include "model/formats/xml_document.h"

namespace nurex {

namespace {

constexpr const char* PnmlNamespace = "http://www.pnml.org/version-2009/grammar/pnml";

// Elements and attributes whose strings the document's pool keeps.
class PnmlBuilder {
 public:
  XmlDocument document;

  XmlNode* element(XmlNode* parent, const char* name, const std::string* value = nullptr) {
    XmlNode* node = document.allocate_node(rapidxml::node_element, name,
                                           value ? document.allocate_string(value->c_str(), value->size() + 1) : nullptr);
    parent->append_node(node);
    return node;
  }
  void attribute(XmlNode* node, const char* name, const std::string& value) {
    node->append_attribute(document.allocate_attribute(name, document.allocate_string(value.c_str(), value.size() + 1)));
  }
  // <name><text>value</text></name> and its kin.
  XmlNode* textElement(XmlNode* parent, const char* name, const std::string& value) {
    XmlNode* node = element(parent, name);
    element(node, "text", &value);
    return node;
  }
  void arc(XmlNode* page, const std::string& source, const std::string& target) {
    XmlNode* node = element(page, "arc");
    attribute(node, "source", source);
    attribute(node, "target", target);
  }
};

std::string id(char kind, uint32_t index) { return kind + std::to_string(index); }

const char* signalType(uint8_t kind) {
  static const char* const names[] = {"input", "output", "internal", "dummy"};
  return names[kind < 4 ? kind : 3];
}
const char* valueText(uint8_t value) { return value == 0 ? "0" : value == 1 ? "1" : "?"; }
const char* signText(uint32_t sign) { return sign == SignPlus ? "+" : sign == SignMinus ? "-" : "~"; }

template <class Net>
void writeNetPage(PnmlBuilder& b, XmlNode* page, const Net& net) {
  if constexpr (Net::isStg)
    for (const Signal* s : net.signals) {
      XmlNode* node = b.element(page, "signal");
      b.attribute(node, "id", id('s', s->index));
      b.attribute(node, "type", signalType(s->kind));
      b.attribute(node, "initialValue", valueText(s->initialValue));
      b.textElement(node, "name", s->name);
    }
  for (const Place* p : net.places) {
    XmlNode* node = b.element(page, "place");
    b.attribute(node, "id", id('p', p->index));
    b.textElement(node, "name", p->name);
    if (p->tokens > 0) b.textElement(node, "initialMarking", std::to_string(p->tokens));
  }
  for (const Transition* t : net.transitions) {
    XmlNode* node = b.element(page, "transition");
    b.attribute(node, "id", id('t', t->index));
    b.textElement(node, "name", t->name);
    if constexpr (Net::isStg)
      if (t->signal) {
        XmlNode* signal = b.textElement(node, "signal", t->signal->name);
        b.attribute(signal, "ref", id('s', t->signal->index));
        b.attribute(signal, "sign", signText(t->sign));
      }
  }
  for (const Transition* t : net.transitions)
    for (const Place* p : t->preset) b.arc(page, id('p', p->index), id('t', t->index));
  for (const Transition* t : net.transitions)
    for (const Place* p : t->postset) b.arc(page, id('t', t->index), id('p', p->index));
}

template <class Net>
XmlNode* writeNet(PnmlBuilder& b, XmlNode* parent, const Net& net, const std::string& name) {
  XmlNode* node = b.element(parent, "net");
  b.attribute(node, "type", Net::isStg ? "STG" : "low_level_net");
  b.textElement(node, "name", name);
  writeNetPage(b, b.element(node, "page"), net);
  return node;
}

XmlNode* pnmlRoot(PnmlBuilder& b) {
  XmlNode* pnml = b.element(&b.document, "pnml");
  b.attribute(pnml, "xmlns", PnmlNamespace);
  return pnml;
}

void writeConditionDetails(PnmlBuilder&, XmlNode*, const Condition*) {}
void writeConditionDetails(PnmlBuilder& b, XmlNode* node, const MpCondition* c) {
  b.textElement(node, "occurrence_depth", std::to_string(c->occurrenceDepth));
  b.textElement(node, "initialMarking", std::to_string(c->tokens));
}

void writeCutOff(PnmlBuilder& b, XmlNode* node, const Event* e) {
  const CutOffLink& link = e->correspondent;
  if (!link.isCutOff()) return;
  XmlNode* cutOff = b.textElement(node, "cut-off", "cut-off");
  if (link.isUnknown()) return;
  XmlNode* correspondent = b.element(cutOff, "correspondent");
  for (const Event* other : link.correspondents()) {
    std::string ref = id('e', other->index);
    b.element(correspondent, "ref", &ref);
  }
}
void writeCutOff(PnmlBuilder& b, XmlNode* node, const MpEvent* e) {
  if (e->isCutOff) b.textElement(node, "cut-off", "cut-off");
}

// A condition ("c") or event ("e"): its generated id, the same as its name, and the node of
// the original net ("p" or "t") that it is an instance of.
template <class Original>
XmlNode* writePrefixNode(PnmlBuilder& b, XmlNode* page, char kind, uint32_t index, char originalKind,
                         const Original* original) {
  XmlNode* node = b.element(page, kind == 'c' ? "place" : "transition");
  std::string name = id(kind, index);
  b.attribute(node, "id", name);
  b.textElement(node, "name", name);
  b.attribute(b.textElement(node, "originalNode", original->name), "ref", id(originalKind, original->index));
  return node;
}

template <class Unit>
void writeUnitPage(PnmlBuilder& b, XmlNode* page, const Unit& unit) {
  for (const auto* c : unit.conditions) writeConditionDetails(b, writePrefixNode(b, page, 'c', c->index, 'p', c->place), c);
  for (const auto* e : unit.events) writeCutOff(b, writePrefixNode(b, page, 'e', e->index, 't', e->transition), e);
  // Conditions beyond a cut-off that are in no list have no id, and no arc.
  for (const auto* e : unit.events)
    for (const auto* c : e->preset) b.arc(page, id('c', c->index), id('e', e->index));
  for (const auto* e : unit.events)
    for (const auto* c : e->postset)
      if (c->index != NoIndex) b.arc(page, id('e', e->index), id('c', c->index));
}

template <class Unit>
const char* unitType() {
  if constexpr (Unit::isMergedProcess) return Unit::isStg ? "merged_process:STG" : "merged_process:low_level_net";
  else return Unit::isStg ? "branching_process:STG" : "branching_process:low_level_net";
}

}  // namespace

template <class Unit>
bool writeUnitPnml(const Unit& unit, const std::string& fileName) {
  PnmlBuilder b;
  XmlNode* net = b.element(pnmlRoot(b), "net");
  b.attribute(net, "type", unitType<Unit>());
  const typename Unit::NetType& original = unit;
  writeNet(b, b.element(net, "original_net"), original, "origninal " + unit.name);
  b.textElement(net, "name", unit.name);
  writeUnitPage(b, b.element(net, "page"), unit);
  return writeDocument(fileName, b.document);
}

template <class Net>
bool writeNetPnml(const Net& net, const std::string& fileName) {
  PnmlBuilder b;
  writeNet(b, pnmlRoot(b), net, net.name);
  return writeDocument(fileName, b.document);
}

template bool writeUnitPnml<PetriNetPrefix>(const PetriNetPrefix&, const std::string&);
template bool writeUnitPnml<StgPrefix>(const StgPrefix&, const std::string&);
template bool writeUnitPnml<PetriNetMergedProcess>(const PetriNetMergedProcess&, const std::string&);
template bool writeUnitPnml<StgMergedProcess>(const StgMergedProcess&, const std::string&);
template bool writeNetPnml<PetriNet>(const PetriNet&, const std::string&);
template bool writeNetPnml<Stg>(const Stg&, const std::string&);

}  // namespace nurex
