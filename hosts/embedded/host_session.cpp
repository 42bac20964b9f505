// Configuration, identity and connection of the embedded back-end.
#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr short kOsType = 1;
constexpr const wchar_t* kVersion = L"2.0";

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
        out = properties_.family() == conversion::Family::kR83 ? osR83 : osUni;
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
        out = connection_ != nullptr;
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
        if (connection_ != nullptr) {
            throw Error(AlreadyConnected, L"kelos1::Connect", L"Already Connected");
        }
        connectFailed_ = true;
        connection_ = std::make_shared<Connection>(properties_.options());
        connectFailed_ = false;
    });
}

STDMETHODIMP Host::Disconnect() noexcept {
    return HostMember(L"Disconnect", [&] {
        // Out of reach first: ending it lets go of objects, which may call back.
        connectFailed_ = false;
        if (const auto last = std::move(connection_)) {
            last->end();
        }
    });
}

Host::~Host() {
    if (const auto last = std::move(connection_)) {
        last->end();
    }
}

std::shared_ptr<Connection> Host::connection() const {
    if (connection_ == nullptr) {
        throw Error(NotConnected, kHostSource, L"Not connected");
    }
    return connection_;
}

}  // namespace kel::embedded
