// Lower case, comparison and numbers in text.
#include "automation/text.h"

#include <algorithm>

#include "automation/bstr.h"
#include "automation/error.h"

namespace kel::automation {
namespace {

constexpr wchar_t kFirstNonAscii = 0x80;

bool IsAscii(TextView text) noexcept {
    return std::all_of(text.begin(), text.end(), [](wchar_t c) { return c < kFirstNonAscii; });
}

wchar_t LowerAscii(wchar_t c) noexcept {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
}

}  // namespace

Text Lower(TextView text) {
    Text result(text);
    if (IsAscii(text)) {
        std::transform(result.begin(), result.end(), result.begin(), LowerAscii);
        return result;
    }
    // The mapping is one unit to one unit, so the length stays.
    const int length = static_cast<int>(text.size());
    if (LCMapStringEx(LOCALE_NAME_INVARIANT,
                      LCMAP_LOWERCASE,
                      text.data(),
                      length,
                      result.data(),
                      length,
                      nullptr,
                      nullptr,
                      0) != length) {
        throw Error::FromCode(HRESULT_FROM_WIN32(GetLastError()));
    }
    return result;
}

bool LowerEquals(TextView text, TextView lowered) {
    if (text.size() != lowered.size()) {
        return false;
    }
    if (IsAscii(text)) {
        return std::equal(text.begin(), text.end(), lowered.begin(), [](wchar_t a, wchar_t b) {
            return LowerAscii(a) == b;
        });
    }
    return Lower(text) == lowered;
}

Text DecimalText(long number) {
    return std::to_wstring(number);
}

short ToShort(TextView text) {
    const Bstr copy(text);
    SHORT number = 0;
    // The platform's routine would stop at a zero and take what stands before it.
    const HRESULT hr = copy.get() == nullptr || text.find(L'\0') != TextView::npos
                           ? DISP_E_TYPEMISMATCH
                           : VarI2FromStr(copy.get(), LOCALE_USER_DEFAULT, 0, &number);
    if (hr == DISP_E_OVERFLOW) {
        throw Error(kOverflow);
    }
    if (FAILED(hr)) {
        throw Error(kTypeMismatch);
    }
    return number;
}

}  // namespace kel::automation
