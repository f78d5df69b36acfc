// Text and XML forms of a derived signal implementation.
#include <rapidxml/rapidxml.hpp>

#include "platform/reporter.h"
#include "synthesis/equations.h"
#include "synthesis/expression_text.h"

namespace nurex {

uint64_t SignalImplementation::cost() const { return alternatives.empty() ? 0 : alternatives.front().literals; }

namespace {

XmlNode* signalsElement(XmlDocument& doc, const char* name, const std::vector<const Signal*>& signals) {
  XmlNode* node = xmlElement(doc, name);
  for (const Signal* s : signals) node->append_node(xmlElement(doc, "signal", s->name));
  return node;
}

}  // namespace

void SignalImplementation::print(FILE* stream, ResultForm) const {
  std::string text = "Signal " + name + " (cost " + std::to_string(cost()) + ")\nTriggers (approximation):" +
                     signalNamesText(triggers);
  for (const EquationAlternative& a : alternatives)
    text += "\nContext:" + signalNamesText(a.context) + "\nEquation (" + std::to_string(a.literals) + " lits): " + a.equation;
  std::fputs(text.c_str(), stream);  // equations of wide supports may exceed one message buffer
  std::fflush(stream);
}

XmlNode* SignalImplementation::toXml(XmlDocument& doc) const {
  XmlNode* solution = xmlElement(doc, "solution");
  xmlAttribute(doc, solution, "message", "alternative implementations of " + name);
  xmlAttribute(doc, solution, "cost", std::to_string(cost()));
  solution->append_node(xmlElement(doc, "signal", name));
  solution->append_node(signalsElement(doc, "triggers", triggers));
  for (const EquationAlternative& a : alternatives) {
    XmlNode* implementation = xmlElement(doc, "implementation");
    xmlAttribute(doc, implementation, "cost", std::to_string(a.literals));
    implementation->append_node(signalsElement(doc, "context", a.context));
    XmlNode* equation = xmlElement(doc, "equation");
    equation->append_node(xmlElement(doc, "text", a.equation));
    implementation->append_node(equation);
    solution->append_node(implementation);
  }
  return solution;
}

}  // namespace nurex
