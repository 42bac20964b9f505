// Locks on records of any store.
#include "tests/store/store_contract.h"

#include <chrono>
#include <thread>
#include <vector>

namespace kel::store {
namespace {

using namespace std::chrono_literals;

TEST_P(RecordLocks, AreKnownToOtherSessionsWithTheirHolder) {
    EXPECT_FALSE(first_->Lock(file_, u"1", 0));  // the record need not exist
    EXPECT_FALSE(first_->Lock(file_, u"1", 0));  // and the owner may ask again
    const LockAnswer holder = second_->Lock(file_, u"1", 0);
    ASSERT_TRUE(holder);
    EXPECT_EQ(holder->user, u"first user");
    EXPECT_EQ(holder->processId, account_->HolderProcess());
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

TEST_P(RecordLocks, EndWithWritesDeletesAndSessions) {
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

TEST_P(RecordLocks, DoNotKeepOthersFromWriting) {
    ASSERT_FALSE(first_->Lock(file_, u"1", 0));
    second_->Write(file_, u"1", u"written", AfterWrite::kRelease);
    second_->Write(file_, u"1", u"again", AfterWrite::kKeep);
    EXPECT_FALSE(IsFree(u"1"));  // and nobody's lock is broken by that
    EXPECT_TRUE(second_->Delete(file_, u"1"));
    EXPECT_FALSE(IsFree(u"1"));
}

TEST_P(RecordLocks, GivenUpInABatchEndWhenItCommits) {
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

TEST_P(RecordLocks, AreWaitedForWithinTheTimeGiven) {
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

    // Each wants what the other has: one is answered at once, and the other gets what that one
    // gives up.
    ASSERT_FALSE(first_->Lock(file_, u"2", 0));
    const auto crossed = std::chrono::steady_clock::now();
    const auto wantThenGiveWay = [&](Store& store, TextView wanted, TextView had) {
        const bool refused = store.Lock(file_, wanted, 20000).has_value();
        if (refused) {
            store.Unlock(file_, had);
        }
        return refused;
    };
    bool firstRefused = false;
    std::thread cross([&] { firstRefused = wantThenGiveWay(*first_, u"1", u"2"); });
    const bool secondRefused = wantThenGiveWay(*second_, u"2", u"1");
    cross.join();
    EXPECT_NE(firstRefused, secondRefused);
    EXPECT_LT(std::chrono::steady_clock::now() - crossed, 5s);
}

TEST_P(RecordLocks, AreListed) {
    first_->Lock(file_, u"b", 0);
    second_->Lock(file_, u"a", 0);
    first_->Lock(first_->CreateFile(u"G"), u"c", 0);
    std::vector<Text> listed;
    for (const HeldLock& lock : second_->Locks()) {
        listed.push_back(lock.id + (lock.holder.user == u"first user" ? u" first" : u""));
        EXPECT_EQ(lock.file == file_, lock.id != u"c");
    }
    EXPECT_EQ(listed, std::vector<Text>({u"a", u"b first", u"c first"}));
}

}  // namespace
}  // namespace kel::store
