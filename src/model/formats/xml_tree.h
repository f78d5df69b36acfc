// A compact, read-only tree of an XML document read piece by piece from a stream, for the
// PNML readers: RapidXml's grammar and messages, without holding the text or its DOM.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace nurex {

class XmlTree;

// An element of an XmlTree, or none (false). A small value, valid while the tree lives.
class XmlElement {
 public:
  XmlElement() = default;
  explicit operator bool() const { return tree_ != nullptr; }
  const char* name() const;
  // The first run of character data directly inside the element, entities expanded.
  const char* value() const;
  XmlElement firstChild() const;
  XmlElement nextSibling() const;
  // The value of the first attribute of that name, or null.
  const char* attribute(const char* name) const;
  // Replaces the value of an attribute that exists.
  void setAttribute(const char* name, std::string_view value);

 private:
  friend class XmlTree;
  XmlElement(XmlTree* tree, uint32_t index) : tree_(tree), index_(index) {}
  XmlTree* tree_ = nullptr;
  uint32_t index_ = 0;
};

// Elements in document order with their attributes, names and values; text outside them,
// comments, declarations and CDATA are not kept. About 16 bytes an element and 8 an
// attribute, plus the distinct names and the values.
class XmlTree {
 public:
  XmlTree();
  // The document node, whose children are the top-level elements.
  XmlElement root() { return XmlElement(this, 0); }
  size_t topLevelElements();

 private:
  friend class XmlElement;
  friend class XmlTreeBuilder;
  struct Element {
    uint32_t name;        // offset of the name in the strings
    uint32_t value;       // offset of the value in the strings; 0 is ""
    uint32_t next;        // next sibling, 0 for none
    uint32_t attributes;  // first attribute; the top bit tells that children follow
  };
  struct Attribute {
    uint32_t name, value;
  };
  static constexpr uint32_t HasChildren = 0x80000000u;
  [[noreturn]] static void exhausted();

  // Fixed blocks, so that growing never copies what is there.
  template <class T>
  class Blocks {
   public:
    static constexpr uint32_t Shift = 14, Size = 1u << Shift, MaxSize = 0x7FFFFFFFu;
    T& operator[](uint32_t i) { return blocks_[i >> Shift][i & (Size - 1)]; }
    uint32_t size() const { return size_; }
    uint32_t push(const T& item) {
      // Numbers keep their top bit free (a flag of the attribute index); running out of them
      // is running out of memory.
      if (size_ == MaxSize) exhausted();
      if ((size_ & (Size - 1)) == 0) blocks_.push_back(std::make_unique<T[]>(Size));
      (*this)[size_] = item;
      return size_++;
    }

   private:
    std::vector<std::unique_ptr<T[]>> blocks_;
    uint32_t size_ = 0;
  };

  // NUL-terminated strings by offset; a string never crosses a block boundary, and a long
  // one has a run of slots to itself, so an offset maps to memory by one table look-up.
  static constexpr uint32_t StringShift = 20, StringBlock = 1u << StringShift;
  const char* string(uint32_t offset) const { return stringSlots_[offset >> StringShift] + (offset & (StringBlock - 1)); }
  uint32_t addString(std::string_view text);
  uint32_t internName(std::string_view name);
  uint32_t attributeCount(uint32_t index);

  Blocks<Element> elements_;
  Blocks<Attribute> attributes_;
  std::vector<std::unique_ptr<char[]>> stringBlocks_;
  std::vector<char*> stringSlots_;
  uint64_t stringEnd_ = 0;  // offset of the next string
  std::unordered_map<std::string_view, uint32_t> names_;
};

// How reading XML text ended. Whatever the outcome, all of the input has been read.
struct XmlParseResult {
  bool tooDeep = false;  // elements nested past the limit somewhere in the input
  std::string error;     // the parser's text for the first syntax error, or empty
  std::string near;      // the input at that error, up to the end of its line and 40 characters
};

// Fills the buffer with up to `capacity` bytes of input and returns how many; 0 at the end.
using XmlChunkReader = std::function<size_t(char* buffer, size_t capacity)>;

// Parses the text that `read` yields into `tree`, in pieces of `chunk` bytes. The nesting
// depth is measured by a scan that does not need well-formed text, over the whole input,
// so that a document too deep to parse is told apart from a broken one.
XmlParseResult parseXml(const XmlChunkReader& read, uint32_t depthLimit, XmlTree& tree, size_t chunk = 1 << 16);

}  // namespace nurex
