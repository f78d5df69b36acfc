// Reading a REACH property (the -d text, or the file named after '@') into a checked tree.
#pragma once

#include <string>

#include "reach/reach_expr.h"

namespace nurex {

// Parses and type-checks one property text. Null after every error has been reported
// (syntax, type or lexical); the tree is then never partial.
ReachExprPtr parseReachText(const std::string& text);

// The -d string of -F and -Fs: "@name" reads the property from the file `name` (failing with
// "cannot open ... for input"), anything else is the property itself.
ReachExprPtr parseReachProperty(const std::string& dataString);

}  // namespace nurex
