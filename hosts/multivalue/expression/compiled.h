// The compiled form of correlatives and expressions: steps, each a tree of operations. Knows how
// compiled expressions are put together, written out and read back, not what operations do.
//
// One refers to the results of earlier steps by number, never to a later one, so working it out
// always ends. Size and depth are bounded (kMaxOperations, kMaxDepth), which bounds the stack that
// a walk over it takes.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

// Written out by number in the textual form: when this list changes in any way but at its end,
// kCompiledPrefix has to change with it.
enum class Operation : std::uint8_t {
    kConstant,   // text
    kAttribute,  // number; 0 is the id
    kValue,      // what the correlative is applied to
    kId,
    kRecord,
    kToday,
    kNow,
    kItemCounter,
    kBreakLevel,
    kValueCounter,  // 1, 2, ... for as many values as the attributes have
    kSubvalueCounter,
    kStep,  // the result of step `number`
    kAdd,
    kSubtract,
    kMultiply,
    kDivide,
    kRemainder,
    kScaleDown,  // without the last `number` digits
    kRound,      // to `number` decimals
    kNegate,
    kJoin,
    kCompare,  // `number` is a Relation
    kAnd,
    kOr,
    kNot,
    kIf,         // condition, then, else
    kSubstring,  // text, start, length
    kLast,       // text, length
    kReuse,
    kTotal,  // sum of all elements
    kSum,    // sum of the elements of the lowest level
    kMaximum,
    kMinimum,
    kAbsolute,
    kInteger,
    kUpper,
    kLower,
    kLength,
    kTrim,       // text, character, option
    kField,      // text, delimiter, first, count
    kIndex,      // text, part, occurrence
    kParts,      // text, delimiter
    kCount,      // text, part
    kChange,     // text, old, new, count, first
    kExtract,    // text, attribute, value, subvalue
    kLeft,       // text, length
    kRight,      // text, length
    kFormat,     // value, format
    kOutput,     // value, conversion
    kInput,      // value, conversion
    kTranslate,  // key; text: file; `number` of the expression for its records
    kCall,       // arguments; text: name; `number` of the argument that is the result
};
inline constexpr std::size_t kOperationCount = static_cast<std::size_t>(Operation::kCall) + 1;

// Of one of kAdd to kRemainder.
constexpr Arithmetic ArithmeticOf(Operation operation) {
    return static_cast<Arithmetic>(static_cast<int>(operation) - static_cast<int>(Operation::kAdd));
}
static_assert(ArithmeticOf(Operation::kAdd) == Arithmetic::kAdd &&
              ArithmeticOf(Operation::kRemainder) == Arithmetic::kRemainder);

// How an operation takes its operands, where there is a choice.
enum class Manner : std::uint8_t {
    kPlain,  // arithmetic: exact decimals, element by element; anything else: operands as a whole
    kElements,  // element by element; arithmetic with whole numbers
    kSingle,    // of kAttribute: one value by definition
    kOriginal,  // of kTranslate: the key stands for a record that is missing
    kRequired,  // of kTranslate: the record must exist
};

struct OperationNode {
    Operation operation;
    Manner manner;
    // The result belongs to every value of what it is lined up with, as a constant does.
    bool repeats;
    std::uint16_t depth;
    std::uint32_t childCount;
    std::uint32_t firstChild;  // into CompiledExpression::children
    std::int32_t number;
    std::uint32_t text;  // into CompiledExpression::texts
};

struct CompiledExpression {
    std::vector<OperationNode> nodes;
    std::vector<std::uint32_t> children;  // into nodes
    std::vector<Text> texts;
    std::vector<std::uint32_t> steps;        // their topmost nodes; the last is the result
    std::vector<CompiledExpression> others;  // for records of other files

    const OperationNode& Top() const { return nodes[steps.back()]; }
    bool Uses(Operation operation) const;
};

inline constexpr std::size_t kMaxOperations = 10'000;  // together with the expressions inside
inline constexpr std::size_t kMaxDepth = 300;
inline constexpr std::size_t kMaxExpressions = 100;
inline constexpr std::int32_t kMaxScale = 100;  // of kRound and kScaleDown

// What the written form starts with; no correlative does.
inline constexpr TextView kCompiledPrefix = u"{1}";
inline bool IsWrittenExpression(TextView text) {
    return text.starts_with(kCompiledPrefix);
}

// What an operation node is made of.
struct Part {
    Operation operation;
    std::int32_t number = 0;
    TextView text = {};
    Manner manner = Manner::kPlain;
};

// Puts a compiled expression together from the leaves up. Every member raises kTooLong when it
// would pass its limits.
class ExpressionBuilder {
public:
    // Returns the node's number. The children must be nodes that nothing else has as a child.
    std::uint32_t Add(const Part& part, std::span<const std::uint32_t> children = {});
    std::uint32_t Add(const Part& part, std::initializer_list<std::uint32_t> children) {
        return Add(part, std::span(children.begin(), children.size()));
    }

    // Makes a node the top of a new step and returns the step's number.
    std::uint32_t AddStep(std::uint32_t node);
    std::uint32_t AddExpression(CompiledExpression compiled);

    const OperationNode& Node(std::uint32_t node) const { return compiled_.nodes[node]; }
    std::size_t StepCount() const { return compiled_.steps.size(); }
    std::size_t ExpressionCount() const { return compiled_.others.size(); }

    // The finished expression, which must have a step.
    CompiledExpression Finish() { return std::move(compiled_); }

private:
    CompiledExpression compiled_;
    std::size_t operations_ = 0;
    std::size_t expressions_ = 0;
};

// A compiled expression as text, and back. Reading raises kBadArgument for anything but the whole
// text of one; what it accepts is as safe to work out as what was compiled here.
Text WriteExpression(const CompiledExpression& compiled);
CompiledExpression ReadExpression(TextView text);

}  // namespace kel::expression
