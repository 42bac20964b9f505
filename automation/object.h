// The common part of every automation object: IUnknown, IDispatch, ISupportErrorInfo and
// IProvideClassInfo2. A class names its coclass and its interfaces once, as template arguments.
#pragma once

#include <windows.h>

#include <ocidl.h>

#include "automation/com_method.h"
#include "automation/dispatch.h"
#include "automation/module.h"
#include "automation/type_library.h"

namespace kel::automation {

// Base of a class with one dual interface.
//   Coclass  the class in the type library, for IProvideClassInfo
//   Dual     the dual interface, which the derived class implements
//   More     further interfaces that derive from IUnknown
// Objects begin with one reference and belong to the thread that made them.
template <typename Coclass, typename Dual, typename... More>
class Object : public Dual, public ISupportErrorInfo, public IProvideClassInfo2, public More... {
public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = find(iid);
        if (*object == nullptr) {
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
            end();
        }
        return static_cast<ULONG>(left);
    }

    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        if (count == nullptr) {
            return E_POINTER;
        }
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) noexcept override {
        return DispatchTypeInfo(__uuidof(Dual), index, info);
    }
    STDMETHODIMP
    GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept override {
        return DispatchNames(TableOf<Dual>(), riid, names, count, ids);
    }
    STDMETHODIMP Invoke(DISPID id,
                        REFIID riid,
                        LCID lcid,
                        WORD flags,
                        DISPPARAMS* params,
                        VARIANT* result,
                        EXCEPINFO* exception,
                        UINT* argumentIndex) noexcept override {
        return DispatchInvoke(TableOf<Dual>(),
                              self(),
                              id,
                              riid,
                              lcid,
                              flags,
                              params,
                              result,
                              exception,
                              argumentIndex);
    }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) noexcept override {
        return IsEqualIID(iid, __uuidof(Dual)) || IsEqualIID(iid, IID_IDispatch) ? S_OK : S_FALSE;
    }

    STDMETHODIMP GetClassInfo(ITypeInfo** info) noexcept override {
        return DispatchTypeInfo(__uuidof(Coclass), 0, info);
    }
    STDMETHODIMP GetGUID(DWORD kind, GUID* guid) noexcept override {
        if (guid == nullptr) {
            return E_POINTER;
        }
        *guid = GUID_NULL;
        const IID* source = sourceInterface();
        if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID || source == nullptr) {
            return E_INVALIDARG;
        }
        *guid = *source;
        return S_OK;
    }

protected:
    Object() noexcept { ModuleLocks::add(); }
    virtual ~Object() { ModuleLocks::remove(); }

    // Runs once when the last reference goes, while the object still works: it may raise events and
    // be called back. The object is destroyed afterwards, when nobody took a new reference.
    virtual void terminate() noexcept {}

    // Identifier of the event interface, when the class has one.
    virtual const IID* sourceInterface() const noexcept { return nullptr; }

    // The object as its dual interface, without a new reference.
    Dual* self() noexcept { return this; }

private:
    void* find(REFIID iid) noexcept {
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
            IsEqualIID(iid, __uuidof(Dual))) {
            return static_cast<Dual*>(this);
        }
        if (IsEqualIID(iid, IID_ISupportErrorInfo)) {
            return static_cast<ISupportErrorInfo*>(this);
        }
        if (IsEqualIID(iid, IID_IProvideClassInfo) || IsEqualIID(iid, IID_IProvideClassInfo2)) {
            return static_cast<IProvideClassInfo2*>(this);
        }
        void* found = nullptr;
        ((IsEqualIID(iid, __uuidof(More)) ? (found = static_cast<More*>(this)) : nullptr), ...);
        return found;
    }

    void end() noexcept {
        if (!terminated_) {
            terminated_ = true;
            references_ = 1;
            terminate();
            if (InterlockedDecrement(&references_) != 0) {
                return;  // somebody kept it; its release comes here again
            }
        }
        delete this;
    }

    LONG references_ = 1;
    bool terminated_ = false;
};

// Makes an object of a class; whatever its constructor throws comes out.
template <typename Class, typename... Arguments>
ComPtr<Class> Make(Arguments&&... arguments) {
    return ComPtr<Class>::Adopt(new Class(std::forward<Arguments>(arguments)...));
}

// The `create` of a ClassEntry.
template <typename Class>
HRESULT CreateInstance(REFIID iid, void** object) noexcept {
    return ComMethod([&] {
        const HRESULT code = Make<Class>()->QueryInterface(iid, object);
        if (FAILED(code)) {
            throw Error::FromCode(code);
        }
    });
}

}  // namespace kel::automation
