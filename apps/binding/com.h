// The few owners that a program needs to call the component: a pointer, a text, a variant, an
// apartment and an error. Complete in itself, to be copied into other programs together with the
// files beside it.
//
// The owners have the same verbs: `get` lends, `put` empties and gives the address for an answer,
// `inOut` gives the address of what a member may change. Objects and what owns them stay on the
// thread that made them.
#pragma once

#include <windows.h>

#include <kelSDK.h>
#include <oleauto.h>

#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "apps/binding/text.h"

namespace kel::binding {

// A call that failed: number as scripts show it, source and description as the component gave them;
// where it gave no description, the platform's words for the number.
class Error : public std::exception {
public:
    Error(long number, std::wstring source, std::wstring description);

    long number() const { return number_; }
    const std::wstring& source() const { return source_; }
    const std::wstring& description() const { return description_; }
    const char* what() const noexcept override { return what_.c_str(); }

private:
    long number_;
    std::wstring source_;
    std::wstring description_;
    std::string what_;  // the description as UTF-8
};

// Nothing for success; throws Error with what the component left for a failure.
void Check(HRESULT code);

// Runs a step whose failure is nobody's news, as when everything ends; whether it succeeded.
template <typename Step>
bool Ignoring(Step&& step) noexcept {
    try {
        step();
        return true;
    } catch (...) {
        return false;
    }
}

// COM for the life of this object; everything that came from it must be gone before.
class Apartment {
public:
    Apartment() { Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment() { CoUninitialize(); }
};

// Holds one reference, or none.
template <typename T>
class Ptr {
public:
    Ptr() = default;
    explicit Ptr(T* object) : object_(object) {
        if (object_ != nullptr) {
            object_->AddRef();
        }
    }
    Ptr(const Ptr& other) : Ptr(other.object_) {}
    Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    // As a pointer to a base interface.
    template <typename Derived>
    Ptr(const Ptr<Derived>& other) : Ptr(static_cast<T*>(other.get())) {}
    Ptr& operator=(Ptr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ptr() { reset(); }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }
    T** put() {
        reset();
        return &object_;
    }
    T** inOut() { return &object_; }
    void reset() {
        if (T* object = std::exchange(object_, nullptr)) {
            object->Release();
        }
    }
    // The same object's other interface; empty when it has none.
    template <typename Other>
    Ptr<Other> as() const {
        Ptr<Other> other;
        if (object_ != nullptr) {
            object_->QueryInterface(__uuidof(Other), reinterpret_cast<void**>(other.put()));
        }
        return other;
    }

private:
    T* object_ = nullptr;
};

// Owns a BSTR.
class Str {
public:
    Str() = default;
    explicit Str(std::wstring_view text)
        : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    // Takes over a text that the caller owns.
    static Str Adopt(BSTR owned) {
        Str result;
        result.text_ = owned;
        return result;
    }
    Str(const Str&) = delete;
    Str(Str&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    Str& operator=(const Str&) = delete;
    ~Str() { SysFreeString(text_); }

    BSTR get() const { return text_; }
    BSTR* put() {
        SysFreeString(std::exchange(text_, nullptr));
        return &text_;
    }
    BSTR* inOut() { return &text_; }
    BSTR detach() { return std::exchange(text_, nullptr); }
    std::wstring_view view() const { return {text_ != nullptr ? text_ : L"", SysStringLen(text_)}; }
    std::wstring text() const { return std::wstring(view()); }

private:
    BSTR text_ = nullptr;
};

// Owns a VARIANT.
class Var {
public:
    Var() { VariantInit(&value_); }
    explicit Var(std::wstring_view text) : Var() {
        V_VT(&value_) = VT_BSTR;
        V_BSTR(&value_) = Str(text).detach();
    }
    explicit Var(long number) : Var() {
        V_VT(&value_) = VT_I4;
        V_I4(&value_) = number;
    }
    explicit Var(IDispatch* object) : Var() {
        V_VT(&value_) = VT_DISPATCH;
        V_DISPATCH(&value_) = object;
        if (object != nullptr) {
            object->AddRef();
        }
    }
    // A copy of a value, or of what it refers to.
    static Var Of(const VARIANT& value);
    // What stands for an optional argument left out.
    static Var Missing();
    Var(const Var&) = delete;
    Var(Var&& other) noexcept : value_(other.detach()) {}
    Var& operator=(const Var&) = delete;
    Var& operator=(Var&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Var() { VariantClear(&value_); }

    const VARIANT& get() const { return value_; }
    VARIANT* put() {
        VariantClear(&value_);
        return &value_;
    }
    VARIANT* inOut() { return &value_; }
    VARIANT detach() {
        const VARIANT value = value_;
        VariantInit(&value_);
        return value;
    }

    // The value as the platform converts it; True and False for a flag. Empty, or nothing, for what
    // does not convert.
    std::wstring text() const;
    std::optional<long> number() const;
    // The object held, through an interface; empty when there is none.
    template <typename Interface>
    Ptr<Interface> object() const {
        return V_VT(&value_) == VT_DISPATCH || V_VT(&value_) == VT_UNKNOWN
                   ? Ptr<IUnknown>(V_UNKNOWN(&value_)).as<Interface>()
                   : Ptr<Interface>();
    }
    // The same value as another type.
    //   throws  Error for one that does not convert
    Var as(VARTYPE type) const;

private:
    VARIANT value_;
};

// Calls a member whose last parameter is its result:
//     const long count = Ask<long>([&](long* to) { return list->get_Count(to); });
template <typename Result, typename Call>
Result Ask(Call&& call) {
    Result result{};
    Check(call(&result));
    return result;
}

template <typename Call>
bool AskFlag(Call&& call) {
    return Ask<VARIANT_BOOL>(call) != VARIANT_FALSE;
}

template <typename Call>
std::wstring AskText(Call&& call) {
    Str result;
    Check(call(result.inOut()));
    return result.text();
}

// Empty when the member answers Nothing.
template <typename Interface, typename Call>
Ptr<Interface> AskObject(Call&& call) {
    Ptr<Interface> result;
    Check(call(result.put()));
    return result;
}

constexpr VARIANT_BOOL Flag(bool value) {
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

// Creates an object by its programmatic identifier.
//   throws  Error when nothing is registered under it
template <typename Interface>
Ptr<Interface> Create(const wchar_t* progId) {
    CLSID classId{};
    const HRESULT found = CLSIDFromProgID(progId, &classId);
    if (FAILED(found)) {
        throw Error(found, progId, std::wstring(progId) + L" is not registered on this computer");
    }
    Ptr<Interface> object;
    Check(CoCreateInstance(classId,
                           nullptr,
                           CLSCTX_INPROC_SERVER,
                           __uuidof(Interface),
                           reinterpret_cast<void**>(object.put())));
    return object;
}

}  // namespace kel::binding
