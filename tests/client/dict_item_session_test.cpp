// A dictionary item on its way to its session: initialisation, tools, record states, common values.
#include <gtest/gtest.h>

#include "tests/client/client_fixture.h"
#include "tests/support/environment.h"

namespace kel::tests {
namespace {

using client::DictItem;

constexpr const wchar_t* kSessionLost =
    L"Reference to Session information can not be found.  Database Session has been closed and "
    L"distroyed.";

class DictItemSession : public ClientTest {
protected:
    static enumDictRead stateOf(DictItem& item) {
        enumDictRead state = DictReadPending;
        EXPECT_EQ(item.get_DictRead(&state), S_OK);
        return state;
    }
    static enumDictRead initialize(DictItem& item) {
        EXPECT_EQ(ErrorOf(item.InitalizeDictItem()), ErrorFields());
        return stateOf(item);
    }

    ComPtr<DictItem> item = makeItem();
};

TEST_F(DictItemSession, NeedsASession) {
    item->definition.keyId = L"Unknown";
    EXPECT_EQ(initialize(*item), DictReadNoConnection);
    item->definition.session = L"Gone";
    EXPECT_EQ(ErrorOf(item->InitalizeDictItem()).number, automation::kInvalidArrayIndex)
        << "a name, but no session of it";
    EXPECT_EQ(stateOf(*item), DictReadNoConnection);
    item->definition.session = kSession;
    item->definition.keyId = kKey;
    EXPECT_EQ(initialize(*item), DictReadInitalized);
}

TEST_F(DictItemSession, ConnectsASessionThatIsNot) {
    EXPECT_EQ(initialize(*item), DictReadInitalized);
    EXPECT_EQ(backend.count(Member::kConnect), 1);
    EXPECT_EQ(backend.count(Member::kReadDictItem), 0)
        << "an item without a name has no definition";
    backend.clearCalls();
    EXPECT_EQ(initialize(*item), DictReadInitalized);
    EXPECT_EQ(backend.count(Member::kConnect), 0);
}

TEST_F(DictItemSession, WaitsForAConnectionInTheMaking) {
    item->definition.dictName = L"NAME";
    enumDictRead within = DictReadFailed;
    backend.before(Member::kConnect, [&] { within = initialize(*item); });
    connect();
    EXPECT_EQ(within, DictReadPending);
    EXPECT_EQ(backend.count(Member::kReadDictItem), 0);
}

TEST_F(DictItemSession, TakesItsDefinitionFromTheDictionary) {
    backend.putDictItem(kFile, L"NAME", {7, L"MD2", L"Amount due", L"R", L"F;1;2;+", 12});
    connect();
    item->definition.dictName = L"NAME";
    item->definition.amc = 99;
    item->definition.vmc = 3;
    item->definition.internalCorrelative = L"former";
    EXPECT_EQ(initialize(*item), DictReadInitalized);
    EXPECT_EQ(PositionOf(*item), L"7.3.0");
    EXPECT_EQ(TextOf(*item, &_kelDictItem::get_Conversion), L"MD2");
    EXPECT_EQ(TextOf(*item, &_kelDictItem::get_Label), L"Amount due");
    EXPECT_EQ(TextOf(*item, &_kelDictItem::get_Justification), L"R");
    EXPECT_EQ(TextOf(*item, &_kelDictItem::get_Correlative), L"F;1;2;+");
    EXPECT_EQ(TextOf(*item, &_kelDictItem::get_InternalCorrelative), L"");
    EXPECT_EQ(item->definition.length, 12);
    EXPECT_EQ(backend.takeCalls().back(), L"ReadDictItem(CUST,NAME,0,,,,,0)");
    EXPECT_EQ(fieldEvents->take(), Lines()) << "an item without a session of its own stays quiet";
}

TEST_F(DictItemSession, WithItsOwnSessionHandsOverItsReadTypeAndRefreshesItsControl) {
    connect();
    item->definition.amc = 4;
    item->definition.vmc = 2;
    item->definition.keyId = L"CUSTOMER";
    item->definition.readType = 2;
    item->definition.session = L"MAIN";
    item->definition.controlName = L"txtName";
    Text during;
    fieldEvents->onEvent([&](Event&) {
        ComPtr<_kelFieldCallBack> field;
        base->GetFieldCallBack(Str(kKey), field.put());
        Bstr name;
        field->get_RefreshControlName(name.put());
        during = name.view();
    });
    EXPECT_EQ(initialize(*item), DictReadInitalized);
    EXPECT_EQ(fieldEvents->take(), (Lines{L"Refresh(4,2,0)"}));
    EXPECT_EQ(during, L"txtName");
    short readType = 0;
    EXPECT_EQ(recordState()->get_ReadType(&readType), S_OK);
    EXPECT_EQ(readType, 2);
}

TEST_F(DictItemSession, WithoutItsKeyFieldsCallbackHasNobodyToRefresh) {
    connect();
    item->definition.keyId = L"NoCallback";
    item->definition.session = kSession;
    item->definition.readType = 2;
    EXPECT_EQ(ErrorOf(item->InitalizeDictItem()), ErrorFields{});
    EXPECT_EQ(stateOf(*item), DictReadInitalized);
    ComPtr<_kelInfo> state;
    short readType = 0;
    ASSERT_EQ(item->mvReadInfo(state.put()), S_OK);
    EXPECT_EQ(state->get_ReadType(&readType), S_OK);
    EXPECT_EQ(readType, 2);
    // What the engine raises is raised all the same.
    item->definition.session = L"Gone";
    EXPECT_EQ(ErrorOf(item->InitalizeDictItem()).number, automation::kInvalidArrayIndex);
}

TEST_F(DictItemSession, LeadsToItsRecordStates) {
    connect();
    const auto keyOf = [](_kelInfo* state) {
        Bstr name;
        return state != nullptr && state->get_KeyId(name.put()) == S_OK ? Text(name.view())
                                                                        : Text(L"Nothing");
    };
    ComPtr<_kelInfo> state;
    EXPECT_EQ(item->mvInfo(state.put()), S_OK);
    EXPECT_EQ(keyOf(state.get()), kKey);
    item->definition.readKeyId = L"Line";
    EXPECT_EQ(item->mvReadInfo(state.put()), S_OK);
    EXPECT_EQ(keyOf(state.get()), L"Nothing") << "only the item's own session counts";
    item->definition.session = L"mAIN";
    EXPECT_EQ(item->mvReadInfo(state.put()), S_OK);
    EXPECT_EQ(keyOf(state.get()), L"Line");
    item->definition.readKeyId = L"";
    EXPECT_EQ(item->mvReadInfo(state.put()), S_OK);
    EXPECT_EQ(keyOf(state.get()), kKey);
    item->definition.session = L"Gone";
    EXPECT_EQ(ErrorOf(item->mvReadInfo(state.put())).number, automation::kInvalidArrayIndex);
    EXPECT_FALSE(state);
    EXPECT_EQ(item->mvInfo(state.put()), S_OK) << "the key field's session goes first";
}

TEST_F(DictItemSession, WithoutASessionRaisesTheLossOfIt) {
    item->definition.keyId = L"Unknown";
    ComPtr<_kelInfo> state = recordState();
    EXPECT_EQ(ErrorOf(item->mvInfo(state.put())),
              (ErrorFields{SessionReferenceLost, L"kelDictItem::mvInfo", kSessionLost}));
    EXPECT_FALSE(state);
    const ErrorFields lost{SessionReferenceLost, L"kelDictItem::Connect", kSessionLost};
    Variant value = Value(1);
    IDispatch* object = nullptr;
    EXPECT_EQ(ErrorOf(item->put_CommonValue(Str(L"a"), value.inOut())), lost);
    EXPECT_EQ(ErrorOf(item->putref_CommonObject(Str(L"a"), &object)), lost);
    EXPECT_EQ(item->get_CommonValue(Str(L"a"), value.put()), S_OK);
    EXPECT_EQ(Shown(value.get()), L"Empty");
    EXPECT_EQ(item->get_CommonObject(Str(L"a"), &object), S_OK);
    EXPECT_EQ(object, nullptr);
    // A late caller sees the same.
    EXPECT_EQ(Dispatch(ComPtr<_kelDictItem>(item).get()).put(L"CommonValue", {L"a", 1}).error,
              lost);
}

}  // namespace
}  // namespace kel::tests
