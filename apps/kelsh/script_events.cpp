// What events an object has, out of its type description, and how they become calls.
#include "apps/kelsh/script_events.h"

#include <utility>

namespace kel::kelsh {

using binding::Check;
using binding::Ptr;
using binding::Str;
using binding::Var;

namespace {

// A procedure gets copies and what it leaves in them is carried over, since scripts know variables
// of one type only. Where a language has no by-reference arguments, what a function returns is the
// answer.
void CallProcedure(const Text& name,
                   const binding::Arguments& arguments,
                   const ProcedureCaller& call) {
    std::vector<Var> values;
    for (UINT index = 0; index < arguments.count(); ++index) {
        values.push_back(arguments.value(index));
    }
    Var result;
    call(name, values, result);
    std::optional<UINT> first;
    for (UINT index = 0; index < arguments.count(); ++index) {
        if (arguments.isByReference(index)) {
            arguments.answer(index, values[index]);
            first = first.value_or(index);
        }
    }
    if (first && V_VT(&result.get()) != VT_EMPTY) {
        arguments.answer(*first, result);
    }
}

// The type description of a class's default event interface.
Ptr<ITypeInfo> SourceInterface(ITypeInfo& coclass) {
    TYPEATTR* attributes = nullptr;
    Check(coclass.GetTypeAttr(&attributes));
    const UINT count = attributes->cImplTypes;
    coclass.ReleaseTypeAttr(attributes);
    constexpr int kWanted = IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE;
    for (UINT index = 0; index < count; ++index) {
        int flags = 0;
        HREFTYPE reference = 0;
        Ptr<ITypeInfo> found;
        if (SUCCEEDED(coclass.GetImplTypeFlags(index, &flags)) && (flags & kWanted) == kWanted &&
            SUCCEEDED(coclass.GetRefTypeOfImplType(index, &reference)) &&
            SUCCEEDED(coclass.GetRefTypeInfo(reference, found.put()))) {
            return found;
        }
    }
    throw binding::Error(E_NOINTERFACE, L"kelsh", L"the object has no events");
}

}  // namespace

EventInterface EventsOf(IUnknown& source) {
    const auto provider = Ptr<IUnknown>(&source).as<IProvideClassInfo2>();
    EventInterface events;
    Ptr<ITypeInfo> coclass;
    Check(provider ? provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events.iid)
                   : E_NOINTERFACE);
    Check(provider->GetClassInfo(coclass.put()));
    const Ptr<ITypeInfo> type = SourceInterface(*coclass);
    TYPEATTR* attributes = nullptr;
    Check(type->GetTypeAttr(&attributes));
    const UINT count = attributes->cFuncs;
    type->ReleaseTypeAttr(attributes);
    for (UINT index = 0; index < count; ++index) {
        FUNCDESC* function = nullptr;
        if (FAILED(type->GetFuncDesc(index, &function))) {
            continue;
        }
        Str name;
        type->GetDocumentation(function->memid, name.put(), nullptr, nullptr, nullptr);
        events.names[function->memid] = name.text();
        type->ReleaseFuncDesc(function);
    }
    return events;
}

binding::Subscription Deliver(IUnknown& source,
                              const EventInterface& events,
                              const Text& prefix,
                              ProcedureCaller call) {
    return binding::Subscription(source,
                                 events.iid,
                                 [names = events.names, prefix, call = std::move(call)](
                                     DISPID event, const binding::Arguments& arguments) {
                                     const auto name = names.find(event);
                                     if (name != names.end()) {
                                         CallProcedure(
                                             prefix + L"_" + name->second, arguments, call);
                                     }
                                 });
}

}  // namespace kel::kelsh
