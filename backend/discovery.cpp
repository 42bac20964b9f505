// The registry of back-ends: programmatic identifiers, and the version that one must have.
#include "backend/discovery.h"

#include "automation/property.h"

namespace kel::backend {

using automation::CallOut;
using automation::ComPtr;
using automation::Text;
using automation::TextView;

Text ProgIdOf(short osType) {
    return L"kelos" + automation::DecimalText(osType) + L".IHostDLL";
}

ComPtr<_mviHostDLL> Create(short osType) {
    CLSID clsid;
    automation::Check(CLSIDFromProgID(ProgIdOf(osType).c_str(), &clsid));
    ComPtr<_mviHostDLL> host;
    CallOut([&] {
        return CoCreateInstance(clsid,
                                nullptr,
                                CLSCTX_SERVER,
                                __uuidof(_mviHostDLL),
                                reinterpret_cast<void**>(host.put()));
    });
    if (!host) {
        throw automation::Error(automation::kCannotCreateObject);
    }
    return host;
}

bool IsAcceptedVersion(TextView version) {
    constexpr short kLowestMajor = 2;
    const std::size_t dot = version.find(L'.');
    bool accepted = false;
    automation::Ignoring([&] {
        accepted =
            dot != TextView::npos && automation::ToShort(version.substr(0, dot)) >= kLowestMajor;
    });
    return accepted;
}

bool IsRegistered(short osType) noexcept {
    bool registered = false;
    automation::Ignoring([&] {
        const ComPtr<_mviHostDLL> host = Create(osType);
        registered = IsAcceptedVersion(automation::GetText(*host, &_mviHostDLL::get_Version));
    });
    return registered;
}

}  // namespace kel::backend
