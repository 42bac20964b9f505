// Identity, life and self-description of automation objects.
#include <gtest/gtest.h>

#include "tests/automation/probe.h"
#include "tests/support/dispatch.h"

namespace kel::tests {
namespace {

using automation::Make;

TEST(Object, AnswersOnlyTheInterfacesItHasWithOneIdentity) {
    const auto probe = Make<Probe>();
    void* identity = nullptr;
    ASSERT_EQ(probe->QueryInterface(IID_IUnknown, &identity), S_OK);
    probe->Release();
    for (const IID& iid :
         {IID_IDispatch, __uuidof(_Collection), IID_ISupportErrorInfo, IID_IProvideClassInfo2}) {
        void* found = nullptr;
        ASSERT_EQ(probe->QueryInterface(iid, &found), S_OK);
        const auto same = ComPtr<IUnknown>::Adopt(static_cast<IUnknown*>(found));
        EXPECT_EQ(same.as<IUnknown>().get(), identity);
    }
    for (const IID& iid : {IID_IMarshal, IID_IConnectionPointContainer, __uuidof(_kelBase)}) {
        void* found = &identity;
        EXPECT_EQ(probe->QueryInterface(iid, &found), E_NOINTERFACE);
        EXPECT_EQ(found, nullptr);
    }
    EXPECT_EQ(probe->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(probe->AddRef(), 2U) << "a refused interface must not count a reference";
    EXPECT_EQ(probe->Release(), 1U);
}

TEST(Object, EndsOnceAndLivesOnWhenSomebodyKeepsItWhileItEnds) {
    int terminated = 0;
    int destroyed = 0;
    ComPtr<IDispatch> kept;
    auto probe = Make<Probe>();
    probe->onTerminate = [&](Probe& self) {
        ++terminated;
        for (int i = 0; i < 3; ++i) {
            const ComPtr<IUnknown> held(self.self());
        }
        kept.reset(self.self());
    };
    probe->onDestroy = [&] { ++destroyed; };
    probe.reset();
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(Dispatch(kept.get()).get(L"Count").text(), L"0") << "members still work";
    kept.reset();
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(destroyed, 1);
}

TEST(Object, SurvivesBeingReleasedByItsOwnMember) {
    bool destroyed = false;
    auto probe = Make<Probe>();
    IDispatch* const raw = probe.get();
    probe->onDestroy = [&] { destroyed = true; };
    probe->count = [&] {
        probe.reset();
        EXPECT_FALSE(destroyed) << "a late-bound call holds its object";
        return 7L;
    };
    DISPPARAMS none{};
    Variant result;
    EXPECT_EQ(
        raw->Invoke(2, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, result.put(), nullptr, nullptr),
        S_OK);
    EXPECT_EQ(V_I4(&result.get()), 7);
    EXPECT_TRUE(destroyed);
}

}  // namespace
}  // namespace kel::tests
