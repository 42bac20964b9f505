// A foreign automation object with nothing but a default property, which may fail or throw.
#pragma once

#include "automation/plain_object.h"
#include "tests/support/values.h"

namespace kel::tests {

class Foreign final : public automation::PlainObject<IDispatch> {
public:
    static constexpr HRESULT kThrows = E_UNEXPECTED;

    static ComPtr<Foreign> Make(HRESULT code, Variant value) {
        const auto made = ComPtr<Foreign>::Adopt(new Foreign());
        made->code_ = code;
        made->value_ = std::move(value);
        return made;
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
        DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*, UINT*) override {
        if (code_ == kThrows) {
            throw 17;
        }
        if (result != nullptr) {
            *result = Variant(value_.get()).detach();
        }
        return code_;
    }

private:
    ~Foreign() override = default;

    HRESULT code_ = S_OK;
    Variant value_;
};

}  // namespace kel::tests
