// The Store on an account's database file, as its own sources see it: sqlite_store.cpp (files,
// records, batches), sqlite_scans.cpp, sqlite_indexes.cpp (indexes and locks).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hosts/embedded/store/account_file.h"
#include "hosts/embedded/store/account_schema.h"
#include "hosts/embedded/store/checksum.h"
#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/held_reading.h"
#include "hosts/embedded/store/index_tables.h"
#include "hosts/embedded/store/lock_table.h"
#include "hosts/embedded/store/process_liveness.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/error.h"

namespace kel::embedded {

inline std::int64_t NumberOf(store::FileNumber file) {
    return static_cast<std::int64_t>(file);
}

inline std::string TableOf(store::FileNumber file) {
    return RecordsTable(NumberOf(file));
}

// One connection to the account, one view of its locks.
class SqliteStore final : public AccountStore {
public:
    SqliteStore(text::TextView path, const StoreOptions& options)
        : database_(OpenAccount(path, options)),
          readOnly_(options.readOnly),
          busyWaitMs_(options.busyWaitMs),
          user_(options.user.empty() ? CurrentUserName() : options.user),
          forms_(FormsOf(FormatOf(database_))),
          indexes_(database_, forms_),
          findFile_(database_,
                    forms_ == RecordForms::kWithChecksum
                        ? "SELECT number, sum FROM catalogue WHERE name = ?1"
                        : "SELECT number FROM catalogue WHERE name = ?1"),
          begin_(database_, "BEGIN IMMEDIATE"),
          commit_(database_, "COMMIT") {}
    SqliteStore(const SqliteStore&) = delete;
    SqliteStore& operator=(const SqliteStore&) = delete;
    ~SqliteStore() override { reading_.End(); }  // before any statement goes

    std::vector<text::Text> FileNames() override;
    std::optional<store::FileNumber> FindFile(text::TextView name) override;
    store::FileNumber CreateFile(text::TextView name) override;
    void RenameFile(store::FileNumber file, text::TextView name) override;
    void DeleteFile(store::FileNumber file) override;
    void ClearFile(store::FileNumber file) override;
    std::uint64_t CountRecords(store::FileNumber file) override;

    bool Read(store::FileNumber file, text::TextView id, text::Text& record) override;
    bool Exists(store::FileNumber file, text::TextView id) override;
    void Write(store::FileNumber file,
               text::TextView id,
               text::TextView record,
               store::AfterWrite after) override;
    bool Delete(store::FileNumber file, text::TextView id) override;
    std::unique_ptr<store::Scan> OpenScan(store::FileNumber file,
                                          const store::ScanRange& range) override;

    void UseIndexKeys(store::IndexKeys* keys) override { indexes_.UseKeys(keys); }
    void CreateIndex(store::FileNumber file,
                     text::TextView name,
                     text::TextView description) override;
    void RebuildIndex(store::FileNumber file, text::TextView name) override;
    void DropIndex(store::FileNumber file, text::TextView name) override;
    std::vector<store::IndexInfo> Indexes(store::FileNumber file) override;
    std::unique_ptr<store::IndexScan> OpenIndexScan(store::FileNumber file,
                                                    text::TextView name,
                                                    const store::IndexRange& range) override;

    store::LockAnswer Lock(store::FileNumber file,
                           text::TextView id,
                           std::uint32_t waitMs) override;
    void Unlock(store::FileNumber file, text::TextView id) override;
    void UnlockAll() override;
    std::vector<store::HeldLock> Locks() override;
    std::vector<store::HeldLock> HoldLocks() override;

    void BeginMoment() override;
    void EndMoment() noexcept override;
    void Begin() override;
    void Commit() override;
    void Rollback() noexcept override;

    void BeginCall() override;
    void EndCall(bool keep) override;
    void UseStop(const std::atomic<bool>& stop) override { database_.UseStop(stop); }

private:
    friend class SqliteScan;
    friend class SqliteIndexScan;

    // What is done with the records of one file over and over.
    struct FileStatements {
        Statement read;
        Statement exists;
        Statement write;
        Statement remove;
    };

    FileStatements& StatementsOf(store::FileNumber file);
    Statement& Prepared(Statement FileStatements::*which,
                        store::FileNumber file,
                        const char* before,
                        const char* after);
    void ForgetStatements(store::FileNumber file);
    bool IsInCatalogue(store::FileNumber file);
    template <typename Work>
    auto OnFile(store::FileNumber file, Work work);
    template <typename Work>
    void AsOne(Work work);
    void UndoOne();
    template <typename Keep, typename Change>
    void WithIndexes(store::FileNumber file, Keep keep, Change change);
    void SetFileName(store::FileNumber file, Bytes name);
    void CheckFileEntry(std::int64_t file, std::int64_t sum, Bytes name) const;
    void RequireFile(store::FileNumber file);
    void JoinCall();
    void BeginBatch();
    void CheckChangesAllowed();
    void RequireWritable();
    void CheckNameFree(text::TextView name);
    LockTable& OwnLocks();
    void LeaveMoment() noexcept;
    void CheckMoment();
    void LetLocksGo() noexcept;
    void ReleaseAfterChange(store::FileNumber file, Bytes id) noexcept;

    Database database_;
    // Every member that uses database_ begins with a Turn or with End; so does what scans do.
    HeldReading reading_{database_};
    const bool readOnly_;
    const std::uint32_t busyWaitMs_;
    const text::Text user_;
    const RecordForms forms_;
    IndexTables indexes_;
    Statement findFile_;
    Statement begin_;
    Statement commit_;
    std::unordered_map<std::int64_t, FileStatements> statements_;
    std::int64_t latestFile_ = -1;  // whose statements are at latest_
    FileStatements* latest_ = nullptr;
    std::vector<std::uint8_t> buffer_;
    std::unique_ptr<LockTable> locks_;  // made for the first lock: many sessions never take one
    int moments_ = 0;                   // begun and not ended
    bool inMoment_ = false;
    std::uint32_t momentFrames_ = 0;  // in the log when it began
    bool inBatch_ = false;
    bool inCall_ = false;     // BeginCall was called
    bool callBegun_ = false;  // and the batch that is open is the call's
    bool inPart_ = false;     // a batch within it
    std::vector<std::pair<store::FileNumber, std::string>> releasedInBatch_;
};

// Runs work on a file's table. That the table is gone shows only when a statement fails; the
// failure is then told as what it means.
template <typename Work>
auto SqliteStore::OnFile(store::FileNumber file, Work work) {
    try {
        return work();
    } catch (const text::Error& error) {
        if (error.kind() == text::ErrorKind::kInputOutput) {
            ForgetStatements(file);
            RequireFile(file);
        }
        throw;
    }
}

// Runs work as one change: all of it happens or nothing, within a batch too.
template <typename Work>
void SqliteStore::AsOne(Work work) {
    reading_.End();
    JoinCall();
    CheckChangesAllowed();
    LeaveMoment();
    if (inBatch_) {
        database_.Execute("SAVEPOINT one");
    } else {
        const Run begin(begin_);
        begin->Step();
    }
    try {
        if (!inBatch_) {
            indexes_.Refresh();
        }
        work();
        if (inBatch_) {
            database_.Execute("RELEASE one");
        } else {
            const Run commit(commit_);
            commit->Step();
        }
    } catch (...) {
        UndoOne();
        throw;
    }
}

}  // namespace kel::embedded
