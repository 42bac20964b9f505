// The functions and system names that expressions have, as tables for the parser.
#pragma once

#include <array>
#include <cstddef>

#include "hosts/multivalue/expression/compiled.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

struct ExpressionFunction {
    TextView name;
    Operation operation;
    std::size_t least;                      // arguments
    std::size_t most;                       // the operation's operands
    std::array<TextView, 3> defaults = {};  // of the arguments that may be missing
    // Takes and gives numbers that are not rounded for show.
    bool isArithmetic = false;
};

struct SystemName {
    TextView name;
    Operation operation;
    TextView text = {};
};

// By name in capitals; null when there is none.
const ExpressionFunction* FindExpressionFunction(TextView upperName);
const SystemName* FindSystemName(TextView upperName);

}  // namespace kel::expression
