// Steps about one record: reading, changing, writing, rows, new records.
#include "apps/atlas/child_process.h"
#include "apps/demo/data.h"
#include "apps/demo/steps.h"

namespace kel::demo {
namespace {

// A key field without controls.
constexpr const wchar_t* kScratch = L"Scratch";
constexpr const wchar_t* kSwissRows = L"26 rows: CH-AG Aargau Canton ... CH-ZH Zürich Canton";

// The country as --read prints it.
std::vector<Text> SwissOutput(TextView name) {
    return {L"CH",
            L"  1  " + Text(name),
            L"  2  Swiss Confederation",
            L"  4  CHE",
            L"  5  756",
            L"  6  \U0001F1E8\U0001F1ED",
            L"  26 subdivisions"};
}

void ReadElsewhere(Report& report, const Form& form, const std::vector<Text>& expected) {
    const ChildResult child = RunChild({L"--read", form.accountPath(), expected.front()});
    report.Output(L"a second process: demo --read ACCOUNT " + expected.front(),
                  child.lines,
                  expected,
                  child.exitCode,
                  0);
}

}  // namespace

void ReadACountry(Report& report, const Form& form) {
    report.Step(L"Reading a record");
    report.Say(
        L"The user types CH into the form's key control, whose dictionary item stands for "
        L"attribute "
        L"0, the record's id; ReadRecord answers 0, found. Every control of the key field hears "
        L"ReadValid and fetches what it shows.");
    report.Done(L"key.ExternalValue = \"CH\"");
    report.Result(L"key.ReadRecord()", form.Read(L"CH"), 0);
    report.Events(form.log(), AfterRead(L"CH", true, 0, L"Switzerland", kSwissRows));

    report.Space();
    report.Say(
        L"Code without controls asks for attribute, value and subvalue, each counted from 1. Zero "
        L"or nothing means the whole. Belgium is read into a key field that has no controls, so "
        L"nobody hears of it; its second type is a province (subvalue 1) of Flanders (subvalue "
        L"2).");
    struct {
        const wchar_t* call;
        long amc, vmc, smc;
        Text expected;
    } const swissElements[] = {
        {L"tools.Extract(\"Country\", 1)", 1, 0, 0, L"Switzerland"},
        {L"tools.Extract(\"Country\", 2)", 2, 0, 0, L"Swiss Confederation"},
        {L"tools.Extract(\"Country\", 6)", 6, 0, 0, L"\U0001F1E8\U0001F1ED"},
        {L"tools.Extract(\"Country\", 7, 26)", 7, 26, 0, L"CH-ZH"},
        {L"tools.Extract(\"Country\", 8, 26)", 8, 26, 0, ToRecord(L"Zürich")},
        {L"tools.Extract(\"Country\", 9, 26)", 9, 26, 0, L"Canton"},
        {L"tools.Extract(\"Country\", 8, 99)   (past the end)", 8, 99, 0, L""},
    };
    for (const auto& element : swissElements) {
        report.Result(element.call,
                      form.tools().Extract(kCountry, element.amc, element.vmc, element.smc),
                      element.expected);
    }
    report.Result(L"tools.Dcount(\"Country\", value mark, 7)",
                  form.tools().Dcount(kCountry, kValueMark, kSubdivisionCode),
                  26);

    report.Done(L"tools.mvRead(\"Scratch\", \"BE\", \"COUNTRIES\")");
    form.tools().mvRead(kScratch, L"BE", kCountries);
    report.Result(L"tools.Extract(\"Scratch\", 9, 2)",
                  form.tools().Extract(kScratch, kSubdivisionType, 2),
                  L"Province" + Text(kSubvalueMark) + L"VLG");
    report.Result(L"tools.Extract(\"Scratch\", 9, 2, 1)",
                  form.tools().Extract(kScratch, kSubdivisionType, 2, 1),
                  L"Province");
    report.Result(L"tools.Extract(\"Scratch\", 9, 2, 2)",
                  form.tools().Extract(kScratch, kSubdivisionType, 2, 2),
                  L"VLG");
    report.Events(form.log(), {});
}

void MindTheMarks(Report& report, const Form& form) {
    report.Step(L"Letters that look like marks");
    report.Say(
        L"Marks are the characters 252 to 254, which are also the letters \u00FC, \u00FD and "
        L"\u00FE. A text that holds one of them falls into pieces inside a record. This program "
        L"gives such letters other codes on the way in and their own on the way out; the list "
        L"above "
        L"shows Zürich for that reason. (Marks are printed here as ^ ] \\.)");
    report.Done(L"tools.Replace(\"Scratch\", \"Zürich\", 1)   (as it stands)");
    form.tools().Replace(kScratch, L"Zürich", 1);
    report.Result(
        L"tools.Extract(\"Scratch\", 1, 1, 2)", form.tools().Extract(kScratch, 1, 1, 2), L"rich");
    report.Done(L"tools.Replace(\"Scratch\", ToRecord(\"Zürich\"), 1)");
    form.tools().Replace(kScratch, ToRecord(L"Zürich"), 1);
    report.Result(L"FromRecord(tools.Extract(\"Scratch\", 1, 1, 1)) == \"Zürich\"",
                  FromRecord(form.tools().Extract(kScratch, 1, 1, 1)) == L"Zürich",
                  true);
    report.Events(form.log(), {});
}

void ChangeAValue(Report& report, const Form& form) {
    report.Step(L"Changing a value");
    report.Say(
        L"A change goes into the shared buffer, and every control of the key field hears Refresh "
        L"with the position. RefreshControlName says who made it: the name box need not show its "
        L"own text again, and the list shows itself only when one of its attributes changed.");
    form.key().ReadU(true);
    report.Done(L"key.ReadU = True");
    report.Result(L"key.ReadRecord()   (CH again, with a lock)", form.Read(L"CH"), 0);
    report.Events(form.log(), AfterRead(L"CH", true, 0, L"Switzerland", kSwissRows));

    report.Done(L"the user types Helvetia into the name box");
    form.name().Enter(L"Helvetia");
    report.Events(
        form.log(),
        {{kNameBox, L"Refresh 1, 0, 0 from txtName"}, {kList, L"Refresh 1, 0, 0 from txtName"}});
    report.Done(L"tools.Replace(\"Country\", \"Turicum\", 8, 26)");
    form.tools().Replace(kCountry, L"Turicum", kSubdivisionName, 26);
    report.Events(form.log(),
                  {{kNameBox, L"Refresh 8, 26, 0 from code"},
                   {kList, L"Refresh 8, 26, 0 from code"},
                   {kList, L"  shows 26 rows: CH-AG Aargau Canton ... CH-ZH Turicum Canton"}});
    report.Result(L"key.mvInfo.IsChanged", form.key().IsChanged(), true);
}

void WriteTheRecord(Report& report, const Form& form) {
    report.Step(L"Writing, and reading it elsewhere");
    report.Say(
        L"mvWriteU writes and keeps the lock, so that the user can go on; others read the new "
        L"text but cannot lock the record. mvWrite gives the lock up. Then the original goes "
        L"back.");
    report.Done(L"tools.mvWriteU(\"Country\", \"CH\")");
    form.tools().mvWriteU(kCountry, L"CH");
    ReadElsewhere(report, form, SwissOutput(L"Helvetia"));
    ChildResult child = RunChild({L"--hold", form.accountPath(), L"CH"});
    report.Output(L"a second process: demo --hold ACCOUNT CH",
                  child.lines,
                  {L"locked CH"},
                  child.exitCode,
                  2);

    report.Done(L"tools.Replace(\"Country\", \"Switzerland\", 1), and so on");
    form.session().AutoUpdateOk(false);
    form.tools().Replace(kCountry, L"Switzerland", kCountryName);
    form.tools().Replace(kCountry, ToRecord(L"Zürich"), kSubdivisionName, 26);
    form.session().AutoUpdateOk(true);
    report.Done(L"tools.mvWrite(\"Country\", \"CH\")");
    form.tools().mvWrite(kCountry, L"CH");
    ReadElsewhere(report, form, SwissOutput(L"Switzerland"));
    child = RunChild({L"--hold", form.accountPath(), L"CH"});
    report.Output(
        L"a second process: demo --hold ACCOUNT CH", child.lines, {L"held CH"}, child.exitCode, 0);
    report.Events(form.log(), {});
    form.key().ReadU(false);
}

void EditRows(Report& report, const Form& form) {
    constexpr const wchar_t* kRows = L"11 rows: LI-01 Balzers Commune ... LI-11 Vaduz Commune";
    report.Step(L"Rows");
    report.Say(
        L"A row is the same value in each of the associated attributes. Locate finds a code or "
        L"says "
        L"where it would go; AL is ascending order, left-justified. Inserting moves the rows "
        L"behind "
        L"up, deleting moves them back. With AutoUpdateOk False three changes make no events, and "
        L"RefreshFieldCallback announces them once, as the whole record.");
    report.Result(L"key.ReadRecord()   (LI)", form.Read(L"LI"), 0);
    report.Events(form.log(), AfterRead(L"LI", true, 0, L"Liechtenstein", kRows));
    const Text before = form.tools().Extract(kCountry, 0);

    long position = 0;
    report.Result(L"tools.Locate(\"Country\", \"LI-06\", Pos, 7)",
                  form.tools().Locate(kCountry, L"LI-06", position, kSubdivisionCode),
                  true);
    report.Result(L"Pos", position, 6);
    report.Result(L"tools.Locate(\"Country\", \"LI-06A\", Pos, 7, 0, \"AL\")",
                  form.tools().Locate(kCountry, L"LI-06A", position, kSubdivisionCode, 0, L"AL"),
                  false);
    report.Result(L"Pos", position, 7);

    const Text row[] = {L"LI-06A", L"Neudorf", L"Commune"};
    const Text shown = std::to_wstring(position);
    report.Done(L"session.AutoUpdateOk = False");
    form.session().AutoUpdateOk(false);
    for (long column = 0; column < kSubdivisionColumns; ++column) {
        const long amc = kSubdivisionCode + column;
        report.Done(L"tools.Insert(\"Country\", " + Printable(row[column]) + L", " +
                    std::to_wstring(amc) + L", " + shown + L")");
        form.tools().Insert(kCountry, row[column], amc, position);
    }
    report.Events(form.log(), {});
    const auto afterRefresh = [&](TextView rows) {
        return std::vector<Event>{{kNameBox, L"Refresh 0, 0, 0 from Country"},
                                  {kNameBox, L"  shows \"Liechtenstein\""},
                                  {kList, L"Refresh 0, 0, 0 from Country"},
                                  {kList, L"  shows " + Text(rows)}};
    };
    report.Done(L"base.RefreshFieldCallback(\"Country\")");
    form.base().RefreshFieldCallback(kCountry);
    report.Events(form.log(),
                  afterRefresh(L"12 rows: LI-01 Balzers Commune ... LI-11 Vaduz Commune"));
    report.Result(L"tools.Extract(\"Country\", 8, 7)",
                  form.tools().Extract(kCountry, kSubdivisionName, 7),
                  L"Neudorf");
    report.Result(L"tools.Extract(\"Country\", 8, 8)",
                  form.tools().Extract(kCountry, kSubdivisionName, 8),
                  L"Schaan");

    for (long column = 0; column < kSubdivisionColumns; ++column) {
        const long amc = kSubdivisionCode + column;
        report.Done(L"tools.Delete(\"Country\", " + std::to_wstring(amc) + L", " + shown + L")");
        form.tools().Delete(kCountry, amc, position);
    }
    report.Done(L"session.AutoUpdateOk = True");
    form.session().AutoUpdateOk(true);
    report.Result(L"the record is as it was", form.tools().Extract(kCountry, 0) == before, true);
    form.base().RefreshFieldCallback(kCountry);
    report.Events(form.log(), afterRefresh(kRows));
}

void MakeAndDeleteARecord(Report& report, const Form& form) {
    const std::vector<Event> cleared = {{kNameBox, L"Clear"},
                                        {kNameBox, L"  shows \"\""},
                                        {kList, L"Clear"},
                                        {kList, L"  shows no rows"}};
    const std::vector<Event> notFound = AfterRead(kNewCountry, true, 1, L"", L"no rows");
    report.Step(L"A new record, and its end");
    report.Say(
        L"ClearRecord empties the buffer for a new record. Reading an id that does not exist gives "
        L"the new record this id. WriteRecord answers 0, written; DeleteRecord removes the record "
        L"from the file and tells the controls, which decide themselves what to show.");
    report.Done(L"key.ClearRecord()");
    form.key().ClearRecord();
    report.Events(form.log(), cleared);
    report.Result(L"key.ReadRecord()   (ZZ)", form.Read(kNewCountry), 1);
    report.Events(form.log(), notFound);
    report.Result(L"key.mvInfo.IsNew", form.key().IsNew(), true);

    report.Done(L"the user types Utopía into the name box");
    form.name().Enter(L"Utopía");
    report.Events(
        form.log(),
        {{kNameBox, L"Refresh 1, 0, 0 from txtName"}, {kList, L"Refresh 1, 0, 0 from txtName"}});
    report.Result(L"key.WriteRecord()", form.key().WriteRecord(), 0);
    report.Result(L"key.mvInfo.IsRead", form.key().IsRead(), true);
    ReadElsewhere(report, form, {kNewCountry, L"  1  Utopía", L"  0 subdivisions"});

    report.Done(L"key.DeleteRecord()");
    form.key().DeleteRecord();
    report.Events(form.log(), {{kNameBox, L"Deleted \"ZZ\""}, {kList, L"Deleted \"ZZ\""}});
    report.Done(L"key.ClearRecord()");
    form.key().ClearRecord();
    report.Events(form.log(), cleared);
    report.Result(L"key.ReadRecord()   (ZZ)", form.Read(kNewCountry), 1);
    report.Events(form.log(), notFound);
}

}  // namespace kel::demo
