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

using automation::RegistrationScope;
using automation::ServerGetClassObject;
using automation::ServerRegister;
using automation::ServerUnregister;

constexpr CLSID kProbeClass = {
    0x3cf3c1d6, 0x6d0b, 0x4b1f, {0xa1, 0x4e, 0x5b, 0x0a, 0x90, 0x21, 0x77, 0x01}};
constexpr CLSID kBrokenClass = {
    0x3cf3c1d6, 0x6d0b, 0x4b1f, {0xa1, 0x4e, 0x5b, 0x0a, 0x90, 0x21, 0x77, 0x02}};
constexpr const wchar_t* kProbeId = L"{3CF3C1D6-6D0B-4B1F-A14E-5B0A90217701}";

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

// What an output holds before a call; never touched.
IUnknown* const kStale = reinterpret_cast<IUnknown*>(8);

ComPtr<IClassFactory> FactoryOf(REFCLSID clsid) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(
        ServerGetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.put())),
        S_OK);
    return factory;
}

TEST(ClassFactory, ServesTheModulesClassesAndNothingElse) {
    struct Case {
        CLSID clsid;
        IID iid;
        HRESULT code;
    };
    const Case cases[] = {
        {kProbeClass, IID_IClassFactory, S_OK},
        {kProbeClass, IID_IUnknown, S_OK},
        {kProbeClass, IID_IMarshal, E_NOINTERFACE},
        {kProbeClass, IID_IDispatch, E_NOINTERFACE},
        {GUID_NULL, IID_IClassFactory, CLASS_E_CLASSNOTAVAILABLE},
        {__uuidof(_Collection), IID_IClassFactory, CLASS_E_CLASSNOTAVAILABLE},
    };
    const long objects = automation::ModuleLocks::count();
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        IUnknown* found = kStale;
        EXPECT_EQ(ServerGetClassObject(one.clsid, one.iid, reinterpret_cast<void**>(&found)),
                  one.code);
        ASSERT_EQ(found != nullptr, one.code == S_OK);
        if (found != nullptr) {
            found->Release();
        }
        EXPECT_EQ(automation::ModuleLocks::count(), objects);
    }
    EXPECT_EQ(ServerGetClassObject(kProbeClass, IID_IClassFactory, nullptr), E_POINTER);
    SetErrorInfo(0, nullptr);
}

TEST(ClassFactory, MakesObjectsOrLeavesNothingBehind) {
    const auto factory = FactoryOf(kProbeClass);
    const auto broken = FactoryOf(kBrokenClass);
    const long objects = automation::ModuleLocks::count();
    const auto probe = automation::Make<Probe>();
    struct Case {
        IClassFactory* factory;
        IUnknown* outer;
        IID iid;
        HRESULT code;
    };
    const Case cases[] = {
        {factory.get(), nullptr, __uuidof(_Collection), S_OK},
        {factory.get(), nullptr, IID_IDispatch, S_OK},
        {factory.get(), probe->self(), IID_IUnknown, CLASS_E_NOAGGREGATION},
        {factory.get(), nullptr, __uuidof(_kelBase), E_NOINTERFACE},
        {broken.get(), nullptr, IID_IUnknown, static_cast<HRESULT>(0x800A0007)},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        IUnknown* made = kStale;
        EXPECT_EQ(one.factory->CreateInstance(one.outer, one.iid, reinterpret_cast<void**>(&made)),
                  one.code);
        ASSERT_EQ(made != nullptr, one.code == S_OK);
        if (made != nullptr) {
            EXPECT_EQ(automation::ModuleLocks::count(), objects + 2);
            EXPECT_EQ(made->Release(), 0U);
        }
        EXPECT_EQ(automation::ModuleLocks::count(), objects + 1);
    }
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    SetErrorInfo(0, nullptr);
}

TEST(Server, MayBeUnloadedWhenNothingIsLeft) {
    EXPECT_EQ(automation::ServerCanUnloadNow(), S_OK);
    auto factory = FactoryOf(kProbeClass);
    EXPECT_EQ(automation::ServerCanUnloadNow(), S_FALSE);
    factory->LockServer(TRUE);
    factory->LockServer(TRUE);
    factory.reset();
    EXPECT_EQ(automation::ServerCanUnloadNow(), S_FALSE);
    factory = FactoryOf(kProbeClass);
    factory->LockServer(FALSE);
    factory->LockServer(FALSE);
    factory.reset();
    const auto probe = automation::Make<Probe>();
    EXPECT_EQ(automation::ServerCanUnloadNow(), S_FALSE);
}

