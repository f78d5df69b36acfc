// Reading PNML documents, opening them for writing, element access with the readers' messages, ids and arcs.
#include "model/formats/xml_document.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <tuple>
#include <utility>

#include "model/formats/format_common.h"
#include "model/formats/gzip_stream.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

// PNML nests a handful of levels; deeper documents are refused before they are read, as
// they were when the parser recursed once per level.
constexpr uint32_t MaxXmlDepth = 256;

std::string quoted(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out.append(1, '"').append(text).append(1, '"');
  return out;
}

// The parser's findings, in the order in which a whole-file read would meet them: a fault
// of the file or of its gzip data, then a nesting too deep to parse, then the syntax.
bool reportParse(const XmlParseResult& parsed, XmlTree& tree, const std::string& fileName) {
  if (parsed.tooDeep) {
    reportError("syntax error in an XML file: elements nested more than " + std::to_string(MaxXmlDepth) + " deep (" +
                fileName + ")");
    return false;
  }
  if (!parsed.error.empty()) {
    reportError("syntax error in an XML file: " + parsed.error + " (" + parsed.near + ")");
    return false;
  }
  // A second document behind the first (two gzip members, say) would otherwise go unread.
  if (tree.topLevelElements() > 1) {
    reportError("syntax error in an XML file: more than one root element (" + fileName + ")");
    return false;
  }
  return true;
}

}  // namespace

std::unique_ptr<XmlTree> readXmlDocument(const std::string& fileName) {
  auto tree = std::make_unique<XmlTree>();
  XmlParseResult parsed;
  if (endsWith(fileName, ".gz")) {
    GzipInputBuffer gzip(fileName);
    if (!gzip.isOpen()) {
      reportError(cannotOpenForInput(fileName));
      return nullptr;
    }
    parsed = parseXml([&gzip](char* buffer, size_t capacity) { return static_cast<size_t>(gzip.sgetn(buffer, capacity)); },
                      MaxXmlDepth, *tree);
    if (gzip.failed()) {
      // A damaged or plain file behind a gzip name is a fault of the document's syntax.
      reportError("syntax error in an XML file: " + gzip.error() + " (" + fileName + ")");
      return nullptr;
    }
  } else {
    FILE* file = std::fopen(fileName.c_str(), "rb");
    if (!file) {
      reportError(cannotOpenForInput(fileName));
      return nullptr;
    }
    parsed = parseXml([file](char* buffer, size_t capacity) { return std::fread(buffer, 1, capacity, file); },
                      MaxXmlDepth, *tree);
    bool failed = std::ferror(file);
    std::fclose(file);
    if (failed) {
      // A directory opens on some systems and then fails to read.
      reportError(cannotOpenForInput(fileName));
      return nullptr;
    }
  }
  return reportParse(parsed, *tree, fileName) ? std::move(tree) : nullptr;
}

bool writeXmlFile(const std::string& fileName, const std::function<bool(std::streambuf&)>& print) {
  bool written;
  if (endsWith(fileName, ".gz")) {
    GzipOutputBuffer gzip(fileName);
    if (!gzip.isOpen()) {
      reportError(cannotOpenForOutput(fileName));
      return false;
    }
    written = print(gzip);
    written = gzip.close() && written;
  } else {
    std::filebuf out;
    if (!out.open(fileName, std::ios::out | std::ios::binary)) {
      reportError(cannotOpenForOutput(fileName));
      return false;
    }
    written = print(out);
    written = out.close() && written;
  }
  if (!written) reportError(cannotWriteFile());
  return written;
}

std::string xmlMustHaveAttribute(std::string_view node, std::string_view attribute) {
  return "XML node " + quoted(node) + " must have attribute " + quoted(attribute);
}
std::string xmlHasNoChildren(std::string_view node) { return "XML node " + quoted(node) + " has no children"; }
std::string xmlMustHaveChild(std::string_view node, std::string_view child) {
  return "XML node " + quoted(node) + " must have a child " + quoted(child);
}
std::string duplicateXmlId(std::string_view id) { return "Duplicate XML id: " + quoted(id); }
std::string undeclaredXmlIdentifier(std::string_view id) {
  return "XML identifier " + quoted(id) + " has not been declared";
}
std::string unexpectedNetType(std::string_view type) { return "unexpected net type: " + std::string(type); }
std::string positiveIntegerExpected(std::string_view text) { return "positive integer expected: " + std::string(text); }
std::string ignoringDuplicateArc(std::string_view source, std::string_view target) {
  return "ignoring duplicate arc: " + std::string(source) + " --> " + std::string(target);
}
std::string incorrectAttributeValue(std::string_view attribute, std::string_view node, std::string_view value) {
  return "attribute " + quoted(attribute) + " of XML node " + quoted(node) + " has incorrect value " + quoted(value);
}

bool hasName(XmlElement node, const char* name) { return std::strcmp(node.name(), name) == 0; }

XmlElement findChild(XmlElement parent, const char* name) {
  for (XmlElement child = parent.firstChild(); child; child = child.nextSibling())
    if (hasName(child, name)) return child;
  return {};
}

XmlElement requireChild(XmlElement parent, const char* name) {
  XmlElement child = findChild(parent, name);
  if (!child) reportError(xmlMustHaveChild(parent.name(), name));
  return child;
}

