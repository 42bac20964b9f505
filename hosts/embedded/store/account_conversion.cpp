// Formats 1 and 2 become format 3: rows get checksums, tables of entries a column for them.
#include "hosts/embedded/store/account_conversion.h"

#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hosts/embedded/store/account_schema.h"
#include "hosts/embedded/store/checksum.h"
#include "hosts/multivalue/text/error.h"

namespace kel::embedded {

using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

constexpr auto kAlonePoll = std::chrono::milliseconds(20);
constexpr std::size_t kRowsAtOnce = 500;

std::vector<std::uint8_t> Copy(Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

// Of a table that is made anew under its name, with its numbers going on where they were.
void BeginTable(Database& database, const std::string& name) {
    database.Execute(("ALTER TABLE " + name + " RENAME TO earlier_" + name).c_str());
}

void EndTable(Database& database, const std::string& name) {
    database.Execute(("INSERT INTO sqlite_sequence(name, seq) SELECT '" + name +
                      "', 0 WHERE NOT EXISTS(SELECT 1 FROM sqlite_sequence WHERE name = '" + name +
                      "');"
                      "UPDATE sqlite_sequence SET seq = coalesce((SELECT seq FROM sqlite_sequence"
                      " WHERE name = 'earlier_" +
                      name + "'), seq) WHERE name = '" + name +
                      "';"
                      "DROP TABLE earlier_" +
                      name)
                         .c_str());
}

std::vector<std::int64_t> ConvertCatalogue(Database& database) {
    std::vector<std::int64_t> files;
    Statement list(database, "SELECT number, name FROM earlier_catalogue ORDER BY number");
    Statement enter(database, "INSERT INTO catalogue VALUES(?1, ?2, ?3)");
    while (list.Step()) {
        const std::int64_t number = list.ColumnInteger(0);
        const Run run(enter);
        run->Bind(1, number);
        run->Bind(2, list.ColumnBytes(1));
        run->Bind(3, FileChecksum(number, list.ColumnBytes(1)));
        run->Step();
        files.push_back(number);
    }
    return files;
}

std::vector<std::int64_t> ConvertIndexList(Database& database) {
    std::vector<std::int64_t> indexes;
    Statement list(database, "SELECT number, file, name, description FROM earlier_indexes");
    Statement enter(database, "INSERT INTO indexes VALUES(?1, ?2, ?3, ?4, ?5)");
    while (list.Step()) {
        const std::int64_t number = list.ColumnInteger(0);
        const std::int64_t file = list.ColumnInteger(1);
        const Run run(enter);
        run->Bind(1, number);
        run->Bind(2, file);
        run->Bind(3, list.ColumnBytes(2));
        run->Bind(4, list.ColumnBytes(3));
        run->Bind(5, IndexChecksum(number, file, list.ColumnBytes(2), list.ColumnBytes(3)));
        run->Step();
        indexes.push_back(number);
    }
    return indexes;
}

// In place, which writes each page once and leaves the way from ids to rows alone. A record in a
// form that does not exist stays as it is, to be found as damaged.
void ConvertRecords(Database& database, std::int64_t file) {
    struct Row {
        std::int64_t number;
        std::vector<std::uint8_t> id;
        std::vector<std::uint8_t> record;
    };
    const std::string table = RecordsTable(file);
    Statement scan(
        database,
        ("SELECT rowid, id, rec FROM " + table + " NOT INDEXED WHERE rowid > ?1 ORDER BY rowid")
            .c_str());
    Statement update(database, ("UPDATE " + table + " SET rec = ?2 WHERE rowid = ?1").c_str());
    std::vector<Row> rows;
    std::vector<std::uint8_t> bytes;
    Text record;
    std::int64_t after = INT64_MIN;
    do {
        rows.clear();
        {
            const Run run(scan);
            run->Bind(1, after);
            while (rows.size() < kRowsAtOnce && run->Step()) {
                rows.push_back(
                    {run->ColumnInteger(0), Copy(run->ColumnBytes(1)), Copy(run->ColumnBytes(2))});
            }
        }
        for (const Row& row : rows) {
            after = row.number;
            if (DecodeRecord(RecordForms::kWithoutChecksum, row.record, record)) {
                EncodeStored(file, row.id, record, bytes);
                const Run run(update);
                run->Bind(1, row.number);
                run->Bind(2, Bytes(bytes));
                run->Step();
            }
        }
    } while (rows.size() == kRowsAtOnce);
}

void ConvertEntries(Database& database, std::int64_t index) {
    const std::string table = EntriesTable(index);
    Statement isThere(database, "SELECT 1 FROM sqlite_schema WHERE name = ?1");
    isThere.BindText(1, table);
    if (!isThere.Step()) {
        return;  // stale
    }
    isThere.Reset();
    database.Execute(("ALTER TABLE " + table + " RENAME TO earlier_" + table).c_str());
    CreateEntries(database, index);
    {
        Statement scan(database,
                       ("SELECT key, id FROM earlier_" + table + " ORDER BY key, id").c_str());
        Statement enter(database, ("INSERT INTO " + table + " VALUES(?1, ?2, ?3)").c_str());
        while (scan.Step()) {
            const Run run(enter);
            run->Bind(1, scan.ColumnBytes(0));
            run->Bind(2, scan.ColumnBytes(1));
            run->Bind(3, EntryChecksum(index, scan.ColumnBytes(0), scan.ColumnBytes(1)));
            run->Step();
        }
    }
    database.Execute(("DROP TABLE earlier_" + table).c_str());
    CreateEntriesById(database, index);
}

void Convert(Database& database) {
    const bool hasIndexes =
        database.QueryInteger("SELECT count(*) FROM sqlite_schema WHERE name = 'indexes'") != 0;
    BeginTable(database, "catalogue");
    if (hasIndexes) {
        BeginTable(database, "indexes");
    }
    CreateLists(database);
    const std::vector<std::int64_t> files = ConvertCatalogue(database);
    EndTable(database, "catalogue");
    for (const std::int64_t file : files) {
        ConvertRecords(database, file);
    }
    if (hasIndexes) {
        const std::vector<std::int64_t> indexes = ConvertIndexList(database);
        EndTable(database, "indexes");
        for (const std::int64_t index : indexes) {
            ConvertEntries(database, index);
        }
    }
    database.Execute(("PRAGMA user_version = " + std::to_string(kFormat)).c_str());
}

// With the account to itself: another connection, even an idle one, keeps it away.
Database OpenAlone(TextView path, TextView file, int busyWaitMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(busyWaitMs);
    for (;;) {
        Database database(path, file, Database::Mode::kReadWrite, 0);
        try {
            database.Execute(
                "PRAGMA synchronous = EXTRA; PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE");
            return database;
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::kBusy) {
                throw;
            }
            if (std::chrono::steady_clock::now() >= deadline) {
                throw Error(ErrorKind::kBusy,
                            u"The account \"" + Text(path) +
                                u"\" has to be converted to the present format, which needs it "
                                u"alone: close the other sessions first.");
            }
        }
        std::this_thread::sleep_for(kAlonePoll);
    }
}

}  // namespace

void ConvertAccount(TextView path, TextView file, int busyWaitMs) {
    Database database = OpenAlone(path, file, busyWaitMs);
    if (FormatOf(database) < kFormat) {
        Convert(database);
        database.Execute("COMMIT");
    }
}

}  // namespace kel::embedded
