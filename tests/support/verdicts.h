// Test support: the rows of benchmarks/verdicts.tsv, each a map from column name to cell.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace nurex::test {

using VerdictCells = std::map<std::string, std::string>;

// Every row of the table, in file order; the header names the cells.
std::vector<VerdictCells> readBenchmarkVerdicts();
// The rows of one kind ("stg" or "net").
std::vector<VerdictCells> readBenchmarkVerdicts(const std::string& kind);
// The prefix sizes of a row as the loaders print them.
std::string statisticsLine(VerdictCells& row);

}  // namespace nurex::test
