// Writing, deleting, starting and releasing a record.
#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr short kWritten = 0;
constexpr short kNotWritten = 1;

}  // namespace

STDMETHODIMP Dbms::mvWrite(VARIANT_BOOL writeU,
                           BSTR recordNumber,
                           IDispatch* item,
                           short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const FieldItem field(item);
        const Text key = RequireKey(field.readKeyId(), L"mvDBMS::mvWrite");
        try {
            out = write(writeU != VARIANT_FALSE, View(recordNumber), field, key);
        } catch (...) {
            // Only the missing key is raised under the members' common name.
            throw CurrentError().withSource(L"kelDBMS::mvWrite");
        }
    });
}

short Dbms::write(bool writeU, TextView recordNumber, const FieldItem& item, TextView key) {
    const auto record = EnsureKeyFieldInfo(item.readKeyId());
    const Text fileName = resolveFileName(item, *record, key);
    if (open(fileName) != 0) {
        return kNotWritten;
    }
    ComPtr<IDispatch> fileVar = fileVariable(fileName);
    record->state.fileName = fileName;
    ComPtr<IDispatch> array = record->state.dynamicArray;
    const Bstr number(recordNumber.empty() ? TextView(record->state.recNo) : recordNumber);
    if (number.view().empty()) {
        return kNotWritten;
    }
    const auto writer = host();
    CallOut([&] {
        return writer->mvWrite(Flag(writeU), number.get(), fileVar.inOut(), array.inOut());
    });
    return kWritten;
}

STDMETHODIMP Dbms::mvDelete(BSTR recordNumber, IDispatch* item) noexcept {
    return ComMethod([&] {
        const FieldItem field(item);
        const Text key = RequireKey(field.readKeyId(), L"mvDBMS::mvDelete");
        const auto record = EnsureKeyFieldInfo(field.readKeyId());
        const Text fileName = resolveFileName(field, *record, key);
        if (open(fileName) != 0) {
            return;
        }
        ComPtr<IDispatch> fileVar = fileVariable(fileName);
        record->state.fileName = fileName;
        const Bstr number(View(recordNumber).empty() ? TextView(record->state.recNo)
                                                     : View(recordNumber));
        const auto deleter = host();
        CallOut([&] { return deleter->mvDelete(number.get(), fileVar.inOut()); });
        // The buffer stays as it is; what to do with it is the listeners' business.
        tellField(key,
                  [&](_kelFieldCallBack& callback) { return callback.FldDelete(number.get()); });
    });
}

STDMETHODIMP Dbms::mvNew(BSTR recordNumber, IDispatch* item) noexcept {
    return ComMethod([&] {
        const FieldItem field(item);
        const Text keyId = field.readKeyId();
        const Text key = RequireKey(keyId, L"mvDBMS::mvNew");
        const auto record = EnsureKeyFieldInfo(keyId);
        RecordState& state = record->state;
        state.readType = field.readType();
        state.recNo = View(recordNumber);
        if (!state.isRead) {
            // What the user has typed into an unread buffer is kept.
            state.isNew = true;
            const Bstr control(key);
            const Bstr whole(L"0");
            tellField(key, [&](_kelFieldCallBack& callback) {
                return callback.FldRefresh(control.get(), whole.get(), whole.get(), whole.get());
            });
            return;
        }
        state.isRead = false;
        state.isNew = true;
        state.isChanged = false;
        state.dynamicArray = newDynamicArray();
        tellField(key, [](_kelFieldCallBack& callback) { return callback.FldClear(); });
    });
}

STDMETHODIMP Dbms::mvRelease(IDispatch* item) noexcept {
    return ComMethod([&] {
        const FieldItem field(item);
        const Text key = RequireKey(field.readKeyId(), L"mvDBMS::mvRelease");
        Ignoring([&] {
            const auto record = info(key);
            const Bstr number(record->state.recNo);
            ComPtr<IDispatch> fileVar = fileVariable(record->state.fileName);
            const auto releaser = host();
            CallOut([&] { return releaser->mvRelease(fileVar.inOut(), number.get()); });
        });
    });
}

}  // namespace kel::engine
