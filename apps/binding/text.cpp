// Conversions between the encodings, and names without regard to case, by the platform's routines.
#include "apps/binding/text.h"

#include <windows.h>

#include <cerrno>
#include <cwchar>
#include <cwctype>

namespace kel::binding {
namespace {

// The platform takes no null pointer, not even with a length of 0.
const wchar_t* Units(TextView text) {
    return text.empty() ? L"" : text.data();
}

int Compare(TextView left, TextView right) {
    return CompareStringOrdinal(Units(left),
                                static_cast<int>(left.size()),
                                Units(right),
                                static_cast<int>(right.size()),
                                TRUE);
}

}  // namespace

std::string ToUtf8(TextView text) {
    const int units = static_cast<int>(text.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
    return result;
}

Text FromUtf8(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
    Text result(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), units);
    return result;
}

bool SameName(TextView left, TextView right) {
    return Compare(left, right) == CSTR_EQUAL;
}

bool NameLess::operator()(TextView left, TextView right) const {
    return Compare(left, right) == CSTR_LESS_THAN;
}

Text Lower(TextView text) {
    Text lowered(text);
    const int length = static_cast<int>(text.size());  // the mapping is one unit to one unit
    LCMapStringEx(LOCALE_NAME_INVARIANT,
                  LCMAP_LOWERCASE,
                  Units(text),
                  length,
                  lowered.data(),
                  length,
                  nullptr,
                  nullptr,
                  0);
    return lowered;
}

std::optional<long> WholeNumber(TextView text) {
    const Text ended(text);
    wchar_t* end = nullptr;
    errno = 0;
    const long number = std::wcstol(ended.c_str(), &end, 10);
    if (text.empty() || std::iswspace(text.front()) || end != ended.c_str() + ended.size() ||
        errno == ERANGE) {
        return std::nullopt;
    }
    return number;
}

}  // namespace kel::binding
