#include "tests/embedded/embedded_session.h"

namespace kel::tests {

void KeepLoaded(const wchar_t* dll) {
    HMODULE module = nullptr;
    EXPECT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, dll, &module));
}

EmbeddedSession::EmbeddedSession() {
    CLSID clsid;
    automation::Check(CLSIDFromProgID(L"kelos1.IHostDLL", &clsid));
    automation::Check(CoCreateInstance(clsid,
                                       nullptr,
                                       CLSCTX_INPROC_SERVER,
                                       __uuidof(_mviHostDLL),
                                       reinterpret_cast<void**>(host_.put())));
    KeepLoaded(L"kelos1.dll");
}

HRESULT EmbeddedSession::noted(HRESULT code) {
    lastError = ErrorOf(code);
    return code;
}

ErrorFields EmbeddedSession::connect(TextView path, std::initializer_list<Setting> settings) {
    HRESULT code = host_->put_PropertyValue(Bstr(L"Database").get(), Bstr(path).get());
    for (const Setting& one : settings) {
        if (SUCCEEDED(code)) {
            code = host_->put_PropertyValue(Bstr(one.name).get(), Bstr(one.value).get());
        }
    }
    noted(SUCCEEDED(code) ? host_->Connect() : code);
    return lastError;
}

bool EmbeddedSession::isConnected() const {
    VARIANT_BOOL flag = VARIANT_FALSE;
    EXPECT_EQ(host_->get_IsConnected(&flag), S_OK);
    return flag != VARIANT_FALSE;
}

bool EmbeddedSession::hasFailed() const {
    VARIANT_BOOL flag = VARIANT_FALSE;
    EXPECT_EQ(host_->get_ConnectFailed(&flag), S_OK);
    return flag != VARIANT_FALSE;
}

Text EmbeddedSession::execute(TextView sentence) {
    Bstr capture(L"stale");
    Bstr returning(L"stale");
    noted(host_->Execute(Bstr(sentence).get(), capture.inOut(), returning.inOut()));
    return Text(returning.view()) + L": " + Text(capture.view());
}

ComPtr<IDispatch> EmbeddedSession::open(TextView fileName) {
    ComPtr<IDispatch> opened;
    noted(host_->OpenFile(Bstr(fileName).get(), opened.put()));
    return opened;
}

short EmbeddedSession::read(TextView id, bool lock) {
    constexpr short kUntouched = 77;
    short status = kUntouched;
    noted(host_->mvRead(
        lock ? VARIANT_TRUE : VARIANT_FALSE, Bstr(id).get(), file.inOut(), &status, buffer.put()));
    return status;
}

ErrorFields EmbeddedSession::write(TextView id, bool keepLock) {
    noted(host_->mvWrite(
        keepLock ? VARIANT_TRUE : VARIANT_FALSE, Bstr(id).get(), file.inOut(), buffer.inOut()));
    return lastError;
}

ErrorFields EmbeddedSession::remove(TextView id) {
    noted(host_->mvDelete(Bstr(id).get(), file.inOut()));
    return lastError;
}

ErrorFields EmbeddedSession::release(TextView id) {
    noted(host_->mvRelease(file.inOut(), Bstr(id).get()));
    return lastError;
}

ErrorFields EmbeddedSession::setBuffer(TextView text) {
    noted(host_->CreateDynamicArray(Bstr(text).get(), buffer.put()));
    return lastError;
}

Text EmbeddedSession::bufferText() {
    if (!buffer) {
        return L"no buffer";
    }
    Bstr text;
    noted(host_->Extract(buffer.inOut(), 0, 0, 0, text.put()));
    return Text(text.view());
}

EmbeddedTest::EmbeddedTest() {
    EXPECT_EQ(session.connect(account), ErrorFields());
    EXPECT_EQ(session.execute(L"CREATE-FILE CUST"), L"417: File \"CUST\" created.");
    session.file = session.open(L"CUST");
    EXPECT_EQ(session.lastError, ErrorFields());
}

}  // namespace kel::tests
