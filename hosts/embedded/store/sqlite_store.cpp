#include "hosts/embedded/store/sqlite_store.h"

#include <string>
#include <unordered_map>
#include <utility>

#include "hosts/embedded/store/account_file.h"
#include "hosts/embedded/store/codec.h"
#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/keys.h"
#include "hosts/embedded/store/lock_table.h"
#include "hosts/embedded/store/process_liveness.h"

namespace kel::embedded {

using multivalue::AfterWrite;
using multivalue::Error;
using multivalue::ErrorKind;
using multivalue::FileNumber;
using multivalue::LockAnswer;
using multivalue::Scan;
using multivalue::ScanEntry;
using multivalue::ScanOrder;
using multivalue::ScanRange;
using multivalue::Text;
using multivalue::TextView;

namespace {

// Files whose statements are kept. More than a program has open; a bound for those that visit all.
constexpr std::size_t kKeptFiles = 64;
// A scan's chunk ends after this many bytes of records.
constexpr std::size_t kScanBytes = 1 << 20;
// The encoding buffer is not kept at the size of a giant.
constexpr std::size_t kKeptBuffer = 1 << 20;

std::int64_t NumberOf(FileNumber file) {
    return static_cast<std::int64_t>(file);
}

std::string TableOf(FileNumber file) {
    return "f" + std::to_string(NumberOf(file));
}

class SqliteStore final : public multivalue::Store {
public:
    SqliteStore(TextView path, const StoreOptions& options)
        : database_(OpenAccount(path, options)),
          readOnly_(options.readOnly),
          busyWaitMs_(options.busyWaitMs),
          user_(options.user.empty() ? CurrentUserName() : options.user),
          findFile_(database_, "SELECT number FROM catalogue WHERE name = ?1") {}

    std::vector<Text> FileNames() override;
    std::optional<FileNumber> FindFile(TextView name) override;
    FileNumber CreateFile(TextView name) override;
    void RenameFile(FileNumber file, TextView name) override;
    void DeleteFile(FileNumber file) override;
    void ClearFile(FileNumber file) override;
    std::uint64_t CountRecords(FileNumber file) override;

    bool Read(FileNumber file, TextView id, Text& record) override;
    bool Exists(FileNumber file, TextView id) override;
    void Write(FileNumber file, TextView id, TextView record, AfterWrite after) override;
    bool Delete(FileNumber file, TextView id) override;
    std::unique_ptr<Scan> OpenScan(FileNumber file, const ScanRange& range) override;

    LockAnswer Lock(FileNumber file, TextView id, std::uint32_t waitMs) override;
    void Unlock(FileNumber file, TextView id) override;
    void UnlockAll() override;

    void Begin() override;
    void Commit() override;
    void Rollback() noexcept override;

private:
    friend class SqliteScan;

    // What is done with the records of one file over and over.
    struct FileStatements {
        Statement read;
        Statement exists;
        Statement write;
        Statement remove;
    };

    FileStatements& StatementsOf(FileNumber file);
    Statement& Prepared(Statement FileStatements::*which,
                        FileNumber file,
                        const char* before,
                        const char* after);
    void ForgetStatements(FileNumber file);
    bool IsInCatalogue(FileNumber file);
    template <typename Work>
    auto OnFile(FileNumber file, Work work);
    template <typename Work>
    void AsOne(Work work);
    void RequireFile(FileNumber file);
    void CheckChangesAllowed();
    void CheckNameFree(TextView name);
    LockTable& Locks();
    void ReleaseAfterChange(FileNumber file, Bytes id) noexcept;

