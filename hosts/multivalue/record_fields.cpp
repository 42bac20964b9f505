#include "hosts/multivalue/record_fields.h"

#include "hosts/multivalue/mark_scan.h"

namespace kel::multivalue {

void RecordFields::Read(TextView record) {
    array_ = nullptr;
    text_ = record;
    ends_.clear();
    complete_ = false;
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
    while (ends_.size() < wanted && !complete_) {
        const std::size_t start = ends_.empty() ? 0 : ends_.back() + 1;
        const std::size_t end = start + FindInRange(text_.data() + start,
                                                    text_.size() - start,
                                                    {kAttributeMark, kAttributeMark});
        complete_ = end == text_.size();
        ends_.push_back(end);
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

}  // namespace kel::multivalue
