// Identity, life and self-description of automation objects.
#include <gtest/gtest.h>

#include "tests/automation/probe.h"
#include "tests/support/dispatch.h"

namespace kel::tests {
namespace {

using automation::Make;

TEST(Object, AnswersOnlyTheInterfacesItHasWithOneIdentity) {
    struct Case {
        const IID* iid;
        bool known;
    };
    const Case cases[] = {
        {&IID_IUnknown, true},
        {&IID_IDispatch, true},
        {&__uuidof(_Collection), true},
        {&IID_ISupportErrorInfo, true},
        {&IID_IProvideClassInfo, true},
        {&IID_IProvideClassInfo2, true},
        {&IID_IMarshal, false},
        {&IID_IClassFactory, false},
        {&IID_IConnectionPointContainer, false},
        {&__uuidof(_kelBase), false},
        {&GUID_NULL, false},
    };
    const auto probe = Make<Probe>();
    void* identity = nullptr;
    ASSERT_EQ(probe->QueryInterface(IID_IUnknown, &identity), S_OK);
    probe->Release();
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        void* found = &identity;
        EXPECT_EQ(probe->QueryInterface(*one.iid, &found), one.known ? S_OK : E_NOINTERFACE);
        ASSERT_EQ(found != nullptr, one.known);
        if (one.known) {
            const auto same = ComPtr<IUnknown>::Adopt(static_cast<IUnknown*>(found));
            EXPECT_EQ(same.as<IUnknown>().get(), identity);
        }
    }
    EXPECT_EQ(probe->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(probe->AddRef(), 2U) << "a refused interface must not count a reference";
    EXPECT_EQ(probe->Release(), 1U);
}

TEST(Object, DescribesItsClass) {
    const auto probe = Make<Probe>();
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(probe->GetClassInfo(info.put()), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
    EXPECT_TRUE(IsEqualGUID(attributes->guid, __uuidof(::Collection)));
    info->ReleaseTypeAttr(attributes);

    GUID guid = IID_IUnknown;
    EXPECT_EQ(probe->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &guid), E_INVALIDARG);
    EXPECT_TRUE(IsEqualGUID(guid, GUID_NULL));
    EXPECT_EQ(probe->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, nullptr), E_POINTER);
    EXPECT_EQ(probe->GetClassInfo(nullptr), E_POINTER);
    EXPECT_EQ(probe->GetTypeInfo(1, 0, info.put()), DISP_E_BADINDEX);
    EXPECT_FALSE(info);
    EXPECT_EQ(probe->GetTypeInfo(0, 0, nullptr), E_POINTER);
    EXPECT_EQ(probe->GetTypeInfoCount(nullptr), E_POINTER);
    EXPECT_EQ(probe->InterfaceSupportsErrorInfo(__uuidof(_Collection)), S_OK);
    EXPECT_EQ(probe->InterfaceSupportsErrorInfo(IID_IDispatch), S_OK);
    EXPECT_EQ(probe->InterfaceSupportsErrorInfo(__uuidof(_kelBase)), S_FALSE);
}

TEST(Object, EndsOnceHoweverOftenItIsHeldMeanwhile) {
    int terminated = 0;
    int destroyed = 0;
    auto probe = Make<Probe>();
    probe->onTerminate = [&](Probe& self) {
        ++terminated;
        for (int i = 0; i < 3; ++i) {
            const ComPtr<IUnknown> held(self.self());
            EXPECT_EQ(destroyed, 0);
        }
        long count = -1;
        EXPECT_EQ(self.get_Count(&count), S_OK) << "members still work while it ends";
    };
    probe->onDestroy = [&] { ++destroyed; };
    probe.reset();
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(destroyed, 1);
}

TEST(Object, LivesOnWhenSomebodyKeepsItWhileItEnds) {
    int terminated = 0;
    int destroyed = 0;
    ComPtr<IDispatch> kept;
    auto probe = Make<Probe>();
    probe->onTerminate = [&](Probe& self) {
        ++terminated;
        kept.reset(self.self());
    };
    probe->onDestroy = [&] { ++destroyed; };
    probe.reset();
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(Dispatch(kept.get()).get(L"Count").text(), L"0");
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

TEST(Object, RefusesMalformedLateCalls) {
    const auto probe = Make<Probe>();
    VARIANTARG argument;
    VariantInit(&argument);
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS none{};
    DISPPARAMS noArray{nullptr, nullptr, 1, 0};
    DISPPARAMS noNames{&argument, nullptr, 1, 1};
    DISPPARAMS moreNames{nullptr, &named, 0, 1};
    struct Case {
        REFIID riid;
        DISPPARAMS* params;
        HRESULT code;
    };
    const Case cases[] = {
        {IID_IUnknown, &none, DISP_E_UNKNOWNINTERFACE},
        {IID_NULL, nullptr, E_INVALIDARG},
        {IID_NULL, &noArray, E_INVALIDARG},
        {IID_NULL, &noNames, E_INVALIDARG},
        {IID_NULL, &moreNames, E_INVALIDARG},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        Variant result;
        EXPECT_EQ(
            probe->Invoke(
                2, one.riid, 0, DISPATCH_PROPERTYGET, one.params, result.put(), nullptr, nullptr),
            one.code);
    }
    DISPID id = 0;
    LPOLESTR name = const_cast<LPOLESTR>(L"COUNT");
    EXPECT_EQ(probe->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK) << "names ignore case";
    EXPECT_EQ(id, 2);
    EXPECT_EQ(probe->GetIDsOfNames(IID_IUnknown, &name, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(probe->GetIDsOfNames(IID_NULL, nullptr, 1, 0, &id), E_INVALIDARG);
    EXPECT_EQ(Dispatch(probe->self()).call(L"Nonsense").code, DISP_E_UNKNOWNNAME);
    EXPECT_EQ(Dispatch(probe->self()).invoke(99, DISPATCH_METHOD, {}).code, DISP_E_MEMBERNOTFOUND);
}

// Script engines ask for the enumerator as a method, as a property, or as both.
TEST(Object, HandsOutItsEnumeratorUnderEveryCallFlag) {
    const auto probe = Make<Probe>();
    for (const WORD flags : {WORD{DISPATCH_METHOD},
                             WORD{DISPATCH_PROPERTYGET},
                             WORD{DISPATCH_METHOD | DISPATCH_PROPERTYGET}}) {
        const Outcome outcome = Dispatch(probe->self()).invoke(DISPID_NEWENUM, flags, {});
        EXPECT_EQ(outcome.code, S_OK) << flags;
        EXPECT_EQ(V_VT(&outcome.value.get()), VT_UNKNOWN) << flags;
    }
}

}  // namespace
}  // namespace kel::tests
