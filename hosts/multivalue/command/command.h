// A sentence of the command level while it runs. For session.cpp and the files of verbs only.
#pragma once

#include <vector>

#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/query/report.h"
#include "hosts/multivalue/query/words.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/text/text.h"

namespace kel::command {

struct Verb;

// A sentence being run: its words, and the answer as far as it goes.
class Command : public ReportSink {
public:
    // `verb` is the sentence's; null when there is no such verb.
    Command(Session& session, TextView sentence, const Verb* verb)
        : session_(session), sentence_(sentence), verb_(verb) {}

    Session& Own() const { return session_; }
    Store& OwnStore() const { return session_.OwnStore(); }
    TextView Sentence() const { return sentence_; }
    const Verb& OwnVerb() const { return *verb_; }

    // The words behind the verb, one after the other; comparison signs are units like others. Of
    // a query nothing: it reads its sentence by itself.
    void ReadWords();
    bool AtEnd() const { return Peek().kind == Word::Kind::kEnd; }
    const Word& Peek() const { return words_[at_]; }
    const Word& Take();
    bool TakeIf(TextView keyword);  // an unquoted word, in the form of KeywordOf
    Text RequireName(TextView what);
    void RequireEnd() const;
    int TakeListNumber();  // of the word taken next

    // A file, or DICT and a file. Raises kNoSuchFile.
    NamedFile RequireFileName();

    void Line(TextView line) override;
    void CountLine(std::uint64_t count, TextView rest) override;
    // `values`: what the message is about.
    void Code(int code, std::initializer_list<TextView> values = {});
    void Fail(const Error& error, int code = kMistake);
    Answer Finish() { return std::move(answer_); }

private:
    Session& session_;
    TextView sentence_;
    const Verb* verb_;
    std::vector<Word> words_;
    std::size_t at_ = 1;
    Answer answer_;
    bool hasLines_ = false;
};

// The query that the sentence of a verb of the query language says.
Query ParseOwnQuery(const Command& command);

// The list a sentence works on: of the number, or the active one. Null when there is none; raises
// kBadArgument when the sentence asks for one.
std::unique_ptr<SelectList> TakeSourceList(Session& session,
                                           std::optional<int> number,
                                           bool isRequired);

// A list, and the number it is to become active under.
struct MadeList {
    std::unique_ptr<SelectList> list;
    int number = 0;
};

// The lists of SELECT and SSELECT, GET-LIST, QSELECT. Raise kBadArgument and what the store raises.
MadeList SelectByQuery(Command& command);
MadeList ReadSavedList(Command& command);
MadeList ReadAttributeList(Command& command);

}  // namespace kel::command
