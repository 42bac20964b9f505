// Reading a record into a key field's buffer.
#include "engine/key_fields.h"
#include "engine/records.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// What the back-end says of a record; every other number means that it was read.
constexpr short kMissing = 1;
constexpr short kLocked = 2;

// What the caller is told, and the controls in ReadValid's ErrorFlag (but for refused).
constexpr short kFound = 0;
constexpr short kNotFound = 1;
constexpr short kLockedByOther = 2;
constexpr short kRefused = 3;

// Kinds of read: 0 and 1 take any record, 2 none, every other value new records only.
constexpr bool TakesExisting(short readType) noexcept {
    return readType == 0 || readType == 1;
}
constexpr bool TakesNew(short readType) noexcept {
    return readType != 2;
}

// How a read ends for the buffer and for the caller.
struct Outcome {
    short result;
    bool isValid;
    short errorFlag;
};

bool IsBlank(TextView text) noexcept {
    return text.find_first_not_of(L' ') == TextView::npos;
}

}  // namespace

short Records::read(const RecordField& field, TextView recordNumber) {
    const short readType = field.readType();
    const bool readU = field.readU();
    auto opened = openFile(field);
    if (!opened) {
        return kNotFound;
    }
    RecordState& state = opened->record->state;

    // A blank number is never asked for: it is a record that does not exist.
    const Bstr number(IsBlank(recordNumber) ? TextView() : recordNumber);
    short status = kMissing;
    ComPtr<IDispatch> array;
    if (!number.view().empty()) {
        status = 0;
        const auto reader = host_.host();
        CallOut([&] {
            return reader->mvRead(
                Flag(readU), number.get(), opened->fileVar.inOut(), &status, array.put());
        });
    }

    Outcome outcome{};
    if (status == kMissing && TakesNew(readType)) {
        outcome = {kNotFound, true, kNotFound};
        // A record that the user has begun to type as a new one survives.
        const bool keepsBuffer = state.isNew && state.isChanged;
        if (!keepsBuffer) {
            state.dynamicArray = host_.newDynamicArray();
            state.recNo = number.view();
        }
        state.isRead = false;
        if (!keepsBuffer) {
            state.isNew = true;
            state.isChanged = false;
        }
    } else if (status == kMissing) {
        outcome = {kRefused, false, kNotFound};
        state.dynamicArray = host_.newDynamicArray();
        state.isRead = false;
        state.isNew = false;
    } else if (status == kLocked) {
        outcome = {kLockedByOther, false, kLockedByOther};
        state.dynamicArray = host_.newDynamicArray();
        state.recNo = number.view();
        state.isRead = false;
        state.isNew = false;
        state.isChanged = false;
    } else if (TakesExisting(readType)) {
        outcome = {kFound, true, kFound};
        state.dynamicArray = std::move(array);
        state.recNo = number.view();
        state.isRead = true;
        state.isNew = false;
        state.isChanged = false;
    } else {
        outcome = {kRefused, false, kFound};
        state.dynamicArray = host_.newDynamicArray();
        state.isRead = false;
        state.isNew = false;
    }
    state.readType = readType;

    TellField(field.key(), [&](_kelFieldCallBack& callback) {
        return callback.FldReadValid(number.get(), Flag(outcome.isValid), outcome.errorFlag);
    });
    return outcome.result;
}

}  // namespace kel::engine
