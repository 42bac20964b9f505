// The owner of a VARIANT: copies, texts, objects.
#include "automation/variant.h"

#include <utility>

#include "automation/error.h"

namespace kel::automation {

Variant::Variant(const VARIANT& value) {
    Check(VariantCopy(&value_, const_cast<VARIANT*>(&value)));
}

Variant::Variant(TextView text) : Variant(Bstr(text)) {}

Variant::Variant(Bstr text) noexcept {
    V_VT(&value_) = VT_BSTR;
    V_BSTR(&value_) = text.detach();
}

Variant::Variant(IDispatch* shared) noexcept {
    V_VT(&value_) = VT_DISPATCH;
    V_DISPATCH(&value_) = ComPtr<IDispatch>(shared).detach();
}

Variant::Variant(short number) noexcept {
    V_VT(&value_) = VT_I2;
    V_I2(&value_) = number;
}

Variant::Variant(long number) noexcept {
    V_VT(&value_) = VT_I4;
    V_I4(&value_) = number;
}

Variant::Variant(bool flag) noexcept {
    V_VT(&value_) = VT_BOOL;
    V_BOOL(&value_) = flag ? VARIANT_TRUE : VARIANT_FALSE;
}

Variant Variant::Through(const VARIANT& value) {
    Variant result;
    Check(VariantCopyInd(&result.value_, const_cast<VARIANT*>(&value)));
    return result;
}

Variant Variant::Reference(BSTR* text) noexcept {
    Variant result;
    V_VT(&result.value_) = VT_BYREF | VT_BSTR;
    V_BSTRREF(&result.value_) = text;
    return result;
}

Variant Variant::Missing() noexcept {
    Variant result;
    V_VT(&result.value_) = VT_ERROR;
    V_ERROR(&result.value_) = DISP_E_PARAMNOTFOUND;
    return result;
}

Bstr Variant::text() && {
    if (V_VT(&value_) != VT_BSTR) {
        return std::as_const(*this).text();
    }
    const VARIANT raw = detach();
    return Bstr::Adopt(V_BSTR(&raw));
}

Bstr Variant::text() const& {
    if (V_VT(&value_) == VT_BSTR) {
        return Bstr(View(V_BSTR(&value_)));
    }
    Variant converted;
    if (FAILED(VariantChangeType(&converted.value_, borrowed(), VARIANT_ALPHABOOL, VT_BSTR))) {
        throw Error(kTypeMismatch);
    }
    const VARIANT raw = converted.detach();
    return Bstr::Adopt(V_BSTR(&raw));
}

bool Variant::boolean() const {
    Variant converted;
    if (FAILED(VariantChangeType(&converted.value_, borrowed(), 0, VT_BOOL))) {
        throw Error(kTypeMismatch);
    }
    return V_BOOL(&converted.value_) != VARIANT_FALSE;
}

bool IsMissing(const VARIANT* argument) noexcept {
    return argument == nullptr ||
           (V_VT(argument) == VT_ERROR && V_ERROR(argument) == DISP_E_PARAMNOTFOUND);
}

}  // namespace kel::automation
