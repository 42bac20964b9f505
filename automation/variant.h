// Owner of one automation variant.
#pragma once

#include "automation/bstr.h"
#include "automation/com_ptr.h"

namespace kel::automation {

inline bool IsObject(const VARIANT& value) noexcept {
    return V_VT(&value) == VT_DISPATCH || V_VT(&value) == VT_UNKNOWN;
}

// The object held, through interface T; empty when there is none.
template <typename T>
ComPtr<T> ObjectIn(const VARIANT& value) noexcept {
    ComPtr<T> result;
    if (IsObject(value) && V_UNKNOWN(&value) != nullptr &&
        FAILED(V_UNKNOWN(&value)->QueryInterface(__uuidof(T),
                                                 reinterpret_cast<void**>(result.put())))) {
        result.reset();
    }
    return result;
}

// Holds one VARIANT and clears it. Same verbs as ComPtr.
class Variant {
public:
    Variant() noexcept = default;
    Variant(const Variant& other) : Variant(other.value_) {}
    Variant(Variant&& other) noexcept : value_(other.detach()) {}
    // A copy: texts are duplicated, objects gain a reference, a by-reference value stays one.
    //   throws  std::bad_alloc or the platform's error
    explicit Variant(const VARIANT& value);
    explicit Variant(TextView text);
    explicit Variant(Bstr text) noexcept;
    explicit Variant(IDispatch* shared) noexcept;
    explicit Variant(short number) noexcept;
    explicit Variant(long number) noexcept;
    explicit Variant(bool flag) noexcept;
    ~Variant() { reset(); }

    Variant& operator=(Variant other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }

    // A copy of what the value refers to: by-reference values are copied through to their target.
    static Variant Through(const VARIANT& value);

    // A by-reference argument: the callee may replace the caller's text.
    static Variant Reference(BSTR* text) noexcept;

    // The value that automation clients pass for an optional argument left out.
    static Variant Missing() noexcept;

    const VARIANT& get() const noexcept { return value_; }
    VARIANT* put() noexcept {
        reset();
        return &value_;
    }
    VARIANT* inOut() noexcept { return &value_; }
    VARIANT detach() noexcept {
        const VARIANT result = value_;
        V_VT(&value_) = VT_EMPTY;
        return result;
    }
    void reset() noexcept {
        // Most variants on the way of a call are empty or numbers, which own nothing.
        if (V_VT(&value_) > VT_DATE) {
            VariantClear(&value_);
        }
        V_VT(&value_) = VT_EMPTY;
    }

    bool isObject() const noexcept { return IsObject(value_); }
    template <typename T>
    ComPtr<T> object() const noexcept {
        return ObjectIn<T>(value_);
    }

    // The value as text by the platform's coercion rules.
    //   throws  13 (type mismatch) for what has no text
    Bstr text() const&;
    Bstr text() &&;  // a text without a copy
    // The value as a truth value by the platform's coercion rules; throws 13.
    bool boolean() const;

private:
    // The platform's routines read their source through a pointer to non-const.
    VARIANT* borrowed() const noexcept { return const_cast<VARIANT*>(&value_); }

    VARIANT value_{};
};

// Whether an optional Variant argument was left out.
bool IsMissing(const VARIANT* argument) noexcept;

}  // namespace kel::automation
