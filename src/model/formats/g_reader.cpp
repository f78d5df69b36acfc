// Parsing of the .g text form: declarations, the graph of arcs and implicit places, the marking.
#include "model/formats/g_reader.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "model/formats/format_common.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }
bool isOneOf(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }
bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// The text after a '#' is a comment; tokens are separated by blanks.
void tokensOf(std::string_view line, std::vector<std::string_view>& tokens) {
  tokens.clear();
  size_t at = 0;
  while (at < line.size()) {
    while (at < line.size() && isSpace(line[at])) ++at;
    size_t start = at;
    while (at < line.size() && !isSpace(line[at])) ++at;
    if (at > start) tokens.push_back(line.substr(start, at - start));
  }
}

bool blank(std::string_view text) {
  return std::all_of(text.begin(), text.end(), isSpace);
}

// Names are looked up as views into the text, without making a string for each look-up.
struct NameHash {
  using is_transparent = void;
  size_t operator()(std::string_view name) const { return std::hash<std::string_view>{}(name); }
};
template <class T>
using NameMap = std::unordered_map<std::string, T, NameHash, std::equal_to<>>;

// The arcs read so far, as keys that are never all ones: open addressing, linear probing.
class ArcSet {
 public:
  // Whether the key was new.
  bool insert(uint64_t key) {
    if (2 * (count_ + 1) > slots_.size()) grow();
    for (size_t i = slotOf(key);; i = (i + 1) & (slots_.size() - 1)) {
      if (slots_[i] == key) return false;
      if (slots_[i] == Empty) {
        slots_[i] = key;
        ++count_;
        return true;
      }
    }
  }

 private:
  static constexpr uint64_t Empty = ~uint64_t(0);
  size_t slotOf(uint64_t key) const { return (key * 0x9E3779B97F4A7C15ull >> 20) & (slots_.size() - 1); }
  void grow() {
    std::vector<uint64_t> old(std::max<size_t>(64, 2 * slots_.size()), Empty);
    old.swap(slots_);
    count_ = 0;
    for (uint64_t key : old)
      if (key != Empty) insert(key);
  }
  std::vector<uint64_t> slots_;
  size_t count_ = 0;
};

const char* const SignalKeywords[] = {".inputs", ".outputs", ".internal", ".dummy"};

class GParser {
 public:
  explicit GParser(const std::string& fileName) : fileName_(fileName), stg_(std::make_unique<Stg>()) {}

  std::unique_ptr<Stg> parse(std::string_view text, bool* hasSignals) {
    // Declarations hold for the whole file: a signal declared below a line that names it
    // must not have made that name a place.
    declaring_ = true;
    if (!forEachLine(text)) return nullptr;
    declaring_ = false;
    line_ = 0;
    ended_ = false;
    if (!forEachLine(text)) return nullptr;
    if (markingOpen_) {
      fail("the marking is not closed by \"}\"");
      return nullptr;
    }
    if (!inGraph_ || !graphLines_) {
      reportError(inGraph_ ? "the .graph section of " + fileName_ + " is empty"
                           : fileName_ + " has no .graph section");
      return nullptr;
    }
    sortSignals(*stg_);
    sortArcs(*stg_);
    if (hasSignals) *hasSignals = stg_->dummiesBegin > 0;
    return std::move(stg_);
  }

 private:
  bool forEachLine(std::string_view text) {
    size_t at = 0;
    while (at <= text.size() && !ended_) {
      size_t end = text.find('\n', at);
      if (end == std::string_view::npos) end = text.size();
      ++line_;
      std::string_view line = text.substr(at, end - at);
      line = line.substr(0, line.find('#'));
      if (!(declaring_ ? declareLine(line) : parseLine(line))) return false;
      at = end + 1;
    }
    return true;
  }

  // The first pass: signal declarations only (a marking spread over lines holds none).
  bool declareLine(std::string_view line) {
    tokensOf(line, tokens_);
    if (tokens_.empty()) return true;
    if (tokens_[0] == ".end") ended_ = true;
    for (uint8_t kind = SignalInput; kind <= SignalDummy; ++kind)
      if (tokens_[0] == SignalKeywords[kind]) {
        for (size_t i = 1; i < tokens_.size(); ++i)
          if (!declareSignal(tokens_[i], kind)) return false;
      }
    return true;
  }

  bool fail(const std::string& what) {
    reportError(syntaxErrorInFile(fileName_, line_) + ": " + what);
    return false;
  }

  bool parseLine(std::string_view line) {
    if (markingOpen_) return parseMarking(line);
    tokensOf(line, tokens_);
    const std::vector<std::string_view>& tokens = tokens_;
    if (tokens.empty()) return true;
    if (tokens[0][0] == '.') return parseKeyword(tokens, line);
    if (!inGraph_) return fail("unexpected \"" + std::string(tokens[0]) + "\" before .graph");
    ++graphLines_;
    return parseArcs(tokens);
  }

