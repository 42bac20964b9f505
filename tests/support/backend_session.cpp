#include "tests/support/backend_session.h"

namespace kel::tests {

void KeepLoaded(const wchar_t* dll) {
    HMODULE module = nullptr;
    EXPECT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, dll, &module));
}

BackendSession::BackendSession(const BackendKind& kind) : property_(kind.property) {
    CLSID clsid;
    automation::Check(CLSIDFromProgID((Text(kind.name) + L".IHostDLL").c_str(), &clsid));
    automation::Check(CoCreateInstance(clsid,
                                       nullptr,
                                       CLSCTX_INPROC_SERVER,
                                       __uuidof(_mviHostDLL),
                                       reinterpret_cast<void**>(host_.put())));
    KeepLoaded((Text(kind.name) + L".dll").c_str());
}

HRESULT BackendSession::noted(HRESULT code) {
    lastError = ErrorOf(code);
    return code;
}

ErrorFields BackendSession::connect(TextView database, std::initializer_list<Setting> settings) {
    HRESULT code = host_->put_PropertyValue(Bstr(property_).get(), Bstr(database).get());
    for (const Setting& one : settings) {
        if (SUCCEEDED(code)) {
            code = host_->put_PropertyValue(Bstr(one.name).get(), Bstr(one.value).get());
        }
    }
    noted(SUCCEEDED(code) ? host_->Connect() : code);
    return lastError;
}

bool BackendSession::isConnected() const {
    VARIANT_BOOL flag = VARIANT_FALSE;
    EXPECT_EQ(host_->get_IsConnected(&flag), S_OK);
    return flag != VARIANT_FALSE;
}

bool BackendSession::hasFailed() const {
    VARIANT_BOOL flag = VARIANT_FALSE;
    EXPECT_EQ(host_->get_ConnectFailed(&flag), S_OK);
    return flag != VARIANT_FALSE;
}

Text BackendSession::execute(TextView sentence) {
    Bstr capture(L"stale");
    Bstr returning(L"stale");
    noted(host_->Execute(Bstr(sentence).get(), capture.inOut(), returning.inOut()));
    return Text(returning.view()) + L": " + Text(capture.view());
}

ComPtr<IDispatch> BackendSession::open(TextView fileName) {
    ComPtr<IDispatch> opened;
    noted(host_->OpenFile(Bstr(fileName).get(), opened.put()));
    return opened;
}

short BackendSession::read(TextView id, bool lock) {
    constexpr short kUntouched = 77;
    short status = kUntouched;
    noted(host_->mvRead(
        lock ? VARIANT_TRUE : VARIANT_FALSE, Bstr(id).get(), file.inOut(), &status, buffer.put()));
    return status;
}

ErrorFields BackendSession::write(TextView id, bool keepLock) {
    noted(host_->mvWrite(
        keepLock ? VARIANT_TRUE : VARIANT_FALSE, Bstr(id).get(), file.inOut(), buffer.inOut()));
    return lastError;
}

ErrorFields BackendSession::remove(TextView id) {
    noted(host_->mvDelete(Bstr(id).get(), file.inOut()));
    return lastError;
}

ErrorFields BackendSession::release(TextView id) {
    noted(host_->mvRelease(file.inOut(), Bstr(id).get()));
    return lastError;
}

ErrorFields BackendSession::setBuffer(TextView text) {
    noted(host_->CreateDynamicArray(Bstr(text).get(), buffer.put()));
    return lastError;
}

Text BackendSession::bufferText() {
    if (!buffer) {
        return L"no buffer";
    }
    Bstr text;
    noted(host_->Extract(buffer.inOut(), 0, 0, 0, text.put()));
    return Text(text.view());
}

}  // namespace kel::tests
