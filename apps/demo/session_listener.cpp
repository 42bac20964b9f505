// What a session's events are in the log.
#include "apps/demo/session_listener.h"

namespace kel::demo {

Properties EmbeddedAccount(TextView path) {
    return {
        {kOsType, L"1"},  // the embedded database
        {L"Database", Text(path)},
        {L"User", L"demo"},
        {L"LockWait", L"0"},  // a locked record is reported at once
        {L"ReadOnly", L"False"},
    };
}

void SessionListener::Hear(SessionEvent event, const Arguments& arguments) {
    switch (event) {
        case SessionEvent::kConnection:
            log_.Add(name_, L"Connection");
            break;
        case SessionEvent::kConnectionFailed:
            log_.Add(name_, L"ConnectionFailed");
            break;
        case SessionEvent::kDisconnect:
            log_.Add(name_, L"Disconnect");
            break;
        case SessionEvent::kPropertyValue:
            asked_.emplace_back(arguments.text(0), arguments.text(1));
            break;
    }
}

}  // namespace kel::demo
