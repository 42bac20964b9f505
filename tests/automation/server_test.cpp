// Class factories, and registration that leaves no trace once it is taken back.
#include "automation/server.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/automation/probe.h"
#include "tests/support/backend.h"
#include "tests/support/environment.h"
#include "tests/support/resources.h"

namespace kel::tests {
namespace {

constexpr CLSID kProbeClass = {
    0x3cf3c1d6, 0x6d0b, 0x4b1f, {0xa1, 0x4e, 0x5b, 0x0a, 0x90, 0x21, 0x77, 0x01}};
constexpr CLSID kBrokenClass = {
    0x3cf3c1d6, 0x6d0b, 0x4b1f, {0xa1, 0x4e, 0x5b, 0x0a, 0x90, 0x21, 0x77, 0x02}};

HRESULT CreateBroken(REFIID, void** object) noexcept {
    return automation::ComMethod([&] {
        *object = nullptr;
        throw std::bad_alloc();
    });
}

constexpr automation::ClassEntry kClasses[] = {
    {kProbeClass, L"kelTests.Probe", L"Probe of the tests", automation::CreateInstance<Probe>},
    {kBrokenClass, L"kelTests.Broken", L"Cannot be made", CreateBroken},
};

TEST(ClassFactory, LeavesNothingBehindWhenItCannotMakeAnObject) {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(automation::ServerGetClassObject(
                  kBrokenClass, IID_IClassFactory, reinterpret_cast<void**>(factory.put())),
              S_OK);
    const long objects = automation::ModuleLocks::count();
    auto* made = reinterpret_cast<IUnknown*>(8);  // never touched
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&made)),
              static_cast<HRESULT>(0x800A0007));
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(automation::ModuleLocks::count(), objects);
    SetErrorInfo(0, nullptr);
}

bool Holds(const std::vector<Text>& lines, const Text& line) {
    return std::ranges::find(lines, line) != lines.end();
}

// Written into private keys, so that the machine's own stay as they are.
TEST(Registration, ThatFailsInTheMiddleTakesBackWhatItWrote) {
    const ForgivenHandles forgiven;
    const RegistryRedirection machine(HKEY_CLASSES_ROOT);
    const auto makeKey = [](const wchar_t* path, DWORD options) {
        HKEY key = nullptr;
        RegCreateKeyExW(
            HKEY_CLASSES_ROOT, path, 0, nullptr, options, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        RegCloseKey(key);
    };
    for (const wchar_t* path : {L"CLSID", L"Interface", L"TypeLib"}) {  // on every machine
        makeKey(path, REG_OPTION_NON_VOLATILE);
    }
    const auto before = machine.lines();
    // A lasting key cannot be made below a volatile one (ERROR_CHILD_MUST_BE_VOLATILE).
    makeKey(L"kelTests.Broken", REG_OPTION_VOLATILE);
    constexpr auto kChildMustBeVolatile = static_cast<HRESULT>(0x800703FD);
    EXPECT_EQ(automation::ServerRegister(automation::RegistrationScope::kMachine),
              kChildMustBeVolatile);
    EXPECT_EQ(machine.lines(), before);
    SetErrorInfo(0, nullptr);
}

TEST(Exports, RegisterForTheMachineOrTheUser) {
    LoadTestBackend();
    const HMODULE module = GetModuleHandleW(L"kelos99.dll");
    using Install = HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR);
    const auto install =
        reinterpret_cast<Install>(reinterpret_cast<void*>(GetProcAddress(module, "DllInstall")));
    ASSERT_NE(install, nullptr);
    const RegistryRedirection user(HKEY_CURRENT_USER);
    const RegistryRedirection machine(HKEY_CLASSES_ROOT);
    struct Case {
        const wchar_t* argument;
        HRESULT code;
        bool forMachine;
        bool forUser;
    };
    const Case cases[] = {
        {nullptr, S_OK, true, false},
        {L"", S_OK, true, false},
        {L"User", S_OK, false, true},
        {L"machine", E_INVALIDARG, false, false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        EXPECT_EQ(install(TRUE, one.argument), one.code);
        EXPECT_EQ(Holds(machine.lines(), L"kelos99.IHostDLL"), one.forMachine);
        EXPECT_EQ(Holds(user.lines(), L"Software\\Classes\\kelos99.IHostDLL"), one.forUser);
        EXPECT_EQ(install(FALSE, one.argument), one.code);
        EXPECT_FALSE(Holds(machine.lines(), L"kelos99.IHostDLL"));
        EXPECT_FALSE(Holds(user.lines(), L"Software\\Classes\\kelos99.IHostDLL"));
    }
}

}  // namespace
}  // namespace kel::tests

const kel::automation::ModuleDescription& kel::automation::ThisModule() noexcept {
    static const ModuleDescription module{L"kelSDK", kel::tests::kClasses, 2, true};
    return module;
}
