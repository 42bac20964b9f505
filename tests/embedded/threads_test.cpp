// Many threads of one process at work with the component at once: each has an apartment, sessions
// and records of its own and shares nothing with the others but the account.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "tests/embedded/component_client.h"
#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

constexpr int kThreads = 20;

// All threads let go of the account now and then: Wine keeps every closed file open while there is
// a lock on it, until it can open no more.
constexpr int kRoundsBetweenPauses = 50;

using Clock = std::chrono::steady_clock;

// How a round lets go of what it made.
enum class End {
    kInOrder,         // callbacks, sessions, root, apartment
    kRootFirst,       // the root goes while everything else is alive
    kApartmentFirst,  // objects outlive the apartment that they were made in
    kCount
};

// Reads, edits and writes a record and hears of it, all by name. Answers what went wrong.
Text Work(const Dispatch& base, const Text& account, const Text& id, const Text& value) {
    const Client client(base, L"Main", account);
    client.events().answerProperty(L"Durability", L"Off");
    if (client.session().call(L"Connect").text() != L"True") {
        return L"not connected: " + client.events().take().back();
    }
    base.call(L"SetKeyFieldSession", {L"Cust", L"Main"});
    const Dispatch field(base.call(L"GetFieldCallBack", {L"Cust"}).value.object<IDispatch>().get());
    const auto heard = EventRecorder::Make(__uuidof(__kelFieldCallBack));
    const Subscription subscription(field.get(), __uuidof(__kelFieldCallBack), heard.get());
    const auto tools = client.tools();
    const struct {
        const wchar_t* member;
        Arguments arguments;
    } steps[] = {{L"mvReadU", {L"Cust", id, L"CUST"}},
                 {L"Replace", {L"Cust", value, 1}},
                 {L"mvWrite", {L"Cust", id}},
                 {L"mvRead", {L"Cust", id, L"CUST"}}};
    for (const auto& step : steps) {
        const Outcome outcome = tools.call(step.member, step.arguments);
        if (!outcome.ok()) {
            return Text(step.member) + L": " + outcome.error.description;
        }
    }
    const Text kept = tools.call(L"Extract", {L"Cust", 1}).text();
    if (kept != value) {
        return L"wrote \"" + value + L"\", found \"" + kept + L"\"";
    }
    const auto lines = heard->take();
    return std::count(lines.begin(), lines.end(), L"Refresh(1,0,0)") == 1
               ? Text()
               : L"events of another thread, or none";
}

// One thread's whole life.
Text Round(const Text& account, const Text& id, const Text& value, End end) {
    CoInitialize(nullptr);
    Dispatch base = Dispatch::Create(L"kelSDK.kelBase");
    Dispatch item = Dispatch::Create(L"kelSDK.kelDictItem");
    item.put(L"KeyId", {L"Cust"});
    const Text failure = Work(base, account, id, value);
    if (end == End::kRootFirst) {
        base = Dispatch(nullptr);
    }
    if (end == End::kApartmentFirst) {
        CoUninitialize();
    }
    item = Dispatch(nullptr);
    base = Dispatch(nullptr);
    if (end != End::kApartmentFirst) {
        CoUninitialize();
    }
    return failure;
}

// Ten seconds, or KEL_THREAD_SECONDS.
std::chrono::seconds Duration() {
    constexpr long kSeconds = 10;
    const char* given = std::getenv("KEL_THREAD_SECONDS");
    return std::chrono::seconds(given != nullptr ? std::strtol(given, nullptr, 10) : kSeconds);
}

TEST(Threads, MakeUseAndDropEverythingAtOnce) {
    KeepLoaded(L"ole32.dll");
    const TempFolder folder;
    const Text account = folder / L"threads.account";
    {
        EmbeddedSession session;
        session.connect(account);
        session.execute(L"CREATE-FILE CUST");
        const Dispatch loading = Dispatch::Create(L"kelSDK.kelBase");
        KeepLoaded(L"kelSDK.dll");
        session->Disconnect();
    }
    std::atomic<long> rounds = 0;
    const auto until = Clock::now() + Duration();
    std::vector<Text> failures(kThreads);
    std::barrier pause(kThreads);
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            const Text id = std::to_wstring(number);
            Text& failure = failures[static_cast<std::size_t>(number)];
            for (int round = 0; failure.empty() && Clock::now() < until; ++round, ++rounds) {
                const auto end = static_cast<End>(round % static_cast<int>(End::kCount));
                // A thread of its own: every round begins and ends with the thread's registry.
                std::thread([&] {
                    failure = Round(account, id, id + L"." + std::to_wstring(round), end);
                }).join();
                if (round % kRoundsBetweenPauses == 0) {
                    pause.arrive_and_wait();
                }
            }
            pause.arrive_and_drop();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Text& failure : failures) {
        EXPECT_EQ(failure, Text());
    }
    EXPECT_GT(rounds, kThreads);
    RecordProperty("rounds", static_cast<int>(rounds));
    std::printf("%ld rounds on %d threads\n", rounds.load(), kThreads);
}

}  // namespace
}  // namespace kel::tests
