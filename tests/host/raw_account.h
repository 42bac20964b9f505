// The engine on an account's file without any of the store's precautions: what other programs, and
// people who mean harm, can do to it.
#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace kel::test {

class RawAccount {
public:
    explicit RawAccount(const std::filesystem::path& path) {
        const auto name = path.u8string();
        if (sqlite3_open(reinterpret_cast<const char*>(name.c_str()), &handle_) != SQLITE_OK) {
            Fail();
        }
        sqlite3_db_config(handle_, SQLITE_DBCONFIG_DEFENSIVE, 0, nullptr);
        sqlite3_db_config(handle_, SQLITE_DBCONFIG_WRITABLE_SCHEMA, 1, nullptr);
        sqlite3_db_config(handle_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 1, nullptr);
    }
    RawAccount(const RawAccount&) = delete;
    RawAccount& operator=(const RawAccount&) = delete;
    ~RawAccount() { sqlite3_close(handle_); }

    void Execute(const std::string& sql) {
        if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            Fail();
        }
    }

private:
    [[noreturn]] void Fail() { throw std::runtime_error(sqlite3_errmsg(handle_)); }

    sqlite3* handle_ = nullptr;
};

}  // namespace kel::test
