// Records by key: the store against the same statements on the storage engine.
#include "bench/native/native.h"
#include "bench/timing.h"
#include "hosts/embedded/store/checksum.h"
#include "hosts/embedded/store/codec.h"
#include "hosts/multivalue/text/dynamic_array.h"

namespace kel::bench {

using embedded::Bytes;
using embedded::BytesOf;
using embedded::Durability;
using embedded::Run;
using store::AfterWrite;
using text::DynamicArray;
using text::Text;

namespace {

constexpr double kTarget = 1.5;
constexpr double kReadsToBeat = 170000;
constexpr double kWritesToBeat = 62000;

embedded::Database PlainDatabase(const std::filesystem::path& path, Durability durability) {
    embedded::Database plain(path.u16string(), embedded::Database::Mode::kCreate, 0);
    plain.Execute(
        "PRAGMA journal_mode = WAL; PRAGMA cache_size = -16384;"
        "PRAGMA journal_size_limit = 16777216;"
        "CREATE TABLE f1(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL)");
    plain.Execute(durability == Durability::kFull ? "PRAGMA synchronous = FULL"
                                                  : "PRAGMA synchronous = NORMAL");
    return plain;
}

std::filesystem::path Emptied(std::filesystem::path folder) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return folder;
}

// A small record as a program makes it: field by field.
Text BuiltRecord(long number) {
    DynamicArray record;
    record.Replace({1, 0, 0}, u"Article");
    record.Replace({2, 0, 0}, NumberText(number % kCities));
    record.Replace({3, 0, 0}, NumberText(number));
    record.Replace({4, 0, 0}, u"1995");
    return record.ToText();
}

struct PlainStatements {
    explicit PlainStatements(embedded::Database& plain)
        : select(plain, "SELECT rec FROM f1 WHERE id = ?1"),
          insert(plain,
                 "INSERT INTO f1 VALUES(?1, ?2) ON CONFLICT DO UPDATE SET rec = excluded.rec") {}

    std::vector<std::uint8_t> Read(const std::string& id) {
        const Run read(select);
        read->Bind(1, BytesOf(id));
        if (!read->Step()) {
            return {};
        }
        const Bytes found = read->ColumnBytes(0);
        return {found.begin(), found.end()};
    }
    void Write(const std::string& id, Bytes record) {
        const Run write(insert);
        write->Bind(1, BytesOf(id));
        write->Bind(2, record);
        write->Step();
    }

