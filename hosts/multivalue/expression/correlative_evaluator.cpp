// Walks over compiled expressions and carries their operations out.
#include "hosts/multivalue/expression/correlative_evaluator.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/expression/element_functions.h"
#include "hosts/multivalue/expression/line_up.h"
#include "hosts/multivalue/expression/record_environment.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::expression {

namespace {

// Results may grow from step to step; nothing a field holds is this long, and several such fit into
// the memory of a 32-bit process.
constexpr std::size_t kMaxResultUnits = 0x0FFFFFF;

void RequireRoom(std::size_t units) {
    if (units > kMaxResultUnits) {
        throw Error(ErrorKind::kTooLong, u"The result of an expression is too long.");
    }
}

TextView TruthText(bool truth) {
    return truth ? u"1" : u"0";
}

std::int32_t PositionOf(TextView text) {
    return Number::OrZero(text).ToPosition();
}

}  // namespace

struct CorrelativeEvaluator::Other {
    Other(const CompiledExpression& compiled, Environment& environment)
        : evaluator(compiled, environment) {}

    CorrelativeEvaluator evaluator;
    RecordFields fields;
    Text key;
    Text record;
};

// One evaluation. Each member that works out a node returns a view of the record, of a constant or
// of the node's own scratch text.
class CorrelativeEvaluator::Walk {
public:
    Walk(CorrelativeEvaluator& owner, const EvaluationInput& input)
        : owner_(owner), input_(input) {}

    TextView Step(std::size_t step) {
        if (!owner_.stepsDone_[step]) {
            owner_.stepResults_[step] = Node(owner_.compiled_.steps[step]);
            owner_.stepsDone_[step] = true;
        }
        return owner_.stepResults_[step];
    }

private:
    const OperationNode& At(std::uint32_t index) const { return owner_.compiled_.nodes[index]; }

    std::uint32_t ChildOf(const OperationNode& node, std::uint32_t child) const {
        return owner_.compiled_.children[node.firstChild + child];
    }

    TextView Child(const OperationNode& node, std::uint32_t child) {
        return Node(ChildOf(node, child));
    }

    Operand ChildOperand(const OperationNode& node, std::uint32_t child) {
        const std::uint32_t index = ChildOf(node, child);
        return {Node(index), At(index).repeats};
    }

    const Text& TextOf(const OperationNode& node) const {
        return owner_.compiled_.texts[node.text];
    }

    TextView Node(std::uint32_t index) {
        const OperationNode& node = At(index);
        Text& out = owner_.scratch_[index];
        out.clear();
        switch (node.operation) {
            case Operation::kConstant:
                return TextOf(node);
            case Operation::kAttribute:
                return node.number == 0 ? input_.id : input_.record->Attribute(node.number);
            case Operation::kValue:
                return input_.value;
            case Operation::kId:
                return input_.id;
            case Operation::kRecord:
                return input_.record->Whole();
            case Operation::kStep:
                return Step(static_cast<std::size_t>(node.number));
            case Operation::kReuse:
                return Child(node, 0);
            case Operation::kIf:
                return Choice(node, out);
            case Operation::kAnd:
            case Operation::kOr:
                return Logic(node, out);
            case Operation::kSubstring:
            case Operation::kLast:
                return Part(node, out);
            case Operation::kField:
            case Operation::kExtract:
            case Operation::kLeft:
            case Operation::kRight:
                return PartOfWhole(node);
            case Operation::kTranslate:
                Translate(node, out);
                break;
            case Operation::kCall:
                Call(node, out);
                break;
            case Operation::kFormat:
            case Operation::kOutput:
            case Operation::kInput:
                Convert(node, out);
                break;
            case Operation::kToday:
            case Operation::kNow:
            case Operation::kItemCounter:
            case Operation::kBreakLevel:
            case Operation::kValueCounter:
            case Operation::kSubvalueCounter:
                Counter(node, out);
                break;
            case Operation::kAdd:
            case Operation::kSubtract:
            case Operation::kMultiply:
            case Operation::kDivide:
            case Operation::kRemainder:
                Arithmetic(node, out);
                break;
            case Operation::kScaleDown:
            case Operation::kRound:
            case Operation::kNegate:
            case Operation::kAbsolute:
            case Operation::kInteger:
                OneNumber(node, out);
                break;
            case Operation::kJoin:
            case Operation::kCompare:
            case Operation::kNot:
                Texts(node, out);
                break;
            default:
                Function(node, out);
                break;
        }
        RequireRoom(out.size());
        return out;
    }

