#include "tests/support/environment.h"

#include <algorithm>
#include <array>

namespace kel::tests {
namespace {

void Collect(HKEY key, const Text& path, std::vector<Text>& lines) {
    constexpr std::size_t kLongest = 4096;
    std::vector<wchar_t> name(kLongest);
    std::vector<wchar_t> data(kLongest);
    for (DWORD index = 0;; ++index) {
        auto nameLength = static_cast<DWORD>(name.size());
        auto bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        DWORD kind = 0;
        if (RegEnumValueW(key,
                          index,
                          name.data(),
                          &nameLength,
                          nullptr,
                          &kind,
                          reinterpret_cast<BYTE*>(data.data()),
                          &bytes) != ERROR_SUCCESS) {
            break;
        }
        Text value = kind == REG_SZ ? Text(data.data(), bytes / sizeof(wchar_t))
                                    : L"#" + std::to_wstring(kind);
        while (!value.empty() && value.back() == L'\0') {
            value.pop_back();
        }
        lines.push_back(
            Text(path).append(L"@").append(name.data(), nameLength).append(L"=").append(value));
    }
    for (DWORD index = 0;; ++index) {
        auto nameLength = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(
                key, index, name.data(), &nameLength, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            break;
        }
        const Text below = (path.empty() ? L"" : path + L"\\") + Text(name.data(), nameLength);
        lines.push_back(below);
        HKEY child = nullptr;
        if (RegOpenKeyExW(key, name.data(), 0, KEY_READ, &child) == ERROR_SUCCESS) {
            Collect(child, below, lines);
            RegCloseKey(child);
        }
    }
}

constexpr const wchar_t* kSettings = L"Software\\VB and VBA Program Settings\\kelSDK\\Settings";

}  // namespace

RegistryRedirection::RegistryRedirection(HKEY predefined)
    : predefined_(predefined),
      path_(L"Software\\kelSDK tests\\" + std::to_wstring(GetCurrentProcessId()) + L" " +
            std::to_wstring(static_cast<long>(reinterpret_cast<LONG_PTR>(predefined) & 0xF))) {
    RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    RegCreateKeyExW(HKEY_CURRENT_USER,
                    path_.c_str(),
                    0,
                    nullptr,
                    REG_OPTION_NON_VOLATILE,
                    KEY_ALL_ACCESS,
                    nullptr,
                    &key_,
                    nullptr);
    RegOverridePredefKey(predefined_, key_);
}

RegistryRedirection::~RegistryRedirection() {
    RegOverridePredefKey(predefined_, nullptr);
    RegCloseKey(key_);
    RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
}

std::vector<Text> RegistryRedirection::lines() const {
    std::vector<Text> lines;
    Collect(key_, L"", lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

void SettingsOverride::set(const wchar_t* name, TextView text) {
    const Text value(text);
    RegSetKeyValueW(HKEY_CURRENT_USER,
                    kSettings,
                    name,
                    REG_SZ,
                    value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void SettingsOverride::remove(const wchar_t* name) {
    RegDeleteKeyValueW(HKEY_CURRENT_USER, kSettings, name);
}

TempFolder::TempFolder() {
    static int made = 0;
    std::array<wchar_t, MAX_PATH> root{};
    GetTempPathW(static_cast<DWORD>(root.size()), root.data());
    path_ = Text(root.data()) + L"kel" + std::to_wstring(GetCurrentProcessId()) + L"-" +
            std::to_wstring(++made);
    CreateDirectoryW(path_.c_str(), nullptr);
}

TempFolder::~TempFolder() {
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((path_ + L"\\*").c_str(), &found);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &found)) {
        DeleteFileW((path_ + L"\\" + found.cFileName).c_str());
    }
    FindClose(search);
    RemoveDirectoryW(path_.c_str());
}

CurrentDirectory::CurrentDirectory(const Text& path) {
    std::array<wchar_t, MAX_PATH> former{};
    GetCurrentDirectoryW(static_cast<DWORD>(former.size()), former.data());
    former_ = former.data();
    SetCurrentDirectoryW(path.c_str());
}

void WaitForDueTimer() {
    while ((HIWORD(GetQueueStatus(QS_TIMER)) & QS_TIMER) == 0) {
        Sleep(1);
    }
}

bool FileExists(const Text& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string FileBytes(const Text& path) {
    const HANDLE file = CreateFileW(path.c_str(),
                                    GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr,
                                    OPEN_EXISTING,
                                    0,
                                    nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return {};
    }
    std::string bytes(GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
    CloseHandle(file);
    bytes.resize(read);
    return bytes;
}

}  // namespace kel::tests
