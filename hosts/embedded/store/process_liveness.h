// Proof of life for sessions, and what the system knows of this process. Differs between
// systems, as files.h does.
//
// A session holds an exclusive lock on one byte of a shared file. The system gives the byte free
// when the session's handle is closed or its process ends, however it ends; whoever can take the
// byte knows that its session is gone. The lock belongs to the open handle, not to the process, so
// two sessions in one process are told apart.
#pragma once

#include <cstdint>

#include "hosts/multivalue/text/text.h"

namespace kel::embedded {

class ByteLockFile {
public:
    // Opens or creates `path`. Throws text::Error (kCannotOpen).
    explicit ByteLockFile(const text::Text& path);
    ByteLockFile(const ByteLockFile&) = delete;
    ByteLockFile& operator=(const ByteLockFile&) = delete;
    ~ByteLockFile();  // gives all its bytes free

    // Takes `count` bytes from `first` on. Never waits. False when another handle has one of them,
    // here or in another process. Bytes this handle has must not be asked for again.
    bool TryLock(std::uint32_t first, std::uint32_t count);
    void Unlock(std::uint32_t first, std::uint32_t count) noexcept;  // a range as it was taken

private:
    std::intptr_t handle_;
};

std::uint32_t CurrentProcessId();
text::Text CurrentUserName();  // "" when the system does not tell

}  // namespace kel::embedded
