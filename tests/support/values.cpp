#include "tests/support/values.h"

namespace kel::tests {

Text Shown(const VARIANT& value) {
    if (automation::IsMissing(&value)) {
        return L"Missing";
    }
    const Variant target = Variant::Through(value);
    switch (V_VT(&target.get())) {
        case VT_EMPTY:
            return L"Empty";
        case VT_NULL:
            return L"Null";
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return V_UNKNOWN(&target.get()) != nullptr ? L"object" : L"Nothing";
        case VT_ERROR:
            return L"Error";
        default:
            return (V_VT(&target.get()) & VT_ARRAY) != 0 ? Text(L"array")
                                                         : Text(target.text().view());
    }
}

std::string Narrow(TextView text) {
    const int units = static_cast<int>(text.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
    return result;
}

}  // namespace kel::tests
