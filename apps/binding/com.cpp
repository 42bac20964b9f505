#include "apps/binding/com.h"

namespace kel::binding {

Error::Error(long number, std::wstring source, std::wstring description)
    : number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      what_(ToUtf8(description_)) {}

void Check(HRESULT code) {
    if (SUCCEEDED(code)) {
        return;
    }
    Str source;
    Str description;
    Ptr<IErrorInfo> info;
    if (GetErrorInfo(0, info.put()) == S_OK) {
        info->GetSource(source.inOut());
        info->GetDescription(description.inOut());
    }
    // Numbers from 1 to 65535 travel in this range.
    constexpr HRESULT kClassicNumbers = static_cast<HRESULT>(0x800A0000L);
    const bool classic = (code & static_cast<HRESULT>(0xFFFF0000L)) == kClassicNumbers;
    throw Error(classic ? code & 0xFFFF : code, source.text(), description.text());
}

std::string ToUtf8(std::wstring_view text) {
    const int units = static_cast<int>(text.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
    return result;
}

std::wstring FromUtf8(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), units);
    return result;
}

std::wstring Var::text() const {
    Var copy;
    return SUCCEEDED(VariantChangeType(copy.inOut(), const_cast<VARIANT*>(&value_), 0, VT_BSTR))
               ? std::wstring(V_BSTR(&copy.value_) != nullptr ? V_BSTR(&copy.value_) : L"",
                              SysStringLen(V_BSTR(&copy.value_)))
               : std::wstring();
}

}  // namespace kel::binding
