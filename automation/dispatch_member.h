// From a member pointer to an entry of a dispatch table: templates that convert each argument and
// the result by the member's own C++ types. Included only by the tables made from the IDL.
#pragma once

#include <tuple>
#include <type_traits>
#include <utility>

#include "automation/dispatch_call.h"

namespace kel::automation::dispatch {

// The variant type of a C++ type, and the field of the variant that holds it. Truth values are
// 16-bit numbers to C++, so which of those are meant comes from the IDL.
template <typename T, bool isBoolean>
constexpr VARTYPE TypeOf() noexcept {
    if constexpr (std::is_same_v<T, BSTR>) {
        return VT_BSTR;
    } else if constexpr (std::is_same_v<T, short>) {
        return isBoolean ? VT_BOOL : VT_I2;
    } else if constexpr (std::is_same_v<T, long> || std::is_enum_v<T>) {
        static_assert(sizeof(T) == sizeof(long));
        return VT_I4;
    } else if constexpr (std::is_same_v<T, IUnknown*>) {
        return VT_UNKNOWN;
    } else {
        static_assert(std::is_convertible_v<T, IDispatch*>, "a type that calls by name lack");
        return VT_DISPATCH;
    }
}

template <typename T>
T* FieldOf(VARIANT& value) noexcept {
    // All fields of the union lie at one address; this names the type that the member takes.
    return reinterpret_cast<T*>(&V_I4(&value));
}

// A number, truth value or enumeration taken by value.
template <typename T, bool isBoolean>
class Argument {
public:
    HRESULT take(DispatchCall& call, std::size_t at) {
        if (call.argument(at) == nullptr) {
            value_ = static_cast<T>(call.defaultNumber(at));
            return S_OK;
        }
        long number = 0;
        if (!isBoolean && call.takeInteger(at, number) &&
            number == static_cast<long>(static_cast<T>(number))) {
            value_ = static_cast<T>(number);
            return S_OK;
        }
        Variant converted;
        const HRESULT code = call.take(at, TypeOf<T, isBoolean>(), converted);
        value_ = *FieldOf<T>(*converted.inOut());
        return code;
    }
    T pass() noexcept { return value_; }
    HRESULT giveBack(DispatchCall&, std::size_t) noexcept { return S_OK; }

private:
    T value_{};
};

// A text or an object taken by value: the caller's own for the time of the call when the caller
// lends it by value, otherwise a copy, since a variable may change while the member runs.
template <typename T, VARTYPE type>
class BorrowedArgument {
public:
    HRESULT take(DispatchCall& call, std::size_t at) {
        const VARIANTARG* given = call.argument(at);
        if (given == nullptr) {
            return S_OK;
        }
        if (V_VT(given) == type) {
            value_ = *FieldOf<T>(const_cast<VARIANTARG&>(*given));
            return S_OK;
        }
        const HRESULT code = call.take(at, type, converted_);
        value_ = SUCCEEDED(code) ? *FieldOf<T>(*converted_.inOut()) : nullptr;
        return code;
    }
    T pass() noexcept { return value_; }
    HRESULT giveBack(DispatchCall&, std::size_t) noexcept { return S_OK; }

private:
    Variant converted_;
    T value_ = nullptr;
};

template <>
class Argument<BSTR, false> : public BorrowedArgument<BSTR, VT_BSTR> {};
template <>
class Argument<IDispatch*, false> : public BorrowedArgument<IDispatch*, VT_DISPATCH> {};

template <>
class Argument<VARIANT, false> {
public:
    HRESULT take(DispatchCall& call, std::size_t at) { return call.takeVariant(at, lent_, copy_); }
    VARIANT pass() noexcept { return lent_; }
    HRESULT giveBack(DispatchCall&, std::size_t) noexcept { return S_OK; }

private:
    VARIANT lent_{};
    Variant copy_;
};

// A number, text or object that the member may replace: the caller's own variable when it is of the
// member's type, otherwise one of ours whose content goes back in the type of the caller's.
template <typename T, bool isBoolean>
class Argument<T*, isBoolean> {
public:
    HRESULT take(DispatchCall& call, std::size_t at) {
        constexpr VARTYPE kType = TypeOf<T, isBoolean>();
        const VARIANTARG* given = call.argument(at);
        if (given != nullptr && V_VT(given) == (VT_BYREF | kType) && V_BYREF(given) != nullptr) {
            own_ = static_cast<T*>(V_BYREF(given));
            return S_OK;
        }
        if (given != nullptr) {
            return call.take(at, kType, value_);
        }
        V_VT(value_.inOut()) = kType;
        *FieldOf<T>(*value_.inOut()) = T{};
        return S_OK;
    }
    T* pass() noexcept { return own_ != nullptr ? own_ : FieldOf<T>(*value_.inOut()); }
    HRESULT giveBack(DispatchCall& call, std::size_t at) noexcept {
        return own_ != nullptr ? S_OK : call.giveBack(at, value_);
    }

private:
    T* own_ = nullptr;
    Variant value_;
};

// A Variant that the member may replace: the caller's own when it is one, otherwise one of ours
// whose content goes back in the type of the caller's variable.
template <>
class Argument<VARIANT*, false> {
public:
    HRESULT take(DispatchCall& call, std::size_t at) {
        own_ = call.variable(at);
        VARIANT lent{};
        const HRESULT code = own_ != nullptr ? S_OK : call.takeVariant(at, lent, copy_);
        if (own_ == nullptr && SUCCEEDED(code) && V_VT(&copy_.get()) == VT_EMPTY) {
            copy_ = Variant(lent);
        }
        return code;
    }
    VARIANT* pass() noexcept { return own_ != nullptr ? own_ : copy_.inOut(); }
    HRESULT giveBack(DispatchCall& call, std::size_t at) noexcept {
        return own_ != nullptr ? S_OK : call.giveBack(at, copy_);
    }

private:
    VARIANT* own_ = nullptr;
    Variant copy_;
};

// Where the member puts its result.
template <typename R, bool isBoolean>
R* ResultIn(Variant& result) noexcept {
    if constexpr (std::is_same_v<R, VARIANT>) {
        return result.inOut();
    } else {
        V_VT(result.inOut()) = TypeOf<R, isBoolean>();
        *FieldOf<R>(*result.inOut()) = R{};
        return FieldOf<R>(*result.inOut());
    }
}

template <auto method, bool hasResult, unsigned booleans>
struct Caller;

template <typename Interface,
          typename... A,
          HRESULT (STDMETHODCALLTYPE Interface::*method)(A...),
          bool hasResult,
          unsigned booleans>
struct Caller<method, hasResult, booleans> {
    static constexpr std::size_t kArguments = sizeof...(A) - (hasResult ? 1 : 0);
    static_assert(kArguments <= DispatchCall::kMaxParameters);

