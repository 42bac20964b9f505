// Puts compiled expressions together, writes them out, reads and checks them.
#include "hosts/multivalue/expression/compiled.h"

#include <algorithm>
#include <array>
#include <optional>

#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/error.h"

namespace kel::expression {

namespace {

// When a result repeats.
enum class Repeats : std::uint8_t {
    kAlways,  // one value by its nature
    kNever,
    kOperands,  // when all operands do
    kFirst,     // when the first operand does
    kBranches,  // when all operands but the first do
};

struct Shape {
    std::uint8_t least;  // operands
    std::uint8_t most;   // 255: any number
    Repeats repeats;
    bool hasText = false;
    bool single = false;  // Manner::kElements makes it one value per element: then as its operands
};

constexpr std::uint8_t kAny = 255;

constexpr std::array<Shape, kOperationCount> kShapes = {{
    {0, 0, Repeats::kAlways, true},           // kConstant
    {0, 0, Repeats::kNever},                  // kAttribute
    {0, 0, Repeats::kAlways},                 // kValue
    {0, 0, Repeats::kAlways},                 // kId
    {0, 0, Repeats::kNever},                  // kRecord
    {0, 0, Repeats::kAlways},                 // kToday
    {0, 0, Repeats::kAlways},                 // kNow
    {0, 0, Repeats::kAlways},                 // kItemCounter
    {0, 0, Repeats::kAlways},                 // kBreakLevel
    {0, 0, Repeats::kNever},                  // kValueCounter
    {0, 0, Repeats::kNever},                  // kSubvalueCounter
    {0, 0, Repeats::kNever},                  // kStep
    {2, 2, Repeats::kOperands},               // kAdd
    {2, 2, Repeats::kOperands},               // kSubtract
    {2, 2, Repeats::kOperands},               // kMultiply
    {2, 2, Repeats::kOperands},               // kDivide
    {2, 2, Repeats::kOperands},               // kRemainder
    {1, 1, Repeats::kOperands},               // kScaleDown
    {1, 1, Repeats::kOperands},               // kRound
    {1, 1, Repeats::kOperands},               // kNegate
    {2, 2, Repeats::kOperands},               // kJoin
    {2, 2, Repeats::kAlways, false, true},    // kCompare
    {2, 2, Repeats::kAlways, false, true},    // kAnd
    {2, 2, Repeats::kAlways, false, true},    // kOr
    {1, 1, Repeats::kAlways, false, true},    // kNot
    {3, 3, Repeats::kBranches, false, true},  // kIf
    {3, 3, Repeats::kFirst, false, true},     // kSubstring
    {2, 2, Repeats::kFirst, false, true},     // kLast
    {1, 1, Repeats::kAlways},                 // kReuse
    {1, 1, Repeats::kAlways},                 // kTotal
    {1, 1, Repeats::kAlways},                 // kSum
    {1, 1, Repeats::kAlways},                 // kMaximum
    {1, 1, Repeats::kAlways},                 // kMinimum
    {1, 1, Repeats::kOperands},               // kAbsolute
    {1, 1, Repeats::kOperands},               // kInteger
    {1, 1, Repeats::kFirst},                  // kUpper
    {1, 1, Repeats::kFirst},                  // kLower
    {1, 1, Repeats::kAlways},                 // kLength
    {3, 3, Repeats::kFirst},                  // kTrim
    {4, 4, Repeats::kFirst},                  // kField
    {3, 3, Repeats::kAlways},                 // kIndex
    {2, 2, Repeats::kAlways},                 // kParts
    {2, 2, Repeats::kAlways},                 // kCount
    {5, 5, Repeats::kFirst},                  // kChange
    {4, 4, Repeats::kNever},                  // kExtract
    {2, 2, Repeats::kFirst},                  // kLeft
    {2, 2, Repeats::kFirst},                  // kRight
    {2, 2, Repeats::kFirst},                  // kFormat
    {2, 2, Repeats::kFirst},                  // kOutput
    {2, 2, Repeats::kFirst},                  // kInput
    {1, 1, Repeats::kFirst, true},            // kTranslate
    {1, kAny, Repeats::kFirst, true},         // kCall
}};

const Shape& ShapeOf(Operation operation) {
    return kShapes[static_cast<std::size_t>(operation)];
}

[[noreturn]] void RaiseTooLong() {
    throw Error(ErrorKind::kTooLong,
                u"The correlative is nested too deep or too long to be worked out.");
}

std::size_t CountOperations(const CompiledExpression& compiled) {
    std::size_t count = compiled.nodes.size();
    for (const CompiledExpression& other : compiled.others) {
        count += CountOperations(other);
    }
    return count;
}

std::size_t CountExpressions(const CompiledExpression& compiled) {
    std::size_t count = 1;
    for (const CompiledExpression& other : compiled.others) {
        count += CountExpressions(other);
    }
    return count;
}

std::size_t DepthOf(const CompiledExpression& compiled) {
    std::size_t depth = 0;
    for (const OperationNode& node : compiled.nodes) {
        depth = std::max<std::size_t>(depth, node.depth);
    }
    return depth;
}

void WriteNode(const CompiledExpression& compiled, std::uint32_t index, Text& out) {
    const OperationNode& node = compiled.nodes[index];
    for (std::uint32_t i = 0; i < node.childCount; ++i) {
        WriteNode(compiled, compiled.children[node.firstChild + i], out);
    }
    AppendInteger(out, static_cast<int>(node.operation));
    for (const std::int64_t part : {static_cast<std::int64_t>(node.manner),
                                    std::int64_t{node.childCount},
                                    std::int64_t{node.number}}) {
        out.push_back(u',');
        AppendInteger(out, part);
    }
    if (ShapeOf(node.operation).hasText) {
        const Text& text = compiled.texts[node.text];
        out.push_back(u',');
        AppendInteger(out, static_cast<std::int64_t>(text.size()));
        out.push_back(u':');
        out.append(text);
    }
    out.push_back(u';');
}

// [ inner expressions, steps ]: a step is its operations, operands first, and a full stop.
void WriteInto(const CompiledExpression& compiled, Text& out) {
    out.push_back(u'[');
    for (const CompiledExpression& other : compiled.others) {
        WriteInto(other, out);
    }
    for (const std::uint32_t step : compiled.steps) {
        WriteNode(compiled, step, out);
        out.push_back(u'.');
    }
    out.push_back(u']');
}

class ProgramReader {
public:
    explicit ProgramReader(TextView text) : rest_(text) {}

