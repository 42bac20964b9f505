// A correlatives and expressions: infix terms of two dialects, by precedence climbing.
#include <algorithm>
#include <array>
#include <optional>

#include "hosts/multivalue/expression/compiler.h"
#include "hosts/multivalue/expression/functions.h"
#include "hosts/multivalue/number/arithmetic.h"

namespace kel::expression {

namespace {

// How tightly operators bind, loosest first.
enum Binding : int {
    kOrBinds = 1,
    kAndBinds,
    kCompareBinds,
    kJoinBinds,
    kAddBinds,
    kMultiplyBinds
};

struct Operator {
    TextView sign;
    int binding;
    Operation operation;
    Relation relation = Relation::kEqual;
};

constexpr Operator kOperators[] = {
    {u"OR", kOrBinds, Operation::kOr},
    {u"!", kOrBinds, Operation::kOr},
    {u"AND", kAndBinds, Operation::kAnd},
    {u"&", kAndBinds, Operation::kAnd},
    {u"=", kCompareBinds, Operation::kCompare, Relation::kEqual},
    {u"EQ", kCompareBinds, Operation::kCompare, Relation::kEqual},
    {u"#", kCompareBinds, Operation::kCompare, Relation::kUnequal},
    {u"<>", kCompareBinds, Operation::kCompare, Relation::kUnequal},
    {u"><", kCompareBinds, Operation::kCompare, Relation::kUnequal},
    {u"NE", kCompareBinds, Operation::kCompare, Relation::kUnequal},
    {u"<", kCompareBinds, Operation::kCompare, Relation::kLess},
    {u"LT", kCompareBinds, Operation::kCompare, Relation::kLess},
    {u">", kCompareBinds, Operation::kCompare, Relation::kGreater},
    {u"GT", kCompareBinds, Operation::kCompare, Relation::kGreater},
    {u"<=", kCompareBinds, Operation::kCompare, Relation::kLessOrEqual},
    {u"=<", kCompareBinds, Operation::kCompare, Relation::kLessOrEqual},
    {u"LE", kCompareBinds, Operation::kCompare, Relation::kLessOrEqual},
    {u">=", kCompareBinds, Operation::kCompare, Relation::kGreaterOrEqual},
    {u"=>", kCompareBinds, Operation::kCompare, Relation::kGreaterOrEqual},
    {u"GE", kCompareBinds, Operation::kCompare, Relation::kGreaterOrEqual},
    {u"MATCHES", kCompareBinds, Operation::kCompare, Relation::kMatches},
    {u"MATCH", kCompareBinds, Operation::kCompare, Relation::kMatches},
    {u"LIKE", kCompareBinds, Operation::kCompare, Relation::kMatches},
    {u":", kJoinBinds, Operation::kJoin},
    {u"CAT", kJoinBinds, Operation::kJoin},
    {u"+", kAddBinds, Operation::kAdd},
    {u"-", kAddBinds, Operation::kSubtract},
    {u"*", kMultiplyBinds, Operation::kMultiply},
    {u"/", kMultiplyBinds, Operation::kDivide},
};

// Decimals of a quotient once nothing is calculated with it any more.
constexpr std::int32_t kShownDecimals = 4;

// A node, and whether its number has more decimals than are shown: it is rounded before it is used
// as a text.
struct Value {
    std::uint32_t node;
    bool isQuotient = false;
};

class InfixParser {
public:
    InfixParser(Compiler& compiler, const Source& source, Dialect dialect, Part input)
        : compiler_(compiler),
          builder_(compiler.Builder()),
          code_(source.code),
          scanner_(source.code, source.start, source.end, dialect),
          isExpression_(dialect == Dialect::kExpression),
          manner_(isExpression_ ? Manner::kPlain : Manner::kElements),
          input_(input) {}

    std::uint32_t ParseAll() {
        std::uint32_t node = ParseText();
        while (isExpression_ && scanner_.TakeSign(u";")) {
            if (scanner_.Current().kind == Token::Kind::kEnd) {
                break;
            }
            steps_.push_back(builder_.AddStep(node));
            node = ParseText();
        }
        scanner_.Require(scanner_.Current().kind == Token::Kind::kEnd,
                         u"an operator or the end is expected");
        return node;
    }

private:
    // A value that is used as a text or compared.
    std::uint32_t ParseText(int binding = kOrBinds) { return Settled(ParseBinary(binding)); }

