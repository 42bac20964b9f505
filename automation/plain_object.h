// The common part of objects with one interface besides IUnknown: factories, enumerators, spies.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include "automation/module.h"

namespace kel::automation {

// Counts references, from one, and answers for IUnknown and Interface and nothing else: an object
// that claims more than it has (IMarshal above all) cannot be used from another apartment. Keeps
// the module loaded.
template <typename Interface>
class PlainObject : public Interface {
public:
    PlainObject(const PlainObject&) = delete;
    PlainObject& operator=(const PlainObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        const bool known = IsEqualIID(iid, IID_IUnknown) || answers(iid);
        *object = known ? static_cast<Interface*>(this) : nullptr;
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

protected:
    PlainObject() noexcept { ModuleLocks::add(); }
    virtual ~PlainObject() { ModuleLocks::remove(); }

    // Whether the object, seen as Interface, is what the identifier names.
    virtual bool answers(REFIID iid) const noexcept { return IsEqualIID(iid, __uuidof(Interface)); }

private:
    LONG references_ = 1;
};

}  // namespace kel::automation
