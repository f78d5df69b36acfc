// Writing nets, prefixes and merged processes as PNML documents with the system's extensions.
#include <charconv>
#include <string_view>
#include <vector>

#include "model/formats/writers.h"
#include "model/formats/xml_document.h"

namespace nurex {

namespace {

constexpr const char* PnmlNamespace = "http://www.pnml.org/version-2009/grammar/pnml";

// A decimal, or an id made of a kind letter and an index, without a heap string.
class Token {
 public:
  explicit Token(uint32_t value) : size_(static_cast<size_t>(std::to_chars(text_, text_ + 10, value).ptr - text_)) {}
  Token(char kind, uint32_t index) : size_(1 + static_cast<size_t>(std::to_chars(text_ + 1, text_ + 11, index).ptr - text_ - 1)) {
    text_[0] = kind;
  }
  operator std::string_view() const { return {text_, size_}; }

 private:
  char text_[11];
  size_t size_;
};

// Prints the document while it is walked, laid out as the documents have always been: a tab
// per level, a line per element, "<x/>" for one without content, and entities for the
// characters <, >, &, ' and " (one kind of quote stays literal inside the other in attributes).
class PnmlPrinter {
 public:
  explicit PnmlPrinter(std::streambuf& out) : out_(out) { text_.reserve(2 * Chunk); }

  void open(const char* name) {
    startLine();
    text_.append(1, '<').append(name);
    openNames_.push_back(name);
    tagOpen_ = true;
  }
  void attribute(const char* name, std::string_view value) {
    bool hasDoubleQuote = value.find('"') != std::string_view::npos;
    char quote = hasDoubleQuote ? '\'' : '"';
    text_.append(1, ' ').append(name).append("=").append(1, quote);
    escape(value, quote == '"' ? '\'' : '"');
    text_.append(1, quote);
  }
  void close() {
    const char* name = openNames_.back();
    openNames_.pop_back();
    if (tagOpen_) text_.append("/>");
    else text_.append(openNames_.size(), '\t').append("</").append(name).append(">");
    endLine();
  }
  // An element whose content is the value alone.
  void leaf(const char* name, std::string_view value) {
    startLine();
    text_.append(1, '<').append(name);
    if (value.empty()) {
      text_.append("/>");
    } else {
      text_.append(1, '>');
      escape(value, 0);
      text_.append("</").append(name).append(">");
    }
    endLine();
  }
  // <name><text>value</text></name>
  void textElement(const char* name, std::string_view value) {
    open(name);
    leaf("text", value);
    close();
  }
  // The document ends with an empty line; whether every byte was taken.
  bool finish() {
    text_.append(1, '\n');
    flush();
    return !failed_;
  }

 private:
  static constexpr size_t Chunk = 1 << 16;

  void startLine() {
    if (tagOpen_) text_.append(">\n");
    tagOpen_ = false;
    text_.append(openNames_.size(), '\t');
  }
  void endLine() {
    text_.append(1, '\n');
    tagOpen_ = false;
    if (text_.size() >= Chunk) flush();
  }
  void flush() {
    auto size = static_cast<std::streamsize>(text_.size());
    if (!failed_ && out_.sputn(text_.data(), size) != size) failed_ = true;
    text_.clear();
  }
  // `literal` is the one character of the five that stays as it is (0 for none).
  void escape(std::string_view value, char literal) {
    size_t plain = 0;
    for (size_t i = 0; i < value.size(); ++i) {
      const char* entity = value[i] == literal ? nullptr : entityOf(value[i]);
      if (!entity) continue;
      text_.append(value.data() + plain, i - plain).append(entity);
      plain = i + 1;
    }
    text_.append(value.data() + plain, value.size() - plain);
  }
  static const char* entityOf(char c) {
    switch (c) {
      case '<': return "&lt;";
      case '>': return "&gt;";
      case '\'': return "&apos;";
      case '"': return "&quot;";
      case '&': return "&amp;";
      default: return nullptr;
    }
  }

