// The test back-end itself: what it writes down, and that it does what a test tells it. Everything
// else stands on this.
#include "tests/support/backend.h"

#include "kelSDK.h"
#include "tests/support/dispatch.h"

namespace kel::tests {
namespace {

class TestBackendItself : public BackendTest {
protected:
    TestBackendItself() { host = make(); }

    static ComPtr<_mviHostDLL> make() {
        return ComPtr<IUnknown>(Dispatch::Create(L"kelos99.IHostDLL").get()).as<_mviHostDLL>();
    }
    void TearDown() override {
        array.reset();
        file.reset();
        list.reset();
        host.reset();
        BackendTest::TearDown();
    }
    ComPtr<IDispatch> open(_mviHostDLL& by, const wchar_t* name) {
        ComPtr<IDispatch> opened;
        EXPECT_EQ(by.OpenFile(Bstr(name).get(), opened.put()), S_OK);
        return opened;
    }
    short read(_mviHostDLL& by, const wchar_t* id, bool lock) {
        short status = 77;
        array.reset();
        EXPECT_EQ(by.mvRead(lock ? VARIANT_TRUE : VARIANT_FALSE,
                            Bstr(id).get(),
                            file.inOut(),
                            &status,
                            array.put()),
                  S_OK);
        return status;
    }
    Text extract(long amc) {
        Bstr text;
        lastCode = host->Extract(array.inOut(), amc, 0, 0, text.put());
        return Text(text.view());
    }

