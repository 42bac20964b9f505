// Mending an account: indexes in place, anything worse by copying what can still be read.
#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "hosts/embedded/store/account_check.h"
#include "hosts/embedded/store/account_file.h"
#include "hosts/embedded/store/account_schema.h"
#include "hosts/embedded/store/checksum.h"
#include "hosts/embedded/store/codec.h"
#include "hosts/embedded/store/damaged_account.h"
#include "hosts/embedded/store/files.h"
#include "hosts/embedded/store/unfinished_file.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/error.h"

namespace kel::embedded {

using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

Text Digits(std::uint64_t number) {
    return TextOf(std::to_string(number));
}

bool IsId(Bytes bytes) {
    Text id;
    DecodeKey(bytes, id);
    try {
        store::CheckRecordId(id);
        return true;
    } catch (const Error&) {
        return false;
    }
}

// Copies what can be read of a damaged account into a new one.
class Salvage {
public:
    Salvage(DamagedAccount& from, Database& to, AccountReport& report)
        : from_(from), to_(to), report_(report) {}

    // False, with nothing copied, when not even the files' names can be read.
    bool CopyAll() {
        if (!ReadCatalogue()) {
            return false;
        }
        to_.Execute("BEGIN IMMEDIATE");
        CopyCatalogue();
        for (const auto& [number, name] : files_) {
            CopyFile(number, name);
        }
        CopyStrayRows();
        NameMissing();
        CopyIndexList();
        to_.Execute("COMMIT");
        return true;
    }

private:
    bool IsSealed() const { return from_.forms() == RecordForms::kWithChecksum; }

    bool ReadCatalogue() {
        bool isRight = true;
        const bool canRead = CanRead([&] {
            Statement list = from_.Catalogue();
            while (list.Step()) {
                const std::int64_t number = list.ColumnInteger(0);
                if (!IsSealed() ||
                    list.ColumnInteger(2) == FileChecksum(number, list.ColumnBytes(1))) {
                    DecodeKey(list.ColumnBytes(1), files_[number]);
                } else {
                    isRight = false;
                }
            }
        });
        const bool hasNames = (canRead && isRight) || ReadNames();
        if (!hasNames && files_.empty()) {
            return false;
        }
        if (!hasNames) {
            AddLine(report_.losses,
                    u"Parts of the list of files cannot be read; empty files may be lost.");
        }
        from_.FindRecords(files_);
        for (const std::int64_t number : from_.Files()) {
            if (!files_.contains(number)) {
                files_[number] = u"RECOVERED-" + Digits(static_cast<std::uint64_t>(number));
                AddLine(report_.losses,
                        u"The name of a file is lost; it is now \"" + files_[number] + u"\".");
            }
        }
        return true;
    }

    // The index of the catalogue knows the same, without checksums.
    bool ReadNames() {
        return from_.HasNames() && CanRead([&] {
                   Statement list = from_.Names();
                   while (list.Step()) {
                       Text name;
                       DecodeKey(list.ColumnBytes(1), name);
                       files_.try_emplace(list.ColumnInteger(0), name);
                   }
               });
    }

    void CopyCatalogue() {
        Statement enter(to_, "INSERT INTO catalogue(number, name, sum) VALUES(?1, ?2, ?3)");
        std::set<Text> taken;
        for (auto& [number, name] : files_) {
            while (!taken.insert(name).second) {
                name += u"-" + Digits(static_cast<std::uint64_t>(number));
            }
            const std::string bytes = EncodeKey(name);
            const Run run(enter);
            run->Bind(1, number);
            run->Bind(2, BytesOf(bytes));
            run->Bind(3, FileChecksum(number, BytesOf(bytes)));
            run->Step();
            CreateRecords(to_, number);
        }
    }

    void CopyFile(std::int64_t number, const Text& name) {
        std::uint64_t unreadable = 0;
        const bool canRead =
            from_.HasRecords(number) && CanRead([&] { unreadable = CopyRows(number); });
        FindMissing(number);
        if (!canRead && missing_[number].empty()) {
            AddLine(report_.losses, u"The records of the file \"" + name + u"\" are lost.");
        } else if (unreadable > missing_[number].size()) {
            AddLine(report_.losses,
                    u"Parts of the file \"" + name + u"\" cannot be read; records may be lost.");
        }
    }

    // In the order in which the rows lie in the file, which needs no index to be sound. Returns how
    // many rows are no records, and places cannot be read.
    std::uint64_t CopyRows(std::int64_t number) {
        Statement insert(
            to_, ("INSERT OR IGNORE INTO " + RecordsTable(number) + " VALUES(?1, ?2)").c_str());
        std::uint64_t noRecords = 0;
        Text record;
        std::vector<std::uint8_t> bytes;
        const std::uint64_t unreadable = from_.ForEachRow(number, [&](Bytes id, Bytes stored) {
            if (!IsId(id) || !DecodeStored(from_.forms(), number, id, stored, record)) {
                ++noRecords;
                return;
            }
            EncodeStored(number, id, record, bytes);
            const Run entry(insert);
            entry->Bind(1, id);
            entry->Bind(2, Bytes(bytes));
            entry->Step();
        });
        return unreadable + noRecords;
    }

