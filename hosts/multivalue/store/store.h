// What the database logic stands on: files of records by id, scans in id order, indexes, record
// locks, batches. A Store is one session with one account; an account may have many sessions at
// once, in this process and in others.
//
// Records and ids cross as Text and come back unit for unit. A file is named once (FindFile) and
// meant by its number afterwards. Numbers are never used again, so a number whose file somebody
// deleted raises kNoSuchFile; it never means another file.
//
// Names of files are 1 to kMaxFileName units without U+00FB to U+00FF, control characters and
// spaces at either end; their case counts. Ids are 1 to kMaxIdUnits units without U+00FB to U+00FF.
// Anything else raises kBadArgument. A record longer than kMaxRecordUnits raises kTooLong.
//
// A member that throws (text::Error, std::bad_alloc) has changed nothing in the account.
//
// One thread at a time per Store. Two Stores on one account are two sessions, also within a
// process: each sees the other's locks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "hosts/multivalue/text/text.h"

namespace kel::store {

inline constexpr std::size_t kMaxFileName = 128;
inline constexpr std::size_t kMaxIdUnits = 1024;

enum class FileNumber : std::int64_t {};

struct LockHolder {
    Text user;
    std::uint32_t processId = 0;  // 0 in an account that only one process can have
    std::int64_t sinceMs = 0;     // milliseconds since 1 January 1970, UTC
};

// Empty: the lock is now this session's. Otherwise who has it.
using LockAnswer = std::optional<LockHolder>;

struct HeldLock {
    FileNumber file{};
    Text id;
    LockHolder holder;
};

// What a write does with the session's own lock on the record.
enum class AfterWrite { kRelease, kKeep };

enum class ScanOrder { kAscending, kDescending };

struct ScanRange {
    ScanOrder order = ScanOrder::kAscending;
    bool withRecords = true;        // false: ids only, several times as fast
    std::optional<Text> from = {};  // the first id of interest, inclusive, in the order of the scan
};

struct ScanEntry {
    Text id;
    Text record;  // empty when records were not asked for
};

// Walks a file in the order of its ids, by code point. Must not outlive its Store.
class Scan {
public:
    virtual ~Scan() = default;

    // Fills `entries` with the next records, at most `limit` (> 0) and fewer when they are long,
    // reusing what it holds. False, with nothing in it, at the end.
    //
    // Every chunk is read when asked for and nothing is held in between: records written or deleted
    // meanwhile ahead of the scan count, those behind it do not.
    virtual bool Next(std::vector<ScanEntry>& entries, std::size_t limit) = 0;
};

// ---- Indexes ----
//
// An index belongs to a file and gives the ids of its records in the order of keys. What the keys
// of a record are is for the logic above to say (IndexKeys); index_key.h makes keys that sort as
// people expect. A key is any text; keys compare unit by unit, ids under one key by code point.

// Tells the keys of records. Called within writes of the session it was given to, and while an
// index is made; may read through the same Store then, not change anything.
class IndexKeys {
public:
    virtual ~IndexKeys() = default;

    // Fills `keys` (handed over empty) for one record: none, one, or several for multivalued
    // fields; a key given twice counts once. An index that sorted selections walk needs at least
    // one key for every record, the empty one for an empty field.
    //   description  as given to CreateIndex
    // What it throws fails the write, which then has changed nothing.
    virtual void KeysOf(FileNumber file,
                        TextView description,
                        TextView id,
                        TextView record,
                        std::vector<Text>& keys) = 0;
};

struct IndexInfo {
    Text name;
    Text description;
    // Records were changed by a session that could not tell the keys. The index is empty and not
    // used or kept until RebuildIndex.
    bool stale = false;
};

struct IndexBound {
    Text key;
    bool inclusive = true;
};

// The keys from `low` to `high`, both whatever the order of the scan.
struct IndexRange {
    ScanOrder order = ScanOrder::kAscending;
    std::optional<IndexBound> low = {};
    std::optional<IndexBound> high = {};
    bool withKeys = true;  // false: ids only
};

struct IndexEntry {
    Text key;  // empty when keys were not asked for
    Text id;
};

// Walks an index in the order of its keys, ids under one key always ascending. A record comes once
// for each of its keys in the range. Must not outlive its Store.
class IndexScan {
public:
    virtual ~IndexScan() = default;

    // As Scan::Next; nothing is held between chunks. kStaleIndex when the index became stale
    // meanwhile, kNoSuchIndex when it was dropped.
    virtual bool Next(std::vector<IndexEntry>& entries, std::size_t limit) = 0;
};

class Store {
public:
    virtual ~Store() = default;

