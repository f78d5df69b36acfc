// The streaming XML parser against RapidXml's in-place parser on the same bytes: the same
// elements, attributes and values, or the same error at the same place, whatever the size of
// the pieces that the input arrives in; and the nesting limit.
#include <random>

#include <rapidxml/rapidxml.hpp>

#include "model/formats/xml_tree.h"
#include "unit/formats/format_test_util.h"

namespace nurex::test {
namespace {

using namespace std::string_literals;

std::string near(const char* where) {
  std::string text;
  for (; text.size() < 40 && *where && *where != '\n' && *where != '\r'; ++where) text += *where;
  return text;
}

// One element of a dump: its name, attributes and value.
void dumpElement(const char* name, const std::vector<std::pair<const char*, const char*>>& attributes, const char* value,
                 std::string& out) {
  out.append("<").append(name);
  for (const auto& [attribute, text] : attributes) out.append(" ").append(attribute).append("=[").append(text).append("]");
  out.append(">[").append(value).append("]");
}

void dump(const rapidxml::xml_node<char>* node, std::string& out) {
  for (const auto* e = node->first_node(); e; e = e->next_sibling()) {
    std::vector<std::pair<const char*, const char*>> attributes;
    for (const auto* a = e->first_attribute(); a; a = a->next_attribute()) attributes.emplace_back(a->name(), a->value());
    dumpElement(e->name(), attributes, e->value(), out);
    dump(e, out);
    out.append("</>");
  }
}

// Attribute names in the tree are found by name, so the dump asks for those RapidXml saw.
void dump(XmlElement node, const rapidxml::xml_node<char>* shape, std::string& out) {
  const auto* s = shape ? shape->first_node() : nullptr;
  for (XmlElement e = node.firstChild(); e; e = e.nextSibling(), s = s ? s->next_sibling() : nullptr) {
    std::vector<std::pair<const char*, const char*>> attributes;
    if (s)
      for (const auto* a = s->first_attribute(); a; a = a->next_attribute()) {
        const char* value = e.attribute(a->name());
        attributes.emplace_back(a->name(), value ? value : "(none)");
      }
    dumpElement(e.name(), attributes, e.value(), out);
    dump(e, s, out);
    out.append("</>");
  }
}

// Parses text that arrives in pieces of `chunk` bytes; all of it must be read.
XmlParseResult parseInPieces(const std::string& text, size_t chunk, uint32_t limit, XmlTree& tree) {
  size_t at = 0;
  XmlParseResult result = parseXml(
      [&](char* out, size_t capacity) {
        size_t n = std::min({capacity, chunk, text.size() - at});
        std::copy_n(text.data() + at, n, out);
        at += n;
        return n;
      },
      limit, tree, chunk);
  EXPECT_EQ(at, text.size());
  return result;
}

struct Outcomes {
  std::string rapid, streamed;
};

Outcomes parseBoth(const std::string& text, size_t chunk) {
  Outcomes outcomes;
  std::string buffer = text;  // parsed in place, up to the first NUL
  rapidxml::xml_document<char> document;
  bool parsed = false;
  try {
    document.parse<rapidxml::parse_validate_closing_tags | rapidxml::parse_no_data_nodes>(buffer.data());
    dump(&document, outcomes.rapid);
    parsed = true;
  } catch (const rapidxml::parse_error& e) {
    outcomes.rapid.append(e.what()).append(" (").append(near(e.where<char>())).append(")");
  }
  XmlTree tree;
  XmlParseResult result = parseInPieces(text, chunk, 1000, tree);
  if (result.error.empty()) dump(tree.root(), parsed ? &document : nullptr, outcomes.streamed);
  else outcomes.streamed.append(result.error).append(" (").append(result.near).append(")");
  return outcomes;
}

void expectSameParse(const std::string& text) {
  for (size_t chunk : {1, 3, 7, 1 << 16}) {
    Outcomes o = parseBoth(text, chunk);
    EXPECT_EQ(o.streamed, o.rapid) << "chunk " << chunk << ", input:\n" << text;
  }
}

TEST(XmlTree, AgreesWithRapidXmlOnEachConstruct) {
  const std::string cases[] = {
      "",
      "  \n",
      "\xEF\xBB\xBF<a/>",
      "<a x='1' y = \"2\"><b>t</b><b/>tail</a>",
      "<a>  lead<b/>second</a>",
      "<a><b/>  </a>",
      "<a x=\"&lt;&gt;&amp;&apos;&quot;&#65;&#x42;&#x1F600;&unknown;&\">&#233;&#x800;</a>",
      "<a>&#0;later<b/>data</a>",
      "<a x='>/\"'>q</a>",
      "<?xml version=\"1.0\"?><!-- c -- ><a/> --><!DOCTYPE a [<!ENTITY x \"<b>\"> [ ] ]><a><![CDATA[<x>]]>v</a>",
      "<!other thing><a/><?pi stuff?>",
      "<a/><b/>",
      "<a/>\0<b>"s,
      "<a>\0</a>"s,
      "<a><b></a>",
      "<a></a >",
      "<a></a x>",
      "<a",
      "<a x>",
      "<a x=1>",
      "<a x='1>",
      "<a/ >",
      "<a>&#1114112;</a>",
      "<a x='ab&#x110000;'/>",
      "<a>&#65</a>",
      "<>",
      "text",
      "<a><!-- open",
      "<a><![CDATA[ open",
      "<a><? open",
      "<!DOCTYPE a [ open",
      "<!DOCTYPE a",
      "<a><!x",
      "<a>\n  <b c=\"d\"/>\n</a>\n",
  };
  for (const std::string& text : cases) expectSameParse(text);
}

// Mutants of a real document, where the errors fall at every kind of place.
TEST(XmlTree, AgreesWithRapidXmlOnDamagedDocuments) {
  const std::string original = readBytes(dataPath("toggle.pnml"));
  ASSERT_FALSE(original.empty());
  const std::string alphabet = "<>/='\"&;#x!?-[] \nab0\0"s;
  std::mt19937 random(23);
  for (int round = 0; round < 300; ++round) {
    std::string text = original;
    int edits = 1 + static_cast<int>(random() % 3);
    for (int k = 0; k < edits; ++k) {
      size_t at = random() % text.size();
      char c = alphabet[random() % alphabet.size()];
      switch (random() % 3) {
        case 0: text.erase(at, 1); break;
        case 1: text.insert(text.begin() + static_cast<long>(at), c); break;
        default: text[at] = c;
      }
    }
    for (size_t chunk : {5, 1 << 16}) {
      Outcomes o = parseBoth(text, chunk);
      ASSERT_EQ(o.streamed, o.rapid) << "round " << round << ", chunk " << chunk;
    }
  }
}

// The lenient depth scan: nesting in start tags only, not in comments, CDATA, quotes or
// closed tags; a tag cut off by the end still counts; the limit holds over the whole input,
// also past a syntax error or a NUL.
TEST(XmlTree, NestingLimitCountsOpenStartTags) {
  auto open = [](int n) {
    std::string text;
    for (int i = 0; i < n; ++i) text += "<e>";
    return text;
  };
  auto nested = [](int n, const std::string& inner = "") {
    std::string text;
    for (int i = 0; i < n; ++i) text += "<e>";
    text += inner;
    for (int i = 0; i < n; ++i) text += "</e>";
    return text;
  };
  struct Case {
    std::string text;
    bool tooDeep;
  } cases[] = {
      {nested(10), false},
      {nested(11), true},
      {nested(10, "<!-- <e> --><![CDATA[<e>]]><?p <e>?><e x='>'/>"), false},
      {nested(10, "<e x='>'>"), true},
      {open(9) + "<e", false},
      {open(10) + "<e", true},
      {"<a x=1>" + nested(11), true},
      {"<a/>" + std::string(1, '\0') + nested(11), true},
  };
  for (const Case& c : cases)
    for (size_t chunk : {1, 4, 1 << 16}) {
      XmlTree tree;
      EXPECT_EQ(parseInPieces(c.text, chunk, 10, tree).tooDeep, c.tooDeep) << "chunk " << chunk << ": " << c.text;
    }
}

}  // namespace
}  // namespace nurex::test
