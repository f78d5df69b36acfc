// The report of a normalcy violation: traces with their triggers, the closing text of each
// reason, and the attributes of the XML report.
#include <rapidxml/rapidxml.hpp>

#include "platform/reporter.h"
#include "verify/normalcy.h"

namespace nurex {

namespace {

// x names the normalcy type that the first path violates, y the one the other two violate.
void reasonFourTypes(const NormalcySolution& s, const char*& x, const char*& y) {
  x = s.first_trace_violates_n ? "n" : "p";
  y = s.first_trace_violates_n ? "p" : "n";
}

std::string closingText(const NormalcySolution& s) {
  const char *x, *y;
  reasonFourTypes(s, x, y);
  switch (s.reason) {
    case ReasonMixedTriggers:
      return "\nNormalcy violation due to different triggers' signs for signal " + s.signal + "\n";
    case ReasonContradictoryHypotheses:
      return "\nNormalcy violation due to contradictious normalcy type hypotheses for signal " + s.signal +
             "\n(the paths show violations of p- and n-normalcy correspondingly)\n";
    case ReasonCscConflict: return "\nNormalcy violation due to a CSC conflict for signal " + s.signal + "\n";
    default:
      return "\nNormalcy violation for signal " + s.signal + ":\n" + x +
             "-normalcy is violated according to the first path\n" + y +
             "-normalcy is violated according to the other two paths\n";
  }
}

std::string xmlMessage(const NormalcySolution& s) {
  const char *x, *y;
  reasonFourTypes(s, x, y);
  switch (s.reason) {
    case ReasonMixedTriggers: return "Normalcy violation due to different triggers' signs for signal " + s.signal;
    case ReasonContradictoryHypotheses:
      return "Normalcy violation due to contradictious normalcy type hypotheses for signal " + s.signal +
             "; the two traces show violations of p- and n-normalcy correspondingly";
    case ReasonCscConflict: return "Normalcy violation due to a CSC conflict for signal " + s.signal;
    default:
      return "Normalcy violation for signal " + s.signal + ": " + x +
             "-normalcy is violated according to the first trace, " + y +
             "-normalcy is violated according to the other two traces";
  }
}

const char* reasonName(uint32_t reason) {
  switch (reason) {
    case ReasonMixedTriggers: return "mixed_triggers";
    case ReasonContradictoryHypotheses: return "contradictious_hypotheses";
    case ReasonCscConflict: return "CSC_conflict";
    default: return "other";
  }
}

void putText(FILE* stream, const std::string& text) {
  std::fputs(text.c_str(), stream);  // a long trace may exceed one message buffer
  std::fflush(stream);
}

void attribute(XmlDocument& doc, XmlNode* node, const char* name, const std::string& value, bool first = false) {
  auto* a = doc.allocate_attribute(doc.allocate_string(name), doc.allocate_string(value.c_str(), value.size() + 1));
  if (first) node->prepend_attribute(a);
  else node->append_attribute(a);
}

}  // namespace

void NormalcySolution::print(FILE* stream, ResultForm form) const {
  for (size_t i = 0; i < traces.size(); ++i) {
    if (form == ResultForm::File) putText(stream, "_SEQUENCE:\n");
    putText(stream, traceText(traces[i], printEventNumbers));
    if (form == ResultForm::Stdout && i < triggers.size())
      putText(stream, "triggers: " + traceText(triggers[i], printEventNumbers));
  }
  if (form == ResultForm::Stdout)
    printTo(stream, "%s%llu\n", traces.size() == 1 ? "path cost: " : "total cost of all paths: ",
            static_cast<unsigned long long>(cost()));
  bool toStdout = reason == ReasonContradictoryHypotheses || reason == ReasonOther;
  putText(toStdout ? stdout : stream, closingText(*this));
}

XmlNode* NormalcySolution::toXml(XmlDocument& doc) const {
  XmlNode* node = Solution::toXml(doc);
  attribute(doc, node, "signal", signal, true);
  attribute(doc, node, "message", xmlMessage(*this));
  attribute(doc, node, "normalcy_type_hypothesis", std::string(1, hypothesis));
  attribute(doc, node, "reason", reasonName(reason));
  XmlNode* trace = node->first_node("trace");
  for (size_t i = 0; i < triggers.size() && trace; ++i, trace = trace->next_sibling("trace")) {
    XmlNode* list = doc.allocate_node(rapidxml::node_element, doc.allocate_string("triggers"));
    for (const TraceStep& step : triggers[i]) {
      XmlNode* s = doc.allocate_node(rapidxml::node_element, doc.allocate_string("step"));
      attribute(doc, s, "event", std::to_string(step.index));
      attribute(doc, s, "transition", step.transition->name);
      list->append_node(s);
    }
    trace->append_node(list);
  }
  return node;
}

}  // namespace nurex