    embedded::Statement select;
    embedded::Statement insert;
};

void MeasureReads(SampleAccount& account) {
    PlainStatements plain(account.plain);
    Text record;
    const auto read = [&, next = Scattered(kRecords)]() mutable {
        account.store->Read(account.file, account.ids[next()], record);
    };
    const auto plainRead = [&, next = Scattered(kRecords)]() mutable {
        plain.Read(account.plainIds[next()]);
    };
    const auto narrow = [&, next = Scattered(1000)]() mutable {
        account.store->Read(account.file, account.ids[next()], record);
    };
    const auto plainNarrow = [&, next = Scattered(1000)]() mutable {
        plain.Read(account.plainIds[next()]);
    };
    CompareRate({"read, at random over 100,000", Repeating(read)},
                {"the statement alone", Repeating(plainRead)},
                kReadsToBeat,
                kTarget);
    CompareRate({"read, at random over 1,000", Repeating(narrow)},
                {"the statement alone", Repeating(plainNarrow)},
                kReadsToBeat,
                kTarget);
}

// Somebody else writes a record after every so many reads.
void MeasureDisturbedReads(SampleAccount& account, const std::filesystem::path& folder) {
    constexpr long kBetween = 100;
    embedded::StoreOptions options;
    options.durability = Durability::kNormal;
    const auto other = embedded::OpenStore((folder / "account").u16string(), options);
    Text record;
    const auto read = [&, next = Scattered(kRecords), left = 0L]() mutable {
        account.store->Read(account.file, account.ids[next()], record);
        if (--left < 0) {
            left = kBetween;
            other->Write(account.file, u"of the other", u"x", AfterWrite::kRelease);
        }
    };
    Rate({"the same, another session writing each 100th", Repeating(read)}, kReadsToBeat);
}

void MeasureWrites(SampleAccount& account, const char* name, double toBeat) {
    PlainStatements plain(account.plain);
    std::vector<std::uint8_t> bytes;
    const auto write = [&, next = Scattered(kRecords)]() mutable {
        const std::size_t i = next();
        account.store->Write(
            account.file, account.ids[i], BuiltRecord(static_cast<long>(i)), AfterWrite::kRelease);
    };
    const auto plainWrite = [&, next = Scattered(kRecords)]() mutable {
        const std::size_t i = next();
        embedded::EncodeRecord(BuiltRecord(static_cast<long>(i)), bytes);
        plain.Write(account.plainIds[i], Bytes(bytes));
    };
    CompareRate(
        {name, Repeating(write)}, {"the statement alone", Repeating(plainWrite)}, toBeat, kTarget);
}

void MeasureBatches(SampleAccount& account) {
    constexpr long kBatch = 1000;
    PlainStatements plain(account.plain);
    std::vector<std::uint8_t> bytes;
    const auto write = [&, next = Scattered(kRecords)]() mutable {
        store::Batch batch(*account.store);
        for (long n = 0; n < kBatch; ++n) {
            const std::size_t i = next();
            account.store->Write(account.file,
                                 account.ids[i],
                                 BuiltRecord(static_cast<long>(i)),
                                 AfterWrite::kRelease);
        }
        batch.Commit();
    };
    const auto plainWrite = [&, next = Scattered(kRecords)]() mutable {
        account.plain.Execute("BEGIN IMMEDIATE");
        for (long n = 0; n < kBatch; ++n) {
            const std::size_t i = next();
            embedded::EncodeRecord(BuiltRecord(static_cast<long>(i)), bytes);
            plain.Write(account.plainIds[i], Bytes(bytes));
        }
        account.plain.Execute("COMMIT");
    };
    CompareRate({"write, in batches of 1,000", Repeating(write), kBatch},
                {"one transaction", Repeating(plainWrite), kBatch},
                kWritesToBeat,
                kTarget);
}

// What telling damage costs a record, without the engine.
void MeasureChecksums() {
    const std::string id = "Item 4711";
    const Text sample = SampleRecord(4711);
    std::vector<std::uint8_t> with;
    std::vector<std::uint8_t> without;
    embedded::EncodeStored(1, BytesOf(id), sample, with);
    embedded::EncodeRecord(sample, without);
    Text record;
    const auto checked = [&] {
        embedded::DecodeStored(
            embedded::RecordForms::kWithChecksum, 1, BytesOf(id), Bytes(with), record);
    };
    const auto plain = [&] {
        embedded::DecodeRecord(embedded::RecordForms::kWithChecksum, Bytes(without), record);
    };
    Compare({"a record decoded and its checksum looked at", Repeating(checked)},
            {"decoded", Repeating(plain)});
}

// Opening looks at the schema of all files before it trusts any of it.
void MeasureOpening(const std::filesystem::path& folder) {
    constexpr long kFiles = 100;
    Emptied(folder);
    const Text path = (folder / "account").u16string();
    const auto kept = embedded::OpenStore(path);  // the log is there already
    for (long i = 0; i < kFiles; ++i) {
        kept->CreateFile(u"FILE" + NumberText(i));
    }
    const store::FileNumber file = kept->FindFile(u"FILE0").value();
    kept->Write(file, u"1", SampleRecord(1), AfterWrite::kRelease);
    Text record;
    const auto open = [&] { embedded::OpenStore(path)->Read(file, u"1", record); };
    const auto plainOpen = [&] {
        embedded::Database plain(path, embedded::Database::Mode::kReadWrite, 0);
        plain.Execute("PRAGMA synchronous = FULL; PRAGMA cache_size = -16384");
        PlainStatements(plain).Read("1");
    };
    Compare({"open an account of 100 files, read a record", Repeating(open)},
            {"a connection and the statement", Repeating(plainOpen)});
}

void MeasureBulkLoad(SampleAccount& account) {
    std::vector<std::uint8_t> bytes;
    const auto load = [&] {
        const store::FileNumber file = account.store->CreateFile(u"LOADED");
        store::Batch batch(*account.store);
        for (std::size_t i = 0; i < kRecords; ++i) {
            account.store->Write(
                file, account.ids[i], SampleRecord(static_cast<long>(i)), AfterWrite::kRelease);
        }
        batch.Commit();
        account.store->DeleteFile(file);
    };
    const auto plainLoad = [&] {
        account.plain.Execute("CREATE TABLE f2(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL)");
        {
            embedded::Statement insert(
                account.plain,
                "INSERT INTO f2 VALUES(?1, ?2) ON CONFLICT DO UPDATE SET rec = excluded.rec");
            account.plain.Execute("BEGIN IMMEDIATE");
            for (std::size_t i = 0; i < kRecords; ++i) {
                embedded::EncodeRecord(SampleRecord(static_cast<long>(i)), bytes);
                const Run write(insert);
                write->Bind(1, BytesOf(account.plainIds[i]));
                write->Bind(2, Bytes(bytes));
                write->Step();
            }
            account.plain.Execute("COMMIT");
        }
        account.plain.Execute("DROP TABLE f2");
    };
    CompareRate({"load of 100,000, deleting the file included", Repeating(load), kRecords},
                {"the statements alone", Repeating(plainLoad), kRecords},
                kWritesToBeat,
                kTarget);
}

}  // namespace