    std::uint32_t Settled(const Value& value) {
        return value.isQuotient ? builder_.Add({Operation::kRound, kShownDecimals}, {value.node})
                                : value.node;
    }

    Value Constant(TextView text) {
        return {builder_.Add({.operation = Operation::kConstant, .text = text})};
    }

    const Operator* CurrentOperator() const {
        const Token& token = scanner_.Current();
        if (token.kind != Token::Kind::kSign && token.kind != Token::Kind::kName) {
            return nullptr;
        }
        const TextView sign = token.kind == Token::Kind::kName ? TextView(token.upper) : token.text;
        const auto known = std::find_if(
            std::begin(kOperators), std::end(kOperators), [sign](const Operator& entry) {
                return entry.sign == sign;
            });
        return known == std::end(kOperators) ? nullptr : known;
    }

    Value ParseBinary(int binding) {
        const ParserLevel level(compiler_.State());
        Value left = ParseUnary();
        for (const Operator* found = CurrentOperator(); found && found->binding >= binding;
             found = CurrentOperator()) {
            scanner_.Next();
            left = Combined(*found, left, ParseBinary(found->binding + 1));
        }
        return left;
    }

    Value Combined(const Operator& found, const Value& left, const Value& right) {
        const Part part{.operation = found.operation,
                        .number = static_cast<std::int32_t>(found.relation),
                        .manner = manner_};
        if (found.binding < kAddBinds) {
            const std::uint32_t first = Settled(left);
            return {builder_.Add(part, {first, Settled(right)})};
        }
        const bool isQuotient = isExpression_ && (found.operation == Operation::kDivide ||
                                                  left.isQuotient || right.isQuotient);
        return {builder_.Add(part, {left.node, right.node}), isQuotient};
    }

    Value ParseUnary() {
        if (scanner_.TakeSign(u"-")) {
            const ParserLevel level(compiler_.State());
            const Value value = ParseUnary();
            return {builder_.Add({Operation::kNegate}, {value.node}), value.isQuotient};
        }
        if (scanner_.TakeSign(u"+")) {
            const ParserLevel level(compiler_.State());
            return ParseUnary();
        }
        return ParseBehind(ParsePrimary());
    }

    // What may follow a value: [start,length], and in an A correlative a conversion.
    Value ParseBehind(Value value) {
        while (true) {
            if (scanner_.TakeSign(u"[")) {
                value = {ParseSubstring(Settled(value))};
            } else if (!isExpression_ && scanner_.Current().IsSign(u"(")) {
                const std::size_t offset = scanner_.Current().place + 1;
                const TextView code = scanner_.TakeParenthesised();
                value = {ConversionNode(compiler_, value.node, code, code_, offset)};
            } else {
                return value;
            }
        }
    }

    // [start,length]; [length] for the last units; in expressions [delimiter,first,count] as well.
    std::uint32_t ParseSubstring(std::uint32_t text) {
        std::vector<std::uint32_t> operands{text};
        do {
            operands.push_back(ParseText());
        } while (operands.size() < (isExpression_ ? 4U : 3U) && scanner_.TakeSign(u","));
        Expect(u"]", u"a closing bracket is expected");
        static constexpr std::array<Operation, 3> kBySize = {
            Operation::kLast, Operation::kSubstring, Operation::kField};
        const Operation operation = kBySize[operands.size() - 2];
        return builder_.Add({.operation = operation, .manner = manner_}, operands);
    }

    Value ParsePrimary() {
        const Token token = scanner_.Current();
        switch (token.kind) {
            case Token::Kind::kText:
                scanner_.Next();
                return Constant(token.text);
            case Token::Kind::kNumber:
                return ParseNumber(token);
            case Token::Kind::kName:
                return ParseName(token);
            default:
                break;
        }
        if (scanner_.TakeSign(u"(")) {
            const Value value = ParseBinary(kOrBinds);
            Expect(u")", u"a closing parenthesis is expected");
            return value;
        }
        scanner_.Fail(u"a value is expected");
    }

