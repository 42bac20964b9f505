// The words of correlatives and expressions, with their places for messages.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hosts/multivalue/text/text.h"

namespace kel::expression {

// Infix terms come in two dialects: in A correlatives bare numbers are attributes and words are of
// letters only; in expressions numbers are constants and words are names.
enum class Dialect : std::uint8_t { kTerms, kExpression };

struct Token {
    enum class Kind : std::uint8_t { kEnd, kNumber, kName, kText, kSign };

    Kind kind = Kind::kEnd;
    TextView text;  // as written; of kText without its quotes; of kSign one of two units at most
    Text upper;     // of kName in capitals
    std::size_t place = 0;  // offset of its first unit in the whole correlative
    bool spaceBefore = false;

    bool IsSign(TextView sign) const { return kind == Kind::kSign && text == sign; }
    bool IsName(TextView name) const { return kind == Kind::kName && upper == name; }
};

// Raises kBadArgument: what is wrong with `code` at an offset, at which `token` stands.
[[noreturn]] void RaiseWrong(TextView code, std::size_t offset, TextView token, TextView what);

class Scanner {
public:
    // Scans `code` from `start` on up to `end`; places are offsets in `code`, which must outlive
    // the scanner.
    Scanner(TextView code, std::size_t start, std::size_t end, Dialect dialect);

    const Token& Current() const { return token_; }
    void Next();

    bool TakeSign(TextView sign);
    bool TakeName(TextView upperName);
    // Takes ">" alone where it closes a position, whatever it would mean with the unit behind it.
    bool TakeClosingAngle();

    // From behind the current word to the parenthesis that closes it, which must be an opening one;
    // the word behind that becomes current. For what is no part of the dialect.
    TextView TakeParenthesised();

    // Raises kBadArgument about the current word.
    [[noreturn]] void Fail(TextView what) const;
    void Require(bool good, TextView what) const {
        if (!good) {
            Fail(what);
        }
    }

private:
    TextView code_;
    std::size_t at_;
    std::size_t end_;
    Dialect dialect_;
    Token token_;
};

}  // namespace kel::expression