    CompiledExpression ReadAll() {
        CompiledExpression compiled = ReadOne(0);
        Require(rest_.empty());
        return compiled;
    }

private:
    // An expression inside an expression ... is limited by the depth of what it can do.
    static constexpr std::size_t kMaxNesting = 40;

    static void Require(bool good) {
        if (!good) {
            throw Error(ErrorKind::kBadArgument,
                        u"The internal form of the correlative is damaged.");
        }
    }

    bool Take(char16_t unit) {
        if (rest_.empty() || rest_.front() != unit) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    std::int32_t TakeNumber() {
        std::int64_t number = 0;
        Require(!rest_.empty() && IsDigit(rest_.front()));
        while (!rest_.empty() && IsDigit(rest_.front())) {
            number = number * 10 + (rest_.front() - u'0');
            Require(number <= INT32_MAX);
            rest_.remove_prefix(1);
        }
        return static_cast<std::int32_t>(number);
    }

    CompiledExpression ReadOne(std::size_t nesting) {
        Require(nesting < kMaxNesting && Take(u'['));
        ExpressionBuilder builder;
        while (!rest_.empty() && rest_.front() == u'[') {
            builder.AddExpression(ReadOne(nesting + 1));
        }
        std::vector<std::uint32_t> open;
        while (!Take(u']')) {
            if (Take(u'.')) {
                Require(open.size() == 1);
                builder.AddStep(open.back());
                open.clear();
            } else {
                ReadNode(builder, open);
            }
        }
        Require(open.empty() && builder.StepCount() > 0);
        return builder.Finish();
    }

    void ReadNode(ExpressionBuilder& builder, std::vector<std::uint32_t>& open) {
        const auto operationNumber = static_cast<std::size_t>(TakeNumber());
        Require(operationNumber < kOperationCount && Take(u','));
        Part part{static_cast<Operation>(operationNumber)};
        const std::int32_t manner = TakeNumber();
        Require(manner <= static_cast<std::int32_t>(Manner::kRequired) && Take(u','));
        part.manner = static_cast<Manner>(manner);
        const auto childCount = static_cast<std::size_t>(TakeNumber());
        const Shape& shape = ShapeOf(part.operation);
        Require(childCount >= shape.least && (shape.most == kAny || childCount <= shape.most) &&
                childCount <= open.size() && Take(u','));
        part.number = TakeNumber();
        Require(IsGoodNumber(builder, part, childCount));
        if (shape.hasText) {
            Require(Take(u','));
            const auto length = static_cast<std::size_t>(TakeNumber());
            Require(Take(u':') && length <= rest_.size());
            part.text = rest_.substr(0, length);
            rest_.remove_prefix(length);
        }
        Require(Take(u';'));
        const std::size_t kept = open.size() - childCount;
        const std::uint32_t node = builder.Add(part, std::span(open).subspan(kept));
        open.resize(kept);
        open.push_back(node);
    }

    static bool IsGoodNumber(const ExpressionBuilder& builder,
                             const Part& part,
                             std::size_t children) {
        const auto number = static_cast<std::size_t>(part.number);
        switch (part.operation) {
            case Operation::kAttribute:
                return true;
            case Operation::kStep:
                return number < builder.StepCount();
            case Operation::kTranslate:
                return number < builder.ExpressionCount();
            case Operation::kCall:
                return number < children;
            case Operation::kCompare:
                return number <= static_cast<std::size_t>(Relation::kMatches);
            case Operation::kRound:
            case Operation::kScaleDown:
                return part.number <= kMaxScale;
            default:
                return number == 0;
        }
    }

    TextView rest_;
};

}  // namespace

bool CompiledExpression::Uses(Operation operation) const {
    return std::any_of(nodes.begin(), nodes.end(), [operation](const OperationNode& node) {
        return node.operation == operation;
    });
}

std::uint32_t ExpressionBuilder::Add(const Part& part, std::span<const std::uint32_t> children) {
    const Shape& shape = ShapeOf(part.operation);
    OperationNode node{};
    node.operation = part.operation;
    node.manner = part.manner;
    node.number = part.number;
    node.childCount = static_cast<std::uint32_t>(children.size());
    node.firstChild = static_cast<std::uint32_t>(compiled_.children.size());

    std::size_t depth = 0;
    const auto repeats = [this](std::uint32_t child) { return compiled_.nodes[child].repeats; };
    for (const std::uint32_t child : children) {
        depth = std::max<std::size_t>(depth, compiled_.nodes[child].depth);
    }
    switch (shape.single && part.manner == Manner::kElements ? Repeats::kOperands : shape.repeats) {
        case Repeats::kAlways:
            node.repeats = true;
            break;
        case Repeats::kNever:
            node.repeats = false;
            break;
        case Repeats::kOperands:
            node.repeats = std::all_of(children.begin(), children.end(), repeats);
            break;
        case Repeats::kFirst:
            node.repeats = repeats(children.front());
            break;
        case Repeats::kBranches:
            node.repeats = std::all_of(children.begin() + 1, children.end(), repeats);
            break;
    }
    if (part.operation == Operation::kAttribute) {
        node.repeats = part.number == 0 || part.manner == Manner::kSingle;
    } else if (part.operation == Operation::kStep) {
        const OperationNode& top = Node(compiled_.steps[static_cast<std::size_t>(part.number)]);
        node.repeats = top.repeats;
        depth = top.depth;
    } else if (part.operation == Operation::kTranslate) {
        depth += DepthOf(compiled_.others[static_cast<std::size_t>(part.number)]);
    }
    if (depth >= kMaxDepth || ++operations_ > kMaxOperations) {
        RaiseTooLong();
    }
    node.depth = static_cast<std::uint16_t>(depth + 1);
    if (shape.hasText) {
        node.text = static_cast<std::uint32_t>(compiled_.texts.size());
        compiled_.texts.emplace_back(part.text);
    }
    compiled_.children.insert(compiled_.children.end(), children.begin(), children.end());
    compiled_.nodes.push_back(node);
    return static_cast<std::uint32_t>(compiled_.nodes.size() - 1);
}

std::uint32_t ExpressionBuilder::AddStep(std::uint32_t node) {
    compiled_.steps.push_back(node);
    return static_cast<std::uint32_t>(compiled_.steps.size() - 1);
}

std::uint32_t ExpressionBuilder::AddExpression(CompiledExpression compiled) {
    operations_ += CountOperations(compiled);
    expressions_ += CountExpressions(compiled);
    if (operations_ > kMaxOperations || expressions_ > kMaxExpressions) {
        RaiseTooLong();
    }
    compiled_.others.push_back(std::move(compiled));
    return static_cast<std::uint32_t>(compiled_.others.size() - 1);
}

Text WriteExpression(const CompiledExpression& compiled) {
    Text out(kCompiledPrefix);
    WriteInto(compiled, out);
    return out;
}

CompiledExpression ReadExpression(TextView text) {
    if (!IsWrittenExpression(text)) {
        throw Error(ErrorKind::kBadArgument, u"This is not the internal form of a correlative.");
    }
    return ProgramReader(text.substr(kCompiledPrefix.size())).ReadAll();
}

}  // namespace kel::expression
