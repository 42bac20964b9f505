// Reading the user's settings.
#include "core/settings.h"

namespace kel::core {
namespace {

constexpr const wchar_t* kSection = L"Software\\VB and VBA Program Settings\\kelSDK\\Settings";

}  // namespace

automation::Text GetSetting(const wchar_t* name, automation::TextView fallback) {
    constexpr std::size_t kUsualUnits = 64;
    automation::Text value(kUsualUnits, L'\0');
    const auto read = [&] {
        auto bytes = static_cast<DWORD>(value.size() * sizeof(wchar_t));
        const LSTATUS status = RegGetValueW(
            HKEY_CURRENT_USER, kSection, name, RRF_RT_REG_SZ, nullptr, value.data(), &bytes);
        value.resize(bytes / sizeof(wchar_t));
        return status;
    };
    LSTATUS status = read();  // one access to the registry; asking for the length would be another
    if (status == ERROR_MORE_DATA) {
        status = read();
    }
    if (status != ERROR_SUCCESS || value.empty()) {
        return automation::Text(fallback);
    }
    value.pop_back();  // the terminating zero
    return value;
}

}  // namespace kel::core
