#include "apps/demo/session_listener.h"

#include "apps/demo/report.h"

namespace kel::demo {
namespace {

// The numbers of the events, as the type library publishes them.
enum SessionEvent : DISPID { kConnection = 1, kConnectionFailed, kDisconnect, kPropertyValue };

}  // namespace

Properties EmbeddedAccount(TextView path) {
    return {
        {L"OsType", L"1"},  // the embedded database
        {L"Database", Text(path)},
        {L"User", L"demo"},
        {L"LockWait", L"0"},  // a locked record is reported at once
        {L"ReadOnly", L"False"},
    };
}

void SessionListener::Hear(DISPID event, const Arguments& arguments) {
    switch (event) {
        case kConnection:
            log_.Add(name_, L"Connection");
            break;
        case kConnectionFailed:
            failure_ = arguments.text(0);
            log_.Add(name_, L"ConnectionFailed");
            break;
        case kDisconnect:
            log_.Add(name_, L"Disconnect");
            break;
        case kPropertyValue: {
            const Text property = arguments.text(0);
            const auto known = properties_.find(property);
            const Text answer = known != properties_.end() ? known->second : Text();
            arguments.answer(1, answer);
            asked_.emplace_back(property, answer);
            break;
        }
        default:
            break;
    }
}

}  // namespace kel::demo
