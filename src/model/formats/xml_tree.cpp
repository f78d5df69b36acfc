// The compact XML tree and its streaming parser. The parser follows RapidXml's in-place
// parser with the flags the readers used (closing tags validated, no data nodes) step for
// step, errors and their positions included, but reads a window of the input at a time and
// keeps only elements, attributes and values.
#include "model/formats/xml_tree.h"

#include <cstring>
#include <rapidxml/rapidxml.hpp>

#include "platform/memory.h"

namespace nurex {

const char* XmlElement::name() const { return tree_->string(tree_->elements_[index_].name); }
const char* XmlElement::value() const { return tree_->string(tree_->elements_[index_].value); }

XmlElement XmlElement::firstChild() const {
  return tree_->elements_[index_].attributes & XmlTree::HasChildren ? XmlElement(tree_, index_ + 1) : XmlElement();
}

XmlElement XmlElement::nextSibling() const {
  uint32_t next = tree_->elements_[index_].next;
  return next ? XmlElement(tree_, next) : XmlElement();
}

const char* XmlElement::attribute(const char* name) const {
  uint32_t first = tree_->elements_[index_].attributes & ~XmlTree::HasChildren;
  for (uint32_t a = first, end = first + tree_->attributeCount(index_); a < end; ++a)
    if (std::strcmp(tree_->string(tree_->attributes_[a].name), name) == 0) return tree_->string(tree_->attributes_[a].value);
  return nullptr;
}

void XmlElement::setAttribute(const char* name, std::string_view value) {
  uint32_t first = tree_->elements_[index_].attributes & ~XmlTree::HasChildren;
  for (uint32_t a = first, end = first + tree_->attributeCount(index_); a < end; ++a)
    if (std::strcmp(tree_->string(tree_->attributes_[a].name), name) == 0) {
      tree_->attributes_[a].value = tree_->addString(value);
      return;
    }
}

void XmlTree::exhausted() { outOfMemory(); }

XmlTree::XmlTree() {
  addString("");
  elements_.push({0, 0, 0, 0});
}

size_t XmlTree::topLevelElements() {
  size_t count = 0;
  for (XmlElement e = root().firstChild(); e; e = e.nextSibling()) ++count;
  return count;
}

uint32_t XmlTree::attributeCount(uint32_t index) {
  // The builder ends the elements with one that only marks the end of the attributes.
  return (elements_[index + 1].attributes & ~HasChildren) - (elements_[index].attributes & ~HasChildren);
}

uint32_t XmlTree::addString(std::string_view text) {
  uint64_t size = text.size() + 1;
  uint64_t used = stringEnd_ & (StringBlock - 1);
  if (stringSlots_.empty() || used == 0 || used + size > StringBlock) {
    uint64_t slots = (size + StringBlock - 1) >> StringShift;
    stringEnd_ = uint64_t(stringSlots_.size()) << StringShift;
    // Offsets are 32 bits; a document with more text than that is treated as memory exhausted.
    if (stringEnd_ + (slots << StringShift) > (uint64_t(1) << 32)) outOfMemory();
    std::unique_ptr<char[]> block(new char[slots << StringShift]);
    for (uint64_t s = 0; s < slots; ++s) stringSlots_.push_back(block.get() + (s << StringShift));
    stringBlocks_.push_back(std::move(block));
  }
  char* at = stringSlots_[stringEnd_ >> StringShift] + (stringEnd_ & (StringBlock - 1));
  std::memcpy(at, text.data(), text.size());
  at[text.size()] = '\0';
  uint32_t offset = static_cast<uint32_t>(stringEnd_);
  stringEnd_ += size;
  return offset;
}

uint32_t XmlTree::internName(std::string_view name) {
  auto found = names_.find(name);
  if (found != names_.end()) return found->second;
  uint32_t offset = addString(name);
  names_.emplace(std::string_view(string(offset), name.size()), offset);
  return offset;
}

namespace {

using Tables = rapidxml::internal::lookup_tables<0>;

bool isSpace(char c) { return Tables::lookup_whitespace[static_cast<unsigned char>(c)]; }
bool isNameChar(char c) { return Tables::lookup_node_name[static_cast<unsigned char>(c)]; }
bool isAttributeNameChar(char c) { return Tables::lookup_attribute_name[static_cast<unsigned char>(c)]; }

// The nesting depth that a lenient scan sees: it knows comments, CDATA sections, processing
// instructions, declarations and quoted attribute values, and needs no well-formed text.
// Fed the input in pieces; it keeps what it cannot yet decide.
class DepthScan {
 public:
  explicit DepthScan(uint32_t limit) : limit_(limit) {}
  bool exceeded() const { return deepest_ > limit_; }
  void feed(const char* data, size_t size) {
    if (exceeded()) return;
    pending_.append(data, size);
    scan(false);
  }
  void finish() {
    scan(true);
    // A start tag cut off by the end counts as open.
    if (state_ == Tag) open();
  }

