// The embedded back-end: through the component and bare, against the same statements on the storage
// engine, and from the start of a process.
#include <process.h>

#include "automation/server.h"
#include "bench/client.h"
#include "hosts/embedded/store/database.h"

namespace kel::bench {
namespace {

constexpr double kTarget = 1.5;

// Steps with the numbers of all records in turn.
template <typename Step>
Batch Cycling(Step step) {
    return Repeating([step, at = std::size_t{0}]() mutable {
        at = (at + 1) % kRecords;
        step(at);
    });
}

text::Text Units(const Text& text) {
    return {text.begin(), text.end()};
}

void RunChild(StartUp how, const Text& account) {
    const Text program = automation::ModulePath();
    const Text quoted = L"\"" + account + L"\"";
    const wchar_t* const option = how == StartUp::kComponent ? L"--child" : L"--plain-child";
    const wchar_t* const none = nullptr;
    const auto status = _wspawnl(_P_WAIT, program.c_str(), L"bench", option, quoted.c_str(), none);
    Check(status == 0 ? S_OK : E_FAIL);
}

std::vector<std::uint8_t> Read(embedded::Statement& select, const std::string& id) {
    const embedded::Run read(select);
    read->Bind(1, embedded::BytesOf(id));
    Check(read->Step() ? S_OK : E_FAIL);
    const embedded::Bytes found = read->ColumnBytes(0);
    return {found.begin(), found.end()};
}

void Write(embedded::Statement& insert, const std::string& id, embedded::Bytes record) {
    const embedded::Run write(insert);
    write->Bind(1, embedded::BytesOf(id));
    write->Bind(2, record);
    write->Step();
}

constexpr const char* kInsert =
    "INSERT INTO f1 VALUES(?1, ?2) ON CONFLICT DO UPDATE SET rec = excluded.rec";

// A database with the same records and settings as the account, for the storage engine alone.
std::unique_ptr<embedded::Database> MakePlain(const Text& path) {
    auto plain =
        std::make_unique<embedded::Database>(Units(path), embedded::Database::Mode::kCreate, 0);
    plain->Execute(
        "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA cache_size = -16384;"
        "PRAGMA journal_size_limit = 16777216;"
        "CREATE TABLE f1(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL)");
    std::vector<std::uint8_t> record;
    embedded::EncodeRecord(Units(SampleRecord()), record);
    embedded::Statement insert(*plain, kInsert);
    plain->Execute("BEGIN");
    for (long i = 0; i < kRecords; ++i) {
        Write(insert, "Item " + std::to_string(i), record);
    }
    plain->Execute("COMMIT");
    return plain;
}

}  // namespace

void MeasureEmbedded() {
    const TemporaryAccount account;
    const Client client(account.properties());
    const auto host = Create<_mviHostDLL>(L"kelos1.IHostDLL");
    Check(host->put_PropertyValue(Str(L"Database").get(), Str(account.path).get()));
    Check(host->Connect());
    Ptr<IDispatch> file;
    Ptr<IDispatch> array;
    Check(host->OpenFile(client.file.get(), file.put()));
    Check(host->CreateDynamicArray(Str(SampleRecord()).get(), array.put()));
    Check(client.tools->Replace(client.key.get(), Str(SampleRecord()).get(), 0, 0, 0));

    const auto plain = MakePlain(account.path + L".plain");
    embedded::Statement select(*plain, "SELECT rec FROM f1 WHERE id = ?1");
    embedded::Statement insert(*plain, kInsert);
    std::vector<Str> ids;
    std::vector<std::string> plainIds;
    for (long i = 0; i < kRecords; ++i) {
        ids.emplace_back(Numbered(i));
        plainIds.push_back("Item " + std::to_string(i));
    }
    std::vector<std::uint8_t> record;
    embedded::EncodeRecord(Units(SampleRecord()), record);
    const auto plainWrite = [&](std::size_t i) { Write(insert, plainIds[i], record); };
    const auto plainRead = [&](std::size_t i) { Read(select, plainIds[i]); };

    PrintHead("through the component, kelos1");
    const auto item = client.item(2);
    const auto& tools = client.tools;
    const BSTR key = client.key.get();
    const Way bare{"the back-end's Extract",
                   Asking([&](BSTR* to) { return host->Extract(array.inOut(), 2, 0, 0, to); })};
    const auto extract = Asking([&](BSTR* to) { return tools->Extract(key, 2, 0, 0, to); });
    const auto show = Asking([&](BSTR* to) { return item->get_ExternalValue(0, to); });
    Compare({"kelTools.Extract", extract}, bare);
    Compare({"kelDictItem.ExternalValue", show}, bare);

    PrintHead("one record by key, kelos1");
    const Way reading{"the statement alone", Cycling(plainRead)};
    const Way writing{"the statement alone", Cycling(plainWrite)};
    const auto read =
        Cycling([&](std::size_t i) { Check(tools->mvRead(key, ids[i].get(), client.file.get())); });
    const auto write = Cycling(
        [&](std::size_t i) { Check(tools->mvWrite(key, ids[i].get(), client.file.get())); });
    const auto bareRead = Cycling([&](std::size_t i) {
        short status = 0;
        Ptr<IDispatch> buffer;
        Check(host->mvRead(VARIANT_FALSE, ids[i].get(), file.inOut(), &status, buffer.put()));
    });
    const auto bareWrite = Cycling([&](std::size_t i) {
        Check(host->mvWrite(VARIANT_FALSE, ids[i].get(), file.inOut(), array.inOut()));
    });
    Compare({"kelTools.mvRead", read}, reading, kTarget);
    Compare({"the back-end's mvRead", bareRead}, reading);
    Compare({"kelTools.mvWrite", write}, writing, kTarget);
    Compare({"the back-end's mvWrite", bareWrite}, writing);
    Check(host->Disconnect());
}

void StartUpChild(StartUp how, TextView account) {
    if (how == StartUp::kComponent) {
        const Client client({{L"OsType", L"1"}, {L"Database", Text(account)}});
        Check(client.tools->mvRead(client.key.get(), Str(Numbered(1)).get(), client.file.get()));
        Str value;
        Check(client.tools->Extract(client.key.get(), 1, 0, 0, value.put()));
        Check(value.view().empty() ? E_FAIL : S_OK);
    } else if (!account.empty()) {
        embedded::Database plain(Units(Text(account)), embedded::Database::Mode::kReadWrite, 0);
        embedded::Statement select(plain, "SELECT rec FROM f1 WHERE id = ?1");
        Check(Read(select, "Item 1").empty() ? E_FAIL : S_OK);
    }
    TerminateProcess(GetCurrentProcess(), 0);  // putting everything away is not start-up
}

void MeasureStartUp() {
    constexpr double kStartTarget = 1.5;
    PrintHead("start-up, from the start of the process");
    const TemporaryAccount account;
    const Text plain = account.path + L".plain";
    MakePlain(plain);
    const auto run = [](StartUp how, const Text& path) {
        return Repeating([=] { RunChild(how, path); });
    };
    const Way first{"to the first record, kelos1", run(StartUp::kComponent, account.path)};
    Compare(first, {"the storage engine alone", run(StartUp::kEngine, plain)}, kStartTarget);
    Compare(first, {"its main function", run(StartUp::kEngine, {})});
}

}  // namespace kel::bench
