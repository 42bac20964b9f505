// The buffer's key field, and the notation of its lines.
#include "apps/kelsh/record_buffer.h"

#include <stdexcept>

#include "apps/kelsh/text.h"
#include "apps/kelsh/transfer/csv.h"

namespace kel::kelsh {

namespace {

// No control of a user's program is bound to this key field.
constexpr const wchar_t* kKeyId = L"kelsh.record";

}  // namespace

Text AsTyped(TextView stored) {
    transfer::Cell cell;
    for (const Text& value : Split(stored, *kValueMark)) {
        cell.emplace_back();
        for (const Text& subvalue : Split(value, *kSubvalueMark)) {
            cell.back().push_back(Units(FromRecord(subvalue)));
        }
    }
    return Wide(transfer::JoinCell(cell, {}));
}

Text AsStored(TextView typed) {
    Text stored;
    const transfer::Cell cell = transfer::PartCell(Units(ToRecord(typed)), {});
    for (const auto& value : cell) {
        stored += &value == &cell.front() ? Text() : Text(kValueMark);
        for (const text::Text& subvalue : value) {
            stored += (&subvalue == &value.front() ? Text() : Text(kSubvalueMark)) + Wide(subvalue);
        }
    }
    return stored;
}

Position PositionIn(const Text& text) {
    long numbers[3] = {};
    std::size_t count = 0;
    for (const Text& part : Split(text, L'.')) {
        const long number = binding::WholeNumber(part).value_or(0);
        if (count == 3 || number < 1 || number > SHRT_MAX) {
            throw std::runtime_error(
                ToUtf8(text + L" is no position: write attribute, or attribute.value.subvalue"));
        }
        numbers[count++] = number;
    }
    return {numbers[0], numbers[1], numbers[2]};
}

RecordBuffer::RecordBuffer(Connection& connection)
    : connection_(connection),
      key_({.keyId = kKeyId, .session = connection.name(), .controlName = L"kelsh", .amc = 0}) {
    key_.UpdateOnly(true);  // an id is to look a record up
}

RecordBuffer::Found RecordBuffer::Read(const Text& file, const Text& id, bool lock) {
    key_.FileName(file);
    key_.ReadU(lock);
    key_.ExternalValue(0, ToRecord(id));
    file_.clear();
    const auto found = static_cast<Found>(key_.ReadRecord());
    if (found == Found::kMissing) {
        // What was typed into another new record would be kept.
        connection_.tools().Replace(kKeyId, L"", 0);
    }
    if (found == Found::kFound || found == Found::kMissing) {
        file_ = file;
        id_ = id;
    }
    isChanged_ = false;
    return found;
}

void RecordBuffer::Write(const Text& id, bool keepLock) {
    const Text number = ToRecord(id.empty() ? id_ : id);
    if (keepLock) {
        connection_.tools().mvWriteU(kKeyId, number, file_);
    } else {
        connection_.tools().mvWrite(kKeyId, number, file_);
    }
    isChanged_ = false;
}

void RecordBuffer::Delete() {
    key_.DeleteRecord();
    isChanged_ = false;
}

void RecordBuffer::Release() {
    connection_.tools().mvRelease(kKeyId);
}

Text RecordBuffer::Extract(const Position& at) const {
    return connection_.tools().Extract(kKeyId, at.amc, at.vmc, at.smc);
}

void RecordBuffer::Replace(const Position& at, TextView value) {
    connection_.tools().Replace(kKeyId, value, at.amc, at.vmc, at.smc);
    isChanged_ = true;
}

void RecordBuffer::Insert(const Position& at, TextView value) {
    connection_.tools().Insert(kKeyId, value, at.amc, at.vmc, at.smc);
    isChanged_ = true;
}

void RecordBuffer::Remove(const Position& at) {
    connection_.tools().Delete(kKeyId, at.amc, at.vmc, at.smc);
    isChanged_ = true;
}

std::vector<Text> RecordBuffer::Attributes() const {
    std::vector<Text> attributes = Split(Extract({}), *kAttributeMark);
    while (!attributes.empty() && attributes.back().empty()) {
        attributes.pop_back();
    }
    return attributes;
}

void RecordBuffer::ReplaceAll(const std::vector<Text>& attributes) {
    Replace({}, binding::Join(attributes, kAttributeMark));
}

}  // namespace kel::kelsh
