// Reading the words of a sentence, and putting its answer together.
#include "hosts/multivalue/command/command.h"

#include <algorithm>

#include "hosts/multivalue/command/verbs.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/store/files.h"

namespace kel::command {

void Command::ReadWords() {
    if (!verb_->query) {
        words_ = SplitWords(sentence_, Signs::kWithin);
    }
}

const Word& Command::Take() {
    const Word& word = Peek();
    at_ += AtEnd() ? 0 : 1;
    return word;
}

bool Command::TakeIf(TextView keyword) {
    if (Peek().kind != Word::Kind::kPlain || Peek().keyword != keyword) {
        return false;
    }
    Take();
    return true;
}

Text Command::RequireName(TextView what) {
    if (AtEnd()) {
        Refuse(words_.front().text, Text(u"needs ").append(what).append(u"."));
    }
    return Take().text;
}

void Command::RequireEnd() const {
    if (!AtEnd()) {
        Refuse(Peek().text, u"stands where it means nothing.");
    }
}

int Command::TakeListNumber() {
    const Text word = RequireName(u"the number of a list");
    const std::optional<Number> number = Number::Parse(word);
    if (!number || number->IsNegative() || number->ToPosition() >= kActiveLists) {
        Refuse(word, u"is not the number of a list, 0 to 10.");
    }
    return number->ToPosition();
}

NamedFile Command::RequireFileName() {
    const bool isDictionary = TakeIf(u"DICT");
    const Text name = RequireName(u"the name of a file");
    return RequireFile(OwnStore(), isDictionary ? DictionaryFileName(name) : name);
}

void Command::Line(TextView line) {
    if (hasLines_) {
        answer_.output.push_back(kAttributeMark);
    }
    hasLines_ = true;
    answer_.output.append(line);
}

void Command::CountLine(std::uint64_t count, TextView rest) {
    Text line;
    Number(static_cast<std::int64_t>(count)).AppendTo(line);
    Line(line.append(rest));
}

void Command::Code(int code, std::initializer_list<TextView> values) {
    if (!answer_.codes.empty()) {
        answer_.codes.push_back(kAttributeMark);
    }
    Number(code).AppendTo(answer_.codes);
    for (const TextView value : values) {
        answer_.codes.push_back(kValueMark);
        answer_.codes.append(value);
    }
}

void Command::Fail(const Error& error, int code) {
    Line(error.text());
    Code(code);
    answer_.failure = error.kind();
}

}  // namespace kel::command