    void Arithmetic(const OperationNode& node, Text& out) {
        const bool whole = node.manner == Manner::kElements;
        const std::array<Operand, 2> operands{ChildOperand(node, 0), ChildOperand(node, 1)};
        LineUp(operands, out, [&](const std::array<TextView, 2>& element, Text& to) {
            AppendCalculated(ArithmeticOf(node.operation), element[0], element[1], whole, to);
        });
    }

    void OneNumber(const OperationNode& node, Text& out) {
        LineUp(std::array{ChildOperand(node, 0)},
               out,
               [&](const std::array<TextView, 1>& element, Text& to) {
                   const Number number = Number::OrZero(element[0]);
                   switch (node.operation) {
                       case Operation::kScaleDown:
                           return number.ScaledDown(node.number).AppendTo(to);
                       case Operation::kRound:
                           return number.Rounded(node.number).AppendTo(to);
                       case Operation::kAbsolute:
                           return (number.IsNegative() ? number.Negated() : number).AppendTo(to);
                       case Operation::kInteger:
                           return number.Whole().AppendTo(to);
                       default:
                           return number.Negated().AppendTo(to);
                   }
               });
    }

    // kJoin, kCompare, kNot
    void Texts(const OperationNode& node, Text& out) {
        const auto combine = [&](const std::array<TextView, 2>& element, Text& to) {
            if (node.operation == Operation::kJoin) {
                RequireRoom(to.size() + element[0].size() + element[1].size());
                to.append(element[0]).append(element[1]);
            } else if (node.operation == Operation::kNot) {
                to.append(TruthText(!IsTrue(element[0])));
            } else {
                const auto relation = static_cast<Relation>(node.number);
                to.append(TruthText(Holds(relation, element[0], element[1])));
            }
        };
        const Operand first = ChildOperand(node, 0);
        const Operand second = node.childCount > 1 ? ChildOperand(node, 1) : Operand{{}, true};
        if (node.manner == Manner::kElements) {
            LineUp(std::array{first, second}, out, combine);
        } else {
            combine({first.text, second.text}, out);
        }
    }

    // The second operand is worked out only when it matters.
    TextView Logic(const OperationNode& node, Text& out) {
        const bool isAnd = node.operation == Operation::kAnd;
        const Operand first = ChildOperand(node, 0);
        const bool byElement = node.manner == Manner::kElements;
        if (!byElement || (first.repeats && !HasElements(first.text))) {
            if (IsTrue(first.text) != isAnd) {
                return TruthText(!isAnd);
            }
        }
        const Operand second = ChildOperand(node, 1);
        if (!byElement) {
            return TruthText(IsTrue(second.text));
        }
        LineUp(std::array{first, second},
               out,
               [isAnd](const std::array<TextView, 2>& element, Text& to) {
                   const bool left = IsTrue(element[0]);
                   const bool right = IsTrue(element[1]);
                   to.append(TruthText(isAnd ? left && right : left || right));
               });
        return out;
    }

    // The branch that is not taken is not worked out, unless both are, for different elements.
    TextView Choice(const OperationNode& node, Text& out) {
        const Operand condition = ChildOperand(node, 0);
        if (node.manner != Manner::kElements || !HasElements(condition.text)) {
            return Child(node, IsTrue(condition.text) ? 1 : 2);
        }
        const std::array<Operand, 3> operands{
            condition, ChildOperand(node, 1), ChildOperand(node, 2)};
        LineUp(operands, out, [](const std::array<TextView, 3>& element, Text& to) {
            to.append(IsTrue(element[0]) ? element[1] : element[2]);
            RequireRoom(to.size());
        });
        return out;
    }

    // kSubstring, kLast
    TextView Part(const OperationNode& node, Text& out) {
        const bool isLast = node.operation == Operation::kLast;
        const auto part = [isLast](const std::array<TextView, 3>& element) {
            return isLast ? LastUnits(element[0], PositionOf(element[1]))
                          : Substring(element[0], PositionOf(element[1]), PositionOf(element[2]));
        };
        const Operand text = ChildOperand(node, 0);
        const Operand first = ChildOperand(node, 1);
        const Operand second = isLast ? Operand{{}, true} : ChildOperand(node, 2);
        if (node.manner != Manner::kElements) {
            return part({text.text, first.text, second.text});
        }
        LineUp(std::array{text, first, second},
               out,
               [&part](const std::array<TextView, 3>& element, Text& to) {
                   to.append(part(element));
               });
        return out;
    }

