// The words of one query sentence, with the dictionary they are read by. For the query parsers
// only.
#pragma once

#include <cstdint>
#include <vector>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/keywords.h"
#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/query/words.h"
#include "hosts/multivalue/text/text.h"

namespace kel::query {

class QueryReader {
public:
    // Borrows everything.
    QueryReader(std::vector<Word> words,
                FieldEvaluator& fields,
                TextView dictionary,
                Environment& environment)
        : words_(std::move(words)),
          fields_(fields),
          dictionary_(dictionary),
          environment_(environment) {}

    const Word& Peek() const { return words_[at_]; }
    // The word after the next; of kind kEnd when there is none.
    const Word& PeekSecond() const { return words_[std::min(at_ + 1, words_.size() - 1)]; }
    bool AtEnd() const { return Peek().kind == Word::Kind::kEnd; }
    const Word& Take();
    Keyword PeekKeyword() const { return KeywordOfWord(Peek()); }
    // Takes the next word if it is that keyword.
    bool TakeIf(Keyword keyword);
    void SkipThrowaways();

    // The field that the next word, or EVAL and its expression, names; null when it names none, and
    // then nothing is taken.
    const Field* TakeField();
    // The same where a field has to be; raises what is wrong with the word that stands there.
    const Field& RequireField(TextView afterWord);
    bool NextIsField();
    // Whether the word after the next names a field.
    bool SecondIsField() {
        return Names(PeekSecond()) || KeywordOfWord(PeekSecond()) == Keyword::kEval;
    }

    // Puts the words of a phrase in the place of its name. False when the next word names none.
    bool ExpandPhrase();
    void InsertWords(std::vector<Word> words);

    Text RequireText(TextView afterWord);
    std::uint32_t RequireCount(TextView afterWord);

    static Keyword KeywordOfWord(const Word& word) {
        return word.kind == Word::Kind::kPlain ? FindKeyword(word.keyword) : Keyword::kNone;
    }

private:
    const Field* Names(const Word& word) {
        return word.kind == Word::Kind::kPlain ? fields_.Resolve(word.text) : nullptr;
    }

    std::vector<Word> words_;
    std::size_t at_ = 0;
    FieldEvaluator& fields_;
    TextView dictionary_;
    Environment& environment_;
    int expansions_ = 0;
};

}  // namespace kel::query
