// Stored programs that do the worst to the call that runs them, and what they may not reach.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/embedded/program_session.h"
#include "tests/support/resources.h"

namespace kel::tests {
namespace {

using Programs = ProgramTest;

constexpr const wchar_t* kVbs =
    L"Sub Main(a, b)\n"
    L"Application.Deed\n"
    L"a = \"of \" & b\n"
    L"End Sub";
// What JScript leaves goes through Arguments, its parameters are copies.
constexpr const wchar_t* kJs =
    L"function Main(a, b) {\n"
    L"Application.Deed();\n"
    L"Arguments.Item(1) = 'of ' + b;\n"
    L"}";

// Everything that may run a program, with a program that does everything that may pull the ground
// from under it. The answers matter less than that there are some, and that the next session works.
TEST_F(Programs, MayEndWhatTheyAreCalledFrom) {
    struct Deed {
        const wchar_t* name;
        std::function<void()> run;
    };
    ComPtr<IDispatch> list;
    const wchar_t* running = nullptr;
    const Deed deeds[] = {
        {L"disconnects", [&] { session->Disconnect(); }},
        {L"connects anew",
         [&] {
             session->Disconnect();
             EXPECT_EQ(connect(L"Full"), ErrorFields());
         }},
        {L"deletes the file", [&] { session.execute(L"DELETE-FILE CUST"); }},
        {L"deletes the programs", [&] { session.execute(L"DELETE-FILE PROGRAMS"); }},
        {L"changes the field", [&] { session.execute(L"DELETE DICT CUST \"F\""); }},
        {L"changes the program", [&] { program(running, L""); }},
        {L"closes the list",
         [&] {
             Variant closed;
             session->CloseSelect(list.get(), closed.put());
         }},
        {L"takes from the list",
         [&] {
             Bstr id;
             VARIANT_BOOL more = VARIANT_FALSE;
             session->ReadNext(list.inOut(), id.inOut(), &more);
         }},
        {L"does the same again", [&] {
             const auto again = std::exchange(deed, [] {});
             attempt(L"LIST CUST F");
             attempt(L"SSELECT CUST BY F");
             correlative(L"CALL P", L"3");
             deed = again;
         }}};
    struct Call {
        const wchar_t* name;
        std::function<void()> run;
    };
    const Call calls[] = {
        {L"LIST", [&] { attempt(L"LIST CUST F"); }},
        {L"SORT", [&] { attempt(L"SORT CUST BY F TOTAL F BREAK-ON F"); }},
        {L"SELECT", [&] { attempt(L"SELECT CUST WITH F = \"of 2\""); }},
        {L"SSELECT", [&] { attempt(L"SSELECT CUST BY F"); }},
        {L"COUNT", [&] { attempt(L"COUNT CUST WITH F = \"of 2\""); }},
        {L"SUM", [&] { attempt(L"SUM CUST F"); }},
        {L"DELETE", [&] { attempt(L"DELETE CUST WITH F = \"of 2\""); }},
        {L"ReadNext",
         [&] {
             Bstr id;
             VARIANT_BOOL more = VARIANT_TRUE;
             const Bstr sentence(L"SELECT CUST WITH F # \"\"");
             session->ProcessSelect(sentence.get(), list.put());
             while (list && SUCCEEDED(session->ReadNext(list.inOut(), id.inOut(), &more)) &&
                    more != VARIANT_FALSE) {
             }
         }},
        {L"CallHost", [&] { call(L"P", L"1"); }},
        {L"ProcessCorrelative", [&] { correlative(L"CALL P", L"2"); }},
        {L"Account.Execute", [&] { call(L"LISTING"); }},
    };
    for (const auto& [id, text] : {std::pair{L"P.vbs", kVbs}, std::pair{L"P.js", kJs}}) {
        running = id;
        session.execute(L"DELETE-FILE PROGRAMS");
        session.execute(L"CREATE-FILE PROGRAMS");
        program(id, text);
        program(L"LISTING", L"Account.Execute \"LIST CUST F\"");
        for (const Call& one : calls) {
            for (const Deed& worst : deeds) {
                SCOPED_TRACE(Narrow(Text(id) + L": " + one.name + L" of one that " + worst.name));
                deed = worst.run;
                one.run();
                deed = [] {};
                list.reset();
                session->Disconnect();
                prepare();
                program(id, text);
                program(L"LISTING", L"Account.Execute \"LIST CUST F\"");
                EXPECT_EQ(attempt(L"SELECT CUST WITH F = \"of 2\"").substr(0, 3), L"404");
                EXPECT_EQ(call(L"P", L"1"), L"of 1");
            }
        }
    }
}

// The client gives its last reference away, too.
TEST_F(Programs, MayLetGoOfTheSession) {
    program(L"P", kVbs);
    const ComPtr<IDispatch> application = MakeDeedObject([this] { deed(); });
    auto other = std::make_unique<EmbeddedSession>();
    _mviHostDLL* const host = other->get();
    ComPtr<IDispatch> given = application;
    host->putref_PropertyObject(Bstr(L"Application").get(), given.inOut());
    ASSERT_EQ(other->connect(account, {{L"Programs", L"Full"}}), ErrorFields());
    deed = [&] { other.reset(); };
    Bstr capture;
    Bstr returning;
    EXPECT_EQ(ErrorOf(host->Execute(Bstr(L"LIST CUST F").get(), capture.inOut(), returning.inOut()))
                  .number,
              NotConnected);
    EXPECT_FALSE(other);
}

TEST_F(Programs, EndWithTheSessionThatTheyEnd) {
    program(L"P", kVbs);
    session.file = session.open(L"CUST");
    EXPECT_EQ(session.read(L"1", true), 0);
    EmbeddedSession other;
    ASSERT_EQ(other.connect(account), ErrorFields());
    other.file = other.open(L"CUST");
    deed = [&] {
        EXPECT_EQ(other.read(L"1", true), 2);
        session->Disconnect();
        EXPECT_FALSE(session.isConnected());
        EXPECT_EQ(other.read(L"1", true), 0) << "locks end with the session";
    };
    session.execute(L"LIST CUST F");
    EXPECT_EQ(session.lastError, (ErrorFields{NotConnected, L"kelos1::Execute", L"Not connected"}));
}

TEST_F(Programs, GetTheRecordTheyAreCalledFor) {
    for (const auto& [id, text] : {std::pair{L"P.vbs",
                                             L"Sub Main(value, id, record)\n"
                                             L"Application.Deed\n"
                                             L"value = \"of \" & id & record\n"
                                             L"End Sub"},
                                   std::pair{L"P.js",
                                             L"function Main(value, id, record) {\n"
                                             L"Application.Deed();\n"
                                             L"Arguments.Item(1) = 'of ' + id + record;\n"
                                             L"}"}}) {
        SCOPED_TRACE(Narrow(id));
        session.execute(L"DELETE PROGRAMS \"P.vbs\"");
        program(id, text);
        Text inner;
        deed = [&] {
            deed = [] {};
            inner = correlative(L"CALL P", L"3");
        };
        EXPECT_EQ(correlative(L"CALL P", L"2"), L"of 22");
        EXPECT_EQ(inner, L"of 33");
    }
}

// What each language offers beyond itself, through every way of running a text at run time. The
// text that is refused stands in `wish`; the program leaves what came of it in its argument.
TEST_F(Programs, HaveOnlyTheAccountWhenSealed) {
    struct Case {
        const wchar_t* id;
        const wchar_t* wish;
    };
    const Case cases[] = {
        {L"P.vbs", L"Set o = CreateObject(\"Scripting.FileSystemObject\")"},
        {L"P.vbs", L"Set o = GetObject(\"new:{0D43FE01-F093-11CF-8940-00A0C9054228}\")"},
        {L"P.vbs", L"Set o = GetObject(, \"Scripting.FileSystemObject\")"},
        {L"P.vbs", L"Execute \"Set o = CreateObject(\"\"Scripting.FileSystemObject\"\")\""},
        {L"P.vbs", L"ExecuteGlobal \"Set o = CreateObject(\"\"Scripting.FileSystemObject\"\")\""},
        {L"P.vbs", L"o = Eval(\"IsObject(CreateObject(\"\"Scripting.FileSystemObject\"\"))\")"},
        {L"P.vbs", L"Set f = GetRef(\"CreateObject\"): Set o = f(\"Scripting.FileSystemObject\")"},
        {L"P.vbs", L"Application.Deed"},
        {L"P.js", L"var o = new ActiveXObject('Scripting.FileSystemObject');"},
        {L"P.js", L"var o = GetObject('new:{0D43FE01-F093-11CF-8940-00A0C9054228}');"},
        {L"P.js", L"eval(\"new ActiveXObject('Scripting.FileSystemObject')\");"},
        {L"P.js", L"new Function(\"new ActiveXObject('Scripting.FileSystemObject')\")();"},
        {L"P.js", L"Application.Deed();"},
    };
    std::vector<long> before;
    for (const bool isFull : {true, false}) {
        session->Disconnect();
        ASSERT_EQ(connect(isFull ? L"full" : L""), ErrorFields());
        for (const Case& one : cases) {
            SCOPED_TRACE(Narrow(Text(isFull ? L"Full: " : L"Sealed: ") + one.wish));
            session.execute(L"DELETE PROGRAMS \"P.vbs\" \"P.js\"");
            program(one.id,
                    one.id[2] == L'v' ? Text(L"Sub Main(a, b)\n") + one.wish + L"\nEnd Sub"
                                      : Text(L"function Main(a, b) {\n") + one.wish + L"\n}");
            bool isDone = false;
            deed = [&] { isDone = true; };
            const ForgivenBlocks forgiven;  // Wine's engines lose the texts of errors
            call(L"P");
            const long number = session.lastError.number;
            if (isFull) {
                before.push_back(number);
                continue;
            }
            // What an engine cannot do at all it refuses in its own words.
            const long withTrust = before[static_cast<std::size_t>(&one - cases)];
            EXPECT_EQ(number,
                      withTrust == 0          ? kNotTrusted
                      : number == kNotTrusted ? number
                                              : withTrust);
            EXPECT_FALSE(isDone);
            if (number == kNotTrusted) {
                const Text& what = session.lastError.description;
                EXPECT_NE(what.find(L"line "), Text::npos);
                EXPECT_NE(what.find(Text(one.wish).starts_with(L"Application")
                                        ? L": A sealed program may not use Application."
                                        : L": A sealed program has the objects of the account and "
                                          L"no others."),
                          Text::npos)
                    << Narrow(what);
            }
        }
    }
    EXPECT_EQ(std::count(before.begin(), before.end(), 0), 7) << "what is refused works with trust";
}

TEST_F(Programs, AreConfinedToRecordsWhenSealed) {
    const Text copy = folder / L"copy";
    program(L"P", L"Sub Main(a, b)\na = Account.Execute(a)\nEnd Sub");
    const Text sentences[] = {
        L"SAVE-ACCOUNT \"" + copy + L"\"", L"CHECK-ACCOUNT", L"REPAIR-ACCOUNT \"" + copy + L"\""};
    for (const bool isFull : {false, true}) {
        session->Disconnect();
        ASSERT_EQ(connect(isFull ? L"Full" : L"Sealed"), ErrorFields());
        for (const Text& sentence : sentences) {
            SCOPED_TRACE(Narrow(sentence));
            EXPECT_EQ(
                call(L"P", sentence) == L"A sealed program may not check, repair or save accounts.",
                !isFull);
        }
        EXPECT_EQ(call(L"P", L"COUNT CUST"), L"3 record(s) counted");
        EXPECT_EQ(GetFileAttributesW(copy.c_str()) != INVALID_FILE_ATTRIBUTES, isFull);
        EXPECT_EQ(session.execute(L"CHECK-ACCOUNT").substr(0, 3), L"426")
            << "the client is not confined";
    }
    DeleteFileW(copy.c_str());
}

TEST_F(Programs, DoNotRunWithoutTrust) {
    program(L"P", kVbs);
    session->Disconnect();
    ASSERT_EQ(connect(L"None"), ErrorFields());
    bool isDone = false;
    deed = [&] { isDone = true; };
    const auto refused = [](const wchar_t* member) {
        return ErrorFields{kNotTrusted,
                           Text(L"kelos1::") + member,
                           L"The program \"P\" may not run: the property Programs is None."};
    };
    EXPECT_EQ(call(L"P", L"1"), L"1");
    EXPECT_EQ(session.lastError, refused(L"CallHost"));
    EXPECT_EQ(correlative(L"CALL P", L"1"), L"");
    EXPECT_EQ(session.lastError, refused(L"ProcessCorrelative"));
    const Text listed = session.execute(L"LIST CUST F");
    EXPECT_TRUE(listed.starts_with(L"-2147220972: ")) << Narrow(listed);
    EXPECT_TRUE(listed.ends_with(L"the property Programs is None.")) << Narrow(listed);
    EXPECT_FALSE(isDone);
    EXPECT_EQ(session.execute(L"COUNT CUST"), L"407: 3 record(s) counted");
}

TEST_F(Programs, DoNotWriteWhereTheSessionMayNot) {
    const struct {
        const wchar_t* id;
        const wchar_t* text;
    } programs[] = {
        {L"P1", L"Account.Open(\"CUST\").Write \"1\", \"x\""},
        {L"P2", L"Account.Open(\"CUST\").Delete \"1\""},
        {L"P3", L"Account.Open(\"CUST\").ReadU \"1\""},
        {L"P4.js", L"Account.Open('CUST').Write('1', 'x');"},
        {L"P5.js", L"eval(\"Account.Open('CUST').Write('1', 'x')\");"},
    };
    program(L"SENTENCE", L"Sub Main(a, b)\na = Account.Execute(a)\nEnd Sub");
    for (const auto& one : programs) {
        program(one.id, one.text);
    }
    session->Disconnect();
    ASSERT_EQ(session.connect(account, {{L"Programs", L""}, {L"ReadOnly", L"True"}}),
              ErrorFields());
    const Text why = L"The account is open for reading only: \"" + account + L"\".";
    for (const auto& one : programs) {
        SCOPED_TRACE(Narrow(one.text));
        const ForgivenBlocks forgiven;  // Wine's engines lose the texts of errors
        call(one.id);
        EXPECT_EQ(session.lastError.number, kReadOnlyAccount);
        EXPECT_NE(session.lastError.description.find(why), Text::npos);
    }
    for (const wchar_t* sentence : {L"DELETE CUST \"1\"",
                                    L"COPY CUST \"1\",\"4\"",
                                    L"CLEAR-FILE CUST",
                                    L"CREATE-FILE NEW",
                                    L"DELETE-FILE CUST",
                                    L"CREATE-INDEX CUST F"}) {
        SCOPED_TRACE(Narrow(sentence));
        call(L"SENTENCE", sentence);
        EXPECT_EQ(session.execute(L"COUNT CUST"), L"407: 3 record(s) counted");
    }
}

}  // namespace
}  // namespace kel::tests
