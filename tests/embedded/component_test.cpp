// The registered component over the registered embedded back-end, as an application uses them.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

#include "tests/embedded/component_client.h"
#include "tests/embedded/embedded_session.h"
#include "tests/support/resources.h"

namespace kel::tests {
namespace {

Text Execute(const Dispatch& tools, const wchar_t* sentence) {
    Bstr capture;
    Bstr returning;
    EXPECT_TRUE(tools.call(L"Execute", {sentence, ByRef(capture), ByRef(returning)}).ok());
    return Text(returning.view()) + L": " + Text(capture.view());
}

class ComponentOverEmbedded : public testing::Test {
protected:
    ComponentOverEmbedded() {
        KeepLoaded(L"kelSDK.dll");
        const EmbeddedSession loading;
    }

    TempFolder folder;
    const Text account = folder / L"component.account";
    Dispatch base = Dispatch::Create(L"kelSDK.kelBase");
};

TEST_F(ComponentOverEmbedded, ConnectsAndKeepsRecords) {
    {
        const Client client(base, L"Main", account);
        EXPECT_EQ(client.session().call(L"Connect").text(), L"True");
        EXPECT_EQ(client.events().take(),
                  (std::vector<Text>{L"PropertyValue(OsType,)",
                                     L"PropertyValue(Database,)",
                                     L"PropertyValue(User,)",
                                     L"PropertyValue(LockWait,)",
                                     L"PropertyValue(ReadOnly,)",
                                     L"PropertyValue(Family,)",
                                     L"PropertyValue(Dates,)",
                                     L"PropertyValue(Durability,)",
                                     L"PropertyValue(Programs,)",
                                     L"PropertyValue(TimeLimit,)",
                                     L"Connection()"}));
        EXPECT_EQ(client.session().get(L"OsType").text(), L"1");
        const auto tools = client.tools();
        EXPECT_EQ(tools.call(L"mvRead", {L"Cust", L"17", L"CUST"}).error,
                  (ErrorFields{mvOpenNotFound,
                               L"kelos1::OpenFile",
                               L"There is no file \"CUST\" in this account."}));
        EXPECT_EQ(Execute(tools, L"CREATE-FILE CUST"), L"417: File \"CUST\" created.");
        EXPECT_TRUE(tools.call(L"mvRead", {L"Cust", L"17", L"CUST"}).ok());
        EXPECT_TRUE(tools.call(L"Replace", {L"Cust", L"Smith", 1}).ok());
        EXPECT_TRUE(tools.call(L"Replace", {L"Cust", L"Rome", 2, 2}).ok());
        EXPECT_TRUE(tools.call(L"mvWrite", {L"Cust", L"17"}).ok());
    }
    const Client client(base, L"Second", account);
    EXPECT_EQ(client.session().call(L"Connect").text(), L"True");
    const auto tools = client.tools();
    EXPECT_TRUE(tools.call(L"mvRead", {L"Cust", L"17", L"CUST"}).ok());
    EXPECT_EQ(tools.call(L"Extract", {L"Cust", 0}).text(), L"Smith\xFE\xFDRome");
    EXPECT_EQ(tools.call(L"Dcount", {L"Cust", L"\xFD", 2}).text(), L"2");
}

// A typed client's variables, and a program that answers in each.
TEST_F(ComponentOverEmbedded, GivesProgramsResultsToTypedVariables) {
    const Client client(base, L"Main", account);
    ASSERT_EQ(client.session().call(L"Connect").text(), L"True");
    const auto late = client.tools();
    EXPECT_EQ(Execute(late, L"CREATE-FILE PROGRAMS"), L"417: File \"PROGRAMS\" created.");
    EXPECT_TRUE(late.call(L"mvRead", {L"Prog", L"SUM", L"PROGRAMS"}).ok());
    EXPECT_TRUE(late.call(L"Replace",
                          {L"Prog",
                           L"Sub Main(number, text, flag)\xFE"
                           L"number = number * 2\xFE"
                           L"text = text & \"!\"\xFE"
                           L"flag = Not flag\xFE"
                           L"End Sub",
                           0})
                    .ok());
    EXPECT_TRUE(late.call(L"mvWrite", {L"Prog", L"SUM"}).ok());
    const auto tools = ComPtr<IDispatch>(late.get()).as<_kelTools>();
    ASSERT_TRUE(tools);
    for (const bool isFirst : {true, false}) {
        SCOPED_TRACE(isFirst);
        long number = 21;
        Bstr text(L"said");
        VARIANT_BOOL flag = VARIANT_FALSE;
        Variant first = ByRef(&number);
        Variant second = ByRef(text);
        Variant third = ByRef(VT_BOOL, &flag);
        Variant missing = Variant::Missing();
        EXPECT_EQ(tools->CallProg(Bstr(L"SUM").get(),
                                  first.inOut(),
                                  second.inOut(),
                                  third.inOut(),
                                  missing.inOut(),
                                  missing.inOut(),
                                  missing.inOut(),
                                  missing.inOut(),
                                  missing.inOut(),
                                  missing.inOut(),
                                  missing.inOut(),
                                  missing.inOut(),
                                  missing.inOut()),
                  S_OK);
        EXPECT_EQ(number, 42);
        EXPECT_EQ(text.view(), L"said!");
        EXPECT_EQ(flag, VARIANT_TRUE);
    }
}

// They make objects of the component, too. Wine's engine keeps the factory of each for ever.
class TrustedPrograms : public ComponentOverEmbedded {
protected:
    static void SetUpTestSuite() { forgiven.emplace(); }
    static void TearDownTestSuite() { forgiven.reset(); }

