// Names that nothing has, and the files that the engine keeps beside its own.
#include "hosts/embedded/store/unfinished_file.h"

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/files.h"

namespace kel::embedded {

using text::Text;

namespace {

constexpr const char16_t* kBeside[] = {u"-journal", u"-wal", u"-shm"};

bool HasAnythingBeside(const Text& path) {
    for (const char16_t* ending : kBeside) {
        if (std::filesystem::exists(std::filesystem::path(path + ending))) {
            return true;
        }
    }
    return false;
}

}  // namespace

UnfinishedFile::UnfinishedFile(const Text& beginning) {
    std::random_device random;
    do {
        path_ = beginning + u"-" + TextOf(std::to_string(random()));
    } while (HasAnythingBeside(path_) || !CreateNewFile(path_));
}

UnfinishedFile::~UnfinishedFile() {
    std::error_code ignored;
    if (!isFinished_) {
        std::filesystem::remove(std::filesystem::path(path_), ignored);
    }
    for (const char16_t* ending : kBeside) {
        std::filesystem::remove(std::filesystem::path(path_ + ending), ignored);
    }
}

bool UnfinishedFile::Finish(const Text& name) {
    isFinished_ = RenameToNew(path_, name);
    return isFinished_;
}

}  // namespace kel::embedded
