// The registered component over the registered embedded back-end, as an application uses them.
#include <gtest/gtest.h>

#include <memory>

#include "kelSDK.h"
#include "tests/embedded/embedded_session.h"
#include "tests/support/dispatch.h"
#include "tests/support/event_recorder.h"

namespace kel::tests {
namespace {

// One session of the component with an account.
class Client {
public:
    Client(const Dispatch& base, const wchar_t* name, const Text& account)
        : base_(base), name_(name), session_(base.call(L"GetSessionCallBack", {name}).value) {
        recorder_->answerProperty(L"OsType", L"1");
        recorder_->answerProperty(L"Database", account);
        subscription_ = std::make_unique<Subscription>(
            session_.get(), __uuidof(__kelSessionCallBack), recorder_.get());
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() {
        session_.call(L"Disconnect");
        subscription_.reset();
        base_.call(L"RemoveSessionCallback", {name_});
    }

    const Dispatch& session() const { return session_; }
    Dispatch tools() const { return Dispatch(session_.get(L"Tools").value); }
    EventRecorder& events() const { return *recorder_; }

private:
    class Dispatch : public tests::Dispatch {
    public:
        explicit Dispatch(const Variant& value)
            : tests::Dispatch(value.object<IDispatch>().get()) {}
        using tests::Dispatch::get;
    };

    const tests::Dispatch& base_;
    Text name_;
    Dispatch session_;
    ComPtr<EventRecorder> recorder_ = EventRecorder::Make(__uuidof(__kelSessionCallBack));
    std::unique_ptr<Subscription> subscription_;
};

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

TEST_F(ComponentOverEmbedded, LocksRecordsBetweenSessions) {
    const Client first(base, L"First", account);
    const Client second(base, L"Second", account);
    ASSERT_EQ(first.session().call(L"Connect").text(), L"True");
    ASSERT_EQ(second.session().call(L"Connect").text(), L"True");
    Execute(first.tools(), L"CREATE-FILE CUST");
    const auto makeItem = [&](const wchar_t* session, const wchar_t* key) {
        auto item = Dispatch::Create(L"kelSDK.kelDictItem");
        item.put(L"KeyId", {key});
        item.put(L"FileName", {L"CUST"});
        item.put(L"Session", {session});
        item.put(L"ReadU", {true});
        item.put(L"UpdateOnly", {true});
        item.put(L"ExternalValue", {0, L"17"});
        return item;
    };
    const Dispatch ours = makeItem(L"First", L"A");
    const Dispatch theirs = makeItem(L"Second", L"B");
    EXPECT_EQ(ours.call(L"ReadRecord").text(), L"1") << "a new record, locked";
    EXPECT_EQ(theirs.call(L"ReadRecord").text(), L"2");
    ours.put(L"AMC", {1});
    ours.put(L"ExternalValue", {0, L"Smith"});
    EXPECT_EQ(ours.call(L"WriteRecord").text(), L"0");
    EXPECT_EQ(theirs.call(L"ReadRecord").text(), L"0") << "the write gave up the lock";
    theirs.put(L"AMC", {1});
    EXPECT_EQ(theirs.get(L"ExternalValue").text(), L"Smith");
    EXPECT_EQ(ours.call(L"ReadRecord").text(), L"2");
    second.session().call(L"Disconnect");
    EXPECT_EQ(ours.call(L"ReadRecord").text(), L"0");
}

TEST_F(ComponentOverEmbedded, ShowsWhatIsNotThereYet) {
    const Client client(base, L"Main", account);
    ASSERT_EQ(client.session().call(L"Connect").text(), L"True");
    const auto tools = client.tools();
    EXPECT_EQ(tools.call(L"Oconv", {L"12", L"MD2"}).text(), L"") << "a display is never stopped";
    EXPECT_EQ(
        tools.call(L"Iconv", {L"12", L"MD2"}).error,
        (ErrorFields{
            E_NOTIMPL, L"kelos1::Iconv", L"Iconv is not implemented by the embedded back-end."}));
    EXPECT_EQ(tools.call(L"CallProg", {L"P"}).error.number, E_NOTIMPL);
    Bstr id(L"stale");
    EXPECT_TRUE(tools.call(L"ExecuteSelect", {L"L", L"SELECT CUST"}).ok());
    EXPECT_EQ(tools.call(L"ReadNext", {L"L", ByRef(id)}).text(), L"False");
}

}  // namespace
}  // namespace kel::tests
