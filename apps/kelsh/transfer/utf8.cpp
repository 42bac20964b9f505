// UTF-8 decoded by hand: a fault is told with its line, and lone surrogates of JSON come through.
#include "apps/kelsh/transfer/utf8.h"

#include "apps/kelsh/transfer/rows.h"
#include "hosts/multivalue/text/code_points.h"

namespace kel::transfer {

namespace {

constexpr std::size_t kBytesAtOnce = 1 << 16;
constexpr std::int32_t kByteOrderMark = 0xFEFF;

}  // namespace

Utf8Reader::Utf8Reader(std::istream& stream) : stream_(stream), buffer_(kBytesAtOnce) {
    if (Peek() == kByteOrderMark) {
        Take();
    }
}

// The next byte, or -1.
int Utf8Reader::Byte() {
    if (at_ == size_) {
        stream_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        size_ = static_cast<std::size_t>(stream_.gcount());
        at_ = 0;
        if (stream_.bad()) {
            throw RowFault{{line_, {}, u"The data cannot be read."}, false};
        }
        if (size_ == 0) {
            return -1;
        }
    }
    return static_cast<unsigned char>(buffer_[at_++]);
}

void Utf8Reader::Fail() const {
    throw RowFault{{line_, {}, u"The data is not UTF-8."}, false};
}

std::int32_t Utf8Reader::Decode() {
    const int lead = Byte();
    if (lead < 0x80) {
        return lead;  // kEnd too
    }
    const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4) {
        Fail();
    }
    std::int32_t point = lead & (0x3F >> more);
    for (int i = 0; i < more; ++i) {
        const int byte = Byte();
        if (byte < 0x80 || byte > 0xBF) {
            Fail();
        }
        point = (point << 6) | (byte & 0x3F);
    }
    constexpr std::int32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    if (point < kLeast[more] || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) {
        Fail();
    }
    return point;
}

std::int32_t Utf8Reader::Peek() {
    if (!hasNext_) {
        next_ = Decode();
        hasNext_ = true;
    }
    return next_;
}

std::int32_t Utf8Reader::Take() {
    const std::int32_t point = Peek();
    hasNext_ = false;
    // CR, LF and CR LF each end one line.
    if (point == '\r' || (point == '\n' && !afterReturn_)) {
        ++line_;
    }
    afterReturn_ = point == '\r';
    return point;
}

bool AppendUtf8(std::string& bytes, TextView text, LoneSurrogate lone) {
    for (std::size_t at = 0; at < text.size();) {
        const char32_t point = TakePoint(text, at);
        if (!IsHighSurrogate(point) && !IsLowSurrogate(point)) {
            EncodePoint(point,
                        [&](std::uint8_t byte) { bytes.push_back(static_cast<char>(byte)); });
            continue;
        }
        if (lone == LoneSurrogate::kRefuse) {
            return false;
        }
        constexpr char kDigits[] = "0123456789abcdef";
        bytes += "\\u";
        for (int shift = 12; shift >= 0; shift -= 4) {
            bytes.push_back(kDigits[(point >> shift) & 0xF]);
        }
    }
    return true;
}

}  // namespace kel::transfer
