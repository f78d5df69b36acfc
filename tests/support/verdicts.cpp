// Reads the verdict table of the benchmarks once, by its header.
#include "support/verdicts.h"

#include <fstream>
#include <sstream>

namespace nurex::test {

namespace {
std::vector<std::string> splitTabs(const std::string& line) {
  std::vector<std::string> cells;
  std::stringstream fields(line);
  for (std::string cell; std::getline(fields, cell, '\t');) cells.push_back(cell);
  return cells;
}
}  // namespace

std::vector<VerdictCells> readBenchmarkVerdicts() {
  std::ifstream in(std::string(NUREX_BENCHMARKS) + "/verdicts.tsv");
  std::string line;
  std::getline(in, line);
  std::vector<std::string> header = splitTabs(line);
  std::vector<VerdictCells> rows;
  while (std::getline(in, line)) {
    std::vector<std::string> cells = splitTabs(line);
    if (cells.size() != header.size()) continue;
    VerdictCells row;
    for (size_t i = 0; i < cells.size(); ++i) row[header[i]] = cells[i];
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<VerdictCells> readBenchmarkVerdicts(const std::string& kind) {
  std::vector<VerdictCells> rows = readBenchmarkVerdicts();
  std::erase_if(rows, [&](VerdictCells& row) { return row["kind"] != kind; });
  return rows;
}

std::string statisticsLine(VerdictCells& row) {
  return "\n |B|=" + row["B"] + " |E|=" + row["E"] + " |C|=" + row["C"] + " |BE|=" + row["BE"] + " |EB|=" + row["EB"];
}

}  // namespace nurex::test
