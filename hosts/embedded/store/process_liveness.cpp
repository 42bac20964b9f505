#include "hosts/embedded/store/process_liveness.h"

#include "hosts/embedded/store/codec.h"
#include "hosts/embedded/store/database.h"
#include "hosts/multivalue/text/error.h"

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>
#endif

namespace kel::embedded {

using text::Error;
using text::ErrorKind;
using text::Text;

namespace {

[[noreturn]] void FailToOpen(const Text& path) {
    throw Error(
        ErrorKind::kCannotOpen,
        u"The file that keeps the account's sessions apart cannot be opened: \"" + path + u"\".");
}

}  // namespace

#if defined(_WIN32)

namespace {

HANDLE HandleOf(std::intptr_t handle) {
    // The header keeps one number for handles and descriptors alike.
    return reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

ByteLockFile::ByteLockFile(const Text& path) {
    const HANDLE handle = CreateFileW(reinterpret_cast<const wchar_t*>(path.c_str()),
                                      GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr,
                                      OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL,
                                      nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        FailToOpen(path);
    }
    handle_ = reinterpret_cast<std::intptr_t>(handle);
}

ByteLockFile::~ByteLockFile() {
    CloseHandle(HandleOf(handle_));
}

// Not const, here and below: the file's locks change.
// NOLINTNEXTLINE(readability-make-member-function-const)
bool ByteLockFile::TryLock(std::uint32_t first, std::uint32_t count) {
    OVERLAPPED where{};
    where.Offset = first;
    return LockFileEx(HandleOf(handle_),
                      LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY,
                      0,
                      count,
                      0,
                      &where) != 0;
}

// NOLINTNEXTLINE(readability-make-member-function-const)
void ByteLockFile::Unlock(std::uint32_t first, std::uint32_t count) noexcept {
    OVERLAPPED where{};
    where.Offset = first;
    UnlockFileEx(HandleOf(handle_), 0, count, 0, &where);
}

std::uint32_t CurrentProcessId() {
    return GetCurrentProcessId();
}

Text CurrentUserName() {
    wchar_t name[257];
    DWORD length = 257;
    if (GetUserNameW(name, &length) == 0 || length == 0) {
        return {};
    }
    return Text(reinterpret_cast<const char16_t*>(name), length - 1);
}

#else

namespace {

// Locks of the open file description: unlike the older kind they belong to the handle and stay when
// another handle on the same file is closed.
bool SetLock(std::intptr_t handle, std::uint32_t first, std::uint32_t count, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(first);
    lock.l_len = static_cast<off_t>(count);
    return fcntl(static_cast<int>(handle), F_OFD_SETLK, &lock) == 0;
}

}  // namespace

ByteLockFile::ByteLockFile(const Text& path)
    : handle_(open(EncodeKey(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    if (handle_ < 0) {
        FailToOpen(path);
    }
}

ByteLockFile::~ByteLockFile() {
    close(static_cast<int>(handle_));
}

bool ByteLockFile::TryLock(std::uint32_t first, std::uint32_t count) {
    return SetLock(handle_, first, count, F_WRLCK);
}

void ByteLockFile::Unlock(std::uint32_t first, std::uint32_t count) noexcept {
    SetLock(handle_, first, count, F_UNLCK);
}

std::uint32_t CurrentProcessId() {
    return static_cast<std::uint32_t>(getpid());
}

Text CurrentUserName() {
    const passwd* user = getpwuid(getuid());
    return user == nullptr ? Text() : TextOf(user->pw_name);
}

#endif

}  // namespace kel::embedded
