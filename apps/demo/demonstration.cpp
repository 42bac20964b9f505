// The demonstration as a whole: its steps, in order.
#include "apps/demo/import.h"
#include "apps/demo/steps.h"

namespace kel::demo {
namespace {

// The country that a step makes and deletes; left behind when the program was ended in between.
void RemoveLeftovers() {
    const DictItem leftover({.keyId = L"Leftover", .session = kSession, .controlName = L""});
    leftover.FileName(kCountries);
    leftover.UpdateOnly(true);
    leftover.ExternalValue(0, kNewCountry);
    leftover.DeleteRecord();
}

void FillTheAccount(Report& report,
                    const Form& form,
                    const Text& listsFolder,
                    const std::vector<File>& files) {
    report.Step(L"The data");
    report.Say(
        L"The account is to hold Debian's lists of countries, currencies and languages. Files are "
        L"made with the sentence CREATE-FILE; each record is handed over as one text and written. "
        L"While thousands of records pass through one buffer, AutoUpdateOk False keeps the "
        L"component from announcing every change. What is in the account already is only read and "
        L"compared.");
    report.Note(L"the lists are read from " + listsFolder);
    report.Space();
    for (const File& file : files) {
        PrintLayout(report, file);
    }
    report.Space();
    Import(report, form.session(), files);
    RemoveLeftovers();
    report.Events(form.log(), {});
}

}  // namespace

int Demonstrate(const Text& isoCodesFolder, const Text& accountPath) {
    const std::vector<File> files = LoadIsoCodes(isoCodesFolder);
    Report report(stdout);
    const Base base;
    CreateTheRoot(report, base);
    TieTheKeyField(report, base);
    {
        const Form form(base, accountPath);
        ConnectTheSession(report, form);
        if (!form.session().IsConnected()) {
            report.Finish();
            return 1;
        }
        FillTheAccount(report, form, isoCodesFolder, files);
        ReadACountry(report, form);
        MindTheMarks(report, form);
        ChangeAValue(report, form);
        WriteTheRecord(report, form);
        MeetALock(report, form);
        ReadWhatIsMissing(report, form);
        EditRows(report, form);
        MakeAndDeleteARecord(report, form);
        SelectRecords(report, form);
        SortASelection(report, form);
        PrintAReport(report, form);
        CallAStoredProgram(report, form);
        CallAProgramForAField(report, form);
        ShareACommonValue(report, form);
        ListWhatIsKnown(report, form);
        FailToConnect(report, form);
        DisconnectTheSession(report, form);
    }
    base.RemoveSessionCallback(kSession);
    return report.Finish() ? 0 : 1;
}

}  // namespace kel::demo
