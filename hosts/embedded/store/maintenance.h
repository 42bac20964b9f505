// Looking after an account as a whole: whether it is sound, mending it, a copy while it is in use.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/store/store.h"

namespace kel::embedded {

// Makes what tells the keys of indexes, over a session that lasts longer than it. May be empty: the
// indexes then cannot be held against the records.
using IndexKeysMaker = std::function<std::unique_ptr<store::IndexKeys>(store::Store& session)>;

// All texts are whole sentences for a user, at most a hundred of a kind.
struct AccountReport {
    std::uint64_t files = 0;
    std::uint64_t records = 0;
    std::uint64_t indexes = 0;
    std::uint64_t staleIndexes = 0;   // no fault: waiting to be rebuilt
    std::uint64_t locks = 0;          // held by living sessions
    std::vector<text::Text> faults;   // empty: the account is sound
    std::vector<text::Text> repairs;  // what RepairAccount did
    std::vector<text::Text> losses;   // what it could not bring back
};

// Reads everything there is: the engine's own structure, every record, every index against the
// records, the lock table. Others may use the account meanwhile; records and indexes are looked at
// as of one moment. A damaged account is an answer; throws as OpenStore does for anything else that
// keeps an account from being opened.
AccountReport CheckAccount(text::TextView path, const IndexKeysMaker& keys = {});

// Checks, and mends what is not sound. Stale and wrong indexes are built again (without `keys` they
// become stale). A damaged account is copied record by record into a new one that takes its place;
// the old one stays beside it as NAME-damaged, then NAME-damaged-2 and so on. Nobody else may have
// a damaged account open (kBusy). The report's figures and faults are those from before.
AccountReport RepairAccount(text::TextView path, const IndexKeysMaker& keys = {});

// Writes the account as it is at this moment to `target`, an account of its own without any of the
// data that was deleted; others read and write meanwhile. The file appears under its name when it
// is whole. `goOn`, if given, is asked now and then; false when it gave the copy up. Throws as
// OpenStore does, kFileExists when there is anything at `target` already.
bool BackUpAccount(text::TextView path,
                   text::TextView target,
                   const std::function<bool()>& goOn = {});

// Writes the account anew without the space of what was deleted, and returns by how many bytes its
// file became shorter. Others can read meanwhile, not write. Needs as much room again on the disk
// for the time it takes; the file keeps its length as long as others read. Throws as OpenStore
// does.
std::uint64_t CompactAccount(text::TextView path);

}  // namespace kel::embedded
