// The Store kept in one database file per account. The stored format, what is guaranteed when, and
// the files beside the account are described in docs/account-file.md.
#pragma once

#include <cstdint>
#include <memory>

#include "hosts/multivalue/store.h"

namespace kel::embedded {

enum class Durability {
    kProcess,  // what was acknowledged survives the death of any process, not a power failure
    kPower,    // ... and a power failure; every write (or batch) then waits for the disk
};

struct StoreOptions {
    bool readOnly = false;
    bool createMissing = true;  // make the account if there is no such file; never when readOnly
    Durability durability = Durability::kPower;
    std::uint32_t busyWaitMs = 10000;  // how long a call waits for another process that is writing
    std::uint64_t maxBytes = 0;  // writes fail (kFull) rather than pass this size; 0: no limit
    multivalue::Text user = {};  // shown to those who wait for a lock; "": the system's name
};

// Opens a session with the account at `path`.
//
// Throws multivalue::Error, the text naming the path: kCannotOpen (missing, a folder, no access,
// folder missing), kNotAnAccount (no database, or another program's), kNewerFormat, kDamaged,
// kBusy, kReadOnly (the file may not be written although readOnly was not asked for), kFull.
std::unique_ptr<multivalue::Store> OpenStore(multivalue::TextView path,
                                             const StoreOptions& options = {});

}  // namespace kel::embedded
