// Sentences as words: what stands between blanks, quoted texts, comparison signs, parentheses.
#pragma once

#include <vector>

#include "hosts/multivalue/text/text.h"

namespace kel::query {

struct Word {
    enum class Kind {
        kEnd,    // behind the last word, and only there
        kPlain,  // a name, a keyword, a number
        // A text in quotes of either kind, which `text` does not have; two of them inside stand for
        // one. Never a keyword.
        kQuoted,
        kSign,  // = # < > and pairs of them
        kOpen,
        kClose,
        kComma  // beside a quote, where signs are within words
    };

    Kind kind = Kind::kEnd;
    Text text;
    Text keyword;  // of a plain word or sign: in capitals, dots made hyphens
};

enum class Signs {
    kApart,   // comparison signs and parentheses are words wherever they stand
    kWithin,  // they are units of plain words like any other
};

// The last word is of kind kEnd. Raises kBadArgument for a quote without its partner.
std::vector<Word> SplitWords(TextView sentence, Signs signs);

// A text in the form all keywords have.
Text KeywordOf(TextView text);

// Raises kBadArgument with a sentence about the word, which it quotes: `"NAME" is no field.`
[[noreturn]] void Refuse(TextView word, TextView what);
[[noreturn]] void Refuse(TextView what);

}  // namespace kel::query
