// What the program does besides the demonstration: the part of the second process.
#pragma once

#include <vector>

#include "apps/demo/data.h"

namespace kel::demo {

// Exit codes.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kLocked = 2;

// --read ACCOUNT ID ...
//   Prints countries. kFailed when one of them does not exist.
int ReadCountries(const Text& accountPath, const std::vector<Text>& ids);

// --hold ACCOUNT ID
//   Takes the lock of a country, prints "held ID" and keeps it until standard input ends. When
//   somebody else has the lock: prints "locked ID" and ends with kLocked.
int HoldCountry(const Text& accountPath, const Text& id);

// --writer ACCOUNT COUNT [NAME]
//   Writes COUNT records one after the other and prints "written N" when the N-th generation is
//   written. May be ended at any moment; the next run goes on from there. Writers with different
//   names work on records of their own.
int RunWriter(const Text& accountPath, long count, const Text& name);

// --check ACCOUNT [AT-LEAST [NAME]]
//   Checks that every record of the writer is wholly one generation, that none is older than it can
//   be, and that generation AT-LEAST, which the writer reported, is there. kFailed if not.
int CheckWriter(const Text& accountPath, long atLeast, const Text& name);

}  // namespace kel::demo
