// The Store without a file: an account that lives in memory, for sentences run over data made on
// the spot and for tests. All of store.h holds, across sessions and threads of the one process,
// with two exceptions: running out of memory in the middle of a change may leave part of it, and
// nothing outlives the account.
#pragma once

#include <cstdint>
#include <memory>

#include "hosts/multivalue/store/store.h"

namespace kel::store {

class MemoryAccount;

// Lives as long as somebody holds it; every session does.
std::shared_ptr<MemoryAccount> MakeMemoryAccount();

struct MemoryOptions {
    Text user = {};                    // shown to those who wait for a lock
    std::uint32_t busyWaitMs = 10000;  // how long a change waits for another session's batch
};

std::unique_ptr<Store> OpenMemoryStore(std::shared_ptr<MemoryAccount> account,
                                       const MemoryOptions& options = {});

}  // namespace kel::store
