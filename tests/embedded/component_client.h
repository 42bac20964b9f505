// An application of the registered component over the embedded back-end.
#pragma once

#include <memory>

#include "kelSDK.h"
#include "tests/support/dispatch.h"
#include "tests/support/event_recorder.h"

namespace kel::tests {

// One session of the component with an account.
class Client {
public:
    Client(const Dispatch& base, const wchar_t* name, const Text& account)
        : base_(base), name_(name), session_(base.call(L"GetSessionCallBack", {name}).value) {
        recorder_->answerProperty(L"OsType", L"1");
        recorder_->answerProperty(L"Database", account);
        subscription_ = std::make_unique<Subscription>(
            session_.get(), __uuidof(__kelSessionCallBack), recorder_.get());
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() {
        session_.call(L"Disconnect");
        subscription_.reset();
        base_.call(L"RemoveSessionCallback", {name_});
    }

    const Dispatch& session() const { return session_; }
    Dispatch tools() const { return Dispatch(session_.get(L"Tools").value); }
    EventRecorder& events() const { return *recorder_; }

private:
    class Dispatch : public tests::Dispatch {
    public:
        explicit Dispatch(const Variant& value)
            : tests::Dispatch(value.object<IDispatch>().get()) {}
        using tests::Dispatch::get;
    };

    const tests::Dispatch& base_;
    Text name_;
    Dispatch session_;
    ComPtr<EventRecorder> recorder_ = EventRecorder::Make(__uuidof(__kelSessionCallBack));
    std::unique_ptr<Subscription> subscription_;
};

}  // namespace kel::tests
