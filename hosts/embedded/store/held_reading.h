// One read transaction kept open from read to read, which saves each of them taking and giving up
// locks of its own.
//
// A read sees every change committed before it began, by whomever: with each commit the head of the
// log's index in shared memory changes, and a transaction begun under another head is begun anew.
//
// It keeps nobody from anything. Reading never stops a writer; what a reader can do is make the log
// grow, which starts over only when nobody reads from it. So the transaction is given up before the
// session does anything else, and by a thread of its own when nothing was read for kIdle; and none
// is kept while the log is long and not yet all in the account's file.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "hosts/embedded/store/database.h"

namespace kel::embedded {

class HeldReading {
public:
    // The database is borrowed.
    explicit HeldReading(Database& database) : database_(database) {}
    HeldReading(const HeldReading&) = delete;
    HeldReading& operator=(const HeldReading&) = delete;
    ~HeldReading();

    // Lives while something is read. Only the second read in a row begins a transaction to keep.
    class Turn {
    public:
        explicit Turn(HeldReading& reading) : lock_(reading.mutex_) { reading.Prepare(); }

    private:
        std::unique_lock<std::mutex> lock_;
    };

    // Frames in the log, 0 as long as that is not known.
    std::uint32_t LogFrames();

    // To be called before anything but a Turn is done with the database: from then on, up to the
    // next Turn, no other thread touches it.
    void End() noexcept;

private:
    using Words = volatile std::uint32_t;
    // The log index's head, as the file format describes it: 48 bytes that change with each commit.
    using Head = std::array<std::uint32_t, 12>;

    static constexpr auto kIdle = std::chrono::milliseconds(25);

    void Prepare();
    void FindLogIndex();
    Head ReadHead() const;
    bool MayHold(const Head& head) const;
    void Begin(const Head& head);
    bool StartWatching();
    void Watch();

    Database& database_;
    Statement statement_;  // stepped once and not reset, it keeps the transaction open
    Words* logIndex_ = nullptr;
    Head head_{};           // since before the transaction began
    bool isUsable_ = true;  // false: every read is on its own
    bool readBefore_ = false;

    std::mutex mutex_;
    // Guarded by mutex_, as the database is while isHeld_.
    bool isHeld_ = false;
    bool isAsleep_ = true;  // the thread, until there is something to watch
    bool isClosing_ = false;
    std::uint64_t turns_ = 0;
    std::condition_variable wake_;
    std::thread watcher_;
};

}  // namespace kel::embedded
