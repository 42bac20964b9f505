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

bool IsQuoteAt(TextView sentence, std::size_t at) {
    return at < sentence.size() && IsQuote(sentence[at]);
}

bool EndsPlain(TextView sentence, std::size_t at, Signs signs) {
    const char16_t unit = sentence[at];
    if (signs == Signs::kWithin) {
        return IsBlank(unit) || (unit == u',' && IsQuoteAt(sentence, at + 1));
    }
    return IsBlank(unit) || IsSign(unit) || IsQuote(unit) || unit == u'(' || unit == u')' ||
           unit == u',';
}

// The text whose opening quote stands at `at`, which moves behind the closing one.
Text TakeQuoted(TextView sentence, std::size_t& at) {
    const std::size_t start = at;
    const char16_t quote = sentence[at++];
    Text text;
    while (true) {
        const std::size_t end = sentence.find(quote, at);
        if (end == TextView::npos) {
            Refuse(sentence.substr(start), u"has no closing quote.");
        }
        text.append(sentence.substr(at, end - at));
        at = end + 1;
        if (at == sentence.size() || sentence[at] != quote) {
            return text;
        }
        text.push_back(quote);
        ++at;
    }
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
        const bool isBehindQuote = at > 0 && !words.empty() &&
                                   words.back().kind == Word::Kind::kQuoted &&
                                   IsQuote(sentence[at - 1]);
        Word word;
        if (IsQuote(unit)) {
            word = {Word::Kind::kQuoted, TakeQuoted(sentence, at), {}};
        } else if (unit == u',' && (IsQuoteAt(sentence, at + 1) || isBehindQuote)) {
            word = {Word::Kind::kComma, Text(1, unit), {}};
            ++at;
        } else if (signs == Signs::kApart && (unit == u'(' || unit == u')')) {
            word = {unit == u'(' ? Word::Kind::kOpen : Word::Kind::kClose, Text(1, unit), {}};
            ++at;
        } else {
            std::size_t end = at + 1;
            const bool isSign = signs == Signs::kApart && IsSign(unit);
            if (isSign) {
                end += end < sentence.size() && IsSign(sentence[end]) ? 1 : 0;
            } else {
                while (end < sentence.size() && !EndsPlain(sentence, end, signs)) {
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
