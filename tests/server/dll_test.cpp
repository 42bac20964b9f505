// The product's DLLs as files and class servers: exports, version, class factories.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelSDK.h"
#include "tests/server/dll.h"
#include "tests/support/dispatch.h"
#include "tests/support/errors.h"

namespace kel::tests {
namespace {

constexpr const wchar_t* kComponent = L"kelSDK.dll";
constexpr const wchar_t* kBackEnd = L"kelos1.dll";

// The names in a loaded module's export directory, in its order.
std::vector<std::string> ExportsOf(HMODULE module) {
    const auto* base = reinterpret_cast<const BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& place = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto* directory =
        reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place.VirtualAddress);
    EXPECT_EQ(directory->NumberOfFunctions, directory->NumberOfNames) << "none by number alone";
    const auto* names = reinterpret_cast<const DWORD*>(base + directory->AddressOfNames);
    std::vector<std::string> result;
    for (DWORD i = 0; i < directory->NumberOfNames; ++i) {
        result.emplace_back(reinterpret_cast<const char*>(base + names[i]));
    }
    return result;
}

TEST(ProductDlls, ExportTheFiveEntryPoints) {
    for (const wchar_t* name : {kComponent, kBackEnd}) {
        const Dll dll(name);
        EXPECT_THAT(ExportsOf(dll.module()),
                    testing::ElementsAre("DllCanUnloadNow",
                                         "DllGetClassObject",
                                         "DllInstall",
                                         "DllRegisterServer",
                                         "DllUnregisterServer"))
            << Narrow(name);
    }
}

Text VersionText(const std::vector<BYTE>& block, const wchar_t* value) {
    void* text = nullptr;
    UINT length = 0;
    const Text path = Text(L"\\StringFileInfo\\040904B0\\") + value;
    return VerQueryValueW(block.data(), path.c_str(), &text, &length)
               ? Text(static_cast<const wchar_t*>(text))
               : Text(L"missing");
}

TEST(ProductDlls, CarryTheirVersion) {
    for (const wchar_t* name : {kComponent, kBackEnd}) {
        SCOPED_TRACE(Narrow(name));
        const Text path = ProductPath(name);
        std::vector<BYTE> block(GetFileVersionInfoSizeW(path.c_str(), nullptr));
        ASSERT_TRUE(
            GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()));
        void* found = nullptr;
        UINT length = 0;
        ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", &found, &length));
        const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(found);
        EXPECT_EQ(fixed.dwFileVersionMS, 0x00010000U);
        EXPECT_EQ(fixed.dwFileVersionLS, 134U);
        EXPECT_EQ(VersionText(block, L"FileVersion"), L"1.0.0.134");
        EXPECT_EQ(VersionText(block, L"OriginalFilename"), name);
        EXPECT_EQ(VersionText(block, L"OLESelfRegister"), L"");
    }
    EXPECT_EQ(Dispatch::Create(L"kelSDK.kelBase").call(L"Version").text(), L"1.0.134");
}

TEST(ProductDlls, ServeTheirCreatableClasses) {
    const Dll component(kComponent);
    const Dll backEnd(kBackEnd);
    struct Case {
        const Dll& dll;
        CLSID clsid;
        bool isCreatable;
    };
    const Case cases[] = {
        {component, __uuidof(kelBase), true},
        {component, __uuidof(kelDictItem), true},
        {component, __uuidof(mviHostDLL), true},
        {component, __uuidof(kelTools), false},
        {component, __uuidof(kelSessionCallBack), false},
        {component, kEmbeddedClass, false},
        {component, GUID_NULL, false},
        {backEnd, kEmbeddedClass, true},
        {backEnd, __uuidof(mviHostDLL), false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(one.dll.getClassObject(
                      one.clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.put())),
                  one.isCreatable ? S_OK : CLASS_E_CLASSNOTAVAILABLE);
        ASSERT_EQ(static_cast<bool>(factory), one.isCreatable);
        if (!factory) {
            continue;
        }
        const auto outer = component.make<IUnknown>(__uuidof(kelDictItem));
        IUnknown* made = outer.get();
        EXPECT_EQ(
            factory->CreateInstance(outer.get(), IID_IUnknown, reinterpret_cast<void**>(&made)),
            CLASS_E_NOAGGREGATION);
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(
            factory->CreateInstance(nullptr, IID_IConnectionPoint, reinterpret_cast<void**>(&made)),
            E_NOINTERFACE);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&made)),
                  S_OK);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->Release(), 0U);
    }
    SetErrorInfo(0, nullptr);
}

}  // namespace
}  // namespace kel::tests
