// A C++ client without helpers of any kind: the header that comes from the type library, and the
// platform. It connects, answers the questions of the session by an event sink, reads a record with
// a lock, changes it, writes it.
//
//   example_client ACCOUNT
//
// apps/binding has handles that make such code short.
#include <windows.h>

#include <kelSDK.h>
#include <ocidl.h>
#include <stdio.h>

namespace {

// Owns an automation string.
class Text {
public:
    Text() : text_(nullptr) {}
    explicit Text(const wchar_t* text) : text_(SysAllocString(text)) {}
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(text_); }
    operator BSTR() const { return text_; }
    // For a member that answers a text; only for an empty one.
    BSTR* put() { return &text_; }

private:
    BSTR text_;
};

// Ends the program when a call failed; rich errors carry their own description.
void Check(HRESULT code, const char* what) {
    if (SUCCEEDED(code)) {
        return;
    }
    IErrorInfo* error = nullptr;
    BSTR description = nullptr;
    if (GetErrorInfo(0, &error) == S_OK) {
        error->GetDescription(&description);
        error->Release();
    }
    printf("%s: 0x%08lX %ls\n", what, code, description != nullptr ? description : L"");
    ExitProcess(1);
}

// Hears the session's events. A sink is an IDispatch whose Invoke gets the event's number and its
// arguments, the last one first.
class SessionSink final : public IDispatch {
public:
    explicit SessionSink(const wchar_t* account) : account_(account) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
                           IsEqualIID(iid, __uuidof(__kelSessionCallBack));
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    // It lives on the stack of main and outlives its connection.
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override { return *count = 0, S_OK; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Invoke(
        DISPID event, REFIID, LCID, WORD, DISPPARAMS* in, VARIANT*, EXCEPINFO*, UINT*) override {
        const DISPID kConnectionFailed = 2;
        const DISPID kPropertyValue = 4;
        if (event == kConnectionFailed) {
            printf("not connected: %ls\n", V_BSTR(&in->rgvarg[0]));
        } else if (event == kPropertyValue) {
            const wchar_t* name = V_BSTR(&in->rgvarg[1]);
            const wchar_t* answer = wcscmp(name, L"OsType") == 0     ? L"1"
                                    : wcscmp(name, L"Database") == 0 ? account_
                                                                     : L"";
            SysReAllocString(V_BSTRREF(&in->rgvarg[0]), answer);
        }
        return S_OK;
    }

private:
    virtual ~SessionSink() = default;
    friend int Run(const wchar_t* account);
    const wchar_t* account_;
};

int Run(const wchar_t* account) {
    _kelBase* base = nullptr;
    CLSID baseClass;
    Check(CLSIDFromProgID(L"kelSDK.kelBase", &baseClass), "kelSDK is not registered");
    Check(CoCreateInstance(baseClass,
                           nullptr,
                           CLSCTX_INPROC_SERVER,
                           __uuidof(_kelBase),
                           reinterpret_cast<void**>(&base)),
          "create kelBase");
    _kelSessionCallBack* session = nullptr;
    Check(base->GetSessionCallBack(Text(L"Atlas"), &session), "session");

    IConnectionPointContainer* container = nullptr;
    IConnectionPoint* point = nullptr;
    DWORD cookie = 0;
    SessionSink sink(account);
    Check(session->QueryInterface(__uuidof(IConnectionPointContainer),
                                  reinterpret_cast<void**>(&container)),
          "events");
    Check(container->FindConnectionPoint(__uuidof(__kelSessionCallBack), &point), "events");
    Check(point->Advise(&sink, &cookie), "listen");

    VARIANT_BOOL connected = VARIANT_FALSE;
    Check(session->Connect(&connected), "connect");
    if (connected != VARIANT_FALSE) {
        _kelTools* tools = nullptr;
        Text name;
        Check(session->get_Tools(&tools), "tools");
        Check(tools->mvReadU(Text(L"Country"), Text(L"CH"), Text(L"COUNTRIES")), "read");
        Check(tools->Replace(Text(L"Country"), Text(L"Helvetia"), 1, 0, 0), "replace");
        Check(tools->mvWrite(Text(L"Country"), Text(L"CH"), Text(L"")), "write");
        Check(tools->Extract(Text(L"Country"), 1, 0, 0, name.put()), "extract");
        printf("CH is %ls now\n", static_cast<BSTR>(name));
        tools->Release();
        session->Disconnect();
    }
    point->Unadvise(cookie);
    point->Release();
    container->Release();
    session->Release();
    base->Release();
    return connected != VARIANT_FALSE ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        printf("usage: example_client ACCOUNT\n");
        return 2;
    }
    Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), "COM");
    const int code = Run(arguments[1]);
    CoUninitialize();
    return code;
}
