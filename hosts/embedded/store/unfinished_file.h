// A file that is being made under a name of its own until it is whole.
#pragma once

#include <filesystem>
#include <system_error>
#include <utility>

#include "hosts/multivalue/text/text.h"

namespace kel::embedded {

// Removes the database file and what the engine keeps beside it, both now and at the end; by then
// it has its proper name if all went well.
class UnfinishedFile {
public:
    explicit UnfinishedFile(text::Text path) : path_(std::move(path)) { Remove(); }
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile() { Remove(); }

    const text::Text& path() const { return path_; }

private:
    void Remove() const {
        for (const char16_t* ending : {u"", u"-journal", u"-wal", u"-shm"}) {
            std::error_code ignored;
            std::filesystem::remove(std::filesystem::path(path_ + ending), ignored);
        }
    }

    const text::Text path_;
};

}  // namespace kel::embedded
