// A small automation object whose members do what a test wants. Its interface is borrowed: any dual
// interface of the type library would do.
#pragma once

#include <functional>

#include "automation/object.h"
#include "kelSDK.h"

namespace kel::tests {

// The interface's members for classes that care about other things.
template <typename Base>
class ProbeMembers : public Base {
public:
    using Base::self;

    STDMETHODIMP Add(VARIANT, VARIANT, VARIANT, VARIANT) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP get_Count(long* result) noexcept override {
        return automation::ComMethod([&] {
            automation::Out out{result};
            out = count ? count() : 0L;
        });
    }
    STDMETHODIMP get_Item(VARIANT, VARIANT* result) noexcept override {
        return automation::ComMethod([&] { automation::Out out{result}; });
    }
    STDMETHODIMP Remove(VARIANT) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP get__NewEnum(IUnknown** result) noexcept override {  // NOLINT: published name
        *result = this->self();
        this->AddRef();
        return S_OK;
    }

    std::function<long()> count;

protected:
    ProbeMembers() = default;
    ~ProbeMembers() override = default;
};

class Probe final : public ProbeMembers<automation::Object<::Collection, _Collection>> {
public:
    // Runs inside terminate() and the destructor.
    std::function<void(Probe&)> onTerminate;
    std::function<void()> onDestroy;

protected:
    ~Probe() override {
        if (onDestroy) {
            onDestroy();
        }
    }
    void terminate() noexcept override {
        if (onTerminate) {
            onTerminate(*this);
        }
    }
};

}  // namespace kel::tests
