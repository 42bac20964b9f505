#include "core/log.h"

#include <string>

#include "automation/error.h"
#include "core/settings.h"

namespace kel::core {
namespace {

using automation::Bstr;
using automation::Check;
using automation::Text;
using automation::TextView;

constexpr short kLowestLevel = 9;
constexpr std::size_t kSeparatorLength = 50;

Text NowInGeneralFormat() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    DATE date = 0;
    Bstr text;
    if (!SystemTimeToVariantTime(&now, &date)) {
        throw automation::Error(automation::kInvalidCall);
    }
    Check(VarBstrFromDate(date, LOCALE_USER_DEFAULT, 0, text.put()));
    return Text(text.view());
}

std::string Utf8(TextView text) {
    const int units = static_cast<int>(text.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
    return result;
}

// Appending is one step on Windows. Where it is not, as in Wine, writers at the same time would
// overwrite one another; so they take turns. The lock lies behind everything that is ever written,
// hinders no reader, and goes with the handle. A turn that does not come, because some process was
// halted in the middle of its own, is no longer waited for.
void TakeTurn(HANDLE file) noexcept {
    constexpr ULONGLONG kPatienceMs = 3000;
    OVERLAPPED farBehind{};
    farBehind.OffsetHigh = MAXLONG;
    const ULONGLONG start = GetTickCount64();
    while (!LockFileEx(
               file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &farBehind) &&
           GetLastError() == ERROR_LOCK_VIOLATION && GetTickCount64() - start < kPatienceMs) {
        Sleep(1);
    }
}

// One write per line, at the end of the file wherever that is by then: lines of several threads and
// processes stay whole.
void AppendLine(const Text& path, const std::string& line) noexcept {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path.c_str(),
                                    FILE_APPEND_DATA,
                                    kShareAll,
                                    nullptr,
                                    OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL,
                                    nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        TakeTurn(file);
        DWORD written = 0;
        WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
        CloseHandle(file);
    }
}

void Write(TextView message, short level) {
    if (GetSetting(L"Log", L"0") == L"0") {
        return;
    }
    const short effective = level <= 0 ? kLowestLevel : level;
    if (effective < automation::ToShort(GetSetting(L"LogLevel", L"0"))) {
        return;
    }
    const Text line = NowInGeneralFormat() + L" " + std::to_wstring(GetCurrentThreadId()) + L" - " +
                      Text(message) + L"\r\n";
    AppendLine(GetSetting(L"LogLevel", L"c:\\kelSDK.log"), Utf8(line));
}

}  // namespace

void WriteLog(TextView message, short level) noexcept {
    automation::Ignoring([&] { Write(message, level); });
}

void LogSeparator() noexcept {
    automation::Ignoring([] { Write(Text(kSeparatorLength, L'='), kLowestLevel); });
}

}  // namespace kel::core