  std::streambuf& out_;
  std::string text_;
  std::vector<const char*> openNames_;
  bool tagOpen_ = false;  // the last start tag still lacks its '>' or "/>"
  bool failed_ = false;
};

// Names end at their first NUL, as they always have in these documents.
std::string_view nameOf(const std::string& name) { return name.c_str(); }

const char* signalType(uint8_t kind) {
  static const char* const names[] = {"input", "output", "internal", "dummy"};
  return names[kind < 4 ? kind : 3];
}
const char* valueText(uint8_t value) { return value == 0 ? "0" : value == 1 ? "1" : "?"; }
const char* signText(uint32_t sign) { return sign == SignPlus ? "+" : sign == SignMinus ? "-" : "~"; }

void writeArc(PnmlPrinter& p, std::string_view source, std::string_view target) {
  p.open("arc");
  p.attribute("source", source);
  p.attribute("target", target);
  p.close();
}

template <class Net>
void writeNetPage(PnmlPrinter& p, const Net& net) {
  p.open("page");
  if constexpr (Net::isStg)
    for (const Signal* s : net.signals) {
      p.open("signal");
      p.attribute("id", Token('s', s->index));
      p.attribute("type", signalType(s->kind));
      p.attribute("initialValue", valueText(s->initialValue));
      p.textElement("name", nameOf(s->name));
      p.close();
    }
  for (const Place* place : net.places) {
    p.open("place");
    p.attribute("id", Token('p', place->index));
    p.textElement("name", nameOf(place->name));
    if (place->tokens > 0) p.textElement("initialMarking", Token(place->tokens));
    p.close();
  }
  for (const Transition* t : net.transitions) {
    p.open("transition");
    p.attribute("id", Token('t', t->index));
    p.textElement("name", nameOf(t->name));
    if constexpr (Net::isStg)
      if (t->signal) {
        p.open("signal");
        p.attribute("ref", Token('s', t->signal->index));
        p.attribute("sign", signText(t->sign));
        p.leaf("text", nameOf(t->signal->name));
        p.close();
      }
    p.close();
  }
  for (const Transition* t : net.transitions)
    for (const Place* place : t->preset) writeArc(p, Token('p', place->index), Token('t', t->index));
  for (const Transition* t : net.transitions)
    for (const Place* place : t->postset) writeArc(p, Token('t', t->index), Token('p', place->index));
  p.close();
}

template <class Net>
void writeNet(PnmlPrinter& p, const Net& net, std::string_view name) {
  p.open("net");
  p.attribute("type", Net::isStg ? "STG" : "low_level_net");
  p.textElement("name", name);
  writeNetPage(p, net);
  p.close();
}

void openPnmlRoot(PnmlPrinter& p) {
  p.open("pnml");
  p.attribute("xmlns", PnmlNamespace);
}

// What each kind of unit adds to its conditions and events.
void writeDetails(PnmlPrinter&, const Condition*) {}
void writeDetails(PnmlPrinter& p, const MpCondition* c) {
  p.textElement("occurrence_depth", Token(c->occurrenceDepth));
  p.textElement("initialMarking", Token(c->tokens));
}

void writeDetails(PnmlPrinter& p, const Event* e) {
  const CutOffLink& link = e->correspondent;
  if (!link.isCutOff()) return;
  p.open("cut-off");
  p.leaf("text", "cut-off");
  if (!link.isUnknown()) {
    p.open("correspondent");
    for (const Event* other : link.correspondents()) p.leaf("ref", Token('e', other->index));
    p.close();
  }
  p.close();
}
void writeDetails(PnmlPrinter& p, const MpEvent* e) {
  if (e->isCutOff) p.textElement("cut-off", "cut-off");
}

// A condition ("c") or event ("e"): its generated id, the same as its name, the node of the
// original net ("p" or "t") that it is an instance of, and its details.
template <class Node>
void writePrefixNode(PnmlPrinter& p, char kind, char originalKind, const Node* node, const auto* original) {
  p.open(kind == 'c' ? "place" : "transition");
  Token name(kind, node->index);
  p.attribute("id", name);
  p.textElement("name", name);
  p.open("originalNode");
  p.attribute("ref", Token(originalKind, original->index));
  p.leaf("text", nameOf(original->name));
  p.close();
  writeDetails(p, node);
  p.close();
}

template <class Unit>
void writeUnitPage(PnmlPrinter& p, const Unit& unit) {
  p.open("page");
  for (const auto* c : unit.conditions) writePrefixNode(p, 'c', 'p', c, c->place);
  for (const auto* e : unit.events) writePrefixNode(p, 'e', 't', e, e->transition);
  // Conditions beyond a cut-off that are in no list have no id, and no arc.
  for (const auto* e : unit.events)
    for (const auto* c : e->preset) writeArc(p, Token('c', c->index), Token('e', e->index));
  for (const auto* e : unit.events)
    for (const auto* c : e->postset)
      if (c->index != NoIndex) writeArc(p, Token('e', e->index), Token('c', c->index));
  p.close();
}

template <class Unit>
const char* unitType() {
  if constexpr (Unit::isMergedProcess) return Unit::isStg ? "merged_process:STG" : "merged_process:low_level_net";
  else return Unit::isStg ? "branching_process:STG" : "branching_process:low_level_net";
}

}  // namespace

template <class Unit>
bool writeUnitPnml(const Unit& unit, const std::string& fileName) {
  return writeXmlFile(fileName, [&](std::streambuf& out) {
    PnmlPrinter p(out);
    openPnmlRoot(p);
    p.open("net");
    p.attribute("type", unitType<Unit>());
    p.open("original_net");
    const typename Unit::NetType& original = unit;
    writeNet(p, original, "origninal " + std::string(nameOf(unit.name)));
    p.close();
    p.textElement("name", nameOf(unit.name));
    writeUnitPage(p, unit);
    p.close();
    p.close();
    return p.finish();
  });
}

template <class Net>
bool writeNetPnml(const Net& net, const std::string& fileName) {
  return writeXmlFile(fileName, [&](std::streambuf& out) {
    PnmlPrinter p(out);
    openPnmlRoot(p);
    writeNet(p, net, nameOf(net.name));
    p.close();
    return p.finish();
  });
}

template bool writeUnitPnml<PetriNetPrefix>(const PetriNetPrefix&, const std::string&);
template bool writeUnitPnml<StgPrefix>(const StgPrefix&, const std::string&);
template bool writeUnitPnml<PetriNetMergedProcess>(const PetriNetMergedProcess&, const std::string&);
template bool writeUnitPnml<StgMergedProcess>(const StgMergedProcess&, const std::string&);
template bool writeNetPnml<PetriNet>(const PetriNet&, const std::string&);
template bool writeNetPnml<Stg>(const Stg&, const std::string&);

}  // namespace nurex
