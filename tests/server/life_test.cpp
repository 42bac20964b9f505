// When the product's DLLs may be unloaded, and that they survive it.
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "kelSDK.h"
#include "tests/server/dll.h"
#include "tests/support/dispatch.h"
#include "tests/support/environment.h"
#include "tests/support/resources.h"

namespace kel::tests {
namespace {

// A thread with an apartment of its own: what the component keeps for a thread ends with it.
void InItsOwnApartment(const std::function<void()>& work) {
    std::thread([&] {
        CoInitialize(nullptr);
        work();
        CoUninitialize();
    }).join();
}

TEST(Unloading, WaitsForObjectsFactoriesAndLocks) {
    struct Case {
        const wchar_t* dll;
        CLSID clsid;
    };
    for (const Case& one : {Case{L"kelSDK.dll", __uuidof(kelDictItem)},
                            Case{L"kelSDK.dll", __uuidof(mviHostDLL)},
                            Case{L"kelos1.dll", kEmbeddedClass}}) {
        const Dll dll(one.dll);
        EXPECT_EQ(dll.canUnloadNow(), S_OK);
        ComPtr<IClassFactory> factory;
        dll.getClassObject(one.clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.put()));
        EXPECT_EQ(dll.canUnloadNow(), S_FALSE);
        factory->LockServer(TRUE);
        factory.reset();
        EXPECT_EQ(dll.canUnloadNow(), S_FALSE);
        auto object = dll.make<IDispatch>(one.clsid);
        dll.getClassObject(one.clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.put()));
        factory->LockServer(FALSE);
        factory.reset();
        EXPECT_EQ(dll.canUnloadNow(), S_FALSE);
        object.reset();
        EXPECT_EQ(dll.canUnloadNow(), S_OK);
    }
}

TEST(Unloading, WaitsForTheApartmentThatUsedTheRegistry) {
    const Dll dll(L"kelSDK.dll");
    ASSERT_EQ(dll.canUnloadNow(), S_OK);
    InItsOwnApartment([&] {
        {
            // A session with its engine, a key field; nothing of it is removed.
            const Dispatch base(dll.make<_kelBase>(__uuidof(kelBase)).get());
            EXPECT_TRUE(base.call(L"GetSessionCallBack", {L"Main"}).value.isObject());
            base.call(L"SetKeyFieldSession", {L"Cust", L"Main"});
            EXPECT_TRUE(base.call(L"GetFieldCallBack", {L"Cust"}).value.isObject());
        }
        EXPECT_EQ(dll.canUnloadNow(), S_FALSE) << "COM will call the module at the apartment's end";
    });
    EXPECT_EQ(dll.canUnloadNow(), S_OK);
}

// Copies under names of their own: COM may hold on to the registered ones.
TEST(Unloading, LeavesNothingOfTheModule) {
    constexpr int kTimes = 5;
    const ForgivenHandles ofTheRuntime;  // an event and a thread for each life of a 32-bit DLL
    struct Case {
        const wchar_t* dll;
        CLSID clsid;
    };
    for (const Case& one :
         {Case{L"kelSDK.dll", __uuidof(kelBase)}, Case{L"kelos1.dll", kEmbeddedClass}}) {
        const TempFolder folder;
        const Text copy = folder / L"copy.dll";
        ASSERT_TRUE(CopyFileW(ProductPath(one.dll).c_str(), copy.c_str(), TRUE));
        for (int times = 0; times < kTimes; ++times) {
            Dll dll(copy);
            InItsOwnApartment([&] {
                const Dispatch object(dll.make<IDispatch>(one.clsid).get());
                EXPECT_TRUE(object.get(L"Version").ok() || object.call(L"Version").ok());
            });
            ASSERT_EQ(dll.canUnloadNow(), S_OK);
            dll.free();
            EXPECT_EQ(GetModuleHandleW(L"copy.dll"), nullptr);
        }
    }
}

}  // namespace
}  // namespace kel::tests
