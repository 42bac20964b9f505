// An automation object that tells when it is released for the last time.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <functional>

#include "tests/support/values.h"

namespace kel::tests {

class Witness final : public IDispatch {
public:
    // Names of the objects gone, in the order of their going.
    class Log {
    public:
        void add(TextView name) { names_ += (names_.empty() ? L"" : L" ") + Text(name); }
        Text take() { return std::exchange(names_, {}); }

    private:
        Text names_;
    };

    static ComPtr<Witness> Make(TextView name, Log& log) {
        return ComPtr<Witness>::Adopt(new Witness(name, log));
    }
    // The only reference, in a variant.
    static Variant Value(TextView name, Log& log) { return Variant(Make(name, log).get()); }

    std::function<void()> onRelease;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch);
        *object = known ? this : nullptr;
        if (known) {
            AddRef();
        }
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override {
        return DISP_E_UNKNOWNNAME;
    }
    STDMETHODIMP Invoke(
        DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override {
        return DISP_E_MEMBERNOTFOUND;
    }

private:
    Witness(TextView name, Log& log) : name_(name), log_(log) {}
    ~Witness() {
        log_.add(name_);
        if (onRelease) {
            onRelease();
        }
    }

    ULONG references_ = 1;
    const Text name_;
    Log& log_;
};

}  // namespace kel::tests