 private:
  enum State { Text, Skip, Tag };
  void open() { deepest_ = std::max(deepest_, ++depth_); }
  bool startsWith(size_t i, const char* prefix) const { return pending_.compare(i, std::strlen(prefix), prefix) == 0; }
  void skipTo(size_t& i, size_t from, const char* terminator) {
    state_ = Skip;
    terminator_ = terminator;
    i = from;
  }

  void scan(bool atEnd) {
    size_t i = 0, n = pending_.size();
    while (i < n && !exceeded()) {
      if (state_ == Text) {
        i = pending_.find('<', i);
        if (i == std::string::npos) {
          i = n;
          break;
        }
        // The longest opening to tell apart is "<![CDATA[".
        if (n - i < 9 && !atEnd) break;
        if (startsWith(i, "<!--")) skipTo(i, i + 4, "-->");
        else if (startsWith(i, "<![CDATA[")) skipTo(i, i + 9, "]]>");
        else if (startsWith(i, "<?")) skipTo(i, i + 2, "?>");
        else if (startsWith(i, "<!")) skipTo(i, i + 2, ">");
        else if (startsWith(i, "</")) {
          if (depth_ > 0) --depth_;
          skipTo(i, i + 2, ">");
        } else {
          state_ = Tag;
          quote_ = 0;
          previous_ = '<';
          ++i;
        }
      } else if (state_ == Skip) {
        size_t length = std::strlen(terminator_);
        size_t at = pending_.find(terminator_, i);
        if (at != std::string::npos) {
          i = at + length;
          state_ = Text;
        } else {
          // The terminator may begin in the text kept for the next piece.
          i = atEnd ? n : std::max(i, n - std::min(n, length - 1));
          break;
        }
      } else {
        for (; i < n; ++i) {
          char c = pending_[i];
          if (quote_) quote_ = c == quote_ ? 0 : quote_;
          else if (c == '"' || c == '\'') quote_ = c;
          else if (c == '>') break;
          previous_ = c;
        }
        if (i == n) break;
        if (previous_ != '/') open();
        state_ = Text;
        ++i;
      }
    }
    pending_.erase(0, std::min(i, n));
  }

  std::string pending_;
  State state_ = Text;
  const char* terminator_ = nullptr;
  char quote_ = 0, previous_ = 0;
  uint32_t depth_ = 0, deepest_ = 0, limit_;
};

struct SyntaxError {
  const char* what;
  uint64_t where;  // position in the input
};
struct TooDeep {};

// A window of the input: what is read but not yet consumed, and, from a mark, what may
// still have to be read again.
class InputWindow {
 public:
  InputWindow(const XmlChunkReader& read, DepthScan& depth, size_t chunk) : read_(read), depth_(depth), chunk_(chunk) {}

