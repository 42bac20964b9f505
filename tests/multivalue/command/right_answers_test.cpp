// Answers that another session, an index or a list on its way through a file must not change.
#include <gtest/gtest.h>

#include "tests/multivalue/command/two_sessions.h"

namespace kel::command {
namespace {

constexpr int kRecords = 40;  // more than a scan reads at once

class RightAnswers : public TwoSessions {
protected:
    RightAnswers() {
        mine.Run("CREATE-FILE F");
        mine.Put("DICT F", "AMOUNT", "D^1^^Amount^8R^S");
        mine.Put("DICT F", "F1", "D^1^^F1^8L^S");
        mine.Put("DICT F", "F2", "D^2^^F2^8L^S");
        mine.Put("DICT F", "F3", "D^3^^F3^8L^S");
        mine.Put("DICT F", "SLOW", "I^SUBR(\"HOOK\",F1)^^Slow^8R^S");
    }

    static std::string IdOf(int number) { return std::to_string(100 + number); }

    void Fill() {
        for (int number = 0; number < kRecords; ++number) {
            mine.Put("F", IdOf(number).c_str(), "100");
        }
    }

    // Moves 10 from the last record to the first: both or neither, as others see it.
    void Move() {
        Batch batch(*other.store);
        other.Put("F", IdOf(0).c_str(), "110");
        other.Put("F", IdOf(kRecords - 1).c_str(), "90");
        batch.Commit();
    }
};

TEST_P(RightAnswers, AreOfOneMoment) {
    const struct {
        const char* sentence;
        const char* part;
    } cases[] = {
        {"SUM F SLOW", "4000"},
        {"LIST F TOTAL SLOW DET.SUP", "4000"},
        {"SORT F TOTAL AMOUNT BY SLOW DET.SUP", "4000"},
        {"COUNT F WITH SLOW = 100", "40 record(s) counted"},
        {"SELECT F WITH SLOW = 100", "40 record(s) selected"},
    };
    for (const auto& one : cases) {
        Fill();
        bool moved = false;
        mine.environment.program = [&] {
            if (!std::exchange(moved, true)) {
                Move();
            }
        };
        const std::string answer = mine.Run(one.sentence);
        EXPECT_TRUE(moved) << one.sentence;
        EXPECT_NE(answer.find(one.part), std::string::npos) << one.sentence << ": " << answer;
        EXPECT_EQ(mine.Run("COUNT F WITH AMOUNT = 100"), "38 record(s) counted")
            << "the next sentence sees what was written";
    }
    Fill();
    bool moved = false;
    mine.environment.program = [&] {
        if (!std::exchange(moved, true)) {
            Move();
        }
    };
    const auto list = mine.session.Select(u"SELECT F WITH SLOW = 100");
    EXPECT_EQ(Drain(*list).size(), std::size_t{kRecords});
}

TEST_P(RightAnswers, GoOnWhereAProgramWrites) {
    Fill();
    int calls = 0;
    mine.environment.program = [&] {
        if (++calls == 1) {
            Move();
            mine.Put("F", "999", "1");
            EXPECT_EQ(mine.Run("DELETE F 100"), "1 record(s) deleted");
            EXPECT_EQ(mine.Run("COUNT F"), "40 record(s) counted");
        }
    };
    const std::string answer = mine.Run("SUM F SLOW");
    EXPECT_EQ(mine.failure, std::nullopt) << answer;
    EXPECT_TRUE(other.Has("F", "999"));
    EXPECT_FALSE(other.Has("F", "100"));
    EXPECT_EQ(mine.Run("COUNT F"), "40 record(s) counted");
}

TEST_P(RightAnswers, AreTheSameWithAnIndexInEverySession) {
    mine.Put("DICT F", "DAY", "I^OCONV(F1,\"D2/\")^^Day^10L^S");
    mine.Put("DICT F", "PARTS", "I^COUNT(F2,\"aa\")^^Parts^4R^S");
    mine.environment.dateOrder = DateOrder::kMonthFirst;
    other.environment.dateOrder = DateOrder::kDayFirst;
    other.environment.SetFamily(Family::kR83);
    const auto put = [](OneSession& session, int day) {
        session.Put("F", std::to_string(day).c_str(), (std::to_string(day) + "^aaa").c_str());
    };
    for (int day = 19000; day < 19040; ++day) {
        put(day % 2 == 0 ? mine : other, day);
    }
    ASSERT_EQ(mine.Run("CREATE-INDEX F DAY").substr(0, 5), "Index");
    ASSERT_EQ(mine.Run("CREATE-INDEX F PARTS").substr(0, 5), "Index");
    for (int day = 19040; day < 19080; ++day) {
        put(day % 2 == 0 ? mine : other, day);
    }
    // The 2nd of January, the 1st of February 2020; each occurs once in either order.
    for (const char* condition : {"DAY = '01/02/20'",
                                  "DAY = '02/01/20'",
                                  "DAY = '03/02/20'",
                                  "DAY = '02/03/20'",
                                  "DAY < '02/01/20'",
                                  "PARTS = 1",
                                  "PARTS = 2"}) {
        for (OneSession* session : {&mine, &other}) {
            const std::string sentence = std::string("COUNT F WITH ") + condition;
            EXPECT_EQ(session->Run(sentence), session->Run(sentence + " NO.INDEX"))
                << sentence << (session == &mine ? ", mine" : ", other");
        }
    }
    EXPECT_EQ(mine.Run("COUNT F WITH DAY = '02/03/20'"), "1 record(s) counted");
    EXPECT_EQ(other.Run("COUNT F WITH PARTS = 2"), "80 record(s) counted");
}

TEST_P(RightAnswers, ComeFromIndexesOverRecordsAlone) {
    const struct {
        const char* expression;
        bool isRefused;
    } cases[] = {
        {"ICONV(F1,\"D\")", true},
        {"OCONV(F2,F3)", true},
        {"FMT(F2,F3)", true},
        {"OCONV(F1,\"TDICT F;X;;1\")", true},
        {"F1+DATE()", true},
        {"SUBR(\"HOOK\",F1)", true},
        {"OCONV(F1,\"T1,3\")", false},
        {"OCONV(F1,\"MD2\")", false},
        {"ICONV(F1,\"MD2\")", false},
        {"OCONV(F1,\"D4-\")", false},
        {"FMT(F1,\"10R\")", false},
        {"F1*2", false},
    };
    mine.Put("F", "1", "5^6^MD2");
    for (const auto& one : cases) {
        mine.Put("DICT F", "X", (std::string("I^") + one.expression + "^^X^10L^S").c_str());
        const std::string answer = mine.Run("CREATE-INDEX F X");
        EXPECT_EQ(answer.find("depends on more") != std::string::npos, one.isRefused)
            << one.expression << ": " << answer;
        mine.Run("DELETE-INDEX F ALL");
    }
}

TEST_P(RightAnswers, SavedListsKeepWhateverWasSelected) {
    for (const char* record : {"a",
                               "a]b",
                               "a\\b]",
                               "",
                               "a^b^^",
                               "\xFB",
                               "\xFB"
                               "1]\xFF",
                               "]]"}) {
        mine.Put(
            "F",
            (std::string("id") + std::to_string(mine.store->CountRecords(mine.File("F")))).c_str(),
            record);
    }
    for (const char* sentence :
         {"SSELECT F SAVING EVAL \"@RECORD\"", "SSELECT F BY.EXP AMOUNT", "SELECT F"}) {
        mine.Run(sentence);
        const std::vector<SelectedId> selected = Drain(*mine.session.TakeList(0));
        mine.Run(sentence);
        mine.Run("SAVE-LIST L");
        mine.Run("GET-LIST L");
        const std::vector<SelectedId> kept = Drain(*mine.session.TakeList(0));
        ASSERT_EQ(kept.size(), selected.size()) << sentence;
        EXPECT_GE(kept.size(), 8U) << sentence;
        for (std::size_t i = 0; i < kept.size(); ++i) {
            EXPECT_EQ(Drawn(kept[i].id), Drawn(selected[i].id)) << sentence;
            EXPECT_EQ(kept[i].position.value, selected[i].position.value) << sentence;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Accounts, RightAnswers, testing::Bool(), NameOfAccount);

}  // namespace
}  // namespace kel::command
