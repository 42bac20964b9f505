// Record locks and the account itself when processes are killed without warning.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "hosts/embedded/store/database.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "tests/host/account_folder.h"
#include "tests/host/child_process.h"

namespace kel::embedded {
namespace {

using multivalue::AfterWrite;
using multivalue::FileNumber;
using multivalue::LockAnswer;
using multivalue::Store;
using multivalue::Text;
using test::AccountFolder;
using test::ChildArgument;
using test::ChildProcess;
using test::Quick;
using namespace std::chrono_literals;

TEST(RecordLocksAfterPowerFailure, StartFromNothing) {
    const AccountFolder folder;
    folder.Put("account-locks", std::string(5000, 'x'));
    folder.Put("account-locks-wal", "torn");
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    EXPECT_FALSE(store->Lock(file, u"1", 0));
}

// ---- Other processes ----

FileNumber OpenOrMake(Store& store) {
    const auto file = store.FindFile(u"F");
    return file ? *file : store.CreateFile(u"F");
}

Text PathFromParent() {
    return std::filesystem::path(ChildArgument()).u16string();
}

// Every record holds one digit over and over, so that a torn one would show.
Text Pattern(int round, int id) {
    return Text(static_cast<std::size_t>(200 + id * 37), static_cast<char16_t>(u'0' + round % 10));
}

Text IdOf(int id) {
    const std::string digits = std::to_string(id);
    return Text(digits.begin(), digits.end());
}

TEST(ChildProcessOf, DISABLED_WritesForEver) {
    const auto store = OpenStore(PathFromParent(), Quick());
    const FileNumber file = OpenOrMake(*store);
    for (int round = 0;; ++round) {
        for (int id = 0; id < 200; ++id) {
            store->Lock(file, IdOf(id), 0);
            store->Write(file, IdOf(id), Pattern(round, id), AfterWrite::kKeep);
        }
    }
}

TEST(ChildProcessOf, DISABLED_LocksAndSleeps) {
    StoreOptions options = Quick();
    options.user = u"child";
    const auto store = OpenStore(PathFromParent(), options);
    store->Lock(OpenOrMake(*store), u"held", 0);
    std::this_thread::sleep_for(60s);
}

template <typename Condition>
bool Eventually(Condition condition) {
    for (int i = 0; i < 1500; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

TEST(KilledProcesses, LeaveTheirLocksToOthers) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    for (int i = 0; i < 3; ++i) {
        ChildProcess child("ChildProcessOf.DISABLED_LocksAndSleeps", (folder / "account").string());
        LockAnswer holder;
        ASSERT_TRUE(Eventually([&] {
            holder = store->Lock(file, u"held", 0);
            if (!holder) {
                store->Unlock(file, u"held");
            }
            return holder.has_value();
        }));
        EXPECT_EQ(holder->user, u"child");
        EXPECT_NE(holder->processId, CurrentProcessId());
        child.Kill();
        EXPECT_FALSE(store->Lock(file, u"held", 5000));
        store->Unlock(file, u"held");
    }
}

TEST(KilledProcesses, LeaveWholeRecordsAndASoundAccount) {
    const AccountFolder folder;
    for (int i = 0; i < 5; ++i) {
        {
            ChildProcess writer("ChildProcessOf.DISABLED_WritesForEver",
                                (folder / "account").string());
            const auto watcher = OpenStore(folder.Path(), Quick());
            const FileNumber file = OpenOrMake(*watcher);
            ASSERT_TRUE(Eventually([&] { return watcher->Exists(file, u"199"); }));
            std::this_thread::sleep_for(std::chrono::milliseconds(50 + 61 * i));
            ASSERT_TRUE(writer.IsRunning());
            writer.Kill();
            EXPECT_FALSE(watcher->Lock(file, u"0", 5000));
        }
        const auto store = OpenStore(folder.Path(), Quick());
        const FileNumber file = OpenOrMake(*store);
        for (int id = 0; id < 200; ++id) {
            Text record;
            ASSERT_TRUE(store->Read(file, IdOf(id), record));
            EXPECT_EQ(record, Pattern(record[0] - u'0', id));
            EXPECT_FALSE(store->Lock(file, IdOf(id), 0)) << id;
        }
        Database database(folder.Path(), Database::Mode::kReadWrite, 5000);
        Statement check(database, "PRAGMA integrity_check");
        ASSERT_TRUE(check.Step());
        EXPECT_EQ(
            TextOf(std::string_view(reinterpret_cast<const char*>(check.ColumnBytes(0).data()),
                                    check.ColumnBytes(0).size())),
            u"ok");
    }
}

}  // namespace
}  // namespace kel::embedded
