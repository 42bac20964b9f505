// IDispatch from the tables that are made at compile time: names, numbers, the platform's texts.
#include "automation/dispatch.h"

#include <algorithm>

#include "automation/com_method.h"
#include "automation/dispatch_call.h"
#include "automation/type_library.h"

namespace kel::automation {
namespace {

constexpr WORD kPuts = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;

const DispatchMember* OfKind(std::span<const DispatchMember> members, WORD kinds) noexcept {
    for (const DispatchMember& member : members) {
        if ((member.kind & kinds) != 0) {
            return &member;
        }
    }
    return nullptr;
}

bool IsObject(const VARIANTARG& given) noexcept {
    const VARIANT* value = V_VT(&given) == (VT_BYREF | VT_VARIANT) ? V_VARIANTREF(&given) : &given;
    return value != nullptr &&
           ((V_VT(value) & ~VT_BYREF) == VT_DISPATCH || (V_VT(value) & ~VT_BYREF) == VT_UNKNOWN);
}

// Which accessor of a property, or the method, a call is for; null when it has no such use.
const DispatchMember* Choose(std::span<const DispatchMember> members,
                             WORD flags,
                             const DISPPARAMS& params) noexcept {
    if ((flags & kPuts) == 0) {
        // Script engines ask for properties, and for the enumerator, as methods.
        const bool asMethod = (flags & DISPATCH_METHOD) != 0;
        return OfKind(members,
                      asMethod ? DISPATCH_METHOD | DISPATCH_PROPERTYGET
                               : static_cast<WORD>(flags & DISPATCH_PROPERTYGET));
    }
    const DispatchMember* put = OfKind(members, DISPATCH_PROPERTYPUT);
    const DispatchMember* set = OfKind(members, DISPATCH_PROPERTYPUTREF);
    if ((flags & DISPATCH_PROPERTYPUT) == 0) {
        return set;
    }
    // The new value is the first of what is given. Scripts put objects by value as well.
    const bool wantsSet = put == nullptr || ((flags & DISPATCH_PROPERTYPUTREF) != 0 &&
                                             params.cArgs > 0 && IsObject(params.rgvarg[0]));
    return wantsSet && set != nullptr ? set : put;
}

// Arguments after a member that takes none are meant for the default property of what it gives:
// list(1) where list is a property.
HRESULT InvokeDefault(Variant& result, LCID lcid, DISPPARAMS& params, EXCEPINFO* exception) {
    const ComPtr<IDispatch> object = result.object<IDispatch>();
    if (!object) {
        return DISP_E_BADPARAMCOUNT;
    }
    Variant answer;
    const HRESULT code = object->Invoke(DISPID_VALUE,
                                        IID_NULL,
                                        lcid,
                                        DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                                        &params,
                                        answer.inOut(),
                                        exception,
                                        nullptr);
    result = std::move(answer);
    return code;
}

HRESULT Invoke(const DispatchMember& member,
               IDispatch* object,
               LCID lcid,
               DISPPARAMS& params,
               VARIANT* result,
               EXCEPINFO* exception,
               UINT* argumentIndex) {
    const bool isForDefault = member.parameters.empty() && params.cArgs > 0;
    if (isForDefault && !member.mayGiveObject) {
        return DISP_E_BADPARAMCOUNT;  // before anything has happened
    }
    DispatchCall call(member, lcid);
    DISPPARAMS none{};
    DISPPARAMS& own = isForDefault ? none : params;
    HRESULT code = call.arrange(own);
    if (SUCCEEDED(code)) {
        code = member.call(object, call);
    }
    if (FAILED(code)) {
        return call.failed(code, own, exception, argumentIndex);
    }
    if (isForDefault) {
        code = InvokeDefault(call.result, lcid, params, exception);
    }
    if (SUCCEEDED(code) && result != nullptr) {
        *result = call.result.detach();
    }
    return code;
}

}  // namespace

std::span<const DispatchMember> DispatchTable::from(std::size_t first) const noexcept {
    std::size_t end = first;
    while (end < members_.size() && members_[end].id == members_[first].id) {
        ++end;
    }
    return members_.subspan(first, end - first);
}

std::span<const DispatchMember> DispatchTable::find(DISPID id) const noexcept {
    // Below the lowest identifier the distance is beyond every array.
    const auto distance = static_cast<ULONG>(id) - static_cast<ULONG>(members_.front().id);
    if (distance >= firsts_.size() || firsts_[distance] == kNoMember) {
        return {};
    }
    return from(firsts_[distance]);
}

std::span<const DispatchMember> DispatchTable::find(const wchar_t* name) const noexcept {
    std::size_t at = NameHash(name) % slots_.size();
    for (; slots_[at] != kNoMember; at = (at + 1) % slots_.size()) {
        if (SameName(members_[slots_[at]].name, name)) {
            return from(slots_[at]);
        }
    }
    return {};
}

HRESULT DispatchNames(
    const DispatchTable& table, REFIID riid, LPOLESTR* names, UINT count, DISPID* ids) noexcept {
    if (!IsEqualIID(riid, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (names == nullptr || ids == nullptr || count == 0) {
        return E_INVALIDARG;
    }
    std::fill_n(ids, count, DISPID_UNKNOWN);
    if (std::find(names, names + count, nullptr) != names + count) {
        return E_INVALIDARG;
    }
    const auto members = table.find(names[0]);
    if (members.empty()) {
        return DISP_E_UNKNOWNNAME;
    }
    ids[0] = members.front().id;
    HRESULT code = S_OK;
    for (UINT i = 1; i < count; ++i) {
        for (const DispatchMember& member : members) {
            const auto named = std::find_if(
                member.parameters.begin(), member.parameters.end(), [&](const auto& parameter) {
                    return SameName(parameter.name, names[i]);
                });
            if (named != member.parameters.end()) {
                ids[i] = static_cast<DISPID>(named - member.parameters.begin());
                break;
            }
        }
        code = ids[i] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : code;
    }
    return code;
}

HRESULT DispatchInvoke(const DispatchTable& table,
                       IDispatch* object,
                       DISPID id,
                       REFIID riid,
                       LCID lcid,
                       WORD flags,
                       DISPPARAMS* params,
                       VARIANT* result,
                       EXCEPINFO* exception,
                       UINT* argumentIndex) noexcept {
    if (result != nullptr) {
        V_VT(result) = VT_EMPTY;
    }
    if (!IsEqualIID(riid, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (params == nullptr || (params->cArgs != 0 && params->rgvarg == nullptr) ||
        (params->cNamedArgs != 0 && params->rgdispidNamedArgs == nullptr) ||
        params->cNamedArgs > params->cArgs) {
        return E_INVALIDARG;
    }
    const DispatchMember* member = Choose(table.find(id), flags, *params);
    if (member == nullptr) {
        return DISP_E_MEMBERNOTFOUND;
    }
    const ComPtr<IDispatch> keep(object);
    try {
        return Invoke(*member, object, lcid, *params, result, exception, argumentIndex);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return FailureFromCurrentException();
    }
}

HRESULT DispatchTypeInfo(REFIID type, UINT index, ITypeInfo** info) noexcept {
    if (info == nullptr) {
        return E_POINTER;
    }
    *info = nullptr;
    if (index != 0) {
        return DISP_E_BADINDEX;
    }
    try {
        *info = TypeInfoOf(type).detach();
        return S_OK;
    } catch (...) {
        return FailureFromCurrentException();
    }
}

}  // namespace kel::automation
