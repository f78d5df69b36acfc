// Reading PNML documents, opening them for writing, element access with the readers' messages, ids and arcs.
#include "model/formats/xml_document.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <utility>

#include "model/formats/format_common.h"
#include "model/formats/gzip_stream.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

std::string quoted(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out.append(1, '"').append(text).append(1, '"');
  return out;
}

bool readGzipFile(const std::string& fileName, std::string& text) {
  GzipInputBuffer gzip(fileName);
  if (!gzip.isOpen()) {
    reportError(cannotOpenForInput(fileName));
    return false;
  }
  text.assign(std::istreambuf_iterator<char>(&gzip), std::istreambuf_iterator<char>());
  if (gzip.failed()) {
    // A damaged or plain file behind a gzip name is a fault of the document's syntax.
    reportError("syntax error in an XML file: " + gzip.error() + " (" + fileName + ")");
    return false;
  }
  return true;
}

// The text where the parser stopped, up to the end of its line and at most 40 characters.
std::string textAt(const char* where) {
  size_t length = 0;
  while (length < 40 && where[length] && where[length] != '\n' && where[length] != '\r') ++length;
  return std::string(where, length);
}

// PNML nests a handful of levels; the parser recurses once per level, so a document nested
// deeper than this would overflow the stack before it could be refused.
constexpr uint32_t MaxXmlDepth = 256;

size_t skipPast(const std::string& text, size_t from, const char* end) {
  size_t at = text.find(end, from);
  return at == std::string::npos ? text.size() : at + std::strlen(end);
}

// The nesting depth of elements, found by a scan that knows comments, CDATA sections,
// processing instructions, declarations and quoted attribute values. It stops as soon as
// the depth passes `limit`.
uint32_t elementDepth(const std::string& text, uint32_t limit) {
  uint32_t depth = 0, deepest = 0;
  size_t i = 0, n = text.size();
  while (i < n && deepest <= limit) {
    i = text.find('<', i);
    if (i == std::string::npos) break;
    if (text.compare(i, 4, "<!--") == 0) i = skipPast(text, i + 4, "-->");
    else if (text.compare(i, 9, "<![CDATA[") == 0) i = skipPast(text, i + 9, "]]>");
    else if (text.compare(i, 2, "<?") == 0) i = skipPast(text, i + 2, "?>");
    else if (text.compare(i, 2, "<!") == 0) i = skipPast(text, i + 2, ">");
    else if (text.compare(i, 2, "</") == 0) {
      if (depth > 0) --depth;
      i = skipPast(text, i + 2, ">");
    } else {
      char quote = 0;
      size_t j = i + 1;
      for (; j < n; ++j) {
        char c = text[j];
        if (quote) quote = c == quote ? 0 : quote;
        else if (c == '"' || c == '\'') quote = c;
        else if (c == '>') break;
      }
      if (j >= n || text[j - 1] != '/') deepest = std::max(deepest, ++depth);
      i = j + 1;
    }
  }
  return deepest;
}

}  // namespace

std::unique_ptr<XmlInput> readXmlDocument(const std::string& fileName) {
  auto input = std::make_unique<XmlInput>();
  std::string& text = input->buffer;
  if (endsWith(fileName, ".gz") ? !readGzipFile(fileName, text) : !readWholeFile(fileName, text)) return nullptr;
  if (elementDepth(text, MaxXmlDepth) > MaxXmlDepth) {
    reportError("syntax error in an XML file: elements nested more than " + std::to_string(MaxXmlDepth) +
                " deep (" + fileName + ")");
    return nullptr;
  }
  // The string's own terminator ends the text for the parser, which writes into it in place.
  try {
    input->document.parse<rapidxml::parse_validate_closing_tags | rapidxml::parse_no_data_nodes>(input->buffer.data());
  } catch (const rapidxml::parse_error& e) {
    reportError("syntax error in an XML file: " + std::string(e.what()) + " (" + textAt(e.where<char>()) + ")");
    return nullptr;
  }
  // A second document behind the first (two gzip members, say) would otherwise go unread.
  int roots = 0;
  for (const XmlNode* node = input->document.first_node(); node; node = node->next_sibling())
    roots += node->type() == rapidxml::node_element;
  if (roots > 1) {
    reportError("syntax error in an XML file: more than one root element (" + fileName + ")");
    return nullptr;
  }
  return input;
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

bool hasName(const XmlNode* node, const char* name) {
  return node->type() == rapidxml::node_element && std::strcmp(node->name(), name) == 0;
}

XmlNode* findChild(const XmlNode* parent, const char* name) {
  for (XmlNode* child = parent->first_node(); child; child = child->next_sibling())
    if (hasName(child, name)) return child;
  return nullptr;
}

XmlNode* requireChild(const XmlNode* parent, const char* name) {
  XmlNode* child = findChild(parent, name);
  if (!child) reportError(xmlMustHaveChild(parent->name(), name));
  return child;
}

const char* requireAttribute(const XmlNode* node, const char* name) {
  auto* attribute = node->first_attribute(name);
  if (!attribute) {
    reportError(xmlMustHaveAttribute(node->name(), name));
    return nullptr;
  }
  return attribute->value();
}

const char* requireText(const XmlNode* element) {
  XmlNode* text = requireChild(element, "text");
  return text ? text->value() : nullptr;
}

const char* requireChildText(const XmlNode* parent, const char* child) {
  XmlNode* element = requireChild(parent, child);
  return element ? requireText(element) : nullptr;
}

bool readDecimal(const XmlNode* element, uint32_t minimum, uint32_t& out) {
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

void reserveXmlIds(const XmlNode* page, XmlIdMap& ids) {
  size_t children = 0;
  for (const XmlNode* child = page->first_node(); child; child = child->next_sibling()) ++children;
  ids.reserve(ids.size() + children);
}

bool registerXmlId(const XmlNode* element, XmlIdKind kind, void* node, XmlIdMap& ids) {
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

bool readArcs(const XmlNode* page, const XmlIdMap& ids, const ArcLink& link) {
  std::set<std::pair<void*, void*>> seen[2];  // by direction: place-to-transition, transition-to-place
  for (XmlNode* arc = page->first_node(); arc; arc = arc->next_sibling()) {
    if (!hasName(arc, "arc")) continue;
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
    void* place = placeToTransition ? from->second.node : to->second.node;
    void* transition = placeToTransition ? to->second.node : from->second.node;
    if (!seen[placeToTransition ? 0 : 1].emplace(place, transition).second) {
      reportWarning(ignoringDuplicateArc(source, target));
      continue;
    }
    if (!link(place, transition, placeToTransition)) return false;
  }
  return true;
}

}  // namespace nurex
