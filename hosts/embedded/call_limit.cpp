// A thread of its own waits for the end of the time, or of the call.
#include "hosts/embedded/call_limit.h"

#include <chrono>
#include <utility>

#include "hosts/multivalue/text/error.h"

namespace kel::embedded {

namespace {

// How often a script is told again: it may have caught the first failure.
constexpr std::chrono::milliseconds kBetweenInterrupts{5};

}  // namespace

CallLimit::~CallLimit() {
    if (watcher_.joinable()) {
        {
            const std::lock_guard lock(mutex_);
            isClosing_ = true;
        }
        changed_.notify_one();
        watcher_.join();
    }
}

bool CallLimit::begin() {
    if (!isOn()) {
        return false;
    }
    const std::lock_guard lock(mutex_);
    if (std::exchange(isArmed_, true)) {
        return false;
    }
    ++call_;
    if (!watcher_.joinable()) {
        watcher_ = std::thread([this] { watch(); });
    }
    changed_.notify_one();
    return true;
}

bool CallLimit::end() {
    const std::lock_guard lock(mutex_);
    isArmed_ = false;
    changed_.notify_one();
    return isOver_.exchange(false);
}

void CallLimit::check() const {
    if (isOver_) {
        raise();
    }
}

void CallLimit::raise() const {
    throw text::Error(
        text::ErrorKind::kTimeLimit,
        u"The call took longer than the property TimeLimit allows; what it changed is "
        u"undone.");
}

void CallLimit::watch() {
    std::unique_lock lock(mutex_);
    while (!isClosing_) {
        if (!isArmed_) {
            changed_.wait(lock);
            continue;
        }
        const std::uint64_t call = call_;
        const auto isDone = [&] { return isClosing_ || !isArmed_ || call_ != call; };
        if (changed_.wait_for(lock, std::chrono::milliseconds(limitMs_), isDone)) {
            continue;
        }
        isOver_ = true;
        do {
            if (!scripts_.empty()) {
                scripts_.back()->Interrupt(inHost_);
            }
        } while (!changed_.wait_for(lock, kBetweenInterrupts, isDone));
    }
}

CallLimit::Script::Script(CallLimit& limit, scripting::ScriptEngine& engine) : limit_(limit) {
    if (limit_.isOn()) {
        const std::lock_guard lock(limit_.mutex_);
        inHost_ = limit_.inHost_.exchange(0);
        limit_.scripts_.push_back(&engine);
    }
}

CallLimit::Script::~Script() {
    if (limit_.isOn()) {
        const std::lock_guard lock(limit_.mutex_);
        limit_.scripts_.pop_back();
        limit_.inHost_ = inHost_;
    }
}

}  // namespace kel::embedded
