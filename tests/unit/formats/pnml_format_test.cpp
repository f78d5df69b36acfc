// PNML documents: the streaming XML parser against RapidXml's, selection by type, the four
// unit readers, every reader message, gzip, and writing followed by reading.
#include <iterator>
#include <random>

#include <rapidxml/rapidxml.hpp>

#include <rapidxml/rapidxml_print.hpp>

#include "model/formats/gzip_stream.h"
#include "model/formats/readers.h"
#include "model/formats/writers.h"
#include "model/formats/xml_document.h"
#include "model/formats/xml_tree.h"
#include "unit/formats/format_test_util.h"

namespace nurex::test {
namespace {

// The streaming XML parser against RapidXml's in-place parser on the same bytes: the same
// elements, attributes and values, or the same error at the same place, whatever the size of
// the pieces that the input arrives in; and the nesting limit.
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
  Mutator mutator(23);
  for (int round = 0; round < 300; ++round) {
    std::string text = mutator.mutate(original);
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

const std::vector<std::string> AllTypes = {"branching_process:low_level_net", "branching_process:STG",
                                           "merged_process:low_level_net", "merged_process:STG"};

std::string toggleText() { return readBytes(dataPath("toggle.pnml")); }
std::string choiceText() { return readBytes(dataPath("choice_mp.pnml")); }

// Every occurrence replaced; there must be one.
std::string replaced(std::string text, const std::string& from, const std::string& to) {
  EXPECT_NE(text.find(from), std::string::npos) << from;
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// Reads text as a PNML file; the diagnostics and the loaded unit come back.
struct PnmlRead {
  LoadedUnit unit;
  bool ok = false;
  std::string diagnostics;
};
PnmlRead readText(const std::string& text, const std::vector<std::string>& types = AllTypes,
                  const std::string& name = "case.pnml") {
  PnmlRead read;
  std::string path = writeScratch(name, text);
  read.diagnostics = captureStderr([&] { read.ok = readPnmlUnit(path, types, read.unit); });
  return read;
}

TEST(PnmlFormat, ReadsAnStgPrefix) {
  PnmlRead read = readText(toggleText());
  ASSERT_TRUE(read.ok) << read.diagnostics;
  EXPECT_EQ(read.diagnostics, "");
  StgPrefix& prefix = *read.unit.stgPrefix;
  EXPECT_EQ(prefix.name, "toggle");
  EXPECT_EQ(canonicalNet(prefix), "P p0 1 < a- > a+\nP p1 0 < a+ > a-\nT a+\nT a-\nT d\n");
  EXPECT_EQ(canonicalSignals(prefix), "a:1:0\nd:3:2\na+->a:0\na-->a:1\nd->d:2\n");
  EXPECT_EQ(canonicalEvents(prefix), "a+ [ c0=p0 ] [ c1=p1 ]\na- [ c1=p1 ] [ c2=p0 ] cut-off:initial\n");
  EXPECT_EQ(prefix.events[1]->sign, SignMinus);
}

TEST(PnmlFormat, ReadsAMergedProcess) {
  PnmlRead read = readText(choiceText());
  ASSERT_TRUE(read.ok) << read.diagnostics;
  PetriNetMergedProcess& mp = *read.unit.petriNetMergedProcess;
  EXPECT_EQ(canonicalEvents(mp), "a [ c0=p ] [ c1=q ]\nb [ c0=p ] [ c1=q ]\nc [ c1=q ] [ c2=p ] cut-off\n");
  EXPECT_EQ(mp.conditions[0]->tokens, 1u);
  EXPECT_EQ(mp.conditions[1]->tokens, 0u);  // no initialMarking
  EXPECT_EQ(mp.conditions[2]->occurrenceDepth, 2u);
}

TEST(PnmlFormat, TypeSelectsTheReader) {
  std::string lowLevel = replaced(toggleText(), "branching_process:STG", "low_level_net");
  for (auto types : {AllTypes, std::vector<std::string>(AllTypes.begin(), AllTypes.begin() + 3),
                     std::vector<std::string>{"branching_process:STG"}}) {
    PnmlRead read = readText(lowLevel, types);
    EXPECT_FALSE(read.ok);
    EXPECT_EQ(read.diagnostics, errorText("unexpected net type: low_level_net"));
  }
  PnmlRead read = readText(replaced(choiceText(), "merged_process:low_level_net", "merged_process:STG"),
                           {AllTypes.begin(), AllTypes.begin() + 3});
  EXPECT_EQ(read.diagnostics, errorText("unexpected net type: merged_process:STG"));
  // A table that held "low_level_net" would try an unknown type as one, and no reader serves it.
  read = readText(replaced(toggleText(), "branching_process:STG", "petri"), {"low_level_net"});
  EXPECT_FALSE(read.ok);
  EXPECT_EQ(read.diagnostics, warningText("unexpected net type: petri; attempting to read as a low-level net") +
                                  errorText("unexpected net type: low_level_net"));
}

TEST(PnmlFormat, CutOffFormsGiveTheCorrespondent) {
  const std::string empty = "<correspondent/>";
  struct Case {
    std::string cutOff;
    std::string expected;
  } cases[] = {
      {empty, "cut-off:initial"},
      {"", "cut-off:unknown"},
      {"<correspondent><ref>e0</ref></correspondent>", "cut-off:e0"},
      {"<correspondent><ref>e0</ref><other/><ref>e1</ref></correspondent>", "cut-off:e0 cut-off:e1"},
  };
  for (const Case& c : cases) {
    PnmlRead read = readText(replaced(toggleText(), empty, c.cutOff));
    ASSERT_TRUE(read.ok) << read.diagnostics;
    std::string events = canonicalEvents(*read.unit.stgPrefix);
    EXPECT_NE(events.find("] " + c.expected + "\n"), std::string::npos) << events;
  }
  PnmlRead read = readText(replaced(toggleText(), empty, "<correspondent><ref>c0</ref></correspondent>"));
  EXPECT_EQ(read.diagnostics, errorText("XML identifier \"c0\" has not been declared"));
}

TEST(PnmlFormat, MarkingsAndCountsAreDecimals) {
  PnmlRead read = readText(replaced(choiceText(), "<text>1</text>\n\t\t\t\t</initialMarking>", "<text>0</text></initialMarking>"));
  EXPECT_TRUE(read.ok) << read.diagnostics;
  struct Case {
    std::string from, to, error;
  } cases[] = {
      {"<text>1</text>\n\t\t\t\t</initialMarking>", "<text>-1</text></initialMarking>", "positive integer expected: -1"},
      {"<text>2</text>\n\t\t\t\t</occurrence_depth>", "<text>0</text></occurrence_depth>", "positive integer expected: 0"},
      {"<text>2</text>\n\t\t\t\t</occurrence_depth>", "<text>4294967296</text></occurrence_depth>",
       "positive integer expected: 4294967296"},
      {"<text>2</text>\n\t\t\t\t</occurrence_depth>", "</occurrence_depth>",
       "XML node \"occurrence_depth\" must have a child \"text\""},
      {"<occurrence_depth>\n\t\t\t\t\t<text>2</text>\n\t\t\t\t</occurrence_depth>", "",
       "XML node \"place\" must have a child \"occurrence_depth\""},
  };
  for (const Case& c : cases) {
    read = readText(replaced(choiceText(), c.from, c.to));
    EXPECT_FALSE(read.ok);
    EXPECT_EQ(read.diagnostics, errorText(c.error));
  }
}

// Each fault of a document, with the one error it must give.
TEST(PnmlFormat, FaultsGiveTheirErrors) {
  struct Case {
    std::string from, to, error;
  } cases[] = {
      {"sign=\"+\"", "sign=\"++\"", "attribute \"sign\" of XML node \"signal\" has incorrect value \"++\""},
      {"sign=\"+\"", "", "XML node \"signal\" must have attribute \"sign\""},
      {"type=\"output\"", "type=\"outputs\"", "attribute \"type\" of XML node \"signal\" has incorrect value \"outputs\""},
      {"initialValue=\"0\"", "initialValue=\"2\"",
       "attribute \"initialValue\" of XML node \"signal\" has incorrect value \"2\""},
      {"initialValue=\"?\"", "initialValue=\"1\"", "dummy signal d has an initial value distinct from '?'"},
      {"<text>d</text>\n\t\t\t\t\t\t</name>\n\t\t\t\t\t</signal>", "<text>a</text></name></signal>",
       "signal a is declared more then once (file XML, line 0)"},
      {"<signal ref=\"s0\" sign=\"-\">\n\t\t\t\t\t\t\t<text>a</text>\n\t\t\t\t\t\t</signal>", "",
       "XML node \"transition\" must have a child \"signal\""},
      {"ref=\"s0\" sign=\"-\"", "ref=\"p0\" sign=\"-\"", "XML identifier \"p0\" has not been declared"},
      {"<place id=\"c2\">", "<place id=\"c1\">", "Duplicate XML id: \"c1\""},
      {"<place id=\"c2\">", "<place>", "XML node \"place\" must have attribute \"id\""},
      {"<transition id=\"t2\">", "<transition id=\"p1\">", "Duplicate XML id: \"p1\""},
      {"<arc source=\"c1\" target=\"e1\"/>", "<arc source=\"c9\" target=\"e1\"/>",
       "XML identifier \"c9\" has not been declared"},
      {"<arc source=\"c1\" target=\"e1\"/>", "<arc target=\"e1\"/>", "XML node \"arc\" must have attribute \"source\""},
      {"<arc source=\"c1\" target=\"e1\"/>", "<arc source=\"c1\" target=\"c0\"/>",
       "arc c1 --> c0 does not join a place and a transition"},
      {"<arc source=\"e1\" target=\"c2\"/>", "<arc source=\"e1\" target=\"c1\"/>",
       "XML node \"place\" with id \"c1\" has more than one producer"},
      {"<originalNode ref=\"t0\">", "<originalNode ref=\"p0\">", "XML identifier \"p0\" has not been declared"},
      {"<originalNode ref=\"t0\">", "<originalNode>", "XML node \"originalNode\" must have attribute \"ref\""},
      {"<originalNode ref=\"p1\">\n\t\t\t\t\t<text>p1</text>\n\t\t\t\t</originalNode>", "",
       "XML node \"place\" must have a child \"originalNode\""},
      {"<net type=\"STG\">", "<net type=\"low_level_net\">",
       "attribute \"type\" of XML node \"net\" has incorrect value \"low_level_net\""},
      {"original_net>", "original>", "XML node \"net\" must have a child \"original_net\""},
      {"<name>\n\t\t\t\t\t\t\t<text>p1</text>\n\t\t\t\t\t\t</name>", "", "XML node \"place\" must have a child \"name\""},
  };
  for (const Case& c : cases) {
    PnmlRead read = readText(replaced(toggleText(), c.from, c.to));
    EXPECT_FALSE(read.ok) << c.error;
    EXPECT_EQ(read.diagnostics, errorText(c.error));
  }
}

TEST(PnmlFormat, DocumentTopIsChecked) {
  struct Case {
    std::string text, error;
  } cases[] = {
      {"", "XML node \"ROOT\" has no children"},
      {"<net type=\"branching_process:STG\"/>", "XML node \"ROOT\" must have a child \"pnml\""},
      {"<pnml/>", "XML node \"pnml\" has no children"},
      {"<pnml><page/><net type=\"branching_process:STG\"/></pnml>", "XML node \"pnml\" must have a child \"net\""},
      {"<pnml><net/></pnml>", "XML node \"net\" must have attribute \"type\""},
  };
  for (const Case& c : cases) EXPECT_EQ(readText(c.text).diagnostics, errorText(c.error));
  std::string diagnostics = readText("<pnml><net type=\"x\"></pnml>").diagnostics;
  EXPECT_EQ(diagnostics.rfind("\nError: syntax error in an XML file: ", 0), 0u) << diagnostics;
}

TEST(PnmlFormat, DuplicateArcIsSkippedWithAWarning) {
  std::string arc = "<arc source=\"c0\" target=\"e0\"/>";
  PnmlRead read = readText(replaced(toggleText(), arc, arc + arc));
  ASSERT_TRUE(read.ok);
  EXPECT_EQ(read.diagnostics, warningText("ignoring duplicate arc: c0 --> e0"));
  EXPECT_EQ(read.unit.stgPrefix->events[0]->preset.size(), 1u);
}

TEST(PnmlFormat, GzipNameNeedsGzipData) {
  PnmlRead read = readText(toggleText(), AllTypes, "plain.pnml.gz");
  EXPECT_FALSE(read.ok);
  EXPECT_EQ(read.diagnostics.rfind("\nError: syntax error in an XML file: ", 0), 0u) << read.diagnostics;
}

template <class Unit>
void expectSameUnit(const Unit& a, const Unit& b) {
  EXPECT_EQ(canonicalNet(a), canonicalNet(b));
  EXPECT_EQ(canonicalEvents(a), canonicalEvents(b));
  if constexpr (Unit::isStg) {
    EXPECT_EQ(canonicalSignals(a), canonicalSignals(b));
  }
}

// Units written and read again, plain and gzip, the hand-made ones and benchmark prefixes.
TEST(PnmlFormat, WrittenUnitsReadBackTheSame) {
  for (std::string file : {dataPath("toggle.pnml"), dataPath("choice_mp.pnml"), std::string(NUREX_BENCHMARKS) + "/prefixes/gcd.pnml",
                           std::string(NUREX_BENCHMARKS) + "/prefixes/dme-e.pnml.gz",
                           std::string(NUREX_BENCHMARKS) + "/prefixes/dp_6.pnml.gz"})
    for (const char* written : {"written.pnml", "written.pnml.gz"}) {
      SCOPED_TRACE(file + " as " + written);
      LoadedUnit first, second;
      std::string path = scratchPath(written);
      std::string diagnostics = captureStderr([&] {
        ASSERT_TRUE(readPnmlUnit(file, AllTypes, first));
        EXPECT_TRUE(first.stgPrefix               ? writeUnitPnml(*first.stgPrefix, path)
                    : first.petriNetPrefix        ? writeUnitPnml(*first.petriNetPrefix, path)
                                                  : writeUnitPnml(*first.petriNetMergedProcess, path));
        ASSERT_TRUE(readPnmlUnit(path, AllTypes, second));
      });
      EXPECT_EQ(diagnostics, "");
      ASSERT_EQ(!first.stgPrefix, !second.stgPrefix);
      ASSERT_EQ(!first.petriNetPrefix, !second.petriNetPrefix);
      ASSERT_EQ(!first.petriNetMergedProcess, !second.petriNetMergedProcess);
      if (first.stgPrefix) expectSameUnit(*first.stgPrefix, *second.stgPrefix);
      else if (first.petriNetPrefix) expectSameUnit(*first.petriNetPrefix, *second.petriNetPrefix);
      else expectSameUnit(*first.petriNetMergedProcess, *second.petriNetMergedProcess);
    }
}

// The documents keep RapidXml's layout and escaping: parsing one and printing it again
// gives back the same bytes, for plain and gzip files alike.
void expectReprintedAs(const std::string& path, const std::string& expected) {
  std::string buffer;
  if (path.size() > 3 && path.compare(path.size() - 3, 3, ".gz") == 0) {
    GzipInputBuffer gzip(path);
    buffer.assign(std::istreambuf_iterator<char>(&gzip), std::istreambuf_iterator<char>());
    ASSERT_FALSE(gzip.failed()) << path;
  } else {
    buffer = readBytes(path);
  }
  XmlDocument document;
  ASSERT_NO_THROW(document.parse<rapidxml::parse_validate_closing_tags | rapidxml::parse_no_data_nodes>(buffer.data()));
  std::string text;
  rapidxml::print(std::back_inserter(text), document);
  EXPECT_EQ(text, expected) << path;
}

TEST(PnmlFormat, WrittenNamesAreEscapedAndReadBack) {
  const std::string odd = "<&'\">";
  PnmlRead read = readText(toggleText());
  ASSERT_TRUE(read.ok);
  StgPrefix& prefix = *read.unit.stgPrefix;
  prefix.name = "";
  std::string place = prefix.places[0]->name;
  prefix.places[0]->name += odd;
  prefix.transitions[2]->name += odd;
  prefix.signals[0]->name += odd;
  for (const char* name : {"odd.pnml", "odd.pnml.gz"}) {
    std::string path = scratchPath(name);
    PnmlRead second;
    second.diagnostics = captureStderr([&] {
      EXPECT_TRUE(writeUnitPnml(prefix, path));
      second.ok = readPnmlUnit(path, AllTypes, second.unit);
    });
    ASSERT_TRUE(second.ok) << second.diagnostics;
    EXPECT_EQ(second.unit.stgPrefix->name, "");
    expectSameUnit(prefix, *second.unit.stgPrefix);
    expectReprintedAs(path, readBytes(scratchPath("odd.pnml")));
  }
  std::string text = readBytes(scratchPath("odd.pnml"));
  EXPECT_NE(text.find("<text>" + place + "&lt;&amp;&apos;&quot;&gt;</text>"), std::string::npos) << text;
  EXPECT_NE(text.find("<name>\n\t\t\t<text/>\n\t\t</name>"), std::string::npos) << text;
}

TEST(PnmlFormat, WrittenDocumentsKeepTheirLayout) {
  std::string path = scratchPath("layout.pnml");
  for (const char* file : {"toggle.pnml", "choice_mp.pnml"}) {
    PnmlRead read = readText(readBytes(dataPath(file)));
    ASSERT_TRUE(read.ok);
    for (bool net : {false, true}) {
      captureStderr([&] {
        if (read.unit.stgPrefix) {
          const Stg& original = *read.unit.stgPrefix;
          EXPECT_TRUE(net ? writeNetPnml(original, path) : writeUnitPnml(*read.unit.stgPrefix, path));
        } else {
          const PetriNet& original = *read.unit.petriNetMergedProcess;
          EXPECT_TRUE(net ? writeNetPnml(original, path) : writeUnitPnml(*read.unit.petriNetMergedProcess, path));
        }
      });
      expectReprintedAs(path, readBytes(path));
    }
  }
  // Elements without content close in their start tag.
  captureStderr([&] { EXPECT_TRUE(writeNetPnml(PetriNet(), path)); });
  EXPECT_EQ(readBytes(path), "<pnml xmlns=\"http://www.pnml.org/version-2009/grammar/pnml\">\n\t<net type=\"low_level_net\">\n"
                             "\t\t<name>\n\t\t\t<text/>\n\t\t</name>\n\t\t<page/>\n\t</net>\n</pnml>\n\n");
  expectReprintedAs(path, readBytes(path));
}

TEST(PnmlFormat, UnwritableFileIsReported) {
  PnmlRead read = readText(toggleText());
  ASSERT_TRUE(read.ok);
  std::string path = scratchPath("no_such_dir/x.pnml");
  std::string diagnostics = captureStderr([&] { EXPECT_FALSE(writeUnitPnml(*read.unit.stgPrefix, path)); });
  EXPECT_EQ(diagnostics, errorText("cannot open \"" + path + "\" for output"));
  // A file that opens but takes nothing, as a full disk does.
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP();
  diagnostics = captureStderr([&] { EXPECT_FALSE(writeUnitPnml(*read.unit.stgPrefix, "/dev/full")); });
  EXPECT_EQ(diagnostics, errorText("cannot write a file"));
}

}  // namespace
}  // namespace nurex::test
