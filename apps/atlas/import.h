// Bringing files into an account.
#pragma once

#include <functional>

#include "apps/atlas/iso_codes.h"
#include "apps/binding/client.h"

namespace kel::atlas {

// Makes a file unless it is there.
//   throws  std::runtime_error with what the database said
void EnsureFile(const binding::Tools& tools, TextView name);

// Whether the account has a file of this name.
bool FileExists(const binding::Tools& tools, TextView name);

struct Filled {
    std::size_t written = 0;
    std::size_t lost = 0;  // records that were written and did not come back exactly
};

// Makes the account hold every record of `records` in the file: makes the file if it is missing,
// writes records that are missing or differ, leaves everything else alone. So an account is filled
// at the first run, a run that was interrupted is completed by the next, and a complete account is
// only read. `progress` is called now and then with the number of records written.
Filled Fill(const binding::Tools& tools,
            const binding::Session& session,
            TextView fileName,
            const std::vector<Record>& records,
            const std::function<void(std::size_t written)>& progress = {});

// Fills the dictionary of a file, where the database has dictionaries.
void FillDictionary(const binding::Tools& tools,
                    const binding::Session& session,
                    TextView fileName);

}  // namespace kel::atlas
