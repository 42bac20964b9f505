// Whether an account is sound.
#include "hosts/embedded/store/account_check.h"

#include <algorithm>
#include <map>
#include <string>

#include "hosts/embedded/store/account_file.h"
#include "hosts/embedded/store/account_schema.h"
#include "hosts/embedded/store/checksum.h"
#include "hosts/embedded/store/codec.h"
#include "hosts/embedded/store/index_tables.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/error.h"

namespace kel::embedded {

using store::FileNumber;
using store::IndexKeys;
using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

constexpr std::size_t kMaxLines = 100;

Text TextIn(const Statement& statement, int column) {
    Text text;
    DecodeKey(statement.ColumnBytes(column), text);
    return text;
}

// One file's index as it is checked along with the records.
struct CheckedIndex {
    std::int64_t number = 0;
    Text name;
    Text description;
    std::uint64_t entries = 0;  // that its records account for
    std::uint64_t wrong = 0;    // records whose entries differ
    Text firstWrong;
    Statement keysOf;
};

class Checker {
public:
    Checker(Database& database, AccountFindings& findings, IndexKeys* keys)
        : database_(database),
          forms_(FormsOf(FormatOf(database))),
          findings_(findings),
          report_(findings.report),
          keys_(keys) {}

    void CheckAll() {
        Guarded([&] { CheckEngine(); });
        Guarded([&] { CheckCatalogue(); });
        for (const auto& file : files_) {
            Guarded([&] { CheckFile(file.first, file.second); });
        }
    }

private:
    // Damage met on the way is a finding; the rest is still looked at.
    template <typename Work>
    void Guarded(Work work) {
        try {
            work();
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::kDamaged && error.kind() != ErrorKind::kInputOutput) {
                throw;
            }
            Damage(error.text());
        }
    }

    void Damage(const Text& text) {
        findings_.damaged = true;
        AddLine(report_.faults, text);
    }

    void CheckEngine() {
        Statement check(database_, "PRAGMA integrity_check(100)");
        while (check.Step()) {
            const Text line = TextIn(check, 0);
            if (line != u"ok") {
                Damage(u"The storage is damaged: " + line + u".");
            }
        }
    }

    bool HasTable(const std::string& name) {
        Statement find(database_, "SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = ?1");
        find.BindText(1, name);
        return find.Step();
    }

    void CheckCatalogue() {
        Statement list(database_,
                       ("SELECT number, name" + sum() + " FROM catalogue ORDER BY number").c_str());
        while (list.Step()) {
            const std::int64_t number = list.ColumnInteger(0);
            files_[number] = TextIn(list, 1);
            if (isSealed() && list.ColumnInteger(2) != FileChecksum(number, list.ColumnBytes(1))) {
                Damage(u"The catalogue's entry of the file \"" + files_[number] +
                       u"\" is not as it was written.");
            }
        }
        report_.files = files_.size();
        for (const auto& [number, name] : files_) {
            if (!HasTable(RecordsTable(number))) {
                Damage(u"The file \"" + name + u"\" has no records' table.");
            }
        }
        Statement orphans(database_,
                          "SELECT name FROM sqlite_schema WHERE type = 'table'"
                          " AND name GLOB 'f[0-9]*'"
                          " AND substr(name, 2) NOT IN (SELECT number || '' FROM catalogue)");
        while (orphans.Step()) {
            Damage(u"The records' table " + TextIn(orphans, 0) + u" belongs to no file.");
        }
    }

    std::vector<CheckedIndex> IndexesOf(std::int64_t file) {
        std::vector<CheckedIndex> indexes;
        if (!HasTable("indexes")) {
            return indexes;
        }
        Statement list(
            database_,
            ("SELECT number, name, description" + sum() + " FROM indexes WHERE file = ?1").c_str());
        list.Bind(1, file);
        while (list.Step()) {
            ++report_.indexes;
            CheckedIndex index;
            index.number = list.ColumnInteger(0);
            index.name = TextIn(list, 1);
            index.description = TextIn(list, 2);
            if (isSealed() &&
                list.ColumnInteger(3) !=
                    IndexChecksum(index.number, file, list.ColumnBytes(1), list.ColumnBytes(2))) {
                Damage(u"The list of indexes is not as it was written: \"" + index.name + u"\".");
            }
            const std::string table = EntriesTable(index.number);
            if (!HasTable(table)) {
                ++report_.staleIndexes;
                findings_.indexes.push_back({FileNumber{file}, index.name});
                continue;
            }
            index.keysOf = Statement(
                database_, ("SELECT key FROM " + table + " WHERE id = ?1 ORDER BY key").c_str());
            indexes.push_back(std::move(index));
        }
        return indexes;
    }

