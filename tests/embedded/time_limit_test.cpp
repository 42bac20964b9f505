// Programs and sentences that do not end, in sessions that allow a call a bounded time.
#include <gtest/gtest.h>

#include <chrono>
#include <optional>

#include "tests/embedded/program_session.h"
#include "tests/support/resources.h"

namespace kel::tests {
namespace {

constexpr long kTimeLimit = automation::kObjectError + 0x215;

// Engines that cannot be interrupted are left as they stand, with what they have.
class TimeLimit : public ProgramTest {
protected:
    static void SetUpTestSuite() { forgiven.emplace(); }
    static void TearDownTestSuite() { forgiven.reset(); }

    void limit(const wchar_t* seconds) {
        session->Disconnect();
        ASSERT_EQ(
            session.connect(account,
                            {{L"TimeLimit", seconds}, {L"Programs", L""}, {L"Durability", L"Off"}}),
            ErrorFields());
    }
    static ErrorFields overIn(const wchar_t* member) {
        return {kTimeLimit,
                Text(L"kelos1::") + member,
                L"The call took longer than the property TimeLimit allows; what it changed is "
                L"undone."};
    }
    // What the account holds is as it was, and this session and another can work with it.
    void expectUsable() {
        EXPECT_EQ(session.execute(L"COUNT CUST"), L"407: 3 record(s) counted");
        session.file = session.open(L"CUST");
        EXPECT_EQ(session.read(L"1"), 0);
        EXPECT_EQ(session.bufferText(), L"1");
        EmbeddedSession other;
        ASSERT_EQ(other.connect(account), ErrorFields());
        other.file = other.open(L"CUST");
        other.setBuffer(L"1");
        EXPECT_EQ(other.write(L"1"), ErrorFields());
        EXPECT_EQ(call(L"GOOD", L"7"), L"77");
        EXPECT_EQ(session.lastError, ErrorFields());
    }

