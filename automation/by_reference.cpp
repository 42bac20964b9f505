// What a variant refers to, however deep, and storing a result there in the variable's own type.
#include "automation/by_reference.h"

#include <cstring>
#include <utility>

#include "automation/error.h"

namespace kel::automation {
namespace {

// A reference to a variant that is itself a reference is as far as honest callers go.
constexpr int kLongestChain = 4;

bool IsKnownScalar(VARTYPE type) noexcept {
    return type <= VT_UNKNOWN || (type >= VT_DECIMAL && type <= VT_UINT && type != 15);
}

// Size of a variable of a scalar type that owns nothing.
std::size_t SizeOf(VARTYPE type) noexcept {
    switch (type) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
            return 8;
        default:
            return 4;
    }
}

// Moves a value into a variable of its own type; what the variable held is released last, since
// that can run code of the caller.
void Store(void* variable, Variant& value) noexcept {
    VARIANT incoming = value.detach();
    const VARTYPE type = V_VT(&incoming);
    VARIANT old{};
    if (type == VT_BSTR || type == VT_DISPATCH || type == VT_UNKNOWN || (type & VT_ARRAY) != 0) {
        V_VT(&old) = type;
        V_BYREF(&old) = std::exchange(*static_cast<void**>(variable), V_BYREF(&incoming));
        VariantClear(&old);
    } else if (type == VT_DECIMAL) {
        auto* target = static_cast<DECIMAL*>(variable);
        const USHORT reserved = target->wReserved;  // the type, when the variable is in a variant
        *target = V_DECIMAL(&incoming);
        target->wReserved = reserved;
    } else {
        std::memcpy(variable, &V_I4(&incoming), SizeOf(type));
    }
}

}  // namespace

bool IsSound(const VARIANT& value) noexcept {
    const VARTYPE type = V_VT(&value);
    const VARTYPE base = type & VT_TYPEMASK;
    if ((type & ~(VT_TYPEMASK | VT_ARRAY | VT_BYREF)) != 0 ||
        !(IsKnownScalar(base) || (base == VT_VARIANT && (type & ~VT_TYPEMASK) != 0))) {
        return false;
    }
    return (type & VT_BYREF) == 0 || V_BYREF(&value) != nullptr;
}

VARIANT* Behind(const VARIANT* given) noexcept {
    auto* at = const_cast<VARIANT*>(given);
    for (int i = 0; i < kLongestChain; ++i) {
        if (!IsSound(*at)) {
            return nullptr;
        }
        if (V_VT(at) != (VT_BYREF | VT_VARIANT)) {
            return at;
        }
        at = V_VARIANTREF(at);
    }
    return nullptr;
}

HRESULT PutBehind(VARIANT& target, Variant& value, LCID locale) noexcept {
    if ((V_VT(&target) & VT_BYREF) == 0) {
        VARIANT old = std::exchange(target, value.detach());
        VariantClear(&old);
        return S_OK;
    }
    const auto type = static_cast<VARTYPE>(V_VT(&target) & ~VT_BYREF);
    if (type == VT_BSTR && V_VT(&value.get()) == VT_NULL) {
        value = Variant(Bstr());
    }
    if (V_VT(&value.get()) != type) {
        Variant converted;
        const bool fits = Ignoring([&] {
            Check(VariantChangeTypeEx(
                converted.inOut(), value.inOut(), locale, VARIANT_ALPHABOOL, type));
        });
        if (!fits) {
            return DISP_E_TYPEMISMATCH;
        }
        value = std::move(converted);
    }
    Store(V_BYREF(&target), value);
    return S_OK;
}

}  // namespace kel::automation
