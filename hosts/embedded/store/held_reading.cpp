#include "hosts/embedded/store/held_reading.h"

#include <sqlite3.h>

#include <atomic>
#include <exception>

namespace kel::embedded {

namespace {

// Of the log's index (published format of the storage engine), counted in words of 32 bits.
constexpr int kIndexBytes = 32768;
constexpr std::size_t kFramesWord = 4;   // frames in the log
constexpr std::size_t kCopiedWord = 24;  // frames of it that are in the database file

// Up to here the log need not be given a chance to start over: twice what it has when it is copied.
constexpr std::uint32_t kShortLog = 2000;

}  // namespace

HeldReading::~HeldReading() {
    if (watcher_.joinable()) {
        {
            const std::lock_guard lock(mutex_);
            isClosing_ = true;
        }
        wake_.notify_one();
        watcher_.join();
    }
}

void HeldReading::End() noexcept {
    if (!readBefore_) {
        return;  // nothing was begun since the last time
    }
    readBefore_ = false;
    const std::lock_guard lock(mutex_);
    if (isHeld_) {
        isHeld_ = false;
        statement_.Reset();
    }
}

std::uint32_t HeldReading::LogFrames() {
    const std::lock_guard lock(mutex_);
    if (logIndex_ == nullptr && isUsable_) {
        FindLogIndex();
    }
    return logIndex_ != nullptr ? logIndex_[kFramesWord] : 0;
}

// What fails here is no failure of the read, which then stands on its own.
void HeldReading::FindLogIndex() {
    sqlite3_file* file = nullptr;
    volatile void* index = nullptr;
    if (sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file) ==
            SQLITE_OK &&
        file != nullptr && file->pMethods != nullptr && file->pMethods->iVersion >= 2 &&
        file->pMethods->xShmMap(file, 0, kIndexBytes, 0, &index) == SQLITE_OK) {
        logIndex_ = static_cast<Words*>(index);  // stays where it is as long as the connection
    }
    isUsable_ = logIndex_ != nullptr && StartWatching();
}

bool HeldReading::StartWatching() {
    try {
        statement_ = Statement(database_, "SELECT 1 FROM sqlite_schema");
        watcher_ = std::thread([this] { Watch(); });
        return true;
    } catch (const std::exception&) {
        return false;  // no more threads, most likely
    }
}

// The head may be half of one commit and half of the next; it then equals neither.
HeldReading::Head HeldReading::ReadHead() const {
    std::atomic_thread_fence(std::memory_order_seq_cst);
    Head head;
    for (std::size_t i = 0; i < head.size(); ++i) {
        head[i] = logIndex_[i];
    }
    std::atomic_thread_fence(std::memory_order_seq_cst);
    return head;
}

bool HeldReading::MayHold(const Head& head) const {
    const std::uint32_t frames = head[kFramesWord];
    return frames <= kShortLog || frames == logIndex_[kCopiedWord];
}

void HeldReading::Prepare() {
    if (!isUsable_ || database_.InTransaction()) {
        return;
    }
    if (!readBefore_) {
        readBefore_ = true;
        return;
    }
    if (logIndex_ == nullptr) {
        FindLogIndex();
        if (!isUsable_) {
            return;
        }
    }
    ++turns_;
    const Head head = ReadHead();
    if (isHeld_) {
        if (head == head_) {
            return;
        }
        isHeld_ = false;
        statement_.Reset();
    }
    if (MayHold(head)) {
        Begin(head);
    }
}

void HeldReading::Begin(const Head& head) {
    isHeld_ = statement_.Step();
    head_ = head;
    if (isAsleep_) {
        isAsleep_ = false;
        wake_.notify_one();
    }
}

void HeldReading::Watch() {
    std::unique_lock lock(mutex_);
    std::uint64_t seen = 0;
    while (!isClosing_) {
        if (isAsleep_) {
            wake_.wait(lock);
        } else if (seen != turns_) {
            seen = turns_;
            wake_.wait_for(lock, kIdle);
        } else {
            if (isHeld_) {
                isHeld_ = false;
                statement_.Reset();
            }
            isAsleep_ = true;
        }
    }
}

}  // namespace kel::embedded
