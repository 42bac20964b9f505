#include "hosts/embedded/store/sqlite_store.h"

#include <string>
#include <utility>

#include "hosts/embedded/store/codec.h"
#include "hosts/embedded/store/keys.h"
#include "hosts/embedded/store/sqlite_session.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/id_rules.h"

namespace kel::embedded {

using store::AfterWrite;
using store::FileNumber;
using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

// Files whose statements are kept. More than a program has open; a bound for those that visit all.
constexpr std::size_t kKeptFiles = 64;
// The encoding buffer is not kept at the size of a giant.
constexpr std::size_t kKeptBuffer = 1 << 20;
// What the log may grow by while a sentence reads: a gigabyte in pages of 4 KiB.
constexpr std::uint32_t kMostMomentFrames = 1 << 18;

}  // namespace

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

void SqliteStore::UndoOne() {
    indexes_.Forget();
    if (database_.InTransaction()) {
        database_.Execute(inBatch_ ? "ROLLBACK TO one; RELEASE one" : "ROLLBACK");
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
    RequireWritable();
}

void SqliteStore::RequireWritable() {
    if (readOnly_) {
        throw Error(ErrorKind::kReadOnly,
                    u"The account is open for reading only: \"" + database_.path() + u"\".");
    }
}

// ---- Files ----

std::vector<Text> SqliteStore::FileNames() {
    reading_.End();
    std::vector<Text> names;
    Statement list(database_,
                   forms_ == RecordForms::kWithChecksum
                       ? "SELECT name, number, sum FROM catalogue ORDER BY name"
                       : "SELECT name FROM catalogue ORDER BY name");
    while (list.Step()) {
        CheckFileEntry(list.ColumnInteger(1), list.ColumnInteger(2), list.ColumnBytes(0));
        DecodeKey(list.ColumnBytes(0), names.emplace_back());
    }
    return names;
}

std::optional<FileNumber> SqliteStore::FindFile(TextView name) {
    reading_.End();
    const std::string bytes = EncodeKey(name);
    const Run find(findFile_);
    find->Bind(1, BytesOf(bytes));
    if (!find->Step()) {
        return std::nullopt;
    }
    CheckFileEntry(find->ColumnInteger(0), find->ColumnInteger(1), BytesOf(bytes));
    return FileNumber{find->ColumnInteger(0)};
}

// A damaged number would lead to the records of another file.
void SqliteStore::CheckFileEntry(std::int64_t file, std::int64_t sum, Bytes name) const {
    if (forms_ == RecordForms::kWithChecksum && sum != FileChecksum(file, name)) {
        Text text;
        DecodeKey(name, text);
        database_.FailDamaged(u"the catalogue's entry of the file \"" + text + u"\"");
    }
}

void SqliteStore::CheckNameFree(TextView name) {
    if (FindFile(name)) {
        throw Error(ErrorKind::kFileExists, u"There is a file \"" + Text(name) + u"\" already.");
    }
}

void SqliteStore::SetFileName(FileNumber file, Bytes name) {
    Statement enter(database_, "UPDATE catalogue SET name = ?1, sum = ?2 WHERE number = ?3");
    enter.Bind(1, name);
    enter.Bind(2, FileChecksum(NumberOf(file), name));
    enter.Bind(3, NumberOf(file));
    enter.Step();
}

FileNumber SqliteStore::CreateFile(TextView name) {
    store::CheckFileName(name);
    const std::string bytes = EncodeKey(name);
    FileNumber file{};
    AsOne([&] {
        CheckNameFree(name);
        Statement enter(database_,
                        "INSERT INTO catalogue(name, sum) VALUES(?1, 0) RETURNING number");
        enter.Bind(1, BytesOf(bytes));
        enter.Step();
        file = FileNumber{enter.ColumnInteger(0)};
        enter.Step();
        SetFileName(file, BytesOf(bytes));
        CreateRecords(database_, NumberOf(file));
    });
    return file;
}

void SqliteStore::RenameFile(FileNumber file, TextView name) {
    store::CheckFileName(name);
    const std::string bytes = EncodeKey(name);
    AsOne([&] {
        RequireFile(file);
        if (FindFile(name) == file) {
            return;
        }
        CheckNameFree(name);
        SetFileName(file, BytesOf(bytes));
    });
}

void SqliteStore::DeleteFile(FileNumber file) {
    reading_.End();
    ForgetStatements(file);
    AsOne([&] {
        RequireFile(file);
        Statement leave(database_, "DELETE FROM catalogue WHERE number = ?1");
        leave.Bind(1, NumberOf(file));
        leave.Step();
        leave.Reset();
        indexes_.OnDeleteFile(NumberOf(file));
        database_.Execute(("DROP TABLE " + TableOf(file)).c_str());
    });
}

void SqliteStore::ClearFile(FileNumber file) {
    AsOne([&] {
        RequireFile(file);
        database_.Execute(("DELETE FROM " + TableOf(file)).c_str());
        indexes_.OnClear(NumberOf(file));
    });
}

std::uint64_t SqliteStore::CountRecords(FileNumber file) {
    reading_.End();
    return OnFile(file, [&] {
        return static_cast<std::uint64_t>(
            database_.QueryInteger(("SELECT count(*) FROM " + TableOf(file)).c_str()));
    });
}

// ---- Records ----

bool SqliteStore::Read(FileNumber file, TextView id, Text& record) {
    record.clear();
    const Key key(id);
    CheckMoment();
    const HeldReading::Turn turn(reading_);
    return OnFile(file, [&] {
        const Run read(Prepared(&FileStatements::read, file, "SELECT rec FROM ", " WHERE id = ?1"));
        read->Bind(1, key.bytes());
        if (!read->Step()) {
            return false;
        }
        if (!DecodeStored(forms_, NumberOf(file), key.bytes(), read->ColumnBytes(0), record)) {
            record.clear();
            FailDamagedRecord(database_, NumberOf(file), key.bytes());
        }
        return true;
    });
}

bool SqliteStore::Exists(FileNumber file, TextView id) {
    const Key key(id);
    const HeldReading::Turn turn(reading_);
    return OnFile(file, [&] {
        const Run find(Prepared(&FileStatements::exists, file, "SELECT 1 FROM ", " WHERE id = ?1"));
        find->Bind(1, key.bytes());
        return find->Step();
    });
}

// Changes a record and, in the same change, its entries in the indexes of the file. In a batch a
// file without indexes needs no bracket of its own: one statement is whole by itself.
template <typename Keep, typename Change>
void SqliteStore::WithIndexes(FileNumber file, Keep keep, Change change) {
    JoinCall();
    if (inBatch_ && !indexes_.HasAny(NumberOf(file))) {
        change();
        return;
    }
    AsOne([&] {
        keep();
        change();
    });
}

void SqliteStore::Write(FileNumber file, TextView id, TextView record, AfterWrite after) {
    const Key key(id);
    CheckChangesAllowed();
    if (record.size() > text::kMaxRecordUnits) {
        throw Error(ErrorKind::kTooLong,
                    u"The record \"" + Text(id) + u"\" is longer than a record can be.");
    }
    // A lock that is to be kept is taken before the write, where a failure changes nothing yet.
    bool isNewLock = false;
    if (after == AfterWrite::kKeep && !(locks_ && locks_->Holds(file, key.bytes()))) {
        isNewLock = !OwnLocks().Lock(file, key.bytes(), 0);
    }
    try {
        OnFile(file, [&] {
            WithIndexes(
                file,
                [&] { indexes_.OnWrite(NumberOf(file), id, key.bytes(), record); },
                [&] {
                    EncodeStored(NumberOf(file), key.bytes(), record, buffer_);
                    const Run write(
                        Prepared(&FileStatements::write,
                                 file,
                                 "INSERT INTO ",
                                 " VALUES(?1, ?2) ON CONFLICT DO UPDATE SET rec = excluded.rec"));
                    write->Bind(1, key.bytes());
                    write->Bind(2, Bytes(buffer_));
                    write->Step();
                });
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
    bool wasThere = false;
    OnFile(file, [&] {
        WithIndexes(
            file,
            [&] { indexes_.OnDelete(NumberOf(file), key.bytes()); },
            [&] {
                const Run remove(
                    Prepared(&FileStatements::remove, file, "DELETE FROM ", " WHERE id = ?1"));
                remove->Bind(1, key.bytes());
                remove->Step();
                wasThere = database_.ChangedRows() != 0;
            });
    });
    ReleaseAfterChange(file, key.bytes());
    return wasThere;
}

// ---- Moments ----

void SqliteStore::BeginMoment() {
    if (moments_ == 0 && !inBatch_) {
        reading_.End();
        database_.Execute("BEGIN");
        inMoment_ = true;
        try {
            // The engine's transaction begins with the first thing read.
            database_.QueryInteger("SELECT count(*) FROM sqlite_schema");
            momentFrames_ = reading_.LogFrames();
        } catch (...) {
            LeaveMoment();
            throw;
        }
    }
    ++moments_;
}

void SqliteStore::EndMoment() noexcept {
    if (--moments_ == 0) {
        LeaveMoment();
    }
}

void SqliteStore::LeaveMoment() noexcept {
    if (!std::exchange(inMoment_, false)) {
        return;
    }
    try {
        if (database_.InTransaction()) {
            database_.Execute("ROLLBACK");  // nothing was written
        }
    } catch (const std::exception&) {
        // The next statement that cannot go on says so.
    }
}

// The log starts over only when nobody reads from it.
void SqliteStore::CheckMoment() {
    if (inMoment_ && reading_.LogFrames() > momentFrames_ + kMostMomentFrames) {
        throw Error(ErrorKind::kMomentTooLong,
                    u"Other sessions wrote too much while the sentence was reading in \"" +
                        database_.path() + u"\"; try again when less is written.");
    }
}

// ---- Batches ----

void SqliteStore::Begin() {
    JoinCall();
    if (inBatch_ && (!callBegun_ || inPart_)) {
        throw Error(ErrorKind::kMisuse, u"A batch is open already.");
    }
    if (callBegun_) {
        reading_.End();
        CheckChangesAllowed();
        database_.Execute("SAVEPOINT part");
        inPart_ = true;
        return;
    }
    BeginBatch();
}

void SqliteStore::BeginBatch() {
    reading_.End();
    CheckChangesAllowed();
    LeaveMoment();
    {
        const Run begin(begin_);
        begin->Step();
    }
    inBatch_ = true;
    try {
        indexes_.Refresh();
    } catch (...) {
        Rollback();
        throw;
    }
}

void SqliteStore::Commit() {
    if (!inBatch_) {
        throw Error(ErrorKind::kMisuse, u"No batch is open.");
    }
    if (inPart_) {
        CheckChangesAllowed();
        database_.Execute("RELEASE part");
        inPart_ = false;
        LetLocksGo();
        return;
    }
    try {
        CheckChangesAllowed();
        const Run commit(commit_);
        commit->Step();
    } catch (...) {
        Rollback();
        throw;
    }
    inBatch_ = false;
    for (const auto& [file, id] : std::exchange(releasedInBatch_, {})) {
        ReleaseAfterChange(file, BytesOf(id));
    }
    LetLocksGo();
}

void SqliteStore::Rollback() noexcept {
    indexes_.Forget();
    try {
        if (std::exchange(inPart_, false)) {
            if (database_.InTransaction()) {
                database_.Execute("ROLLBACK TO part; RELEASE part");
            }
            LetLocksGo();
            return;
        }
        if (inBatch_ && database_.InTransaction()) {
            database_.Execute("ROLLBACK");
        }
    } catch (const std::exception&) {
        // Nothing was committed, and the engine rolls back at the latest when the session ends.
    }
    inBatch_ = false;
    releasedInBatch_.clear();
    LetLocksGo();
}

void SqliteStore::LetLocksGo() noexcept {
    if (locks_) {
        locks_->EndHold();
    }
}

// ---- Calls ----

void SqliteStore::BeginCall() {
    inCall_ = !inBatch_;
}

// A call that changes nothing keeps nobody from writing.
void SqliteStore::JoinCall() {
    if (inCall_ && !inBatch_ && !readOnly_) {
        BeginBatch();
        callBegun_ = true;
    }
}

void SqliteStore::EndCall(bool keep) {
    inCall_ = false;
    if (!std::exchange(callBegun_, false)) {
        return;
    }
    inPart_ = false;
    if (keep && database_.InTransaction()) {
        Commit();
    } else {
        Rollback();
    }
}

std::unique_ptr<AccountStore> OpenStore(TextView path, const StoreOptions& options) {
    return std::make_unique<SqliteStore>(path, options);
}

}  // namespace kel::embedded
