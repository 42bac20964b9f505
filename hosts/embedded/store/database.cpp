#include "hosts/embedded/store/database.h"

#include <sqlite3.h>

#include <string>

namespace kel::embedded {

using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

Text TextOf(std::string_view utf8) {
    Text text;
    DecodeKey(BytesOf(utf8), text);
    return text;
}

namespace {

struct Meaning {
    ErrorKind kind;
    const char16_t* words;
};

Meaning MeaningOf(int code) {
    switch (code & 0xFF) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return {ErrorKind::kBusy, u"Another program keeps the account busy"};
        case SQLITE_FULL:
            return {ErrorKind::kFull, u"There is no room left to write to the account"};
        case SQLITE_READONLY:
            return {ErrorKind::kReadOnly, u"The account is open for reading only"};
        case SQLITE_CORRUPT:
            return {ErrorKind::kDamaged, u"The account is damaged"};
        case SQLITE_NOTADB:
            return {ErrorKind::kNotAnAccount, u"The file is not an account"};
        case SQLITE_CANTOPEN:
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return {ErrorKind::kCannotOpen, u"The account cannot be opened"};
        case SQLITE_INTERRUPT:
            return {ErrorKind::kTimeLimit, u"The call took longer than the session allows"};
        case SQLITE_TOOBIG:
            return {ErrorKind::kTooLong, u"The record is too long for the account"};
        case SQLITE_IOERR:
            return {ErrorKind::kInputOutput, u"The account cannot be read or written"};
        default:
            return {ErrorKind::kInputOutput, u"The account's storage failed"};
    }
}

struct Setting {
    int option;
    int value;
};

// Whoever wrote the file may have meant harm: its triggers and views are not run, its schema and
// the engine's own tables are not changed by statements.
constexpr Setting kSettings[] = {{SQLITE_DBCONFIG_DEFENSIVE, 1},
                                 {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
                                 {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
                                 {SQLITE_DBCONFIG_ENABLE_VIEW, 0}};

// What the statements of accounts need, generously. A row is a record and its id, and one database
// is attached when an account is compacted.
constexpr int kLongestRow = static_cast<int>(2 * text::kMaxRecordUnits) + 65536;
constexpr Setting kLimits[] = {{SQLITE_LIMIT_LENGTH, kLongestRow},
                               {SQLITE_LIMIT_SQL_LENGTH, 10000},
                               {SQLITE_LIMIT_COLUMN, 32},
                               {SQLITE_LIMIT_COMPOUND_SELECT, 4},
                               {SQLITE_LIMIT_FUNCTION_ARG, 8},
                               {SQLITE_LIMIT_ATTACHED, 1},
                               {SQLITE_LIMIT_VARIABLE_NUMBER, 16},
                               {SQLITE_LIMIT_TRIGGER_DEPTH, 1},
                               {SQLITE_LIMIT_WORKER_THREADS, 0}};

}  // namespace

void Database::Close::operator()(sqlite3* handle) const {
    sqlite3_close_v2(handle);
}

Database::Database(TextView path, TextView file, Mode mode, int busyWaitMs) : path_(path) {
    const std::string name = EncodeKey(file);
    int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    flags |= mode == Mode::kReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    flags |= mode == Mode::kCreate ? SQLITE_OPEN_CREATE : 0;
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(name.c_str(), &handle, flags, nullptr);
    handle_.reset(handle);
    Check(code);
    Check(sqlite3_busy_timeout(handle, busyWaitMs));
    for (const auto& [option, value] : kSettings) {
        Check(sqlite3_db_config(handle, option, value, nullptr));
    }
    for (const auto& [limit, value] : kLimits) {
        sqlite3_limit(handle, limit, value);
    }
    Execute("PRAGMA cell_size_check = ON");
}

void Database::Check(int code) const {
    if (code != SQLITE_OK) {
        Fail(code);
    }
}

void Database::Fail(int code) const {
    if ((code & 0xFF) == SQLITE_NOMEM) {
        throw std::bad_alloc();
    }
    const Meaning meaning = MeaningOf(code);
    Text text = meaning.words;
    text += u": \"" + path_ + u"\" (";
    // The engine's message belongs to the last call on the handle, which is the one that failed.
    text += TextOf(handle_ ? sqlite3_errmsg(handle_.get()) : sqlite3_errstr(code));
    text += u").";
    throw Error(meaning.kind, std::move(text));
}

void Database::FailDamaged(TextView what) const {
    throw Error(ErrorKind::kDamaged,
                u"The account \"" + path_ + u"\" is damaged: " + Text(what) +
                    u" is not as it was written.");
}

// Not const: the database changes. NOLINTNEXTLINE(readability-make-member-function-const)
void Database::Execute(const char* sql) {
    Check(sqlite3_exec(get(), sql, nullptr, nullptr, nullptr));
}

std::int64_t Database::QueryInteger(const char* sql) {
    Statement statement(*this, sql);
    return statement.Step() ? statement.ColumnInteger(0) : 0;
}

Text Database::FullPath() const {
    const char* name = sqlite3_db_filename(get(), "main");
    return name == nullptr || *name == '\0' ? path_ : TextOf(name);
}

bool Database::IsReadOnly() const {
    return sqlite3_db_readonly(get(), "main") == 1;
}

bool Database::InTransaction() const {
    return sqlite3_get_autocommit(get()) == 0;
}

// NOLINTNEXTLINE(readability-make-member-function-const)
void Database::UseStop(const std::atomic<bool>& stop) {
    constexpr int kSteps = 1000;  // of the engine's machine; some microseconds
    sqlite3_progress_handler(
        get(),
        kSteps,
        [](void* flag) { return static_cast<const std::atomic<bool>*>(flag)->load() ? 1 : 0; },
        const_cast<std::atomic<bool>*>(&stop));
}

// NOLINTNEXTLINE(readability-make-member-function-const)
void Database::LeaveLog() {
    Check(sqlite3_db_config(get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr));
}

std::int64_t Database::ChangedRows() const {
    return sqlite3_changes64(get());
}

void Statement::Finalize::operator()(sqlite3_stmt* handle) const {
    sqlite3_finalize(handle);
}

Statement::Statement(Database& database, const char* sql) : database_(&database) {
    sqlite3_stmt* handle = nullptr;
    database.Check(
        sqlite3_prepare_v3(database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr));
    handle_.reset(handle);
}

void Statement::Bind(int parameter, Bytes bytes) {
    // A null pointer would bind NULL; an empty text is a value.
    static const std::uint8_t nothing = 0;
    const void* data = bytes.empty() ? &nothing : bytes.data();
    database_->Check(
        sqlite3_bind_blob64(handle_.get(), parameter, data, bytes.size(), SQLITE_STATIC));
}

void Statement::Bind(int parameter, std::int64_t number) {
    database_->Check(sqlite3_bind_int64(handle_.get(), parameter, number));
}

void Statement::BindText(int parameter, std::string_view text) {
    database_->Check(sqlite3_bind_text64(
        handle_.get(), parameter, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

int Statement::Try() {
    const int code = sqlite3_step(handle_.get());
    return code == SQLITE_DONE || code == SQLITE_ROW ? SQLITE_OK : code;
}

bool Statement::Step() {
    const int code = sqlite3_step(handle_.get());
    if (code == SQLITE_ROW) {
        return true;
    }
    if (code != SQLITE_DONE) {
        database_->Fail(code);
    }
    return false;
}

Bytes Statement::ColumnBytes(int column) const {
    const void* data = sqlite3_column_blob(handle_.get(), column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column));
    return {static_cast<const std::uint8_t*>(data), data == nullptr ? 0 : size};
}

std::int64_t Statement::ColumnInteger(int column) const {
    return sqlite3_column_int64(handle_.get(), column);
}

void Statement::Reset() noexcept {
    sqlite3_reset(handle_.get());
}

}  // namespace kel::embedded
