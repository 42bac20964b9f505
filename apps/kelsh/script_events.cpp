#include "apps/kelsh/script_events.h"

#include <utility>

#include "automation/error.h"
#include "automation/plain_object.h"

namespace kel::kelsh {

using automation::Bstr;
using automation::Check;
using automation::Variant;

namespace {

// Writes what a procedure left in a by-reference argument, as the type that the source expects.
void Answer(const VARIANT& target, const Variant& value) {
    if (V_VT(&target) == (VT_BYREF | VT_VARIANT)) {
        Check(VariantClear(V_VARIANTREF(&target)));
        *V_VARIANTREF(&target) = Variant(value).detach();
        return;
    }
    const auto type = static_cast<VARTYPE>(V_VT(&target) & ~VT_BYREF);
    Variant converted;
    Check(VariantChangeType(
        converted.inOut(), const_cast<VARIANT*>(&value.get()), VARIANT_ALPHABOOL, type));
    switch (type) {
        case VT_BSTR:
            SysFreeString(std::exchange(*V_BSTRREF(&target), V_BSTR(&converted.get())));
            converted.detach();
            break;
        case VT_I2:
            *V_I2REF(&target) = V_I2(&converted.get());
            break;
        case VT_I4:
            *V_I4REF(&target) = V_I4(&converted.get());
            break;
        case VT_BOOL:
            *V_BOOLREF(&target) = V_BOOL(&converted.get());
            break;
        default:
            break;  // no event of ours asks for anything else
    }
}

class Sink final : public automation::PlainObject<IDispatch> {
public:
    Sink(EventInterface events, Text prefix, ProcedureCaller call)
        : events_(std::move(events)), prefix_(std::move(prefix)), call_(std::move(call)) {}

    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Invoke(DISPID id,
                        REFIID,
                        LCID,
                        WORD,
                        DISPPARAMS* parameters,
                        VARIANT*,
                        EXCEPINFO*,
                        UINT*) noexcept override {
        const auto name = events_.names.find(id);
        if (name != events_.names.end()) {
            // A failing procedure was told already; the source goes on to the next listener.
            automation::Ignoring([&] { Deliver(prefix_ + L"_" + name->second, *parameters); });
        }
        return S_OK;
    }

private:
    bool answers(REFIID iid) const noexcept override {
        return IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, events_.iid);
    }

    // A procedure gets copies and what it leaves in them is carried over, since scripts know
    // variables of one type only. Where a language has no by-reference arguments, what a function
    // returns is the answer.
    void Deliver(const Text& procedure, const DISPPARAMS& parameters) const {
        const UINT count = parameters.cArgs;
        std::vector<Variant> arguments;
        const VARIANT* byReference = nullptr;
        for (UINT i = 0; i < count; ++i) {
            const VARIANT& given = parameters.rgvarg[count - 1 - i];  // last first
            arguments.push_back(Variant::Through(given));
            byReference = (V_VT(&given) & VT_BYREF) != 0 ? &given : byReference;
        }
        Variant result;
        call_(procedure, arguments, result);
        for (UINT i = 0; i < count; ++i) {
            const VARIANT& given = parameters.rgvarg[count - 1 - i];
            if ((V_VT(&given) & VT_BYREF) != 0) {
                Answer(given, arguments[i]);
            }
        }
        if (byReference != nullptr && V_VT(&result.get()) != VT_EMPTY) {
            Answer(*byReference, result);
        }
    }

    const EventInterface events_;
    const Text prefix_;
    const ProcedureCaller call_;
};

// The type description of a class's default event interface.
ComPtr<ITypeInfo> SourceInterface(ITypeInfo& coclass) {
    TYPEATTR* attributes = nullptr;
    Check(coclass.GetTypeAttr(&attributes));
    const UINT count = attributes->cImplTypes;
    coclass.ReleaseTypeAttr(attributes);
    constexpr int kWanted = IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE;
    for (UINT index = 0; index < count; ++index) {
        int flags = 0;
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> found;
        if (SUCCEEDED(coclass.GetImplTypeFlags(index, &flags)) && (flags & kWanted) == kWanted &&
            SUCCEEDED(coclass.GetRefTypeOfImplType(index, &reference)) &&
            SUCCEEDED(coclass.GetRefTypeInfo(reference, found.put()))) {
            return found;
        }
    }
    throw automation::Error::FromCode(E_NOINTERFACE);
}

}  // namespace

EventInterface EventsOf(IUnknown& source) {
    const auto provider = ComPtr<IUnknown>(&source).as<IProvideClassInfo2>();
    EventInterface events;
    ComPtr<ITypeInfo> coclass;
    Check(provider ? provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events.iid)
                   : E_NOINTERFACE);
    Check(provider->GetClassInfo(coclass.put()));
    const ComPtr<ITypeInfo> type = SourceInterface(*coclass);
    TYPEATTR* attributes = nullptr;
    Check(type->GetTypeAttr(&attributes));
    const UINT count = attributes->cFuncs;
    type->ReleaseTypeAttr(attributes);
    for (UINT index = 0; index < count; ++index) {
        FUNCDESC* function = nullptr;
        if (FAILED(type->GetFuncDesc(index, &function))) {
            continue;
        }
        Bstr name;
        type->GetDocumentation(function->memid, name.put(), nullptr, nullptr, nullptr);
        events.names[function->memid] = name.view();
        type->ReleaseFuncDesc(function);
    }
    return events;
}

ScriptEvents::ScriptEvents(IUnknown& source,
                           const EventInterface& events,
                           const Text& prefix,
                           ProcedureCaller call) {
    const auto container = ComPtr<IUnknown>(&source).as<IConnectionPointContainer>();
    Check(container ? container->FindConnectionPoint(events.iid, point_.put()) : E_NOINTERFACE);
    const auto sink = ComPtr<Sink>::Adopt(new Sink(events, prefix, std::move(call)));
    Check(point_->Advise(sink.get(), &cookie_));
}

ScriptEvents::~ScriptEvents() {
    point_->Unadvise(cookie_);
}

}  // namespace kel::kelsh
