// The legacy binary prefix format *.mci: readers for Petri net and STG prefixes, and the writer.
#include <algorithm>
#include <cstring>
#include <ostream>

#include "model/checks.h"
#include "model/formats/format_common.h"
#include "model/formats/legacy_names.h"
#include "model/formats/readers.h"
#include "model/formats/writers.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

constexpr uint32_t AllBits = 0xFFFFFFFFu;

std::string incorrectSyntax(const std::string& fileName) { return "incorrect syntax of " + fileName; }
std::string notMciFormat(const std::string& fileName) {
  return "\"" + fileName + "\" is not in the *.mci format (or not little-endian)";
}

// Little-endian words and NUL-terminated names from an in-memory file; every read is
// bounded by the end of the data, so a short file fails instead of reading past it.
class WordReader {
 public:
  explicit WordReader(const std::string& data) : at_(data.data()), end_(data.data() + data.size()) {}
  bool word(uint32_t& out) {
    if (end_ - at_ < 4) return false;
    const auto* b = reinterpret_cast<const unsigned char*>(at_);
    out = uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
    at_ += 4;
    return true;
  }
  bool name(std::string& out, uint32_t maxLength) {
    const void* nul = std::memchr(at_, 0, end_ - at_);
    if (!nul) return false;
    size_t length = static_cast<const char*>(nul) - at_;
    if (length > maxLength) return false;
    out.assign(at_, length);
    at_ += length + 1;
    return true;
  }
  size_t remaining() const { return end_ - at_; }

 private:
  const char* at_;
  const char* end_;
};

// Fills net, conditions and events from the words of an .mci file. Numbers that the file
// stores are checked against their ranges, since a damaged file must not reach memory.
class MciReader {
 public:
  MciReader(const std::string& data, PetriNet& net, NodeList<Condition>& conditions, NodeList<Event>& events)
      : in_(data), size_(data.size()), net_(net), conditions_(conditions), events_(events) {}

  // False at the first fault; `notMci` tells a failed size test from a syntax fault.
  bool read(bool& notMci) {
    uint32_t conditionCount, eventCount;
    if (!in_.word(conditionCount) || !in_.word(eventCount)) return false;
    if (size_ < 12ull * conditionCount + 4ull * eventCount + 30) {
      notMci = true;
      return false;
    }
    conditions_.reserve(conditionCount);
    events_.reserve(eventCount);
    for (uint32_t i = 0; i < conditionCount; ++i) conditions_.add(new Condition);
    for (uint32_t i = 0; i < eventCount; ++i) events_.add(new Event);
    return readEventTable() && readConditionTable() && readCutOffTable() && skipReservedTable() && readNames() &&
           resolveNodes();
  }

 private:
  // An event number, counted from 1.
  bool eventNumber(uint32_t number) const { return number >= 1 && number <= events_.size(); }

  bool readEventTable() {
    transitionOf_.resize(events_.size());
    for (uint32_t& number : transitionOf_)
      if (!in_.word(number)) return false;
    return true;
  }

  bool readConditionTable() {
    placeOf_.resize(conditions_.size());
    for (Condition* c : conditions_) {
      uint32_t producer, consumer;
      if (!in_.word(placeOf_[c->index]) || !in_.word(producer)) return false;
      if (producer != 0) {
        if (!eventNumber(producer)) return false;
        c->producer = events_[producer - 1];
        c->producer->postset.push_back(c);
      }
      for (;;) {
        if (!in_.word(consumer)) return false;
        if (consumer == 0) break;
        if (!eventNumber(consumer)) return false;
        c->postset.push_back(events_[consumer - 1]);
        events_[consumer - 1]->preset.push_back(c);
      }
      c->postset.sortByIndex();
    }
    return true;
  }

  bool readCutOffTable() {
    for (;;) {
      uint32_t event, correspondent;
      if (!in_.word(event)) return false;
      if (event == 0) return true;
      if (!eventNumber(event) || !in_.word(correspondent)) return false;
      CutOffLink& link = events_[event - 1]->correspondent;
      if (correspondent == 0) link.setInitialState();
      else if (correspondent == AllBits) link.setUnknown();
      else if (eventNumber(correspondent)) link.setEvent(events_[correspondent - 1]);
      else return false;
    }
  }

  // Lists of words, each ended by 0; an empty list ends the table. Its meaning is not used.
  bool skipReservedTable() {
    for (;;) {
      uint32_t w;
      if (!in_.word(w)) return false;
      if (w == 0) return true;
      do {
        if (!in_.word(w)) return false;
      } while (w != 0);
    }
  }

  bool readNames() {
    uint32_t placeCount, transitionCount, maxNameLength;
    if (!in_.word(placeCount) || !in_.word(transitionCount) || !in_.word(maxNameLength)) return false;
    // Every name takes at least its NUL, which bounds the counts by what is left of the file.
    if (uint64_t(placeCount) + transitionCount + 1 > in_.remaining()) return false;
    net_.places.reserve(placeCount);
    net_.transitions.reserve(transitionCount);
    std::string name;
    for (uint32_t i = 0; i < placeCount; ++i) {
      if (!in_.name(name, maxNameLength)) return false;
      net_.places.add(new Place)->name = name;
    }
    if (!in_.name(name, maxNameLength) || !name.empty()) return false;
    for (uint32_t i = 0; i < transitionCount; ++i) {
      if (!in_.name(name, maxNameLength)) return false;
      net_.transitions.add(new Transition)->name = name;
    }
    return true;
  }

