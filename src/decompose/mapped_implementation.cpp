// Text and XML forms of a mapped signal implementation, the total area and the result line.
#include "decompose/mapped_implementation.h"

#include <rapidxml/rapidxml.hpp>

#include <cmath>

#include "synthesis/expression_text.h"

namespace nurex::mapping {

namespace {

const char* const WireName = "**wire**";  // GENLIB's name of a bare connection

std::string gateName(const MappedGate& g) { return g.gate ? g.gate->name : WireName; }

std::string joinedSignals(const std::vector<const Signal*>& signals) {
  std::string text;
  for (const Signal* s : signals) text += (text.empty() ? "" : ", ") + s->name;
  return text;
}

const char* boolText(bool value) { return value ? "true" : "false"; }

std::string subFunctionLine(const SignalImplementation& s, const MappedGate& g);

// A signal's name, or the line of the sub-function in braces; "!" for a bubble.
std::string pinSource(const SignalImplementation& s, const Pin& pin) {
  std::string text = pin.inverted ? "!" : "";
  if (pin.subFunction >= 0 && static_cast<size_t>(pin.subFunction) < s.subFunctions.size())
    return text + "{" + subFunctionLine(s, s.subFunctions[pin.subFunction]) + "}";
  return text + (pin.signal ? pin.signal : s.signal)->name;  // nothing named: the feedback
}

std::string subFunctionLine(const SignalImplementation& s, const MappedGate& g) {
  std::string text = "Equation: " + g.equation + "; Gate: " + gateName(g);
  if (g.inverted) text += " (inverted)";
  if (g.zeroDelay) text += "; #PRAGMA: zero delay";
  text += "; pins/inputs:";
  for (const Pin& pin : g.pins) text += " " + pin.name + "=" + pinSource(s, pin);
  return text;
}

XmlNode* gateElement(XmlDocument& doc, const SignalImplementation& s, const MappedGate& g) {
  XmlNode* gate = xmlElement(doc, "gate");
  xmlAttribute(doc, gate, "name", gateName(g));
  xmlAttribute(doc, gate, "inverted", boolText(g.inverted));
  xmlAttribute(doc, gate, "zero_delay", boolText(g.zeroDelay));
  for (const Pin& p : g.pins) {
    XmlNode* pin = xmlElement(doc, "pin");
    xmlAttribute(doc, pin, "name", p.name);
    bool sub = p.subFunction >= 0 && static_cast<size_t>(p.subFunction) < s.subFunctions.size();
    if (!sub) xmlAttribute(doc, pin, "signal", (p.signal ? p.signal : s.signal)->name);
    xmlAttribute(doc, pin, "inverted", boolText(p.inverted));
    if (sub) pin->append_node(gateElement(doc, s, s.subFunctions[p.subFunction]));
    gate->append_node(pin);
  }
  return gate;
}

}  // namespace

std::string areaText(double area) {
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", area);
  return text;
}

uint64_t SignalImplementation::cost() const { return static_cast<uint64_t>(std::llround(area * 100)); }

void SignalImplementation::print(FILE* stream, ResultForm) const {
  std::string text = "Signal " + signal->name + " (cost " + areaText(area) + ")\nTriggers (approximation):" +
                     signalNamesText(triggers) + "\nContext:" + signalNamesText(context) +
                     "\nEquation: " + top.equation + "\nGate " + gateName(top);
  if (top.inverted) text += " (inverted)";
  if (top.zeroDelay) text += "; #PRAGMA: zero delay";
  text += ", sub-functions:";
  for (const Pin& pin : top.pins) text += "\n pin " + pin.name + ":\t" + pinSource(*this, pin);
  std::fputs(text.c_str(), stream);  // wide gates may exceed one message buffer
  std::fflush(stream);
}

XmlNode* SignalImplementation::toXml(XmlDocument& doc) const {
  XmlNode* solution = xmlElement(doc, "solution");
  xmlAttribute(doc, solution, "signal", signal->name);
  xmlAttribute(doc, solution, "message", "Logic decomposition for signal " + signal->name);
  xmlAttribute(doc, solution, "cost", areaText(area));
  xmlAttribute(doc, solution, "equation", top.equation);
  xmlAttribute(doc, solution, "triggers", joinedSignals(triggers));
  xmlAttribute(doc, solution, "context", joinedSignals(context));
  solution->append_node(gateElement(doc, *this, top));
  return solution;
}

double totalArea(const ResultList& list) {
  uint64_t hundredths = 0;
  for (const auto& s : list) hundredths += s->cost();
  return static_cast<double>(hundredths) / 100;
}

std::string decompositionResult(const ResultList& list, bool failed) {
  if (failed) return "Failed to decompose";
  return "Logic decomposition finished (area=" + areaText(totalArea(list)) + ")";
}

}  // namespace nurex::mapping
