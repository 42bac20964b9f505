// A folder of its own for each test's accounts, removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include "hosts/embedded/store/process_liveness.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/text/text.h"
#include "tests/support/throws.h"

namespace kel::test {

class AccountFolder {
public:
    AccountFolder() {
        static std::atomic<int> counter = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("kel-" + std::to_string(embedded::CurrentProcessId()) + "-" +
                 std::to_string(++counter));
        std::filesystem::create_directories(path_);
    }
    AccountFolder(const AccountFolder&) = delete;
    AccountFolder& operator=(const AccountFolder&) = delete;
    ~AccountFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    text::Text Path(const std::string& name = "account") const {
        return (path_ / name).u16string();
    }
    void Put(const std::string& name, const std::string& content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
    }

private:
    std::filesystem::path path_;
};

// Options for tests that do not look at durability: no waiting for the disk, short waits for
// others.
inline embedded::StoreOptions Quick() {
    embedded::StoreOptions options;
    options.durability = embedded::Durability::kNormal;
    options.busyWaitMs = 5000;
    return options;
}

}  // namespace kel::test