  bool resolveNodes() {
    for (Condition* c : conditions_) {
      uint32_t number = placeOf_[c->index];
      if (number < 1 || number > net_.places.size()) return false;
      c->place = net_.places[number - 1];
    }
    for (Event* e : events_) {
      uint32_t number = transitionOf_[e->index];
      if (number < 1 || number > net_.transitions.size()) return false;
      e->transition = net_.transitions[number - 1];
    }
    buildOriginalNet(net_, conditions_, events_);
    return true;
  }

  WordReader in_;
  size_t size_;
  PetriNet& net_;
  NodeList<Condition>& conditions_;
  NodeList<Event>& events_;
  std::vector<uint32_t> placeOf_, transitionOf_;  // file numbers until the names are known
};

// Opening, the deprecation warning and the body; the caller finishes the net.
template <class Net>
std::unique_ptr<Prefix<Net>> readMciFile(const std::string& fileName) {
  std::string data;
  if (!readWholeFile(fileName, data)) return nullptr;
  reportWarning(legacyFormatDeprecated("*.mci"));
  auto prefix = std::make_unique<Prefix<Net>>();
  bool notMci = false;
  if (!MciReader(data, *prefix, prefix->conditions, prefix->events).read(notMci)) {
    reportError(notMci ? notMciFormat(fileName) : incorrectSyntax(fileName));
    return nullptr;
  }
  return prefix;
}

// Little-endian words into a buffer sized beforehand: a prefix has hundreds of thousands.
class WordBuffer {
 public:
  explicit WordBuffer(std::string& out, size_t words) : out_(out), at_(out.size()) { out.resize(at_ + 4 * words); }
  void put(uint32_t w) {
    unsigned char b[4] = {static_cast<unsigned char>(w), static_cast<unsigned char>(w >> 8),
                          static_cast<unsigned char>(w >> 16), static_cast<unsigned char>(w >> 24)};
    std::memcpy(&out_[at_], b, 4);
    at_ += 4;
  }

 private:
  std::string& out_;
  size_t at_;
};

// The words from the node counts to the end of the reserved table.
template <class Net>
size_t nodeWordCount(const Prefix<Net>& prefix) {
  size_t words = 2 + prefix.events.size() + 2;
  for (const Condition* c : prefix.conditions) words += 3 + c->postset.size();
  for (const Event* e : prefix.events) words += e->correspondent.isCutOff() ? 2 : 0;
  return words;
}

}  // namespace

std::unique_ptr<PetriNetPrefix> readPrefixMci(const std::string& fileName) {
  auto prefix = readMciFile<PetriNet>(fileName);
  if (!prefix) return nullptr;
  sortNodes(*prefix);
  sortArcs(*prefix);
  if (!runLoadChecks(*prefix)) return nullptr;
  return prefix;
}

std::unique_ptr<StgPrefix> readStgPrefixMci(const std::string& fileName) {
  auto prefix = readMciFile<Stg>(fileName);
  if (!prefix || !assignSignalsFromNames(*prefix)) return nullptr;
  if (!inferSignalValues(*prefix) || !runLoadChecks(*prefix)) return nullptr;
  return prefix;
}

template <class Net>
bool writePrefixMci(const Prefix<Net>& prefix, std::ostream& stream) {
  reportWarning(legacyFormatDeprecated("*.mci"));
  std::string out;
  WordBuffer nodes(out, nodeWordCount(prefix));
  nodes.put(prefix.conditions.size());
  nodes.put(prefix.events.size());
  for (const Event* e : prefix.events) nodes.put(e->transition->index + 1);
  for (const Condition* c : prefix.conditions) {
    nodes.put(c->place->index + 1);
    nodes.put(c->producer ? c->producer->index + 1 : 0);
    for (const Event* e : c->postset) nodes.put(e->index + 1);
    nodes.put(0);
  }
  for (const Event* e : prefix.events) {
    const CutOffLink& link = e->correspondent;
    if (!link.isCutOff()) continue;
    nodes.put(e->index + 1);
    nodes.put(link.isInitialState() ? 0 : link.isEvent() ? link.event()->index + 1 : AllBits);
  }
  nodes.put(0);  // end of the cut-off table
  nodes.put(0);  // the empty reserved table
  size_t longest = 0;
  for (const Place* p : prefix.places) longest = std::max(longest, p->name.size());
  for (const Transition* t : prefix.transitions) longest = std::max(longest, t->name.size());
  WordBuffer names(out, 3);
  names.put(prefix.places.size());
  names.put(prefix.transitions.size());
  names.put(static_cast<uint32_t>(longest));
  for (const Place* p : prefix.places) out.append(p->name.c_str(), p->name.size() + 1);
  out.push_back('\0');
  for (const Transition* t : prefix.transitions) out.append(t->name.c_str(), t->name.size() + 1);
  out.push_back('\0');
  stream.write(out.data(), static_cast<std::streamsize>(out.size()));
  stream.flush();
  if (!stream) {
    reportError(cannotWriteFile());
    return false;
  }
  return true;
}

template bool writePrefixMci<PetriNet>(const PetriNetPrefix&, std::ostream&);
template bool writePrefixMci<Stg>(const StgPrefix&, std::ostream&);

}  // namespace nurex
