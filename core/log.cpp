// Writing lines of the diagnostic log, in turn with other processes.
#include "core/log.h"

#include <algorithm>
#include <atomic>
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

// A line's turn to be written. Appending is one step on Windows. Where it is not, as in Wine,
// writers at the same time would overwrite one another; so they take turns, which end with their
// process at the latest. It is not the file that is locked: whoever holds that for reasons of his
// own, a backup or a virus scanner, holds up nobody here.
//
// A turn that does not come, because some process was halted in the middle of its own, is no longer
// waited for, and for some time after that none is: a log may cost its program little. Lines are
// written all the same.
class Turn {
public:
    Turn() noexcept : mutex_(CreateMutexW(nullptr, FALSE, L"Local\\kelSDK.log")) {
        static std::atomic<ULONGLONG> hurriedUntil{0};
        constexpr DWORD kPatienceMs = 300;
        constexpr ULONGLONG kHurryMs = 30000;
        const bool isHurried = GetTickCount64() < hurriedUntil;
        const DWORD answer = WaitForSingleObject(mutex_, isHurried ? 0 : kPatienceMs);
        isOurs_ = answer == WAIT_OBJECT_0 || answer == WAIT_ABANDONED;
        if (answer == WAIT_TIMEOUT && !isHurried) {
            hurriedUntil = GetTickCount64() + kHurryMs;
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (isOurs_) {
            ReleaseMutex(mutex_);
        }
        if (mutex_ != nullptr) {
            CloseHandle(mutex_);
        }
    }

private:
    HANDLE mutex_;  // null when there is none to be had: then nobody waits
    bool isOurs_ = false;
};

// One write per line, at the end of the file wherever that is by then: lines of several threads and
// processes stay whole. A file that cannot be opened or written, whatever the reason, is not waited
// for; the line is lost.
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
        const Turn turn;
        DWORD written = 0;
        WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
        CloseHandle(file);
    }
}

// Whether a unit would end a line or steer what shows it.
bool IsControl(wchar_t unit) noexcept {
    constexpr wchar_t kLineSeparator = 0x2028;
    constexpr wchar_t kParagraphSeparator = 0x2029;
    return unit < L' ' || (unit >= 0x7F && unit < 0xA0) || unit == kLineSeparator ||
           unit == kParagraphSeparator;
}

// A message is one line, whatever names are in it.
Text OneLine(TextView message) {
    Text line(message);
    std::replace_if(line.begin(), line.end(), IsControl, L' ');
    return line;
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
                      OneLine(message) + L"\r\n";
    // Required: the level's own text names the file (log.h).
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
