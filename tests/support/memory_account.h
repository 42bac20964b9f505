// What sessions with one account in memory share. Only memory_store.cpp and memory_scans.cpp use
// this.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/store/store.h"
#include "tests/support/memory_store.h"

namespace kel::store {

struct MemoryIndex {
    Text description;
    bool stale = false;
    std::map<Text, std::set<Text, ByCodePoint>, std::less<>> ids;  // by key
    std::map<Text, std::vector<Text>> keys;                        // by id
};

struct MemoryFile {
    Text name;
    std::map<Text, Text, ByCodePoint> records;
    std::map<Text, MemoryIndex, ByCodePoint> indexes;
};

// A batch works on a copy of the catalogue; a file is copied when the batch first changes it.
using MemoryCatalogue = std::map<FileNumber, std::shared_ptr<MemoryFile>>;

struct LockedRecord {
    FileNumber file{};
    Text id;

    bool operator<(const LockedRecord& other) const {
        return file != other.file ? file < other.file : IsBeforeByCodePoint(id, other.id);
    }
};

class MemoryAccount {
public:
    struct Lock {
        const Store* session = nullptr;
        LockHolder holder;
    };

    // Guards everything below. Recursive: an IndexKeys called within a write may read.
    std::recursive_mutex mutex;
    std::condition_variable_any changed;  // a lock or a batch has ended
    MemoryCatalogue files;
    std::int64_t latestNumber = 0;
    const Store* writer = nullptr;      // whose batch is open
    const Store* lockKeeper = nullptr;  // the writer, when nobody else is to get a lock
    std::map<LockedRecord, Lock> locks;
    std::map<const Store*, LockedRecord> waits;  // what each waiting session waits for
};

// One session. Each member takes the account's mutex.
class MemoryStore final : public Store {
public:
    MemoryStore(std::shared_ptr<MemoryAccount> account, const MemoryOptions& options);
    MemoryStore(const MemoryStore&) = delete;
    MemoryStore& operator=(const MemoryStore&) = delete;
    ~MemoryStore() override;

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

    void UseIndexKeys(IndexKeys* keys) override;
    void CreateIndex(FileNumber file, TextView name, TextView description) override;
    void RebuildIndex(FileNumber file, TextView name) override;
    void DropIndex(FileNumber file, TextView name) override;
    std::vector<IndexInfo> Indexes(FileNumber file) override;
    std::unique_ptr<IndexScan> OpenIndexScan(FileNumber file,
                                             TextView name,
                                             const IndexRange& range) override;

    LockAnswer Lock(FileNumber file, TextView id, std::uint32_t waitMs) override;
    void Unlock(FileNumber file, TextView id) override;
    void UnlockAll() override;
    std::vector<HeldLock> Locks() override;
    std::vector<HeldLock> HoldLocks() override;

    void BeginMoment() override;
    void EndMoment() noexcept override;
    void Begin() override;
    void Commit() override;
    void Rollback() noexcept override;

    // For the scans, which hold the mutex meanwhile.
    std::recursive_mutex& mutex() { return account_->mutex; }
    const MemoryFile& FileOf(FileNumber file);                      // kNoSuchFile
    static MemoryIndex& IndexOf(MemoryFile& file, TextView name);   // kNoSuchIndex
    const MemoryIndex& FreshIndex(FileNumber file, TextView name);  // kNoSuchIndex, kStaleIndex

private:
    using Guard = std::unique_lock<std::recursive_mutex>;

    MemoryCatalogue& Files() { return inBatch_ ? batch_ : inMoment_ ? moment_ : account_->files; }
    void LeaveMoment() noexcept;
    void WaitToChange(Guard& guard);
    MemoryFile& Change(FileNumber file);
    std::vector<std::vector<Text>> KeysForAll(const MemoryFile& data,
                                              FileNumber file,
                                              TextView id,
                                              TextView record);
    void Build(MemoryFile& data, FileNumber file, MemoryIndex& index);
    bool WouldCloseCircle(const LockedRecord& wanted) const;
    void Release(const LockedRecord& record);
    void ReleaseAfterChange(FileNumber file, TextView id);

    const std::shared_ptr<MemoryAccount> account_;
    const MemoryOptions options_;
    IndexKeys* keys_ = nullptr;
    bool inBatch_ = false;
    MemoryCatalogue batch_;
    int moments_ = 0;  // begun and not ended
    bool inMoment_ = false;
    MemoryCatalogue moment_;
    std::vector<LockedRecord> releasedInBatch_;
};

}  // namespace kel::store
