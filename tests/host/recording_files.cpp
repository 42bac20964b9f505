#include "tests/host/recording_files.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace kel::test {

namespace {

constexpr std::size_t kSector = 512;
constexpr const char* kSuffixes[] = {"", "-wal", "-journal"};

sqlite3_vfs* system = nullptr;
sqlite3_vfs vfs;
RecordingFiles* recorder = nullptr;

// The system's own file lies behind it.
struct File {
    sqlite3_file base;
    const char* path;  // the engine's, which keeps it; null: not recorded

    sqlite3_file* Real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

File& Of(sqlite3_file* file) {
    return *reinterpret_cast<File*>(file);
}

sqlite3_file* Real(sqlite3_file* file) {
    return Of(file).Real();
}

int Noted(sqlite3_file* file, int status, RecordingFiles::Step step) {
    if (status == SQLITE_OK && Of(file).path != nullptr) {
        step.suffix = *recorder->SuffixOf(Of(file).path);
        recorder->Record(std::move(step));
    }
    return status;
}

// A member of the system's file with the same arguments.
template <auto kMember, typename... Arguments>
int Forward(sqlite3_file* file, Arguments... arguments) {
    return (Real(file)->pMethods->*kMember)(Real(file), arguments...);
}

using Kind = RecordingFiles::Step::Kind;
using Methods = sqlite3_io_methods;

int Write(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
    if (Of(file).path != nullptr && recorder->IsDiskFull()) {
        return SQLITE_FULL;
    }
    const int status = Forward<&Methods::xWrite>(file, data, size, offset);
    return Noted(file,
                 status,
                 {Kind::kWrite,
                  {},
                  offset,
                  std::string(static_cast<const char*>(data), static_cast<std::size_t>(size))});
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
    return Noted(file, Forward<&Methods::xTruncate>(file, size), {Kind::kTruncate, {}, size, {}});
}

int Sync(sqlite3_file* file, int flags) {
    return Noted(file, Forward<&Methods::xSync>(file, flags), {Kind::kSync, {}, 0, {}});
}

int Close(sqlite3_file* file) {
    return Forward<&Methods::xClose>(file);
}

void ShmBarrier(sqlite3_file* file) {
    Real(file)->pMethods->xShmBarrier(Real(file));
}

// Nothing is written past this layer.
int Fetch(sqlite3_file*, sqlite3_int64, int, void** data) {
    *data = nullptr;
    return SQLITE_OK;
}

int Unfetch(sqlite3_file*, sqlite3_int64, void*) {
    return SQLITE_OK;
}

constexpr Methods kMethods = {3,
                              Close,
                              Forward<&Methods::xRead, void*, int, sqlite3_int64>,
                              Write,
                              Truncate,
                              Sync,
                              Forward<&Methods::xFileSize, sqlite3_int64*>,
                              Forward<&Methods::xLock, int>,
                              Forward<&Methods::xUnlock, int>,
                              Forward<&Methods::xCheckReservedLock, int*>,
                              Forward<&Methods::xFileControl, int, void*>,
                              Forward<&Methods::xSectorSize>,
                              Forward<&Methods::xDeviceCharacteristics>,
                              Forward<&Methods::xShmMap, int, int, int, void volatile**>,
                              Forward<&Methods::xShmLock, int, int, int>,
                              ShmBarrier,
                              Forward<&Methods::xShmUnmap, int>,
                              Fetch,
                              Unfetch};

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* given) {
    File& own = Of(file);
    own.base.pMethods = nullptr;
    const int status = system->xOpen(system, name, own.Real(), flags, given);
    if (status == SQLITE_OK) {
        own.base.pMethods = &kMethods;
        own.path = recorder->SuffixOf(name) ? name : nullptr;
    }
    return status;
}

int Delete(sqlite3_vfs*, const char* name, int syncFolder) {
    const int status = system->xDelete(system, name, syncFolder);
    const std::optional<std::string> suffix = recorder->SuffixOf(name);
    if (status == SQLITE_OK && suffix) {
        recorder->Record({Kind::kDelete, *suffix, 0, {}});
        if (syncFolder != 0) {
            recorder->Record({Kind::kSync, *suffix, 0, {}});
        }
    }
    return status;
}

void Put(std::string& content, std::size_t offset, const std::string& bytes) {
    content.resize(std::max(content.size(), offset + bytes.size()));
    content.replace(offset, bytes.size(), bytes);
}

void Apply(const RecordingFiles::Step& step, std::map<std::string, std::string>& files) {
    const auto offset = static_cast<std::size_t>(step.offset);
    switch (step.kind) {
        case Kind::kWrite:
            Put(files[step.suffix], offset, step.bytes);
            break;
        case Kind::kTruncate:
            files[step.suffix].resize(offset);
            break;
        case Kind::kDelete:
            files.erase(step.suffix);
            break;
        case Kind::kSync:
            break;
    }
}

// Any of the write's sectors, as the disk counts them.
void ApplyTorn(const RecordingFiles::Step& step,
               std::map<std::string, std::string>& files,
               std::mt19937& random) {
    const auto start = static_cast<std::size_t>(step.offset);
    for (std::size_t at = 0; at < step.bytes.size();) {
        const std::size_t length = kSector - (start + at) % kSector;
        if (random() % 2 == 0) {
            Put(files[step.suffix], start + at, step.bytes.substr(at, length));
        }
        at += length;
    }
}

}  // namespace

