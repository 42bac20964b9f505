// UTF-8 read from and written to streams.
#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

#include "hosts/multivalue/text/text.h"

namespace kel::transfer {

using namespace text;

// Characters of a stream one by one, the byte order mark left out.
class Utf8Reader {
public:
    static constexpr std::int32_t kEnd = -1;

    explicit Utf8Reader(std::istream& stream);

    // Throw RowFault where the bytes are no UTF-8.
    std::int32_t Peek();
    std::int32_t Take();
    std::uint64_t line() const { return line_; }  // from 1, of what Peek gives

private:
    int Byte();
    std::int32_t Decode();
    [[noreturn]] void Fail() const;

    std::istream& stream_;
    std::vector<char> buffer_;
    std::size_t at_ = 0;
    std::size_t size_ = 0;
    std::int32_t next_ = 0;
    bool hasNext_ = false;
    bool afterReturn_ = false;
    std::uint64_t line_ = 1;
};

// What to do with a surrogate that has no partner.
enum class LoneSurrogate { kEscape /* as \udXXX */, kRefuse };

// False when it had to refuse; `bytes` then holds what came before.
bool AppendUtf8(std::string& bytes, TextView text, LoneSurrogate lone);

}  // namespace kel::transfer
