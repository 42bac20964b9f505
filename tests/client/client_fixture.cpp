#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

Text Shown(HRESULT code, const Bstr& text) {
    return SUCCEEDED(code) ? Text(text.view()) : L"error " + std::to_wstring(ErrorOf(code).number);
}

}  // namespace

ClientTest::ClientTest() {
    backend.putRecord(kFile, L"17", Marked(L"Smith^London]Paris]Rome^a\\b"));
    addField(kKey, kFile);
    fieldEvents = &listener(kKey);
    engine.reset();
}

void ClientTest::endSession() {
    session.end();
    main.reset();
    base->RemoveSessionCallback(Str(kSession));
}

void ClientTest::connect() {
    VARIANT_BOOL connected = VARIANT_FALSE;
    ASSERT_EQ(main->Connect(&connected), S_OK);
    ASSERT_EQ(connected, VARIANT_TRUE);
    backend.clearCalls();
    fieldEvents->take();
    sessionEvents->take();
}

void ClientTest::readRecord() {
    const auto tools = automation::Make<client::Tools>(kSession);
    ASSERT_EQ(tools->mvRead(Str(kKey), Str(L"17"), Str(kFile)), S_OK);
    backend.clearCalls();
    fieldEvents->take();
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