    ComPtr<_mviHostDLL> host;
    ComPtr<IDispatch> array;
    ComPtr<IDispatch> file;
    ComPtr<IDispatch> list;
    HRESULT lastCode = S_OK;
};

TEST_F(TestBackendItself, ReadsWritesAndLocksLikeADatabase) {
    backend.putRecord(L"CUST", L"17", L"Smith\xFELondon");
    backend.takeCalls();
    const auto other = make();
    file = open(*host, L"CUST");
    EXPECT_EQ(read(*host, L"18", false), 1);
    EXPECT_FALSE(array);
    EXPECT_EQ(read(*host, L"17", true), 0);
    EXPECT_EQ(backend.arrayText(array.get()), L"Smith\xFELondon");
    EXPECT_EQ(extract(2), L"London");
    EXPECT_EQ(read(*other, L"17", true), 2);
    EXPECT_EQ(read(*other, L"17", false), 0);
    EXPECT_EQ(backend.locks(), (Lines{L"CUST 17 1"}));
    EXPECT_EQ(host->Replace(array.inOut(), Bstr(L"Paris").get(), 2, 0, 0), S_OK);
    EXPECT_EQ(
        ErrorOf(other->mvWrite(VARIANT_FALSE, Bstr(L"17").get(), file.inOut(), array.inOut())),
        (ErrorFields{mvItemLocked, L"kelos99", L"Record 17 is locked"}));
    EXPECT_EQ(host->mvWrite(VARIANT_FALSE, Bstr(L"17").get(), file.inOut(), array.inOut()), S_OK);
    EXPECT_EQ(backend.record(L"CUST", L"17"), L"Smith\xFEParis");
    EXPECT_EQ(backend.locks(), Lines());
    EXPECT_EQ(host->CloseFile(file.inOut()), S_OK);
    EXPECT_FALSE(backend.isOpen(file.get()));
    EXPECT_EQ(ErrorOf(host->mvDelete(Bstr(L"17").get(), file.inOut())).number, mvOpenNotOpen);
    EXPECT_EQ(backend.takeCalls(),
              (Lines{L"Create(99)",
                     L"OpenFile(CUST)",
                     L"mvRead(False,18,file#1,77)",
                     L"mvRead(True,17,file#1,77)",
                     L"Extract(array#1,2,0,0)",
                     L"mvRead(True,17,file#1,77)",
                     L"mvRead(False,17,file#1,77)",
                     L"Replace(array#2,Paris,2,0,0)",
                     L"mvWrite(False,17,file#1,array#2)",
                     L"mvWrite(False,17,file#1,array#2)",
                     L"CloseFile(file#1)",
                     L"mvDelete(17,file#1)"}));
}

TEST_F(TestBackendItself, QueuesAnswersAndFailures) {
    array = backend.makeArray(L"true text");
    backend.answer(Member::kExtract, Value(L"first"));
    backend.fail(Member::kExtract, SampleFailure(), kOnce);
    backend.answer(Member::kExtract, Value(3));
    EXPECT_EQ(extract(1), L"first");
    EXPECT_EQ(extract(1), L"");
    EXPECT_EQ(ErrorOf(lastCode), SampleFailure());
    EXPECT_EQ(extract(1), L"3");
    EXPECT_EQ(extract(1), L"true text");
    backend.fail(Member::kExtract, BareFailure(E_ACCESSDENIED), Nth(2));
    EXPECT_EQ(extract(1), L"true text");
    EXPECT_EQ(extract(1), L"");
    EXPECT_EQ(ErrorOf(lastCode), (ErrorFields{E_ACCESSDENIED}));
    backend.clearCalls();
    backend.failCall(2, Late(SampleFailure(5)));
    EXPECT_EQ(host->Replace(array.inOut(), Bstr(L"a").get(), 1, 0, 0), S_OK);
    EXPECT_EQ(ErrorOf(host->Replace(array.inOut(), Bstr(L"b").get(), 1, 0, 0)).number, 5);
    EXPECT_EQ(backend.arrayText(array.get()), L"b") << "the work was done before it failed";

    file = open(*host, (backend.createFile(L"F"), L"F"));
    backend.answer(Member::kRead, Nothing(), {{L"Status", Value(2)}});
    EXPECT_EQ(read(*host, L"1", false), 2);
    EXPECT_FALSE(array);
}

TEST_F(TestBackendItself, RunsCodeInsideItsCalls) {
    array = backend.makeArray(L"x");
    int before = 0;
    backend.before(Member::kExtract, [&](CallInProgress& call) {
        if (++before == 1) {
            EXPECT_EQ(call.text(), L"Extract(array#1,1,0,0)");
            EXPECT_EQ(Shown(call.argument(L"iAMC").get()), L"1");
            EXPECT_EQ(extract(2), L"!") << "it may be called again";
        }
    });
    backend.after(Member::kExtract, [](CallInProgress& call) {
        call.set({}, Value(Shown(call.argument({}).get()) + L"!"));
    });
    EXPECT_EQ(extract(1), L"x!");
    EXPECT_EQ(before, 2);
    backend.instead(Member::kExtract, [&] {
        host.reset();  // the object survives its own call
        backend.reset();
    });
    _mviHostDLL* const raw = host.get();
    Bstr text;
    EXPECT_EQ(raw->Extract(array.inOut(), 1, 0, 0, text.put()), S_OK);
    EXPECT_EQ(backend.live().hosts, 0);
}

TEST_F(TestBackendItself, CountsCreationAmongItsCalls) {
    backend.fail(Member::kCreate, SampleFailure(), kOnce);
    EXPECT_FALSE(make());
    EXPECT_TRUE(make());
    EXPECT_EQ(backend.count(Member::kCreate), 3);
    EXPECT_EQ(backend.live().hosts, 1);
    SetErrorInfo(0, nullptr);
}

TEST_F(TestBackendItself, AnswersByNameAsWell) {
    const Dispatch late(host.get());
    backend.putRecord(L"CUST", L"17", L"");
    backend.putRecord(L"CUST", L"2", L"");
    backend.putProgram(L"DOUBLE", [](VARIANT* const* arguments) { V_I4(arguments[0]) *= 2; });
    EXPECT_EQ(late.get(L"OsType").text(), L"99");
    EXPECT_EQ(late.get(L"Version").text(), L"2.1");
    EXPECT_EQ(late.call(L"PropertyCount").text(), L"4");
    EXPECT_TRUE(late.put(L"PropertyValue", {L"Server", L"here"}).ok());
    EXPECT_EQ(backend.propertyValue(L"Server"), L"here");
    Variant number = Value(21);
    EXPECT_TRUE(late.call(L"CallHost", {L"DOUBLE", ByRef(number)}).ok());
    EXPECT_EQ(Shown(number.get()), L"42");
    EXPECT_EQ(late.call(L"CallHost", {L"NONE"}).error,
              (ErrorFields{53, L"kelos99", L"No program NONE"}));
    list = late.call(L"ProcessSelect", {L"SELECT CUST"}).value.object<IDispatch>();
    Text ids;
    Bstr id;
    VARIANT_BOOL more = VARIANT_FALSE;
    while (host->ReadNext(list.inOut(), id.inOut(), &more) == S_OK && more != VARIANT_FALSE) {
        ids += Text(id.view()) + L";";
    }
    EXPECT_EQ(ids, L"17;2;");
    EXPECT_EQ(late.call(L"Oconv", {L"12345", L"MD2"}).text(), L"123.45");
    EXPECT_EQ(late.call(L"Iconv", {L"123.45", L"MD2"}).text(), L"12345");
    EXPECT_EQ(late.call(L"Iconv", {L"abc", L"MD2"}).error.number, 13);
    EXPECT_EQ(late.call(L"Oconv", {L"abc", L"MCU"}).text(), L"ABC");
    const Lines calls = backend.takeCalls();
    EXPECT_EQ(calls[4], L"PropertyValue(Server)=here");
    EXPECT_EQ(calls[5], L"CallHost(DOUBLE,21)");
}

TEST_F(TestBackendItself, SweepsOverEveryCall) {
    Lines failed;
    HRESULT code = S_OK;
    host.reset();
    const long calls = SweepFailures(
        backend,
        SampleFailure(),
        [&] { backend.createFile(L"F"); },
        [&] {
            const auto made = make();
            code = made ? made->Connect() : E_FAIL;
            ComPtr<IDispatch> opened;
            if (SUCCEEDED(code)) {
                code = made->OpenFile(Bstr(L"F").get(), opened.put());
            }
        },
        [&](long, const Text& call) {
            failed.push_back(call);
            EXPECT_TRUE(FAILED(code));
        });
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(failed, (Lines{L"Create(99)", L"Connect", L"OpenFile(F)"}));
    SetErrorInfo(0, nullptr);
}

}  // namespace
}  // namespace kel::tests