    static inline std::optional<ForgivenModules> forgiven;
};

TEST_F(TrustedPrograms, MayEndTheSessionTheyAreCalledFrom) {
    const Client client(base, L"Main", account);
    client.events().answerProperty(L"Programs", L"Full");
    ASSERT_EQ(client.session().call(L"Connect").text(), L"True");
    const auto tools = client.tools();
    Execute(tools, L"CREATE-FILE PROGRAMS");
    Execute(tools, L"CREATE-FILE CUST");
    const struct {
        const wchar_t* file;
        const wchar_t* id;
        const wchar_t* text;
    } records[] = {{L"PROGRAMS",
                    L"END",
                    L"Sub Main(a, b, c, d, e)\xFE"
                    L"a = \"ended\"\xFE"
                    L"Set base = CreateObject(\"kelSDK.kelBase\")\xFE"
                    L"Set session = base.GetSessionCallBack(\"Main\")\xFE"
                    L"session.Disconnect\xFE"
                    L"Set session = Nothing\xFE"
                    L"Set base = Nothing\xFE"
                    L"End Sub"},
                   {L"DICT CUST",
                    L"F",
                    L"I\xFESUBR(\"END\",@ID,1,2,3)\xFE\xFE"
                    L"F\xFE"
                    L"9L\xFES"},
                   {L"CUST", L"1", L"Smith"},
                   {L"CUST", L"2", L"Jones"}};
    for (const auto& one : records) {
        ASSERT_TRUE(tools.call(L"mvRead", {one.file, one.id, one.file}).ok());
        ASSERT_TRUE(tools.call(L"Replace", {one.file, one.text, 0}).ok());
        ASSERT_TRUE(tools.call(L"mvWrite", {one.file, one.id}).ok());
    }
    const std::function<void()> calls[] = {[&] { Execute(tools, L"LIST CUST F"); },
                                           [&] { Execute(tools, L"SELECT CUST WITH F = \"x\""); },
                                           [&] {
                                               tools.call(L"CallProg", {L"END", 1, 2, 3, 4, 5});
                                           }};
    for (const auto& call : calls) {
        SCOPED_TRACE(&call - calls);
        ASSERT_TRUE(tools.call(L"mvRead", {L"CUST", L"1", L"CUST"}).ok());
        client.events().take();
        call();
        const auto heard = client.events().take();
        EXPECT_EQ(std::count(heard.begin(), heard.end(), L"Disconnect()"), 1);
        EXPECT_EQ(client.session().call(L"Connect").text(), L"True");
        EXPECT_EQ(Execute(client.tools(), L"COUNT CUST"), L"407: 2 record(s) counted");
    }
}

TEST_F(ComponentOverEmbedded, TellsWhyItCannotConnect) {
    const Text none = folder / L"none\\a";
    const Client client(base, L"Main", none);
    EXPECT_EQ(client.session().call(L"Connect").text(), L"False");
    EXPECT_EQ(client.session().get(L"ConnectionFailed").text(), L"True");
    EXPECT_EQ(
        client.events().take().back(),
        L"ConnectionFailed(Connection Error:  (kelos1::Connect) The account cannot be opened: "
        L"\"" +
            none + L"\" (unable to open database file).)");
    client.events().answerProperty(L"Database", L"");
    client.session().call(L"Connect");
    EXPECT_EQ(
        client.events().take().back(),
        L"ConnectionFailed(Connection Error:  (kelos1::PropertyValue) The property Database is "
        L"empty; it takes the path of the account file.)");
    client.events().answerProperty(L"Database", account);
    EXPECT_EQ(client.session().call(L"Connect").text(), L"True") << "the account may be set right";
}

}  // namespace
}  // namespace kel::tests
