// What the parsers of the kinds of correlatives share. Not for users of the library.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/expression/compiled.h"
#include "hosts/multivalue/expression/scanner.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

// How deep correlatives may be nested: parentheses, conditions, items named by items, all counted
// together. Every level takes some stack of the parsers.
inline constexpr std::size_t kMaxParserDepth = 120;

// Common to the compilers of all files that one correlative leads to.
struct CompilerState {
    Environment* environment;  // null: names are taken to be good
    std::size_t depth = 0;
    std::vector<Text> active = {};  // the items that are being compiled: file, attribute mark, name
};

// A level of nesting for as long as it lives. Raises kTooLong when there are too many.
class ParserLevel {
public:
    explicit ParserLevel(CompilerState& state);
    ParserLevel(const ParserLevel&) = delete;
    ParserLevel& operator=(const ParserLevel&) = delete;
    ~ParserLevel() { --state_.depth; }

private:
    CompilerState& state_;
};

// A part of a correlative's text.
struct Source {
    TextView code;  // the whole, which places refer to
    std::size_t start;
    std::size_t end;

    TextView Part() const { return code.substr(start, end - start); }
};

// Compiles for the records of one file. Nodes that are handed out belong to the caller until they
// are another node's child or a step.
class Compiler {
public:
    Compiler(CompilerState& state, TextView file) : state_(state), file_(file) {}

    CompilerState& State() { return state_; }
    ExpressionBuilder& Builder() { return builder_; }

    // A correlative of any kind applied to `input`, an operation without operands.
    std::uint32_t Compile(TextView correlative, Part input);

    // The field of a name, which stands at `offset` of `code`.
    std::uint32_t FieldNamed(TextView name, TextView code, std::size_t offset);

    // The field of the records of another file that `key` names.
    std::uint32_t Translation(
        TextView file, std::uint32_t key, Manner manner, const Token& field, TextView code);

    CompiledExpression Finish(std::uint32_t top);

private:
    std::uint32_t CompileOne(const Source& source, Part input);
    std::uint32_t CompileCall(const Source& source, const Part& input);
    std::uint32_t CompileConcatenation(const Source& source, const Part& input);

    CompilerState& state_;
    Text file_;
    ExpressionBuilder builder_;
    std::map<Text, std::uint32_t> steps_;  // of named fields already compiled
};

// A; and I; from behind the prefix, F; likewise. Each returns the node of the result.
std::uint32_t CompileInfix(Compiler& compiler, const Source& source, Dialect dialect, Part input);
std::uint32_t CompileStack(Compiler& compiler, const Source& source, Part input);

// Operations without operands that words of one or a few letters stand for: D, T, NI, NV ...; false
// when the word is none of these.
bool FindCounterWord(TextView upperWord, const Part& input, Part& found);

// A node that converts `value` by `conversion`, which stands at `offset` of `correlative`. Raises
// kBadArgument for a code that is not valid.
std::uint32_t ConversionNode(Compiler& compiler,
                             std::uint32_t value,
                             TextView conversion,
                             TextView correlative,
                             std::size_t offset);

}  // namespace kel::expression
