// Automation objects without members: what a back-end hands out to have it handed back.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <utility>

#include "automation/com_ptr.h"
#include "automation/plain_object.h"

namespace kel::automation {

// An object that carries a Content for the module that made it and nothing for anybody else.
//   Content::kIid  an identifier of the module's own, by which it knows its objects again
template <typename Content>
class OpaqueObject final : public PlainObject<IDispatch> {
public:
    template <typename... Arguments>
    explicit OpaqueObject(Arguments&&... arguments)
        : content{std::forward<Arguments>(arguments)...} {}

    // The object behind a reference when it is one of these, with a reference; else empty.
    static ComPtr<OpaqueObject> From(IUnknown* object) noexcept {
        void* found = nullptr;
        if (object == nullptr || FAILED(object->QueryInterface(Content::kIid, &found))) {
            return {};
        }
        return ComPtr<OpaqueObject>::Adopt(
            static_cast<OpaqueObject*>(static_cast<IDispatch*>(found)));
    }

    Content content;

    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        if (count == nullptr) {
            return E_POINTER;
        }
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept override {
        if (info == nullptr) {
            return E_POINTER;
        }
        *info = nullptr;
        return E_NOTIMPL;
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override {
        return DISP_E_UNKNOWNNAME;
    }
    STDMETHODIMP Invoke(
        DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override {
        return DISP_E_MEMBERNOTFOUND;
    }

private:
    ~OpaqueObject() override = default;

    bool answers(REFIID iid) const noexcept override {
        return IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, Content::kIid);
    }
};

}  // namespace kel::automation
