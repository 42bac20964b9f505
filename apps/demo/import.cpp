#include "apps/demo/import.h"

#include <algorithm>

#include "apps/demo/account.h"

namespace kel::demo {
namespace {

// The key field the import works with; no control listens to it.
constexpr const wchar_t* kKeyId = L"Import";

// Records between two signs of life.
constexpr std::size_t kProgress = 2000;

// Switches the session's announcements of changes off, and on again whatever happens.
class QuietSession {
public:
    explicit QuietSession(const Session& session) : session_(session) {
        session_.AutoUpdateOk(false);
    }
    QuietSession(const QuietSession&) = delete;
    QuietSession& operator=(const QuietSession&) = delete;
    ~QuietSession() {
        automation::Ignoring([&] { session_.AutoUpdateOk(true); });
    }

private:
    const Session& session_;
};

// Whether the account holds the record, unit for unit.
bool Holds(const Tools& tools, const File& file, const Record& record) {
    tools.mvRead(kKeyId, record.id, file.name);
    return tools.Extract(kKeyId, 0) == record.text;
}

// A record is handed over whole: position 0, 0, 0 is the record itself.
void Write(const Tools& tools, const File& file, const Record& record) {
    tools.Replace(kKeyId, record.text, 0, 0, 0);
    tools.mvWrite(kKeyId, record.id, file.name);
}

}  // namespace

void Import(Report& report, const Session& session, const std::vector<File>& files) {
    const QuietSession quiet(session);
    const Tools tools = session.Tools();
    std::size_t total = 0;
    std::size_t written = 0;
    for (const File& file : files) {
        EnsureFile(tools, file.name);
        std::vector<const Record*> wanted;
        for (const Record& record : file.records) {
            if (!Holds(tools, file, record)) {
                wanted.push_back(&record);
            }
        }
        for (std::size_t done = 0; done < wanted.size(); ++done) {
            if (done != 0 && done % kProgress == 0) {
                report.Note(Text(file.name) + L": " + std::to_wstring(done) + L" written ...");
            }
            Write(tools, file, *wanted[done]);
        }
        const auto lost = std::count_if(wanted.begin(), wanted.end(), [&](const Record* record) {
            return !Holds(tools, file, *record);
        });
        report.Result(Text(file.name) + L": records that did not come back exactly", lost, 0);
        report.Note(Text(file.name) + L": " + std::to_wstring(file.records.size()) + L" records, " +
                    std::to_wstring(wanted.size()) + L" of them written now");
        total += file.records.size();
        written += wanted.size();
    }
    report.Note(written == 0
                    ? L"The account was complete already: nothing was imported."
                    : L"The account was new or incomplete: imported " + std::to_wstring(written) +
                          L" of " + std::to_wstring(total) + L" records.");
}

void PrintLayout(Report& report, const File& file) {
    report.Note(Text(file.name) + L"  id: " + file.idContent);
    for (const Attribute& attribute : file.layout) {
        report.Note(L"  " + std::to_wstring(attribute.amc) + L"  " + attribute.content);
    }
}

}  // namespace kel::demo
