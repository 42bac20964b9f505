// Configuration, identity and connection of the embedded back-end.
#include <atomic>

#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr short kOsType = 1;
constexpr const wchar_t* kVersion = L"2.0";

// Gives a caller's by-reference text a new value.
void Assign(BSTR* target, TextView text) {
    Bstr copy(text);
    std::swap(Require(target), *copy.inOut());
}

unsigned long NextConnection() noexcept {
    static std::atomic<unsigned long> last = 0;
    return ++last;
}

}  // namespace

STDMETHODIMP Host::PropertyCount(short* result) noexcept {
    return HostMember(L"PropertyCount", [&] {
        Out out{result};
        out = ConnectionProperties::kCount;
    });
}

STDMETHODIMP Host::GetPropertyName(short index, BSTR* name, BSTR* type) noexcept {
    return HostMember(L"GetPropertyName", [&] {
        const auto& row = ConnectionProperties::At(index);
        Assign(name, row.name);
        Assign(type, row.type);
    });
}

STDMETHODIMP Host::get_PropertyValue(BSTR name, BSTR* result) noexcept {
    return HostMember(L"PropertyValue", [&] {
        Out out{result};
        out = TextView(properties_.text(View(name)));
    });
}

STDMETHODIMP Host::put_PropertyValue(BSTR name, BSTR value) noexcept {
    return HostMember(L"PropertyValue", [&] { properties_.setText(View(name), View(value)); });
}

STDMETHODIMP Host::get_PropertyObject(BSTR name, IDispatch** result) noexcept {
    return HostMember(L"PropertyObject", [&] {
        Out out{result};
        out = properties_.object(View(name));
    });
}

STDMETHODIMP Host::putref_PropertyObject(BSTR name, IDispatch** value) noexcept {
    return HostMember(L"PropertyObject",
                      [&] { properties_.setObject(View(name), Require(value)); });
}

STDMETHODIMP Host::get_PropertyDescription(BSTR name, BSTR* result) noexcept {
    return HostMember(L"PropertyDescription", [&] {
        Out out{result};
        out = TextView(ConnectionProperties::Named(View(name)).explanation);
    });
}

STDMETHODIMP Host::get_PropertyDefault(BSTR name, VARIANT* result) noexcept {
    return HostMember(L"PropertyDefault", [&] {
        Out out{result};
        out = Variant(TextView(ConnectionProperties::Named(View(name)).fallback));
    });
}

STDMETHODIMP Host::get_OsType(short* result) noexcept {
    return HostMember(L"OsType", [&] {
        Out out{result};
        out = kOsType;
    });
}

STDMETHODIMP Host::get_OsDescription(BSTR* result) noexcept {
    return HostMember(L"OsDescription", [&] {
        Out out{result};
        out = TextView(L"Embedded multivalue database");
    });
}

STDMETHODIMP Host::get_DatabaseType(DatabaseTypeEnum* result) noexcept {
    return HostMember(L"DatabaseType", [&] {
        Out out{result};
        out = osUni;
    });
}

STDMETHODIMP Host::get_Version(BSTR* result) noexcept {
    return HostMember(L"Version", [&] {
        Out out{result};
        out = TextView(kVersion);
    });
}

STDMETHODIMP Host::get_IsConnected(VARIANT_BOOL* result) noexcept {
    return HostMember(L"IsConnected", [&] {
        Out out{result};
        out = store_ != nullptr;
    });
}

STDMETHODIMP Host::get_ConnectFailed(VARIANT_BOOL* result) noexcept {
    return HostMember(L"ConnectFailed", [&] {
        Out out{result};
        out = connectFailed_;
    });
}

STDMETHODIMP Host::Connect() noexcept {
    return HostMember(L"Connect", [&] {
        if (store_ != nullptr) {
            throw Error(AlreadyConnected, L"kelos1::Connect", L"Already Connected");
        }
        connectFailed_ = true;
        lockWaitMs_ = properties_.lockWaitMs();
        store_ = OpenStore(Units(properties_.path()), properties_.storeOptions());
        connection_ = NextConnection();
        connectFailed_ = false;
    });
}

STDMETHODIMP Host::Disconnect() noexcept {
    return HostMember(L"Disconnect", [&] {
        store_.reset();
        connection_ = 0;
        connectFailed_ = false;
    });
}

multivalue::Store& Host::store() const {
    if (store_ == nullptr) {
        throw Error(NotConnected, kHostSource, L"Not connected");
    }
    return *store_;
}

}  // namespace kel::embedded
