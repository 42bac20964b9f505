#include "bench/client.h"

#include <array>
#include <cstdio>

#include "automation/module.h"

namespace kel::automation {

const ModuleDescription& ThisModule() noexcept {
    static constexpr ModuleDescription kModule{L"bench", {}, 0, false};
    return kModule;
}

}  // namespace kel::automation

namespace kel::bench {
namespace {

// Answers the questions of a session that connects.
class Answers final : public demo::Listener<__kelSessionCallBack> {
public:
    explicit Answers(const Properties& properties) : properties_(properties) {}

private:
    void Hear(DISPID event, const demo::Arguments& arguments) override {
        constexpr DISPID kPropertyValue = 4;
        if (event == kPropertyValue) {
            arguments.answer(1, properties_[arguments.text(0)]);
        }
    }
    Properties properties_;
};

}  // namespace

Text Numbered(long number) {
    return L"Item " + automation::DecimalText(number);
}

Text SampleRecord() {
    return L"Switzerland\u00FEHelvetia\u00FE756\u00FEConfoederatio Helvetica\u00FEBern\u00FEGerman "
           L"French Italian Romansh\u00FEFranc\u00FEZug\u00FE8 600 000 people\u00FE41 285";
}

Client::Client(const Properties& properties) {
    const Bstr name(kSession);
    Check(base->GetSessionCallBack(name.get(), session.put()));
    Check(base->GetFieldCallBack(key.get(), field.put()));
    Check(base->SetKeyFieldSession(key.get(), name.get()));
    Check(session->get_Tools(tools.put()));
    if (!properties.empty()) {
        const auto answers = ComPtr<Answers>::Adopt(new Answers(properties));
        subscription_ = std::make_unique<demo::Subscription>(*session, *answers);
        if (!demo::AskFlag([&](VARIANT_BOOL* to) { return session->Connect(to); })) {
            throw automation::Error(automation::kInvalidCall, L"bench", L"cannot connect");
        }
    }
}

Client::~Client() {
    session->Disconnect();
    base->RemoveFieldCallBack(key.get());
    base->RemoveSessionCallback(Bstr(kSession).get());
}

ComPtr<_kelDictItem> Client::item(long amc) const {
    auto made = Create<_kelDictItem>(L"kelSDK.kelDictItem");
    Check(made->put_KeyId(key.get()));
    Check(made->put_AMC(amc));
    return made;
}

TemporaryAccount::TemporaryAccount() {
    std::array<wchar_t, MAX_PATH> folder{};
    GetTempPathW(MAX_PATH, folder.data());
    path = folder.data() + Text(L"kel_bench_") +
           automation::DecimalText(static_cast<long>(GetCurrentProcessId()));
    const Client client(properties());
    Bstr ignored[2];
    const Text sentence = Text(L"CREATE-FILE ") + kFile;
    Check(client.tools->Execute(Bstr(sentence).get(), ignored[0].inOut(), ignored[1].inOut()));
    Check(client.tools->Replace(client.key.get(), Bstr(SampleRecord()).get(), 0, 0, 0));
    for (long i = 0; i < kRecords; ++i) {
        Check(client.tools->mvWrite(client.key.get(), Bstr(Numbered(i)).get(), client.file.get()));
    }
}

TemporaryAccount::~TemporaryAccount() {
    for (const wchar_t* end : {L"", L"-wal", L"-shm", L"-locks", L"-sessions", L".plain"}) {
        DeleteFileW((path + end).c_str());
    }
}

VARIANT Borrowed(const Bstr& text) {
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