    template <std::size_t i>
    using ParameterAt = std::tuple_element_t<i, std::tuple<A...>>;
    static constexpr bool IsBoolean(std::size_t i) noexcept { return (booleans >> i & 1U) != 0; }

    static constexpr bool MayGiveObject() noexcept {
        if constexpr (hasResult) {
            using Result = std::remove_pointer_t<ParameterAt<kArguments>>;
            return std::is_same_v<Result, VARIANT> || std::is_convertible_v<Result, IDispatch*>;
        } else {
            return false;
        }
    }

    static HRESULT Call(IDispatch* object, DispatchCall& call) {
        return CallWith(
            *static_cast<Interface*>(object), call, std::make_index_sequence<kArguments>());
    }

    template <std::size_t... i>
    static HRESULT CallWith(Interface& object, DispatchCall& call, std::index_sequence<i...>) {
        std::tuple<Argument<ParameterAt<i>, IsBoolean(i)>...> arguments;
        HRESULT code = S_OK;
        const bool taken = ((code = std::get<i>(arguments).take(call, i), SUCCEEDED(code)) && ...);
        if (!taken) {
            return code;
        }
        if constexpr (hasResult) {
            using Result = std::remove_pointer_t<ParameterAt<kArguments>>;
            code = call.answered(
                (object.*method)(std::get<i>(arguments).pass()...,
                                 ResultIn<Result, IsBoolean(kArguments)>(call.result)));
        } else {
            code = call.answered((object.*method)(std::get<i>(arguments).pass()...));
        }
        // What a member did to its arguments before it failed stays done, as for typed callers; and
        // one result that does not fit into its variable keeps none of the others back.
        HRESULT back = S_OK;
        [[maybe_unused]] const auto note = [&back](HRESULT one) {
            back = FAILED(back) ? back : one;
        };
        (note(std::get<i>(arguments).giveBack(call, i)), ...);
        return FAILED(code) ? code : back;
    }
};

}  // namespace kel::automation::dispatch

namespace kel::automation {

// An entry of a table.
//   method     the interface's member
//   hasResult  whether its last parameter is the result
//   booleans   a bit for each parameter that is a truth value
template <auto method, bool hasResult, unsigned booleans>
consteval DispatchMember MakeMember(DISPID id,
                                    WORD kind,
                                    const wchar_t* name,
                                    std::span<const DispatchParameter> parameters) {
    using Caller = dispatch::Caller<method, hasResult, booleans>;
    return {id, kind, name, parameters, Caller::MayGiveObject(), &Caller::Call};
}

}  // namespace kel::automation
