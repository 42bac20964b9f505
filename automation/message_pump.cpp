// Handling the window messages that wait for a thread, and only those.
#include "automation/message_pump.h"

#include <algorithm>
#include <array>

namespace kel::automation {
namespace {

// How a part of the pumping ends.
enum class Pumped { kAll, kQuit };

// Stands at the end of the thread's posted messages, as they are when it is made. It is a window,
// so that a loop of the client's own, which a handler runs, cannot take the mark for one of its
// own: it dispatches it like any other message. Windows for messages only need no display.
class EndMark {
public:
    EndMark() noexcept
        : window_(CreateWindowExW(
              0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
        if (window_ != nullptr) {
            SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
            former_ = reinterpret_cast<WNDPROC>(
                SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Receive)));
            isSet_ = PostMessageW(window_, kMark, 0, 0) != FALSE;
        }
    }
    EndMark(const EndMark&) = delete;
    EndMark& operator=(const EndMark&) = delete;
    ~EndMark() {
        if (window_ != nullptr) {
            DestroyWindow(window_);
        }
    }

    // Whether it is still to be reached; never so where the system had no room for it.
    bool isAhead() const noexcept { return isSet_ && !isReached_; }
    bool isReached() const noexcept { return isReached_; }
    // When it was posted, by the clock of the messages; only once it is reached.
    DWORD time() const noexcept { return time_; }

private:
    static constexpr UINT kMark = WM_APP;

    static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM w, LPARAM l) noexcept {
        auto& mark = *reinterpret_cast<EndMark*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message == kMark) {
            mark.time_ = static_cast<DWORD>(GetMessageTime());
            mark.isReached_ = true;
        }
        return CallWindowProcW(mark.former_, window, message, w, l);
    }

    const HWND window_;
    WNDPROC former_ = nullptr;  // the procedure of the window's class
    bool isSet_ = false;
    bool isReached_ = false;
    DWORD time_ = 0;
};

// Takes the next message of a kind out of the queue; answers false when there is none.
//   kind   PM_QS_ flags, or 0 for any
bool Take(MSG& message, UINT kind, UINT only = 0) noexcept {
    return PeekMessageW(&message, nullptr, only, only, PM_REMOVE | kind) != FALSE;
}

// Whether the message is the end of the client's program, which then waits for its own loop.
bool PutBackQuit(const MSG& message) noexcept {
    if (message.message != WM_QUIT) {
        return false;
    }
    PostQuitMessage(static_cast<int>(message.wParam));
    return true;
}

void Handle(const MSG& message) noexcept {
    TranslateMessage(&message);
    DispatchMessageW(&message);
}

// Handles posted messages up to the mark. Posted ones come before all others, in their order.
//   time   when the mark was set, by the clock of the messages
Pumped PumpPosted(DWORD& time) noexcept {
    // As many as a queue takes by default: the end should a handler throw the mark away.
    constexpr int kMost = 10000;
    const EndMark mark;
    MSG message;
    for (int i = 0; i < kMost && mark.isAhead() && Take(message, 0); ++i) {
        if (PutBackQuit(message)) {
            return Pumped::kQuit;
        }
        Handle(message);
    }
    if (mark.isReached()) {
        time = mark.time();
    }
    return Pumped::kAll;
}

// Handles what the user has typed and clicked up to a time. Each key and click is followed by what
// it made the windows post, as it would be in the client's own loop.
Pumped PumpInput(DWORD until) noexcept {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_INPUT) &&
           (message.message == WM_QUIT || static_cast<LONG>(message.time - until) <= 0) &&
           Take(message, PM_QS_INPUT)) {
        if (PutBackQuit(message)) {
            return Pumped::kQuit;
        }
        Handle(message);
        DWORD ignored = 0;
        if (PumpPosted(ignored) == Pumped::kQuit) {
            return Pumped::kQuit;
        }
    }
    return Pumped::kAll;
}

// Handles messages of a kind that windows are given when they are looked for: timers that are due,
// windows to be painted. Each comes once; one that comes again was not waiting at the beginning,
// and by then all others have had their turn.
Pumped PumpGenerated(UINT kind, UINT only) noexcept {
    struct Source {
        HWND window;
        WPARAM number;
        bool operator==(const Source&) const = default;
    };
    constexpr std::size_t kMost = 64;  // handlers may set new timers all the time
    std::array<Source, kMost> seen{};
    MSG message;
    for (std::size_t count = 0; count < kMost && Take(message, kind, only); ++count) {
        if (PutBackQuit(message)) {
            return Pumped::kQuit;
        }
        Handle(message);
        const Source source{message.hwnd, message.wParam};
        const auto end = seen.begin() + static_cast<std::ptrdiff_t>(count);
        if (std::find(seen.begin(), end, source) != end) {
            break;
        }
        *end = source;
    }
    return Pumped::kAll;
}

}  // namespace

bool PumpMessages() noexcept {
    MSG message;
    if (!PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE)) {
        return true;  // the rule; what other threads sent has been handled by looking
    }
    if (message.message == WM_QUIT) {
        return false;  // nothing posted stands before it, and it was only looked at
    }
    constexpr UINT kSystemTimer = 0x0118;  // the system's own, which make carets blink
    DWORD begun = GetTickCount();
    return PumpPosted(begun) == Pumped::kAll && PumpInput(begun) == Pumped::kAll &&
           PumpGenerated(PM_QS_PAINT, 0) == Pumped::kAll &&
           PumpGenerated(0, WM_TIMER) == Pumped::kAll &&
           PumpGenerated(0, kSystemTimer) == Pumped::kAll;
}

}  // namespace kel::automation
