// The state of one key field's record, as clients see it and as the engine works on it.
#pragma once

#include "automation/object.h"
#include "kelSDK.h"

namespace kel::engine {

using automation::ComPtr;
using automation::Text;
using automation::TextView;

// What is stored. The buffer and the select list are objects of the back-end, never looked into.
struct RecordState {
    Text keyId;  // as first given
    ComPtr<IDispatch> dynamicArray;
    Text fileName;
    Text recNo;
    bool isRead = false;     // a record was read into the buffer
    bool isNew = false;      // the buffer holds a new record
    bool isChanged = false;  // since it was read or made
    short readType = 0;
    ComPtr<IDispatch> selectList;
    bool selectListProcessed = false;  // a select list is active
    ComPtr<IDispatch> errorList;
    ComPtr<IDispatch> mandatoryList;
};

// One per key field of a session; made and owned by the session's engine. A client that keeps one
// past the disconnection keeps its values, but the engine no longer knows it.
class RecordInfo final : public automation::Object<kelInfo, _kelInfo> {
public:
    explicit RecordInfo(TextView keyId);

    // The engine's own access. Whoever calls out while working on it holds a reference.
    RecordState state;

    STDMETHODIMP get_KeyId(BSTR* result) noexcept override;
    STDMETHODIMP put_KeyId(BSTR value) noexcept override;
    STDMETHODIMP get_DynamicArray(IDispatch** result) noexcept override;
    STDMETHODIMP putref_DynamicArray(IDispatch* value) noexcept override;
    STDMETHODIMP get_FileName(BSTR* result) noexcept override;
    STDMETHODIMP put_FileName(BSTR value) noexcept override;
    STDMETHODIMP get_RecNo(BSTR* result) noexcept override;
    STDMETHODIMP put_RecNo(BSTR value) noexcept override;
    STDMETHODIMP get_IsRead(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_IsRead(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP get_IsNew(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_IsNew(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP get_IsChanged(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_IsChanged(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP get_ReadType(short* result) noexcept override;
    STDMETHODIMP put_ReadType(short value) noexcept override;
    STDMETHODIMP get_SelectList(IDispatch** result) noexcept override;
    STDMETHODIMP putref_SelectList(IDispatch* value) noexcept override;
    STDMETHODIMP get_SelectListProcessed(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_SelectListProcessed(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP get_ErrorList(IDispatch** result) noexcept override;
    STDMETHODIMP putref_ErrorList(IDispatch* value) noexcept override;
    STDMETHODIMP get_MandatoryList(IDispatch** result) noexcept override;
    STDMETHODIMP putref_MandatoryList(IDispatch* value) noexcept override;
    // Never fail: "" and Nothing stand for no session, no engine, a file that is not open.
    STDMETHODIMP get_Session(BSTR* result) noexcept override;
    STDMETHODIMP get_FileVar(IDispatch** result) noexcept override;

private:
    ~RecordInfo() override = default;
    void terminate() noexcept override;
};

}  // namespace kel::engine
