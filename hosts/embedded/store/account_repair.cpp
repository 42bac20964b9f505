// Mending an account: indexes in place, anything worse by copying what can still be read.
#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>

#include "hosts/embedded/store/account_check.h"
#include "hosts/embedded/store/account_file.h"
#include "hosts/embedded/store/codec.h"
#include "hosts/embedded/store/index_tables.h"
#include "hosts/embedded/store/unfinished_file.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/error.h"

namespace kel::embedded {

using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

// Where records cannot be read, that many are stepped over one by one before the steps grow.
constexpr std::int64_t kSmallSteps = 1000;

Text Digits(std::uint64_t number) {
    return TextOf(std::to_string(number));
}

bool IsRecord(Bytes id, Bytes record) {
    Text text;
    DecodeKey(id, text);
    try {
        store::CheckRecordId(text);
    } catch (const Error&) {
        return false;
    }
    return DecodeRecord(record, text);
}

// Runs work; false when what it read is damaged.
template <typename Work>
bool CanRead(Work work) {
    try {
        work();
        return true;
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::kDamaged && error.kind() != ErrorKind::kInputOutput) {
            throw;
        }
        return false;
    }
}

// Copies what can be read of a damaged account into a new one.
class Salvage {
public:
    Salvage(Database& from, Database& to, AccountReport& report)
        : from_(from), to_(to), report_(report) {}

    void CopyAll() {
        to_.Execute("BEGIN IMMEDIATE");
        CopyCatalogue();
        for (const auto& [number, name] : files_) {
            CopyFile(number, name);
        }
        CopyIndexList();
        to_.Execute("COMMIT");
    }

private:
    void CopyCatalogue() {
        CanRead([&] {
            Statement list(from_, "SELECT number, name FROM catalogue");
            while (list.Step()) {
                DecodeKey(list.ColumnBytes(1), files_[list.ColumnInteger(0)]);
            }
        });
        CanRead([&] {
            Statement tables(from_,
                             "SELECT CAST(substr(name, 2) AS INTEGER) FROM sqlite_schema"
                             " WHERE type = 'table' AND name GLOB 'f[0-9]*'");
            while (tables.Step()) {
                const std::int64_t number = tables.ColumnInteger(0);
                if (!files_.contains(number)) {
                    files_[number] = u"RECOVERED-" + Digits(static_cast<std::uint64_t>(number));
                    AddLine(report_.losses,
                            u"The name of a file is lost; it is now \"" + files_[number] + u"\".");
                }
            }
        });
        Statement enter(to_, "INSERT INTO catalogue(number, name) VALUES(?1, ?2)");
        for (const auto& [number, name] : files_) {
            const std::string bytes = EncodeKey(name);
            const Run run(enter);
            run->Bind(1, number);
            run->Bind(2, BytesOf(bytes));
            run->Step();
        }
    }

    void CopyFile(std::int64_t number, const Text& name) {
        const std::string table = "f" + std::to_string(number);
        to_.Execute(("CREATE TABLE " + table + "(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL)")
                        .c_str());
        std::uint64_t unreadable = 0;
        std::uint64_t noRecords = 0;
        if (!CanRead([&] { CopyRows(table, unreadable, noRecords); })) {
            AddLine(report_.losses, u"The records of the file \"" + name + u"\" are lost.");
            return;
        }
        const std::uint64_t named = NameLost(table, name);
        if (unreadable + noRecords > named) {
            AddLine(report_.losses,
                    u"Parts of the file \"" + name + u"\" cannot be read; records may be lost.");
        }
    }

    // In the order in which the rows lie in the file, which needs no index to be sound. Past a
    // place that cannot be read, goes on with the next row that can.
    void CopyRows(const std::string& table, std::uint64_t& unreadable, std::uint64_t& noRecords) {
        Statement scan(
            from_,
            ("SELECT rowid, id, rec FROM " + table + " NOT INDEXED WHERE rowid > ?1 ORDER BY rowid")
                .c_str());
        Statement insert(to_, ("INSERT OR IGNORE INTO " + table + " VALUES(?1, ?2)").c_str());
        const std::int64_t last = LastRow(table);
        std::int64_t after = 0;
        std::int64_t skipped = 0;
        while (after < last) {
            const bool whole = CanRead([&] {
                const Run run(scan);
                run->Bind(1, after);
                while (run->Step()) {
                    after = run->ColumnInteger(0);
                    skipped = 0;
                    if (!IsRecord(run->ColumnBytes(1), run->ColumnBytes(2))) {
                        ++noRecords;
                        continue;
                    }
                    const Run entry(insert);
                    entry->Bind(1, run->ColumnBytes(1));
                    entry->Bind(2, run->ColumnBytes(2));
                    entry->Step();
                }
            });
            if (whole) {
                return;
            }
            ++unreadable;
            const std::int64_t step = skipped < kSmallSteps ? 1 : skipped;
            skipped += step;
            after += std::min(step, last - after);
        }
    }

    // The number of the last row; a bound far above any when even that cannot be read.
    std::int64_t LastRow(const std::string& table) {
        std::int64_t last = 0;
        if (!CanRead(
                [&] { last = from_.QueryInteger(("SELECT max(rowid) FROM " + table).c_str()); })) {
            last = std::int64_t{1} << 40;
        }
        return last;
    }

