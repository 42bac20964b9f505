#include "tests/clients/late_session.h"

#include <gtest/gtest.h>

#include "automation/error.h"
#include "kelSDK.h"
#include "tests/support/dispatch.h"

namespace kel::tests {
namespace {

ComPtr<IDispatch> Object(const ComPtr<IDispatch>& of, TextView name, const Arguments& given = {}) {
    return Dispatch(of.get()).call(name, given).value.object<IDispatch>();
}

ComPtr<IDispatch> Create(const wchar_t* progId) {
    return ComPtr<IDispatch>(Dispatch::Create(progId).get());
}

}  // namespace

DISPID Id(IDispatch* object, const wchar_t* member) {
    return ParameterId(object, member, nullptr);
}

DISPID ParameterId(IDispatch* object, const wchar_t* member, const wchar_t* parameter) {
    wchar_t* names[] = {const_cast<wchar_t*>(member), const_cast<wchar_t*>(parameter)};
    DISPID ids[] = {DISPID_UNKNOWN, DISPID_UNKNOWN};
    const UINT count = parameter != nullptr ? 2 : 1;
    automation::Check(object->GetIDsOfNames(IID_NULL, names, count, LOCALE_USER_DEFAULT, ids));
    return ids[count - 1];
}

LateSession::LateSession() : base(Create(L"kelSDK.kelBase")) {
    TestBackend& backend = LoadTestBackend();
    backend.putRecord(L"CUST", L"17", L"Smith\xFELondon\xFDParis\xFDRome");
    backend.putRecord(L"CUST", L"X", L"Jones");
    session = Object(base, L"GetSessionCallBack", {L"Main"});
    recorder_ = EventRecorder::Make(__uuidof(__kelSessionCallBack));
    recorder_->answerProperty(L"OsType", L"99");
    subscription_ = std::make_unique<Subscription>(
        session.get(), __uuidof(__kelSessionCallBack), recorder_.get());
    Dispatch(session.get()).call(L"Connect");
    field = Object(base, L"GetFieldCallBack", {kKey});
    Dispatch(base.get()).call(L"SetKeyFieldSession", {kKey, L"Main"});
    tools = Object(session, L"Tools");
    Dispatch(tools.get()).call(L"mvRead", {kKey, L"17", L"CUST"});
    item = Create(L"kelSDK.kelDictItem");
    Dispatch(item.get()).put(L"KeyId", {kKey});
    info = Object(item, L"mvInfo");
    list = Object(base, L"GetKeyFieldList");
    empty = Create(L"kelSDK.mviHostDLL");
    host = Create(L"kelos99.IHostDLL");
}

LateSession::~LateSession() {
    subscription_.reset();
    Dispatch(base.get()).call(L"RemoveSessionCallback", {L"Main"});
    Dispatch(base.get()).call(L"RemoveFieldCallBack", {kKey});
}

std::vector<std::pair<const automation::DispatchTable*, IDispatch*>> LateSession::objects() const {
    using automation::TableOf;
    return {{&TableOf<_kelBase>(), base.get()},
            {&TableOf<_kelSessionCallBack>(), session.get()},
            {&TableOf<_kelFieldCallBack>(), field.get()},
            {&TableOf<_kelTools>(), tools.get()},
            {&TableOf<_kelDictItem>(), item.get()},
            {&TableOf<_kelInfo>(), info.get()},
            {&TableOf<_Collection>(), list.get()},
            {&TableOf<_mviHostDLL>(), empty.get()},
            {&TableOf<_mviHostDLL>(), host.get()}};
}

bool LateSession::isSlow(const automation::DispatchMember& member) {
    const TextView name = member.name;
    return name == L"RQM" || name == L"CallProg" || name == L"CallHost";
}

}  // namespace kel::tests
