// Steps about many records at once: selections, and reports that the database prints.
#include "apps/demo/data.h"
#include "apps/demo/steps.h"

namespace kel::demo {
namespace {

constexpr const wchar_t* kListName = L"Found";

// The ids of a selection, in its order.
std::vector<Text> IdsOf(const Tools& tools, TextView sentence) {
    tools.ExecuteSelect(kListName, sentence);
    std::vector<Text> ids;
    for (Text id; tools.ReadNext(kListName, id);) {
        ids.push_back(id);
    }
    tools.CloseSelect(kListName);
    return ids;
}

// What the database printed, line by line as on paper.
std::vector<Text> PrintedBy(const Tools& tools, TextView sentence) {
    std::vector<Text> lines = Split(tools.Execute(sentence), *kAttributeMark);
    for (Text& line : lines) {
        line = FromRecord(line).substr(0, line.find_last_not_of(L' ') + 1);
    }
    return lines;
}

}  // namespace

void SelectRecords(Report& report, const Form& form) {
    report.Step(L"Selecting records");
    report.Say(
        L"A selection is a sentence; its result is a list of ids under a name of the program's "
        L"choice, which ReadNext delivers one by one. Fields are named as in the dictionary of the "
        L"file. A constant is written as people write it: the field's conversion makes 40,000,000 "
        L"the number that is stored.");
    const struct {
        const wchar_t* sentence;
        std::vector<Text> expected;
    } selections[] = {
        {LR"(SELECT COUNTRIES WITH CONTINENT = "SA" AND WITH POPULATION > "40,000,000")",
         {L"AR", L"BR", L"CO"}},
        {LR"(SELECT COUNTRIES WITH CURRENCY.NAME LIKE "...Franc..." AND WITH CONTINENT = "EU")",
         {L"CH", L"LI"}},
        {LR"(SELECT COUNTRIES WITH SUB.NAME = "Limburg")", {L"BE", L"NL"}},
        {LR"(SELECT COUNTRIES WITH CONTINENT = "XX")", {}},
    };
    for (const auto& selection : selections) {
        report.Note(L"tools.ExecuteSelect(\"Found\", " + Printable(selection.sentence) + L")");
        report.Result(L"tools.ReadNext(\"Found\", Id) until it is False",
                      IdsOf(form.tools(), selection.sentence),
                      selection.expected);
    }
    report.Space();
    report.Say(
        L"A sentence with a mistake selects nothing. Executed as a command it says what is wrong.");
    constexpr const wchar_t* kMistaken = L"SELECT COUNTRIES WITH SEASIDE";
    report.Note(L"tools.ExecuteSelect(\"Found\", " + Printable(kMistaken) + L")");
    report.Result(L"tools.ReadNext(\"Found\", Id) until it is False",
                  IdsOf(form.tools(), kMistaken),
                  std::vector<Text>());
    report.Done(L"tools.Execute(" + Printable(kMistaken) + L", Capture)");
    report.Lines(PrintedBy(form.tools(), kMistaken), {L"\"SEASIDE\" is not a field of COUNTRIES."});
    report.Events(form.log(), {});
}

void SortASelection(Report& report, const Form& form) {
    report.Step(L"Sorting");
    report.Say(
        L"BY and BY-DSND order a selection, by stored, computed or translated fields; numbers "
        L"order by size. DENSITY is stored nowhere: its correlative divides one attribute by "
        L"another.");
    const struct {
        const wchar_t* sentence;
        std::vector<Text> expected;
    } selections[] = {
        {LR"(SELECT COUNTRIES WITH CONTINENT = "EU" AND WITH POPULATION > "40,000,000" )"
         LR"(BY-DSND POPULATION)",
         {L"RU", L"DE", L"FR", L"GB", L"IT", L"ES"}},
        {LR"(SSELECT COUNTRIES WITH DENSITY > "5000" BY CONTINENT.NAME BY-DSND DENSITY)",
         {L"MO", L"SG", L"HK", L"MC"}},
    };
    for (const auto& selection : selections) {
        report.Note(L"tools.ExecuteSelect(\"Found\", " + Printable(selection.sentence) + L")");
        report.Result(L"tools.ReadNext(\"Found\", Id) until it is False",
                      IdsOf(form.tools(), selection.sentence),
                      selection.expected);
    }
}

void PrintAReport(Report& report, const Form& form) {
    report.Step(L"Reports");
    report.Say(
        L"LIST and SORT print records as columns, with the headings, widths and conversions of the "
        L"dictionary. Execute hands the program what was printed. CURRENCY.NAME translates the "
        L"country's currency into a name out of the file CURRENCIES.");
    const struct {
        const wchar_t* sentence;
        std::vector<Text> expected;
    } sentences[] = {
        {LR"(SORT COUNTRIES WITH CONTINENT = "SA" AND WITH AREA > "1,000,000" BY-DSND AREA )"
         LR"(CURRENCY.NAME TOTAL AREA TOTAL POPULATION HDR.SUP)",
         {L"COUNTRIES. Currency................ ....Area km\u00B2 ....Population",
          L"BR         Brazilian Real              8,515,767    211,000,000",
          L"AR         Argentine Peso              2,780,400     46,000,000",
          L"PE         Sol                         1,285,216     34,000,000",
          L"CO         Colombian Peso              1,141,748     52,000,000",
          L"BO         Boliviano                   1,098,581     12,200,000",
          L"TOTAL                                 14,821,712    355,200,000",
          L"5 record(s) listed"}},
        {LR"(LIST COUNTRIES 'LI' SUB.CODE SUB.NAME WHEN SUB.NAME LIKE "...berg..." HDR.SUP)",
         {L"COUNTRIES. Code.... Subdivision...................",
          L"LI         LI-08    Schellenberg",
          L"           LI-10    Triesenberg",
          L"1 record(s) listed"}},
        {L"COUNT COUNTRIES WITH MEMBER", {L"193 record(s) counted"}},
    };
    for (const auto& one : sentences) {
        report.Done(L"tools.Execute(" + Printable(one.sentence) + L", Capture)");
        report.Lines(PrintedBy(form.tools(), one.sentence), one.expected);
    }
}

}  // namespace kel::demo