  bool parseKeyword(const std::vector<std::string_view>& tokens, std::string_view line) {
    std::string_view keyword = tokens[0];
    for (uint8_t kind = SignalInput; kind <= SignalDummy; ++kind)
      if (keyword == SignalKeywords[kind]) return true;  // taken in the first pass
    if (keyword == ".model" || keyword == ".name") {
      if (tokens.size() > 1) stg_->name = tokens[1];
    } else if (keyword == ".graph") {
      inGraph_ = true;
    } else if (keyword.substr(0, 8) == ".marking") {
      markingOpen_ = true;
      expectBrace_ = true;
      return parseMarking(line.substr(line.find(".marking") + 8));
    } else if (keyword == ".end") {
      ended_ = true;
    } else if (keyword != ".capacity" && keyword != ".initial") {
      return fail("unknown keyword " + std::string(keyword));
    }
    return true;
  }

  bool declareSignal(std::string_view name, uint8_t kind) {
    std::string key(name);
    if (signals_.count(key)) {
      reportError(signalDeclaredTwice(key, fileName_, line_));
      return false;
    }
    Signal* s = stg_->signals.add(new Signal);
    s->name = key;
    s->kind = kind;
    signals_.emplace(key, s);
    return true;
  }

  // A declared dummy, or a declared signal with "+", "-" or "~"; either with "/number".
  Transition* transitionNamed(std::string_view token) {
    auto known = transitions_.find(token);
    if (known != transitions_.end()) return known->second;
    std::string_view base = token;
    size_t slash = base.rfind('/');
    if (slash != std::string_view::npos) {
      if (!isDigits(base.substr(slash + 1))) return nullptr;
      base = base.substr(0, slash);
    }
    Signal* signal = findSignal(base);
    uint32_t sign = SignNone;
    if (!signal || signal->kind != SignalDummy) {
      if (base.empty() || !isOneOf(base.back(), "+-~")) return nullptr;
      signal = findSignal(base.substr(0, base.size() - 1));
      if (!signal || signal->kind == SignalDummy) return nullptr;
      sign = base.back() == '+' ? SignPlus : base.back() == '-' ? SignMinus : SignNone;
    }
    Transition* t = stg_->transitions.add(new Transition);
    t->name = token;
    t->signal = signal;
    t->sign = sign;
    transitions_.emplace(t->name, t);
    return t;
  }

  Signal* findSignal(std::string_view name) const {
    auto found = signals_.find(name);
    return found == signals_.end() ? nullptr : found->second;
  }

  Place* placeNamed(std::string_view name) {
    auto found = places_.find(name);
    if (found != places_.end()) return found->second;
    Place* p = stg_->places.add(new Place);
    p->name = name;
    places_.emplace(p->name, p);
    return p;
  }

  // A name that no place may have: a declared signal without a sign, or a dummy with one.
  // Taken as places, they would surface later as an arc between two places, or not at all.
  bool checkPlaceName(std::string_view token) {
    std::string_view base = token.substr(0, token.rfind('/'));
    if (const Signal* s = findSignal(base); s && s->kind != SignalDummy)
      return fail("the transition " + std::string(token) + " of signal " + s->name + " needs a sign (+, - or ~)");
    if (!base.empty() && isOneOf(base.back(), "+-~"))
      if (const Signal* s = findSignal(base.substr(0, base.size() - 1)); s && s->kind == SignalDummy)
        return fail("the dummy " + s->name + " is written with a sign in " + std::string(token));
    return true;
  }

  // Why a place name may have been meant as a transition, or nothing.
  std::string undeclaredHint(const Place* p) const {
    std::string_view base = std::string_view(p->name).substr(0, p->name.rfind('/'));
    if (!base.empty() && isOneOf(base.back(), "+-~"))
      return "; " + std::string(base.substr(0, base.size() - 1)) + " is not a declared signal";
    return "";
  }

  // Each node once: transitions, else places, in order of first appearance.
  bool node(std::string_view token, Transition*& t, Place*& p) {
    t = transitionNamed(token);
    p = nullptr;
    if (t) return true;
    if (!places_.count(token) && !checkPlaceName(token)) return false;
    p = placeNamed(token);
    return true;
  }

  bool parseArcs(const std::vector<std::string_view>& tokens) {
    Transition* fromT;
    Place* fromP;
    if (!node(tokens[0], fromT, fromP)) return false;
    for (size_t i = 1; i < tokens.size(); ++i) {
      Transition* toT;
      Place* toP;
      if (!node(tokens[i], toT, toP)) return false;
      if (fromP && toP) {
        std::string hint = undeclaredHint(fromP) + undeclaredHint(toP);
        if (hint.empty()) hint = " (transitions must be declared: with .dummy, or as signals written with +, - or ~)";
        return fail("arc between two places " + fromP->name + " and " + toP->name + hint);
      }
      if (fromT && toT) {
        Place* implicit = newImplicitPlace(fromT, toT);
        link(fromT, implicit);
        link(implicit, toT);
      } else if (fromT) link(fromT, toP);
      else link(fromP, toT);
    }
    return true;
  }

