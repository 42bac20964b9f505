// Who listens to an object, and calling them: from a copy of the list, each by itself.
#include "automation/connection_point.h"

#include <algorithm>

#include "automation/enumerator.h"

namespace kel::automation {
namespace {

struct Connection {
    ComPtr<IDispatch> sink;
    DWORD cookie;
};

CONNECTDATA GiveConnection(const Connection& connection) {
    return {ComPtr<IUnknown>(connection.sink).detach(), connection.cookie};
}

IConnectionPoint* GivePoint(const ComPtr<IConnectionPoint>& point) {
    return ComPtr<IConnectionPoint>(point).detach();
}

using ConnectionsEnumerator =
    SnapshotEnumerator<IEnumConnections, CONNECTDATA, Connection, GiveConnection>;
using PointsEnumerator = SnapshotEnumerator<IEnumConnectionPoints,
                                            LPCONNECTIONPOINT,
                                            ComPtr<IConnectionPoint>,
                                            GivePoint>;

// One listener's call. What it returns, fails with or throws concerns nobody else.
void Notify(IDispatch& sink, DISPID event, DISPPARAMS params) noexcept {
    Variant ignored;
    try {
        sink.Invoke(event,
                    IID_NULL,
                    LOCALE_USER_DEFAULT,
                    DISPATCH_METHOD,
                    &params,
                    ignored.put(),
                    nullptr,
                    nullptr);
    } catch (...) {
        return;
    }
}

}  // namespace

STDMETHODIMP ConnectionPoint::QueryInterface(REFIID iid, void** object) noexcept {
    if (object == nullptr) {
        return E_POINTER;
    }
    const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IConnectionPoint);
    *object = known ? static_cast<IConnectionPoint*>(this) : nullptr;
    if (!known) {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionInterface(IID* iid) noexcept {
    if (iid == nullptr) {
        return E_POINTER;
    }
    *iid = source_;
    return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionPointContainer(
    IConnectionPointContainer** container) noexcept {
    if (container == nullptr) {
        return E_POINTER;
    }
    *container = &owner_;
    owner_.AddRef();
    return S_OK;
}

STDMETHODIMP ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) noexcept {
    if (sink == nullptr || cookie == nullptr) {
        return E_POINTER;
    }
    *cookie = 0;
    // Sinks answer for the event interface; plain IDispatch sinks, as late-bound clients make them,
    // are taken as well.
    ComPtr<IDispatch> listener;
    if (FAILED(sink->QueryInterface(source_, reinterpret_cast<void**>(listener.put()))) &&
        FAILED(sink->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(listener.put())))) {
        return CONNECT_E_CANNOTCONNECT;
    }
    return ComMethod([&] {
        auto changed = std::make_shared<Listeners>(*listeners_);
        changed->push_back(
            std::make_shared<Listener>(Listener{std::move(listener), lastCookie_ + 1}));
        listeners_ = std::move(changed);
        *cookie = ++lastCookie_;
    });
}

STDMETHODIMP ConnectionPoint::Unadvise(DWORD cookie) noexcept {
    const auto found =
        std::find_if(listeners_->begin(), listeners_->end(), [&](const auto& listener) {
            return listener->cookie == cookie;
        });
    if (found == listeners_->end()) {
        return CONNECT_E_NOCONNECTION;
    }
    return ComMethod([&] {
        const std::shared_ptr<Listener>& leaving = *found;
        auto changed = std::make_shared<Listeners>();
        changed->reserve(listeners_->size() - 1);
        std::remove_copy(
            listeners_->begin(), listeners_->end(), std::back_inserter(*changed), leaving);
        leaving->connected = false;
        // Held until the list is whole again: letting go of the sink may run its code.
        const std::shared_ptr<const Listeners> old = std::exchange(listeners_, std::move(changed));
    });
}

STDMETHODIMP ConnectionPoint::EnumConnections(IEnumConnections** enumerator) noexcept {
    return ComMethod([&] {
        Out result{enumerator};
        std::vector<Connection> connections;
        for (const auto& listener : *listeners_) {
            connections.push_back({listener->sink, listener->cookie});
        }
        result = ComPtr<IEnumConnections>::Adopt(new ConnectionsEnumerator(std::move(connections)));
    });
}

void ConnectionPoint::call(DISPID event, VARIANTARG* arguments, UINT count) noexcept {
    const std::shared_ptr<const Listeners> listeners = listeners_;
    if (listeners->empty()) {
        return;
    }
    const ComPtr<IConnectionPointContainer> keep(&owner_);
    for (const auto& listener : *listeners) {
        if (listener->connected) {
            Notify(*listener->sink, event, {arguments, nullptr, count, 0});
        }
    }
}

ComPtr<IEnumConnectionPoints> EnumerateConnectionPoint(IConnectionPoint& point) {
    return ComPtr<IEnumConnectionPoints>::Adopt(
        new PointsEnumerator({ComPtr<IConnectionPoint>(&point)}));
}

}  // namespace kel::automation