    TextView PartOfWhole(const OperationNode& node) {
        const TextView text = Child(node, 0);
        switch (node.operation) {
            case Operation::kLeft:
                return FirstUnits(text, PositionAt(node, 1));
            case Operation::kRight:
                return LastUnits(text, PositionAt(node, 1));
            case Operation::kField:
                return FieldsOf(text, Child(node, 1), PositionAt(node, 2), PositionAt(node, 3));
            default:
                return ElementAt(text,
                                 {PositionAt(node, 1), PositionAt(node, 2), PositionAt(node, 3)});
        }
    }

    std::int32_t PositionAt(const OperationNode& node, std::uint32_t child) {
        return PositionOf(Child(node, child));
    }

    void Function(const OperationNode& node, Text& out) {
        const TextView text = Child(node, 0);
        switch (node.operation) {
            case Operation::kTotal:
                return TotalOf(text).AppendTo(out);
            case Operation::kSum:
                return AppendSums(text, out);
            case Operation::kMaximum:
                return AppendExtreme(text, 1, out);
            case Operation::kMinimum:
                return AppendExtreme(text, -1, out);
            case Operation::kUpper:
                return AppendUpper(text, out);
            case Operation::kLower:
                return AppendLower(text, out);
            case Operation::kTrim:
                return AppendTrimmed(text, FirstUnit(node, 1, u' '), FirstUnit(node, 2, u'R'), out);
            case Operation::kChange:
                return AppendChanged(text,
                                     Child(node, 1),
                                     Child(node, 2),
                                     PositionAt(node, 3),
                                     PositionAt(node, 4),
                                     kMaxResultUnits,
                                     out);
            default:
                return AppendInteger(out, static_cast<std::int64_t>(Measure(node, text)));
        }
    }

    std::size_t Measure(const OperationNode& node, TextView text) {
        switch (node.operation) {
            case Operation::kIndex:
                return IndexOf(text, Child(node, 1), PositionAt(node, 2));
            case Operation::kCount:
                return CountOf(text, Child(node, 1), OwnOverlap());
            case Operation::kParts: {
                const TextView delimiter = Child(node, 1);
                const std::size_t between = CountOf(text, delimiter, OwnOverlap());
                return text.empty() || delimiter.empty() ? between : between + 1;
            }
            default:
                return text.size();
        }
    }

    Overlap OwnOverlap() const {
        return owner_.environment_.OwnFamily() == Family::kR83 ? Overlap::kYes : Overlap::kNo;
    }

    char16_t FirstUnit(const OperationNode& node, std::uint32_t child, char16_t otherwise) {
        const TextView text = Child(node, child);
        return text.empty() ? otherwise : text.front();
    }

    // A correlative converts element by element, a function its argument as a whole.
    void Convert(const OperationNode& node, Text& out) {
        const TextView value = Child(node, 0);
        const TextView code = Child(node, 1);
        const bool byElement = node.manner == Manner::kElements;
        RecordEnvironment environment(owner_.environment_, *input_.record, input_.id);
        if (node.operation == Operation::kFormat) {
            out = Format(value, code, environment).value;
        } else if (node.operation == Operation::kOutput) {
            out = (byElement ? Oconv : OconvWhole)(value, code, environment).value;
        } else {
            out = (byElement ? Iconv : IconvWhole)(value, code, environment).value;
        }
    }

    void Counter(const OperationNode& node, Text& out) {
        switch (node.operation) {
            case Operation::kToday:
                return AppendInteger(out, owner_.environment_.Today());
            case Operation::kNow:
                return AppendInteger(out, owner_.environment_.SecondOfDay());
            case Operation::kItemCounter:
                return AppendInteger(out, input_.itemCounter);
            case Operation::kBreakLevel:
                return AppendInteger(out, input_.breakLevel);
            default:
                return Numbering(node.operation == Operation::kSubvalueCounter, out);
        }
    }

