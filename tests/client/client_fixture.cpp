#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

Text Shown(HRESULT code, const Bstr& text) {
    return SUCCEEDED(code) ? Text(text.view()) : L"error " + std::to_wstring(ErrorOf(code).number);
}

}  // namespace

ClientTest::ClientTest() {
    backend.putRecord(kFile,
                      L"17",
                      L"Smith\xFELondon\xFDParis\xFDRome\xFE"
                      L"a\xFC"
                      L"b");
    base->GetSessionCallBack(Str(kSession), session.put());
    session_ = ListenTo(*session);
    sessionEvents = session_.sink.get();
    sessionEvents->answerProperty(L"OsType", L"99");
    ComPtr<_kelFieldCallBack> field;
    base->GetFieldCallBack(Str(kKey), field.put());
    base->SetKeyFieldSession(Str(kKey), Str(kSession));
    base->SetKeyFieldFileName(Str(kKey), Str(kFile));
    field_ = ListenTo(*field);
    fieldEvents = field_.sink.get();
}

void ClientTest::TearDown() {
    session_.end();
    field_.end();
    session.reset();
    base.reset();
    ComponentTest::TearDown();
}

void ClientTest::endSession() {
    session_.end();
    session.reset();
    base->RemoveSessionCallback(Str(kSession));
}

void ClientTest::connect() {
    VARIANT_BOOL connected = VARIANT_FALSE;
    ASSERT_EQ(session->Connect(&connected), S_OK);
    ASSERT_EQ(connected, VARIANT_TRUE);
    backend.clearCalls();
    fieldEvents->take();
    sessionEvents->take();
}

void ClientTest::readRecord() {
    const auto tools = automation::Make<client::Tools>(kSession);
    ASSERT_EQ(tools->mvRead(Bstr(kKey).get(), Bstr(L"17").get(), Bstr(kFile).get()), S_OK);
    backend.clearCalls();
    fieldEvents->take();
}

ComPtr<client::DictItem> ClientTest::makeItem(long amc, long vmc, long smc) const {
    auto item = automation::Make<client::DictItem>();
    item->definition.keyId = kKey;
    item->definition.amc = amc;
    item->definition.vmc = vmc;
    item->definition.smc = smc;
    return item;
}

ComPtr<_kelInfo> ClientTest::recordState() const {
    ComPtr<_kelInfo> state;
    makeItem()->mvInfo(state.put());
    return state;
}

Text ClientTest::buffer() const {
    ComPtr<IDispatch> array;
    const auto state = recordState();
    if (!state || FAILED(state->get_DynamicArray(array.put()))) {
        return L"no buffer";
    }
    return backend.arrayText(array.get()).value_or(L"no buffer");
}

Text ClientTest::recNo() const {
    Bstr number;
    const HRESULT code = recordState()->get_RecNo(number.put());
    return Shown(code, number);
}

Text TextOf(_kelDictItem& item, HRESULT (STDMETHODCALLTYPE _kelDictItem::*getter)(BSTR*)) {
    Bstr text;
    const HRESULT code = (item.*getter)(text.put());
    return Shown(code, text);
}

Text PositionOf(_kelDictItem& item) {
    long amc = -1;
    long vmc = -1;
    long smc = -1;
    item.get_AMC(&amc);
    item.get_VMC(&vmc);
    item.get_SMC(&smc);
    return std::to_wstring(amc) + L"." + std::to_wstring(vmc) + L"." + std::to_wstring(smc);
}

Text ValueOf(_kelDictItem& item, IndexedGetter getter, short index) {
    Bstr text;
    const HRESULT code = (item.*getter)(index, text.put());
    return Shown(code, text);
}

}  // namespace kel::tests