  char peek(size_t k = 0) {
    size_t at = pos_ + k;
    return at < end_ ? buffer_[at] : slowPeek(at);
  }
  void advance(size_t k = 1) { pos_ += k; }
  uint64_t position() const { return base_ + pos_; }
  void seek(uint64_t position) { pos_ = static_cast<size_t>(position - base_); }
  // Bytes from the mark on stay in the window until unmark.
  void mark() { mark_ = position(); }
  void unmark() { mark_ = NoMark; }

  template <class Predicate>
  void skipWhile(Predicate accepts) {
    for (;;) {
      while (pos_ < end_ && accepts(buffer_[pos_])) ++pos_;
      if (pos_ < end_ || !fill()) return;
    }
  }

  // The input from `position` (at or after the mark) to the end of its line, at most 40
  // characters, as the error messages quote it.
  std::string textAt(uint64_t position) {
    mark_ = position;
    std::string text;
    for (char c; text.size() < 40 && (c = at(position + text.size())) && c != '\n' && c != '\r';) text += c;
    return text;
  }

  // Reads the rest of the input, for the depth scan and the reader's own checks.
  void drain() {
    draining_ = true;
    while (!ended_) fill();
  }

 private:
  static constexpr uint64_t NoMark = ~uint64_t(0);

  char slowPeek(size_t at) { return this->at(base_ + at); }
  char at(uint64_t position) {
    while (base_ + end_ <= position && fill()) {}
    return position < base_ + end_ ? buffer_[static_cast<size_t>(position - base_)] : '\0';
  }

  // One more piece of input; false at the end. Drops what lies before the position and
  // the mark once that is at least half of the window.
  bool fill() {
    if (ended_) return false;
    size_t keep = mark_ == NoMark ? pos_ : static_cast<size_t>(std::min<uint64_t>(mark_ - base_, pos_));
    if (keep > 0 && keep >= end_ / 2) {
      std::memmove(buffer_.data(), buffer_.data() + keep, end_ - keep);
      end_ -= keep;
      pos_ -= keep;
      base_ += keep;
    }
    buffer_.resize(end_ + chunk_);
    size_t got = read_(buffer_.data() + end_, chunk_);
    depth_.feed(buffer_.data() + end_, got);
    end_ += got;
    if (got == 0) {
      ended_ = true;
      depth_.finish();
    }
    if (depth_.exceeded() && !draining_) throw TooDeep{};
    return got > 0;
  }

  const XmlChunkReader& read_;
  DepthScan& depth_;
  size_t chunk_;
  std::vector<char> buffer_;
  size_t pos_ = 0, end_ = 0;  // in the buffer
  uint64_t base_ = 0;         // position of the buffer's first byte in the input
  uint64_t mark_ = NoMark;
  bool ended_ = false;
  bool draining_ = false;  // past the parse, nothing is thrown
};

}  // namespace

class XmlTreeBuilder {
 public:
  XmlTreeBuilder(InputWindow& in, XmlTree& tree) : in_(in), tree_(tree) {}

  // Top level: whitespace and nodes up to the end of the text, or a NUL, as the
  // in-place parser reads a NUL-terminated buffer.
  void parse() {
    open_.push_back({0, 0});
    if (static_cast<unsigned char>(in_.peek(0)) == 0xEF && static_cast<unsigned char>(in_.peek(1)) == 0xBB &&
        static_cast<unsigned char>(in_.peek(2)) == 0xBF)
      in_.advance(3);
    for (;;) {
      in_.skipWhile(isSpace);
      char c = in_.peek();
      if (c == '\0') break;
      if (c != '<') fail("expected <");
      in_.advance();
      parseNode();
      while (open_.size() > 1) parseContents();
    }
    // Marks the end of the last element's attributes.
    tree_.elements_.push({0, 0, 0, tree_.attributes_.size()});
  }

 private:
  struct Open {
    uint32_t index, lastChild;
  };

  [[noreturn]] void fail(const char* what) { throw SyntaxError{what, in_.position()}; }
  [[noreturn]] void failAt(const char* what, uint64_t where) { throw SyntaxError{what, where}; }

