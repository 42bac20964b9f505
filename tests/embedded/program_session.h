// A session whose account has stored programs, and an object through which these do the worst.
#pragma once

#include <functional>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {

// Numbers that programs meet.
inline constexpr long kNotTrusted = automation::kObjectError + 0x214;

// What programs see as Application: every name is a method that runs `deed`.
ComPtr<IDispatch> MakeDeedObject(std::function<void()> deed);

// An account with the file CUST: records 1, 2 and 3 with their number as text, and a field F that
// the program P works out (its first argument is the result, the second the id).
class ProgramTest : public testing::Test {
protected:
    ProgramTest();

    // Connects and makes what is missing of all this.
    void prepare();
    ErrorFields connect(const wchar_t* programs);
    // Makes a program; lines are parted by line feeds, arguments of Main are a and b. `language` is
    // "vbs" or "js".
    void program(const wchar_t* id, TextView text);
    // Calls a program with an argument, twice; what is left in the first.
    Text call(const wchar_t* id, TextView argument = L"");
    // The correlative over record `id`.
    Text correlative(TextView text, TextView id);
    // What a sentence answers or the error it raises, in one text.
    Text attempt(TextView sentence);

    TempFolder folder;
    const Text account = folder / L"programs.account";
    EmbeddedSession session;
    std::function<void()> deed;
};

}  // namespace kel::tests
