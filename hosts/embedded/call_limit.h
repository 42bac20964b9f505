// How long a call may take: a watch that tells when the time is over, and ends the script that is
// at work then.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "scripting/script_engine.h"

namespace kel::embedded {

class CallLimit {
public:
    explicit CallLimit(std::uint32_t limitMs) : limitMs_(limitMs) {}
    CallLimit(const CallLimit&) = delete;
    CallLimit& operator=(const CallLimit&) = delete;
    ~CallLimit();

    bool isOn() const { return limitMs_ != 0; }
    // False, with nothing done, without a limit and within a call.
    bool begin();
    // Whether the time was over before the end.
    bool end();
    // True from the end of the time to the end of the call; may be read on any thread.
    const std::atomic<bool>& isOver() const { return isOver_; }
    // Throws kTimeLimit when it is.
    void check() const;
    [[noreturn]] void raise() const;

    // A script at work, on the call's thread: the innermost is ended when the time is over.
    class Script {
    public:
        Script(CallLimit& limit, scripting::ScriptEngine& engine);
        Script(const Script&) = delete;
        Script& operator=(const Script&) = delete;
        ~Script();

    private:
        CallLimit& limit_;
        int inHost_ = 0;  // of the script around
    };

    // The script at work has called the host, whose work is not to be cut off.
    class Host {
    public:
        explicit Host(CallLimit& limit) : limit_(limit) { ++limit_.inHost_; }
        Host(const Host&) = delete;
        Host& operator=(const Host&) = delete;
        ~Host() { --limit_.inHost_; }

    private:
        CallLimit& limit_;
    };

private:
    void watch();

    const std::uint32_t limitMs_;
    std::atomic<bool> isOver_ = false;
    std::atomic<int> inHost_ = 0;  // of the innermost script
    std::mutex mutex_;
    // The rest is guarded by it.
    std::condition_variable changed_;
    bool isArmed_ = false;
    bool isClosing_ = false;
    std::uint64_t call_ = 0;  // counts them
    std::vector<scripting::ScriptEngine*> scripts_;
    std::thread watcher_;  // begins with the first call
};

}  // namespace kel::embedded
