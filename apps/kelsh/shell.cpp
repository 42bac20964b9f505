// Lines, commands and sentences.
#include "apps/kelsh/shell.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "apps/kelsh/help.h"
#include "apps/kelsh/script_host.h"
#include "apps/kelsh/text.h"

namespace kel::kelsh {
namespace {

constexpr int kDeepest = 16;  // files of commands within one another

// What no back-end answers: shows whether a sentence was carried out at all.
constexpr const wchar_t* kUntouched = L"\x01kelsh";

// Whether a sentence's message numbers hold that of an error: an HRESULT, or one of those that
// back-ends and clients agree on. The others report work done.
bool TellFailure(const Text& codes) {
    std::wistringstream messages(codes);
    for (Text message; std::getline(messages, message, *kAttributeMark);) {
        const long number = std::wcstol(message.c_str(), nullptr, 10);
        if (number < 0 || number >= AlreadyConnected) {
            return true;
        }
    }
    return false;
}

bool IsScript(const Text& path) {
    const Text extension = std::filesystem::path(path).extension().wstring();
    return binding::SameName(extension, L".vbs") || binding::SameName(extension, L".js");
}

}  // namespace

CommandLine::CommandLine(const Text& line) : line_(line) {
    for (std::size_t at = 0; (at = line.find_first_not_of(L" \t", at)) != Text::npos;) {
        starts_.push_back(at);
        Text& word = words_.emplace_back();
        bool quoted = false;
        for (; at < line.size() && (quoted || (line[at] != L' ' && line[at] != L'\t')); ++at) {
            if (line[at] == L'"') {
                quoted = !quoted;
            } else {
                word.push_back(line[at]);
            }
        }
    }
}

Text CommandLine::Rest(std::size_t index) const {
    return index < starts_.size() ? line_.substr(starts_[index]) : Text();
}

bool CommandLine::Has(TextView option) {
    const auto found = std::find(words_.begin(), words_.end(), option);
    if (found == words_.end()) {
        return false;
    }
    starts_.erase(starts_.begin() + (found - words_.begin()));
    words_.erase(found);
    return true;
}

struct Shell::Command {
    const wchar_t* name;
    std::size_t least;  // words behind the name
    std::size_t most;
    const wchar_t* usage;
    bool (Shell::*run)(CommandLine& line);
    bool needsConnection;
};

namespace {
constexpr std::size_t kAny = SIZE_MAX;
}  // namespace

const Shell::Command Shell::kCommands[] = {
    {L"read", 2, 3, L"read FILE ID [lock]", &Shell::Read, true},
    {L"new", 2, 2, L"new FILE ID", &Shell::New, true},
    {L"show", 0, 1, L"show [POSITION]", &Shell::ShowRecord, true},
    {L"edit", 0, 2, L"edit [FILE ID]", &Shell::Edit, true},
    {L"set", 1, kAny, L"set POSITION TEXT", &Shell::Set, true},
    {L"insert", 1, kAny, L"insert POSITION TEXT", &Shell::Insert, true},
    {L"remove", 1, 1, L"remove POSITION", &Shell::Remove, true},
    {L"write", 0, 2, L"write [ID] [keep]", &Shell::Write, true},
    {L"delete", 0, 2, L"delete [FILE ID]", &Shell::Delete, true},
    {L"release", 0, 0, L"release", &Shell::Release, true},
    {L"locks", 0, 0, L"locks", &Shell::Locks, true},
    {L"import",
     2,
     kAny,
     L"import FILE DATA [keep|merge] [skip] [override] [as FORMAT]",
     &Shell::ImportData,
     true},
    {L"export",
     2,
     kAny,
     L"export FILE DATA [COLUMN...] [as FORMAT] [where SELECTION]",
     &Shell::ExportData,
     true},
    {L"run", 1, 1, L"run FILE", &Shell::RunCommands, false},
    {L"script", 1, kAny, L"script FILE.vbs|FILE.js [ARGUMENT...]", &Shell::RunScript, false},
    {L"connect", 0, kAny, L"connect [NAME=VALUE...]", &Shell::Connect, false},
    {L"disconnect", 0, 0, L"disconnect", &Shell::Disconnect, false},
    {L"properties", 0, 1, L"properties [NUMBER]", &Shell::Properties, false},
    {L"history", 0, 0, L"history", &Shell::History, false},
    {L"echo", 0, kAny, L"echo TEXT", &Shell::Echo, false},
    {L"help", 0, 1, L"help [COMMAND]", &Shell::Help, false},
    {L"quit", 0, 0, L"quit", &Shell::Quit, false},
    {L"exit", 0, 0, L"exit", &Shell::Quit, false},
};

// In lower case only, as they are written here: sentences are told apart by their capitals.
const Shell::Command* Shell::Find(TextView word) {
    const auto found = std::find_if(std::begin(kCommands),
                                    std::end(kCommands),
                                    [&](const Command& one) { return word == one.name; });
    return found == std::end(kCommands) ? nullptr : found;
}

Shell::Shell(const Options& options, Terminal& terminal)
    : options_(options), terminal_(terminal), connection_(options, terminal) {
    terminal.UsePages(options.pages);
}

void Shell::Failed(TextView text) {
    failed_ = true;
    terminal_.Complain(L"kelsh: " + Text(text));
}

bool Shell::Start() {
    const bool wanted = options_.connect && (connection_.os() || terminal_.isInteractive());
    if (wanted && !connection_.Connect()) {
        failed_ = true;
        // Who types can try again; a pipe cannot.
        return terminal_.isInteractive() && options_.commands.empty() && options_.file.empty();
    }
    return true;
}

int Shell::Run() {
    if (!Start()) {
        return kFailed;
    }
    if (!options_.file.empty()) {
        failed_ = !RunFile(options_.file, options_.arguments) || failed_;
    } else if (!options_.commands.empty()) {
        for (const Text& command : options_.commands) {
            if (goesOn()) {
                Do(command);
            }
        }
    } else {
        RunLines();
    }
    return exitCode_ ? *exitCode_ : failed_ ? kFailed : kGood;
}

void Shell::RunLines() {
    const bool typed = terminal_.isInteractive();
    if (typed) {
        failed_ = false;
        terminal_.Print(L"Sentences go to the database; \"help\" tells what else there is.");
    }
    while (typed ? !quit_ : goesOn()) {
        const auto line = terminal_.ReadLine(connection_.name() + L"> ");
        if (!line) {
            return;
        }
        Do(*line);
    }
}

void Shell::Do(const Text& text) {
    try {
        CommandLine line(text);
        if (line.size() == 0 || line.word(0).starts_with(L'#')) {
            return;
        }
        if (line.word(0).starts_with(L'!')) {
            failed_ = !RunSentence(text.substr(text.find(L'!') + 1)) || failed_;
            return;
        }
        const Command* command = Find(line.word(0));
        if (command == nullptr) {
            failed_ = !RunSentence(text) || failed_;
            return;
        }
        if (line.size() - 1 < command->least || line.size() - 1 > command->most) {
            Failed(Text(L"it is: ") + command->usage);
            return;
        }
        if (command->needsConnection && !connection_.IsConnected()) {
            Failed(L"not connected (see \"help connect\")");
            return;
        }
        failed_ = !(this->*command->run)(line) || failed_;
    } catch (const binding::Error& error) {
        Failed(error.description() + L" (" + std::to_wstring(error.number()) + L", " +
               error.source() + L")");
    } catch (const std::exception& error) {
        Failed(FromUtf8(error.what()));
    }
}

// Who types is asked before a file goes; there is no way back.
bool Shell::MayRun(const Text& sentence) {
    const CommandLine line(sentence);
    const Text verb = line.size() > 1 ? binding::Lower(line.word(0)) : Text();
    const bool clears = verb == L"clear-file" || verb == L"clear.file";
    const bool deletes = verb == L"delete-file" || verb == L"delete.file";
    if (!terminal_.isInteractive() || !(clears || deletes)) {
        return true;
    }
    const auto answer = terminal_.Ask(Text(clears ? L"Clear " : L"Delete ") + line.Rest(1) +
                                      L" with all its records (y/n)? ");
    return answer && binding::Lower(*answer).starts_with(L'y');
}

bool Shell::RunSentence(const Text& sentence) {
    if (!connection_.IsConnected()) {
        Failed(L"not connected (see \"help connect\")");
        return false;
    }
    if (!MayRun(sentence)) {
        return true;
    }
    Text output = kUntouched;
    Text codes = kUntouched;
    connection_.tools().Execute(sentence, output, codes);
    if (output == kUntouched && codes == kUntouched) {
        Failed(L"the database could not carry out: " + sentence);
        return false;
    }
    output = output == kUntouched ? Text() : FromRecord(output);
    std::replace(output.begin(), output.end(), *kAttributeMark, L'\n');
    if (!output.empty()) {
        terminal_.PrintPaged(output);
    }
    return codes == kUntouched || !TellFailure(codes);
}

bool Shell::RunFile(const Text& path, const std::vector<Text>& arguments) {
    if (IsScript(path)) {
        const ScriptResult result = RunScriptFile(path, arguments, connection_, terminal_);
        if (result.quit) {
            exitCode_ = result.exitCode;
            quit_ = true;
        }
        return result.good && result.exitCode == 0;
    }
    if (!arguments.empty()) {
        Failed(L"a file of commands takes no arguments");
        return false;
    }
    std::ifstream file{std::filesystem::path(path)};
    if (!file) {
        Failed(path + L" cannot be read");
        return false;
    }
    if (depth_ == kDeepest) {
        Failed(L"files of commands run one another without end");
        return false;
    }
    ++depth_;
    const bool before = std::exchange(failed_, false);
    std::string line;
    for (int number = 1; goesOn() && std::getline(file, line); ++number) {
        const bool goodSoFar = !failed_;
        while (line.ends_with('\r')) {
            line.pop_back();
        }
        Do(FromUtf8(number == 1 && line.starts_with("\xEF\xBB\xBF") ? line.substr(3) : line));
        if (goodSoFar && failed_) {
            terminal_.Complain(L"kelsh: the first failure was in " + path + L", line " +
                               std::to_wstring(number));
        }
    }
    --depth_;
    return !std::exchange(failed_, before);
}

bool Shell::RunCommands(CommandLine& line) {
    return RunFile(line.word(1), {});
}

bool Shell::RunScript(CommandLine& line) {
    if (!IsScript(line.word(1))) {
        Failed(L"a script is a file .vbs or .js");
        return false;
    }
    return RunFile(line.word(1), line.From(2));
}

bool Shell::Connect(CommandLine& line) {
    for (const Text& assignment : line.From(1)) {
        const std::size_t equals = assignment.find(L'=');
        if (equals == Text::npos) {
            Failed(L"it is: connect [NAME=VALUE...]");
            return false;
        }
        connection_.SetProperty(assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    return connection_.Connect();
}

bool Shell::Disconnect(CommandLine&) {
    record_.reset();
    connection_.Disconnect();
    return true;
}

bool Shell::Properties(CommandLine& line) {
    if (line.size() == 1 && !connection_.os()) {
        PrintBackEnds(terminal_);
        return true;
    }
    if (line.size() == 1) {
        return PrintProperties(terminal_, *connection_.os());
    }
    const long number = binding::WholeNumber(line.word(1)).value_or(0);
    if (number < 1 || number > SHRT_MAX) {
        Failed(line.word(1) + L" is no number of a back-end");
        return false;
    }
    return PrintProperties(terminal_, static_cast<short>(number));
}

bool Shell::History(CommandLine&) {
    int number = 0;
    for (const Text& line : terminal_.history()) {
        terminal_.Print(std::to_wstring(++number) + L"  " + line);
    }
    return true;
}

bool Shell::Echo(CommandLine& line) {
    terminal_.Print(line.Rest(1));
    return true;
}

bool Shell::Help(CommandLine& line) {
    const Text text = HelpOn(line.size() == 1 ? Text(L"commands") : line.word(1));
    if (text.empty()) {
        Failed(L"there is no help on " + line.word(1));
        return false;
    }
    terminal_.PrintPaged(text);
    return true;
}

bool Shell::Quit(CommandLine&) {
    quit_ = true;
    return true;
}

}  // namespace kel::kelsh
