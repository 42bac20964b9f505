// Cuts sentences into words.
#include "hosts/multivalue/query/words.h"

#include <algorithm>

#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::query {

namespace {

bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

bool IsQuote(char16_t unit) {
    return unit == u'"' || unit == u'\'';
}

bool IsSign(char16_t unit) {
    return unit == u'=' || unit == u'#' || unit == u'<' || unit == u'>' || unit == u'~';
}

bool EndsPlain(char16_t unit, Signs signs) {
    return IsBlank(unit) ||
           (signs == Signs::kApart &&
            (IsSign(unit) || IsQuote(unit) || unit == u'(' || unit == u')' || unit == u','));
}

}  // namespace

Text KeywordOf(TextView text) {
    Text keyword;
    AppendUpper(text, keyword);
    std::replace(keyword.begin(), keyword.end(), u'.', u'-');
    return keyword;
}

void Refuse(TextView word, TextView what) {
    Text sentence = u"\"";
    Refuse(sentence.append(word).append(u"\" ").append(what));
}

void Refuse(TextView what) {
    throw Error(ErrorKind::kBadArgument, Text(what));
}

std::vector<Word> SplitWords(TextView sentence, Signs signs) {
    std::vector<Word> words;
    for (std::size_t at = 0; at < sentence.size();) {
        const char16_t unit = sentence[at];
        // A comma parts words where it does not stand in one.
        if (IsBlank(unit) || (unit == u',' && signs == Signs::kApart)) {
            ++at;
            continue;
        }
        Word word;
        if (IsQuote(unit)) {
            const std::size_t end = sentence.find(unit, at + 1);
            if (end == TextView::npos) {
                Refuse(sentence.substr(at), u"has no closing quote.");
            }
            word = {Word::Kind::kQuoted, Text(sentence.substr(at + 1, end - at - 1)), {}};
            at = end + 1;
        } else if (signs == Signs::kApart && (unit == u'(' || unit == u')')) {
            word = {unit == u'(' ? Word::Kind::kOpen : Word::Kind::kClose, Text(1, unit), {}};
            ++at;
        } else {
            std::size_t end = at + 1;
            const bool isSign = signs == Signs::kApart && IsSign(unit);
            if (isSign) {
                end += end < sentence.size() && IsSign(sentence[end]) ? 1 : 0;
            } else {
                while (end < sentence.size() && !EndsPlain(sentence[end], signs)) {
                    ++end;
                }
            }
            word.kind = isSign ? Word::Kind::kSign : Word::Kind::kPlain;
            word.text = sentence.substr(at, end - at);
            word.keyword = KeywordOf(word.text);
            at = end;
        }
        words.push_back(std::move(word));
    }
    words.emplace_back();
    return words;
}

}  // namespace kel::query
