// Finds attributes of a record from left to right.
#include "hosts/multivalue/text/record_fields.h"

#include <algorithm>
#include <bit>

#include "hosts/multivalue/text/mark_scan.h"

namespace kel::text {

void RecordFields::Read(TextView record) {
    array_ = nullptr;
    text_ = record;
    ends_.clear();
    scanned_ = 0;
}

void RecordFields::Read(const DynamicArray& record) {
    Read(TextView());
    array_ = &record;
}

TextView RecordFields::Attribute(std::int32_t number) {
    if (number < 1) {
        return {};
    }
    Whole();
    const auto wanted = static_cast<std::size_t>(number);
    while (ends_.size() < wanted && scanned_ <= text_.size()) {
        const std::size_t block = std::min(kScanBlock, text_.size() - scanned_);
        std::uint64_t marks =
            RangeMask(text_.data() + scanned_, block, {kAttributeMark, kAttributeMark});
        for (; marks != 0; marks &= marks - 1) {
            ends_.push_back(scanned_ + static_cast<std::size_t>(std::countr_zero(marks)));
        }
        scanned_ += block;
        if (scanned_ == text_.size()) {
            ends_.push_back(scanned_);
            ++scanned_;
        }
    }
    if (ends_.size() < wanted) {
        return {};
    }
    const std::size_t start = wanted == 1 ? 0 : ends_[wanted - 2] + 1;
    return text_.substr(start, ends_[wanted - 1] - start);
}

TextView RecordFields::Whole() {
    if (array_ != nullptr) {
        whole_ = array_->ToText();
        text_ = whole_;
        array_ = nullptr;
    }
    return text_;
}

TextView ElementOf(TextView text, char16_t mark, std::int32_t number) {
    if (number < 1) {
        return {};
    }
    for (; number > 1; --number) {
        const std::size_t end = FindInRange(text.data(), text.size(), {mark, mark});
        if (end == text.size()) {
            return {};
        }
        text.remove_prefix(end + 1);
    }
    return text.substr(0, FindInRange(text.data(), text.size(), {mark, mark}));
}

}  // namespace kel::text