Text NumberText(long number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

Text SampleRecord(long number) {
    return u"Article " + NumberText(number) + u"\u00feCity " + NumberText(number % kCities) +
           u"\u00fe" + NumberText(number * 7919 % 1000003) + u"\u00fe1995\u00fdand 2095\u00fe" +
           NumberText(10000 + number % 5000) + u"\u00feopen";
}

SampleAccount::SampleAccount(const std::filesystem::path& folder, Durability durability)
    : plain(PlainDatabase(Emptied(folder) / "plain", durability)), folder_(folder) {
    embedded::StoreOptions options;
    options.durability = durability;
    store = embedded::OpenStore((folder / "account").u16string(), options);
    const store::FileNumber dictionary = store->CreateFile(u"DICT STOCK");
    file = store->CreateFile(u"STOCK");
    store::Batch batch(*store);
    store->Write(dictionary, u"CITY", u"D\u00fe2\u00fe\u00feCity\u00fe10L\u00feS", {});
    store->Write(dictionary, u"AMOUNT", u"D\u00fe3\u00fe\u00feAmount\u00fe8R\u00feS", {});
    plain.Execute("BEGIN");
    PlainStatements statements(plain);
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < kRecords; ++i) {
        const Text record = SampleRecord(static_cast<long>(i));
        plainIds.push_back("Item " + std::to_string(i));
        ids.emplace_back(plainIds.back().begin(), plainIds.back().end());
        store->Write(file, ids.back(), record, AfterWrite::kRelease);
        embedded::EncodeRecord(record, bytes);
        statements.Write(plainIds.back(), Bytes(bytes));
    }
    batch.Commit();
    plain.Execute("COMMIT");
}

SampleAccount::~SampleAccount() {
    store.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void MeasureRecords(const std::filesystem::path& folder) {
    PrintRateHead("records by key");
    {
        SampleAccount account(folder / "normal", Durability::kNormal);
        MeasureReads(account);
        MeasureDisturbedReads(account, folder / "normal");
        MeasureWrites(account, "write, built, durability \"normal\"", kWritesToBeat);
        MeasureBatches(account);
        MeasureBulkLoad(account);
    }
    {
        SampleAccount account(folder / "full", Durability::kFull);
        MeasureWrites(account, "write, built, \"full\": waits for the disk", kNoTarget);
    }
    PrintHead("what trusting no file costs");
    MeasureChecksums();
    MeasureOpening(folder / "opening");
}

}  // namespace kel::bench
