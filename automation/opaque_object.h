// Automation objects without members: what a back-end hands out to have it handed back.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <utility>

#include "automation/com_ptr.h"
#include "automation/module.h"

namespace kel::automation {

// An object that carries a Content for the module that made it and nothing for anybody else.
//   Content::kIid  an identifier of the module's own, by which it knows its objects again
template <typename Content>
class OpaqueObject final : public IDispatch {
public:
    template <typename... Arguments>
    explicit OpaqueObject(Arguments&&... arguments)
        : content{std::forward<Arguments>(arguments)...} {
        ModuleLocks::add();
    }
    OpaqueObject(const OpaqueObject&) = delete;
    OpaqueObject& operator=(const OpaqueObject&) = delete;

    // The object behind a reference when it is one of these, with a reference; else empty.
    static ComPtr<OpaqueObject> From(IUnknown* object) noexcept {
        void* found = nullptr;
        if (object == nullptr || FAILED(object->QueryInterface(Content::kIid, &found))) {
            return {};
        }
        return ComPtr<OpaqueObject>::Adopt(static_cast<OpaqueObject*>(found));
    }

    Content content;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
                           IsEqualIID(iid, Content::kIid);
        *object = known ? this : nullptr;
        if (!known) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override {
        return static_cast<ULONG>(InterlockedIncrement(&references_));
    }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        const LONG left = InterlockedDecrement(&references_);
        if (left == 0) {
            delete this;
        }
        return static_cast<ULONG>(left);
    }
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
    ~OpaqueObject() { ModuleLocks::remove(); }

    LONG references_ = 1;
};

}  // namespace kel::automation
