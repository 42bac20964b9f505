#include "hosts/embedded/store/files.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string_view>
#include <system_error>

#include "hosts/embedded/store/codec.h"
#include "hosts/multivalue/text/error.h"

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#endif

namespace kel::embedded {

using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

[[noreturn]] void FailToOpen(const Text& path) {
    throw Error(ErrorKind::kCannotOpen, u"The system cannot open \"" + path + u"\".");
}

[[noreturn]] void FailToRename(const Text& from, const Text& to) {
    throw Error(ErrorKind::kInputOutput,
                u"\"" + from + u"\" cannot be renamed to \"" + to + u"\".");
}

}  // namespace

#if defined(_WIN32)

namespace {

const wchar_t* Wide(const Text& text) {
    return reinterpret_cast<const wchar_t*>(text.c_str());
}

struct CloseFile {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<HANDLE, CloseFile>;

// To ask about, not to read; folders too. Null when it cannot be opened.
FileHandle OpenToAsk(const Text& path) {
    const HANDLE handle = CreateFileW(Wide(path),
                                      FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr,
                                      OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS,
                                      nullptr);
    return FileHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

constexpr TextView kLongPath = u"\\\\?\\";
constexpr TextView kRemotePath = u"\\\\?\\UNC\\";

Text FinalPath(HANDLE file, const Text& path) {
    Text final(32768, u'\0');
    const DWORD length = GetFinalPathNameByHandleW(file,
                                                   reinterpret_cast<wchar_t*>(final.data()),
                                                   static_cast<DWORD>(final.size()),
                                                   FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (length == 0 || length >= final.size()) {
        FailToOpen(path);
    }
    final.resize(length);
    return final;
}

bool IsRemote(const Text& finalPath) {
    if (finalPath.starts_with(kRemotePath)) {
        return true;
    }
    const Text root = finalPath.substr(kLongPath.size(), 3);  // C:\ and the like
    return finalPath.starts_with(kLongPath) && GetDriveTypeW(Wide(root)) == DRIVE_REMOTE;
}

// The form that people know, which programs that are handed it know as well; a path too long for it
// stays as it is.
Text Shown(const Text& finalPath) {
    return finalPath.size() < MAX_PATH + kLongPath.size() && finalPath.starts_with(kLongPath) &&
                   !finalPath.starts_with(kRemotePath)
               ? finalPath.substr(kLongPath.size())
               : finalPath;
}

FileFacts FactsOfMissing(const Text& path) {
    FileFacts facts;
    facts.isLinkToNothing = GetFileAttributesW(Wide(path)) != INVALID_FILE_ATTRIBUTES;
    const std::filesystem::path file(path);
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    const FileHandle handle = OpenToAsk(folder.u16string());
    if (!handle) {
        facts.path = path;
        return facts;
    }
    if (!file.has_filename()) {
        FailToOpen(path);
    }
    const Text final = FinalPath(handle.get(), path);
    facts.isRemote = IsRemote(final);
    facts.path = (std::filesystem::path(Shown(final)) / file.filename()).u16string();
    return facts;
}

}  // namespace

FileFacts FactsOf(const Text& path) {
    const FileHandle handle = OpenToAsk(path);
    if (!handle) {
        const DWORD why = GetLastError();
        if (why != ERROR_FILE_NOT_FOUND && why != ERROR_PATH_NOT_FOUND) {
            FailToOpen(path);
        }
        return FactsOfMissing(path);
    }
    BY_HANDLE_FILE_INFORMATION information{};
    if (GetFileInformationByHandle(handle.get(), &information) == 0) {
        FailToOpen(path);
    }
    const bool isFolder = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool isOnDisk = GetFileType(handle.get()) == FILE_TYPE_DISK;
    FileFacts facts;
    facts.kind = isFolder   ? FileFacts::Kind::kFolder
                 : isOnDisk ? FileFacts::Kind::kFile
                            : FileFacts::Kind::kOther;
    if (facts.kind == FileFacts::Kind::kOther) {
        return facts;
    }
    const Text final = FinalPath(handle.get(), path);
    facts.isRemote = IsRemote(final);
    facts.path = Shown(final);
    facts.bytes = (std::uintmax_t{information.nFileSizeHigh} << 32) | information.nFileSizeLow;
    facts.names = information.nNumberOfLinks;
    return facts;
}

bool CreateNewFile(const Text& path) {
    const HANDLE handle = CreateFileW(
        Wide(path), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        if (GetLastError() == ERROR_FILE_EXISTS || GetLastError() == ERROR_ALREADY_EXISTS) {
            return false;
        }
        FailToOpen(path);
    }
    CloseHandle(handle);
    return true;
}

bool RenameToNew(const Text& from, const Text& to) {
    if (MoveFileExW(Wide(from), Wide(to), MOVEFILE_WRITE_THROUGH) != 0) {
        return true;
    }
    if (GetLastError() == ERROR_FILE_EXISTS || GetLastError() == ERROR_ALREADY_EXISTS) {
        return false;
    }
    FailToRename(from, to);
}

#else

namespace {

// File systems whose files lie on another machine, by the numbers that the system gives them.
constexpr unsigned long kRemoteSystems[] = {
    0x6969,      // NFS
    0x517B,      // SMB
    0xFE534D42,  // SMB 2
    0xFF534D42,  // CIFS
    0x564C,      // NCP
    0x01021997,  // 9P, which shows the files of a machine to those that run in it
    0x5346414F,  // AFS
    0x73757245,  // Coda
    0x00C36400,  // Ceph
    0x0BD00BD0,  // Lustre
};

bool IsRemote(const std::filesystem::path& path) {
    struct statfs system {};
    if (statfs(path.c_str(), &system) != 0) {
        return false;  // opening says what is wrong
    }
    // The kernel's numbers have 32 bits, whatever the width and sign of this field.
    const auto type = static_cast<unsigned long>(static_cast<std::uint32_t>(system.f_type));
    return std::find(std::begin(kRemoteSystems), std::end(kRemoteSystems), type) !=
           std::end(kRemoteSystems);
}

FileFacts FactsOfMissing(const Text& path) {
    const std::filesystem::path file(path);
    std::error_code error;
    FileFacts facts;
    facts.isLinkToNothing = std::filesystem::is_symlink(file, error);
    const std::filesystem::path folder =
        std::filesystem::canonical(file.has_parent_path() ? file.parent_path() : ".", error);
    if (error) {
        facts.path = path;
        return facts;
    }
    if (!file.has_filename()) {
        FailToOpen(path);
    }
    facts.path = (folder / file.filename()).u16string();
    facts.isRemote = IsRemote(folder);
    return facts;
}

}  // namespace

FileFacts FactsOf(const Text& path) {
    struct stat status {};
    if (stat(EncodeKey(path).c_str(), &status) != 0) {
        if (errno != ENOENT) {
            FailToOpen(path);
        }
        return FactsOfMissing(path);
    }
    std::error_code error;
    const std::filesystem::path real =
        std::filesystem::canonical(std::filesystem::path(path), error);
    if (error) {
        FailToOpen(path);
    }
    FileFacts facts;
    facts.kind = S_ISREG(status.st_mode)   ? FileFacts::Kind::kFile
                 : S_ISDIR(status.st_mode) ? FileFacts::Kind::kFolder
                                           : FileFacts::Kind::kOther;
    facts.path = real.u16string();
    facts.bytes = static_cast<std::uintmax_t>(status.st_size);
    facts.names = static_cast<std::uintmax_t>(status.st_nlink);
    facts.isRemote = IsRemote(real);
    return facts;
}

bool CreateNewFile(const Text& path) {
    const int file = open(EncodeKey(path).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) {
        if (errno == EEXIST) {
            return false;
        }
        FailToOpen(path);
    }
    close(file);
    return true;
}

bool RenameToNew(const Text& from, const Text& to) {
    if (renameat2(
            AT_FDCWD, EncodeKey(from).c_str(), AT_FDCWD, EncodeKey(to).c_str(), RENAME_NOREPLACE) ==
        0) {
        return true;
    }
    if (errno == EEXIST) {
        return false;
    }
    FailToRename(from, to);
}

#endif

}  // namespace kel::embedded
