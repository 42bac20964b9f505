// The verbs of the command level. For session.cpp and the files of commands only.
#pragma once

#include <span>
#include <vector>

#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/query/report.h"
#include "hosts/multivalue/query/words.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/text/text.h"

namespace kel::command {

// A sentence being run: its words, and the answer as far as it goes.
class Command : public ReportSink {
public:
    Command(Session& session, TextView sentence) : session_(session), sentence_(sentence) {}

    Session& Own() { return session_; }
    Store& OwnStore() { return session_.OwnStore(); }
    TextView Sentence() const { return sentence_; }

    // The words behind the verb, one after the other; comparison signs are units like others.
    void ReadWords();
    bool AtEnd() const { return Peek().kind == Word::Kind::kEnd; }
    const Word& Peek() const { return words_[at_]; }
    const Word& Take();
    bool TakeIf(TextView keyword);  // an unquoted word, in the form of KeywordOf
    Text RequireName(TextView what);
    void RequireEnd() const;
    int TakeListNumber();  // of the word taken next
    std::vector<Text> TakeRest();

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
    std::vector<Word> words_;
    std::size_t at_ = 1;
    Answer answer_;
    bool hasLines_ = false;
};

struct CommandVerb {
    TextView name;  // in the form of KeywordOf
    void (*run)(Command& command);
    bool readsWords;  // false: a query, which reads its sentence itself
    TextView help;
};

// Each file's own verbs.
std::span<const CommandVerb> ListCommands();
std::span<const CommandVerb> ReportCommands();
std::span<const CommandVerb> FileCommands();
std::span<const CommandVerb> RecordCommands();
std::span<const CommandVerb> IndexCommands();
std::span<const CommandVerb> SessionCommands();
std::span<const CommandVerb> AccountCommands();

// All of them, by name.
const std::vector<CommandVerb>& AllCommands();
const CommandVerb* FindCommand(TextView keyword);

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

// The lists of SELECT and SSELECT, GET-LIST, QSELECT. `command` stands behind the verb. Raise
// kBadArgument and what the store raises.
MadeList SelectByQuery(Session& session, TextView sentence);
MadeList ReadSavedList(Command& command);
MadeList ReadAttributeList(Command& command);

}  // namespace kel::command
