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
#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/held_reading.h"
#include "hosts/embedded/store/index_tables.h"
#include "hosts/embedded/store/lock_table.h"
#include "hosts/embedded/store/process_liveness.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/error.h"
#include "hosts/multivalue/store.h"

namespace kel::embedded {

inline std::int64_t NumberOf(multivalue::FileNumber file) {
    return static_cast<std::int64_t>(file);
}

inline std::string TableOf(multivalue::FileNumber file) {
    return "f" + std::to_string(NumberOf(file));
}

// One connection to the account, one view of its locks.
class SqliteStore final : public multivalue::Store {
public:
    SqliteStore(multivalue::TextView path, const StoreOptions& options)
        : database_(OpenAccount(path, options)),
          readOnly_(options.readOnly),
          busyWaitMs_(options.busyWaitMs),
          user_(options.user.empty() ? CurrentUserName() : options.user),
          indexes_(database_),
          findFile_(database_, "SELECT number FROM catalogue WHERE name = ?1"),
          begin_(database_, "BEGIN IMMEDIATE"),
          commit_(database_, "COMMIT") {}
    SqliteStore(const SqliteStore&) = delete;
    SqliteStore& operator=(const SqliteStore&) = delete;
    ~SqliteStore() override { reading_.End(); }  // before any statement goes

    std::vector<multivalue::Text> FileNames() override;
    std::optional<multivalue::FileNumber> FindFile(multivalue::TextView name) override;
    multivalue::FileNumber CreateFile(multivalue::TextView name) override;
    void RenameFile(multivalue::FileNumber file, multivalue::TextView name) override;
    void DeleteFile(multivalue::FileNumber file) override;
    void ClearFile(multivalue::FileNumber file) override;
    std::uint64_t CountRecords(multivalue::FileNumber file) override;

    bool Read(multivalue::FileNumber file,
              multivalue::TextView id,
              multivalue::Text& record) override;
    bool Exists(multivalue::FileNumber file, multivalue::TextView id) override;
    void Write(multivalue::FileNumber file,
               multivalue::TextView id,
               multivalue::TextView record,
               multivalue::AfterWrite after) override;
    bool Delete(multivalue::FileNumber file, multivalue::TextView id) override;
    std::unique_ptr<multivalue::Scan> OpenScan(multivalue::FileNumber file,
                                               const multivalue::ScanRange& range) override;

    void UseIndexKeys(multivalue::IndexKeys* keys) override { indexes_.UseKeys(keys); }
    void CreateIndex(multivalue::FileNumber file,
                     multivalue::TextView name,
                     multivalue::TextView description) override;
    void RebuildIndex(multivalue::FileNumber file, multivalue::TextView name) override;
    void DropIndex(multivalue::FileNumber file, multivalue::TextView name) override;
    std::vector<multivalue::IndexInfo> Indexes(multivalue::FileNumber file) override;
    std::unique_ptr<multivalue::IndexScan> OpenIndexScan(
        multivalue::FileNumber file,
        multivalue::TextView name,
        const multivalue::IndexRange& range) override;

    multivalue::LockAnswer Lock(multivalue::FileNumber file,
                                multivalue::TextView id,
                                std::uint32_t waitMs) override;
    void Unlock(multivalue::FileNumber file, multivalue::TextView id) override;
    void UnlockAll() override;
    std::vector<multivalue::HeldLock> Locks() override;

    void Begin() override;
    void Commit() override;
    void Rollback() noexcept override;

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

    FileStatements& StatementsOf(multivalue::FileNumber file);
    Statement& Prepared(Statement FileStatements::*which,
                        multivalue::FileNumber file,
                        const char* before,
                        const char* after);
    void ForgetStatements(multivalue::FileNumber file);
    bool IsInCatalogue(multivalue::FileNumber file);
    template <typename Work>
    auto OnFile(multivalue::FileNumber file, Work work);
    template <typename Work>
    void AsOne(Work work);
    void UndoOne();
    template <typename Keep, typename Change>
    void WithIndexes(multivalue::FileNumber file, Keep keep, Change change);
    void RequireFile(multivalue::FileNumber file);
    void CheckChangesAllowed();
    void RequireWritable();
    void CheckNameFree(multivalue::TextView name);
    LockTable& OwnLocks();
    void ReleaseAfterChange(multivalue::FileNumber file, Bytes id) noexcept;

    Database database_;
    // Every member that uses database_ begins with a Turn or with End; so does what scans do.
    HeldReading reading_{database_};
    const bool readOnly_;
    const std::uint32_t busyWaitMs_;
    const multivalue::Text user_;
    IndexTables indexes_;
    Statement findFile_;
    Statement begin_;
    Statement commit_;
    std::unordered_map<std::int64_t, FileStatements> statements_;
    std::int64_t latestFile_ = -1;  // whose statements are at latest_
    FileStatements* latest_ = nullptr;
    std::vector<std::uint8_t> buffer_;
    std::unique_ptr<LockTable> locks_;  // made for the first lock: many sessions never take one
    bool inBatch_ = false;
    std::vector<std::pair<multivalue::FileNumber, std::string>> releasedInBatch_;
};

// Runs work on a file's table. That the table is gone shows only when a statement fails; the
// failure is then told as what it means.
template <typename Work>
auto SqliteStore::OnFile(multivalue::FileNumber file, Work work) {
    try {
        return work();
    } catch (const multivalue::Error& error) {
        if (error.kind() == multivalue::ErrorKind::kInputOutput) {
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
    CheckChangesAllowed();
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
