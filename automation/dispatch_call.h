// One call by name under way: the caller's arguments in the order of the member's parameters, and
// the conversions between what callers send and what members take.
//
// Callers are not trusted: references to nothing, chains of references, types that do not exist and
// objects that fail or throw end in a DISP_E_ code.
#pragma once

#include <array>

#include "automation/dispatch_table.h"
#include "automation/variant.h"

namespace kel::automation {

class DispatchCall {
public:
    static constexpr std::size_t kMaxParameters = 16;

    DispatchCall(const DispatchMember& member, LCID lcid) noexcept : member_(member), lcid_(lcid) {}

    // Puts the caller's arguments, which stand last first with the named ones in front, into the
    // order of the parameters. DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTFOUND or
    // DISP_E_PARAMNOTOPTIONAL when they do not fit.
    HRESULT arrange(const DISPPARAMS& params) noexcept;

    // The argument for a parameter; null when it was left out.
    const VARIANTARG* argument(std::size_t parameter) const noexcept {
        return arguments_[parameter];
    }
    long defaultNumber(std::size_t parameter) const noexcept {
        return member_.parameters[parameter].defaultNumber;
    }

    // Converts an argument to a number, truth value, text or object type.
    //   value   untouched when the code is a failure
    HRESULT take(std::size_t parameter, VARTYPE type, Variant& value);
    // The same for an integer that needs no conversion rules; false: go the long way.
    bool takeInteger(std::size_t parameter, long& number) const noexcept {
        const VARIANT* given = arguments_[parameter];
        if (V_VT(given) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(given) != nullptr) {
            given = V_VARIANTREF(given);
        }
        switch (V_VT(given)) {
            case VT_I4:
                number = V_I4(given);
                return true;
            case VT_I2:
                number = V_I2(given);
                return true;
            default:
                return false;
        }
    }
    // An argument for a Variant parameter, as a copy unless it is lent by the caller by value.
    //   lent    what to pass on: the caller's own value or `copy`'s
    HRESULT takeVariant(std::size_t parameter, VARIANT& lent, Variant& copy);
    // The caller's own variable for a Variant that the member may change; null when the argument is
    // no such variable.
    VARIANT* variable(std::size_t parameter) const noexcept;

    // Stores what the member left in a by-reference parameter into the caller's variable, in the
    // variable's own type; nothing for arguments by value.
    HRESULT giveBack(std::size_t parameter, Variant& value) noexcept;

    // To be called with the member's answer, before anything else can disturb its error object.
    HRESULT answered(HRESULT code) noexcept {
        if (FAILED(code)) {
            memberFailed_ = true;
            GetErrorInfo(0, error_.put());
        }
        return code;
    }

    // The answer of a call that failed, as IDispatch::Invoke gives it.
    HRESULT failed(HRESULT code,
                   const DISPPARAMS& params,
                   EXCEPINFO* exception,
                   UINT* argumentIndex) noexcept;

    Variant result;

private:
    HRESULT failedAt(std::size_t parameter, HRESULT code) noexcept;

    const DispatchMember& member_;
    LCID lcid_;
    std::array<const VARIANTARG*, kMaxParameters> arguments_;  // as many as there are parameters
    const VARIANTARG* wrong_ = nullptr;                        // the first that was refused
    bool memberFailed_ = false;
    ComPtr<IErrorInfo> error_;
};

// The value of an argument in another type, by the automation library's rules for a locale. Objects
// give their default property; Empty and Null stand for "no object" (scripts have no other word).
//   value   untouched when the code is a failure
HRESULT Coerce(const VARIANT& given, VARTYPE type, LCID lcid, Variant& value);

}  // namespace kel::automation
