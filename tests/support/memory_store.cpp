// An account in memory: its sessions, records, locks and batches.
#include "tests/support/memory_store.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "hosts/multivalue/text/error.h"
#include "tests/support/memory_account.h"

namespace kel::store {

using std::chrono::milliseconds;

namespace {

std::int64_t NowMs() {
    return std::chrono::duration_cast<milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

void RemoveFromIndex(MemoryIndex& index, TextView id) {
    const auto keys = index.keys.find(Text(id));
    if (keys == index.keys.end()) {
        return;
    }
    for (const Text& key : keys->second) {
        const auto ids = index.ids.find(key);
        ids->second.erase(keys->first);
        if (ids->second.empty()) {
            index.ids.erase(ids);
        }
    }
    index.keys.erase(keys);
}

void EnterInIndex(MemoryIndex& index, TextView id, std::vector<Text> keys) {
    RemoveFromIndex(index, id);
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    for (const Text& key : keys) {
        index.ids[key].insert(Text(id));
    }
    index.keys[Text(id)] = std::move(keys);
}

void Empty(MemoryIndex& index) {
    index.ids.clear();
    index.keys.clear();
}

// The first write that cannot be followed makes every index of the file useless.
void MakeStale(MemoryFile& file) {
    for (auto& [name, index] : file.indexes) {
        index.stale = true;
        Empty(index);
    }
}

}  // namespace

MemoryStore::MemoryStore(std::shared_ptr<MemoryAccount> account, const MemoryOptions& options)
    : account_(std::move(account)), options_(options) {}

MemoryStore::~MemoryStore() {
    Rollback();
    UnlockAll();
}

// ---- Files ----

const MemoryFile& MemoryStore::FileOf(FileNumber file) {
    const auto found = Files().find(file);
    if (found == Files().end()) {
        throw Error(ErrorKind::kNoSuchFile, u"The file is no longer in the account.");
    }
    return *found->second;
}

// A change outside a batch, and the beginning of one, waits for the batch of another session.
void MemoryStore::WaitToChange(Guard& guard) {
    LeaveMoment();
    const auto free = [&] { return account_->writer == nullptr || account_->writer == this; };
    if (!account_->changed.wait_for(guard, milliseconds(options_.busyWaitMs), free)) {
        throw Error(ErrorKind::kBusy, u"Another session keeps the account busy.");
    }
}

// The file, to be changed: a copy when a batch or another session's moment has it as it was.
MemoryFile& MemoryStore::Change(FileNumber file) {
    FileOf(file);
    std::shared_ptr<MemoryFile>& data = Files().find(file)->second;
    if (data.use_count() > 1) {
        data = std::make_shared<MemoryFile>(*data);
    }
    return *data;
}

std::vector<Text> MemoryStore::FileNames() {
    const Guard guard(mutex());
    std::vector<Text> names;
    for (const auto& [number, data] : Files()) {
        names.push_back(data->name);
    }
    std::sort(names.begin(), names.end(), ByCodePoint());
    return names;
}

std::optional<FileNumber> MemoryStore::FindFile(TextView name) {
    const Guard guard(mutex());
    for (const auto& [number, data] : Files()) {
        if (data->name == name) {
            return number;
        }
    }
    return std::nullopt;
}

FileNumber MemoryStore::CreateFile(TextView name) {
    CheckFileName(name);
    Guard guard(mutex());
    WaitToChange(guard);
    if (FindFile(name)) {
        throw Error(ErrorKind::kFileExists, u"There is a file \"" + Text(name) + u"\" already.");
    }
    auto data = std::make_shared<MemoryFile>();
    data->name = name;
    const FileNumber file{account_->latestNumber + 1};
    Files().emplace(file, std::move(data));
    ++account_->latestNumber;
    return file;
}

void MemoryStore::RenameFile(FileNumber file, TextView name) {
    CheckFileName(name);
    Guard guard(mutex());
    WaitToChange(guard);
    FileOf(file);
    const std::optional<FileNumber> other = FindFile(name);
    if (other && *other != file) {
        throw Error(ErrorKind::kFileExists, u"There is a file \"" + Text(name) + u"\" already.");
    }
    Change(file).name = name;
}

void MemoryStore::DeleteFile(FileNumber file) {
    Guard guard(mutex());
    WaitToChange(guard);
    FileOf(file);
    Files().erase(file);
}

void MemoryStore::ClearFile(FileNumber file) {
    Guard guard(mutex());
    WaitToChange(guard);
    MemoryFile& data = Change(file);
    data.records.clear();
    for (auto& [name, index] : data.indexes) {
        Empty(index);
    }
}

std::uint64_t MemoryStore::CountRecords(FileNumber file) {
    const Guard guard(mutex());
    return FileOf(file).records.size();
}

// ---- Records ----

bool MemoryStore::Read(FileNumber file, TextView id, Text& record) {
    record.clear();
    CheckRecordId(id);
    const Guard guard(mutex());
    const MemoryFile& data = FileOf(file);
    const auto found = data.records.find(id);
    if (found == data.records.end()) {
        return false;
    }
    record = found->second;
    return true;
}

bool MemoryStore::Exists(FileNumber file, TextView id) {
    CheckRecordId(id);
    const Guard guard(mutex());
    return FileOf(file).records.contains(id);
}

// The keys of a record in all indexes of its file, computed before anything is changed.
std::vector<std::vector<Text>> MemoryStore::KeysForAll(const MemoryFile& data,
                                                       FileNumber file,
                                                       TextView id,
                                                       TextView record) {
    std::vector<std::vector<Text>> keys;
    for (const auto& [name, index] : data.indexes) {
        std::vector<Text>& of = keys.emplace_back();
        if (keys_ != nullptr && !index.stale) {
            keys_->KeysOf(file, index.description, id, record, of);
        }
    }
    return keys;
}

void MemoryStore::Write(FileNumber file, TextView id, TextView record, AfterWrite after) {
    CheckRecordId(id);
    if (record.size() > kMaxRecordUnits) {
        throw Error(ErrorKind::kTooLong,
                    u"The record \"" + Text(id) + u"\" is longer than a record can be.");
    }
    Guard guard(mutex());
    WaitToChange(guard);
    std::vector<std::vector<Text>> keys = KeysForAll(FileOf(file), file, id, record);
    MemoryFile& data = Change(file);
    data.records.insert_or_assign(Text(id), Text(record));
    if (keys_ == nullptr) {
        MakeStale(data);
    }
    auto next = keys.begin();
    for (auto& [name, index] : data.indexes) {
        if (!index.stale) {
            EnterInIndex(index, id, std::move(*next));
        }
        ++next;
    }
    if (after == AfterWrite::kRelease) {
        ReleaseAfterChange(file, id);
    } else {
        Lock(file, id, 0);
    }
}

bool MemoryStore::Delete(FileNumber file, TextView id) {
    CheckRecordId(id);
    Guard guard(mutex());
    WaitToChange(guard);
    const bool isThere = FileOf(file).records.contains(id);
    if (isThere) {
        MemoryFile& data = Change(file);
        data.records.erase(data.records.find(id));
        for (auto& [name, index] : data.indexes) {
            RemoveFromIndex(index, id);
        }
    }
    ReleaseAfterChange(file, id);
    return isThere;
}

// ---- Indexes ----

void MemoryStore::UseIndexKeys(IndexKeys* keys) {
    keys_ = keys;
}

MemoryIndex& MemoryStore::IndexOf(MemoryFile& file, TextView name) {
    const auto found = file.indexes.find(name);
    if (found == file.indexes.end()) {
        throw Error(ErrorKind::kNoSuchIndex,
                    u"The file \"" + file.name + u"\" has no index \"" + Text(name) + u"\".");
    }
    return found->second;
}

const MemoryIndex& MemoryStore::FreshIndex(FileNumber file, TextView name) {
    FileOf(file);
    MemoryFile& data = *Files().find(file)->second;
    const MemoryIndex& index = IndexOf(data, name);
    if (index.stale) {
        throw Error(ErrorKind::kStaleIndex,
                    u"The index \"" + Text(name) + u"\" of the file \"" + data.name +
                        u"\" was not kept up and has to be rebuilt.");
    }
    return index;
}

void MemoryStore::Build(MemoryFile& data, FileNumber file, MemoryIndex& index) {
    if (keys_ == nullptr) {
        throw Error(
            ErrorKind::kMisuse,
            u"This session cannot tell the keys of an index of the file \"" + data.name + u"\".");
    }
    MemoryIndex built{index.description, false, {}, {}};
    for (const auto& [id, record] : data.records) {
        std::vector<Text> keys;
        keys_->KeysOf(file, built.description, id, record, keys);
        EnterInIndex(built, id, std::move(keys));
    }
    index = std::move(built);
}

void MemoryStore::CreateIndex(FileNumber file, TextView name, TextView description) {
    CheckFileName(name);
    Guard guard(mutex());
    WaitToChange(guard);
    MemoryFile& data = Change(file);
    if (data.indexes.contains(name)) {
        throw Error(
            ErrorKind::kIndexExists,
            u"The file \"" + data.name + u"\" has an index \"" + Text(name) + u"\" already.");
    }
    MemoryIndex index;
    index.description = description;
    Build(data, file, index);
    data.indexes.emplace(name, std::move(index));
}

void MemoryStore::RebuildIndex(FileNumber file, TextView name) {
    Guard guard(mutex());
    WaitToChange(guard);
    MemoryFile& data = Change(file);
    Build(data, file, IndexOf(data, name));
}

void MemoryStore::DropIndex(FileNumber file, TextView name) {
    Guard guard(mutex());
    WaitToChange(guard);
    MemoryFile& data = Change(file);
    IndexOf(data, name);
    data.indexes.erase(data.indexes.find(name));
}

std::vector<IndexInfo> MemoryStore::Indexes(FileNumber file) {
    const Guard guard(mutex());
    std::vector<IndexInfo> list;
    for (const auto& [name, index] : FileOf(file).indexes) {
        list.push_back({name, index.description, index.stale});
    }
    return list;
}

// ---- Locks ----

// Follows who waits for whom from the holder of `wanted` on. Only a new wait can close a circle, so
// looking once, when a wait begins, is enough.
bool MemoryStore::WouldCloseCircle(const LockedRecord& wanted) const {
    const LockedRecord* next = &wanted;
    for (std::size_t steps = 0; steps <= account_->waits.size(); ++steps) {
        const auto lock = account_->locks.find(*next);
        if (lock == account_->locks.end()) {
            return false;
        }
        if (lock->second.session == this) {
            return true;
        }
        const auto wait = account_->waits.find(lock->second.session);
        if (wait == account_->waits.end()) {
            return false;
        }
        next = &wait->second;
    }
    return false;
}

LockAnswer MemoryStore::Lock(FileNumber file, TextView id, std::uint32_t waitMs) {
    CheckRecordId(id);
    Guard guard(mutex());
    const LockedRecord record{file, Text(id)};
    account_->changed.wait(
        guard, [&] { return account_->lockKeeper == nullptr || account_->lockKeeper == this; });
    const auto isMineOrFree = [&] {
        const auto found = account_->locks.find(record);
        return found == account_->locks.end() || found->second.session == this;
    };
    if (!isMineOrFree() && waitMs != 0 && !WouldCloseCircle(record)) {
        account_->waits.insert_or_assign(this, record);
        account_->changed.wait_for(guard, milliseconds(waitMs), isMineOrFree);
        account_->waits.erase(this);
    }
    if (!isMineOrFree()) {
        return account_->locks.find(record)->second.holder;
    }
    account_->locks.try_emplace(record,
                                MemoryAccount::Lock{this, LockHolder{options_.user, 0, NowMs()}});
    return std::nullopt;
}

void MemoryStore::Release(const LockedRecord& record) {
    const auto lock = account_->locks.find(record);
    if (lock != account_->locks.end() && lock->second.session == this) {
        account_->locks.erase(lock);
        account_->changed.notify_all();
    }
}

void MemoryStore::ReleaseAfterChange(FileNumber file, TextView id) {
    if (inBatch_) {
        releasedInBatch_.push_back({file, Text(id)});
    } else {
        Release({file, Text(id)});
    }
}

void MemoryStore::Unlock(FileNumber file, TextView id) {
    CheckRecordId(id);
    const Guard guard(mutex());
    Release({file, Text(id)});
}

void MemoryStore::UnlockAll() {
    const Guard guard(mutex());
    std::erase_if(account_->locks, [&](const auto& lock) { return lock.second.session == this; });
    account_->changed.notify_all();
}

std::vector<HeldLock> MemoryStore::Locks() {
    const Guard guard(mutex());
    std::vector<HeldLock> list;
    for (const auto& [record, lock] : account_->locks) {
        list.push_back({record.file, record.id, lock.holder});
    }
    return list;
}

std::vector<HeldLock> MemoryStore::HoldLocks() {
    const Guard guard(mutex());
    if (!inBatch_) {
        throw Error(ErrorKind::kMisuse, u"No batch is open.");
    }
    account_->lockKeeper = this;
    std::vector<HeldLock> list;
    for (const auto& [record, lock] : account_->locks) {
        if (lock.session != this) {
            list.push_back({record.file, record.id, lock.holder});
        }
    }
    return list;
}

// ---- Moments and batches ----

void MemoryStore::BeginMoment() {
    const Guard guard(mutex());
    if (++moments_ == 1 && !inBatch_) {
        moment_ = account_->files;
        inMoment_ = true;
    }
}

void MemoryStore::EndMoment() noexcept {
    const Guard guard(mutex());
    if (--moments_ == 0) {
        LeaveMoment();
    }
}

void MemoryStore::LeaveMoment() noexcept {
    inMoment_ = false;
    moment_.clear();
}

void MemoryStore::Begin() {
    Guard guard(mutex());
    if (inBatch_) {
        throw Error(ErrorKind::kMisuse, u"A batch is open already.");
    }
    WaitToChange(guard);
    batch_ = account_->files;
    account_->writer = this;
    inBatch_ = true;
}

void MemoryStore::Commit() {
    const Guard guard(mutex());
    if (!inBatch_) {
        throw Error(ErrorKind::kMisuse, u"No batch is open.");
    }
    account_->files.swap(batch_);
    std::vector<LockedRecord> released = std::exchange(releasedInBatch_, {});
    Rollback();  // of nothing, now: what the account had before goes
    for (const LockedRecord& record : released) {
        Release(record);
    }
}

void MemoryStore::Rollback() noexcept {
    const Guard guard(mutex());
    if (inBatch_) {
        batch_.clear();
        releasedInBatch_.clear();
        inBatch_ = false;
        account_->writer = nullptr;
        account_->lockKeeper = nullptr;
        account_->changed.notify_all();
    }
}

std::shared_ptr<MemoryAccount> MakeMemoryAccount() {
    return std::make_shared<MemoryAccount>();
}

std::unique_ptr<Store> OpenMemoryStore(std::shared_ptr<MemoryAccount> account,
                                       const MemoryOptions& options) {
    return std::make_unique<MemoryStore>(std::move(account), options);
}

}  // namespace kel::store
