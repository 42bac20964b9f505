// Indexes and record locks of a session: what they cost a transaction, and when they end.
#include <exception>
#include <string>

#include "hosts/embedded/store/keys.h"
#include "hosts/embedded/store/sqlite_session.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/error.h"

namespace kel::embedded {

using store::FileNumber;
using store::IndexInfo;
using store::LockAnswer;
using text::Error;
using text::ErrorKind;
using text::TextView;

// ---- Indexes ----

void SqliteStore::CreateIndex(FileNumber file, TextView name, TextView description) {
    store::CheckFileName(name);
    AsOne([&] {
        RequireFile(file);
        indexes_.Create(NumberOf(file), name, description);
    });
}

void SqliteStore::RebuildIndex(FileNumber file, TextView name) {
    AsOne([&] {
        RequireFile(file);
        indexes_.Rebuild(NumberOf(file), name);
    });
}

void SqliteStore::DropIndex(FileNumber file, TextView name) {
    AsOne([&] {
        RequireFile(file);
        indexes_.Drop(NumberOf(file), name);
    });
}

std::vector<IndexInfo> SqliteStore::Indexes(FileNumber file) {
    reading_.End();
    RequireFile(file);
    if (!inBatch_) {
        indexes_.Refresh();
    }
    return indexes_.List(NumberOf(file));
}

// ---- Locks ----

LockTable& SqliteStore::OwnLocks() {
    if (!locks_) {
        locks_ = std::make_unique<LockTable>(database_.FullPath(), user_, busyWaitMs_);
    }
    return *locks_;
}

LockAnswer SqliteStore::Lock(FileNumber file, TextView id, std::uint32_t waitMs) {
    const Key key(id);
    CheckChangesAllowed();
    return OwnLocks().Lock(file, key.bytes(), waitMs);
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

std::vector<store::HeldLock> SqliteStore::Locks() {
    RequireWritable();
    return OwnLocks().All();
}

std::vector<store::HeldLock> SqliteStore::HoldLocks() {
    if (!inBatch_) {
        throw Error(ErrorKind::kMisuse, u"No batch is open.");
    }
    return OwnLocks().HoldOthers();
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

}  // namespace kel::embedded
