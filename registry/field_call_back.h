// The event source of one key field.
#pragma once

#include "automation/connection_point.h"
#include "kelSDK.h"

namespace kel::registry {

// Held by every control of the key field. The engine and the root object never raise events
// themselves: they call the Fld members, and each of those raises exactly one event, synchronously.
// No member raises an error.
class FieldCallBack final
    : public automation::EventSource<kelFieldCallBack, _kelFieldCallBack, __kelFieldCallBack> {
public:
    FieldCallBack();

    STDMETHODIMP get_SessionName(BSTR* result) noexcept override;
    STDMETHODIMP get_IsInitalized(fcbInitalized* result) noexcept override;
    STDMETHODIMP get_KeyId(BSTR* result) noexcept override;
    STDMETHODIMP SetKeyId(BSTR keyId) noexcept override;
    STDMETHODIMP get_RefreshControlName(BSTR* result) noexcept override;
    STDMETHODIMP FldRefresh(BSTR controlName, BSTR amc, BSTR vmc, BSTR smc) noexcept override;
    STDMETHODIMP FldDelete(BSTR recNo) noexcept override;
    STDMETHODIMP FldClear() noexcept override;
    STDMETHODIMP
    FldReadValid(BSTR recNo, VARIANT_BOOL isValid, short errorFlag) noexcept override;
    STDMETHODIMP FldConnected() noexcept override;
    STDMETHODIMP FldDisconnected() noexcept override;
    STDMETHODIMP FldCommonValueChanged(BSTR commonName) noexcept override;
    STDMETHODIMP FldSessionChanged(BSTR newSessionName) noexcept override;
    STDMETHODIMP FldKeyFieldChanged(BSTR newKeyId) noexcept override;

private:
    // Identifiers of the events; published, never renumber.
    enum class Event : DISPID {
        kRefresh = 1,
        kClear,
        kDeleted,
        kReadValid,
        kConnected,
        kDisconnected,
        kCommonValueChanged,
        kSessionChanged,
        kKeyFieldChanged,
    };

    ~FieldCallBack() override = default;
    void terminate() noexcept override;

    // Raises an event whose arguments are texts.
    template <typename... Texts>
    HRESULT raiseTexts(Event event, Texts... texts) noexcept;

    automation::Text keyId_;
    automation::Text refreshControlName_;  // "" outside a Refresh event
};

}  // namespace kel::registry
