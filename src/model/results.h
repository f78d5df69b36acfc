// Results of a mode: traces, solutions, and their output as text or as an XML report.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "model/prefix.h"

namespace rapidxml {
template <class Ch>
class xml_node;
template <class Ch>
class xml_document;
}  // namespace rapidxml

namespace nurex {

using XmlNode = rapidxml::xml_node<char>;
using XmlDocument = rapidxml::xml_document<char>;

// One event of a trace: its number in the process and its transition. Holding these rather than
// node pointers lets one trace type serve prefixes and merged processes alike.
struct TraceStep {
  uint32_t index;
  const Transition* transition;
};
using Trace = std::vector<TraceStep>;

template <class E>
Trace traceOf(const std::vector<E*>& events) {
  Trace trace;
  trace.reserve(events.size());
  for (const E* e : events) trace.push_back({e->index, e->transition});
  return trace;
}

// The local configuration of an event as a trace, events by ascending number.
Trace localConfigurationAsTrace(Event* e);

// Where a solution is printed: on stdout with a verdict, or in a file of YES/NO blocks.
enum class ResultForm { Stdout, File };

class Solution {
 public:
  Solution(bool printEventNumbers = false) : printEventNumbers(printEventNumbers) {}
  virtual ~Solution() = default;
  // Sum of the lengths of the traces.
  virtual uint64_t cost() const;
  virtual void print(FILE* stream, ResultForm form) const;
  virtual XmlNode* toXml(XmlDocument& document) const;

  std::vector<Trace> traces;
  bool printEventNumbers;  // -@: event numbers instead of transition names
};

using ResultList = std::vector<std::unique_ptr<Solution>>;

// XML building blocks for the solutions' own forms; the document keeps copies of the strings.
XmlNode* xmlElement(XmlDocument& doc, const char* name, const std::string& value = {});
void xmlAttribute(XmlDocument& doc, XmlNode* node, const char* name, const std::string& value);

// "a, b, c\n" (or event numbers), the empty trace being just the newline.
std::string traceText(const Trace& trace, bool eventNumbers);

// The two verdict texts of a mode: when solutions exist, and when none does.
struct VerdictTexts {
  const char* found;
  const char* none;
};

// Writes the solutions and the verdict to the place that the output file name selects.
void writeResults(const ResultList& results, const std::string& messageIfFound, const std::string& messageIfNone);

}  // namespace nurex