  // Every arc between two transitions has a place of its own, so that parallel places, which
  // are written as repeated arcs, come back. The first is named "<t,u>".
  Place* newImplicitPlace(const Transition* t, const Transition* u) {
    std::string name = "<" + t->name + "," + u->name + ">";
    std::vector<Place*>& parallel = implicit_[name];
    std::string unique = name;
    for (size_t k = parallel.size() + 1; places_.count(unique); ++k) unique = name + "/" + std::to_string(k);
    parallel.push_back(placeNamed(unique));
    return parallel.back();
  }

  // A marked "<t,u>" names the next of the places between t and u, or any other place.
  Place* markedPlace(const std::string& name) {
    auto parallel = implicit_.find(name);
    if (parallel != implicit_.end()) {
      size_t k = markedImplicit_[name]++;
      return parallel->second[std::min(k, parallel->second.size() - 1)];
    }
    auto found = places_.find(name);
    return found == places_.end() ? nullptr : found->second;
  }

  // Arcs between a place and a transition are made once; a repeated one adds nothing.
  void link(Transition* t, Place* p) {
    if (arcs_.insert(key(p, t, false))) addTransitionArc(t, p);
  }
  void link(Place* p, Transition* t) {
    if (arcs_.insert(key(p, t, true))) addPlaceArc(p, t);
  }
  static uint64_t key(const Place* p, const Transition* t, bool placeToTransition) {
    return uint64_t(p->index) << 33 | uint64_t(t->index) << 1 | (placeToTransition ? 1 : 0);
  }

  // The marking may continue over several lines until its "}".
  bool parseMarking(std::string_view text) {
    size_t at = 0;
    auto skip = [&] {
      while (at < text.size() && isSpace(text[at])) ++at;
    };
    if (expectBrace_) {
      skip();
      if (at == text.size()) return true;
      if (text[at] != '{') return fail("\"{\" expected after .marking");
      expectBrace_ = false;
      ++at;
    }
    for (;;) {
      skip();
      if (at == text.size()) return true;
      if (text[at] == '}') {
        markingOpen_ = false;
        return blank(text.substr(at + 1)) || fail("unexpected text after the marking");
      }
      std::string name;
      if (text[at] == '<') {
        size_t close = text.find('>', at);
        if (close == std::string_view::npos) return fail("\">\" expected in the marking");
        for (char c : text.substr(at, close + 1 - at))
          if (!isSpace(c)) name += c;
        at = close + 1;
      } else {
        size_t start = at;
        while (at < text.size() && !isSpace(text[at]) && !isOneOf(text[at], "{}<=")) ++at;
        name = text.substr(start, at - start);
        if (name.empty()) return fail("unexpected \"" + std::string(1, text[at]) + "\" in the marking");
      }
      uint32_t count = 1;
      if (at < text.size() && text[at] == '=' && !readCount(text, ++at, count)) return false;
      Place* marked = markedPlace(name);
      if (!marked && name[0] != '<')
        return fail("marked place " + name + " is not in the graph (a place without arcs needs a line of its own there)");
      if (!marked) return fail("marked place " + name + " does not exist");
      // A second mention would add to the count, past its range at worst.
      if (marked->tokens != 0) return fail("place " + name + " is marked twice");
      marked->tokens = count;
    }
  }

  bool readCount(std::string_view text, size_t& at, uint32_t& count) {
    size_t start = at;
    uint64_t value = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9' && value <= 0xFFFFFFFFu)
      value = value * 10 + (text[at++] - '0');
    if (at == start || value > 0xFFFFFFFFu) return fail("token count expected in the marking");
    count = static_cast<uint32_t>(value);
    return true;
  }

  const std::string& fileName_;
  std::unique_ptr<Stg> stg_;
  unsigned long line_ = 0;
  bool inGraph_ = false, markingOpen_ = false, expectBrace_ = false, ended_ = false;
  bool declaring_ = false;   // the first pass, over the declarations
  size_t graphLines_ = 0;    // lines of nodes and arcs after .graph
  NameMap<Signal*> signals_;
  NameMap<Transition*> transitions_;
  NameMap<Place*> places_;
  NameMap<std::vector<Place*>> implicit_;  // by "<t,u>", in order of arcs
  NameMap<size_t> markedImplicit_;         // mentions in the marking
  ArcSet arcs_;
  std::vector<std::string_view> tokens_;  // of the current line
};

}  // namespace

std::unique_ptr<Stg> parseStgText(std::string_view text, const std::string& fileName, bool* hasSignals) {
  return GParser(fileName).parse(text, hasSignals);
}

std::unique_ptr<Stg> readStgText(const std::string& fileName, bool* hasSignals) {
  std::string text;
  if (!readWholeFile(fileName, text)) return nullptr;
  return parseStgText(text, fileName, hasSignals);
}

std::unique_ptr<PetriNet> withoutSignals(std::unique_ptr<Stg> stg) {
  auto net = std::make_unique<PetriNet>();
  net->name = std::move(stg->name);
  net->places = std::move(stg->places);
  net->transitions = std::move(stg->transitions);
  for (Transition* t : net->transitions) {
    t->signal = nullptr;
    t->sign = SignNone;
  }
  return net;
}

}  // namespace nurex
