#include "core/settings.h"

namespace kel::core {
namespace {

constexpr const wchar_t* kSection = L"Software\\VB and VBA Program Settings\\kelSDK\\Settings";

}  // namespace

automation::Text GetSetting(const wchar_t* name, automation::TextView fallback) {
    DWORD bytes = 0;
    if (RegGetValueW(HKEY_CURRENT_USER, kSection, name, RRF_RT_REG_SZ, nullptr, nullptr, &bytes) !=
        ERROR_SUCCESS) {
        return automation::Text(fallback);
    }
    automation::Text value(bytes / sizeof(wchar_t), L'\0');
    if (RegGetValueW(
            HKEY_CURRENT_USER, kSection, name, RRF_RT_REG_SZ, nullptr, value.data(), &bytes) !=
        ERROR_SUCCESS) {
        return automation::Text(fallback);
    }
    value.resize(bytes / sizeof(wchar_t) - 1);  // without the terminating zero
    return value;
}

}  // namespace kel::core
