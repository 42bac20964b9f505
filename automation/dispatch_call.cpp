// One late call: its arguments converted for the member, its results written back.
#include "automation/dispatch_call.h"

#include <algorithm>
#include <utility>

#include "automation/by_reference.h"
#include "automation/error.h"

namespace kel::automation {
namespace {

LCID KnownLocale(LCID lcid) noexcept {
    const LCID locale = ConvertDefaultLocale(lcid == 0 ? LOCALE_USER_DEFAULT : lcid);
    return IsValidLocale(locale, LCID_SUPPORTED) ? locale : 0;
}

// The codes that a conversion of an argument may end in; others are the platform's own business.
HRESULT ConversionCode(HRESULT code) noexcept {
    switch (code) {
        case DISP_E_OVERFLOW:
        case DISP_E_BADVARTYPE:
        case DISP_E_UNKNOWNLCID:
        case E_OUTOFMEMORY:
            return code;
        default:
            return SUCCEEDED(code) ? S_OK : DISP_E_TYPEMISMATCH;
    }
}

// The default property of a foreign object, which may fail or throw.
HRESULT DefaultValue(IUnknown* object, LCID lcid, Variant& value) {
    const ComPtr<IDispatch> named = ComPtr<IUnknown>(object).as<IDispatch>();
    if (!named) {
        return DISP_E_TYPEMISMATCH;
    }
    DISPPARAMS none{};
    Variant answer;
    HRESULT code = E_UNEXPECTED;
    try {
        code = named->Invoke(DISPID_VALUE,
                             IID_NULL,
                             lcid,
                             DISPATCH_PROPERTYGET | DISPATCH_METHOD,
                             &none,
                             answer.inOut(),
                             nullptr,
                             nullptr);
    } catch (...) {
        return DISP_E_TYPEMISMATCH;
    }
    // An object behind the object would be the start of a walk without an end.
    if (FAILED(code) || answer.isObject() || !IsSound(answer.get())) {
        return DISP_E_TYPEMISMATCH;
    }
    value = std::move(answer);
    return S_OK;
}

HRESULT CoerceToObject(const VARIANT& plain, Variant& value) {
    switch (V_VT(&plain)) {
        case VT_EMPTY:
        case VT_NULL:
            value = Variant(static_cast<IDispatch*>(nullptr));
            return S_OK;
        case VT_DISPATCH:
            value = Variant(V_DISPATCH(&plain));
            return S_OK;
        case VT_UNKNOWN: {
            const auto named = ComPtr<IUnknown>(V_UNKNOWN(&plain)).as<IDispatch>();
            value = Variant(named.get());
            return V_UNKNOWN(&plain) == nullptr || named ? S_OK : DISP_E_TYPEMISMATCH;
        }
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

}  // namespace

HRESULT Coerce(const VARIANT& given, VARTYPE type, LCID lcid, Variant& value) {
    const VARIANT* last = Behind(&given);
    if (last == nullptr || (V_VT(last) & VT_ARRAY) != 0) {
        return last == nullptr ? DISP_E_BADVARTYPE : DISP_E_TYPEMISMATCH;
    }
    if (IsMissing(last)) {
        return DISP_E_PARAMNOTOPTIONAL;
    }
    Variant plain = Variant::Through(*last);
    if (type == VT_DISPATCH) {
        return CoerceToObject(plain.get(), value);
    }
    if (plain.isObject()) {
        const HRESULT code = DefaultValue(V_UNKNOWN(&plain.get()), lcid, plain);
        if (FAILED(code)) {
            return code;
        }
        plain = Variant::Through(plain.get());
    }
    if (V_VT(&plain.get()) == type) {
        value = std::move(plain);
        return S_OK;
    }
    const LCID locale = KnownLocale(lcid);
    if (locale == 0) {
        return DISP_E_UNKNOWNLCID;
    }
    Variant converted;
    const HRESULT code = ConversionCode(
        VariantChangeTypeEx(converted.inOut(), plain.inOut(), locale, VARIANT_ALPHABOOL, type));
    if (SUCCEEDED(code)) {
        value = std::move(converted);
    }
    return code;
}

HRESULT DispatchCall::arrange(const DISPPARAMS& params) noexcept {
    const auto count = static_cast<UINT>(member_.parameters.size());
    const bool isPut = (member_.kind & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    if (params.cArgs > count) {
        return DISP_E_BADPARAMCOUNT;
    }
    const UINT named = params.cNamedArgs;
    const UINT inOrder = params.cArgs - named;
    std::fill_n(arguments_.begin(), count, nullptr);
    for (UINT i = 0; i < inOrder; ++i) {
        arguments_[i] = &params.rgvarg[params.cArgs - 1 - i];
    }
    // Some callers do not mark the new value of a property: it is the last of what they give.
    if (isPut && named == 0 && inOrder > 0) {
        std::swap(arguments_[inOrder - 1], arguments_[count - 1]);
    }
    for (UINT i = 0; i < named; ++i) {
        const DISPID id = params.rgdispidNamedArgs[i];
        const UINT at = isPut && id == DISPID_PROPERTYPUT ? count - 1 : static_cast<UINT>(id);
        if (at >= count || arguments_[at] != nullptr) {
            wrong_ = &params.rgvarg[i];
            return DISP_E_PARAMNOTFOUND;
        }
        arguments_[at] = &params.rgvarg[i];
    }
    for (UINT i = 0; i < count; ++i) {
        const bool isOptional = member_.parameters[i].isOptional;
        if (arguments_[i] == nullptr && !isOptional) {
            return named == 0 ? DISP_E_BADPARAMCOUNT : DISP_E_PARAMNOTOPTIONAL;
        }
        const VARIANT* last =
            isOptional && arguments_[i] != nullptr ? Behind(arguments_[i]) : nullptr;
        if (last != nullptr && IsMissing(last)) {
            arguments_[i] = nullptr;
        }
    }
    return S_OK;
}

HRESULT DispatchCall::failedAt(std::size_t parameter, HRESULT code) noexcept {
    if (wrong_ == nullptr) {
        wrong_ = arguments_[parameter];
    }
    return code;
}

HRESULT DispatchCall::take(std::size_t parameter, VARTYPE type, Variant& value) {
    const HRESULT code = Coerce(*arguments_[parameter], type, lcid_, value);
    return SUCCEEDED(code) ? code : failedAt(parameter, code);
}

HRESULT DispatchCall::takeVariant(std::size_t parameter, VARIANT& lent, Variant& copy) {
    const VARIANTARG* given = arguments_[parameter];
    if (given == nullptr) {
        copy = Variant::Missing();
        lent = copy.get();
        return S_OK;
    }
    const VARIANT* last = Behind(given);
    if (last == nullptr) {
        return failedAt(parameter, DISP_E_BADVARTYPE);
    }
    if (last == given && (V_VT(given) & VT_BYREF) == 0) {
        lent = *given;
        return S_OK;
    }
    copy = Variant::Through(*last);
    lent = copy.get();
    return S_OK;
}

VARIANT* DispatchCall::variable(std::size_t parameter) const noexcept {
    const VARIANTARG* given = arguments_[parameter];
    if (given == nullptr) {
        return nullptr;
    }
    VARIANT* last = Behind(given);
    return last != nullptr && last != given && (V_VT(last) & VT_BYREF) == 0 ? last : nullptr;
}

HRESULT DispatchCall::giveBack(std::size_t parameter, Variant& value) noexcept {
    const VARIANTARG* given = arguments_[parameter];
    VARIANT* last = given == nullptr ? nullptr : Behind(given);
    if (last == nullptr || (last == given && (V_VT(last) & VT_BYREF) == 0)) {
        return S_OK;
    }
    const LCID locale = KnownLocale(lcid_);
    const HRESULT code = PutBehind(*last, value, locale == 0 ? LOCALE_USER_DEFAULT : locale);
    return SUCCEEDED(code) ? code : failedAt(parameter, code);
}

HRESULT DispatchCall::failed(HRESULT code,
                             const DISPPARAMS& params,
                             EXCEPINFO* exception,
                             UINT* argumentIndex) noexcept {
    if (!memberFailed_) {
        if (wrong_ != nullptr && argumentIndex != nullptr) {
            *argumentIndex = static_cast<UINT>(wrong_ - params.rgvarg);
        }
        return code;
    }
    if (exception == nullptr) {
        SetErrorInfo(0, error_.get());  // the caller may ask for it there
        return DISP_E_EXCEPTION;
    }
    *exception = {};
    exception->scode = code;
    if (error_) {
        error_->GetSource(&exception->bstrSource);
        error_->GetDescription(&exception->bstrDescription);
        error_->GetHelpFile(&exception->bstrHelpFile);
        error_->GetHelpContext(&exception->dwHelpContext);
    }
    return DISP_E_EXCEPTION;
}

}  // namespace kel::automation
