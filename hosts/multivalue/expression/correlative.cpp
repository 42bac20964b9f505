// Compiles correlatives but for what stands in infix and stack terms, and fields by name.
#include "hosts/multivalue/expression/correlative.h"

#include <algorithm>

#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/expression/compiler.h"
#include "hosts/multivalue/expression/dictionary.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::expression {

namespace {

constexpr TextView kCall = u"CALL ";

// An account without files, for finding out whether a code is one.
class NoEnvironment : public Environment {
public:
    Family OwnFamily() const override { return Family::kUni; }
    DateOrder OwnDateOrder() const override { return DateOrder::kMonthFirst; }
    std::int32_t Today() const override { return 0; }
    std::int32_t SecondOfDay() const override { return 0; }
    std::optional<Text> ReadRecord(TextView, bool, TextView) override { return std::nullopt; }
    void CallProgram(TextView, std::vector<Text>&) override {}
};

bool IsConversion(TextView code) {
    NoEnvironment none;
    // A range refuses what is outside it as it refuses a code, so it is tried with its own start.
    const bool isRange = code[0] == u'R' || code[0] == u'r';
    const TextView value = isRange ? code.substr(1, code.find(u',') - 1) : u"1";
    return Oconv(value, code, none).status != ConversionStatus::kBadCode;
}

}  // namespace

ParserLevel::ParserLevel(CompilerState& state) : state_(state) {
    if (state_.depth >= kMaxParserDepth) {
        throw Error(ErrorKind::kTooLong, u"The correlative is nested too deep.");
    }
    ++state_.depth;
}

bool FindCounterWord(TextView upperWord, const Part& input, Part& found) {
    struct Entry {
        TextView word;
        Operation operation;
    };
    static constexpr Entry kWords[] = {{u"D", Operation::kToday},
                                       {u"T", Operation::kNow},
                                       {u"NI", Operation::kItemCounter},
                                       {u"NB", Operation::kBreakLevel},
                                       {u"NV", Operation::kValueCounter},
                                       {u"NS", Operation::kSubvalueCounter}};
    if (upperWord == u"LPV") {
        found = input;
        return true;
    }
    for (const Entry& entry : kWords) {
        if (entry.word == upperWord) {
            found = {entry.operation};
            return true;
        }
    }
    return false;
}

std::uint32_t ConversionNode(Compiler& compiler,
                             std::uint32_t value,
                             TextView conversion,
                             TextView correlative,
                             std::size_t offset) {
    if (conversion.empty() || !IsConversion(conversion)) {
        RaiseWrong(correlative, offset, conversion, u"there is no such code");
    }
    ExpressionBuilder& builder = compiler.Builder();
    return builder.Add(
        {.operation = Operation::kOutput, .manner = Manner::kElements},
        {value, builder.Add({.operation = Operation::kConstant, .text = conversion})});
}

std::uint32_t Compiler::Compile(TextView correlative, Part input) {
    const ParserLevel level(state_);
    std::uint32_t node = builder_.Add(input);
    std::size_t start = 0;
    while (start < correlative.size()) {
        const std::size_t end = std::min(correlative.find(kValueMark, start), correlative.size());
        const Source source{correlative, start, end};
        const char16_t kind = end > start ? correlative[start] : u'\0';
        if (kind == u'A' || kind == u'F' || kind == u'C' || kind == u'I') {
            if (start > 0) {
                input = {Operation::kStep, static_cast<std::int32_t>(builder_.AddStep(node))};
            }
            node = CompileOne(source, input);
        } else if (kind != u'\0') {
            node = ConversionNode(*this, node, source.Part(), correlative, start);
        }
        start = end + 1;
    }
    return node;
}

std::uint32_t Compiler::CompileOne(const Source& source, Part input) {
    const TextView part = source.Part();
    const std::size_t behind = source.start + (part.substr(1).starts_with(u';') ? 2 : 1);
    switch (part[0]) {
        case u'A':
            return CompileInfix(*this, {source.code, behind, source.end}, Dialect::kTerms, input);
        case u'F':
            return CompileStack(*this, {source.code, behind, source.end}, input);
        case u'I':
            if (!part.starts_with(kExpressionPrefix)) {
                RaiseWrong(source.code, source.start, part, u"there is no such code");
            }
            return CompileInfix(
                *this, {source.code, behind, source.end}, Dialect::kExpression, input);
        default:
            return part.starts_with(kCall)
                       ? CompileCall(source, input)
                       : CompileConcatenation({source.code, behind, source.end}, input);
    }
}

std::uint32_t Compiler::CompileCall(const Source& source, const Part& input) {
    TextView name = source.Part().substr(kCall.size());
    while (!name.empty() && name.front() == u' ') {
        name.remove_prefix(1);
    }
    name = name.substr(0, name.find(u' '));
    if (name.empty()) {
        RaiseWrong(source.code, source.end, {}, u"the name of a program is expected");
    }
    return builder_.Add(
        {.operation = Operation::kCall, .text = name},
        {builder_.Add(input), builder_.Add({Operation::kId}), builder_.Add({Operation::kRecord})});
}

