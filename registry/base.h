// The root object: what client programs create first.
#pragma once

#include "automation/object.h"
#include "kelSDK.h"

namespace kel::registry {

// Hands out callbacks and ties key fields to sessions and files. All of it is the thread's state
// (ThreadRegistry): every root object of a thread sees the same. No member raises an error: a step
// that fails is passed over, and members with a result answer no object.
class Base final : public automation::Object<kelBase, _kelBase> {
public:
    Base();

    STDMETHODIMP GetFieldCallBack(BSTR keyField, _kelFieldCallBack** result) noexcept override;
    STDMETHODIMP RemoveFieldCallBack(BSTR keyField) noexcept override;
    STDMETHODIMP RenameFieldCallback(BSTR oldKeyId, BSTR newKeyId) noexcept override;
    STDMETHODIMP RefreshFieldCallback(BSTR keyField) noexcept override;
    STDMETHODIMP SetKeyFieldSession(BSTR keyField, BSTR session) noexcept override;
    STDMETHODIMP SetKeyFieldFileName(BSTR keyField, BSTR sFileName) noexcept override;
    STDMETHODIMP GetSessionCallBack(BSTR session, _kelSessionCallBack** result) noexcept override;
    STDMETHODIMP RemoveSessionCallback(BSTR session) noexcept override;
    STDMETHODIMP RenameSessionCallback(BSTR oldSessionName, BSTR newSessionName) noexcept override;
    STDMETHODIMP GetSessionNameList(_Collection** result) noexcept override;
    STDMETHODIMP GetKeyFieldList(_Collection** result) noexcept override;
    STDMETHODIMP
    DictNameList(BSTR keyField, BSTR fileName, _Collection** result) noexcept override;
    STDMETHODIMP FileNameList(BSTR sSessionName, _Collection** result) noexcept override;
    STDMETHODIMP ClassId(BSTR* result) noexcept override;
    STDMETHODIMP Version(BSTR* result) noexcept override;

private:
    ~Base() override = default;
    void terminate() noexcept override;

    automation::Text classId_;
};

}  // namespace kel::registry
