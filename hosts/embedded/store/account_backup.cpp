// The copy of an account while it is in use.
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <system_error>

#include "hosts/embedded/store/account_file.h"
#include "hosts/embedded/store/maintenance.h"
#include "hosts/embedded/store/unfinished_file.h"
#include "hosts/multivalue/text/error.h"

namespace kel::embedded {

using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

constexpr int kPagesAtOnce = 1024;

struct Finish {
    void operator()(sqlite3_backup* backup) const { sqlite3_backup_finish(backup); }
};

// False when given up.
bool CopyPages(Database& source, Database& copy, const BackupProgress& progress) {
    const std::unique_ptr<sqlite3_backup, Finish> backup(
        sqlite3_backup_init(copy.get(), "main", source.get(), "main"));
    if (!backup) {
        copy.Fail(sqlite3_errcode(copy.get()));
    }
    for (;;) {
        const int code = sqlite3_backup_step(backup.get(), kPagesAtOnce);
        if (code != SQLITE_OK && code != SQLITE_DONE) {
            // The error is told where it arose: the engine keeps it with the copy's connection.
            copy.Fail(code);
        }
        const int total = sqlite3_backup_pagecount(backup.get());
        const int left = sqlite3_backup_remaining(backup.get());
        if (progress && !progress(static_cast<std::uint64_t>(total - left),
                                  static_cast<std::uint64_t>(total))) {
            return false;
        }
        if (code == SQLITE_DONE) {
            return true;
        }
    }
}

}  // namespace

bool BackUpAccount(TextView path, TextView target, const BackupProgress& progress) {
    StoreOptions options;
    options.readOnly = true;
    Database source = OpenAccount(path, options);
    const std::filesystem::path to(target);
    std::error_code error;
    if (std::filesystem::exists(to, error)) {
        throw Error(ErrorKind::kFileExists,
                    u"\"" + Text(target) + u"\" is there already and is not written over.");
    }
    const UnfinishedFile partial(Text(target) + u"-partial");
    // Reading within one transaction keeps to one state of the account, whatever others write, so
    // that the copy never has to start again.
    source.Execute("BEGIN");
    source.QueryInteger("SELECT count(*) FROM sqlite_schema");
    {
        Database copy(
            partial.path(), Database::Mode::kCreate, static_cast<int>(options.busyWaitMs));
        if (!CopyPages(source, copy, progress)) {
            return false;
        }
    }
    std::filesystem::rename(std::filesystem::path(partial.path()), to, error);
    if (error) {
        throw Error(ErrorKind::kInputOutput,
                    u"The backup cannot be given its name: \"" + Text(target) + u"\".");
    }
    return true;
}

}  // namespace kel::embedded