    Value ParseNumber(const Token& token) {
        if (isExpression_) {
            scanner_.Require(Number::Parse(token.text).has_value(), u"this is not a number");
            scanner_.Next();
            return Constant(token.text);
        }
        scanner_.Next();
        return Repeatable(
            builder_.Add({Operation::kAttribute, Number::OrZero(token.text).ToPosition()}));
    }

    // R right behind an attribute or a name: one value for all.
    Value Repeatable(std::uint32_t node) {
        if (scanner_.Current().IsName(u"R") && !scanner_.Current().spaceBefore) {
            scanner_.Next();
            return {builder_.Add({Operation::kReuse}, {node})};
        }
        return {node};
    }

    Value ParseName(const Token& token) {
        if (token.upper == u"IF") {
            scanner_.Next();
            return ParseCondition();
        }
        // Operators are no names, nor are the words inside a condition.
        scanner_.Require(
            CurrentOperator() == nullptr && token.upper != u"THEN" && token.upper != u"ELSE",
            u"a value is expected");
        return isExpression_ ? ParseExpressionName(token) : ParseTermName(token);
    }

    Value ParseCondition() {
        const std::uint32_t condition = ParseText();
        scanner_.Require(scanner_.TakeName(u"THEN"), u"THEN is expected");
        const std::uint32_t positive = ParseText();
        const std::uint32_t negative = scanner_.TakeName(u"ELSE") ? ParseText() : Constant({}).node;
        return {builder_.Add({.operation = Operation::kIf, .manner = manner_},
                             {condition, positive, negative})};
    }

    Value ParseTermName(const Token& token) {
        scanner_.Next();
        if (token.upper == u"N") {
            const std::size_t offset = scanner_.Current().place + 1;
            const TextView name = scanner_.TakeParenthesised();
            return Repeatable(compiler_.FieldNamed(name, code_, offset));
        }
        if (Part found; FindCounterWord(token.upper, input_, found)) {
            return {builder_.Add(found)};
        }
        if (token.upper == u"R" || token.upper == u"S") {
            Expect(u"(", u"an opening parenthesis is expected");
            const std::uint32_t first = ParseText();
            if (token.upper == u"S") {
                Expect(u")", u"a closing parenthesis is expected");
                return {builder_.Add({Operation::kTotal}, {first})};
            }
            Expect(u",", u"a comma is expected");
            const std::uint32_t second = ParseText();
            Expect(u")", u"a closing parenthesis is expected");
            return {builder_.Add({.operation = Operation::kRemainder, .manner = manner_},
                                 {first, second})};
        }
        RaiseWrong(code_, token.place, token.text, u"there is no such operand");
    }

    Value ParseExpressionName(const Token& token) {
        scanner_.Next();
        if (token.text[0] == u'@') {
            return ParseSystemName(token);
        }
        if (!scanner_.TakeSign(u"(")) {
            return {compiler_.FieldNamed(token.text, code_, token.place)};
        }
        if (token.upper == u"TRANS") {
            return ParseTranslation();
        }
        if (token.upper == u"SUBR") {
            return ParseProgram();
        }
        const ExpressionFunction* function = FindExpressionFunction(token.upper);
        if (function == nullptr) {
            RaiseWrong(code_, token.place, token.text, u"there is no function of this name");
        }
        return ParseFunction(*function, token);
    }

    Value ParseFunction(const ExpressionFunction& function, const Token& token) {
        std::vector<std::uint32_t> operands;
        bool isQuotient = false;
        while (operands.size() < function.most) {
            if (!operands.empty() && !scanner_.TakeSign(u",")) {
                break;
            }
            const Value value = ParseBinary(kOrBinds);
            isQuotient = isQuotient || value.isQuotient;
            operands.push_back(function.isArithmetic ? value.node : Settled(value));
        }
        if (operands.size() < function.least) {
            RaiseWrong(code_, token.place, token.text, u"the function needs more arguments");
        }
        for (std::size_t i = operands.size(); i < function.most; ++i) {
            operands.push_back(Constant(function.defaults[i - function.least]).node);
        }
        Expect(u")", u"a closing parenthesis is expected");
        return {builder_.Add({.operation = function.operation}, operands),
                isQuotient && function.isArithmetic};
    }