    // The index of ids may still know what is gone, and in which row it was.
    void FindMissing(std::int64_t number) {
        auto& missing = missing_[number];
        if (!from_.HasIds(number)) {
            return;
        }
        Statement find(to_, ("SELECT 1 FROM " + RecordsTable(number) + " WHERE id = ?1").c_str());
        CanRead([&] {
            Statement ids = from_.Ids(number);
            while (ids.Step()) {
                const Bytes id = ids.ColumnBytes(0);
                const Run run(find);
                run->Bind(1, id);
                if (!run->Step()) {
                    missing[{id.begin(), id.end()}] = ids.ColumnInteger(1);
                }
            }
        });
    }

    // A page that cannot be read may be the way to many that can. What lies on these is taken for a
    // record only if it is one that is missing, in its row; others may be what was there before.
    void CopyStrayRows() {
        if (!IsSealed() || std::all_of(missing_.begin(), missing_.end(), [](const auto& file) {
                return file.second.empty();
            })) {
            return;
        }
        Text record;
        from_.ForEachStrayRow([&](std::int64_t row, Bytes id, Bytes stored) {
            for (auto& [number, missing] : missing_) {
                const auto wanted = missing.find({id.begin(), id.end()});
                if (wanted != missing.end() && wanted->second == row &&
                    DecodeStored(from_.forms(), number, id, stored, record)) {
                    Statement insert(
                        to_, ("INSERT INTO " + RecordsTable(number) + " VALUES(?1, ?2)").c_str());
                    insert.Bind(1, id);
                    insert.Bind(2, stored);
                    insert.Step();
                    missing.erase(wanted);
                }
            }
        });
    }

    void NameMissing() {
        for (const auto& [number, missing] : missing_) {
            for (const auto& [bytes, row] : missing) {
                Text id;
                DecodeKey(Bytes(bytes), id);
                AddLine(report_.losses,
                        Sentence({u"The record \"",
                                  id,
                                  u"\" of the file \"",
                                  files_[number],
                                  u"\" is lost."}));
            }
        }
    }

    // As stale ones, to be built anew.
    void CopyIndexList() {
        bool isWhole = true;
        const bool canRead = CanRead([&] {
            Statement list = from_.IndexList();
            Statement enter(to_, "INSERT OR IGNORE INTO indexes VALUES(?1, ?2, ?3, ?4, ?5)");
            while (list.Step()) {
                const std::int64_t number = list.ColumnInteger(0);
                const std::int64_t file = list.ColumnInteger(1);
                const Bytes name = list.ColumnBytes(2);
                const Bytes description = list.ColumnBytes(3);
                const Checksum sum = IndexChecksum(number, file, name, description);
                if (!files_.contains(file) || (IsSealed() && list.ColumnInteger(4) != sum)) {
                    isWhole = false;
                    continue;
                }
                const Run run(enter);
                run->Bind(1, number);
                run->Bind(2, file);
                run->Bind(3, name);
                run->Bind(4, description);
                run->Bind(5, sum);
                run->Step();
            }
        });
        if (!canRead || !isWhole) {
            AddLine(report_.losses, u"Indexes may be lost and have to be made again.");
        }
    }

    DamagedAccount& from_;
    Database& to_;
    AccountReport& report_;
    std::map<std::int64_t, Text> files_;
    // By file: encoded id and number of the row.
    std::map<std::int64_t, std::map<std::vector<std::uint8_t>, std::int64_t>> missing_;
};

bool IsThere(const Text& path) {
    return std::filesystem::exists(std::filesystem::path(path));
}

void Rename(const Text& from, const Text& to) {
    if (!RenameToNew(from, to)) {
        throw Error(ErrorKind::kInputOutput,
                    u"\"" + from + u"\" cannot be renamed: \"" + to + u"\" is there already.");
    }
}

// The log goes with its account: beside another one it would be taken for that one's.
void ExchangeFiles(const Text& path, UnfinishedFile& repaired, AccountReport& report) {
    Text ending = u"-damaged";
    for (std::uint64_t n = 2; IsThere(path + ending) || IsThere(path + ending + u"-wal"); ++n) {
        ending = u"-damaged-" + Digits(n);
    }
    Rename(path, path + ending);
    if (IsThere(path + u"-wal")) {
        Rename(path + u"-wal", path + ending + u"-wal");
    }
    std::error_code ignored;
    std::filesystem::remove(std::filesystem::path(path + u"-shm"), ignored);
    if (!repaired.Finish(path)) {
        throw Error(ErrorKind::kInputOutput,
                    u"The mended account cannot be given its name \"" + path +
                        u"\": there is another file. The damaged one is \"" + path + ending +
                        u"\".");
    }
    AddLine(report.repairs,
            u"The account was copied as far as it can be read; the damaged one is now \"" + path +
                ending + u"\".");
}

// False when that is of no use; all is then as it was.
bool CopyAccount(TextView given, AccountReport& report) {
    const Text path = FindAccount(given).file;
    UnfinishedFile repaired(path + u"-repairing");
    {
        DamagedAccount from(given, path);
        Database to = OpenAccount(repaired.path(), {});
        if (!Salvage(from, to, report).CopyAll()) {
            AddLine(report.losses,
                    u"The list of files cannot be read, so that nothing can be told of the rest; "
                    u"nothing was changed. A backup is needed.");
            return false;
        }
    }
    ExchangeFiles(path, repaired, report);
    return true;
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
        if (!CopyAccount(path, report)) {
            return report;
        }
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
