// Reads what stands behind the verb of a query: file and dictionary.
#include "hosts/multivalue/query/front.h"

#include "hosts/multivalue/query/reader.h"
#include "hosts/multivalue/store/files.h"

namespace kel::query {

namespace {

bool IsKeyword(const Word& word, Keyword keyword) {
    return QueryReader::KeywordOfWord(word) == keyword;
}

bool CanNameFile(const Word& word) {
    return word.kind == Word::Kind::kPlain || word.kind == Word::Kind::kQuoted;
}

// The file that a name in a sentence means, perhaps its dictionary.
Text TakeFileName(std::vector<Word>& words, std::size_t& at, TextView afterWord, Store& store) {
    const bool isDictionary = IsKeyword(words[at], Keyword::kDict);
    at += isDictionary ? 1 : 0;
    while (IsKeyword(words[at], Keyword::kThrowaway) && CanNameFile(words[at + 1])) {
        ++at;
    }
    if (!CanNameFile(words[at])) {
        Refuse(afterWord, u"needs the name of a file behind it.");
    }
    const Text& name = words[at++].text;
    return RequireFile(store, isDictionary ? DictionaryFileName(name) : name).name;
}

}  // namespace

QueryFront ReadQueryFront(TextView sentence, Store& store) {
    std::vector<Word> words = SplitWords(sentence, Signs::kApart);
    QueryFront front;
    std::size_t at = 1;
    const bool isDictionary = IsKeyword(words[1], Keyword::kDict);
    front.file = TakeFileName(words, at, words.front().text, store);
    const bool hasDictionary =
        !isDictionary && store.FindFile(DictionaryFileName(front.file)).has_value();
    front.dictionary = hasDictionary ? front.file : Text();
    for (; at < words.size(); ++at) {
        if (IsKeyword(words[at], Keyword::kUsing)) {
            ++at;
            at += IsKeyword(words[at], Keyword::kDict) ? 1 : 0;
            front.dictionary = TakeFileName(words, at, u"USING", store);
            RequireFile(store, DictionaryFileName(front.dictionary));
            --at;
        } else {
            front.rest.push_back(std::move(words[at]));
        }
    }
    return front;
}

}  // namespace kel::query
