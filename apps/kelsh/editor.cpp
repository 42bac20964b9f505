// The editor's commands.
#include "apps/kelsh/editor.h"

#include <algorithm>

namespace kel::kelsh {

const wchar_t* const kEditorHelp =
    LR"(The editor shows a record's attributes as numbered lines. One of them is the
current line. edit FILE ID reads the record with a lock.

  Enter         the next line      N             go to line N
  p             print all          t             go to the top, before line 1
  r TEXT        replace the line   i TEXT        insert a line behind it
  c/OLD/NEW/    change text in it  d             delete it
  /TEXT         find the next line with TEXT
  f [keep]      file the record; keep its lock
  q             leave without filing; asks when something was changed, q! does not

Values are parted by |, subvalues by ~; a backslash before one makes it plain
text.)";

namespace {

class Editor {
public:
    Editor(RecordBuffer& record, Terminal& terminal) : record_(record), terminal_(terminal) {
        for (const Text& attribute : record.Attributes()) {
            lines_.push_back(AsTyped(attribute));
        }
    }

    bool Run() {
        if (terminal_.isInteractive()) {
            terminal_.Print(record_.file() + L" " + record_.id() + L", " +
                            std::to_wstring(lines_.size()) + L" lines; h tells the commands");
        }
        while (!left_) {
            const auto command = terminal_.Ask(L"* ");
            if (!command) {
                Leave(true);
                return false;  // the input ended before the record was filed or left
            }
            Do(*command);
        }
        return good_;
    }

private:
    void Do(const Text& command) {
        const wchar_t letter = command.empty() ? L'\0' : command.front();
        const Text rest = command.size() > 2 ? command.substr(2) : Text();
        if (command.empty()) {
            GoTo(at_ + 1);
        } else if (letter >= L'0' && letter <= L'9') {
            GoTo(static_cast<std::size_t>(std::wcstoul(command.c_str(), nullptr, 10)));
        } else if (command == L"p") {
            PrintAll();
        } else if (command == L"t") {
            at_ = 0;
        } else if (letter == L'r' && at_ > 0) {
            Change(rest);
        } else if (letter == L'i') {
            lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at_), rest);
            ++at_;
            changed_ = true;
        } else if (letter == L'c' && at_ > 0) {
            ChangeText(command);
        } else if (command == L"d" && at_ > 0) {
            lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(at_) - 1);
            at_ = std::min(at_, lines_.size());
            changed_ = true;
        } else if (letter == L'/') {
            Search(command.substr(1));
        } else if (command == L"f" || command == L"f keep") {
            File(command != L"f");
        } else if (command == L"q" || command == L"q!") {
            Leave(command == L"q!");
        } else if (command == L"h") {
            terminal_.Print(kEditorHelp);
        } else {
            Refuse(at_ == 0 ? L"go to a line first; h tells the commands"
                            : L"h tells the commands");
        }
    }

    void Refuse(TextView text) {
        good_ = false;
        terminal_.Complain(L"kelsh: " + Text(text));
    }

    void Print(std::size_t line) {
        terminal_.Print(std::to_wstring(line) + L"  " + lines_[line - 1]);
    }

    void PrintAll() {
        for (std::size_t line = 1; line <= lines_.size(); ++line) {
            Print(line);
        }
    }

    void GoTo(std::size_t line) {
        if (line > lines_.size()) {
            Refuse(L"the record ends with line " + std::to_wstring(lines_.size()));
        } else {
            at_ = line;
            if (line > 0) {
                Print(line);
            }
        }
    }

    void Change(const Text& text) {
        lines_[at_ - 1] = text;
        changed_ = true;
    }

    // c/OLD/NEW/ with any character in the place of "/".
    void ChangeText(const Text& command) {
        const wchar_t limit = command.size() > 1 ? command[1] : L' ';
        const std::size_t middle = command.find(limit, 2);
        const std::size_t end = middle == Text::npos ? middle : command.find(limit, middle + 1);
        if (middle == Text::npos || middle == 2) {
            Refuse(L"it is: c/OLD/NEW/");
            return;
        }
        const Text old = command.substr(2, middle - 2);
        const Text replacement =
            command.substr(middle + 1, end == Text::npos ? end : end - middle - 1);
        Text& line = lines_[at_ - 1];
        const std::size_t found = line.find(old);
        if (found == Text::npos) {
            Refuse(L"the line has no \"" + old + L"\"");
            return;
        }
        line.replace(found, old.size(), replacement);
        changed_ = true;
        Print(at_);
    }

    void Search(const Text& text) {
        for (std::size_t line = at_ + 1; line <= lines_.size(); ++line) {
            if (lines_[line - 1].find(text) != Text::npos) {
                GoTo(line);
                return;
            }
        }
        Refuse(L"no further line has \"" + text + L"\"");
    }

    void File(bool keepLock) {
        std::vector<Text> attributes;
        for (const Text& line : lines_) {
            attributes.push_back(AsStored(line));
        }
        record_.ReplaceAll(attributes);
        record_.Write({}, keepLock);
        left_ = true;
    }

    void Leave(bool atOnce) {
        if (changed_ && !atOnce && terminal_.isInteractive()) {
            const auto answer = terminal_.Ask(L"Leave without filing (y/n)? ");
            if (answer && *answer != L"y") {
                return;
            }
        }
        record_.Release();
        left_ = true;
    }

    RecordBuffer& record_;
    Terminal& terminal_;
    std::vector<Text> lines_;
    std::size_t at_ = 0;  // the current line, from 1; 0 before the first
    bool changed_ = false;
    bool left_ = false;
    bool good_ = true;
};

}  // namespace

bool EditRecord(RecordBuffer& record, Terminal& terminal) {
    return Editor(record, terminal).Run();
}

}  // namespace kel::kelsh