  // Skips to the terminator and past it.
  void skipPast(const char* terminator) {
    size_t length = std::strlen(terminator);
    for (;;) {
      size_t k = 0;
      while (k < length && in_.peek(k) == terminator[k]) ++k;
      if (k == length) break;
      if (in_.peek() == '\0') fail("unexpected end of data");
      in_.advance();
    }
    in_.advance(length);
  }

  bool follows(size_t from, const char* text) {
    for (size_t k = 0; text[k]; ++k)
      if (in_.peek(from + k) != text[k]) return false;
    return true;
  }

  // After '<': an element, or a node that is skipped.
  void parseNode() {
    char c = in_.peek();
    if (c == '?') {
      // An XML declaration and a processing instruction alike end at "?>".
      in_.advance();
      skipPast("?>");
      return;
    }
    if (c != '!') return parseElement();
    if (follows(1, "--")) {
      in_.advance(3);
      skipPast("-->");
      return;
    }
    if (follows(1, "[CDATA[")) {
      in_.advance(8);
      skipPast("]]>");
      return;
    }
    if (follows(1, "DOCTYPE") && isSpace(in_.peek(8))) {
      in_.advance(9);
      skipDoctype();
      return;
    }
    in_.advance();
    while (in_.peek() != '>') {
      if (in_.peek() == '\0') fail("unexpected end of data");
      in_.advance();
    }
    in_.advance();
  }

  void skipDoctype() {
    for (char c; (c = in_.peek()) != '>';) {
      if (c == '\0') fail("unexpected end of data");
      in_.advance();
      if (c != '[') continue;
      for (int depth = 1; depth > 0; in_.advance()) {
        char d = in_.peek();
        if (d == '[') ++depth;
        else if (d == ']') --depth;
        else if (d == '\0') fail("unexpected end of data");
      }
    }
    in_.advance();
  }

  void readName(bool (*accepts)(char), std::string& name) {
    name.clear();
    for (char c; accepts(c = in_.peek()); in_.advance()) name += c;
  }

  void parseElement() {
    readName(isNameChar, name_);
    if (name_.empty()) fail("expected element name");
    uint32_t index = tree_.elements_.push({tree_.internName(name_), 0, 0, tree_.attributes_.size()});
    Open& parent = open_.back();
    if (parent.lastChild) tree_.elements_[parent.lastChild].next = index;
    else tree_.elements_[parent.index].attributes |= XmlTree::HasChildren;
    parent.lastChild = index;
    in_.skipWhile(isSpace);
    parseAttributes();
    char c = in_.peek();
    if (c == '>') {
      in_.advance();
      open_.push_back({index, 0});
    } else if (c == '/') {
      in_.advance();
      if (in_.peek() != '>') fail("expected >");
      in_.advance();
    } else {
      fail("expected >");
    }
  }

  void parseAttributes() {
    while (isAttributeNameChar(in_.peek())) {
      readName(isAttributeNameChar, name_);
      uint32_t name = tree_.internName(name_);
      in_.skipWhile(isSpace);
      if (in_.peek() != '=') fail("expected =");
      in_.advance();
      in_.skipWhile(isSpace);
      char quote = in_.peek();
      if (quote != '\'' && quote != '"') fail("expected ' or \"");
      in_.advance();
      readCharacterData(quote == '\'' ? Tables::lookup_attribute_data_1 : Tables::lookup_attribute_data_2);
      if (in_.peek() != quote) fail("expected ' or \"");
      in_.advance();
      tree_.attributes_.push({name, tree_.addString(data_)});
      in_.skipWhile(isSpace);
    }
  }

