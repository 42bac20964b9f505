// The platform's notice that an apartment ends.
#include "registry/apartment_spy.h"

#include <windows.h>

#include <objbase.h>
#include <objidl.h>

#include "automation/com_ptr.h"
#include "automation/error.h"
#include "automation/plain_object.h"

namespace kel::registry {
namespace {

using automation::ComPtr;
using automation::PlainObject;

// Registered from the thread's first use until its apartment is gone. COM calls into the module
// during that time, so the spy is a lock on it.
class ApartmentSpy final : public PlainObject<IInitializeSpy> {
public:
    explicit ApartmentSpy(void (*atEnd)() noexcept) noexcept : atEnd_(atEnd) {}

    void registerFor() { automation::Check(CoRegisterInitializeSpy(this, &cookie_)); }

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
    ~ApartmentSpy() override = default;

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
