// A connected session of the registered component over the test back-end, with a record read, as a
// late-bound client holds it; and what such a client does by hand.
#pragma once

#include "automation/dispatch_table.h"
#include "tests/support/backend.h"
#include "tests/support/event_recorder.h"

namespace kel::tests {

inline constexpr UINT DispatchCallMaximum = 16;

DISPID Id(IDispatch* object, const wchar_t* member);
DISPID ParameterId(IDispatch* object, const wchar_t* member, const wchar_t* parameter);

class LateSession {
public:
    static constexpr const wchar_t* kKey = L"Customer";

    // Record 17 of file CUST is in the buffer: Smith ^ London ] Paris ] Rome; there is a record X.
    LateSession();
    LateSession(const LateSession&) = delete;
    LateSession& operator=(const LateSession&) = delete;
    ~LateSession();

    ComPtr<IDispatch> base;
    ComPtr<IDispatch> session;
    ComPtr<IDispatch> field;
    ComPtr<IDispatch> tools;
    ComPtr<IDispatch> item;
    ComPtr<IDispatch> info;
    ComPtr<IDispatch> list;
    ComPtr<IDispatch> empty;  // a back-end without bodies
    ComPtr<IDispatch> host;   // the test back-end's

    // Every object with the table of its class.
    std::vector<std::pair<const automation::DispatchTable*, IDispatch*>> objects() const;
    // Whether a member waits, or shows boxes to the user, and is not for calling at random.
    static bool isSlow(const automation::DispatchMember& member);

private:
    ComPtr<EventRecorder> recorder_;
    std::unique_ptr<Subscription> subscription_;
};

}  // namespace kel::tests