  // One step inside the innermost open element: its closing tag, a child node, or data.
  void parseContents() {
    Open& top = open_.back();
    uint64_t contentsStart = in_.position();
    in_.mark();
    in_.skipWhile(isSpace);
    char c = in_.peek();
    if (c != '<' && c != '\0') {
      // Data keeps the whitespace before it; the element's value is its first data.
      in_.seek(contentsStart);
      readCharacterData(Tables::lookup_text);
      XmlTree::Element& element = tree_.elements_[top.index];
      if (*tree_.string(element.value) == '\0') element.value = tree_.addString(data_);
      c = in_.peek();
    }
    in_.unmark();
    if (c == '\0') fail("unexpected end of data");
    if (in_.peek(1) != '/') {
      in_.advance();
      parseNode();
      return;
    }
    in_.advance(2);
    readName(isNameChar, name_);
    if (name_ != tree_.string(tree_.elements_[top.index].name)) fail("invalid closing tag name");
    in_.skipWhile(isSpace);
    if (in_.peek() != '>') fail("expected >");
    in_.advance();
    open_.pop_back();
  }

  // Character data up to a character that `table` refuses, into data_, with the entity
  // references expanded; the window's mark must be at its start, since an invalid numeric
  // reference is reported where its expansion would have been written.
  void readCharacterData(const unsigned char* table) {
    data_.clear();
    uint64_t start = in_.position();
    in_.mark();
    for (char c; table[static_cast<unsigned char>(c = in_.peek())];) {
      if (c == '&' && expandReference(start)) continue;
      data_ += c;
      in_.advance();
    }
    in_.unmark();
  }

  bool expandReference(uint64_t start) {
    static const struct {
      const char* name;
      char character;
    } named[] = {{"amp;", '&'}, {"apos;", '\''}, {"quot;", '"'}, {"gt;", '>'}, {"lt;", '<'}};
    for (const auto& entity : named)
      if (follows(1, entity.name)) {
        data_ += entity.character;
        in_.advance(1 + std::strlen(entity.name));
        return true;
      }
    if (in_.peek(1) != '#') return false;
    bool hex = in_.peek(2) == 'x';
    in_.advance(hex ? 3 : 2);
    unsigned long code = 0;
    for (unsigned char digit; (digit = Tables::lookup_digits[static_cast<unsigned char>(in_.peek())]) != 0xFF;
         in_.advance())
      code = code * (hex ? 16 : 10) + digit;
    appendUtf8(code, start);
    if (in_.peek() != ';') fail("expected ;");
    in_.advance();
    return true;
  }

  void appendUtf8(unsigned long code, uint64_t start) {
    if (code < 0x80) {
      data_ += static_cast<char>(code);
    } else if (code < 0x800) {
      data_ += static_cast<char>(code >> 6 | 0xC0);
      data_ += static_cast<char>((code & 0x3F) | 0x80);
    } else if (code < 0x10000) {
      data_ += static_cast<char>(code >> 12 | 0xE0);
      data_ += static_cast<char>((code >> 6 & 0x3F) | 0x80);
      data_ += static_cast<char>((code & 0x3F) | 0x80);
    } else if (code < 0x110000) {
      data_ += static_cast<char>(code >> 18 | 0xF0);
      data_ += static_cast<char>((code >> 12 & 0x3F) | 0x80);
      data_ += static_cast<char>((code >> 6 & 0x3F) | 0x80);
      data_ += static_cast<char>((code & 0x3F) | 0x80);
    } else {
      failAt("invalid numeric character entity", start + data_.size());
    }
  }

  InputWindow& in_;
  XmlTree& tree_;
  std::vector<Open> open_;  // the document, then the elements whose contents are being read
  std::string name_, data_;
};

XmlParseResult parseXml(const XmlChunkReader& read, uint32_t depthLimit, XmlTree& tree, size_t chunk) {
  XmlParseResult result;
  DepthScan depth(depthLimit);
  InputWindow in(read, depth, chunk);
  try {
    XmlTreeBuilder(in, tree).parse();
  } catch (const SyntaxError& e) {
    result.error = e.what;
    try {
      result.near = in.textAt(e.where);
    } catch (const TooDeep&) {
    }
  } catch (const TooDeep&) {
  }
  in.drain();
  result.tooDeep = depth.exceeded();
  return result;
}

}  // namespace nurex
