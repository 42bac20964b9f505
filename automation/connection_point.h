// Events: the connection point of an object with one event interface.
#pragma once

#include <windows.h>

#include <ocidl.h>
#include <olectl.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

#include "automation/object.h"

namespace kel::automation {

// One listener of a connection point.
struct Listener {
    ComPtr<IDispatch> sink;
    DWORD cookie = 0;
    bool connected = true;
};

// Changed by copying: whoever raises an event walks the list as it was when the event began.
using Listeners = std::vector<std::shared_ptr<Listener>>;

// A caller's text as an argument of an event, without a copy: it is the caller's for the time of
// the call that raises the event.
class LentText {
public:
    explicit LentText(BSTR text) noexcept {
        V_VT(&value_) = VT_BSTR;
        V_BSTR(&value_) = text;
    }
    const VARIANT& get() const noexcept { return value_; }

private:
    VARIANT value_{};
};

// The connection point of one event interface. A part of its owner: it shares the owner's life and
// reference count. Listeners are told in the order in which they came; a listener that leaves while
// an event is raised hears nothing more, one that comes hears the next event.
class ConnectionPoint final : public IConnectionPoint {
public:
    // `owner` is the object that contains this part; not counted.
    ConnectionPoint(IConnectionPointContainer& owner, REFIID source)
        : owner_(owner), source_(source) {}
    ConnectionPoint(const ConnectionPoint&) = delete;
    ConnectionPoint& operator=(const ConnectionPoint&) = delete;

    // Raises an event: every listener is called with the arguments (each a Variant or a
    // LentText, in declared order). Failing listeners are passed over. The owner is held while the
    // event runs.
    template <typename... Arguments>
    void raise(DISPID event, const Arguments&... arguments) noexcept {
        if constexpr (sizeof...(Arguments) == 0) {
            call(event, nullptr, 0);
        } else {
            // Automation passes arguments last first; listeners borrow the values.
            const VARIANT declared[] = {arguments.get()...};
            VARIANTARG reversed[sizeof...(Arguments)];
            std::reverse_copy(std::begin(declared), std::end(declared), std::begin(reversed));
            call(event, reversed, sizeof...(Arguments));
        }
    }

    REFIID source() const noexcept { return source_; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return owner_.AddRef(); }
    STDMETHODIMP_(ULONG) Release() noexcept override { return owner_.Release(); }

    STDMETHODIMP GetConnectionInterface(IID* iid) noexcept override;
    STDMETHODIMP GetConnectionPointContainer(
        IConnectionPointContainer** container) noexcept override;
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) noexcept override;
    STDMETHODIMP Unadvise(DWORD cookie) noexcept override;
    STDMETHODIMP EnumConnections(IEnumConnections** enumerator) noexcept override;

private:
    ~ConnectionPoint() = default;
    template <typename, typename, typename>
    friend class EventSource;

    void call(DISPID event, VARIANTARG* arguments, UINT count) noexcept;

    IConnectionPointContainer& owner_;
    const IID source_;
    std::shared_ptr<const Listeners> listeners_ = std::make_shared<const Listeners>();
    DWORD lastCookie_ = 0;
};

// An enumerator over the one connection point of an object.
ComPtr<IEnumConnectionPoints> EnumerateConnectionPoint(IConnectionPoint& point);

// Base of a class with one dual interface and one event interface.
template <typename Coclass, typename Dual, typename Source>
class EventSource : public Object<Coclass, Dual, IConnectionPointContainer> {
public:
    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** enumerator) noexcept override {
        return ComMethod([&] {
            Out result{enumerator};
            result = EnumerateConnectionPoint(events_);
        });
    }
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) noexcept override {
        if (point == nullptr) {
            return E_POINTER;
        }
        *point = nullptr;
        if (!IsEqualIID(iid, __uuidof(Source))) {
            return CONNECT_E_NOCONNECTION;
        }
        *point = &events_;
        events_.AddRef();
        return S_OK;
    }

protected:
    EventSource() : events_(*this, __uuidof(Source)) {}

    template <typename... Arguments>
    void raise(DISPID event, const Arguments&... arguments) noexcept {
        events_.raise(event, arguments...);
    }

    const IID* sourceInterface() const noexcept override { return &__uuidof(Source); }

private:
    ConnectionPoint events_;
};

}  // namespace kel::automation
