// Opening an account's database file: what may be at the path, the format's marks, the settings of
// the connection.
#pragma once

#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/sqlite_store.h"

namespace kel::embedded {

// Stored in the file's header; published, never change. The format number rises when an older
// program could no longer read what a newer one writes, or would break it by writing.
inline constexpr std::int64_t kApplicationId = 0x6B656C31;
inline constexpr std::int64_t kFormat = 1;             // of an account without indexes
inline constexpr std::int64_t kFormatWithIndexes = 2;  // from the first index on
inline constexpr std::int64_t kLatestFormat = kFormatWithIndexes;

// The file that a path means. Links are followed, so that all sessions of an account meet in the
// files beside it, however they name it.
struct AccountPlace {
    text::Text file;
    bool isThere = false;
};

// Refuses what cannot be an account's path; see OpenStore.
AccountPlace FindAccount(text::TextView path);

// A connection ready for use, the account made if it was missing. Errors: see OpenStore.
Database OpenAccount(text::TextView path, const StoreOptions& options);

}  // namespace kel::embedded
