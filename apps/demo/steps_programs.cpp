// Steps about stored programs: scripts that are kept in the account and run inside the session.
#include "apps/atlas/programs.h"
#include "apps/demo/data.h"
#include "apps/demo/steps.h"

namespace kel::demo {
namespace {

constexpr const wchar_t* kCompareId = L"DEMO.COMPARE.vbs";
constexpr const wchar_t* kCompareText =
    LR"(Sub Main(first, second, answer)
    Dim countries, one, other
    Set countries = Account.Open("COUNTRIES")
    If Not (countries.Exists(first) And countries.Exists(second)) Then
        Err.Raise vbObjectError + 1, "COMPARE", "Only countries can be compared."
    End If
    one = countries.Read(first)
    other = countries.Read(second)
    answer = Round(Account.Extract(one, 13) / Account.Extract(other, 13))
    first = Account.Extract(one, 1)
    second = Account.Extract(other, 1)
End Sub)";

constexpr const wchar_t* kSwapId = L"DEMO.SWAP.vbs";
constexpr const wchar_t* kSwapText =
    LR"(Sub Main(id, record, parameters, value)
    Dim official
    official = Account.Extract(record, 2)
    value = Account.Extract(record, 1)
    record = Account.Replace(Account.Replace(record, official, 1), value, 2)
    parameters = Account.Replace(parameters, "2", 10)
End Sub)";

// Puts a program into the account and shows it as it stands there.
void Store(Report& report, const Form& form, const wchar_t* id, TextView text) {
    constexpr const wchar_t* kKeyId = L"Program";
    const std::vector<Text> lines = Split(text, L'\n');
    Fill(form.tools(), form.session(), kPrograms, {{id, Join(lines, kAttributeMark)}});
    report.Done(L"tools.mvRead(\"Program\", " + Printable(Text(id)) + L", \"PROGRAMS\")");
    form.tools().mvRead(kKeyId, id, kPrograms);
    report.Lines(Split(form.tools().Extract(kKeyId, 0), *kAttributeMark), lines);
}

}  // namespace

void CallAStoredProgram(Report& report, const Form& form) {
    report.Step(L"A stored program");
    report.Say(
        L"A program is a record of the file PROGRAMS, its lines are the attributes. It runs inside "
        L"the session, whose files it reaches through the object Account. CallProg hands it up to "
        L"twelve arguments by reference; what it leaves in them comes back.");
    Store(report, form, kCompareId, kCompareText);
    Var arguments[] = {Var(L"CH"), Var(L"LI"), Var()};
    report.Space();
    report.Done(L"tools.CallProg(\"DEMO.COMPARE\", First, Second, Answer)   (CH, LI)");
    form.tools().CallProg(L"DEMO.COMPARE", arguments);
    const wchar_t* const names[] = {L"First", L"Second", L"Answer"};
    const wchar_t* const expected[] = {L"Switzerland", L"Liechtenstein", L"223"};
    for (std::size_t at = 0; at < std::size(names); ++at) {
        report.Result(names[at], arguments[at].text(), Text(expected[at]));
    }

    report.Space();
    report.Say(
        L"An error of a program reaches the caller as an error of the call; its text names the "
        L"program and the line.");
    arguments[0] = Var(L"XX");
    arguments[1] = Var(L"LI");
    report.Fails(
        L"tools.CallProg with a country that is not there",
        [&] { form.tools().CallProg(L"DEMO.COMPARE", arguments); },
        static_cast<long>(0x80040001L),
        L"Program \"DEMO.COMPARE.vbs\", line 5: Only countries can be compared.");
    report.Fails(
        L"tools.CallProg of a program that is not there",
        [&] { form.tools().CallProg(L"DEMO.NONE", arguments); },
        static_cast<long>(0x8004020DL),
        L"There is no stored program \"DEMO.NONE\" in the file PROGRAMS.");
    report.Events(form.log(), {});
}

void CallAProgramForAField(Report& report, const Form& form) {
    report.Step(L"A program for a field");
    report.Say(
        L"Called through a dictionary item, a program works on the record in the key field's "
        L"buffer, whether that is written or not. This one swaps two attributes and answers 2, at "
        L"which every control shows the whole record again. Defaults and validations of fields "
        L"are programs of this kind.");
    Store(report, form, kSwapId, kSwapText);
    report.Space();
    report.Result(L"key.ReadRecord()   (LI)", form.Read(L"LI"), 0);
    constexpr const wchar_t* kRows = L"11 rows: LI-01 Balzers Commune ... LI-11 Vaduz Commune";
    report.Events(form.log(), AfterRead(L"LI", true, 0, L"Liechtenstein", kRows));
    Text value;
    report.Done(L"key.CallProg(\"C:DEMO.SWAP\", \"\", Value)");
    form.key().CallProg(L"C:DEMO.SWAP", L"", value);
    report.Events(form.log(),
                  {{kNameBox, L"Refresh 0, 0, 0 from code"},
                   {kNameBox, L"  shows \"Principality of Liechtenstein\""},
                   {kList, L"Refresh 0, 0, 0 from code"},
                   {kList, L"  shows " + Text(kRows)}});
    report.Result(L"Value", value, L"Liechtenstein");
}

}  // namespace kel::demo
