// What goes into each checksum.
#include "hosts/embedded/store/checksum.h"

#include <string>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace kel::embedded {

using text::Text;
using text::TextView;

namespace {

// XXH3 gives the same on every processor and has no table to fill or feature to ask for. Both parts
// are hashed without copying them together; either changes the result.
std::uint32_t Hash(std::int64_t number, Bytes key, Bytes content) {
    const XXH64_hash_t place =
        XXH3_64bits_withSeed(key.data(), key.size(), static_cast<XXH64_hash_t>(number));
    return static_cast<std::uint32_t>(place ^ XXH3_64bits(content.data(), content.size()));
}

}  // namespace

Checksum FileChecksum(std::int64_t file, Bytes name) {
    return static_cast<Checksum>(Hash(file, {}, name));
}

Checksum IndexChecksum(std::int64_t index, std::int64_t file, Bytes name, Bytes description) {
    std::string content = std::to_string(file) + ' ';
    content.append(reinterpret_cast<const char*>(description.data()), description.size());
    return static_cast<Checksum>(Hash(index, name, BytesOf(content)));
}

Checksum EntryChecksum(std::int64_t index, Bytes key, Bytes id) {
    return static_cast<Checksum>(Hash(index, key, id));
}

void EncodeStored(std::int64_t file, Bytes id, TextView record, std::vector<std::uint8_t>& bytes) {
    EncodeRecord(record, bytes);
    const std::uint32_t sum = Hash(file, id, bytes);
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<std::uint8_t>(sum >> shift));
    }
}

namespace {

constexpr std::size_t kSumBytes = 4;

// Takes the checksum off; false when it is another.
bool Unseal(std::int64_t file, Bytes id, Bytes& record) {
    if (record.size() < kSumBytes) {
        return false;
    }
    const Bytes sum = record.last(kSumBytes);
    record = record.first(record.size() - kSumBytes);
    return (sum[0] | std::uint32_t{sum[1]} << 8 | std::uint32_t{sum[2]} << 16 |
            std::uint32_t{sum[3]} << 24) == Hash(file, id, record);
}

}  // namespace

bool DecodeStored(RecordForms forms, std::int64_t file, Bytes id, Bytes bytes, Text& record) {
    return (forms == RecordForms::kWithoutChecksum || Unseal(file, id, bytes)) &&
           DecodeRecord(forms, bytes, record);
}

}  // namespace kel::embedded
