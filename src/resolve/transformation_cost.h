// The solution of the transforming modes: a set of insertions of one new signal, its
// measured terms, and their weighted sum.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/results.h"
#include "platform/options.h"
#include "resolve/insertion.h"
#include "resolve/reduction.h"

namespace nurex {

constexpr uint64_t UnknownMeasure = ~uint64_t{0};

class TransformationCost : public Solution {
 public:
  explicit TransformationCost(const OptionMap& options);

  uint64_t cost() const override;
  void print(FILE* stream, ResultForm form) const override;
  XmlNode* toXml(XmlDocument& document) const override;
  bool isEmpty() const { return transformation.empty() && !reduction; }
  virtual std::string costString() const;
  std::string transformationText() const;

  uint32_t coeffDelay, coeffLogic, coeffSeq, coeffConc, coeffLock;
  uint64_t delay = UnknownMeasure, logic = UnknownMeasure, unlock = UnknownMeasure;
  std::vector<Insertion> transformation;
  std::optional<ConcurrencyReduction> reduction;  // instead of insertions
  // The texts as the net stood when the solution was found (applying it changes presets).
  void freezeTexts();

 protected:
  uint64_t sequential() const;
  uint64_t parallel() const { return reduction ? 0 : transformation.size() - sequential(); }
  // The terms after the core counts, or all ones if one of them is unknown.
  uint64_t baseCost() const;
  std::vector<std::string> texts_;
  std::string baseString() const;
};

// -R adds the conflicts that the transformation leaves.
class ResolutionSolution : public TransformationCost {
 public:
  explicit ResolutionSolution(const OptionMap& options);
  uint64_t cost() const override;
  std::string costString() const override;

  uint64_t cscCores = UnknownMeasure, uscCores = UnknownMeasure;
  std::vector<uint32_t> signs;  // per insertion: 0 rising, 1 falling
  std::vector<std::string> lockedSignals;  // the signals the new one alternates with
  uint32_t coeffCsc, coeffUsc;
};

}  // namespace nurex
