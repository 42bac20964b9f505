// The client and the account that the measurements share.
#include "bench/client.h"

#include <array>
#include <cstdio>

namespace kel::bench {

Text Numbered(long number) {
    return L"Item " + std::to_wstring(number);
}

Text SampleRecord() {
    return L"Switzerland\u00FEHelvetia\u00FE756\u00FEConfoederatio Helvetica\u00FEBern\u00FEGerman "
           L"French Italian Romansh\u00FEFranc\u00FEZug\u00FE8 600 000 people\u00FE41 285";
}

Client::Client(const Properties& properties) {
    const Str name(kSession);
    Check(base->GetSessionCallBack(name.get(), session.put()));
    Check(base->GetFieldCallBack(key.get(), field.put()));
    Check(base->SetKeyFieldSession(key.get(), name.get()));
    Check(session->get_Tools(tools.put()));
    if (!properties.empty()) {
        connector_ = std::make_unique<binding::Connector>(binding::Session(session), properties);
        if (!connector_->Connect()) {
            throw binding::Error(NotConnected, L"bench", connector_->failure());
        }
    }
}

Client::~Client() {
    session->Disconnect();
    base->RemoveFieldCallBack(key.get());
    base->RemoveSessionCallback(Str(kSession).get());
}

Ptr<_kelDictItem> Client::item(long amc) const {
    auto made = Create<_kelDictItem>(L"kelSDK.kelDictItem");
    Check(made->put_KeyId(key.get()));
    Check(made->put_AMC(amc));
    return made;
}

TemporaryAccount::TemporaryAccount() {
    std::array<wchar_t, MAX_PATH> folder{};
    GetTempPathW(MAX_PATH, folder.data());
    path = folder.data() + Text(L"kel_bench_") +
           std::to_wstring(static_cast<long>(GetCurrentProcessId()));
    const Client client(properties());
    Str ignored[2];
    const Text sentence = Text(L"CREATE-FILE ") + kFile;
    Check(client.tools->Execute(Str(sentence).get(), ignored[0].inOut(), ignored[1].inOut()));
    Check(client.tools->Replace(client.key.get(), Str(SampleRecord()).get(), 0, 0, 0));
    for (long i = 0; i < kRecords; ++i) {
        Check(client.tools->mvWrite(client.key.get(), Str(Numbered(i)).get(), client.file.get()));
    }
}

TemporaryAccount::~TemporaryAccount() {
    for (const wchar_t* end : {L"", L"-wal", L"-shm", L"-locks", L"-sessions", L".plain"}) {
        DeleteFileW((path + end).c_str());
    }
}

VARIANT Borrowed(const Str& text) {
    VARIANT value;
    V_VT(&value) = VT_BSTR;
    V_BSTR(&value) = text.get();
    return value;
}

DISPID IdOf(IDispatch* object, const wchar_t* name) {
    auto* text = const_cast<wchar_t*>(name);
    DISPID id = 0;
    Check(object->GetIDsOfNames(IID_NULL, &text, 1, 0, &id));
    return id;
}

}  // namespace kel::bench
