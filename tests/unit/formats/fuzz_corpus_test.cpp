// The fuzz targets' regression corpora, replayed through the same entry points: every input
// that once found a fault and a few hundred from the seed corpora must go through without a
// crash or a sanitizer report, and leave the reporter clean for the next one.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "fuzz/harnesses.h"
#include "platform/reporter.h"

namespace nurex::test {
namespace {

std::vector<std::string> corpusFiles(const std::string& target) {
  std::string dir = std::string(NUREX_SOURCE_DIR) + "/tests/fuzz/corpus/" + target;
  std::vector<std::string> files;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* entry = readdir(d))
      if (entry->d_name[0] != '.') files.push_back(dir + "/" + entry->d_name);
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST(FuzzCorpus, EveryTargetReplaysItsCorpus) {
  for (const fuzz::FuzzTarget& target : fuzz::fuzzTargets()) {
    std::vector<std::string> files = corpusFiles(target.name);
    EXPECT_GE(files.size(), 10u) << "the corpus of " << target.name << " is missing";
    for (const std::string& file : files) {
      SCOPED_TRACE(file);
      std::ifstream in(file, std::ios::binary);
      std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
      EXPECT_EQ(target.run(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), 0);
      EXPECT_EQ(raiseStatus(0), StatusClean);
    }
  }
}

}  // namespace
}  // namespace nurex::test
