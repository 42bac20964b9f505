// A client's handle on one named session, and the source of the session's events.
#pragma once

#include "automation/connection_point.h"
#include "kelEngine.h"
#include "kelSDK.h"

namespace kel::registry {

// Owns no database state: nearly every member forwards to the session's engine, which is looked up
// by name at every call. The engine lives as long as the callback object, not as long as its
// registration. A missing engine is error 381; so is a session that was renamed, until an engine
// exists under the new name.
class SessionCallBack final : public automation::EventSource<kelSessionCallBack,
                                                             _kelSessionCallBack,
                                                             __kelSessionCallBack> {
public:
    SessionCallBack();

    // Creates the session's engine unless one is registered under its name. Run by the root object
    // after SetSessionName. Throws 3 (SessionNameMissing) for an empty name.
    void Init();

    STDMETHODIMP get_OsType(short* result) noexcept override;
    STDMETHODIMP put_OsType(short value) noexcept override;
    STDMETHODIMP get_IsConnected(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Connect(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Disconnect() noexcept override;
    STDMETHODIMP get_CommonValue(BSTR commonName, VARIANT* result) noexcept override;
    STDMETHODIMP put_CommonValue(BSTR commonName, VARIANT value) noexcept override;
    STDMETHODIMP get_CommonObject(BSTR commonName, IDispatch** result) noexcept override;
    STDMETHODIMP putref_CommonObject(BSTR commonName, IDispatch** value) noexcept override;
    STDMETHODIMP get_Tools(_kelTools** result) noexcept override;
    STDMETHODIMP get_SessionName(BSTR* result) noexcept override;
    STDMETHODIMP get_AutoUpdateOk(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_AutoUpdateOk(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP SetSessionName(BSTR session) noexcept override;
    STDMETHODIMP SessionConnection() noexcept override;
    STDMETHODIMP SessionConnectionFailed(BSTR errMsg) noexcept override;
    STDMETHODIMP SessionDisconnect() noexcept override;
    STDMETHODIMP GetPropertyValue(BSTR fieldName, BSTR* result) noexcept override;
    STDMETHODIMP get_ConnectionFailed(VARIANT_BOOL* result) noexcept override;

private:
    // Identifiers of the events; published, never renumber.
    enum class Event : DISPID { kConnection = 1, kConnectionFailed, kDisconnect, kPropertyValue };

    ~SessionCallBack() override = default;
    void terminate() noexcept override;

    // Runs `call` with the session's engine; its error comes out as the engine raised it.
    template <typename Call>
    void forward(Call&& call);
    // Forwards a getter and answers its value.
    template <typename T>
    HRESULT forwardGet(HRESULT (STDMETHODCALLTYPE _kelDBMS::*getter)(T*), T* result) noexcept;

    automation::Text sessionName_;
    automation::Text sessionKey_;  // lower case
};

}  // namespace kel::registry
