// Sentences of one session about records that another has locked, and words in quotes.
#include <gtest/gtest.h>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

class EmbeddedSentences : public EmbeddedTest {
protected:
    EmbeddedSentences() {
        EXPECT_EQ(other.connect(account, {{L"User", L"anna"}}), ErrorFields());
        other.file = other.open(L"CUST");
        for (const wchar_t* id : {L"17", L"18"}) {
            session.setBuffer(L"Smith");
            session.write(id);
        }
    }

    EmbeddedSession other;
};

TEST_F(EmbeddedSentences, LeaveAloneWhatOthersHaveLocked) {
    constexpr short kRead = 0;
    ASSERT_EQ(other.read(L"18", true), kRead);
    for (const wchar_t* sentence :
         {L"DELETE CUST 17 18", L"DELETE CUST ALL", L"CLEAR-FILE CUST", L"DELETE-FILE CUST"}) {
        const Text answer = session.execute(sentence);
        EXPECT_TRUE(answer.starts_with(
            L"10202: Record \"18\" of file \"CUST\" is locked by anna (process "))
            << Narrow(answer);
        EXPECT_EQ(session.execute(L"COUNT CUST"), L"407: 2 record(s) counted");
    }
    EXPECT_EQ(session.execute(L"DELETE CUST 17 18 OVERRIDE"), L"421: 2 record(s) deleted");
}

TEST_F(EmbeddedSentences, TakeQuotedWordsForData) {
    EXPECT_EQ(session.execute(L"DELETE CUST 'ALL'"),
              L"421: \"ALL\" is not in file \"CUST\".\xFE"
              L"0 record(s) deleted");
    EXPECT_EQ(session.execute(L"DELETE CUST ALL"), L"421: 2 record(s) deleted");
}

}  // namespace
}  // namespace kel::tests
