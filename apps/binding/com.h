// The few owners that a program needs to call the component: a pointer, a text, a variant, and an
// error. Complete in itself, to be copied into other programs together with the files beside it.
#pragma once

#include <windows.h>

#include <kelSDK.h>
#include <oleauto.h>

#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace kel::binding {

// A call that failed: number as scripts show it, source and description as the component gave them.
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

std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

// Holds one reference.
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
    Ptr& operator=(Ptr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ptr() { reset(); }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }
    // Empties; the address is for a member that gives out a reference.
    T** put() {
        reset();
        return &object_;
    }
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
    Str(const Str&) = delete;
    Str& operator=(const Str&) = delete;
    ~Str() { SysFreeString(text_); }

    BSTR get() const { return text_; }
    // For a member that changes the text.
    BSTR* inOut() { return &text_; }
    std::wstring text() const { return {text_ != nullptr ? text_ : L"", SysStringLen(text_)}; }

private:
    BSTR text_ = nullptr;
};

// Owns a VARIANT.
class Var {
public:
    Var() { VariantInit(&value_); }
    explicit Var(std::wstring_view text) : Var() {
        V_VT(&value_) = VT_BSTR;
        V_BSTR(&value_) = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }
    explicit Var(long number) : Var() {
        V_VT(&value_) = VT_I4;
        V_I4(&value_) = number;
    }
    Var(const Var&) = delete;
    Var& operator=(const Var&) = delete;
    ~Var() { VariantClear(&value_); }

    const VARIANT& get() const { return value_; }
    VARIANT* inOut() { return &value_; }
    std::wstring text() const;

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
