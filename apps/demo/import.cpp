// The import of the demonstration, with what it reports.
#include "apps/demo/import.h"

namespace kel::demo {

void Import(Report& report, const Session& session, const std::vector<File>& files) {
    const Tools tools = session.Tools();
    std::size_t total = 0;
    std::size_t written = 0;
    for (const File& file : files) {
        const Filled filled = Fill(tools, session, file.name, file.records, [&](std::size_t done) {
            report.Note(Text(file.name) + L": " + std::to_wstring(done) + L" written ...");
        });
        FillDictionary(tools, session, file.name);
        report.Result(
            Text(file.name) + L": records that did not come back exactly", filled.lost, 0U);
        report.Note(Text(file.name) + L": " + std::to_wstring(file.records.size()) + L" records, " +
                    std::to_wstring(filled.written) + L" of them written now");
        total += file.records.size();
        written += filled.written;
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