    Database database_;
    const bool readOnly_;
    const std::uint32_t busyWaitMs_;
    const Text user_;
    Statement findFile_;
    std::unordered_map<std::int64_t, FileStatements> statements_;
    std::int64_t latestFile_ = -1;  // whose statements are at latest_
    FileStatements* latest_ = nullptr;
    std::vector<std::uint8_t> buffer_;
    std::unique_ptr<LockTable> locks_;  // made for the first lock: many sessions never take one
    bool inBatch_ = false;
    std::vector<std::pair<FileNumber, std::string>> releasedInBatch_;
};

// ---- Statements ----

SqliteStore::FileStatements& SqliteStore::StatementsOf(FileNumber file) {
    if (latestFile_ != NumberOf(file)) {
        if (statements_.size() >= kKeptFiles && !statements_.contains(NumberOf(file))) {
            statements_.clear();
        }
        latest_ = &statements_[NumberOf(file)];
        latestFile_ = NumberOf(file);
    }
    return *latest_;
}

Statement& SqliteStore::Prepared(Statement FileStatements::*which,
                                 FileNumber file,
                                 const char* before,
                                 const char* after) {
    Statement& statement = StatementsOf(file).*which;
    if (!statement) {
        statement = Statement(database_, (before + TableOf(file) + after).c_str());
    }
    return statement;
}

void SqliteStore::ForgetStatements(FileNumber file) {
    statements_.erase(NumberOf(file));
    latestFile_ = -1;
}

bool SqliteStore::IsInCatalogue(FileNumber file) {
    Statement find(database_, "SELECT 1 FROM catalogue WHERE number = ?1");
    find.Bind(1, NumberOf(file));
    return find.Step();
}

void SqliteStore::RequireFile(FileNumber file) {
    if (!IsInCatalogue(file)) {
        throw Error(ErrorKind::kNoSuchFile,
                    u"The file is no longer in the account \"" + database_.path() + u"\".");
    }
}

// Runs work on a file's table. That the table is gone shows only when a statement fails; the
// failure is then told as what it means.
template <typename Work>
auto SqliteStore::OnFile(FileNumber file, Work work) {
    try {
        return work();
    } catch (const Error& error) {
        if (error.kind() == ErrorKind::kInputOutput) {
            ForgetStatements(file);
            RequireFile(file);
        }
        throw;
    }
}

// Runs work as one change: all of it happens or nothing, within a batch too.
template <typename Work>
void SqliteStore::AsOne(Work work) {
    CheckChangesAllowed();
    database_.Execute(inBatch_ ? "SAVEPOINT one" : "BEGIN IMMEDIATE");
    try {
        work();
        database_.Execute(inBatch_ ? "RELEASE one" : "COMMIT");
    } catch (...) {
        if (database_.InTransaction()) {
            database_.Execute(inBatch_ ? "ROLLBACK TO one; RELEASE one" : "ROLLBACK");
        }
        throw;
    }
}

// After some failures (disk full) the engine has rolled the batch back by itself; a change made
// then would stand alone.
void SqliteStore::CheckChangesAllowed() {
    if (inBatch_ && !database_.InTransaction()) {
        throw Error(
            ErrorKind::kMisuse,
            u"The batch was given up after an earlier failure: \"" + database_.path() + u"\".");
    }
    if (readOnly_) {
        throw Error(ErrorKind::kReadOnly,
                    u"The account is open for reading only: \"" + database_.path() + u"\".");
    }
}

// ---- Files ----

std::vector<Text> SqliteStore::FileNames() {
    std::vector<Text> names;
    Statement list(database_, "SELECT name FROM catalogue ORDER BY name");
    while (list.Step()) {
        DecodeKey(list.ColumnBytes(0), names.emplace_back());
    }
    return names;
}

std::optional<FileNumber> SqliteStore::FindFile(TextView name) {
    const std::string bytes = EncodeKey(name);
    const Run find(findFile_);
    find->Bind(1, BytesOf(bytes));
    if (!find->Step()) {
        return std::nullopt;
    }
    return FileNumber{find->ColumnInteger(0)};
}

void SqliteStore::CheckNameFree(TextView name) {
    if (FindFile(name)) {
        throw Error(ErrorKind::kFileExists, u"There is a file \"" + Text(name) + u"\" already.");
    }
}

FileNumber SqliteStore::CreateFile(TextView name) {
    CheckFileName(name);
    const std::string bytes = EncodeKey(name);
    FileNumber file{};
    AsOne([&] {
        CheckNameFree(name);
        Statement enter(database_, "INSERT INTO catalogue(name) VALUES(?1) RETURNING number");
        enter.Bind(1, BytesOf(bytes));
        enter.Step();
        file = FileNumber{enter.ColumnInteger(0)};
        enter.Step();
        database_.Execute(
            ("CREATE TABLE " + TableOf(file) + "(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL)")
                .c_str());
    });
    return file;
}

void SqliteStore::RenameFile(FileNumber file, TextView name) {
    CheckFileName(name);
    const std::string bytes = EncodeKey(name);
    AsOne([&] {
        RequireFile(file);
        if (FindFile(name) == file) {
            return;
        }
        CheckNameFree(name);
        Statement rename(database_, "UPDATE catalogue SET name = ?1 WHERE number = ?2");
        rename.Bind(1, BytesOf(bytes));
        rename.Bind(2, NumberOf(file));
        rename.Step();
    });
}

void SqliteStore::DeleteFile(FileNumber file) {
    ForgetStatements(file);
    AsOne([&] {
        RequireFile(file);
        Statement leave(database_, "DELETE FROM catalogue WHERE number = ?1");
        leave.Bind(1, NumberOf(file));
        leave.Step();
        leave.Reset();
        database_.Execute(("DROP TABLE " + TableOf(file)).c_str());
    });
}

void SqliteStore::ClearFile(FileNumber file) {
    AsOne([&] {
        RequireFile(file);
        database_.Execute(("DELETE FROM " + TableOf(file)).c_str());
    });
}

std::uint64_t SqliteStore::CountRecords(FileNumber file) {
    return OnFile(file, [&] {
        return static_cast<std::uint64_t>(
            database_.QueryInteger(("SELECT count(*) FROM " + TableOf(file)).c_str()));
    });
}

// ---- Records ----

[[noreturn]] void ThrowDamaged(const Database& database) {
    throw Error(ErrorKind::kDamaged,
                u"The account is damaged: \"" + database.path() +
                    u"\" holds a record in a form that does not exist.");
}

bool SqliteStore::Read(FileNumber file, TextView id, Text& record) {
    record.clear();
    const Key key(id);
    return OnFile(file, [&] {
        const Run read(Prepared(&FileStatements::read, file, "SELECT rec FROM ", " WHERE id = ?1"));
        read->Bind(1, key.bytes());
        if (!read->Step()) {
            return false;
        }
        if (!DecodeRecord(read->ColumnBytes(0), record)) {
            ThrowDamaged(database_);
        }
        return true;
    });
}

bool SqliteStore::Exists(FileNumber file, TextView id) {
    const Key key(id);
    return OnFile(file, [&] {
        const Run find(Prepared(&FileStatements::exists, file, "SELECT 1 FROM ", " WHERE id = ?1"));
        find->Bind(1, key.bytes());
        return find->Step();
    });
}

void SqliteStore::Write(FileNumber file, TextView id, TextView record, AfterWrite after) {
    const Key key(id);
    CheckChangesAllowed();
    if (record.size() > multivalue::kMaxRecordUnits) {
        throw Error(ErrorKind::kTooLong,
                    u"The record \"" + Text(id) + u"\" is longer than a record can be.");
    }
    // A lock that is to be kept is taken before the write, where a failure changes nothing yet.
    bool isNewLock = false;
    if (after == AfterWrite::kKeep && !(locks_ && locks_->Holds(file, key.bytes()))) {
        isNewLock = !Locks().Lock(file, key.bytes(), 0);
    }
    try {
        EncodeRecord(record, buffer_);
        OnFile(file, [&] {
            const Run write(
                Prepared(&FileStatements::write,
                         file,
                         "INSERT INTO ",
                         " VALUES(?1, ?2) ON CONFLICT DO UPDATE SET rec = excluded.rec"));
            write->Bind(1, key.bytes());
            write->Bind(2, Bytes(buffer_));
            write->Step();
        });
    } catch (...) {
        if (isNewLock) {
            ReleaseAfterChange(file, key.bytes());
        }
        throw;
    }
    if (buffer_.capacity() > kKeptBuffer) {
        std::vector<std::uint8_t>().swap(buffer_);
    }
    if (after == AfterWrite::kRelease) {
        ReleaseAfterChange(file, key.bytes());
    }
}

bool SqliteStore::Delete(FileNumber file, TextView id) {
    const Key key(id);
    CheckChangesAllowed();
    const bool wasThere = OnFile(file, [&] {
        const Run remove(Prepared(&FileStatements::remove, file, "DELETE FROM ", " WHERE id = ?1"));
        remove->Bind(1, key.bytes());
        remove->Step();
        return database_.ChangedRows() != 0;
    });
    ReleaseAfterChange(file, key.bytes());
    return wasThere;
}

// ---- Scans ----

// Each chunk seeks to where the last one ended and reads on. A bound is always inclusive; the entry
// that ended the last chunk is stepped over when it is still there.
class SqliteScan final : public Scan {
public:
    SqliteScan(SqliteStore& store, FileNumber file, const ScanRange& range)
        : store_(store), file_(file), withRecords_(range.withRecords) {
        const bool up = range.order == ScanOrder::kAscending;
        statement_ = Statement(
            store.database_,
            (std::string("SELECT id") + (withRecords_ ? ", rec" : "") + " FROM " + TableOf(file) +
             (up ? " WHERE id >= ?1 ORDER BY id" : " WHERE id <= ?1 ORDER BY id DESC"))
                .c_str());
        if (range.from) {
            bound_ = EncodeKey(*range.from);
        } else if (!up) {
            bound_ = "\xFF";  // above every id: no encoded text holds this byte
        }
    }