    static inline std::optional<ForgivenModules> forgiven;
};

TEST_F(TimeLimit, EndsProgramsThatDoNotEnd) {
    const ForgivenBlocks forgivenBlocks;
    const struct {
        const wchar_t* id;
        const wchar_t* text;
    } cases[] = {
        {L"P.vbs", L"Do\nLoop"},
        {L"P.vbs", L"Account.Open(\"CUST\").Write \"1\", \"x\"\nDo\nLoop"},
        {L"P.vbs", L"Account.Execute \"DELETE CUST \"\"2\"\"\"\nDo\nLoop"},
        {L"P.vbs", L"Set f = Account.Open(\"CUST\")\nDo\nf.Write \"1\", \"x\"\nLoop"},
        {L"P.vbs", L"On Error Resume Next\nDo\nAccount.Open(\"CUST\").Write \"x\", \"x\"\nLoop"},
        {L"P.vbs", L"Account.Open(\"CUST\").Delete \"1\"\nAccount.Call \"INNER\""},
        {L"P.vbs", L"On Error Resume Next\nDo\nAccount.Call \"INNER\"\nLoop"},
        {L"P.vbs", L"Sub Main(a, b)\na = 1\nDo\nb = b & \"x\"\nb = \"\"\nLoop\nEnd Sub"},
        {L"P.js", L"while (true) ;"},
        {L"P.js", L"function Main(a, b) { for (;;) { a = [a.length]; } }"},
        {L"P.js", L"eval('Account.Open(\"CUST\").Write(\"1\", \"x\"); do ; while (true)');"},
        {L"P.js", L"for (;;) { try { Account.Open('CUST').Write('x', 'x'); } catch (e) { } }"},
    };
    program(L"INNER", L"Account.Open(\"CUST\").Write \"new\", \"x\"\nDo\nLoop");
    program(L"GOOD", L"Sub Main(a, b)\na = a & b\nEnd Sub");
    for (const auto& one : cases) {
        SCOPED_TRACE(Narrow(one.text));
        limit(L"0");
        session.execute(L"DELETE PROGRAMS \"P.vbs\" \"P.js\"");
        program(one.id, one.text);
        limit(L"0.1");
        const auto start = std::chrono::steady_clock::now();
        call(L"P", L"1");
        EXPECT_EQ(session.lastError, overIn(L"CallHost"));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
        expectUsable();
    }
    for (const wchar_t* sentence : {L"LIST CUST F", L"SSELECT CUST BY F"}) {
        session.execute(sentence);
        EXPECT_EQ(session.lastError, overIn(L"Execute"));
        expectUsable();
    }
    correlative(L"CALL P", L"1");
    EXPECT_EQ(session.lastError, overIn(L"ProcessCorrelative"));
    expectUsable();
}

TEST_F(TimeLimit, EndsSentencesAndUndoesThem) {
    program(L"GOOD", L"Sub Main(a, b)\na = a & b\nEnd Sub");
    program(L"FILL",
            L"Account.Execute \"CREATE-FILE MANY\"\n"
            L"Set f = Account.Open(\"MANY\")\n"
            L"For i = 1 To 20000\nf.Write i, i\nNext");
    call(L"FILL");
    session.execute(L"CREATE-FILE MORE");
    limit(L"0.01");
    for (const wchar_t* sentence : {L"COPY FROM MANY TO MORE ALL",
                                    L"SORT MANY BY @ID BY-DSND @ID TOTAL @ID",
                                    L"DELETE MANY ALL"}) {
        SCOPED_TRACE(Narrow(sentence));
        session.execute(sentence);
        EXPECT_EQ(session.lastError, overIn(L"Execute"));
    }
    limit(L"0");
    EXPECT_EQ(session.execute(L"COUNT MANY"), L"407: 20000 record(s) counted");
    EXPECT_EQ(session.execute(L"COUNT MORE"), L"407: 0 record(s) counted");
}

// Changes within the limit last, whole batches of sentences among them, and keep nobody waiting.
TEST_F(TimeLimit, LetsCallsBeThatEndInTime) {
    program(L"WORK",
            L"Sub Main(a, b)\n"
            L"Set f = Account.Open(\"CUST\")\n"
            L"f.WriteU \"4\", \"4\"\n"
            L"Account.Execute \"DELETE CUST \"\"1\"\" \"\"2\"\"\"\n"
            L"Account.Execute \"CREATE-FILE NEW\"\n"
            L"f.Delete \"3\"\n"
            L"a = Account.Execute(\"COUNT CUST\")\n"
            L"Err.Raise 1000\n"
            L"End Sub");
    limit(L"60");
    EmbeddedSession other;
    ASSERT_EQ(other.connect(account), ErrorFields());
    other.file = other.open(L"CUST");
    {
        const ForgivenBlocks forgivenBlocks;  // Wine's engines lose the texts of errors
        EXPECT_EQ(call(L"WORK"), L"1 record(s) counted");
    }
    EXPECT_EQ(session.lastError.number, 1000) << "a program's own failure undoes nothing";
    EXPECT_EQ(other.execute(L"COUNT CUST"), L"407: 1 record(s) counted");
    EXPECT_EQ(other.read(L"4", true), 2) << "its locks are kept";
    other.setBuffer(L"5");
    EXPECT_EQ(other.write(L"5"), ErrorFields());
    EXPECT_TRUE(other.open(L"NEW"));

    // A change in the middle of a report, which reads in one moment until then.
    program(L"P", L"Sub Main(a, b)\nAccount.Open(\"NEW\").Write b & \"\", \"x\"\na = b\nEnd Sub");
    const Text listed = session.execute(L"LIST CUST F");
    EXPECT_TRUE(listed.starts_with(L"405: ")) << Narrow(listed);
    EXPECT_EQ(other.execute(L"COUNT NEW"), L"407: 2 record(s) counted");
}

}  // namespace
}  // namespace kel::tests