    // Numbers the values, or the subvalues of each value, that the attributes have.
    void Numbering(bool subvalues, Text& out) {
        constexpr std::int32_t kMostValues = 0x7FFF;
        ValueCounts counts(static_cast<std::size_t>(std::clamp(input_.position, 1, kMostValues)));
        for (const std::int32_t attribute : owner_.attributes_) {
            counts.Add(input_.record->Attribute(attribute));
        }
        if (subvalues) {
            counts.AppendSubvalueNumbers(out);
        } else {
            counts.AppendValueNumbers(out);
        }
    }

    void Call(const OperationNode& node, Text& out) {
        std::vector<Text> arguments;
        for (std::uint32_t i = 0; i < node.childCount; ++i) {
            arguments.emplace_back(Child(node, i));
        }
        owner_.environment_.CallProgram(TextOf(node), arguments);
        const auto result = static_cast<std::size_t>(node.number);
        if (result < arguments.size()) {
            out = std::move(arguments[result]);
        }
    }

    // Element by element; where there are several keys, what each finds moves down a level, so that
    // the results still line up with the keys.
    void Translate(const OperationNode& node, Text& out) {
        const Operand keys = ChildOperand(node, 0);
        const bool several = HasElements(keys.text);
        LineUp(std::array{keys}, out, [&](const std::array<TextView, 1>& element, Text& to) {
            const std::size_t start = to.size();
            TranslateOne(node, element[0], to);
            RequireRoom(to.size());
            for (std::size_t i = start; several && i < to.size(); ++i) {
                to[i] = to[i] > kTextMark && to[i] <= kAttributeMark
                            ? static_cast<char16_t>(to[i] - 1)
                            : to[i];
            }
        });
    }

    void TranslateOne(const OperationNode& node, TextView key, Text& out) {
        Other& other = *owner_.others_[static_cast<std::size_t>(node.number)];
        std::optional<Text> record;
        if (!key.empty()) {
            const FileReference from = ReferenceOf(TextOf(node));
            record = owner_.environment_.ReadRecord(from.file, from.isDictionary, key);
        }
        if (!record) {
            if (node.manner == Manner::kRequired && !key.empty()) {
                throw Error(
                    ErrorKind::kBadArgument,
                    u"There is no record \"" + Text(key) + u"\" in file " + TextOf(node) + u".");
            }
            out.append(node.manner == Manner::kOriginal ? key : TextView());
            return;
        }
        other.key = key;
        other.record = *std::move(record);
        other.fields.Read(TextView(other.record));
        EvaluationInput input = input_;
        input.record = &other.fields;
        input.id = other.key;
        input.value = {};
        input.position = 0;
        out.append(other.evaluator.Evaluate(input));
    }

    CorrelativeEvaluator& owner_;
    const EvaluationInput& input_;
};

CorrelativeEvaluator::CorrelativeEvaluator(CompiledExpression compiled, Environment& environment)
    : compiled_(std::move(compiled)),
      environment_(environment),
      scratch_(compiled_.nodes.size()),
      stepResults_(compiled_.steps.size()),
      stepsDone_(compiled_.steps.size()) {
    for (const CompiledExpression& other : compiled_.others) {
        others_.push_back(std::make_unique<Other>(other, environment));
    }
    for (const std::uint32_t step : compiled_.steps) {
        FindAttributes(step);
    }
}

// From the top: what a correlative left on its stack belongs to no step, and its written form does
// not have it either.
void CorrelativeEvaluator::FindAttributes(std::uint32_t node) {
    const OperationNode& own = compiled_.nodes[node];
    if (own.operation == Operation::kAttribute && !own.repeats) {
        attributes_.push_back(own.number);
    }
    for (std::uint32_t child = 0; child < own.childCount; ++child) {
        FindAttributes(compiled_.children[own.firstChild + child]);
    }
}

CorrelativeEvaluator::~CorrelativeEvaluator() = default;

TextView CorrelativeEvaluator::Evaluate(const EvaluationInput& input) {
    std::fill(stepsDone_.begin(), stepsDone_.end(), false);
    const TextView result = Walk(*this, input).Step(compiled_.steps.size() - 1);
    if (input.position < 1 || compiled_.Top().repeats) {
        return result;
    }
    return ElementOf(result, kValueMark, input.position);
}

}  // namespace kel::expression