    bool Next(std::vector<ScanEntry>& entries, std::size_t limit) override {
        std::size_t count = 0;
        if (!atEnd_) {
            store_.OnFile(file_, [&] { count = Fill(entries, limit); });
        }
        entries.resize(count);
        return count != 0;
    }

private:
    std::size_t Fill(std::vector<ScanEntry>& entries, std::size_t limit) {
        const Run run(statement_);
        const std::string from = bound_;
        run->Bind(1, BytesOf(from));
        std::size_t count = 0;
        std::size_t bytes = 0;
        while (count < limit && bytes < kScanBytes) {
            if (!run->Step()) {
                atEnd_ = true;
                break;
            }
            const Bytes id = run->ColumnBytes(0);
            const auto* begin = reinterpret_cast<const char*>(id.data());
            if (count == 0 && boundIsPast_ && bound_ == std::string_view(begin, id.size())) {
                continue;
            }
            if (entries.size() == count) {
                entries.emplace_back();
            }
            ScanEntry& entry = entries[count];
            DecodeKey(id, entry.id);
            entry.record.clear();
            if (withRecords_) {
                const Bytes record = run->ColumnBytes(1);
                bytes += record.size();
                if (!DecodeRecord(record, entry.record)) {
                    ThrowDamaged(store_.database_);
                }
            }
            ++count;
            if (count == limit || bytes >= kScanBytes) {
                bound_.assign(begin, id.size());
                boundIsPast_ = true;
            }
        }
        return count;
    }

