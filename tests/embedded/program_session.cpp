#include "tests/embedded/program_session.h"

#include <algorithm>

#include "automation/plain_object.h"

namespace kel::tests {
namespace {

class DeedObject final : public automation::PlainObject<IDispatch> {
public:
    explicit DeedObject(std::function<void()> deed) : deed_(std::move(deed)) {}

    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID* ids) noexcept override {
        ids[0] = 1;
        return S_OK;
    }
    STDMETHODIMP Invoke(
        DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override {
        deed_();
        return S_OK;
    }

private:
    ~DeedObject() override = default;

    const std::function<void()> deed_;
};

}  // namespace

ComPtr<IDispatch> MakeDeedObject(std::function<void()> deed) {
    return ComPtr<IDispatch>::Adopt(new DeedObject(std::move(deed)));
}

ProgramTest::ProgramTest() {
    prepare();
}

void ProgramTest::prepare() {
    EXPECT_EQ(connect(L"Full"), ErrorFields());
    session.execute(L"CREATE-FILE CUST");
    session.execute(L"CREATE-FILE PROGRAMS");
    session.file = session.open(L"DICT CUST");
    session.setBuffer(
        L"I\xFESUBR(\"P\",@ID)\xFE\xFE"
        L"F\xFE"
        L"20L\xFES");
    EXPECT_EQ(session.write(L"F"), ErrorFields());
    session.file = session.open(L"CUST");
    for (const wchar_t* id : {L"1", L"2", L"3"}) {
        session.setBuffer(id);
        EXPECT_EQ(session.write(id), ErrorFields());
    }
}

ErrorFields ProgramTest::connect(const wchar_t* programs) {
    ComPtr<IDispatch> application = MakeDeedObject([this] {
        const auto running = deed;  // which may set another
        running();
    });
    EXPECT_EQ(session->putref_PropertyObject(Bstr(L"Application").get(), application.inOut()),
              S_OK);
    return session.connect(account, {{L"Programs", programs}, {L"Durability", L"Off"}});
}

void ProgramTest::program(const wchar_t* id, TextView text) {
    Text lines(text);
    std::replace(lines.begin(), lines.end(), L'\n', L'\xFE');
    const ComPtr<IDispatch> before = std::exchange(session.file, session.open(L"PROGRAMS"));
    session.setBuffer(lines);
    EXPECT_EQ(session.write(id), ErrorFields());
    session.file = before;
}

Text ProgramTest::call(const wchar_t* id, TextView argument) {
    Variant value = Value(Text(argument));
    Variant second = value;
    std::vector<Variant> missing(10, Variant::Missing());
    session.lastError = ErrorOf(session->CallHost(Bstr(id).get(),
                                                  value.inOut(),
                                                  second.inOut(),
                                                  missing[0].inOut(),
                                                  missing[1].inOut(),
                                                  missing[2].inOut(),
                                                  missing[3].inOut(),
                                                  missing[4].inOut(),
                                                  missing[5].inOut(),
                                                  missing[6].inOut(),
                                                  missing[7].inOut(),
                                                  missing[8].inOut(),
                                                  missing[9].inOut()));
    return Shown(value.get());
}

Text ProgramTest::correlative(TextView text, TextView id) {
    ComPtr<IDispatch> buffer;
    EXPECT_EQ(session->CreateDynamicArray(Bstr(id).get(), buffer.put()), S_OK);
    Bstr internal;
    Bstr result;
    session.lastError = ErrorOf(session->ProcessCorrelative(buffer.inOut(),
                                                            Bstr(L"").get(),
                                                            Bstr(id).get(),
                                                            Bstr(L"CUST").get(),
                                                            0,
                                                            Bstr(text).get(),
                                                            internal.inOut(),
                                                            result.put()));
    return Text(result.view());
}

Text ProgramTest::attempt(TextView sentence) {
    const Text answer = session.execute(sentence);
    return session.lastError == ErrorFields() ? answer : session.lastError.description;
}

}  // namespace kel::tests