    // Files.
    virtual std::vector<Text> FileNames() = 0;  // in the order of code points
    virtual std::optional<FileNumber> FindFile(TextView name) = 0;
    virtual FileNumber CreateFile(TextView name) = 0;             // kFileExists
    virtual void RenameFile(FileNumber file, TextView name) = 0;  // kFileExists; the number stays
    virtual void DeleteFile(FileNumber file) = 0;
    virtual void ClearFile(FileNumber file) = 0;
    virtual std::uint64_t CountRecords(FileNumber file) = 0;

    // Records. A record that is not there is an answer: false.
    virtual bool Read(FileNumber file, TextView id, Text& record) = 0;  // `record` emptied if false
    virtual bool Exists(FileNumber file, TextView id) = 0;
    // Locks are advisory: a write or delete never waits for, fails for or breaks another session's
    // lock. kRelease gives up the session's own lock. kKeep keeps it, and takes it if this session
    // has none and nobody else has.
    virtual void Write(FileNumber file, TextView id, TextView record, AfterWrite after) = 0;
    virtual bool Delete(FileNumber file, TextView id) = 0;  // gives up the session's own lock
    virtual std::unique_ptr<Scan> OpenScan(FileNumber file, const ScanRange& range) = 0;

    // Indexes. Their names follow the rules of names of files. Every write, delete and clear keeps
    // the indexes of its file as part of the same change. A session without IndexKeys can still
    // write: the first write to a file with indexes empties them and marks them stale.
    //
    // `keys` is borrowed for as long as the session uses it; null, as at the beginning: none.
    virtual void UseIndexKeys(IndexKeys* keys) = 0;
    // Makes an index over the records there are, reading them in chunks. kIndexExists; kMisuse in
    // a session without IndexKeys.
    virtual void CreateIndex(FileNumber file, TextView name, TextView description) = 0;
    virtual void RebuildIndex(FileNumber file, TextView name) = 0;  // kNoSuchIndex, kMisuse
    virtual void DropIndex(FileNumber file, TextView name) = 0;     // kNoSuchIndex
    virtual std::vector<IndexInfo> Indexes(FileNumber file) = 0;    // by name, of code points
    // kNoSuchIndex, kStaleIndex
    virtual std::unique_ptr<IndexScan> OpenIndexScan(FileNumber file,
                                                     TextView name,
                                                     const IndexRange& range) = 0;

    // Record locks. The record need not exist. A session that has the lock gets it again (and one
    // Unlock ends it). While another session has it, asks again for up to waitMs milliseconds, 0:
    // once. Locks end with Unlock, with a releasing write or delete, with the session, and with its
    // process however that ends.
    //
    // Sessions that wait for each other's locks never hang: the one whose waiting would close the
    // circle is answered at once with the holder, as if its time were over; the others go on
    // waiting for it to give way.
    virtual LockAnswer Lock(FileNumber file, TextView id, std::uint32_t waitMs) = 0;
    virtual void Unlock(FileNumber file, TextView id) = 0;  // of a lock it does not have: nothing
    virtual void UnlockAll() = 0;
    virtual std::vector<HeldLock> Locks() = 0;  // of all sessions, by file and id
    // Within a batch: the locks that other sessions have, in the same order. Until the batch ends,
    // which is to be soon and without any more change, no other session gets another lock.
    virtual std::vector<HeldLock> HoldLocks() = 0;

    // One moment: from BeginMoment to EndMoment this session reads what had been committed when it
    // began, whatever others commit meanwhile, and keeps nobody from writing. A change of its own
    // ends the moment early: the session then reads on as ever. Within a batch, which is one moment
    // anyway, these do nothing. Moments nest; the outermost counts. OneMoment, below, is the safe
    // way to use them.
    //
    // Reading raises kMomentTooLong when others have written so much meanwhile that what is kept
    // for the moment would fill the disk.
    virtual void BeginMoment() = 0;
    virtual void EndMoment() noexcept = 0;

    // A batch: everything from Begin to Commit becomes visible to others and lasting as one, and
    // bulk work is some fifty times as fast as record by record. Other sessions can read but not
    // write meanwhile. Locks given up in a batch are given up when it commits. Batches do not nest
    // (kMisuse). Batch, below, is the safe way to use these.
    virtual void Begin() = 0;
    virtual void Commit() = 0;  // when it throws the batch is rolled back
    virtual void Rollback() noexcept = 0;
};

class OneMoment {
public:
    explicit OneMoment(Store& store) : store_(store) { store.BeginMoment(); }
    OneMoment(const OneMoment&) = delete;
    OneMoment& operator=(const OneMoment&) = delete;
    ~OneMoment() { store_.EndMoment(); }

private:
    Store& store_;
};

// A batch that is rolled back unless committed.
class Batch {
public:
    explicit Batch(Store& store) : store_(&store) { store.Begin(); }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;
    ~Batch() {
        if (store_ != nullptr) {
            store_->Rollback();
        }
    }

    void Commit() {
        Store* store = store_;
        store_ = nullptr;
        store->Commit();
    }

private:
    Store* store_;
};

}  // namespace kel::store
