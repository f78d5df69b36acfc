// Cost arithmetic and the text and XML forms of a transformation.
#include "resolve/transformation_cost.h"

#include <rapidxml/rapidxml.hpp>

#include "platform/reporter.h"

namespace nurex {

namespace {

std::string term(uint32_t coefficient, uint64_t value, const char* tag) {
  return std::to_string(coefficient) + "*" + (value == UnknownMeasure ? "?" : std::to_string(value)) + tag;
}

// Unsigned 64-bit arithmetic throughout; an unknown value makes the whole sum unknown.
uint64_t weighted(uint64_t total, uint32_t coefficient, uint64_t value) {
  if (total == UnknownMeasure || value == UnknownMeasure) return UnknownMeasure;
  return total + uint64_t{coefficient} * value;
}

}  // namespace

TransformationCost::TransformationCost(const OptionMap& options)
    : coeffDelay(options["coeff_delay"]),
      coeffLogic(options["coeff_logic"]),
      coeffSeq(options["coeff_seq_insertions"]),
      coeffConc(options["coeff_conc_insertions"]),
      coeffLock(options["coeff_non_locked_signals"]) {}

uint64_t TransformationCost::sequential() const {
  if (reduction) return reduction->sources.size();
  uint64_t n = 0;
  for (const Insertion& i : transformation) n += isSequential(i);
  return n;
}

uint64_t TransformationCost::baseCost() const {
  uint64_t total = weighted(0, coeffDelay, delay);
  total = weighted(total, coeffLogic, logic);
  total = weighted(total, coeffSeq, sequential());
  total = weighted(total, coeffConc, parallel());
  return weighted(total, coeffLock, unlock);
}

uint64_t TransformationCost::cost() const { return baseCost(); }

std::string TransformationCost::baseString() const {
  return term(coeffDelay, delay, "[delay] + ") + term(coeffLogic, logic, "[log_compl] + ") +
         term(coeffSeq, sequential(), "[seq] + ") + term(coeffConc, parallel(), "[par] + ") +
         term(coeffLock, unlock, "[unlck]");
}

std::string TransformationCost::costString() const { return baseString(); }

void TransformationCost::freezeTexts() {
  texts_.clear();
  if (reduction) texts_.push_back(reductionText(*reduction));
  for (const Insertion& i : transformation) texts_.push_back(insertionText(i));
}

std::string TransformationCost::transformationText() const {
  if (reduction) return texts_.empty() ? reductionText(*reduction) : texts_[0];
  std::string text;
  for (size_t i = 0; i < transformation.size(); ++i) {
    if (i) text += ", ";
    if (verbosity >= 8) text += std::to_string(i) + ": ";
    text += i < texts_.size() ? texts_[i] : insertionText(transformation[i]);
  }
  return text;
}

void TransformationCost::print(FILE* stream, ResultForm) const {
  uint64_t total = cost();
  printTo(stream, "%s\ncost: %s = %s\n", transformationText().c_str(), costString().c_str(),
          total == UnknownMeasure ? "?" : std::to_string(total).c_str());
}

XmlNode* TransformationCost::toXml(XmlDocument& doc) const {
  XmlNode* solution = xmlElement(doc, "solution");
  xmlAttribute(doc, solution, "cost", std::to_string(cost()));
  xmlAttribute(doc, solution, "message", "STG transformation");
  xmlAttribute(doc, solution, "type", reduction ? "concurrency_reduction" : "signal_insertion");
  if (reduction) {
    XmlNode* red = xmlElement(doc, "red");
    red->append_node(xmlElement(doc, "text", transformationText()));
    solution->append_node(red);
  }
  for (size_t k = 0; k < transformation.size(); ++k) {
    XmlNode* ins = xmlElement(doc, "ins");
    ins->append_node(xmlElement(doc, "text", k < texts_.size() ? texts_[k] : insertionText(transformation[k])));
    solution->append_node(ins);
  }
  return solution;
}

ResolutionSolution::ResolutionSolution(const OptionMap& options)
    : TransformationCost(options), coeffCsc(options["coeff_CSC_cores"]), coeffUsc(options["coeff_USC_cores"]) {}

uint64_t ResolutionSolution::cost() const {
  uint64_t total = weighted(0, coeffCsc, cscCores);
  total = weighted(total, coeffUsc, uscCores);
  uint64_t rest = baseCost();
  return total == UnknownMeasure || rest == UnknownMeasure ? UnknownMeasure : total + rest;
}

std::string ResolutionSolution::costString() const {
  return term(coeffCsc, cscCores, "[csc] + ") + term(coeffUsc, uscCores, "[usc] + ") + baseString();
}

}  // namespace nurex
