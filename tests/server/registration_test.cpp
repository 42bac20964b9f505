// Registration of the product's DLLs, by the entry points that a registration tool calls. The keys
// are private to this process: the machine's own registration is neither read nor changed.
#include <gtest/gtest.h>

#include <algorithm>

#include "kelSDK.h"
#include "tests/server/dll.h"
#include "tests/support/environment.h"
#include "tests/support/resources.h"

namespace kel::tests {
namespace {

Text GuidText(REFGUID guid) {
    wchar_t text[40];
    StringFromGUID2(guid, text, 40);
    return text;
}

class ProductRegistration : public testing::Test {
protected:
    ProductRegistration() {
        // These are there on every machine.
        for (const wchar_t* path : {L"CLSID", L"Interface", L"TypeLib"}) {
            HKEY key = nullptr;
            RegCreateKeyW(HKEY_CLASSES_ROOT, path, &key);
            RegCloseKey(key);
        }
        HKEY key = nullptr;
        RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID", &key);
        RegCloseKey(key);
    }

    bool holds(const Text& line) const {
        const auto lines = machine.lines();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    ForgivenHandles forgiven;
    RegistryRedirection user{HKEY_CURRENT_USER};
    RegistryRedirection machine{HKEY_CLASSES_ROOT};
};

TEST_F(ProductRegistration, OfTheComponentIsCompleteAndLeavesNoResidue) {
    const Dll dll(L"kelSDK.dll");
    const auto before = machine.lines();
    const auto userBefore = user.lines();
    ASSERT_EQ(dll.registerServer(), S_OK);
    struct Class {
        const wchar_t* progId;
        CLSID clsid;
    };
    for (const Class& one : {Class{L"kelSDK.kelBase", __uuidof(kelBase)},
                             Class{L"kelSDK.kelDictItem", __uuidof(kelDictItem)},
                             Class{L"kelSDK.mviHostDLL", __uuidof(mviHostDLL)}}) {
        SCOPED_TRACE(Narrow(one.progId));
        const Text key = L"CLSID\\" + GuidText(one.clsid);
        EXPECT_TRUE(holds(Text(one.progId) + L"\\CLSID@=" + GuidText(one.clsid)));
        EXPECT_TRUE(holds(key + L"\\ProgID@=" + one.progId));
        EXPECT_TRUE(holds(key + L"\\InprocServer32@=" + ProductPath(L"kelSDK.dll")));
        EXPECT_TRUE(holds(key + L"\\InprocServer32@ThreadingModel=Apartment"));
    }
    // What cannot be created is not registered as a class.
    EXPECT_FALSE(holds(L"CLSID\\" + GuidText(__uuidof(kelTools))));
    // Interfaces are registered for marshalling between apartments.
    for (const IID& iid : {__uuidof(_kelBase),
                           __uuidof(_kelTools),
                           __uuidof(_mviHostDLL),
                           __uuidof(__kelSessionCallBack)}) {
        EXPECT_TRUE(holds(L"Interface\\" + GuidText(iid) + L"\\ProxyStubClsid32"))
            << Narrow(GuidText(iid));
    }
    const auto registered = machine.lines();
    EXPECT_EQ(dll.registerServer(), S_OK) << "again";
    EXPECT_EQ(machine.lines(), registered);
    for (int times = 0; times < 2; ++times) {  // the second finds nothing
        EXPECT_EQ(dll.unregisterServer(), S_OK);
        EXPECT_EQ(machine.lines(), before);
    }
    EXPECT_EQ(user.lines(), userBefore);
}

// A newer version lies elsewhere: it takes the place of the old one, under the same identifiers.
TEST_F(ProductRegistration, OfAnUpdateChangesThePathOnly) {
    const TempFolder folder;
    for (const wchar_t* name : {L"kelSDK.dll", L"kelos1.dll"}) {
        SCOPED_TRACE(Narrow(name));
        const auto before = machine.lines();
        ASSERT_EQ(Dll(name).registerServer(), S_OK);
        const auto old = machine.lines();
        ASSERT_TRUE(CopyFileW(ProductPath(name).c_str(), (folder / name).c_str(), TRUE));
        const Dll update(folder / name);
        ASSERT_EQ(update.registerServer(), S_OK);
        auto lines = machine.lines();
        for (Text& line : lines) {
            const std::size_t at = line.find(folder.path());
            if (at != Text::npos) {
                const Text path = ProductPath(name);
                line.replace(at, folder.path().size(), path.substr(0, path.rfind(L'\\')));
            }
        }
        std::sort(lines.begin(), lines.end());
        EXPECT_EQ(lines, old);
        EXPECT_EQ(update.unregisterServer(), S_OK);
        EXPECT_EQ(machine.lines(), before);
    }
}

// Machine-wide and per-user registration exist side by side, and each is taken back by itself.
TEST_F(ProductRegistration, ForTheUserLeavesTheMachinesAlone) {
    const Dll component(L"kelSDK.dll");
    const Dll backEnd(L"kelos1.dll");
    for (const Dll* dll : {&component, &backEnd}) {
        const auto userBefore = user.lines();
        const auto before = machine.lines();
        ASSERT_EQ(dll->install(true, nullptr), S_OK);
        const auto registered = machine.lines();
        ASSERT_EQ(dll->install(true, L"user"), S_OK);
        EXPECT_EQ(machine.lines(), registered);
        EXPECT_NE(user.lines(), userBefore);
        EXPECT_EQ(dll->install(false, nullptr), S_OK);
        EXPECT_EQ(machine.lines(), before);
        EXPECT_EQ(dll->install(false, L"user"), S_OK);
        EXPECT_EQ(user.lines(), userBefore);
    }
}

}  // namespace
}  // namespace kel::tests
