// The copy of an account while it is in use, and giving back the space of what was deleted.
#include <sqlite3.h>

#include <filesystem>
#include <string>
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

// Steps of the engine between two questions, some hundredths of a millisecond.
constexpr int kStepsBetween = 1000;

int IsGivenUp(void* goOn) {
    return (*static_cast<const std::function<bool()>*>(goOn))() ? 0 : 1;
}

[[noreturn]] void FailBecauseOfTarget(TextView target) {
    throw Error(ErrorKind::kFileExists,
                u"\"" + Text(target) + u"\" is there already and is not written over.");
}

}  // namespace

// The engine writes the copy anew from what the tables hold, in one reading of the account: free
// space, with whatever was deleted there, is not copied.
bool BackUpAccount(TextView path, TextView target, const std::function<bool()>& goOn) {
    StoreOptions options;
    options.readOnly = true;
    Database source = OpenAccount(path, options);
    std::error_code error;
    if (std::filesystem::exists(
            std::filesystem::symlink_status(std::filesystem::path(target), error))) {
        FailBecauseOfTarget(target);
    }
    UnfinishedFile partial(Text(target) + u"-partial");
    const std::string name = EncodeKey(partial.path());
    if (goOn) {
        auto* asked = const_cast<std::function<bool()>*>(&goOn);  // the engine's type; not changed
        sqlite3_progress_handler(source.get(), kStepsBetween, IsGivenUp, asked);
    }
    {
        Statement copy(source, "VACUUM INTO ?1");
        copy.BindText(1, name);
        const int code = copy.Try();
        if (code == SQLITE_INTERRUPT) {
            return false;
        }
        source.Check(code);
    }
    if (!partial.Finish(Text(target))) {
        FailBecauseOfTarget(target);
    }
    return true;
}

std::uint64_t CompactAccount(TextView path) {
    StoreOptions options;
    options.createMissing = false;
    Database database = OpenAccount(path, options);
    const std::filesystem::path file(database.FullPath());
    const auto emptyLog = [&] { database.QueryInteger("PRAGMA wal_checkpoint(TRUNCATE)"); };
    emptyLog();
    const std::uintmax_t before = std::filesystem::file_size(file);
    database.Execute("VACUUM");
    emptyLog();
    const std::uintmax_t after = std::filesystem::file_size(file);
    return after < before ? before - after : 0;
}

}  // namespace kel::embedded
