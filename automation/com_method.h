// The guard around every published member: what the body throws becomes HRESULT plus error object,
// and nothing else ever leaves.
#pragma once

#include <type_traits>
#include <utility>

#include "automation/error.h"
#include "automation/variant.h"

namespace kel::automation {

template <typename Body>
HRESULT ComMethod(Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
        return S_OK;
    } catch (...) {
        return FailureFromCurrentException();
    }
}

// An out parameter: emptied at once, filled by assignment. A null address is the caller's error.
template <typename T>
class Out {
public:
    explicit Out(T* address) : address_(address) {
        if (address_ == nullptr) {
            throw Error::FromCode(E_POINTER);
        }
        if constexpr (std::is_same_v<T, VARIANT>) {
            V_VT(address_) = VT_EMPTY;
        } else {
            *address_ = T{};
        }
    }

    Out& operator=(T value) noexcept {
        *address_ = value;
        return *this;
    }
    Out& operator=(bool value) noexcept requires std::is_same_v<T, VARIANT_BOOL> {
        *address_ = value ? VARIANT_TRUE : VARIANT_FALSE;
        return *this;
    }
    // An empty text goes out as an empty string, not as null: some clients tell them apart.
    Out& operator=(Bstr value) noexcept requires std::is_same_v<T, BSTR> {
        *address_ = value.get() != nullptr ? value.detach() : SysAllocStringLen(L"", 0);
        return *this;
    }
    Out& operator=(TextView value) requires std::is_same_v<T, BSTR> {
        *this = Bstr(value);
        return *this;
    }
    Out& operator=(Variant value) noexcept requires std::is_same_v<T, VARIANT> {
        *address_ = value.detach();
        return *this;
    }
    template <typename U>
    Out& operator=(ComPtr<U> value) noexcept requires std::is_convertible_v<U*, T> {
        *address_ = value.detach();
        return *this;
    }

private:
    T* address_;
};

template <typename T>
Out(T*) -> Out<T>;

// An argument that must be there; null is the caller's error.
template <typename T>
T& Require(T* argument) {
    if (argument == nullptr) {
        throw Error::FromCode(E_POINTER);
    }
    return *argument;
}

}  // namespace kel::automation
