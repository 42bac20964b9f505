// Thin owners over the storage engine: a connection, a prepared statement, one check of its codes.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "hosts/embedded/store/codec.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/text.h"

struct sqlite3;
struct sqlite3_stmt;

namespace kel::embedded {

// UTF-8 that is known to be well-formed, or at least may lose a character in a message.
text::Text TextOf(std::string_view utf8);

// One connection to one database file, whose content is not trusted: nothing in its schema is run.
// Statements must be gone before it.
class Database {
public:
    enum class Mode { kReadOnly, kReadWrite, kCreate };

    // Errors (kCannotOpen) name `path`. A busy database is waited for, busyWaitMs at most each
    // time.
    Database(text::TextView path, Mode mode, int busyWaitMs)
        : Database(path, path, mode, busyWaitMs) {}
    // Opens `file`; errors name `path`, as the user did.
    Database(text::TextView path, text::TextView file, Mode mode, int busyWaitMs);

    sqlite3* get() const { return handle_.get(); }
    const text::Text& path() const { return path_; }
    text::Text FullPath() const;  // absolute, links followed

    void Execute(const char* sql);
    std::int64_t QueryInteger(const char* sql);
    bool IsReadOnly() const;  // the file, whatever was asked for
    bool InTransaction() const;
    // What is at work when `stop` becomes true, on any thread, fails with kTimeLimit. Borrowed.
    void UseStop(const std::atomic<bool>& stop);
    void LeaveLog();                   // when the connection is closed, even if it is the last
    std::int64_t ChangedRows() const;  // by the last statement that changes rows

    // Throws what a result code other than "fine" means, with the path and the engine's own words.
    void Check(int code) const;
    [[noreturn]] void Fail(int code) const;
    // `what` is a part of the account: The account "..." is damaged: WHAT is not as it was written.
    [[noreturn]] void FailDamaged(text::TextView what) const;

private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };

    text::Text path_;
    std::unique_ptr<sqlite3, Close> handle_;
};

// A statement prepared once and run many times. Bound bytes are borrowed until Reset. Columns count
// from 0, parameters from 1. Column bytes hold until the next Step or Reset.
class Statement {
public:
    Statement() = default;
    Statement(Database& database, const char* sql);

    explicit operator bool() const { return handle_ != nullptr; }
    void Bind(int parameter, Bytes bytes);
    void Bind(int parameter, std::int64_t number);
    void BindText(int parameter, std::string_view text);  // as the engine's text, not as bytes
    int Try();    // as Step, but returns the engine's code and throws nothing
    bool Step();  // whether there is a row; throws, and is reset, on failure
    Bytes ColumnBytes(int column) const;
    std::int64_t ColumnInteger(int column) const;
    void Reset() noexcept;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* handle) const;
    };

    Database* database_ = nullptr;
    std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

// One run of a kept statement: reset, whatever happens, when the run ends.
class Run {
public:
    explicit Run(Statement& statement) : statement_(statement) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() { statement_.Reset(); }

    Statement* operator->() const { return &statement_; }

private:
    Statement& statement_;
};

}  // namespace kel::embedded
