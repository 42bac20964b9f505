// What happened, in words that a person understands.
#pragma once

#include <string>

#include "apps/binding/key_field.h"

namespace kel::form {

// A failed call.
std::wstring InWords(const binding::Error& error);
// The failure that is being handled; for catch (...).
std::wstring CurrentFailureInWords();

// The reason of a failed connection, as the session tells it, without what is meant for
// programmers.
std::wstring ConnectionFailureInWords(const std::wstring& failure);

// What a read found. `holder` says who has the lock, where that is known.
std::wstring ReadInWords(binding::ReadAnswer answer,
                         const std::wstring& id,
                         bool hasLock,
                         const std::wstring& holder);

// Who has the lock of a record, out of the messages that the sentence LIST-READU returns; empty
// when it does not tell.
std::wstring HolderIn(const std::wstring& messages,
                      const std::wstring& fileName,
                      const std::wstring& id);

// Marks between lines become line ends.
std::wstring Lines(std::wstring output);

}  // namespace kel::form
