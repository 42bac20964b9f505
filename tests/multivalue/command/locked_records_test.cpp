// Sentences that change records which another session has locked.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/multivalue/command/two_sessions.h"

namespace kel::command {
namespace {

class LockedRecords : public TwoSessions {
protected:
    LockedRecords() {
        mine.Run("CREATE-FILE F");
        mine.Run("CREATE-FILE G");
        for (const char* id : {"1", "2", "3"}) {
            mine.Put("F", id, id);
        }
        mine.Put("G", "2", "old");
    }
};

TEST_P(LockedRecords, AreLeftAloneWithAllTheOthers) {
    struct Case {
        const char* sentence;
        const char* lockedFile;
        const char* lockedId;
        bool isRefused;
    };
    const Case cases[] = {
        {"DELETE F 1 2", "F", "2", true},
        {"DELETE F ALL", "F", "3", true},
        {"DELETE F 1 3", "F", "2", false},
        {"DELETE F 1 nosuch", "F", "nosuch", false},
        {"COPY FROM F TO G 1 2 OVERWRITING", "G", "2", true},
        {"COPY FROM F TO G 1 2 OVERWRITING", "F", "2", false},
        {"COPY FROM F TO G 1 2 OVERWRITING DELETING", "F", "2", true},
        {"COPY FROM F TO G 1 2", "G", "2", false},
        {"COPY FROM F TO G 1 3", "G", "3", true},
        {"CLEAR-FILE F", "F", "2", true},
        {"CLEAR-FILE F", "G", "2", false},
        {"CLEAR-FILE F", "DICT F", "@ID", false},
        {"DELETE-FILE F", "F", "nosuch", true},
        {"DELETE-FILE F", "DICT F", "@ID", true},
        {"DELETE-FILE DATA F", "DICT F", "@ID", false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(std::string(one.sentence) + ", locked: " + one.lockedFile + " " +
                     one.lockedId);
        const FileNumber file = other.File(one.lockedFile);
        ASSERT_FALSE(other.store->Lock(file, Marked(one.lockedId), 0));
        const std::string answer = mine.Run(one.sentence);
        EXPECT_EQ(mine.failure == ErrorKind::kLocked, one.isRefused) << answer;
        if (one.isRefused) {
            EXPECT_TRUE(answer.starts_with("Record \"" + std::string(one.lockedId) +
                                           "\" of file \"" + one.lockedFile +
                                           "\" is locked by anna"))
                << answer;
            for (const char* id : {"1", "2", "3"}) {
                EXPECT_TRUE(mine.Has("F", id)) << id;
            }
            EXPECT_FALSE(mine.Has("G", "1"));
            EXPECT_FALSE(mine.Has("G", "3"));
            EXPECT_TRUE(other.store->Lock(file, Marked(one.lockedId), 0) == std::nullopt)
                << "the lock stays with its holder";
        }
        other.store->UnlockAll();
        EXPECT_TRUE(mine.store->Locks().empty()) << "nothing stays locked";
        mine.Run("CREATE-FILE F");
        mine.Run("CLEAR-FILE G");
        for (const char* id : {"1", "2", "3"}) {
            mine.Put("F", id, id);
        }
        mine.Put("G", "2", "old");
    }
}

TEST_P(LockedRecords, GiveWayToWhoInsistsOrHoldsThem) {
    const char* const sentences[] = {
        "DELETE F 1 2", "DELETE F ALL", "CLEAR-FILE F", "DELETE-FILE F"};
    for (const char* sentence : sentences) {
        SCOPED_TRACE(sentence);
        ASSERT_FALSE(other.store->Lock(other.File("F"), u"2", 0));
        const std::string insisting = mine.Run(sentence + std::string(" OVERRIDE"));
        EXPECT_EQ(mine.failure, std::nullopt) << insisting;
        other.store->UnlockAll();
        mine.Run("CREATE-FILE F");
        mine.Put("F", "2");
        ASSERT_FALSE(mine.store->Lock(mine.File("F"), u"2", 0));
        EXPECT_EQ(mine.Run(sentence).find("locked"), std::string::npos) << "one's own";
        mine.store->UnlockAll();
        mine.Run("CREATE-FILE F");
        mine.Put("F", "2");
    }
    ASSERT_FALSE(other.store->Lock(other.File("F"), u"1", 0));
    ASSERT_FALSE(other.store->Lock(other.File("F"), u"2", 0));
    EXPECT_NE(mine.Run("CLEAR-FILE F").find(", and 1 more. "), std::string::npos);
    EXPECT_EQ(mine.Run("COPY FROM G TO F 2 OVERWRITING OVERRIDE"), "1 record(s) copied");
}

TEST_P(LockedRecords, AreHeldAsTheyAreUntilTheBatchEnds) {
    const FileNumber file = mine.File("F");
    ASSERT_FALSE(other.store->Lock(other.File("F"), u"1", 0));
    ASSERT_FALSE(mine.store->Lock(file, u"2", 0));
    EXPECT_THROW(mine.store->HoldLocks(), Error);
    for (const bool commits : {true, false}) {
        mine.store->Begin();
        const std::vector<HeldLock> held = mine.store->HoldLocks();
        ASSERT_EQ(held.size(), 1U) << "others' only";
        EXPECT_EQ(held[0].id, u"1");
        EXPECT_EQ(held[0].holder.user, u"anna");
        if (commits) {
            mine.store->Commit();
        } else {
            mine.store->Rollback();
        }
        EXPECT_FALSE(other.store->Lock(other.File("F"), u"3", 0)) << "locks are to be had again";
        other.store->Unlock(other.File("F"), u"3");
    }
}

INSTANTIATE_TEST_SUITE_P(Accounts, LockedRecords, testing::Bool(), NameOfAccount);

}  // namespace
}  // namespace kel::command