    Value ParseSystemName(const Token& token) {
        if (token.upper == u"@ID") {
            return {builder_.Add({Operation::kId})};
        }
        if (token.upper == u"@RECORD") {
            if (scanner_.TakeSign(u"<")) {
                return ParseElement();
            }
            return {builder_.Add({Operation::kRecord})};
        }
        if (const SystemName* known = FindSystemName(token.upper)) {
            return {builder_.Add({.operation = known->operation, .text = known->text})};
        }
        // @1, @2: the steps so far; @ alone: the one before.
        const std::size_t step = token.upper == u"@"
                                     ? steps_.size()
                                     : static_cast<std::size_t>(std::max(
                                           Number::OrZero(token.text.substr(1)).ToPosition(), 0));
        if (step == 0 || step > steps_.size()) {
            RaiseWrong(code_, token.place, token.text, u"there is no such value");
        }
        return {builder_.Add({Operation::kStep, static_cast<std::int32_t>(steps_[step - 1])})};
    }

    // @RECORD<attribute,value,subvalue>
    Value ParseElement() {
        const Token first = scanner_.Current();
        std::vector<std::uint32_t> operands{builder_.Add({Operation::kRecord})};
        do {
            operands.push_back(ParseText(kJoinBinds));
        } while (operands.size() < 4 && scanner_.TakeSign(u","));
        const bool isPlain = operands.size() == 2 && first.kind == Token::Kind::kNumber &&
                             builder_.Node(operands[1]).operation == Operation::kConstant;
        scanner_.Require(scanner_.TakeClosingAngle(), u"a closing angle is expected");
        const std::int32_t attribute = Number::OrZero(first.text).ToPosition();
        if (isPlain && attribute > 0) {
            return {builder_.Add({Operation::kAttribute, attribute})};
        }
        while (operands.size() < 4) {
            operands.push_back(Constant(u"0").node);
        }
        return {builder_.Add({Operation::kExtract}, operands)};
    }

    // TRANS(file,key,field,code): file and field may stand with or without quotes.
    Value ParseTranslation() {
        const Token file = TakeBareWord(u"the name of a file is expected");
        Expect(u",", u"a comma is expected");
        const std::uint32_t key = ParseText();
        Expect(u",", u"a comma is expected");
        const bool isWhole = scanner_.TakeSign(u"-");
        Token field = TakeBareWord(u"the name of a field is expected");
        if (isWhole) {
            field = Token();
        }
        Expect(u",", u"a comma is expected");
        const Token code = TakeBareWord(u"one of the codes X, V and C is expected");
        Manner manner = Manner::kPlain;
        if (code.text == u"C" || code.text == u"c") {
            manner = Manner::kOriginal;
        } else if (code.text == u"V" || code.text == u"v") {
            manner = Manner::kRequired;
        } else if (code.text != u"X" && code.text != u"x") {
            RaiseWrong(code_, code.place, code.text, u"one of the codes X, V and C is expected");
        }
        Expect(u")", u"a closing parenthesis is expected");
        return {compiler_.Translation(file.text, key, manner, field, code_)};
    }

    Token TakeBareWord(TextView what) {
        Token token = scanner_.Current();
        scanner_.Require(token.kind == Token::Kind::kText || token.kind == Token::Kind::kName ||
                             token.kind == Token::Kind::kNumber,
                         what);
        scanner_.Next();
        return token;
    }

    // SUBR("NAME",argument...): a program whose first argument is the result, before the others.
    Value ParseProgram() {
        const Token name = TakeBareWord(u"the name of a program is expected");
        std::vector<std::uint32_t> operands{Constant({}).node};
        while (scanner_.TakeSign(u",")) {
            operands.push_back(ParseText());
        }
        Expect(u")", u"a closing parenthesis is expected");
        return {builder_.Add({.operation = Operation::kCall, .text = name.text}, operands)};
    }

    void Expect(TextView sign, TextView what) { scanner_.Require(scanner_.TakeSign(sign), what); }

    Compiler& compiler_;
    ExpressionBuilder& builder_;
    TextView code_;
    Scanner scanner_;
    bool isExpression_;
    Manner manner_;
    Part input_;
    std::vector<std::uint32_t> steps_;  // of this expression, parted by semicolons
};

}  // namespace

std::uint32_t CompileInfix(Compiler& compiler, const Source& source, Dialect dialect, Part input) {
    return InfixParser(compiler, source, dialect, input).ParseAll();
}

}  // namespace kel::expression
