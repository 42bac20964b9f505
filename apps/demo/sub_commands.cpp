// Countries read and held by a second process.
#include "apps/demo/sub_commands.h"

#include <array>
#include <cstdio>

#include "apps/demo/account.h"
#include "apps/demo/report.h"

namespace kel::demo {
namespace {

constexpr const wchar_t* kShownKey = L"Country";

// Reads through the key field as a control would: the record's id goes into attribute 0.
short ReadById(const DictItem& key, const Text& id) {
    key.FileName(kCountries);
    key.UpdateOnly(true);
    key.ExternalValue(0, id);
    return key.ReadRecord();
}

void PrintCountry(const Tools& tools, const Text& id) {
    PrintLine(id);
    for (long amc = kCountryName; amc <= kCountryFlag; ++amc) {
        const Text value = tools.Extract(kShownKey, amc);
        if (!value.empty()) {
            PrintLine(L"  " + std::to_wstring(amc) + L"  " + Readable(value));
        }
    }
    const long rows = tools.Dcount(kShownKey, kValueMark, kSubdivisionCode);
    PrintLine(L"  " + std::to_wstring(rows) + (rows == 1 ? L" subdivision" : L" subdivisions"));
}

}  // namespace

int ReadCountries(const Text& accountPath, const std::vector<Text>& ids) {
    const Account account(accountPath);
    const DictItem key({.keyId = kShownKey, .session = kAccountSession, .controlName = L""});
    int result = kDone;
    for (const Text& id : ids) {
        if (ReadById(key, id) == 0) {
            PrintCountry(account.tools(), id);
        } else {
            PrintLine(id + L": no such country");
            result = kFailed;
        }
    }
    return result;
}

int HoldCountry(const Text& accountPath, const Text& id) {
    const Account account(accountPath);
    const DictItem key({.keyId = kShownKey, .session = kAccountSession, .controlName = L""});
    key.ReadU(true);
    if (ReadById(key, id) == 2) {
        PrintLine(L"locked " + id);
        return kLocked;
    }
    PrintLine(L"held " + id);
    std::array<char, 256> ignored{};
    while (std::fread(ignored.data(), 1, ignored.size(), stdin) > 0) {
    }
    return kDone;  // the lock ends with the session
}

}  // namespace kel::demo
