// The tools object: database work by session and key field, for code without controls.
#pragma once

#include "automation/object.h"
#include "kelEngine.h"
#include "kelSDK.h"

namespace kel::client {

// Knows only the name of its session and looks the engine up at every call, so it never keeps an
// engine alive. "Currently not connected" (10102, with the member as source) therefore says that
// there is no such session; whether it is connected is for the engine to answer.
//
// Members that raise their failures raise that one in place of 381, whoever raised it, and every
// other as it came: the number decides, and a back-end's 381 is taken for it as well. Members that
// raise none say so below.
//
// `keyId` names the record buffer that a member works on, in any case; an empty one is
// kObjectError + 1, "No Key Id". `amc`, `vmc` and `smc` are attribute, value and subvalue from 1, 0
// for the whole enclosing level; beyond 16 bits they are 6 (overflow). Texts that come back belong
// to the caller. Answers are False, 0 or "" after a failure. One thread: that of the session.
class Tools final : public automation::Object<kelTools, _kelTools> {
public:
    // An empty name leaves the object unbound.
    explicit Tools(automation::TextView session = {});

    // Without a name Connect answers False; without an engine it raises 381 itself. A connection
    // that fails is False, too, and told by the session's event. Disconnect never fails and gives
    // Empty; the states answer False to every failure.
    STDMETHODIMP Connect(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Disconnect(VARIANT* result) noexcept override;
    STDMETHODIMP IsConnected(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP IsConnecting(VARIANT_BOOL* result) noexcept override;

    // Elements of the buffer. Changes mark the record changed and refresh the key field's controls,
    // unless updates are held back. Extract of what the back-end refuses is "".
    STDMETHODIMP Extract(BSTR keyId, long amc, long vmc, long smc, BSTR* result) noexcept override;
    STDMETHODIMP
    Replace(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Insert(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Delete(BSTR keyId, long amc, long vmc, long smc) noexcept override;
    // `pos` is where `search` stands, or where it belongs in the order `sortBy`: as the back-end
    // leaves it.
    STDMETHODIMP Locate(BSTR keyId,
                        BSTR search,
                        long* pos,
                        long amc,
                        long vmc,
                        BSTR sortBy,
                        VARIANT_BOOL* result) noexcept override;

    // The record and its buffer. Without `fileName` the buffer's own file is meant, then the key
    // field's. What a read found is not told: missing, locked and refused records are not failures,
    // and the controls hear of them. The U forms take or keep the record's lock. mvRelease never
    // fails.
    STDMETHODIMP mvRead(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept override;
    STDMETHODIMP mvReadU(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept override;
    STDMETHODIMP mvWrite(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept override;
    STDMETHODIMP mvWriteU(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept override;
    STDMETHODIMP mvRelease(BSTR keyId) noexcept override;

    // Parts of an element; 0 for what the back-end refuses. Count is one less, so -1 for no part,
    // and fails as Dcount does.
    STDMETHODIMP
    Dcount(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept override;
    STDMETHODIMP
    Count(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept override;

    // Select lists: each key field carries one at most, so the list's name is a key field's. A
    // selection that fails leaves no list, and reading ends at any failure. CloseSelect never
    // fails.
    STDMETHODIMP ExecuteSelect(BSTR selectListName, BSTR sentence) noexcept override;
    STDMETHODIMP ReadNext(BSTR selectListName, BSTR* id, VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP CloseSelect(BSTR selectListName) noexcept override;

    // Calls a stored program with the arguments before the first missing one; what it leaves in
    // them reaches the caller's variables, in their own types.
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
    // `capture` receives what the sentence printed, `returning` its codes; a null `returning` drops
    // them. What the back-end refuses is no failure.
    STDMETHODIMP Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept override;
    // Oconv gives "" for what does not convert; Iconv raises it.
    STDMETHODIMP Oconv(BSTR value, BSTR convert, BSTR* result) noexcept override;
    STDMETHODIMP Iconv(BSTR value, BSTR convert, BSTR* result) noexcept override;

    // Utilities (utilities.h). RQM waits at least a second and gives Empty.
    STDMETHODIMP mvIndex(BSTR text, BSTR part, short occurrence, long* result) noexcept override;
    STDMETHODIMP mvField(BSTR text, BSTR delimiter, short number, BSTR* result) noexcept override;
    STDMETHODIMP RQM(short seconds, VARIANT* result) noexcept override;
    STDMETHODIMP mvDate(long* result) noexcept override;
    STDMETHODIMP mvTime(long* result) noexcept override;

    // What a correlative makes of `value` seen as the value number `cnt` of record `key`, "" for
    // the record in the buffer. Without a correlative that is the value.
    STDMETHODIMP ProcessCorrelative(BSTR keyId,
                                    BSTR correlative,
                                    BSTR value,
                                    BSTR key,
                                    short cnt,
                                    BSTR* result) noexcept override;
    // A state, as above; the last of the published order.
    STDMETHODIMP ConnectionFailed(VARIANT_BOOL* result) noexcept override;

private:
    ~Tools() override = default;

    // Calls the engine; its failure comes out as it was, a missing engine as 381.
    template <typename Call>
    void callEngine(Call&& call) const;
    template <typename Call>
    void callByKeyField(Call&& call) const;
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

    automation::Text sessionKey_;  // its name in lower case
};

}  // namespace kel::client
