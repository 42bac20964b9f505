// The printed side of the demonstration: headings, explanations, calls with their results. Every
// result is held against what it ought to be, and a difference is printed and counted.
#pragma once

#include <concepts>
#include <cstdio>
#include <string>
#include <vector>

#include "apps/demo/event_log.h"

namespace kel::demo {

// Writes a line of UTF-8 to standard output, whatever the console's own code page.
void PrintLine(TextView line);
// Writes a line to standard error.
void PrintError(TextView line);

// A value as the transcript shows it: texts in quotes, with marks and letters readable.
Text Printable(TextView text);
Text Printable(const std::vector<Text>& names);
Text Printable(std::integral auto value) {
    if constexpr (std::same_as<decltype(value), bool>) {
        return value ? L"True" : L"False";
    } else {
        return std::to_wstring(value);
    }
}

class Report {
public:
    explicit Report(std::FILE* stream) : stream_(stream) {}

    // Begins a step; steps are numbered.
    void Step(TextView title);
    // A paragraph.
    void Say(TextView paragraph) const;
    // One line as it stands.
    void Note(TextView text) const;
    // An empty line.
    void Space() const;
    // A call and its result.
    template <typename Actual, typename Expected>
    void Result(TextView call, const Actual& actual, const Expected& expected) {
        show(call, Printable(actual), Printable(expected), actual == expected);
    }
    // A call that is expected to fail with this number and description.
    template <typename Call>
    void Fails(TextView what, Call&& call, long number, TextView description) {
        show(what, failureOf(call), failure(number, description));
    }
    // A call without a result.
    void Done(TextView call) const;
    // What the listeners heard since the last call.
    void Events(EventLog& log, const std::vector<Event>& expected);
    // What came out, line by line.
    void Lines(const std::vector<Text>& lines, const std::vector<Text>& expected);
    // What another program printed, and its exit code.
    void Output(TextView command,
                const std::vector<Text>& lines,
                const std::vector<Text>& expectedLines,
                int exitCode,
                int expectedExitCode);
    // A claim about the whole, shown only when it does not hold.
    void Verify(TextView claim, bool holds);

    // Prints the summary; whether every result was as expected.
    bool Finish() const;

private:
    template <typename Call>
    static Text failureOf(Call&& call);
    static Text failure(long number, TextView description);
    void show(TextView call, TextView actual, TextView expected) {
        show(call, actual, expected, actual == expected);
    }
    void show(TextView call, TextView actual, TextView expected, bool same);
    void differs(TextView text);

    void line(TextView text) const;

    std::FILE* const stream_;
    int steps_ = 0;
    int checks_ = 0;
    int differences_ = 0;
};

template <typename Call>
Text Report::failureOf(Call&& call) {
    try {
        call();
    } catch (const Error& error) {
        return failure(error.number(), error.description());
    }
    return L"no error";
}

}  // namespace kel::demo
