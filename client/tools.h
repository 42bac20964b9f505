// The tools object: database work by session and key field, for code without controls.
#pragma once

#include "automation/object.h"
#include "kelEngine.h"
#include "kelSDK.h"

namespace kel::client {

// Knows only the name of its session and looks the engine up at every call, so it never keeps an
// engine alive. Where a member's failure is raised, a missing engine is 10102 "Currently not
// connected" with the member as source; other errors come out as they were.
class Tools final : public automation::Object<kelTools, _kelTools> {
public:
    // An empty name leaves the object unbound.
    explicit Tools(automation::TextView session = {});

    STDMETHODIMP Connect(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Disconnect(VARIANT* result) noexcept override;
    STDMETHODIMP IsConnected(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP IsConnecting(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Extract(BSTR keyId, long amc, long vmc, long smc, BSTR* result) noexcept override;
    STDMETHODIMP
    Replace(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Insert(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Delete(BSTR keyId, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Locate(BSTR keyId,
                        BSTR search,
                        long* pos,
                        long amc,
                        long vmc,
                        BSTR sortBy,
                        VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP mvRead(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept override;
    STDMETHODIMP mvReadU(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept override;
    STDMETHODIMP mvWrite(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept override;
    STDMETHODIMP mvWriteU(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept override;
    STDMETHODIMP mvRelease(BSTR keyId) noexcept override;
    STDMETHODIMP
    Dcount(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept override;
    STDMETHODIMP
    Count(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept override;
    STDMETHODIMP ExecuteSelect(BSTR selectListName, BSTR sentence) noexcept override;
    STDMETHODIMP ReadNext(BSTR selectListName, BSTR* id, VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP CloseSelect(BSTR selectListName) noexcept override;
    STDMETHODIMP CallProg(BSTR progName,
                          VARIANT* arg1,
                          VARIANT* arg2,
                          VARIANT* arg3,
                          VARIANT* arg4,
                          VARIANT* arg5,
                          VARIANT* arg6,
                          VARIANT* arg7,
                          VARIANT* arg8,
                          VARIANT* arg9,
                          VARIANT* arg10,
                          VARIANT* arg11,
                          VARIANT* arg12) noexcept override;
    STDMETHODIMP Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept override;
    STDMETHODIMP Oconv(BSTR value, BSTR convert, BSTR* result) noexcept override;
    STDMETHODIMP Iconv(BSTR value, BSTR convert, BSTR* result) noexcept override;
    STDMETHODIMP mvIndex(BSTR text, BSTR part, short occurrence, long* result) noexcept override;
    STDMETHODIMP mvField(BSTR text, BSTR delimiter, short number, BSTR* result) noexcept override;
    STDMETHODIMP RQM(short seconds, VARIANT* result) noexcept override;
    STDMETHODIMP mvDate(long* result) noexcept override;
    STDMETHODIMP mvTime(long* result) noexcept override;
    STDMETHODIMP ProcessCorrelative(BSTR keyId,
                                    BSTR correlative,
                                    BSTR value,
                                    BSTR key,
                                    short cnt,
                                    BSTR* result) noexcept override;
    STDMETHODIMP ConnectionFailed(VARIANT_BOOL* result) noexcept override;

private:
    ~Tools() override = default;

    // Calls the engine; its failure comes out as it was, a missing engine as 381.
    template <typename Call>
    void callEngine(Call&& call) const;
    template <typename Call>
    void callElements(Call&& call) const;
    // Calls the engine; a missing one is "Currently not connected" from `member`.
    template <typename Call>
    HRESULT translated(const wchar_t* member, Call&& call) const noexcept;
    // A truth value of the engine; False for an unbound object and for any failure.
    HRESULT state(HRESULT (STDMETHODCALLTYPE _kelDBMS::*getter)(VARIANT_BOOL*),
                  VARIANT_BOOL* result) const noexcept;
    HRESULT readRecord(
        const wchar_t* member, BSTR keyId, BSTR recordNumber, BSTR fileName, bool readU) noexcept;
    HRESULT writeRecord(
        const wchar_t* member, BSTR keyId, BSTR recordNumber, BSTR fileName, bool writeU) noexcept;

    automation::Text sessionName_;
    automation::Text sessionKey_;  // lower case
};

}  // namespace kel::client
