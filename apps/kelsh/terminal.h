// Where the shell reads lines and writes text: a console, or pipes and files in UTF-8.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "apps/binding/text.h"

namespace kel::kelsh {

using binding::Text;
using binding::TextView;

class Terminal {
public:
    Terminal();

    // Whether somebody types; otherwise lines come from a pipe or a file.
    bool isInteractive() const { return inputIsConsole_; }

    // The next line without its end; empty at the end of input. The prompt is shown to people only.
    // The console itself edits the line and recalls earlier ones.
    std::optional<Text> ReadLine(TextView prompt);
    // As ReadLine, but the line is nothing to recall or list: an answer to a question.
    std::optional<Text> Ask(TextView prompt);
    // The lines read by ReadLine so far.
    const std::vector<Text>& history() const { return history_; }

    // Writes a line, or several parted by line feeds.
    void Print(TextView text);
    // As Print; on a console a page at a time, until the reader has had enough.
    void PrintPaged(TextView text);
    // Bytes as they are, for data.
    void PrintBytes(std::string_view bytes);
    // A line for people, apart from what is printed.
    void Complain(TextView text);
    // Overwrites the last sign of progress; nothing where nobody watches. Empty: wipes it.
    void ShowProgress(TextView text);

    void UsePages(bool on) { pages_ = on; }

private:
    std::optional<Text> ReadConsoleLine();
    std::optional<Text> ReadPipeLine();
    static void Write(HANDLE handle, bool isConsole, TextView text);
    struct Page {
        std::size_t rows = 0;  // 0: no pages
        std::size_t columns = 1;
    };
    Page PageSize() const;

    const HANDLE input_;
    const HANDLE output_;
    const HANDLE errors_;
    const bool inputIsConsole_;
    const bool outputIsConsole_;
    const bool errorsAreConsole_;
    bool pages_ = true;
    bool atStart_ = true;  // of piped input, where a byte order mark may stand
    bool ended_ = false;
    std::string pending_;  // piped input not yet asked for
    std::size_t progressWidth_ = 0;
    std::vector<Text> history_;
};

}  // namespace kel::kelsh
