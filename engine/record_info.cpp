// The record state as clients see it.
#include "engine/record_info.h"

#include "automation/property.h"
#include "automation/stored_property.h"
#include "core/collection.h"
#include "registry/thread_registry.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below
using registry::ThreadRegistry;

namespace {

HRESULT GiveObject(const ComPtr<IDispatch>& object, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = object;
    });
}

HRESULT TakeObject(IDispatch* value, ComPtr<IDispatch>& object) noexcept {
    return ComMethod([&] { object = ComPtr<IDispatch>(value); });
}

}  // namespace

RecordInfo::RecordInfo(TextView keyId) {
    state.keyId = keyId;
    state.errorList = ComPtr<_Collection>(Make<core::Collection>());
    state.mandatoryList = ComPtr<_Collection>(Make<core::Collection>());
}

void RecordInfo::terminate() noexcept {
    state.dynamicArray.reset();
    state.selectList.reset();
    state.errorList.reset();
    state.mandatoryList.reset();
}

STDMETHODIMP RecordInfo::get_KeyId(BSTR* result) noexcept {
    return GiveText(state.keyId, result);
}
STDMETHODIMP RecordInfo::put_KeyId(BSTR value) noexcept {
    return TakeText(value, state.keyId);
}
STDMETHODIMP RecordInfo::get_DynamicArray(IDispatch** result) noexcept {
    return GiveObject(state.dynamicArray, result);
}
STDMETHODIMP RecordInfo::putref_DynamicArray(IDispatch* value) noexcept {
    return TakeObject(value, state.dynamicArray);
}
STDMETHODIMP RecordInfo::get_FileName(BSTR* result) noexcept {
    return GiveText(state.fileName, result);
}
STDMETHODIMP RecordInfo::put_FileName(BSTR value) noexcept {
    return TakeText(value, state.fileName);
}
STDMETHODIMP RecordInfo::get_RecNo(BSTR* result) noexcept {
    return GiveText(state.recNo, result);
}
STDMETHODIMP RecordInfo::put_RecNo(BSTR value) noexcept {
    return TakeText(value, state.recNo);
}
STDMETHODIMP RecordInfo::get_IsRead(VARIANT_BOOL* result) noexcept {
    return GiveFlag(state.isRead, result);
}
STDMETHODIMP RecordInfo::put_IsRead(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, state.isRead);
}
STDMETHODIMP RecordInfo::get_IsNew(VARIANT_BOOL* result) noexcept {
    return GiveFlag(state.isNew, result);
}
STDMETHODIMP RecordInfo::put_IsNew(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, state.isNew);
}
STDMETHODIMP RecordInfo::get_IsChanged(VARIANT_BOOL* result) noexcept {
    return GiveFlag(state.isChanged, result);
}
STDMETHODIMP RecordInfo::put_IsChanged(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, state.isChanged);
}
STDMETHODIMP RecordInfo::get_ReadType(short* result) noexcept {
    return GiveNumber(state.readType, result);
}
STDMETHODIMP RecordInfo::put_ReadType(short value) noexcept {
    return TakeNumber(value, state.readType);
}
STDMETHODIMP RecordInfo::get_SelectList(IDispatch** result) noexcept {
    return GiveObject(state.selectList, result);
}
STDMETHODIMP RecordInfo::putref_SelectList(IDispatch* value) noexcept {
    return TakeObject(value, state.selectList);
}
STDMETHODIMP RecordInfo::get_SelectListProcessed(VARIANT_BOOL* result) noexcept {
    return GiveFlag(state.selectListProcessed, result);
}
STDMETHODIMP RecordInfo::put_SelectListProcessed(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, state.selectListProcessed);
}
STDMETHODIMP RecordInfo::get_ErrorList(IDispatch** result) noexcept {
    return GiveObject(state.errorList, result);
}
STDMETHODIMP RecordInfo::putref_ErrorList(IDispatch* value) noexcept {
    return TakeObject(value, state.errorList);
}
STDMETHODIMP RecordInfo::get_MandatoryList(IDispatch** result) noexcept {
    return GiveObject(state.mandatoryList, result);
}
STDMETHODIMP RecordInfo::putref_MandatoryList(IDispatch* value) noexcept {
    return TakeObject(value, state.mandatoryList);
}

STDMETHODIMP RecordInfo::get_Session(BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Text session;
        Ignoring([&] { session = ThreadRegistry::Current().GetKeyFieldSession(state.keyId); });
        out = TextView(session);
    });
}

STDMETHODIMP RecordInfo::get_FileVar(IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] {
            ThreadRegistry& registry = ThreadRegistry::Current();
            const auto engine = registry.engine(Lower(registry.GetKeyFieldSession(state.keyId)));
            const Bstr fileName(state.fileName);
            ComPtr<IDispatch> fileVar;
            CallOut([&] { return engine->OpenFileVar(fileName.get(), fileVar.put()); });
            out = std::move(fileVar);
        });
    });
}

}  // namespace kel::engine