    // The index of ids may still know what is gone.
    std::uint64_t NameLost(const std::string& table, const Text& name) {
        std::uint64_t lost = 0;
        Statement find(to_, ("SELECT 1 FROM " + table + " WHERE id = ?1").c_str());
        CanRead([&] {
            Statement ids(from_, ("SELECT id FROM " + table + " ORDER BY id").c_str());
            while (ids.Step()) {
                const Run run(find);
                run->Bind(1, ids.ColumnBytes(0));
                if (!run->Step()) {
                    Text id;
                    DecodeKey(ids.ColumnBytes(0), id);
                    AddLine(
                        report_.losses,
                        Sentence(
                            {u"The record \"", id, u"\" of the file \"", name, u"\" is lost."}));
                    ++lost;
                }
            }
        });
        return lost;
    }

    // As stale ones, to be built anew.
    void CopyIndexList() {
        bool hasIndexes = false;
        if (!CanRead([&] {
                hasIndexes = from_.QueryInteger(
                                 "SELECT count(*) FROM sqlite_schema"
                                 " WHERE name = 'indexes'") != 0;
            }) ||
            !hasIndexes) {
            return;
        }
        CreateIndexList(to_);
        if (!CanRead([&] {
                Statement list(from_, "SELECT number, file, name, description FROM indexes");
                Statement enter(to_, "INSERT OR IGNORE INTO indexes VALUES(?1, ?2, ?3, ?4)");
                while (list.Step()) {
                    const Run run(enter);
                    run->Bind(1, list.ColumnInteger(0));
                    run->Bind(2, list.ColumnInteger(1));
                    run->Bind(3, list.ColumnBytes(2));
                    run->Bind(4, list.ColumnBytes(3));
                    run->Step();
                }
            })) {
            AddLine(report_.losses, u"Indexes may be lost and have to be made again.");
        }
    }

    Database& from_;
    Database& to_;
    AccountReport& report_;
    std::map<std::int64_t, Text> files_;
};

std::filesystem::path PathWith(TextView path, TextView ending) {
    return std::filesystem::path(Text(path) + Text(ending));
}

void Rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::error_code error;
    std::filesystem::rename(from, to, error);
    if (error) {
        throw Error(
            ErrorKind::kInputOutput,
            u"\"" + from.u16string() + u"\" cannot be renamed to \"" + to.u16string() + u"\".");
    }
}

// The log goes with its account: beside another one it would be taken for that one's.
void ExchangeFiles(TextView path, TextView repaired, AccountReport& report) {
    Text ending = u"-damaged";
    for (std::uint64_t n = 2; std::filesystem::exists(PathWith(path, ending)); ++n) {
        ending = u"-damaged-" + Digits(n);
    }
    Rename(PathWith(path, u""), PathWith(path, ending));
    if (std::filesystem::exists(PathWith(path, u"-wal"))) {
        Rename(PathWith(path, u"-wal"), PathWith(path, ending + u"-wal"));
    }
    std::error_code ignored;
    std::filesystem::remove(PathWith(path, u"-shm"), ignored);
    Rename(std::filesystem::path(repaired), PathWith(path, u""));
    AddLine(report.repairs,
            u"The account was copied as far as it can be read; the damaged one is now \"" +
                Text(path) + ending + u"\".");
}

void CopyAccount(TextView given, AccountReport& report) {
    const Text path = FindAccount(given).file;
    const UnfinishedFile repaired(Text(path) + u"-repairing");
    {
        Database from(path, Database::Mode::kReadWrite, 0);
        from.Execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN IMMEDIATE");
        from.LeaveLog();
        Database to = OpenAccount(repaired.path(), {});
        Salvage(from, to, report).CopyAll();
    }
    ExchangeFiles(path, repaired.path(), report);
}

// Without their keys, indexes cannot be built but must not be used.
void MakeStale(TextView path, const AccountFindings& findings) {
    Database database = OpenAccount(path, {});
    database.Execute("BEGIN IMMEDIATE");
    for (const auto& [file, name] : findings.indexes) {
        const std::string bytes = EncodeKey(name);
        Statement find(database, "SELECT number FROM indexes WHERE file = ?1 AND name = ?2");
        find.Bind(1, static_cast<std::int64_t>(file));
        find.Bind(2, BytesOf(bytes));
        if (find.Step()) {
            const std::int64_t number = find.ColumnInteger(0);
            find.Reset();
            database.Execute(("DROP TABLE IF EXISTS x" + std::to_string(number)).c_str());
        }
    }
    database.Execute("COMMIT");
}

}  // namespace

AccountReport RepairAccount(TextView path, const IndexKeysMaker& keys) {
    AccountFindings findings = FindFaults(path, keys);
    AccountReport& report = findings.report;
    if (findings.damaged) {
        CopyAccount(path, report);
        findings.indexes = FindFaults(path, keys).indexes;
    }
    if (findings.indexes.empty()) {
        return report;
    }
    if (!keys) {
        MakeStale(path, findings);
        AddLine(report.repairs, u"Indexes that are wrong are not used until they are rebuilt.");
        return report;
    }
    StoreOptions options;
    options.createMissing = false;
    const std::unique_ptr<store::Store> session = OpenStore(path, options);
    const std::unique_ptr<store::IndexKeys> maker = keys(*session);
    session->UseIndexKeys(maker.get());
    for (const auto& [file, name] : findings.indexes) {
        session->RebuildIndex(file, name);
        AddLine(report.repairs, u"The index \"" + name + u"\" was built again.");
    }
    return report;
}

}  // namespace kel::embedded
