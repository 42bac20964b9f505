// Takes words of a query one by one: keywords, fields, phrases, texts, counts.
#include "hosts/multivalue/query/reader.h"

#include <iterator>

namespace kel::query {

namespace {

// A phrase may hold phrases; more than this is one that holds itself.
constexpr int kMaxExpansions = 100;

}  // namespace

const Word& QueryReader::Take() {
    const Word& word = Peek();
    at_ += AtEnd() ? 0 : 1;
    return word;
}

bool QueryReader::TakeIf(Keyword keyword) {
    if (PeekKeyword() != keyword) {
        return false;
    }
    Take();
    return true;
}

void QueryReader::SkipThrowaways() {
    while (PeekKeyword() == Keyword::kThrowaway && !NextIsField()) {
        Take();
    }
}

const Field* QueryReader::TakeField() {
    if (PeekKeyword() == Keyword::kEval && PeekSecond().kind == Word::Kind::kQuoted) {
        Take();
        return &fields_.ResolveExpression(Take().text);
    }
    const Field* field = Names(Peek());
    if (field != nullptr) {
        Take();
    }
    return field;
}

bool QueryReader::NextIsField() {
    return Names(Peek()) != nullptr || PeekKeyword() == Keyword::kEval;
}

const Field& QueryReader::RequireField(TextView afterWord) {
    SkipThrowaways();
    if (const Field* field = TakeField()) {
        return *field;
    }
    if (AtEnd()) {
        Refuse(afterWord, u"needs a field behind it.");
    }
    Text what = u"is not a field of ";
    Refuse(Peek().text,
           dictionary_.empty() ? what + u"this file." : what.append(dictionary_) + u".");
}

bool QueryReader::ExpandPhrase() {
    if (dictionary_.empty() || Peek().kind != Word::Kind::kPlain) {
        return false;
    }
    const std::optional<DictionaryItem> item =
        FindDictionaryItem(environment_, dictionary_, Peek().text);
    if (!item || item->kind != DictionaryItem::Kind::kPhrase) {
        return false;
    }
    if (++expansions_ > kMaxExpansions) {
        Refuse(Peek().text, u"is a phrase that holds itself.");
    }
    std::vector<Word> words = SplitWords(item->phrase, Signs::kApart);
    words.pop_back();
    Take();
    InsertWords(std::move(words));
    return true;
}

void QueryReader::InsertWords(std::vector<Word> words) {
    words_.insert(words_.begin() + static_cast<std::ptrdiff_t>(at_),
                  std::make_move_iterator(words.begin()),
                  std::make_move_iterator(words.end()));
}

Text QueryReader::RequireText(TextView afterWord) {
    if (Peek().kind != Word::Kind::kQuoted && Peek().kind != Word::Kind::kPlain) {
        Refuse(afterWord, u"needs a text behind it.");
    }
    return Take().text;
}

std::uint32_t QueryReader::RequireCount(TextView afterWord) {
    const std::optional<Number> number = Number::Parse(Peek().text);
    if (AtEnd() || !number || number->IsNegative()) {
        Refuse(afterWord, u"needs a number behind it.");
    }
    Take();
    return static_cast<std::uint32_t>(number->ToPosition());
}

}  // namespace kel::query
