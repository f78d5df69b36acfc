// Damaged input: deterministic mutations of valid files of every format go through the
// readers, which must reject through the Reporter (status 2 with a null result) or load.
#include <fcntl.h>
#include <unistd.h>

#include <random>

#include "model/formats/format_common.h"
#include "model/formats/g_reader.h"
#include "model/formats/readers.h"
#include "model/formats/writers.h"
#include "unit/formats/format_test_util.h"

namespace nurex::test {
namespace {

// Sends stderr to /dev/null while it lives: thousands of rejections would flood the log.
class SilencedStderr {
 public:
  SilencedStderr() : saved_(dup(2)) {
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    close(null);
  }
  ~SilencedStderr() {
    dup2(saved_, 2);
    close(saved_);
  }

 private:
  int saved_;
};

// Bit flips, truncations, inserted, deleted and overwritten bytes, a few at a time; the
// values favour bytes that mean something in the formats.
class Mutator {
 public:
  explicit Mutator(uint32_t seed) : random_(seed) {}
  std::string mutate(std::string bytes) {
    int edits = 1 + pick(3);
    for (int i = 0; i < edits && !bytes.empty(); ++i) {
      size_t at = pick(bytes.size());
      switch (pick(6)) {
        case 0: bytes[at] = char(bytes[at] ^ (1 << pick(8))); break;
        case 1: bytes.resize(at); break;
        case 2: bytes.insert(at, 1, interesting()); break;
        case 3: bytes.erase(at, 1 + pick(8)); break;
        case 4: bytes[at] = interesting(); break;
        default: bytes.insert(at, bytes.substr(pick(bytes.size()), pick(16))); break;
      }
    }
    return bytes;
  }

 private:
  size_t pick(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random_); }
  char interesting() {
    static const char bytes[] = {'\0', '\xff', '\x80', '0', '1', '9', '-', '+', '<', '>', '/', '"', '&', '\n', ' ', '='};
    return bytes[pick(sizeof bytes)];
  }
  std::mt19937 random_;
};

// A loaded unit is touched throughout, so that a dangling or missing node would show.
template <class Unit>
void touch(const Unit& unit) {
  auto statistics = computeStatistics(unit.conditions, unit.events);
  EXPECT_EQ(statistics.events, unit.events.size());
  for (const auto* e : unit.events) EXPECT_NE(e->transition->name.size(), size_t(-1));
  for (const auto* c : unit.conditions) EXPECT_NE(c->place->name.size(), size_t(-1));
}

bool expectRejectedThroughReporter(bool loaded, const std::string& what) {
  uint32_t status = raiseStatus(0);
  if (loaded) EXPECT_LT(status, StatusError) << what;
  else EXPECT_EQ(status, StatusError) << what;
  return loaded;
}

// Damaged gzip data fails its check sum, so only plain formats must also load sometimes.
template <class Read>
void runMutations(const std::string& seedFile, const std::string& name, int count, Read read) {
  std::string original = readBytes(seedFile);
  ASSERT_FALSE(original.empty()) << seedFile;
  Mutator mutator(static_cast<uint32_t>(std::hash<std::string>()(name)));
  int loaded = 0;
  {
    SilencedStderr silence;
    for (int i = 0; i < count; ++i) {
      std::string path = writeScratch(name, mutator.mutate(original));
      resetStatus();
      loaded += read(path, name + " #" + std::to_string(i));
    }
  }
  resetStatus();
  // Both outcomes occur, or the mutations would not reach the depth of the readers.
  if (!endsWith(name, ".gz")) {
    EXPECT_GT(loaded, 0) << name;
  }
  EXPECT_LT(loaded, count) << name;
}

TEST(FormatRobustness, MutatedMciFiles) {
  auto read = [](const std::string& path, const std::string& what) {
    auto prefix = readPrefixMci(path);
    expectRejectedThroughReporter(prefix != nullptr, what);
    if (prefix) touch(*prefix);
    resetStatus();
    auto stg = readStgPrefixMci(path);
    expectRejectedThroughReporter(stg != nullptr, what + " as STG");
    if (stg) touch(*stg);
    return prefix != nullptr;
  };
  runMutations(std::string(NUREX_BENCHMARKS) + "/prefixes/vme.mci", "m1.mci", 600, read);
  runMutations(std::string(NUREX_BENCHMARKS) + "/prefixes/hybridf.mci", "m2.mci", 400, read);
}

TEST(FormatRobustness, MutatedMpFiles) {
  auto read = [](const std::string& path, const std::string& what) {
    auto mp = readMergedProcessMp(path);
    expectRejectedThroughReporter(mp != nullptr, what);
    if (mp) touch(*mp);
    resetStatus();
    auto stg = readStgMergedProcessMp(path);
    expectRejectedThroughReporter(stg != nullptr, what + " as STG");
    return mp != nullptr;
  };
  runMutations(dataPath("choice.mp"), "m.mp", 600, read);
  runMutations(dataPath("choice_stg.mp"), "s.mp", 300, read);
}

TEST(FormatRobustness, MutatedPnmlFiles) {
  auto read = [](const std::string& path, const std::string& what) {
    LoadedUnit unit;
    bool loaded = readPnmlUnit(path,
                               {"branching_process:low_level_net", "branching_process:STG", "merged_process:low_level_net",
                                "merged_process:STG"},
                               unit);
    expectRejectedThroughReporter(loaded, what);
    if (unit.stgPrefix) touch(*unit.stgPrefix);
    if (unit.petriNetMergedProcess) touch(*unit.petriNetMergedProcess);
    return loaded;
  };
  runMutations(dataPath("toggle.pnml"), "m.pnml", 800, read);
  runMutations(dataPath("choice_mp.pnml"), "c.pnml", 500, read);
  runMutations(std::string(NUREX_BENCHMARKS) + "/prefixes/vme-read.pnml.gz", "m.pnml.gz", 200, read);
}

TEST(FormatRobustness, MutatedGFiles) {
  auto read = [](const std::string& path, const std::string& what) {
    auto stg = readStgText(path);
    if (!expectRejectedThroughReporter(stg != nullptr, what)) return false;
    std::ostringstream text;
    EXPECT_TRUE(writeStgText(*stg, text));
    return true;
  };
  runMutations(dataPath("mixed.g"), "m.g", 500, read);
  runMutations(std::string(NUREX_BENCHMARKS) + "/nets/vme.g", "v.g", 300, read);
}

}  // namespace
}  // namespace nurex::test
