// What is asked of a back-end from all sides.
#include "engine/host_link.h"

#include "automation/property.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

ComPtr<_mviHostDLL> HostLink::host() const {
    if (!host_) {
        throw Error(kObjectNotSet);
    }
    return host_;
}

bool HostLink::isConnected() const noexcept {
    bool connected = false;
    Ignoring([&] { connected = GetFlag(*host(), &_mviHostDLL::get_IsConnected); });
    return connected;
}

ComPtr<IDispatch> HostLink::newDynamicArray() const {
    const auto maker = host();
    ComPtr<IDispatch> array;
    CallOut([&] { return maker->CreateDynamicArray(nullptr, array.put()); });
    return array;
}

}  // namespace kel::engine
