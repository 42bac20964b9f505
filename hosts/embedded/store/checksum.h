// Checksums of what an account holds, so that a bit that changed on the disk shows when it is read.
//
// A checksum covers where a thing belongs as well as what it is: a record with another record's id,
// or in another file's table, is not the one that was written.
//
// Part of the account's format; never change what goes into one.
#pragma once

#include <cstdint>
#include <vector>

#include "hosts/embedded/store/codec.h"

namespace kel::embedded {

// As the engine keeps it in four bytes: with a sign.
using Checksum = std::int32_t;

Checksum FileChecksum(std::int64_t file, Bytes name);
Checksum IndexChecksum(std::int64_t index, std::int64_t file, Bytes name, Bytes description);
Checksum EntryChecksum(std::int64_t index, Bytes key, Bytes id);

// The bytes of a record's row: form, units, and the checksum in four bytes, the lowest first.
void EncodeStored(std::int64_t file,
                  Bytes id,
                  text::TextView record,
                  std::vector<std::uint8_t>& bytes);
// False when they are not what was written for the id in the file, as far as the forms let know.
bool DecodeStored(RecordForms forms, std::int64_t file, Bytes id, Bytes bytes, text::Text& record);

}  // namespace kel::embedded
