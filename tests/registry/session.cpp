#include "tests/registry/session.h"

namespace kel::tests {

using automation::GetFlag;
using automation::GetNumber;
using automation::GetText;

ComPtr<client::DictItem> Item(TextView keyField, long amc, long vmc, long smc) {
    auto item = automation::Make<client::DictItem>();
    item->definition.keyId = keyField;
    item->definition.amc = amc;
    item->definition.vmc = vmc;
    item->definition.smc = smc;
    return item;
}

void Leave(VARIANT* argument, TextView text) {
    Variant left(text);
    std::swap(*argument, *left.inOut());
}

ErrorFields NoKeyId(TextView source) {
    return {-2147221503, Text(source), L"No Key Id"};
}

void SessionTest::open() {
    base = newBase();
    base->GetSessionCallBack(Str(L"Main"), main.put());
    session = ListenTo(*main);
    session.sink->answerProperty(L"OsType", L"99");
    session.sink->alsoTo(&events, L"Main: ");
    engine = registry().engine(L"main");
}

void SessionTest::letGo() {
    for (auto& field : fields) {
        field.second.listening.end();
    }
    fields.clear();
    session.end();
    engine.reset();
    main.reset();
    base.reset();
    events.clear();
}

void SessionTest::addField(const Text& keyField, TextView file, TextView sessionName) {
    Field& field = fields[keyField];
    base->GetFieldCallBack(Str(keyField), field.callback.put());
    field.listening = ListenTo(*field.callback);
    field.listening.sink->alsoTo(&events, keyField + L": ");
    base->SetKeyFieldSession(Str(keyField), Str(sessionName));
    base->SetKeyFieldFileName(Str(keyField), Str(file));
}

void SessionTest::connectAndRead(TextView text) {
    backend.putRecord(L"CUST", L"17", text);
    addField(L"Cust");
    ASSERT_TRUE(connect());
    ASSERT_EQ(call(L"mvRead", {L"17", Item(L"Cust").get()}).text(), L"0");
    takeEvents();
    backend.clearCalls();
}

ComPtr<_kelInfo> SessionTest::info(TextView keyField) const {
    return get(L"mvInfo", {keyField}).value.object<_kelInfo>();
}

void SessionTest::setFlags(_kelInfo& state, TextView flags) {
    const auto has = [&](wchar_t letter) {
        return flags.find(letter) != TextView::npos ? VARIANT_TRUE : VARIANT_FALSE;
    };
    state.put_IsRead(has(L'R'));
    state.put_IsNew(has(L'N'));
    state.put_IsChanged(has(L'C'));
}

void SessionTest::expectWorks() {
    ComPtr<_kelSessionCallBack> callback;
    base->GetSessionCallBack(Str(L"Main"), callback.put());
    auto answering = ListenTo(*callback);
    answering.sink->answerProperty(L"OsType", L"99");
    base->SetKeyFieldSession(Str(L"Cust"), Str(L"Main"));
    base->SetKeyFieldFileName(Str(L"Cust"), Str(L"CUST"));
    ComPtr<_kelTools> tools;
    callback->get_Tools(tools.put());
    const auto does = [&](TextView member, const Arguments& arguments) {
        EXPECT_EQ(Dispatch(tools.get()).call(member, arguments).error, ErrorFields{})
            << Narrow(Text(member));
    };
    const auto holds = [&](TextView line) {
        const auto state = Dispatch(registry().engine(L"main").get()).get(L"mvInfo", {L"Cust"});
        EXPECT_EQ(recordLine(*state.value.object<_kelInfo>()), line);
    };
    backend.putRecord(L"CUST", L"17", L"Smith");
    EXPECT_EQ(Dispatch(callback.get()).call(L"Connect").text(), L"True");
    EXPECT_EQ(Dispatch(tools.get()).call(L"IsConnecting").text(), L"False");
    does(L"mvRead", {L"Cust", L"17", L"CUST"});
    holds(L"Smith|17|CUST|R--|0");
    does(L"Replace", {L"Cust", L"Miller", 1});
    holds(L"Miller|17|CUST|R-C|0");
    does(L"mvWrite", {L"Cust", L"17", L"CUST"});
    EXPECT_EQ(backend.record(L"CUST", L"17"), L"Miller");
    does(L"Disconnect", {});
    answering.end();
}

Text SessionTest::recordLine(_kelInfo& state) const {
    ComPtr<IDispatch> array;
    state.get_DynamicArray(array.put());
    const auto flag = [&](auto getter, wchar_t letter) {
        return GetFlag(state, getter) ? letter : L'-';
    };
    Text line = array ? backend.arrayText(array.get()).value_or(L"?") : Text(L"Nothing");
    line += L"|" + GetText(state, &_kelInfo::get_RecNo) + L"|" +
            GetText(state, &_kelInfo::get_FileName) + L"|";
    line += flag(&_kelInfo::get_IsRead, L'R');
    line += flag(&_kelInfo::get_IsNew, L'N');
    line += flag(&_kelInfo::get_IsChanged, L'C');
    return line + L"|" + std::to_wstring(GetNumber(state, &_kelInfo::get_ReadType));
}

}  // namespace kel::tests