    SqliteStore& store_;
    const FileNumber file_;
    const bool withRecords_;
    Statement statement_;
    std::string bound_;
    bool boundIsPast_ = false;  // the entry at bound_ was handed out
    bool atEnd_ = false;
};

std::unique_ptr<Scan> SqliteStore::OpenScan(FileNumber file, const ScanRange& range) {
    return OnFile(file, [&] { return std::make_unique<SqliteScan>(*this, file, range); });
}

// ---- Locks ----

LockTable& SqliteStore::Locks() {
    if (!locks_) {
        locks_ = std::make_unique<LockTable>(database_.FullPath(), user_, busyWaitMs_);
    }
    return *locks_;
}

LockAnswer SqliteStore::Lock(FileNumber file, TextView id, std::uint32_t waitMs) {
    const Key key(id);
    CheckChangesAllowed();
    return Locks().Lock(file, key.bytes(), waitMs);
}

void SqliteStore::Unlock(FileNumber file, TextView id) {
    const Key key(id);
    if (locks_) {
        locks_->Unlock(file, key.bytes());
    }
}

void SqliteStore::UnlockAll() {
    if (locks_) {
        locks_->UnlockAll();
    }
}

// The change is done and acknowledged; a lock that cannot be given up now ends with the session.
void SqliteStore::ReleaseAfterChange(FileNumber file, Bytes id) noexcept {
    try {
        if (!locks_ || !locks_->Holds(file, id)) {
            return;
        }
        if (inBatch_) {
            releasedInBatch_.emplace_back(
                file, std::string(reinterpret_cast<const char*>(id.data()), id.size()));
        } else {
            locks_->Unlock(file, id);
        }
    } catch (const std::exception&) {
    }
}

// ---- Batches ----

void SqliteStore::Begin() {
    if (inBatch_) {
        throw Error(ErrorKind::kMisuse, u"A batch is open already.");
    }
    CheckChangesAllowed();
    database_.Execute("BEGIN IMMEDIATE");
    inBatch_ = true;
}

void SqliteStore::Commit() {
    if (!inBatch_) {
        throw Error(ErrorKind::kMisuse, u"No batch is open.");
    }
    try {
        CheckChangesAllowed();
        database_.Execute("COMMIT");
    } catch (...) {
        Rollback();
        throw;
    }
    inBatch_ = false;
    for (const auto& [file, id] : std::exchange(releasedInBatch_, {})) {
        ReleaseAfterChange(file, BytesOf(id));
    }
}

void SqliteStore::Rollback() noexcept {
    try {
        if (inBatch_ && database_.InTransaction()) {
            database_.Execute("ROLLBACK");
        }
    } catch (const std::exception&) {
        // Nothing was committed, and the engine rolls back at the latest when the session ends.
    }
    inBatch_ = false;
    releasedInBatch_.clear();
}

}  // namespace

std::unique_ptr<multivalue::Store> OpenStore(TextView path, const StoreOptions& options) {
    return std::make_unique<SqliteStore>(path, options);
}

}  // namespace kel::embedded
