// Writing, deleting, starting and releasing a record.
#include "engine/records.h"

#include "engine/key_fields.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr short kWritten = 0;
constexpr short kNotWritten = 1;

// The number given, or that of the record in the buffer.
Bstr NumberOf(TextView recordNumber, const RecordState& state) {
    return Bstr(recordNumber.empty() ? TextView(state.recNo) : recordNumber);
}

}  // namespace

RecordField::RecordField(IDispatch* item, const wchar_t* source)
    : item_(item), keyId_(item_->readKeyId()), key_(RequireKey(keyId_, source)) {}

RecordField::RecordField(BSTR keyId, BSTR fileName, bool readU, const wchar_t* source)
    : keyId_(View(keyId)),
      key_(RequireKey(keyId_, source)),
      fileName_(View(fileName)),
      readU_(readU) {}

std::optional<Records::Opened> Records::openFile(const RecordField& field) {
    auto record = states_.EnsureKeyFieldInfo(field.keyId(), field.key());
    Text fileName = RecordStates::fileName(field.fileName(), record.get(), field.key());
    if (!files_.open(fileName)) {
        return std::nullopt;
    }
    auto fileVar = files_.find(fileName);
    record->state.fileName = std::move(fileName);
    return Opened{std::move(record), std::move(fileVar)};
}

short Records::write(const RecordField& field, TextView recordNumber, bool writeU) {
    try {
        auto opened = openFile(field);
        if (!opened) {
            return kNotWritten;
        }
        ComPtr<IDispatch> array = opened->record->state.dynamicArray;
        const Bstr number = NumberOf(recordNumber, opened->record->state);
        if (number.view().empty()) {
            return kNotWritten;
        }
        const auto writer = host_.host();
        CallOut([&] {
            return writer->mvWrite(
                Flag(writeU), number.get(), opened->fileVar.inOut(), array.inOut());
        });
        return kWritten;
    } catch (...) {
        // Required: a missing key field alone is raised under the name that all members share.
        throw CurrentError().withSource(L"kelDBMS::mvWrite");
    }
}

void Records::remove(const RecordField& field, TextView recordNumber) {
    auto opened = openFile(field);
    if (!opened) {
        return;
    }
    const Bstr number = NumberOf(recordNumber, opened->record->state);
    const auto deleter = host_.host();
    CallOut([&] { return deleter->mvDelete(number.get(), opened->fileVar.inOut()); });
    TellField(field.key(),
              [&](_kelFieldCallBack& callback) { return callback.FldDelete(number.get()); });
}

void Records::begin(const RecordField& field, TextView recordNumber) {
    const auto record = states_.EnsureKeyFieldInfo(field.keyId(), field.key());
    RecordState& state = record->state;
    state.readType = field.readType();
    state.recNo = recordNumber;
    if (!state.isRead) {
        state.isNew = true;
        // Required: the key field's name stands where that of a control would.
        const Bstr control(field.key());
        const Bstr whole(L"0");
        TellField(field.key(), [&](_kelFieldCallBack& callback) {
            return callback.FldRefresh(control.get(), whole.get(), whole.get(), whole.get());
        });
        return;
    }
    state.isRead = false;
    state.isNew = true;
    state.isChanged = false;
    state.dynamicArray = host_.newDynamicArray();
    TellField(field.key(), [](_kelFieldCallBack& callback) { return callback.FldClear(); });
}

void Records::release(const RecordField& field) noexcept {
    Ignoring([&] {
        const auto record = states_.get(field.key());
        const Bstr number(record->state.recNo);
        ComPtr<IDispatch> fileVar = files_.find(record->state.fileName);
        const auto releaser = host_.host();
        CallOut([&] { return releaser->mvRelease(fileVar.inOut(), number.get()); });
    });
}

}  // namespace kel::engine