const char* requireAttribute(XmlElement node, const char* name) {
  const char* value = node.attribute(name);
  if (!value) reportError(xmlMustHaveAttribute(node.name(), name));
  return value;
}

const char* requireText(XmlElement element) {
  XmlElement text = requireChild(element, "text");
  return text ? text.value() : nullptr;
}

const char* requireChildText(XmlElement parent, const char* child) {
  XmlElement element = requireChild(parent, child);
  return element ? requireText(element) : nullptr;
}

bool readDecimal(XmlElement element, uint32_t minimum, uint32_t& out) {
  const char* text = requireText(element);
  if (!text) return false;
  uint64_t value = 0;
  const char* at = text;
  while (*at >= '0' && *at <= '9' && value <= 0xFFFFFFFFu) value = value * 10 + (*at++ - '0');
  if (at == text || *at || value > 0xFFFFFFFFu || value < minimum) {
    reportError(positiveIntegerExpected(text));
    return false;
  }
  out = static_cast<uint32_t>(value);
  return true;
}

void reserveXmlIds(XmlElement page, XmlIdMap& ids) {
  size_t children = 0;
  for (XmlElement child = page.firstChild(); child; child = child.nextSibling()) ++children;
  ids.reserve(ids.size() + children);
}

bool registerXmlId(XmlElement element, XmlIdKind kind, void* node, XmlIdMap& ids) {
  const char* id = requireAttribute(element, "id");
  if (!id) return false;
  if (!ids.emplace(id, XmlId{kind, node}).second) {
    reportError(duplicateXmlId(id));
    return false;
  }
  return true;
}

void* lookUpXmlId(const XmlIdMap& ids, std::string_view id, XmlIdKind kind) {
  auto found = ids.find(id);
  if (found == ids.end() || found->second.kind != kind) {
    reportError(undeclaredXmlIdentifier(id));
    return nullptr;
  }
  return found->second.node;
}

namespace {

// Which arcs of the page repeat an earlier one, by their position among the arcs. Sorting
// costs a few bytes an arc for a moment, where a set of all arcs would hold several times that
// through the read. Arcs that cannot be linked are left to the reading pass to report.
std::vector<bool> repeatedArcs(XmlElement page, const XmlIdMap& ids) {
  struct Arc {
    void *place, *transition;
    uint32_t position;
    bool toTransition;
  };
  std::vector<Arc> arcs;
  uint32_t position = 0;
  for (XmlElement arc = page.firstChild(); arc; arc = arc.nextSibling()) {
    if (!hasName(arc, "arc")) continue;
    uint32_t at = position++;
    const char* source = arc.attribute("source");
    const char* target = arc.attribute("target");
    if (!source || !target) continue;
    auto from = ids.find(source), to = ids.find(target);
    if (from == ids.end() || to == ids.end() || (from->second.kind == XmlPlace) == (to->second.kind == XmlPlace) ||
        from->second.kind == XmlSignal || to->second.kind == XmlSignal)
      continue;
    bool toTransition = from->second.kind == XmlPlace;
    arcs.push_back({toTransition ? from->second.node : to->second.node, toTransition ? to->second.node : from->second.node,
                    at, toTransition});
  }
  auto key = [](const Arc& a) { return std::make_tuple(a.toTransition, a.place, a.transition, a.position); };
  std::sort(arcs.begin(), arcs.end(), [&](const Arc& a, const Arc& b) { return key(a) < key(b); });
  std::vector<bool> repeated(position, false);
  for (size_t i = 1; i < arcs.size(); ++i)
    if (arcs[i].toTransition == arcs[i - 1].toTransition && arcs[i].place == arcs[i - 1].place &&
        arcs[i].transition == arcs[i - 1].transition)
      repeated[arcs[i].position] = true;
  return repeated;
}

}  // namespace

bool readArcs(XmlElement page, const XmlIdMap& ids, const ArcLink& link) {
  std::vector<bool> repeated = repeatedArcs(page, ids);
  uint32_t position = 0;
  for (XmlElement arc = page.firstChild(); arc; arc = arc.nextSibling()) {
    if (!hasName(arc, "arc")) continue;
    uint32_t at = position++;
    const char* source = requireAttribute(arc, "source");
    const char* target = source ? requireAttribute(arc, "target") : nullptr;
    if (!target) return false;
    auto from = ids.find(source), to = ids.find(target);
    if (from == ids.end() || to == ids.end()) {
      reportError(undeclaredXmlIdentifier(from == ids.end() ? source : target));
      return false;
    }
    bool placeToTransition = from->second.kind == XmlPlace && to->second.kind == XmlTransition;
    if (!placeToTransition && !(from->second.kind == XmlTransition && to->second.kind == XmlPlace)) {
      reportError("arc " + std::string(source) + " --> " + target + " does not join a place and a transition");
      return false;
    }
    if (repeated[at]) {
      reportWarning(ignoringDuplicateArc(source, target));
      continue;
    }
    void* place = placeToTransition ? from->second.node : to->second.node;
    void* transition = placeToTransition ? to->second.node : from->second.node;
    if (!link(place, transition, placeToTransition)) return false;
  }
  return true;
}

}  // namespace nurex
