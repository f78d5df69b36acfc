// PNML documents: reading a file (plain or gzip) into a compact tree, opening one for
// writing through RapidXml, and element access that reports the system's texts.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <streambuf>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <rapidxml/rapidxml.hpp>

#include "model/formats/xml_tree.h"

namespace nurex {

using XmlNode = rapidxml::xml_node<char>;
using XmlDocument = rapidxml::xml_document<char>;

// Opens the file (gzip if its name ends in ".gz") and parses it as it is read; null after a
// reported error.
std::unique_ptr<XmlTree> readXmlDocument(const std::string& fileName);
// Opens the file (gzip if its name ends in ".gz") and lets `print` fill it; reports failures,
// among them a false from `print`, which tells that a write was refused.
bool writeXmlFile(const std::string& fileName, const std::function<bool(std::streambuf&)>& print);

// Messages of the PNML readers.
std::string xmlMustHaveAttribute(std::string_view node, std::string_view attribute);
std::string xmlHasNoChildren(std::string_view node);
std::string xmlMustHaveChild(std::string_view node, std::string_view child);
std::string duplicateXmlId(std::string_view id);
std::string undeclaredXmlIdentifier(std::string_view id);
std::string unexpectedNetType(std::string_view type);
std::string positiveIntegerExpected(std::string_view text);
std::string ignoringDuplicateArc(std::string_view source, std::string_view target);
std::string incorrectAttributeValue(std::string_view attribute, std::string_view node, std::string_view value);

bool hasName(XmlElement node, const char* name);
// The first child element of this name, or null; no report.
XmlElement findChild(XmlElement parent, const char* name);
// The same, with "must have a child" when it is missing.
XmlElement requireChild(XmlElement parent, const char* name);
// The attribute's value, or null with "must have attribute".
const char* requireAttribute(XmlElement node, const char* name);
// The value of the `text` child of the element, or null with "must have a child \"text\"".
const char* requireText(XmlElement element);
// The value of `<child><text>value</text></child>`, with the errors of both levels.
const char* requireChildText(XmlElement parent, const char* child);
// A decimal of at least `minimum` from the `text` child; "positive integer expected" if not.
bool readDecimal(XmlElement element, uint32_t minimum, uint32_t& out);

// What an XML id names at one level of a document: a node kind and the node (a place or
// condition, a transition or event, or a signal). Pointers survive the later renumbering.
enum XmlIdKind : uint8_t { XmlPlace, XmlTransition, XmlSignal };
struct XmlId {
  XmlIdKind kind;
  void* node;
};
// Ids point into the tree's strings, so the keys need no copies.
using XmlIdMap = std::unordered_map<std::string_view, XmlId>;
// Room in the map for the ids of all children of `page`, which saves rehashing a large one.
void reserveXmlIds(XmlElement page, XmlIdMap& ids);
// Registers the element's `id`; reports a missing or repeated one.
bool registerXmlId(XmlElement element, XmlIdKind kind, void* node, XmlIdMap& ids);
// Looks up the id, of the given kind; "has not been declared" if absent or of another kind.
void* lookUpXmlId(const XmlIdMap& ids, std::string_view id, XmlIdKind kind);
template <class T>
bool lookUpXmlId(const XmlIdMap& ids, std::string_view id, XmlIdKind kind, T*& out) {
  out = static_cast<T*>(lookUpXmlId(ids, id, kind));
  return out != nullptr;
}

// The arcs of a page: each `arc` joins a place and a transition of `ids`; repeated arcs are
// skipped with a warning. `link(place, transition, placeToTransition)` makes one arc and
// may refuse it (after a report).
using ArcLink = std::function<bool(void* place, void* transition, bool placeToTransition)>;
bool readArcs(XmlElement page, const XmlIdMap& ids, const ArcLink& link);

}  // namespace nurex