// Registration written into private keys, so that the machine's own stay as they are.
class Registration : public testing::Test {
protected:
    Registration() {
        // These are there on every machine.
        for (const wchar_t* key : {L"CLSID", L"Interface", L"TypeLib"}) {
            makeKey(HKEY_CLASSES_ROOT, key, REG_OPTION_NON_VOLATILE);
        }
        makeKey(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID", REG_OPTION_NON_VOLATILE);
    }
    static void makeKey(HKEY root, const wchar_t* path, DWORD options) {
        HKEY key = nullptr;
        RegCreateKeyExW(root, path, 0, nullptr, options, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        RegCloseKey(key);
    }
    std::vector<Text> lines() const {
        std::vector<Text> all = user_.lines();
        const std::vector<Text> machine = machine_.lines();
        all.insert(all.end(), machine.begin(), machine.end());
        return all;
    }

    ForgivenHandles forgiven_;
    RegistryRedirection user_{HKEY_CURRENT_USER};
    RegistryRedirection machine_{HKEY_CLASSES_ROOT};
};

bool Holds(const std::vector<Text>& lines, const Text& line) {
    return std::ranges::find(lines, line) != lines.end();
}

TEST_F(Registration, IsTakenBackWithoutATrace) {
    const auto before = lines();
    for (const RegistrationScope scope : {RegistrationScope::kMachine, RegistrationScope::kUser}) {
        const bool forUser = scope == RegistrationScope::kUser;
        const Text root = forUser ? L"Software\\Classes\\" : L"";
        const Text classKey = root + L"CLSID\\" + kProbeId;
        for (int times = 0; times < 2; ++times) {  // again is no failure
            EXPECT_EQ(ServerRegister(scope), S_OK);
        }
        const auto written = forUser ? user_.lines() : machine_.lines();
        for (const Text& line : {classKey + L"@=Probe of the tests",
                                 classKey + L"\\InprocServer32@=" + automation::ModulePath(),
                                 classKey + L"\\InprocServer32@ThreadingModel=Apartment",
                                 classKey + L"\\ProgID@=kelTests.Probe",
                                 classKey + L"\\Programmable",
                                 classKey + L"\\TypeLib@={FA1B15C6-C0E5-4E91-9F05-31699FDE3E49}",
                                 root + L"kelTests.Probe\\CLSID@=" + kProbeId,
                                 root + L"kelTests.Broken"}) {
            EXPECT_TRUE(Holds(written, line)) << Narrow(line);
        }
        EXPECT_TRUE(Holds(lines(), L"TypeLib\\{FA1B15C6-C0E5-4E91-9F05-31699FDE3E49}\\1.0") ||
                    Holds(lines(), root + L"TypeLib\\{FA1B15C6-C0E5-4E91-9F05-31699FDE3E49}\\1.0"));
        for (int times = 0; times < 2; ++times) {  // nothing there is no failure
            EXPECT_EQ(ServerUnregister(scope), S_OK);
        }
        EXPECT_EQ(lines(), before);
    }
}

TEST_F(Registration, ThatFailsInTheMiddleTakesBackWhatItWrote) {
    const auto before = lines();
    // A lasting key cannot be made below a volatile one (ERROR_CHILD_MUST_BE_VOLATILE).
    constexpr auto kChildMustBeVolatile = static_cast<HRESULT>(0x800703FD);
    makeKey(HKEY_CLASSES_ROOT, L"kelTests.Broken", REG_OPTION_VOLATILE);
    EXPECT_EQ(ServerRegister(RegistrationScope::kMachine), kChildMustBeVolatile);
    EXPECT_EQ(lines(), before);
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

// What the test back-end is registered for: COM finds the very module that tests control.
TEST(TestBackendDll, IsTheOneThatComLoads) {
    TestBackend& backend = LoadTestBackend();
    backend.reset();
    struct Case {
        const wchar_t* progId;
        HRESULT code;
    };
    const Case cases[] = {
        {L"kelos99.IHostDLL", S_OK},
        {L"kelos98.IHostDLL", S_OK},
        {L"kelos97.IHostDLL", S_OK},
        {L"kelos95.IHostDLL", S_OK},
        {L"kelos96.IHostDLL", E_NOINTERFACE},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.progId));
        CLSID clsid;
        ASSERT_EQ(CLSIDFromProgID(one.progId, &clsid), S_OK);
        ComPtr<_mviHostDLL> host;
        EXPECT_EQ(CoCreateInstance(clsid,
                                   nullptr,
                                   CLSCTX_INPROC_SERVER,
                                   __uuidof(_mviHostDLL),
                                   reinterpret_cast<void**>(host.put())),
                  one.code);
        EXPECT_EQ(backend.live().hosts, host ? 1 : 0);
    }
    EXPECT_EQ(backend.live(), LiveObjects());
    backend.reset();
}

}  // namespace
}  // namespace kel::tests

const kel::automation::ModuleDescription& kel::automation::ThisModule() noexcept {
    static const ModuleDescription module{L"kelSDK", kel::tests::kClasses, 2, true};
    return module;
}