// C;1;" / ";2 and C1-2: attributes and quoted constants; any other unit stands for itself, but the
// semicolon for nothing and the star for the value so far.
std::uint32_t Compiler::CompileConcatenation(const Source& source, const Part& input) {
    std::vector<std::uint32_t> nodes;
    const auto add = [&](const Part& part) {
        nodes.push_back(builder_.Add(part));
        if (nodes.size() == 2) {
            const std::uint32_t joined =
                builder_.Add({.operation = Operation::kJoin, .manner = Manner::kElements}, nodes);
            nodes.assign(1, joined);
        }
    };
    const TextView code = source.code.substr(0, source.end);
    std::size_t at = source.start;
    while (at < code.size()) {
        const char16_t unit = code[at];
        std::size_t end = at + 1;
        if (IsDigit(unit)) {
            while (end < code.size() && IsDigit(code[end])) {
                ++end;
            }
            add({Operation::kAttribute, Number::OrZero(code.substr(at, end - at)).ToPosition()});
        } else if (unit == u'"' || unit == u'\'') {
            const std::size_t close = code.find(unit, end);
            if (close == TextView::npos) {
                RaiseWrong(source.code, at, code.substr(at), u"the quote is not closed");
            }
            add({.operation = Operation::kConstant, .text = code.substr(end, close - end)});
            end = close + 1;
        } else if (unit == u'*') {
            add(input);
        } else if (unit != u';') {
            add({.operation = Operation::kConstant, .text = code.substr(at, 1)});
        }
        at = end;
    }
    if (nodes.empty()) {
        RaiseWrong(source.code, source.end, {}, u"an attribute or a constant is expected");
    }
    return nodes.front();
}

std::uint32_t Compiler::FieldNamed(TextView name, TextView code, std::size_t offset) {
    const Text upper = Upper(name);
    if (upper == u"@ID") {
        return builder_.Add({Operation::kId});
    }
    if (state_.environment == nullptr) {
        return builder_.Add({Operation::kAttribute, 1});
    }
    if (const auto step = steps_.find(Text(name)); step != steps_.end()) {
        return builder_.Add({Operation::kStep, static_cast<std::int32_t>(step->second)});
    }
    const std::optional<DictionaryItem> item = FindDictionaryItem(*state_.environment, file_, name);
    if (!item) {
        RaiseWrong(code, offset, name, u"there is no field of this name");
    }
    if (item->kind != DictionaryItem::Kind::kField) {
        RaiseWrong(code, offset, name, u"this is a phrase, not a field");
    }
    const Part own{.operation = Operation::kAttribute,
                   .number = item->attribute,
                   .manner = item->multivalued ? Manner::kPlain : Manner::kSingle};
    if (item->correlative.empty()) {
        return builder_.Add(own);
    }
    Text key = file_;
    key.append(1, kAttributeMark).append(upper);
    if (std::find(state_.active.begin(), state_.active.end(), key) != state_.active.end()) {
        RaiseWrong(code, offset, name, u"the field refers to itself");
    }
    state_.active.push_back(std::move(key));
    const std::uint32_t step = builder_.AddStep(Compile(item->correlative, own));
    state_.active.pop_back();
    steps_.emplace(name, step);
    return builder_.Add({Operation::kStep, static_cast<std::int32_t>(step)});
}

std::uint32_t Compiler::Translation(
    TextView file, std::uint32_t key, Manner manner, const Token& field, TextView code) {
    // A dictionary's own items are addressed by attribute number.
    Compiler other(state_, ReferenceOf(file).isDictionary ? TextView() : file);
    std::uint32_t top = 0;
    if (field.kind == Token::Kind::kNumber) {
        top = other.builder_.Add({Operation::kAttribute, Number::OrZero(field.text).ToPosition()});
    } else if (field.text.empty() || field.text == u"-1" || field.upper == u"@RECORD") {
        top = other.builder_.Add({Operation::kRecord});
    } else {
        top = other.FieldNamed(field.text, code, field.place);
    }
    const auto number = static_cast<std::int32_t>(builder_.AddExpression(other.Finish(top)));
    return builder_.Add(
        {.operation = Operation::kTranslate, .number = number, .text = file, .manner = manner},
        {key});
}

CompiledExpression Compiler::Finish(std::uint32_t top) {
    builder_.AddStep(top);
    return builder_.Finish();
}

CompiledExpression CompileCorrelative(TextView correlative,
                                      TextView file,
                                      Environment& environment) {
    CompilerState state{&environment};
    Compiler compiler(state, file);
    return compiler.Finish(compiler.Compile(correlative, {Operation::kValue}));
}

CompiledExpression CompileItem(const DictionaryItem& item,
                               TextView file,
                               Environment& environment) {
    CompilerState state{&environment};
    Compiler compiler(state, file);
    return compiler.Finish(
        compiler.Compile(item.correlative,
                         {.operation = Operation::kAttribute,
                          .number = item.attribute,
                          .manner = item.multivalued ? Manner::kPlain : Manner::kSingle}));
}

bool IsValidCorrelative(TextView correlative) {
    try {
        CompilerState state{nullptr};
        Compiler compiler(state, {});
        compiler.Compile(correlative, {Operation::kValue});
        return true;
    } catch (const Error&) {
        return false;
    }
}

}  // namespace kel::expression
