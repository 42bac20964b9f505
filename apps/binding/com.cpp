// Errors out of failed calls, and variants as other types.
#include "apps/binding/com.h"

#include <array>

namespace kel::binding {
namespace {

// Numbers from 1 to 65535 travel in this range.
constexpr HRESULT kClassicNumbers = static_cast<HRESULT>(0x800A0000L);

// The platform's words for a failure, without the line end it puts there.
std::wstring PlatformText(HRESULT code) {
    std::array<wchar_t, 512> buffer{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                        nullptr,
                                        static_cast<DWORD>(code),
                                        0,
                                        buffer.data(),
                                        static_cast<DWORD>(buffer.size()),
                                        nullptr);
    const std::wstring_view text(buffer.data(), length);
    return std::wstring(text.substr(0, text.find_last_not_of(L"\r\n") + 1));
}

}  // namespace

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
        info->GetSource(source.put());
        info->GetDescription(description.put());
    }
    const bool isClassic = (code & static_cast<HRESULT>(0xFFFF0000L)) == kClassicNumbers;
    throw Error(isClassic ? code & 0xFFFF : code,
                source.text(),
                description.view().empty() ? PlatformText(code) : description.text());
}

Var Var::Of(const VARIANT& value) {
    Var copy;
    Check(VariantCopyInd(&copy.value_, const_cast<VARIANT*>(&value)));
    return copy;
}

Var Var::Missing() {
    Var missing;
    V_VT(&missing.value_) = VT_ERROR;
    V_ERROR(&missing.value_) = DISP_E_PARAMNOTFOUND;
    return missing;
}

Var Var::as(VARTYPE type) const {
    Var converted;
    Check(VariantChangeType(
        &converted.value_, const_cast<VARIANT*>(&value_), VARIANT_ALPHABOOL, type));
    return converted;
}

std::wstring Var::text() const {
    std::wstring text;
    Ignoring([&] {
        const Var converted = as(VT_BSTR);
        text.assign(V_BSTR(&converted.value_), SysStringLen(V_BSTR(&converted.value_)));
    });
    return text;
}

std::optional<long> Var::number() const {
    std::optional<long> number;
    Ignoring([&] {
        const Var converted = as(VT_I4);
        number = V_I4(&converted.value_);
    });
    return number;
}

}  // namespace kel::binding
