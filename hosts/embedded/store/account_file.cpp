#include "hosts/embedded/store/account_file.h"

#include <cstdint>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "hosts/embedded/store/account_conversion.h"
#include "hosts/embedded/store/account_schema.h"
#include "hosts/embedded/store/files.h"

namespace kel::embedded {

using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

Text Digits(std::int64_t number) {
    return TextOf(std::to_string(number));
}

[[noreturn]] void Refuse(ErrorKind kind, TextView path, TextView why) {
    throw Error(kind, u"\"" + Text(path) + u"\" " + Text(why) + u".");
}

// The engine takes a file shorter than its smallest page for an empty one, and would write over it.
constexpr std::uintmax_t kSmallestDatabase = 512;

FileFacts FactsAt(TextView path) {
    try {
        return FactsOf(Text(path));
    } catch (const std::system_error&) {  // units that make no path here
        Refuse(ErrorKind::kCannotOpen, path, u"is no path of an account");
    }
}

bool IsEmpty(Database& database) {
    return database.QueryInteger("SELECT count(*) FROM sqlite_schema") == 0 &&
           database.QueryInteger("PRAGMA application_id") == 0 &&
           database.QueryInteger("PRAGMA user_version") == 0;
}

// Returns the format's number.
std::int64_t CheckFormat(Database& database) {
    if (database.QueryInteger("PRAGMA application_id") != kApplicationId) {
        Refuse(ErrorKind::kNotAnAccount,
               database.path(),
               u"is not an account but another program's database");
    }
    const std::int64_t format = FormatOf(database);
    if (format > kFormat) {
        Refuse(ErrorKind::kNewerFormat,
               database.path(),
               u"was written by a later version of this program (format " + Digits(format) +
                   u", this one reads up to " + Digits(kFormat) + u")");
    }
    if (format < 1) {
        Refuse(ErrorKind::kDamaged, database.path(), u"is damaged: it has no format number");
    }
    const std::vector<Text> faults = SchemaFaults(database, format);
    if (!faults.empty()) {
        throw Error(ErrorKind::kDamaged,
                    u"The account \"" + database.path() +
                        u"\" is damaged, or was made to do harm: " + faults.front());
    }
    return format;
}

// Several processes may find the file empty at once: the first makes the tables, under a lock.
// The way to the write-ahead log leads through a rollback journal, whose removal has to last: one
// that came back after a power failure would undo the account.
void Initialise(Database& database) {
    database.Execute("PRAGMA synchronous = EXTRA; PRAGMA journal_mode = WAL");
    database.Execute("BEGIN IMMEDIATE");
    try {
        if (IsEmpty(database)) {
            const std::string marks = "PRAGMA application_id = " + std::to_string(kApplicationId) +
                                      "; PRAGMA user_version = " + std::to_string(kFormat);
            CreateLists(database);
            database.Execute(marks.c_str());
        }
        database.Execute("COMMIT");
    } catch (...) {
        if (database.InTransaction()) {
            database.Execute("ROLLBACK");
        }
        throw;
    }
}

}  // namespace

AccountPlace FindAccount(TextView path) {
    if (path.empty() || path.find(u'\0') != TextView::npos || path == u":memory:") {
        Refuse(ErrorKind::kCannotOpen, path, u"is no path of an account");
    }
    const FileFacts facts = FactsAt(path);
    if (facts.kind == FileFacts::Kind::kFolder) {
        Refuse(ErrorKind::kCannotOpen, path, u"is a folder, not an account");
    }
    if (facts.kind == FileFacts::Kind::kOther) {
        Refuse(ErrorKind::kCannotOpen, path, u"is a device, not an account");
    }
    if (facts.isLinkToNothing) {
        Refuse(ErrorKind::kCannotOpen, path, u"is a link to a file that is not there");
    }
    if (facts.isRemote) {
        Refuse(ErrorKind::kNetworkDrive,
               path,
               u"lies on another machine: an account has to be on a disk of the machine whose "
               u"programs use it. Copy it to one and open it there");
    }
    if (facts.names > 1) {
        Refuse(ErrorKind::kSeveralNames,
               path,
               u"is a file with several names (hard links), and sessions that open it by "
               u"different ones would destroy each other's changes. Remove all names but one, or "
               u"copy the file and open the copy");
    }
    if (facts.bytes != 0 && facts.bytes < kSmallestDatabase) {
        Refuse(ErrorKind::kNotAnAccount, path, u"is not an account");
    }
    return {facts.path, facts.kind == FileFacts::Kind::kFile};
}

Database OpenAccount(TextView path, const StoreOptions& options) {
    const AccountPlace place = FindAccount(path);
    if (!place.isThere && (options.readOnly || !options.createMissing)) {
        Refuse(ErrorKind::kCannotOpen, path, u"is not there");
    }
    const auto busyWaitMs = static_cast<int>(options.busyWaitMs);
    const auto connect = [&] {
        return Database(path,
                        place.file,
                        options.readOnly ? Database::Mode::kReadOnly : Database::Mode::kCreate,
                        busyWaitMs);
    };
    Database database = connect();
    const bool isEmpty = IsEmpty(database);
    if (options.readOnly) {
        if (isEmpty) {
            Refuse(ErrorKind::kNotAnAccount, path, u"is not an account: it is empty");
        }
        CheckFormat(database);
        return database;
    }
    if (database.IsReadOnly()) {
        Refuse(ErrorKind::kReadOnly, path, u"may not be written to");
    }
    // Before anything of a foreign database is changed.
    if (!isEmpty && CheckFormat(database) < kFormat) {
        { const Database closed = std::move(database); }  // converting needs the account alone
        ConvertAccount(path, place.file, busyWaitMs);
        database = connect();
        CheckFormat(database);
    }
    if (options.maxBytes != 0) {
        const std::int64_t pageSize = database.QueryInteger("PRAGMA page_size");
        const auto pages = static_cast<std::int64_t>(options.maxBytes) / pageSize;
        database.Execute(
            ("PRAGMA max_page_count = " + std::to_string(pages > 0 ? pages : 1)).c_str());
    }
    if (isEmpty) {
        Initialise(database);
        CheckFormat(database);
    } else {
        // A copy has no log yet; see Initialise for the way to it.
        database.Execute("PRAGMA synchronous = EXTRA; PRAGMA journal_mode = WAL");
    }
    database.Execute(options.durability == Durability::kFull     ? "PRAGMA synchronous = FULL"
                     : options.durability == Durability::kNormal ? "PRAGMA synchronous = NORMAL"
                                                                 : "PRAGMA synchronous = OFF");
    // The log is cut back to this after a large batch instead of keeping its size for ever.
    database.Execute("PRAGMA journal_size_limit = 16777216; PRAGMA cache_size = -16384");
    return database;
}

}  // namespace kel::embedded
