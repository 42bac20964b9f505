// Opening an account's database file: what may be at the path, the format's marks, the settings of
// the connection.
#pragma once

#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/sqlite_store.h"

namespace kel::embedded {

// The file that a path means. Links are followed, so that all sessions of an account meet in the
// files beside it, however they name it.
struct AccountPlace {
    text::Text file;
    bool isThere = false;
};

// Refuses what cannot be an account's path; see OpenStore.
AccountPlace FindAccount(text::TextView path);

// A connection ready for use, the account made if it was missing and brought to the present format
// if it has an earlier one; read-only, it stays in that. Errors: see OpenStore.
Database OpenAccount(text::TextView path, const StoreOptions& options);

}  // namespace kel::embedded
