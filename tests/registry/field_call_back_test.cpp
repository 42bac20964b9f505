// The event source of a key field.
#include <gtest/gtest.h>

#include "automation/type_library.h"
#include "registry/field_call_back.h"
#include "tests/registry/component.h"

namespace kel::tests {
namespace {

using automation::GetText;

class FieldEvents : public ComponentTest {
protected:
    void TearDown() override {
        callback.reset();
        base.reset();
        ComponentTest::TearDown();
    }
    void SetUp() override { base->GetFieldCallBack(Str(L"Cust"), callback.put()); }
    Text refreshing() const {
        return GetText(*callback, &_kelFieldCallBack::get_RefreshControlName);
    }

    ComPtr<_kelBase> base = newBase();
    ComPtr<_kelFieldCallBack> callback;
};

TEST_F(FieldEvents, NameTheRefreshingControlOnlyWhileItRefreshes) {
    const auto first = ListenTo(*callback);
    const auto second = ListenTo(*callback);
    Lines during;
    for (const Listening* one : {&first, &second}) {
        one->sink->onEvent([&](Event&) { during.push_back(refreshing()); });
        one->sink->failWith(E_FAIL);
    }
    EXPECT_EQ(refreshing(), L"");
    EXPECT_EQ(callback->FldRefresh(Str(L"NameBox"), Str(L"1"), Str(L"0"), Str(L"0")), S_OK);
    EXPECT_EQ(during, (Lines{L"NameBox", L"NameBox"}));
    EXPECT_EQ(refreshing(), L"");
    during.clear();
    callback->FldClear();
    EXPECT_EQ(during, (Lines{L"", L""}));
}

TEST_F(FieldEvents, AreRaisedBySomethingThatTheListenerMayLetGoOf) {
    auto listening = ListenTo(*callback);
    _kelFieldCallBack* const inHand = callback.get();
    listening.sink->onEvent([&](Event&) {
        listening.subscription.reset();
        base->RemoveFieldCallBack(Str(L"Cust"));
        callback.reset();
    });
    EXPECT_EQ(inHand->FldRefresh(Str(L"x"), Str(L"1"), Str(L"1"), Str(L"1")), S_OK);
    EXPECT_EQ(listening.sink->take(), Lines{L"Refresh(1,1,1)"});
    EXPECT_TRUE(registry().hasNoCallbacks());
}

TEST_F(FieldEvents, TellWhetherTheirKeyFieldIsRegistered) {
    const auto state = [&](_kelFieldCallBack& one) {
        return automation::GetNumber(one, &_kelFieldCallBack::get_IsInitalized);
    };
    const auto session = [&] { return GetText(*callback, &_kelFieldCallBack::get_SessionName); };
    EXPECT_EQ(state(*callback), fcbInvalid);
    EXPECT_EQ(session(), L"");
    base->SetKeyFieldFileName(Str(L"CUST"), Str(L"FILE"));
    EXPECT_EQ(state(*callback), fcbInvalid);
    base->SetKeyFieldSession(Str(L"CUST"), Str(L"Main"));
    EXPECT_EQ(state(*callback), fcbValid);
    EXPECT_EQ(session(), L"Main");
    base->SetKeyFieldSession(Str(L"CUST"), Str(L""));
    EXPECT_EQ(state(*callback), fcbInvalid);
    base->SetKeyFieldSession(Str(L"CUST"), Str(L"Main"));
    base->RemoveFieldCallBack(Str(L"CUST"));
    EXPECT_EQ(state(*callback), fcbDestoried);
    EXPECT_EQ(session(), L"");

    // The name counts, not the object.
    ComPtr<_kelFieldCallBack> successor;
    base->GetFieldCallBack(Str(L"cust"), successor.put());
    EXPECT_NE(successor.get(), callback.get());
    EXPECT_EQ(state(*callback), fcbInvalid);
    callback->SetKeyId(Str(L"elsewhere"));
    EXPECT_EQ(state(*callback), fcbDestoried);
    EXPECT_EQ(state(*successor), fcbInvalid);

    const auto nameless = automation::Make<registry::FieldCallBack>();
    EXPECT_EQ(state(*nameless), fcbDestoried);
    EXPECT_EQ(GetText<_kelFieldCallBack>(*nameless, &_kelFieldCallBack::get_KeyId), L"");
}

}  // namespace
}  // namespace kel::tests
