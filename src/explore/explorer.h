// The explorer behind exploreNet: the layout of a state's bits, firing, the breadth-first
// loop with stubborn sets, signal values and the questions over the stored states.
// Internal to src/explore.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "explore/explore.h"
#include "explore/state_table.h"
#include "reach/reach_scope.h"

namespace nurex {

// The -d text of -F (`stgStates` false) or -Fs, read and brought to normal form over a copy
// of the net with the given initial signal values. Null, with `why` set, when the engine
// cannot evaluate it on states (levels, prefix nodes, failures); reading errors go to the
// Reporter.
ReachExprPtr normaliseExplorePredicate(const Stg& net, bool hasSignals, const std::vector<uint8_t>& values,
                                       const std::string& property, bool stgStates, std::string& why);

class Explorer {
 public:
  Explorer(const Stg& net, bool hasSignals, const ExploreParams& params);
  ExploreResult run();

 private:
  struct Move {
    std::vector<uint32_t> pre, post;  // place bits
    std::vector<uint8_t> reads;       // per input place: the transition puts the token back
    std::vector<uint32_t> clears;     // pending bits of dummies whose postset this consumes from
    uint32_t parity = NoIndex;        // parity bit of its signal, NoIndex for dummies
    uint32_t pending = NoIndex;       // pending bit of a dummy whose occurrences are tracked
    uint32_t signal = NoIndex;        // signal index, NoIndex for dummies
    uint32_t sign = SignNone;
  };

  static bool bit(const uint64_t* s, uint32_t k) { return (s[k >> 6] >> (k & 63)) & 1; }
  static void setBit(uint64_t* s, uint32_t k) { s[k >> 6] |= uint64_t{1} << (k & 63); }
  static void clearBit(uint64_t* s, uint32_t k) { s[k >> 6] &= ~(uint64_t{1} << (k & 63)); }

  bool decline(const std::string& why);
  const char* structuralObstacle() const;
  bool enabled(const Move& m, const uint64_t* s) const;
  // Fires into `out`; false if a place would hold two tokens.
  bool fire(const Move& m, const uint64_t* s, uint64_t* out) const;
  void enabledMoves(const uint64_t* s, std::vector<uint32_t>& out) const;
  // The enabled transitions of a deadlock-preserving stubborn set (Valmari).
  void stubbornMoves(const uint64_t* s, std::vector<uint32_t>& out);
  // False when the set would hold `bound` enabled transitions or more.
  bool closeStubborn(const uint64_t* s, uint32_t start, size_t bound, std::vector<uint32_t>& set);
  // Takes the initial value that firing m from s implies; false on a contradiction.
  void noteFired(uint32_t t);
  void noteEnabledConsumers(const uint64_t* s);
  bool learnValue(const Move& m, const uint64_t* s);
  bool explore();
  bool nothingToWarn();
  bool dummyCycleReachable();
  bool earlyStops() const { return !hasSignals_; }
  bool readPredicate();

  // Questions over the stored states (state_questions.cpp).
  bool counted(uint32_t i) const;
  bool signalValue(const uint64_t* s, uint32_t signal) const { return bit(s, parityBase_ + signal) ^ (value_[signal] == 1); }
  // Per transition: enabled in s, or with `viaDummies` in a marking that dummies reach from it.
  std::vector<uint8_t> excited(const uint64_t* s, bool viaDummies) const;
  std::vector<uint8_t> excitedSignals(const uint64_t* s) const;
  bool holds(const ReachExpr& node, const uint64_t* s, std::vector<uint8_t>& excitedCache, bool& cached);
  bool satisfies(uint32_t i);
  void answerConflicts();
  void answerNormalcy();
  void found(std::initializer_list<uint32_t> states);

  const Stg& net_;
  bool hasSignals_;
  ExploreParams params_;
  ExploreResult result_;
  std::vector<Move> moves_;
  std::vector<std::vector<uint32_t>> consumers_;  // per place: transitions
  // Per place: consumers that take its token, consumers that put it back, and producers
  // that do not need it (the only ones that can mark it when it is empty).
  std::vector<std::vector<uint32_t>> takers_, readers_, markers_;
  std::vector<uint32_t> all_, set_;  // scratch of stubbornMoves
  uint32_t places_ = 0, parityBase_ = 0, pendingBase_ = 0, bits_ = 0;
  bool trackPending_ = false;
  std::unique_ptr<StateTable> table_;
  std::vector<uint8_t> value_;   // per signal: initial value, 2 while unknown
  std::vector<uint8_t> fired_;   // per signal: some transition of it fired
  std::vector<uint8_t> firedMove_;  // per transition: fired somewhere
  std::vector<uint8_t> consumed_;   // per place: its initial token has been seen consumed
  uint32_t unconsumed_ = 0;         // initially marked places not yet consumed
  std::vector<uint32_t> stamp_;  // per transition: in the stubborn set under construction
  uint32_t generation_ = 0;
  ReachExprPtr predicate_;
  ReachScope<bool> lets_;  // `let` bindings in scope
};

}  // namespace nurex
