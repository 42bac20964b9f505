// The component as parts of the test program: its objects are made directly, and the state that
// they share on a thread can be looked at.
#pragma once

#include <functional>

#include "automation/property.h"
#include "client/dict_item.h"
#include "registry/thread_registry.h"
#include "tests/support/backend.h"
#include "tests/support/dispatch.h"
#include "tests/support/event_recorder.h"

namespace kel::tests {

// A text argument for the length of one call.
class Str {
public:
    Str(TextView text) : text_(text) {}                // NOLINT: implicit on purpose
    Str(const wchar_t* text) : Str(TextView(text)) {}  // NOLINT
    operator BSTR() const { return text_.get(); }      // NOLINT

private:
    Bstr text_;
};

// Has the next message pump of this thread run `action`. One at a time.
void AtNextPump(std::function<void()> action);

// A form that is never done, while the variable lives: it posts to itself at every message, and its
// timer is faster than what it does then.
class BusyForm {
public:
    BusyForm();
    BusyForm(const BusyForm&) = delete;
    BusyForm& operator=(const BusyForm&) = delete;
    ~BusyForm() { DestroyWindow(window_); }

    // That it got its messages from so many pumpings at most, and had no more than a turn in each.
    void expectServed(long pumpings) const;

private:
    static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM w, LPARAM l);

    HWND window_;
    long posts_ = 0;
    long ticks_ = 0;
};

// A callback, its listener and the connection between them.
struct Listening {
    ComPtr<EventRecorder> sink;
    std::unique_ptr<Subscription> subscription;

    void end() {
        subscription.reset();
        sink.reset();
    }
};
// A new listener of a field or session callback.
Listening ListenTo(_kelFieldCallBack& callback);
Listening ListenTo(_kelSessionCallBack& callback);

// Ends the thread's apartment, with everything that the component keeps for it, and begins another.
void RestartApartment();

// Runs `action` in a fresh apartment with the log written at level 1, 2, 3, 9 and 10. Answers the
// lines, each behind the highest of these levels at which it is still written: "9 DBMS Initalized".
Lines LoggedLines(const std::function<void()>& action);

// Runs `action` on a thread of its own, within an apartment.
void OnThread(const std::function<void()>& action);

// The texts of an ordinary collection, in order; "Nothing" for none.
Lines ItemsOf(_Collection* list);

// Each test finds the component as on a thread's first use, and an empty test back-end.
class ComponentTest : public BackendTest {
protected:
    ComponentTest();
    // Whoever holds objects of the component in members lets go of them before.
    void TearDown() override;

    static registry::ThreadRegistry& registry() { return registry::ThreadRegistry::Current(); }
    static ComPtr<_kelBase> newBase();
};

}  // namespace kel::tests
