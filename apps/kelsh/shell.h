// The shell: takes commands and sentences line by line.
#pragma once

#include <memory>

#include "apps/kelsh/connection.h"
#include "apps/kelsh/options.h"
#include "apps/kelsh/record_buffer.h"
#include "apps/kelsh/terminal.h"

namespace kel::kelsh {

// A command line in words. A word may stand in double quotes.
class CommandLine {
public:
    explicit CommandLine(const Text& line);

    std::size_t size() const { return words_.size(); }
    const Text& word(std::size_t index) const { return words_[index]; }
    // The words from `index` on.
    std::vector<Text> From(std::size_t index) const {
        return {words_.begin() + static_cast<std::ptrdiff_t>(index), words_.end()};
    }
    // The line from that word on, as it was typed.
    Text Rest(std::size_t index) const;
    bool Has(TextView option);  // takes the word out

private:
    Text line_;
    std::vector<Text> words_;
    std::vector<std::size_t> starts_;
};

class Shell {
public:
    static constexpr int kGood = 0;
    static constexpr int kFailed = 1;
    static constexpr int kUsage = 2;

    Shell(const Options& options, Terminal& terminal);

    // Does what the options ask for, to the end; the exit code of the program.
    int Run();

private:
    struct Command;

    bool Start();
    void RunLines();
    // One line; failures are told and remembered.
    void Do(const Text& text);
    bool MayRun(const Text& sentence);
    bool RunSentence(const Text& sentence);
    bool RunFile(const Text& path, const std::vector<Text>& arguments);
    void Failed(TextView text);
    bool goesOn() const { return !quit_ && !(failed_ && options_.stopAtFailure); }
    RecordBuffer& record();
    RecordBuffer& openRecord();
    bool Report(RecordBuffer::Found found, const Text& file, const Text& id);
    void Show();

    bool Connect(CommandLine& line);
    bool Disconnect(CommandLine& line);
    bool Set(CommandLine& line);
    bool Read(CommandLine& line);
    bool New(CommandLine& line);
    bool ShowRecord(CommandLine& line);
    bool Edit(CommandLine& line);
    bool Insert(CommandLine& line);
    bool Remove(CommandLine& line);
    bool Write(CommandLine& line);
    bool Delete(CommandLine& line);
    bool Release(CommandLine& line);
    bool Locks(CommandLine& line);
    bool ImportData(CommandLine& line);
    bool ExportData(CommandLine& line);
    bool RunCommands(CommandLine& line);
    bool RunScript(CommandLine& line);
    bool Properties(CommandLine& line);
    bool History(CommandLine& line);
    bool Echo(CommandLine& line);
    bool Help(CommandLine& line);
    bool Quit(CommandLine& line);

    static const Command* Find(TextView word);
    static const Command kCommands[];

    const Options& options_;
    Terminal& terminal_;
    Connection connection_;
    std::unique_ptr<RecordBuffer> record_;
    int depth_ = 0;  // of files of commands that run one another
    bool failed_ = false;
    bool quit_ = false;
    std::optional<int> exitCode_;  // what a script said
};

// The back-ends of this machine, or the properties of one, as lists for people. False when the
// back-end is not there.
void PrintBackEnds(Terminal& terminal);
bool PrintProperties(Terminal& terminal, short number);

}  // namespace kel::kelsh
