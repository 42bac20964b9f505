// A listener that writes down the events it hears, answers their by-reference arguments and runs
// whatever a test wants done in the middle of an event.
#pragma once

#include <windows.h>

#include <ocidl.h>

#include <functional>
#include <map>
#include <vector>

#include "tests/support/mute_object.h"
#include "tests/support/values.h"

namespace kel::tests {

// One event while it is raised.
class Event {
public:
    Event(Text name, DISPPARAMS& params) : name_(std::move(name)), params_(params) {}

    const Text& name() const { return name_; }
    // Arguments count from 0, in declared order.
    std::size_t count() const { return params_.cArgs; }
    Variant argument(std::size_t index) const { return Variant::Through(raw(index)); }
    // Writes a text into a by-reference argument.
    void answer(std::size_t index, TextView text);
    Text line() const;

private:
    VARIANTARG& raw(std::size_t index) const { return params_.rgvarg[params_.cArgs - 1 - index]; }

    Text name_;
    DISPPARAMS& params_;
};

class EventRecorder final : public MuteObject {
public:
    enum class Knows { kEvents, kOnlyDispatch, kOnlyUnknown };

    // `events` is a dispinterface of the component's type libraries.
    static ComPtr<EventRecorder> Make(REFIID events, Knows knows = Knows::kEvents);

    // "Refresh(2,1,0)" for each event since the last call of take().
    const std::vector<Text>& lines() const { return lines_; }
    std::vector<Text> take() { return std::exchange(lines_, {}); }
    // Runs at every event, after it is written down and answered.
    void onEvent(std::function<void(Event&)> action) { action_ = std::move(action); }
    // What every event returns from now on.
    void failWith(HRESULT code) { code_ = code; }
    // The answer to events that ask for a property: the text for the by-reference last argument
    // when the first one is `name`. Other names are left unanswered.
    void answerProperty(TextView name, TextView text) { answers_[Text(name)] = text; }
    // Lines are also appended here: for the order of events between several recorders.
    void alsoTo(std::vector<Text>* shared, TextView prefix);

    STDMETHODIMP Invoke(DISPID id,
                        REFIID riid,
                        LCID lcid,
                        WORD flags,
                        DISPPARAMS* params,
                        VARIANT* result,
                        EXCEPINFO* exception,
                        UINT* argumentIndex) override;

private:
    EventRecorder(REFIID events, Knows knows);
    ~EventRecorder() override = default;
    bool answers(REFIID iid) const noexcept override;

    const IID events_;
    const Knows knows_;
    std::map<DISPID, Text> names_;
    std::map<Text, Text> answers_;
    std::vector<Text> lines_;
    std::vector<Text>* shared_ = nullptr;
    Text prefix_;
    std::function<void(Event&)> action_;
    HRESULT code_ = S_OK;
};

// A listener's connection to a source; ends with the object. Does not keep the source alive longer
// than `end`.
class Subscription {
public:
    Subscription(IUnknown* source, REFIID events, IUnknown* sink);
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { end(); }

    DWORD cookie() const { return cookie_; }
    HRESULT end();
    // Lets go of the source without disconnecting, as a client does that is torn down.
    void abandon() { point_.reset(); }

private:
    ComPtr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

// Connects without keeping anything; the cookie, or 0.
DWORD Advise(IUnknown* source, REFIID events, IUnknown* sink);

}  // namespace kel::tests
