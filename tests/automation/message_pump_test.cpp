// Pumping as a busy form sees it: what waited is handled, and what the form goes on making does not
// hold up who pumps. The windows are for messages only; no display is needed.
#include "automation/message_pump.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/environment.h"

namespace kel::tests {
namespace {

using automation::PumpMessages;

// More than this is without end; a window that has gone so far keeps quiet.
constexpr int kEndless = 300;

class Window {
public:
    Window()
        : window_(CreateWindowExW(
              0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
        SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        former_ = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Receive)));
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() { DestroyWindow(window_); }

    HWND get() const { return window_; }
    void post(WPARAM number = 0) const { PostMessageW(window_, WM_APP, number, 0); }
    void startTimer(UINT_PTR number) const {
        SetTimer(window_, number, USER_TIMER_MINIMUM, nullptr);
    }

    std::function<void(UINT, WPARAM)> onMessage;  // WM_APP and WM_TIMER
    int handled = 0;

private:
    static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM w, LPARAM l) {
        auto& self = *reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message == WM_APP || message == WM_TIMER) {
            if (++self.handled < kEndless && self.onMessage) {
                self.onMessage(message, w);
            } else {
                KillTimer(window, w);
            }
            return 0;
        }
        return CallWindowProcW(self.former_, window, message, w, l);
    }

    const HWND window_;
    WNDPROC former_ = nullptr;
};

class MessagePump : public testing::Test {
protected:
    void TearDown() override {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        }
    }
};

TEST_F(MessagePump, HandlesWhatWaitedAndLeavesWhatIsMadeMeanwhile) {
    Window quiet;
    std::string order;
    quiet.onMessage = [&](UINT, WPARAM number) { order += std::to_string(number); };
    Window busy;
    busy.onMessage = [&](UINT, WPARAM) {
        order += "b";
        busy.post();
        quiet.post(9);
    };
    quiet.post(1);
    busy.post();
    quiet.post(2);
    EXPECT_TRUE(PumpMessages());
    EXPECT_EQ(order, "1b2");
    EXPECT_TRUE(PumpMessages());
    EXPECT_EQ(order, "1b2b9") << "in the order posted";
}

TEST_F(MessagePump, GivesEachTimerATurnWhateverElseGoesOn) {
    Window busy;
    busy.onMessage = [&](UINT, WPARAM) { busy.post(); };
    Window slow;
    std::string order;
    slow.onMessage = [&](UINT, WPARAM number) {
        order += std::to_string(number);
        WaitForDueTimer();  // the next one's turn, and its own again
    };
    for (const UINT_PTR number : {1, 2, 3}) {
        slow.startTimer(number);
    }
    busy.post();
    WaitForDueTimer();
    EXPECT_TRUE(PumpMessages());
    for (const char* number : {"1", "2", "3"}) {
        EXPECT_NE(order.find(number), std::string::npos) << number << " not in " << order;
    }
    EXPECT_LE(order.size(), 4U) << order;
    EXPECT_LE(busy.handled, 2);
}

TEST_F(MessagePump, EndsThoughEachTimerStartsAnother) {
    Window slow;
    slow.onMessage = [&](UINT, WPARAM number) {
        KillTimer(slow.get(), number);
        slow.startTimer(number + 1);
        WaitForDueTimer();
    };
    slow.startTimer(1);
    WaitForDueTimer();
    EXPECT_TRUE(PumpMessages());
    EXPECT_GE(slow.handled, 1);
    EXPECT_LT(slow.handled, kEndless / 2);
}

TEST_F(MessagePump, EndsWhenHandlersRunLoopsOfTheirOwn) {
    struct Case {
        const char* what;
        std::function<void()> loop;
    };
    const auto step = [](bool dispatches) {
        MSG message;
        for (int i = 0; i < 3 && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); ++i) {
            if (dispatches) {
                DispatchMessageW(&message);
            }
        }
    };
    const Case cases[] = {
        {"a dialog", [&] { step(true); }},
        {"a member that pumps", [] { PumpMessages(); }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        int depth = 0;
        Window busy;
        busy.onMessage = [&](UINT, WPARAM) {
            busy.post();
            if (depth < 3) {
                ++depth;
                one.loop();
                --depth;
            }
        };
        busy.post();
        EXPECT_TRUE(PumpMessages());
        EXPECT_LT(busy.handled, kEndless / 2);
    }
}

TEST_F(MessagePump, LeavesTheEndOfTheProgramToItsOwnLoop) {
    Window window;
    window.post();
    PostQuitMessage(42);
    EXPECT_FALSE(PumpMessages());
    EXPECT_EQ(window.handled, 1) << "what was posted comes first";
    EXPECT_FALSE(PumpMessages());
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, 42U);
    EXPECT_TRUE(PumpMessages());
}

TEST_F(MessagePump, AnswersWhatOtherThreadsSend) {
    Window window;
    std::thread other([&] { SendMessageW(window.get(), WM_APP, 0, 0); });
    for (int i = 0; i < 1000 && window.handled == 0; ++i) {
        Sleep(1);
        PumpMessages();
    }
    EXPECT_EQ(window.handled, 1);
    other.join();
}

}  // namespace
}  // namespace kel::tests
