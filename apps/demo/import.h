// Bringing the lists into an account.
#pragma once

#include "apps/demo/report.h"
#include "apps/demo/session_listener.h"

namespace kel::demo {

// Makes the account hold exactly `files`: makes files that are missing, writes records that are
// missing or differ, leaves everything else alone. So an account is filled at the first run, a run
// that was interrupted is completed by the next, and a complete account is only read.
void Import(Report& report, const Session& session, const std::vector<File>& files);

// Prints what stands where in the records of a file.
void PrintLayout(Report& report, const File& file);

}  // namespace kel::demo
