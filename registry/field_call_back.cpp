// The callback of a key field: events to its controls.
#include "registry/field_call_back.h"

#include "automation/stored_property.h"
#include "core/log.h"
#include "registry/thread_registry.h"

namespace kel::registry {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

FieldCallBack::FieldCallBack() {
    core::WriteLog(L"kelFieldCallback Initalize", core::kTraceLevel);
}

void FieldCallBack::terminate() noexcept {
    Ignoring([&] { core::WriteLog(L"kelFieldCallback Terminate " + keyId_, core::kTraceLevel); });
}

STDMETHODIMP FieldCallBack::get_SessionName(BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = TextView(ThreadRegistry::Current().GetKeyFieldSession(keyId_));
    });
}

STDMETHODIMP FieldCallBack::get_IsInitalized(fcbInitalized* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        ThreadRegistry& registry = ThreadRegistry::Current();
        // The key counts, not the object: another callback may stand under this name by now.
        if (!registry.FieldCallbackList().KeyExists(Lower(keyId_))) {
            out = fcbDestoried;
        } else {
            out = registry.GetKeyFieldSession(keyId_).empty() ? fcbInvalid : fcbValid;
        }
    });
}

STDMETHODIMP FieldCallBack::get_KeyId(BSTR* result) noexcept {
    return GiveText(keyId_, result);
}

STDMETHODIMP FieldCallBack::SetKeyId(BSTR keyId) noexcept {
    return TakeText(keyId, keyId_);
}

STDMETHODIMP FieldCallBack::get_RefreshControlName(BSTR* result) noexcept {
    return GiveText(refreshControlName_, result);
}

template <typename... Texts>
HRESULT FieldCallBack::raiseTexts(Event event, Texts... texts) noexcept {
    return ComMethod([&] { raise(static_cast<DISPID>(event), LentText(texts)...); });
}

STDMETHODIMP
FieldCallBack::FldRefresh(BSTR controlName, BSTR amc, BSTR vmc, BSTR smc) noexcept {
    return ComMethod([&] {
        const ComPtr<_kelFieldCallBack> keep(self());
        refreshControlName_ = View(controlName);
        raise(static_cast<DISPID>(Event::kRefresh), LentText(amc), LentText(vmc), LentText(smc));
        refreshControlName_.clear();
    });
}

STDMETHODIMP FieldCallBack::FldDelete(BSTR recNo) noexcept {
    return raiseTexts(Event::kDeleted, recNo);
}

STDMETHODIMP FieldCallBack::FldClear() noexcept {
    return raiseTexts(Event::kClear);
}

STDMETHODIMP
FieldCallBack::FldReadValid(BSTR recNo, VARIANT_BOOL isValid, short errorFlag) noexcept {
    return ComMethod([&] {
        raise(static_cast<DISPID>(Event::kReadValid),
              LentText(recNo),
              Variant(isValid != VARIANT_FALSE),
              Variant(errorFlag));
    });
}

STDMETHODIMP FieldCallBack::FldConnected() noexcept {
    return raiseTexts(Event::kConnected);
}

STDMETHODIMP FieldCallBack::FldDisconnected() noexcept {
    return raiseTexts(Event::kDisconnected);
}

STDMETHODIMP FieldCallBack::FldCommonValueChanged(BSTR commonName) noexcept {
    return raiseTexts(Event::kCommonValueChanged, commonName);
}

STDMETHODIMP FieldCallBack::FldSessionChanged(BSTR newSessionName) noexcept {
    return raiseTexts(Event::kSessionChanged, newSessionName);
}

STDMETHODIMP FieldCallBack::FldKeyFieldChanged(BSTR newKeyId) noexcept {
    return raiseTexts(Event::kKeyFieldChanged, newKeyId);
}

}  // namespace kel::registry
