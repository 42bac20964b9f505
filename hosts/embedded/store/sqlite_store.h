// The Store kept in one database file per account. The stored format, what is guaranteed when, and
// the files beside the account are described in docs/account-file.md.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "hosts/multivalue/store/store.h"

namespace kel::embedded {

// What survives what. In all of them a write or batch that was acknowledged survives the death of
// any process, and is there whole or not at all. A power failure here is also a crash of the
// system.
enum class Durability {
    kFull,    // ... and a power failure; every write (or batch) waits for the disk
    kNormal,  // a power failure may take the last writes, but leaves the account sound
    kOff,     // a power failure may damage the account; for what can be made again
};

struct StoreOptions {
    bool readOnly = false;
    bool createMissing = true;  // make the account if there is no such file; never when readOnly
    Durability durability = Durability::kFull;
    std::uint32_t busyWaitMs = 10000;  // how long a call waits for another process that is writing
    std::uint64_t maxBytes = 0;  // writes fail (kFull) rather than pass this size; 0: no limit
    text::Text user = {};        // shown to those who wait for a lock; "": the system's name
};

// A session with an account file, whose calls can be stopped and undone as a whole.
class AccountStore : public store::Store {
public:
    // From the first change until EndCall everything is one batch; batches in between are parts of
    // it.
    virtual void BeginCall() = 0;
    // Makes the changes lasting, or undoes them all.
    virtual void EndCall(bool keep) = 0;
    // What is at work when `stop` becomes true, on any thread, fails with kTimeLimit. Borrowed.
    virtual void UseStop(const std::atomic<bool>& stop) = 0;
};

// Opens a session with the account at `path`.
//
// Throws text::Error, the text naming the path: kCannotOpen (missing, a folder, no access,
// folder missing), kNetworkDrive, kSeveralNames (hard links), kNotAnAccount (no database, or
// another program's), kNewerFormat, kDamaged, kBusy, kReadOnly (the file may not be written
// although readOnly was not asked for), kFull.
std::unique_ptr<AccountStore> OpenStore(text::TextView path, const StoreOptions& options = {});

}  // namespace kel::embedded
