// Output of results: stdout form, file form with its stderr fallback, and the XML report.
#include "model/results.h"

#include <rapidxml/rapidxml.hpp>
#include <rapidxml/rapidxml_print.hpp>

#include <fstream>
#include <iterator>

#include "platform/options.h"
#include "platform/reporter.h"
#include "platform/system.h"

namespace nurex {

Trace localConfigurationAsTrace(Event* e) { return traceOf(localConfiguration(e)); }

std::string traceText(const Trace& trace, bool eventNumbers) {
  std::string text;
  for (size_t i = 0; i < trace.size(); ++i) {
    if (i) text += ", ";
    text += eventNumbers ? std::to_string(trace[i].index) : trace[i].transition->name;
  }
  return text + "\n";
}

uint64_t Solution::cost() const {
  uint64_t total = 0;
  for (const Trace& t : traces) total += t.size();
  return total;
}

void Solution::print(FILE* stream, ResultForm form) const {
  for (const Trace& trace : traces) {
    if (form == ResultForm::File) printTo(stream, "_SEQUENCE:\n");
    std::string text = traceText(trace, printEventNumbers);
    std::fputs(text.c_str(), stream);  // a long trace may exceed one message buffer
    std::fflush(stream);
  }
  if (form == ResultForm::Stdout)
    printTo(stream, "%s%llu\n", traces.size() == 1 ? "path cost: " : "total cost of all paths: ",
            static_cast<unsigned long long>(cost()));
}

// The document owns copies of every string it holds.
XmlNode* xmlElement(XmlDocument& doc, const char* name, const std::string& value) {
  XmlNode* node = doc.allocate_node(rapidxml::node_element, doc.allocate_string(name));
  if (!value.empty()) node->value(doc.allocate_string(value.c_str(), value.size() + 1));
  return node;
}
void xmlAttribute(XmlDocument& doc, XmlNode* node, const char* name, const std::string& value) {
  node->append_attribute(doc.allocate_attribute(doc.allocate_string(name), doc.allocate_string(value.c_str(), value.size() + 1)));
}

XmlNode* Solution::toXml(XmlDocument& doc) const {
  XmlNode* solution = xmlElement(doc, "solution");
  xmlAttribute(doc, solution, "cost", std::to_string(cost()));
  for (const Trace& trace : traces) {
    XmlNode* t = xmlElement(doc, "trace");
    for (const TraceStep& step : trace) {
      XmlNode* s = xmlElement(doc, "step");
      xmlAttribute(doc, s, "event", std::to_string(step.index));
      xmlAttribute(doc, s, "transition", step.transition->name);
      t->append_node(s);
    }
    solution->append_node(t);
  }
  return solution;
}

namespace {

bool endsWith(const std::string& text, const char* tail) {
  std::string t = tail;
  return text.size() >= t.size() && text.compare(text.size() - t.size(), t.size(), t) == 0;
}

void writeXmlReport(const ResultList& results, const std::string& verdict, const std::string& name) {
  XmlDocument doc;
  XmlNode* root = xmlElement(doc, "result");
  xmlAttribute(doc, root, "status", "success");
  xmlAttribute(doc, root, "message", verdict);
  XmlNode* solutions = xmlElement(doc, "solutions");
  for (const auto& s : results) solutions->append_node(s->toXml(doc));
  root->append_node(solutions);
  doc.append_node(root);
  std::ofstream out(name, std::ios::out | std::ios::trunc);
  if (!out) {
    reportError(cannotOpenForOutput(name));
    return;
  }
  rapidxml::print(std::ostream_iterator<char>(out), doc);
  out.flush();
  if (!out) reportError(cannotWriteFile());
}

}  // namespace

void writeResults(const ResultList& results, const std::string& messageIfFound, const std::string& messageIfNone) {
  const std::string& name = runStrings.outputFileName;
  const std::string& verdict = results.empty() ? messageIfNone : messageIfFound;
  if (name.empty() || name == "cerr") {
    for (size_t i = 0; i < results.size(); ++i) {
      printTo(stdout, "\nSOLUTION %zu:\n", i);
      results[i]->print(stdout, ResultForm::Stdout);
    }
    printTo(stdout, "\n%s\n", verdict.c_str());
    return;
  }
  if (endsWith(name, ".xml")) {
    writeXmlReport(results, verdict, name);
    return;
  }
  FILE* file = std::fopen(name.c_str(), "w");
  if (!file) reportWarning(cannotOpenForOutput(name));
  FILE* stream = file ? file : stderr;
  if (results.empty()) printTo(stream, "NO\n");
  for (const auto& s : results) {
    printTo(stream, "\nYES\n");
    s->print(stream, ResultForm::File);
  }
  if (file && !closeWrittenFile(file)) reportError(cannotWriteFile());
}

}  // namespace nurex
