// The legacy text format of merged processes, *.mp.
#include "model/checks.h"
#include "model/formats/format_common.h"
#include "model/formats/legacy_names.h"
#include "model/formats/readers.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

// Numbers, line ends and name lines of the text, with the line count for messages.
class MpScanner {
 public:
  explicit MpScanner(const std::string& text) : at_(text.data()), end_(text.data() + text.size()) {}
  unsigned long line() const { return line_; }

  bool number(uint32_t& out) {
    skipBlanks();
    if (at_ == end_ || !isDigit(*at_)) return false;
    uint64_t value = 0;
    while (at_ != end_ && isDigit(*at_)) {
      value = value * 10 + (*at_++ - '0');
      if (value > 0xFFFFFFFFu) return false;
    }
    out = static_cast<uint32_t>(value);
    return true;
  }
  bool endOfLine() {
    skipBlanks();
    return lineBreak();
  }
  // The rest of the line; the last line of the file may lack its line end.
  bool name(std::string& out, uint32_t maxLength) {
    if (at_ == end_) return false;
    const char* start = at_;
    while (at_ != end_ && *at_ != '\n' && *at_ != '\r') ++at_;
    if (static_cast<size_t>(at_ - start) > maxLength) return false;
    out.assign(start, at_);
    if (at_ != end_) lineBreak();
    return true;
  }

 private:
  static bool isDigit(char c) { return c >= '0' && c <= '9'; }
  void skipBlanks() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\t')) ++at_;
  }
  bool lineBreak() {
    if (at_ == end_) return false;
    if (*at_ == '\n') ++at_;
    else if (*at_ == '\r') {
      ++at_;
      if (at_ != end_ && *at_ == '\n') ++at_;
    } else return false;
    ++line_;
    return true;
  }

  const char* at_;
  const char* end_;
  unsigned long line_ = 1;
};

// Reads the lines of an .mp file into the merged process; false at the first fault, whose
// line the scanner holds. Nodes are made as their lines are read, so a count that the file
// cannot back with lines never reaches an allocation.
template <class Net>
class MpReader {
 public:
  MpReader(const std::string& text, MergedProcess<Net>& mp) : in_(text), mp_(mp) {}
  unsigned long line() const { return in_.line(); }

  bool read() {
    if (!in_.number(conditionCount_) || !in_.number(eventCount_) || !in_.number(placeCount_) ||
        !in_.number(transitionCount_) || !in_.endOfLine())
      return false;
    for (uint32_t i = 0; i < conditionCount_; ++i)
      if (!readCondition()) return false;
    for (uint32_t i = 0; i < eventCount_; ++i)
      if (!readEvent()) return false;
    return readNames();
  }

 private:
  bool readCondition() {
    uint32_t place, depth, tokens;
    if (!in_.number(place) || !in_.number(depth) || !in_.number(tokens)) return false;
    if (place < 1 || place > placeCount_ || depth < 1 || (tokens != 0 && depth != 1) || !in_.endOfLine()) return false;
    MpCondition* c = mp_.conditions.add(new MpCondition);
    c->occurrenceDepth = depth;
    c->tokens = tokens;
    placeOf_.push_back(place);
    return true;
  }

  bool readEvent() {
    uint32_t transition, cutOff, presetSize, postsetSize;
    if (!in_.number(transition) || !in_.number(cutOff) || !in_.number(presetSize) || !in_.number(postsetSize))
      return false;
    if (transition < 1 || transition > transitionCount_ || cutOff > 1 || presetSize < 1) return false;
    MpEvent* e = mp_.events.add(new MpEvent);
    e->isCutOff = cutOff == 1;
    transitionOf_.push_back(transition);
    for (uint64_t i = 0; i < uint64_t(presetSize) + postsetSize; ++i) {
      uint32_t number;
      if (!in_.number(number) || number >= mp_.conditions.size()) return false;
      MpCondition* c = mp_.conditions[number];
      if (i < presetSize) {
        e->preset.push_back(c);
        c->postset.push_back(e);
      } else {
        e->postset.push_back(c);
        c->preset.push_back(e);
      }
    }
    e->preset.sortByIndex();
    e->postset.sortByIndex();
    return in_.endOfLine();
  }

  bool readNames() {
    uint32_t maxNameLength;
    if (!in_.number(maxNameLength) || !in_.endOfLine()) return false;
    std::string name;
    for (uint32_t i = 0; i < placeCount_; ++i) {
      if (!in_.name(name, maxNameLength)) return false;
      mp_.places.add(new Place)->name = name;
    }
    for (uint32_t i = 0; i < transitionCount_; ++i) {
      if (!in_.name(name, maxNameLength)) return false;
      mp_.transitions.add(new Transition)->name = name;
    }
    for (MpCondition* c : mp_.conditions) c->place = mp_.places[placeOf_[c->index] - 1];
    for (MpEvent* e : mp_.events) e->transition = mp_.transitions[transitionOf_[e->index] - 1];
    return true;
  }

  MpScanner in_;
  MergedProcess<Net>& mp_;
  uint32_t conditionCount_ = 0, eventCount_ = 0, placeCount_ = 0, transitionCount_ = 0;
  std::vector<uint32_t> placeOf_, transitionOf_;  // file numbers until the names are read
};

template <class Net>
std::unique_ptr<MergedProcess<Net>> readMpFile(const std::string& fileName) {
  std::string text;
  if (!readWholeFile(fileName, text)) return nullptr;
  reportWarning(legacyFormatDeprecated("*.mp"));
  auto mp = std::make_unique<MergedProcess<Net>>();
  MpReader<Net> reader(text, *mp);
  if (!reader.read()) {
    reportError(syntaxErrorInFile(fileName, reader.line()));
    return nullptr;
  }
  buildOriginalNet(*mp, mp->conditions, mp->events);
  sortArcs(*mp);
  return mp;
}

}  // namespace

std::unique_ptr<PetriNetMergedProcess> readMergedProcessMp(const std::string& fileName) {
  auto mp = readMpFile<PetriNet>(fileName);
  if (!mp || !runLoadChecks(*mp)) return nullptr;
  return mp;
}

std::unique_ptr<StgMergedProcess> readStgMergedProcessMp(const std::string& fileName) {
  auto mp = readMpFile<Stg>(fileName);
  if (!mp || !assignSignalsFromNames(*mp) || !runLoadChecks(*mp)) return nullptr;
  return mp;
}

}  // namespace nurex
