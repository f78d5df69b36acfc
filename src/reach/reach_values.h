// Values of REACH expansion that do not depend on the net: the order of values, set values,
// and the operators over numbers, strings and sets. Internal to src/reach.
#pragma once

#include <string>
#include <vector>

#include "reach/reach_expr.h"

namespace nurex {

inline bool isReachFail(const ReachExpr& e) { return e.tag == ReachFail; }
inline bool isReachBool(const ReachExpr& e) { return e.tag == ReachBoolConst; }
// A constant, a node value, or a set literal of such values.
bool isReachValue(const ReachExpr& e);
// The message of a normalised `fail` node.
const std::string& reachFailMessage(const ReachExpr& fail);

// A total order on values: by node kind, then numbers signed, strings bytewise, nodes by
// number, sets lexicographically. Other nodes (which are not values) by their printed text.
int compareReachValues(const ReachExpr& a, const ReachExpr& b);
// A set value: the items sorted by the order above, duplicates dropped.
ReachExprPtr makeReachSet(std::vector<ReachExprPtr> items);

// The value of an operator over normalised operands that are all values: `string`, `len`,
// unary minus, `card`, the binary operators on numbers, strings and sets, the comparisons,
// `in`, and substrings. The result is a value or a `fail` node.
ReachExprPtr foldReachUnaryValue(const ReachExpr& node);
ReachExprPtr foldReachBinaryValue(const ReachExpr& node);
ReachExprPtr foldReachSubstring(const ReachExpr& node);

// The text that bounds a substring (both inclusive, counted from 0) cut out of `text`.
std::string reachSubstring(const std::string& text, int32_t from, int32_t to);

}  // namespace nurex
