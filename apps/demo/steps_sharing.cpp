// Steps about what is shared: locks with other processes, common values with other key fields.
#include "apps/atlas/child_process.h"
#include "apps/demo/data.h"
#include "apps/demo/steps.h"

namespace kel::demo {
namespace {

constexpr const wchar_t* kGermanRows = L"16 rows: DE-BB Brandenburg Land ... DE-TH Thüringen Land";

}  // namespace

void MeetALock(Report& report, const Form& form) {
    report.Step(L"A locked record");
    report.Say(
        L"A second process reads Germany with a lock and keeps it. A read with lock is then "
        L"refused "
        L"with the answer 2: the controls hear ReadValid False, 2 and the buffer is empty, so that "
        L"nobody edits what cannot be written. A read without lock is served.");
    ChildProcess holder({L"--hold", form.accountPath(), L"DE"});
    report.Result(L"a second process: demo --hold ACCOUNT DE",
                  holder.ReadLine().value_or(L"(nothing)"),
                  L"held DE");
    form.key().ReadU(true);
    report.Done(L"key.ReadU = True");
    report.Result(L"key.ReadRecord()   (DE)", form.Read(L"DE"), 2);
    report.Events(form.log(), AfterRead(L"DE", false, 2, L"", L"no rows"));
    report.Result(L"tools.Extract(\"Country\", 1)", form.tools().Extract(kCountry, 1), L"");
    form.key().ReadU(false);
    report.Done(L"key.ReadU = False");
    report.Result(L"key.ReadRecord()   (DE)", form.Read(L"DE"), 0);
    report.Events(form.log(), AfterRead(L"DE", true, 0, L"Germany", kGermanRows));

    report.Space();
    report.Say(
        L"When the second process ends, however it ends, its locks are gone. This session takes "
        L"the "
        L"lock now; mvRelease gives it up again without writing.");
    holder.CloseInput();
    report.Result(L"the second process ends", holder.Wait(), 0);
    report.Done(L"tools.mvReadU(\"Country\", \"DE\", \"COUNTRIES\")");
    form.tools().mvReadU(kCountry, L"DE", kCountries);
    report.Events(form.log(), AfterRead(L"DE", true, 0, L"Germany", kGermanRows));
    ChildResult child = RunChild({L"--hold", form.accountPath(), L"DE"});
    report.Output(L"a second process: demo --hold ACCOUNT DE",
                  child.lines,
                  {L"locked DE"},
                  child.exitCode,
                  2);
    report.Done(L"tools.mvRelease(\"Country\")");
    form.tools().mvRelease(kCountry);
    child = RunChild({L"--hold", form.accountPath(), L"DE"});
    report.Output(
        L"a second process: demo --hold ACCOUNT DE", child.lines, {L"held DE"}, child.exitCode, 0);
}

void ReadWhatIsMissing(Report& report, const Form& form) {
    report.Step(L"A record that is not there, and kinds of read");
    report.Say(
        L"A missing record is no error: the answer is 1, ReadValid says True, 1, and the buffer is "
        L"a new, empty record. ReadType narrows what a control accepts: 2 accepts nothing, 3 only "
        L"new records; what is refused is answered with 3.");
    struct {
        const wchar_t* id;
        short readType;
        short result;
        short errorFlag;
        bool isValid;
    } const reads[] = {
        {L"XX", 0, 1, 1, true},
        {L"XX", 2, 3, 1, false},
        {L"XX", 3, 1, 1, true},
        {L"DE", 3, 3, 0, false},
    };
    for (const auto& read : reads) {
        form.key().ReadType(read.readType);
        report.Done(L"key.ReadType = " + Printable(read.readType));
        report.Result(
            L"key.ReadRecord()   (" + Text(read.id) + L")", form.Read(read.id), read.result);
        report.Events(form.log(),
                      AfterRead(read.id, read.isValid, read.errorFlag, L"", L"no rows"));
    }
    form.key().ReadType(0);
    report.Fails(
        L"tools.mvRead of a file that is not there",
        [&] { form.tools().mvRead(kCountry, L"XX", L"OCEANS"); },
        mvOpenNotFound,
        L"There is no file \"OCEANS\" in this account.");
}

void ShareACommonValue(Report& report, const Form& form) {
    constexpr const wchar_t* kCommonName = L"Currency";
    report.Step(L"A value that crosses key fields");
    report.Say(
        L"A second form shows currencies in a key field of its own. The first form sets the common "
        L"value Currency; every control of the session hears of it, whatever its key field, and "
        L"the "
        L"currency box reads the record.");
    form.base().SetKeyFieldSession(kCurrency, kSession);
    form.base().SetKeyFieldFileName(kCurrency, kCurrencies);
    const Field field = form.base().GetFieldCallBack(kCurrency);
    const Follower box(
        form.log(),
        {.keyId = kCurrency, .session = kSession, .controlName = kCurrencyBox, .amc = 1},
        field,
        form.session(),
        kCommonName,
        kCurrencies);

    report.Done(L"key.CommonValue(\"Currency\") = \"CHF\"");
    form.key().CommonValue(kCommonName, L"CHF");
    report.Events(form.log(),
                  {{kNameBox, L"CommonValueChanged \"Currency\""},
                   {kList, L"CommonValueChanged \"Currency\""},
                   {kCurrencyBox, L"CommonValueChanged \"Currency\""},
                   {kCurrencyBox, L"ReadValid \"CHF\", True, 0"},
                   {kCurrencyBox, L"  shows \"Swiss Franc\""}});
    report.Result(
        L"session.CommonValue(\"Currency\")", form.session().CommonValue(kCommonName), L"CHF");
    report.Result(
        L"session.CommonValue(\"Never set\")", form.session().CommonValue(L"Never set"), L"");
}

void ListWhatIsKnown(Report& report, const Form& form) {
    report.Step(L"What is known");
    report.Say(
        L"The root lists the key fields that are tied to a session or a file, and the sessions "
        L"that have such key fields. A buffer that only code uses, like Scratch, is not among "
        L"them.");
    report.Result(L"base.GetKeyFieldList()",
                  form.base().GetKeyFieldList(),
                  std::vector<Text>{kCountry, kCurrency});
    report.Result(L"base.GetSessionNameList()",
                  form.base().GetSessionNameList(),
                  std::vector<Text>{kSession});
}

}  // namespace kel::demo