RecordingFiles::RecordingFiles(std::string name) : name_(std::move(name)) {
    sqlite3_initialize();
    system = sqlite3_vfs_find(nullptr);
    vfs = *system;
    vfs.zName = "recording";
    vfs.szOsFile += static_cast<int>(sizeof(File));
    vfs.xOpen = Open;
    vfs.xDelete = Delete;
    recorder = this;
    if (sqlite3_vfs_register(&vfs, 1) != SQLITE_OK) {
        throw std::runtime_error("the recording layer cannot be used");
    }
}

RecordingFiles::~RecordingFiles() {
    sqlite3_vfs_unregister(&vfs);
    sqlite3_vfs_register(system, 1);
}

std::optional<std::string> RecordingFiles::SuffixOf(const char* path) const {
    const std::string file =
        path == nullptr ? std::string() : std::filesystem::path(path).filename().string();
    for (const char* suffix : kSuffixes) {
        if (file == name_ + suffix) {
            return suffix;
        }
    }
    return std::nullopt;
}

std::size_t RecordingFiles::AfterLastSync(const std::string& suffix, std::size_t cut) const {
    while (cut > 0 &&
           !(steps_[cut - 1].kind == Step::Kind::kSync && steps_[cut - 1].suffix == suffix)) {
        --cut;
    }
    return cut;
}

void RecordingFiles::WriteImage(const std::string& target,
                                std::size_t cut,
                                Loss loss,
                                std::mt19937& random,
                                const std::string& before) const {
    std::map<std::string, std::size_t> safe;  // by file: the steps that a sync followed
    for (const char* suffix : kSuffixes) {
        safe[suffix] = AfterLastSync(suffix, cut);
        for (const char* more : {"", "-shm"}) {
            std::filesystem::remove(target + suffix + more);
        }
    }
    std::map<std::string, std::string> files;
    if (!before.empty()) {
        files[""] = before;
    }
    for (std::size_t i = 0; i < cut; ++i) {
        const Step& step = steps_[i];
        if (i >= safe[step.suffix] && loss == Loss::kTorn && step.kind == Kind::kWrite) {
            ApplyTorn(step, files, random);
        } else if (i < safe[step.suffix] || loss == Loss::kNone ||
                   (loss != Loss::kAll && random() % 2 == 0)) {
            Apply(step, files);
        }
    }
    for (const auto& [suffix, content] : files) {
        std::ofstream(target + suffix, std::ios::binary) << content;
    }
}

}  // namespace kel::test
