// Hearing the component's events: a listener object, and its tie to a source.
#pragma once

#include <windows.h>

#include <ocidl.h>

#include "apps/demo/client.h"

namespace kel::demo {

// The arguments of one event. Automation passes them last first; here they count from 0 in the
// order in which the event declares them.
class Arguments {
public:
    explicit Arguments(const DISPPARAMS& parameters) : parameters_(parameters) {}

    Text text(UINT index) const { return Text(Variant::Through(at(index)).text().view()); }
    bool flag(UINT index) const { return Variant::Through(at(index)).boolean(); }
    // Writes an answer into a by-reference text.
    void answer(UINT index, TextView text) const {
        if (V_VT(&at(index)) == (VT_BYREF | VT_BSTR)) {
            SysFreeString(std::exchange(*V_BSTRREF(&at(index)), Bstr(text).detach()));
        }
    }

private:
    VARIANT& at(UINT index) const {
        if (index >= parameters_.cArgs) {
            throw automation::Error(automation::kInvalidCall);
        }
        return parameters_.rgvarg[parameters_.cArgs - 1 - index];
    }

    const DISPPARAMS& parameters_;
};

// Base of a listener to the event interface Events: a COM object whose Invoke is called with the
// event's number. Begins with one reference.
template <typename Events>
class Listener : public IDispatch {
public:
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
                           IsEqualIID(iid, __uuidof(Events));
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
            Hear(event, Arguments(*parameters));
            return S_OK;
        } catch (...) {
            return E_FAIL;  // the component goes on to the next listener
        }
    }

protected:
    Listener() = default;
    virtual ~Listener() = default;

    virtual void Hear(DISPID event, const Arguments& arguments) = 0;

private:
    ULONG references_ = 1;  // listeners stay on the thread that made them
};

// Ties a listener to a source for the life of this object. The source holds the listener meanwhile,
// so a listener that holds the source must be untied, or neither ever ends.
class Subscription {
public:
    template <typename Events>
    Subscription(IUnknown& source, Listener<Events>& listener) {
        const auto container = ComPtr<IUnknown>(&source).as<IConnectionPointContainer>();
        if (!container) {
            throw automation::Error::FromCode(E_NOINTERFACE);
        }
        automation::Check(container->FindConnectionPoint(__uuidof(Events), point_.put()));
        automation::Check(point_->Advise(&listener, &cookie_));
    }
    Subscription(Subscription&& other) noexcept
        : point_(std::move(other.point_)), cookie_(other.cookie_) {}
    Subscription& operator=(Subscription&&) = delete;
    ~Subscription() {
        if (point_) {
            point_->Unadvise(cookie_);
        }
    }

private:
    ComPtr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

}  // namespace kel::demo
