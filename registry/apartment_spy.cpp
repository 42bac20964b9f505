#include "registry/apartment_spy.h"

#include <windows.h>

#include <objbase.h>
#include <objidl.h>

#include "automation/com_ptr.h"
#include "automation/error.h"
#include "automation/module.h"

namespace kel::registry {
namespace {

using automation::ComPtr;
using automation::ModuleLocks;

// Registered from the thread's first use until its apartment is gone. COM calls into the module
// during that time, so the spy is a lock on it.
class ApartmentSpy final : public IInitializeSpy {
public:
    explicit ApartmentSpy(void (*atEnd)() noexcept) noexcept : atEnd_(atEnd) { ModuleLocks::add(); }
    ApartmentSpy(const ApartmentSpy&) = delete;
    ApartmentSpy& operator=(const ApartmentSpy&) = delete;

    void registerFor() { automation::Check(CoRegisterInitializeSpy(this, &cookie_)); }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        const bool known =
            IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, __uuidof(IInitializeSpy));
        *object = known ? static_cast<IInitializeSpy*>(this) : nullptr;
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

    STDMETHODIMP PreInitialize(DWORD, DWORD) noexcept override { return S_OK; }
    STDMETHODIMP PostInitialize(HRESULT result, DWORD, DWORD) noexcept override { return result; }
    STDMETHODIMP PreUninitialize(DWORD count) noexcept override {
        if (count == 1 && !ended_) {
            ended_ = true;
            atEnd_();
        }
        return S_OK;
    }
    STDMETHODIMP PostUninitialize(DWORD count) noexcept override {
        if (count == 0) {
            const ComPtr<IInitializeSpy> keep(this);
            CoRevokeInitializeSpy(cookie_);
        }
        return S_OK;
    }

private:
    ~ApartmentSpy() { ModuleLocks::remove(); }

    LONG references_ = 1;
    void (*const atEnd_)() noexcept;
    ULARGE_INTEGER cookie_{};
    bool ended_ = false;
};

}  // namespace

void WatchApartment(void (*atEnd)() noexcept) {
    const auto spy = ComPtr<ApartmentSpy>::Adopt(new ApartmentSpy(atEnd));
    spy->registerFor();
}

}  // namespace kel::registry
