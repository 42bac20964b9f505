// Record locks of all sessions with one account, kept in two files beside it: a small database of
// who has locked what, and the file whose bytes prove that a session is alive (process_liveness.h).
//
// Rows of a session that died are taken out by whoever meets them. The first session of all starts
// with an empty table, so nothing here has to survive a power failure and nothing is ever synced.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/process_liveness.h"
#include "hosts/multivalue/store/store.h"

namespace kel::embedded {

// One session's view. Ids come encoded (EncodeKey). One thread at a time.
class LockTable {
public:
    // Joins the sessions of the account whose full path is given. Throws text::Error.
    LockTable(const text::Text& accountPath, const text::Text& user, std::uint32_t busyWaitMs);
    LockTable(const LockTable&) = delete;
    LockTable& operator=(const LockTable&) = delete;
    ~LockTable();

    bool Holds(store::FileNumber file, Bytes id) const;
    store::LockAnswer Lock(store::FileNumber file, Bytes id, std::uint32_t waitMs);
    void Unlock(store::FileNumber file, Bytes id);
    void UnlockAll();
    std::vector<store::HeldLock> All();  // of living sessions, by file and id

    // The locks of other living sessions. Until EndHold no other session gets one or gives one up;
    // it waits as long as for any other that is writing.
    std::vector<store::HeldLock> HoldOthers();
    void EndHold() noexcept;

private:
    store::LockAnswer TryOnce(std::int64_t file, Bytes id);
    bool SweepIfDead(std::int64_t slot);
    void SweepDead();
    std::vector<store::HeldLock> List(bool ownToo);
    store::LockAnswer WaitFor(std::int64_t file,
                              Bytes id,
                              std::chrono::steady_clock::time_point deadline);
    bool StartWaiting(std::int64_t file, Bytes id);
    bool ClosesCircle();
    void StopWaiting() noexcept;

    ByteLockFile sessions_;  // first: our byte goes free only after the database is closed
    std::uint32_t slot_ = 0;
    Database database_;
    std::string user_;
    Statement insert_;
    Statement find_;
    Statement remove_;
    Statement removeSlot_;
    Statement wait_;
    Statement stopWaiting_;
    Statement waitsFor_;
    std::unordered_set<std::string> held_;  // file number and id of every lock of this session
};

}  // namespace kel::embedded
