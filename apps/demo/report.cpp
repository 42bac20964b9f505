// The transcript, line by line.
#include "apps/demo/report.h"

namespace kel::demo {
namespace {

constexpr std::size_t kWidth = 92;
constexpr std::size_t kResultColumn = 54;
constexpr std::size_t kNameColumn = 16;
constexpr const wchar_t* kIndent = L"  ";
constexpr const wchar_t* kOutput = L"    | ";  // of programs and sentences

// Padded to `width`, and parted from what follows in any case.
Text Padded(TextView text, std::size_t width) {
    Text result(text);
    result.append(text.size() < width ? width - text.size() : 1, L' ');
    return result;
}

void PrintTo(std::FILE* stream, TextView line) {
    const std::string bytes = ToUtf8(line) + "\n";
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    std::fflush(stream);  // another program may be reading, or this one be ended at any moment
}

Text EventLine(const Event& event) {
    return L"    " + Padded(event.who, kNameColumn) + event.what;
}

}  // namespace

void PrintLine(TextView line) {
    PrintTo(stdout, line);
}
void PrintError(TextView line) {
    PrintTo(stderr, line);
}

Text Printable(TextView text) {
    return L'"' + Readable(text) + L'"';
}

Text Printable(const std::vector<Text>& names) {
    Text result;
    for (const Text& name : names) {
        result += (result.empty() ? L"" : L", ") + Printable(name);
    }
    return result.empty() ? L"(none)" : result;
}

void Report::Step(TextView title) {
    Text heading = L"== " + std::to_wstring(++steps_) + L". " + Text(title) + L" ";
    heading.append(heading.size() < kWidth ? kWidth - heading.size() : 0, L'=');
    line(L"");
    line(heading);
    line(L"");
}

void Report::Say(TextView paragraph) const {
    while (paragraph.size() > kWidth) {
        const std::size_t end = paragraph.rfind(L' ', kWidth);
        line(paragraph.substr(0, end));
        paragraph.remove_prefix(end + 1);
    }
    line(paragraph);
    line(L"");
}

void Report::Note(TextView text) const {
    line(kIndent + Text(text));
}

void Report::Space() const {
    line(L"");
}

void Report::Done(TextView call) const {
    Note(call);
}

void Report::Events(EventLog& log, const std::vector<Event>& expected) {
    const std::vector<Event> heard = log.Take();
    for (const Event& event : heard) {
        line(EventLine(event));
    }
    ++checks_;
    if (heard != expected) {
        differs(L"these events were expected instead:");
        for (const Event& event : expected) {
            line(EventLine(event));
        }
    }
}

void Report::Lines(const std::vector<Text>& lines, const std::vector<Text>& expected) {
    for (const Text& output : lines) {
        line(kOutput + output);
    }
    ++checks_;
    if (lines != expected) {
        differs(L"this output was expected instead:");
        for (const Text& output : expected) {
            line(kOutput + output);
        }
    }
}

void Report::Output(TextView command,
                    const std::vector<Text>& lines,
                    const std::vector<Text>& expectedLines,
                    int exitCode,
                    int expectedExitCode) {
    Result(command, exitCode, expectedExitCode);
    Lines(lines, expectedLines);
}

void Report::Verify(TextView claim, bool holds) {
    ++checks_;
    if (!holds) {
        differs(L"this does not hold: " + Text(claim));
    }
}

bool Report::Finish() const {
    line(L"");
    if (differences_ == 0) {
        line(L"All " + std::to_wstring(checks_) + L" results are as expected.");
    } else {
        line(std::to_wstring(differences_) + L" of " + std::to_wstring(checks_) +
             L" results differ from what was expected; look for lines with ***.");
    }
    return differences_ == 0;
}

Text Report::failure(long number, TextView description) {
    return L"error " + std::to_wstring(number) + L": " + Text(description);
}

void Report::show(TextView call, TextView actual, TextView expected, bool same) {
    ++checks_;
    Note(Padded(call, kResultColumn) + Text(actual));
    if (!same) {
        differs(L"expected here: " + Text(expected));
    }
}

void Report::line(TextView text) const {
    PrintTo(stream_, text);
}

void Report::differs(TextView text) {
    ++differences_;
    Note(L"*** " + Text(text));
}

}  // namespace kel::demo