    void CheckFile(std::int64_t file, const Text& name) {
        const std::string table = RecordsTable(file);
        if (!HasTable(table)) {
            return;
        }
        std::vector<CheckedIndex> indexes = IndexesOf(file);
        Statement scan(database_, ("SELECT id, rec FROM " + table + " ORDER BY id").c_str());
        Text record;
        while (scan.Step()) {
            ++report_.records;
            const Bytes idBytes = scan.ColumnBytes(0);
            const Text id = TextIn(scan, 0);
            if (!IsId(id, idBytes)) {
                Damage(Sentence(
                    {u"The file \"", name, u"\" holds a record whose id is none: \"", id, u"\"."}));
            } else if (!DecodeStored(forms_, file, idBytes, scan.ColumnBytes(1), record)) {
                Damage(Sentence({u"The record \"",
                                 id,
                                 u"\" of the file \"",
                                 name,
                                 u"\" is not as it was written."}));
            } else {
                for (CheckedIndex& index : indexes) {
                    CheckKeys(file, index, id, idBytes, record);
                }
            }
        }
        for (const CheckedIndex& index : indexes) {
            Conclude(file, name, index);
        }
    }

    static bool IsId(TextView id, Bytes bytes) {
        const std::string again = EncodeKey(id);
        try {
            store::CheckRecordId(id);
        } catch (const Error&) {
            return false;
        }
        return std::equal(bytes.begin(), bytes.end(), BytesOf(again).begin(), BytesOf(again).end());
    }

    void CheckKeys(
        std::int64_t file, CheckedIndex& index, const Text& id, Bytes idBytes, const Text& record) {
        std::vector<std::string> present;
        {
            const Run run(index.keysOf);
            run->Bind(1, idBytes);
            while (run->Step()) {
                const Bytes key = run->ColumnBytes(0);
                present.emplace_back(reinterpret_cast<const char*>(key.data()), key.size());
            }
        }
        index.entries += present.size();
        if (keys_ == nullptr) {
            return;
        }
        std::vector<Text> keys;
        keys_->KeysOf(FileNumber{file}, index.description, id, record, keys);
        if (EncodeIndexKeys(keys) != present) {
            if (index.wrong++ == 0) {
                index.firstWrong = id;
            }
        }
    }

    void Conclude(std::int64_t file, const Text& name, const CheckedIndex& index) {
        std::uint64_t all = 0;
        std::uint64_t damaged = 0;
        Statement scan(database_,
                       ("SELECT key, id" + sum() + " FROM " + EntriesTable(index.number)).c_str());
        while (scan.Step()) {
            ++all;
            if (isSealed() &&
                scan.ColumnInteger(2) !=
                    EntryChecksum(index.number, scan.ColumnBytes(0), scan.ColumnBytes(1))) {
                ++damaged;
            }
        }
        const Text which =
            u"The index \"" + index.name + u"\" of the file \"" + name + u"\" is wrong: ";
        if (damaged != 0) {
            AddLine(report_.faults,
                    which + TextOf(std::to_string(damaged)) +
                        u" entries are not as they were written.");
        }
        if (index.wrong != 0) {
            AddLine(report_.faults,
                    which + TextOf(std::to_string(index.wrong)) +
                        u" records have other keys, the first is \"" + index.firstWrong + u"\".");
        }
        if (all != index.entries) {
            AddLine(report_.faults,
                    which + TextOf(std::to_string(all - index.entries)) +
                        u" entries belong to no record.");
        }
        if (damaged != 0 || index.wrong != 0 || all != index.entries) {
            findings_.indexes.push_back({FileNumber{file}, index.name});
        }
    }

    // The further column of tables with checksums.
    std::string sum() const { return isSealed() ? ", sum" : ""; }
    bool isSealed() const { return forms_ == RecordForms::kWithChecksum; }

    Database& database_;
    const RecordForms forms_;
    AccountFindings& findings_;
    AccountReport& report_;
    IndexKeys* const keys_;
    std::map<std::int64_t, Text> files_;
};

// A table of locks that cannot be read is made anew by the first session of all: nothing to repair.
void CountLocks(store::Store& session, AccountReport& report) {
    try {
        report.locks = session.Locks().size();
    } catch (const Error& error) {
        if (error.kind() == ErrorKind::kReadOnly) {
            throw;
        }
        AddLine(report.faults,
                u"The table of locks cannot be read; it is mended when all sessions are closed: " +
                    error.text());
    }
}

}  // namespace

Text Sentence(std::initializer_list<TextView> parts) {
    Text sentence;
    for (const TextView part : parts) {
        sentence += part;
    }
    return sentence;
}

void AddLine(std::vector<Text>& lines, Text line) {
    if (lines.size() < kMaxLines) {
        lines.push_back(std::move(line));
    }
}

AccountFindings FindFaults(TextView path, const IndexKeysMaker& keys) {
    AccountFindings findings;
    StoreOptions options;
    options.createMissing = false;
    try {
        std::unique_ptr<store::Store> session;
        try {
            session = OpenStore(path, options);
            CountLocks(*session, findings.report);
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::kReadOnly) {
                throw;
            }
            options.readOnly = true;  // and so without locks
            session = OpenStore(path, options);
        }
        const std::unique_ptr<IndexKeys> maker = keys ? keys(*session) : nullptr;
        options.readOnly = true;
        Database database = OpenAccount(path, options);
        database.Execute("BEGIN");
        Checker(database, findings, maker.get()).CheckAll();
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::kDamaged) {
            throw;
        }
        findings.damaged = true;
        AddLine(findings.report.faults, error.text());
    }
    return findings;
}

AccountReport CheckAccount(TextView path, const IndexKeysMaker& keys) {
    return FindFaults(path, keys).report;
}

}  // namespace kel::embedded
