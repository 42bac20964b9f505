// Record locks and the account itself under several sessions, in one process and in others that are
// killed without warning.
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
using multivalue::Batch;
using multivalue::ErrorKind;
using multivalue::FileNumber;
using multivalue::LockAnswer;
using multivalue::Store;
using multivalue::Text;
using test::AccountFolder;
using test::ChildArgument;
using test::ChildProcess;
using test::Quick;
using namespace std::chrono_literals;

class RecordLocks : public testing::Test {
protected:
    RecordLocks() {
        StoreOptions options = Quick();
        options.user = u"first user";
        first_ = OpenStore(folder_.Path(), options);
        second_ = OpenStore(folder_.Path(), Quick());
        file_ = first_->CreateFile(u"F");
    }

    // Whether the second session can have the lock; it does not keep it.
    bool IsFree(multivalue::TextView id) {
        const bool granted = !second_->Lock(file_, id, 0);
        second_->Unlock(file_, id);
        return granted;
    }

    AccountFolder folder_;
    std::unique_ptr<Store> first_;
    std::unique_ptr<Store> second_;
    FileNumber file_{};
};

TEST_F(RecordLocks, AreKnownToOtherSessionsWithTheirHolder) {
    EXPECT_FALSE(first_->Lock(file_, u"1", 0));  // the record need not exist
    EXPECT_FALSE(first_->Lock(file_, u"1", 0));  // and the owner may ask again
    const LockAnswer holder = second_->Lock(file_, u"1", 0);
    ASSERT_TRUE(holder);
    EXPECT_EQ(holder->user, u"first user");
    EXPECT_EQ(holder->processId, CurrentProcessId());
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    EXPECT_NEAR(static_cast<double>(holder->sinceMs), static_cast<double>(now.count()), 60000.0);
    EXPECT_TRUE(IsFree(u"2"));
    const FileNumber otherFile = first_->CreateFile(u"G");
    EXPECT_FALSE(second_->Lock(otherFile, u"1", 0));
    second_->Unlock(file_, u"1");  // not its own: nothing
    EXPECT_FALSE(IsFree(u"1"));
    first_->Unlock(file_, u"1");
    EXPECT_TRUE(IsFree(u"1"));
}

TEST_F(RecordLocks, EndWithWritesDeletesAndSessions) {
    using Change = void (*)(Store&, FileNumber);
    const struct {
        const char* what;
        Change change;
        bool freeAfterwards;
    } cases[] = {
        {"write",
         [](Store& s, FileNumber f) { s.Write(f, u"1", u"x", AfterWrite::kRelease); },
         true},
        {"write and keep",
         [](Store& s, FileNumber f) { s.Write(f, u"1", u"x", AfterWrite::kKeep); },
         false},
        {"delete", [](Store& s, FileNumber f) { s.Delete(f, u"1"); }, true},
        {"delete of nothing", [](Store& s, FileNumber f) { s.Delete(f, u"1"); }, true},
        {"write of another record",
         [](Store& s, FileNumber f) { s.Write(f, u"2", u"x", AfterWrite::kRelease); },
         false},
        {"unlock all", [](Store& s, FileNumber) { s.UnlockAll(); }, true},
    };
    for (const auto& c : cases) {
        ASSERT_FALSE(first_->Lock(file_, u"1", 0)) << c.what;
        c.change(*first_, file_);
        EXPECT_EQ(IsFree(u"1"), c.freeAfterwards) << c.what;
        first_->UnlockAll();
    }
    first_->Write(file_, u"3", u"x", AfterWrite::kKeep);  // takes a lock it had not
    EXPECT_FALSE(IsFree(u"3"));
    first_.reset();
    EXPECT_TRUE(IsFree(u"3"));
}

TEST_F(RecordLocks, DoNotKeepOthersFromWriting) {
    ASSERT_FALSE(first_->Lock(file_, u"1", 0));
    second_->Write(file_, u"1", u"written", AfterWrite::kRelease);
    second_->Write(file_, u"1", u"again", AfterWrite::kKeep);
    EXPECT_FALSE(IsFree(u"1"));  // and nobody's lock is broken by that
    EXPECT_TRUE(second_->Delete(file_, u"1"));
    EXPECT_FALSE(IsFree(u"1"));
}

TEST_F(RecordLocks, GivenUpInABatchEndWhenItCommits) {
    ASSERT_FALSE(first_->Lock(file_, u"1", 0));
    {
        Batch batch(*first_);
        first_->Write(file_, u"1", u"x", AfterWrite::kRelease);
        EXPECT_FALSE(IsFree(u"1"));
    }
    EXPECT_FALSE(IsFree(u"1"));  // the write never was
    Batch batch(*first_);
    first_->Write(file_, u"1", u"x", AfterWrite::kRelease);
    batch.Commit();
    EXPECT_TRUE(IsFree(u"1"));
}

TEST_F(RecordLocks, AreWaitedForWithinTheTimeGiven) {
    ASSERT_FALSE(first_->Lock(file_, u"1", 0));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(second_->Lock(file_, u"1", 200));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 200ms);
    EXPECT_LT(waited, 5s);

    std::thread release([&] {
        std::this_thread::sleep_for(100ms);
        first_->Unlock(file_, u"1");
    });
    EXPECT_FALSE(second_->Lock(file_, u"1", 20000));
    release.join();

    // Each wants what the other has: neither hangs.
    ASSERT_FALSE(first_->Lock(file_, u"2", 0));
    LockAnswer crossing;
    std::thread cross([&] { crossing = first_->Lock(file_, u"1", 300); });
    const LockAnswer mine = second_->Lock(file_, u"2", 300);
    cross.join();
    EXPECT_TRUE(crossing);
    EXPECT_TRUE(mine);
}

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
