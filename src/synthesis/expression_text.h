// Sums of products as text: the equations of results and the expressions of netlists.
#pragma once

#include <string>
#include <vector>

#include "kernel/bdd_cover.h"
#include "model/net.h"

namespace nurex {

// Results spell constants "1b`1" and "1b`0"; a netlist needs Verilog's own "1'b1" and "1'b0".
enum class ConstantStyle { Result, Verilog };

// "a & !b | c": products joined by " | ", literals by " & ", negation as "!". Variables are
// signal indices; in the Verilog style names that are not plain identifiers are escaped.
std::string expressionText(const SumOfProducts& sop, const NodeList<Signal>& signals, ConstantStyle style);
// The complement of the sum: "!(...)", a constant turned over.
std::string complementText(const SumOfProducts& sop, const NodeList<Signal>& signals, ConstantStyle style);
// The name as a Verilog identifier: itself, or escaped ("\name ") when it is not a plain
// identifier or is a keyword.
std::string verilogName(const std::string& name);
// " a b c": the names, each after a blank, as the results list triggers and context.
std::string signalNamesText(const std::vector<const Signal*>& signals);

}  // namespace nurex
