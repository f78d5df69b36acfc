// Helpers of the format tests: scratch files, damaged copies of files, and a canonical text
// of a net or prefix that two reads of the same thing must share.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "model/prefix.h"
#include "platform/reporter.h"
#include "support/capture.h"
#include "support/net_text.h"

namespace nurex::test {

// A directory of this process for written files, removed when the tests end.
inline const std::filesystem::path& scratchDirectory() {
  static struct Scratch {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / ("nurex_formats_" + std::to_string(::getpid()));
    Scratch() { std::filesystem::create_directories(dir); }
    ~Scratch() {
      std::error_code ignored;
      std::filesystem::remove_all(dir, ignored);
    }
  } scratch;
  return scratch.dir;
}

inline std::string scratchPath(const std::string& name) { return (scratchDirectory() / name).string(); }

inline std::string dataPath(const std::string& name) { return std::string(NUREX_SOURCE_DIR) + "/tests/data/formats/" + name; }

inline std::string writeScratch(const std::string& name, const std::string& bytes) {
  std::string path = scratchPath(name);
  // A fresh file rather than a truncated one: rewriting in place makes the file system flush.
  std::filesystem::remove(path);
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

inline std::string readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Deterministic damage: bit flips, truncations, inserted, deleted and overwritten bytes, a
// few at a time; the values favour bytes that mean something in the formats.
class Mutator {
 public:
  explicit Mutator(uint32_t seed) : random_(seed) {}
  std::string mutate(std::string bytes) {
    int edits = 1 + static_cast<int>(pick(3));
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

inline std::string errorText(const std::string& text) { return "\nError: " + text + "\n"; }
inline std::string warningText(const std::string& text) { return "\nWarning: " + text + "\n"; }

// Events in list order with transition, preset and postset places and cut-off kind.
template <class Unit>
std::string canonicalEvents(const Unit& unit) {
  std::string text;
  for (const auto* e : unit.events) {
    text += e->transition->name + " [";
    for (const auto* c : e->preset) text += " " + conditionName(c) + "=" + c->place->name;
    text += " ] [";
    for (const auto* c : e->postset) text += " " + conditionName(c) + "=" + c->place->name;
    text += " ]";
    if constexpr (Unit::isMergedProcess) text += e->isCutOff ? " cut-off" : "";
    else {
      const CutOffLink& link = e->correspondent;
      if (link.isInitialState()) text += " cut-off:initial";
      if (link.isUnknown()) text += " cut-off:unknown";
      for (const Event* other : link.correspondents()) text += " cut-off:" + eventName(other);
    }
    text += "\n";
  }
  return text;
}

}  // namespace nurex::test
