// The sink: the one COM object that sources of events call, and how it is tied to them.
#include "apps/binding/events.h"

namespace kel::binding {
namespace {

// The COM object that a source calls.
class Sink final : public IDispatch {
public:
    Sink(const IID& events, std::shared_ptr<Handler> handler)
        : events_(events), handler_(std::move(handler)) {}
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
                           IsEqualIID(iid, events_);
        *object = known ? static_cast<IDispatch*>(this) : nullptr;
        if (!known) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Invoke(DISPID event,
                        REFIID,
                        LCID,
                        WORD,
                        DISPPARAMS* parameters,
                        VARIANT*,
                        EXCEPINFO*,
                        UINT*) noexcept override {
        try {
            // A copy: the handler may end its own subscription.
            if (const Handler handler = *handler_) {
                handler(event, Arguments(*parameters));
            }
            return S_OK;
        } catch (...) {
            return E_FAIL;  // the source goes on to the next listener
        }
    }

private:
    ~Sink() = default;

    const IID events_;
    const std::shared_ptr<Handler> handler_;
    ULONG references_ = 1;  // a sink stays on the thread that made it
};

}  // namespace

VARIANT* Arguments::at(UINT index) const {
    return index < parameters_.cArgs ? &parameters_.rgvarg[parameters_.cArgs - 1 - index] : nullptr;
}

Var Arguments::value(UINT index) const {
    const VARIANT* const argument = at(index);
    return argument != nullptr ? Var::Of(*argument) : Var();
}

bool Arguments::isByReference(UINT index) const {
    const VARIANT* const argument = at(index);
    return argument != nullptr && (V_VT(argument) & VT_BYREF) != 0;
}

void Arguments::answer(UINT index, const Var& value) const {
    if (!isByReference(index)) {
        return;
    }
    VARIANT& target = *at(index);
    if (V_VT(&target) == (VT_BYREF | VT_VARIANT)) {
        Var copy = Var::Of(value.get());
        std::swap(*V_VARIANTREF(&target), *copy.inOut());
        return;
    }
    Var given = value.as(static_cast<VARTYPE>(V_VT(&target) & ~VT_BYREF));
    VARIANT& answer = *given.inOut();
    switch (V_VT(&answer)) {
        case VT_BSTR:
            std::swap(*V_BSTRREF(&target), V_BSTR(&answer));
            break;
        case VT_I2:
            *V_I2REF(&target) = V_I2(&answer);
            break;
        case VT_I4:
            *V_I4REF(&target) = V_I4(&answer);
            break;
        case VT_BOOL:
            *V_BOOLREF(&target) = V_BOOL(&answer);
            break;
        default:
            break;  // no event of the component asks for anything else
    }
}

Subscription::Subscription(IUnknown& source, REFIID events, Handler handler)
    : handler_(std::make_shared<Handler>(std::move(handler))) {
    const auto container = Ptr<IUnknown>(&source).as<IConnectionPointContainer>();
    if (!container) {
        throw Error(E_NOINTERFACE, L"Subscription", L"the object has no events");
    }
    Check(container->FindConnectionPoint(events, point_.put()));
    Ptr<IDispatch> sink;
    *sink.put() = new Sink(events, handler_);
    Check(point_->Advise(sink.get(), &cookie_));
}

Subscription& Subscription::operator=(Subscription&& other) noexcept {
    if (this != &other) {
        end();
        point_ = std::move(other.point_);
        handler_ = std::move(other.handler_);
        cookie_ = other.cookie_;
    }
    return *this;
}

void Subscription::end() {
    if (handler_) {
        *handler_ = nullptr;
        handler_.reset();
    }
    if (point_) {
        point_->Unadvise(cookie_);
        point_.reset();
    }
}

Subscription Listen(_kelFieldCallBack& field,
                    std::function<void(FieldEvent event, const Arguments& arguments)> handler) {
    return Subscription(field,
                        __uuidof(__kelFieldCallBack),
                        [handler = std::move(handler)](DISPID event, const Arguments& arguments) {
                            handler(static_cast<FieldEvent>(event), arguments);
                        });
}

Subscription Listen(_kelSessionCallBack& session,
                    std::function<void(SessionEvent event, const Arguments& arguments)> handler) {
    return Subscription(session,
                        __uuidof(__kelSessionCallBack),
                        [handler = std::move(handler)](DISPID event, const Arguments& arguments) {
                            handler(static_cast<SessionEvent>(event), arguments);
                        });
}

}  // namespace kel::binding
