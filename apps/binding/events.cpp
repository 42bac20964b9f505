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

std::wstring Arguments::text(UINT index) const {
    VARIANT* argument = at(index);
    if (argument == nullptr) {
        return {};
    }
    Var copy;
    Check(VariantChangeType(
        copy.inOut(), argument, VARIANT_NOUSEROVERRIDE | VARIANT_ALPHABOOL, VT_BSTR));
    return copy.text();
}

void Arguments::answer(UINT index, std::wstring_view text) const {
    VARIANT* argument = at(index);
    if (argument != nullptr && V_VT(argument) == (VT_BYREF | VT_BSTR)) {
        Str given(text);
        std::swap(*V_BSTRREF(argument), *given.inOut());
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

}  // namespace kel::binding
