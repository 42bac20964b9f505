// Finding back-ends in the registry by their programmatic identifiers, "kelos1.IHostDLL" and so on.
#include "apps/binding/back_end.h"

#include <array>
#include <climits>
#include <set>

namespace kel::binding {
namespace {

constexpr TextView kPrefix = L"kelos";
constexpr TextView kSuffix = L".IHostDLL";

// The number in a programmatic identifier, else 0.
short NumberIn(TextView progId) {
    if (progId.size() <= kPrefix.size() + kSuffix.size() ||
        !SameName(progId.substr(0, kPrefix.size()), kPrefix) ||
        !SameName(progId.substr(progId.size() - kSuffix.size()), kSuffix)) {
        return 0;
    }
    progId.remove_prefix(kPrefix.size());
    progId.remove_suffix(kSuffix.size());
    const long number = WholeNumber(progId).value_or(0);
    return number > 0 && number <= SHRT_MAX ? static_cast<short>(number) : short{0};
}

}  // namespace

Ptr<_mviHostDLL> CreateBackEnd(short number) {
    return Create<_mviHostDLL>((Text(kPrefix) + std::to_wstring(number) + Text(kSuffix)).c_str());
}

std::vector<BackEnd> BackEnds() {
    std::set<short> numbers{kEmbedded};
    std::array<wchar_t, 256> name{};  // the longest name of a registry key
    for (DWORD index = 0;; ++index) {
        DWORD length = name.size();
        if (RegEnumKeyExW(HKEY_CLASSES_ROOT,
                          index,
                          name.data(),
                          &length,
                          nullptr,
                          nullptr,
                          nullptr,
                          nullptr) != ERROR_SUCCESS) {
            break;
        }
        if (const short number = NumberIn(TextView(name.data(), length)); number > 0) {
            numbers.insert(number);
        }
    }
    std::vector<BackEnd> found;
    for (const short number : numbers) {
        // One that cannot be made here, of the other width for example, is of no use.
        Ignoring([&] {
            const auto host = CreateBackEnd(number);
            found.push_back({number,
                             AskText([&](BSTR* to) { return host->get_OsDescription(to); }),
                             AskText([&](BSTR* to) { return host->get_Version(to); })});
        });
    }
    return found;
}

std::vector<PropertyInfo> PropertiesOf(_mviHostDLL& backEnd) {
    const short count = Ask<short>([&](short* to) { return backEnd.PropertyCount(to); });
    std::vector<PropertyInfo> properties;
    for (short index = 1; index <= count; ++index) {
        Str name;
        Str type;
        Check(backEnd.GetPropertyName(index, name.inOut(), type.inOut()));
        Var fallback;
        Check(backEnd.get_PropertyDefault(name.get(), fallback.put()));
        properties.push_back(
            {name.text(),
             SameName(type.view(), L"Object"),
             AskText([&](BSTR* to) { return backEnd.get_PropertyDescription(name.get(), to); }),
             fallback.text()});
    }
    return properties;
}

}  // namespace kel::binding
