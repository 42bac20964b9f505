#include "tests/registry/component.h"

#include <algorithm>
#include <map>
#include <thread>

#include "client/tools.h"
#include "engine/dbms.h"
#include "registry/base.h"
#include "registry/factories.h"
#include "tests/support/environment.h"

namespace kel::tests {
namespace {

ComPtr<_kelDBMS> MakeEngine(TextView sessionName) {
    return automation::Make<engine::Dbms>(sessionName);
}

ComPtr<_kelTools> MakeTools(TextView sessionName) {
    return automation::Make<client::Tools>(sessionName);
}

std::function<void()> due;

void CALLBACK RunDue(HWND, UINT, UINT_PTR timer, DWORD) {
    KillTimer(nullptr, timer);
    std::exchange(due, {})();
}

// What the DLL's entry does.
void SetUpComponent() {
    static const bool attached = registry::ThreadRegistry::AttachProcess();
    ASSERT_TRUE(attached);
    registry::SetFactories({MakeEngine, MakeTools});
}

// The messages in a log file, without what stands before them.
Lines MessagesIn(const Text& path) {
    const std::string bytes = FileBytes(path);
    const std::string mark = " " + std::to_string(GetCurrentThreadId()) + " - ";
    Lines messages;
    for (std::size_t start = 0; start < bytes.size();) {
        const std::size_t end = std::min(bytes.find("\r\n", start), bytes.size());
        const std::string line = bytes.substr(start, end - start);
        const std::size_t message = line.find(mark);
        EXPECT_NE(message, std::string::npos) << line;
        messages.emplace_back(line.begin() + static_cast<std::ptrdiff_t>(message + mark.size()),
                              line.end());
        start = end + 2;
    }
    return messages;
}

template <typename Callback>
Listening Listen(Callback& callback, REFIID events) {
    Listening result;
    result.sink = EventRecorder::Make(events);
    result.subscription = std::make_unique<Subscription>(&callback, events, result.sink.get());
    EXPECT_NE(result.subscription->cookie(), 0U);
    return result;
}

}  // namespace

Listening ListenTo(_kelFieldCallBack& callback) {
    return Listen(callback, __uuidof(__kelFieldCallBack));
}

Listening ListenTo(_kelSessionCallBack& callback) {
    return Listen(callback, __uuidof(__kelSessionCallBack));
}

void RestartApartment() {
    SetErrorInfo(0, nullptr);
    CoUninitialize();
    ASSERT_EQ(registry::ThreadRegistry::IfAny(), nullptr) << "the apartment goes on";
    CoInitialize(nullptr);
}

Lines LoggedLines(const std::function<void()>& action) {
    const TempFolder folder;
    const CurrentDirectory directory(folder.path());
    SettingsOverride settings;
    Lines all;
    std::map<Text, Text> highest;
    for (const wchar_t* level : {L"1", L"2", L"3", L"9", L"10"}) {
        RestartApartment();
        settings.set(L"LogLevel", level);
        settings.set(L"Log", L"1");
        action();
        settings.remove(L"Log");
        const Lines messages = MessagesIn(folder / level);
        for (const Text& message : messages) {
            highest[message] = level;
        }
        if (all.empty()) {
            all = messages;
        }
    }
    for (Text& line : all) {
        line = highest[line] + L" " + line;
    }
    RestartApartment();
    return all;
}

void AtNextPump(std::function<void()> action) {
    due = std::move(action);
    SetTimer(nullptr, 0, USER_TIMER_MINIMUM, RunDue);
    WaitForDueTimer();
}

BusyForm::BusyForm()
    : window_(CreateWindowExW(
          0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Receive));
    PostMessageW(window_, WM_APP, 0, 0);
    SetTimer(window_, 1, USER_TIMER_MINIMUM, nullptr);
    WaitForDueTimer();
}

LRESULT CALLBACK BusyForm::Receive(HWND window, UINT message, WPARAM w, LPARAM l) {
    constexpr long kEndless = 2000;
    auto& self = *reinterpret_cast<BusyForm*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_TIMER && ++self.ticks_ < kEndless) {
        WaitForDueTimer();
    } else if (message == WM_APP && ++self.posts_ < kEndless) {
        PostMessageW(window, WM_APP, 0, 0);
    }
    return DefWindowProcW(window, message, w, l);
}

void BusyForm::expectServed(long pumpings) const {
    EXPECT_GE(posts_, pumpings / 2);
    EXPECT_LE(posts_, 2 * pumpings);
    EXPECT_GE(ticks_, 1);
    EXPECT_LE(ticks_, 2 * pumpings);
}

void OnThread(const std::function<void()>& action) {
    std::thread([&] {
        CoInitialize(nullptr);
        action();
        SetErrorInfo(0, nullptr);
        CoUninitialize();
    }).join();
}

Lines ItemsOf(_Collection* list) {
    if (list == nullptr) {
        return {L"Nothing"};
    }
    Lines texts;
    long count = 0;
    EXPECT_EQ(list->get_Count(&count), S_OK);
    for (long i = 1; i <= count; ++i) {
        Variant item;
        EXPECT_EQ(list->get_Item(Value(i).get(), item.put()), S_OK);
        texts.push_back(Shown(item.get()));
    }
    return texts;
}

ComponentTest::ComponentTest() {
    SetUpComponent();
}

void ComponentTest::TearDown() {
    RestartApartment();
    BackendTest::TearDown();
}

ComPtr<_kelBase> ComponentTest::newBase() {
    return automation::Make<registry::Base>();
}

}  // namespace kel::tests
