// The run's options: an ordered map from key to a 32-bit integer, with every key present
// from the start, and the process-wide strings that sit beside it.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace nurex {

class OptionMap {
 public:
  // The defaults, in the order in which they are laid down.
  OptionMap();
  // Every key exists; asking for another is a programming error caught in tests.
  int32_t& operator[](const std::string& key);
  int32_t operator[](const std::string& key) const;
  bool has(const std::string& key) const { return values_.count(key) != 0; }
  const std::map<std::string, int32_t>& values() const { return values_; }

 private:
  std::map<std::string, int32_t> values_;
};

// The seven cost-coefficient slots, in the order of their keys.
enum CoefficientSlot { CoeffCsc, CoeffUsc, CoeffDel, CoeffTrig, CoeffSeq, CoeffConc, CoeffLock, CoefficientSlotCount };

struct CoefficientInfo {
  const char* name;          // as after "-c" on the command line
  const char* key;           // option key that the evaluated value fills
  const char* defaultText;   // expression before any -c option
};
extern const CoefficientInfo coefficientInfo[CoefficientSlotCount];

// Process-wide strings of one run.
struct RunStrings {
  std::string inputFileName;
  std::string outputFileName;  // empty if none
  std::string dataString;      // the -d argument, empty if none
  std::string coefficientText[CoefficientSlotCount];
  RunStrings();
};
extern RunStrings runStrings;

}  // namespace nurex
