// record_keys DLL...: prints what each DLL writes into the registry when it registers itself for
// the machine. One value is one line of UTF-8, its parts parted by tabs:
//
//   file name of the DLL   key below HKEY_CLASSES_ROOT   name of the value   text
//
// The registration goes to a key of this process only and is removed with it; the true one is
// neither read nor changed.
#include <windows.h>

#include <objbase.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Text = std::wstring;

void Check(bool good, const char* what) {
    if (!good) {
        throw std::runtime_error(what);
    }
}

// HKEY_CLASSES_ROOT as an empty key of our own, while it lives.
class PrivateClasses {
public:
    PrivateClasses() : path_(L"Software\\kelSDK keys " + std::to_wstring(GetCurrentProcessId())) {
        Check(RegCreateKeyW(HKEY_CURRENT_USER, path_.c_str(), &key_) == ERROR_SUCCESS, "no key");
        // There on every machine, and taken for granted by the platform's own routines.
        for (const wchar_t* name : {L"CLSID", L"Interface", L"TypeLib"}) {
            HKEY made = nullptr;
            RegCreateKeyW(key_, name, &made);
            RegCloseKey(made);
        }
        RegOverridePredefKey(HKEY_CLASSES_ROOT, key_);
    }
    PrivateClasses(const PrivateClasses&) = delete;
    PrivateClasses& operator=(const PrivateClasses&) = delete;
    ~PrivateClasses() {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegCloseKey(key_);
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    }

    HKEY get() const { return key_; }

private:
    Text path_;
    HKEY key_ = nullptr;
};

void Print(const Text& text, char end) {
    const int units = static_cast<int>(text.size());
    std::string bytes(text.size() * 3, '\0');
    const int length = WideCharToMultiByte(CP_UTF8,
                                           0,
                                           text.data(),
                                           units,
                                           bytes.data(),
                                           static_cast<int>(bytes.size()),
                                           nullptr,
                                           nullptr);
    std::fwrite(bytes.data(), 1, static_cast<std::size_t>(length), stdout);
    std::fputc(end, stdout);
}

void PrintBelow(HKEY key, const Text& path, const Text& dll) {
    constexpr DWORD kLongest = 2048;
    std::array<wchar_t, kLongest> name{};
    std::array<wchar_t, kLongest> data{};
    for (DWORD index = 0;; ++index) {
        DWORD length = kLongest;
        DWORD bytes = kLongest * sizeof(wchar_t);
        DWORD kind = 0;
        const LSTATUS status = RegEnumValueW(key,
                                             index,
                                             name.data(),
                                             &length,
                                             nullptr,
                                             &kind,
                                             reinterpret_cast<BYTE*>(data.data()),
                                             &bytes);
        if (status == ERROR_NO_MORE_ITEMS) {
            break;
        }
        Check(status == ERROR_SUCCESS && kind == REG_SZ, "a value that is no text");
        data.at(bytes / sizeof(wchar_t)) = L'\0';
        Print(dll, '\t');
        Print(path, '\t');
        Print(name.data(), '\t');
        Print(data.data(), '\n');
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = kLongest;
        if (RegEnumKeyExW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            break;
        }
        HKEY child = nullptr;
        Check(RegOpenKeyExW(key, name.data(), 0, KEY_READ, &child) == ERROR_SUCCESS, "unreadable");
        PrintBelow(child, path.empty() ? name.data() : path + L"\\" + name.data(), dll);
        RegCloseKey(child);
    }
}

void Record(const Text& path) {
    const PrivateClasses classes;
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    Check(module != nullptr, "the DLL cannot be loaded");
    using Entry = HRESULT(STDAPICALLTYPE*)();
    const auto entry = reinterpret_cast<Entry>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllRegisterServer")));
    Check(entry != nullptr && SUCCEEDED(entry()), "registration failed");
    PrintBelow(classes.get(), L"", path.substr(path.find_last_of(L'\\') + 1));
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    for (int i = 1; i < count; ++i) {
        try {
            Record(arguments[i]);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "record_keys: %ls: %s\n", arguments[i], error.what());
            return 1;
        }
    }
    return 0;
}
