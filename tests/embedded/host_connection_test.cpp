// Configuration, identity and connection of the embedded back-end.
#include <gtest/gtest.h>

#include "tests/embedded/embedded_session.h"
#include "tests/support/dispatch.h"

namespace kel::tests {
namespace {

ErrorFields Refused(const Text& text) {
    return {automation::kInvalidCall, L"kelos1::PropertyValue", text};
}

void PutFile(const Text& path, const std::string& bytes) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

class EmbeddedConnection : public testing::Test {
protected:
    TempFolder folder;
    EmbeddedSession session;
    Dispatch late{session.get()};
};

TEST_F(EmbeddedConnection, DescribesItsProperties) {
    struct Case {
        const wchar_t* name;
        const wchar_t* type;
        const wchar_t* description;
        const wchar_t* fallback;
    };
    const Case cases[] = {
        {L"Database", L"String", L"Path of the account file; a missing one is created", L""},
        {L"User", L"String", L"Name shown to others who meet a lock of this session", L""},
        {L"LockWait", L"String", L"Seconds that a read with lock waits for a locked record", L"0"},
        {L"ReadOnly", L"String", L"True opens the account for reading only", L"False"},
        {L"Application", L"Object", L"Object that stored programs see as Application", L""},
        {L"Family",
         L"String",
         L"Uni or R83: whose dictionaries are written, how sentences are read",
         L"Uni"},
        {L"Dates",
         L"String",
         L"MonthFirst or DayFirst: order of dates written with separators",
         L"MonthFirst"},
        {L"Durability",
         L"String",
         L"Full, Normal or Off: whether writes wait for the disk to survive a power failure",
         L"Full"},
        {L"Programs",
         L"String",
         L"None, Sealed or Full: whether stored programs run, and whether beyond the account",
         L"Sealed"},
        {L"TimeLimit",
         L"String",
         L"Seconds that a sentence or program may take before it is ended and undone; 0: no limit",
         L"0"},
    };
    EXPECT_EQ(late.call(L"PropertyCount").text(), std::to_wstring(std::size(cases)));
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.name));
        Bstr name(L"former");
        Bstr type;
        const auto number = static_cast<short>(&one - cases + 1);
        EXPECT_EQ(session->GetPropertyName(number, name.inOut(), type.inOut()), S_OK);
        EXPECT_EQ(name.view(), one.name);
        EXPECT_EQ(type.view(), one.type);
        EXPECT_EQ(late.get(L"PropertyDescription", {one.name}).text(), one.description);
        EXPECT_EQ(late.get(L"PropertyDefault", {one.name}).text(), one.fallback);
    }
    for (const short number : {short{0}, short{11}}) {
        Bstr name(L"former");
        Bstr type(L"former");
        EXPECT_EQ(
            ErrorOf(session->GetPropertyName(number, name.inOut(), type.inOut())),
            (ErrorFields{automation::kSubscriptOutOfRange,
                         L"kelos1::GetPropertyName",
                         L"There is no connection property number " + std::to_wstring(number) +
                             L"; they are numbered from 1 to 10."}));
        EXPECT_EQ(name.view(), L"former");
    }
}

TEST_F(EmbeddedConnection, RefusesPropertiesItHasNot) {
    const ErrorFields unknown = Refused(L"There is no connection property \"Server\".");
    const ErrorFields isObject = Refused(L"The property Application is an object, not a text.");
    const ErrorFields isText = Refused(L"The property User is a text, not an object.");
    IDispatch* const object = session.get();
    EXPECT_EQ(late.get(L"PropertyValue", {L"Server"}).error, unknown);
    EXPECT_EQ(late.put(L"PropertyValue", {L"Server", L"x"}).error, unknown);
    EXPECT_EQ(late.get(L"PropertyDescription", {L"Server"}).error, unknown);
    EXPECT_EQ(late.get(L"PropertyDefault", {L"Server"}).error, unknown);
    EXPECT_EQ(late.get(L"PropertyObject", {L"Server"}).error, unknown);
    EXPECT_EQ(late.get(L"PropertyValue", {L"Application"}).error, isObject);
    EXPECT_EQ(late.put(L"PropertyValue", {L"Application", L"x"}).error, isObject);
    EXPECT_EQ(late.get(L"PropertyObject", {L"User"}).error, isText);
    EXPECT_EQ(late.putRef(L"PropertyObject", {L"User", object}).error, isText);
}

TEST_F(EmbeddedConnection, RefusesSettingsThatMeanNothing) {
    const Text account = folder / L"a";
    const Text seconds = L"The property LockWait takes a number of seconds from 0 to 86400, not \"";
    const Text truth = L"The property ReadOnly takes True or False, not \"";
    for (const wchar_t* value : {L"soon", L"-1", L"86401"}) {
        EXPECT_EQ(session.connect(account, {{L"LockWait", value}}),
                  Refused(seconds + value + L"\"."));
        EXPECT_TRUE(session.hasFailed() && !session.isConnected() && !FileExists(account));
    }
    EXPECT_EQ(session.connect(account, {{L"LockWait", Text(L"5\0x", 3)}}),
              Refused(seconds + L"5 x\"."))
        << "a zero, which error texts show as a blank, does not end the number";
    EXPECT_EQ(session.connect(account, {{L"LockWait", L"0.5"}, {L"ReadOnly", L"maybe"}}),
              Refused(truth + L"maybe\"."));
    for (const wchar_t* value : {L"", L"True", L"yes", L"-1", L"FALSE", L"No", L"0"}) {
        EXPECT_EQ(session.connect(account, {{L"ReadOnly", value}}), ErrorFields()) << Narrow(value);
        EXPECT_FALSE(session.hasFailed());
        session->Disconnect();
    }
}

TEST_F(EmbeddedConnection, SaysWhyAnAccountCannotBeOpened) {
    CreateDirectoryW((folder / L"folder").c_str(), nullptr);
    PutFile(folder / L"long", std::string(5000, 'x'));
    struct Case {
        const wchar_t* name;  // in the folder
        long number;
        const wchar_t* before;  // the text around the quoted path
        const wchar_t* behind;
    };
    const Case cases[] = {
        {L"none\\a",
         kCannotOpen,
         L"The account cannot be opened: ",
         L" (unable to open database file)."},
        {L"folder", kCannotOpen, L"", L" is a folder, not an account."},
        {L"long", kNotAnAccount, L"The file is not an account: ", L" (file is not a database)."},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.name));
        EmbeddedSession fresh;
        const Text path = folder / one.name;
        const std::string before = FileBytes(path);
        EXPECT_EQ(
            fresh.connect(path),
            (ErrorFields{
                one.number, L"kelos1::Connect", one.before + (L"\"" + path + L"\"") + one.behind}));
        EXPECT_FALSE(fresh.isConnected());
        EXPECT_TRUE(fresh.hasFailed());
        EXPECT_EQ(FileBytes(path), before) << "what it is not is left alone";
        EXPECT_EQ(fresh->Disconnect(), S_OK);
        EXPECT_FALSE(fresh.hasFailed());
    }
    RemoveDirectoryW((folder / L"folder").c_str());
}

TEST_F(EmbeddedConnection, NamesAnAccountThatMayNotBeChanged) {
    const Text account = folder / L"a";
    EXPECT_EQ(
        session.connect(account, {{L"ReadOnly", L"True"}}),
        (ErrorFields{kCannotOpen, L"kelos1::Connect", L"\"" + account + L"\" is not there."}));
    ASSERT_EQ(session.connect(account, {{L"ReadOnly", L"False"}}), ErrorFields());
    EXPECT_EQ(session.connect(account),
              (ErrorFields{AlreadyConnected, L"kelos1::Connect", L"Already Connected"}));
    session.execute(L"CREATE-FILE CUST");
    session->Disconnect();
    EXPECT_EQ(session.connect(account, {{L"ReadOnly", L"True"}}), ErrorFields());
    session.file = session.open(L"CUST");
    const auto refusedBy = [&](const wchar_t* member) {
        return ErrorFields{kReadOnlyAccount,
                           Text(L"kelos1::") + member,
                           L"The account is open for reading only: \"" + account + L"\"."};
    };
    EXPECT_EQ(session.read(L"17", true), 77) << "a lock is a change to come";
    EXPECT_EQ(session.lastError, refusedBy(L"mvRead"));
    session.setBuffer(L"Smith");
    EXPECT_EQ(session.write(L"17"), refusedBy(L"mvWrite"));
    EXPECT_EQ(session.execute(L"DELETE-FILE CUST"),
              L"-2147220985: The account is open for reading only: \"" + account + L"\".");
    session->Disconnect();
    // A protected file would do as well, but there are users whom nothing is protected from.
    const HANDLE jealous = CreateFileW(
        account.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(jealous, INVALID_HANDLE_VALUE);
    EXPECT_EQ(
        session.connect(account, {{L"ReadOnly", L""}}),
        (ErrorFields{
            kReadOnlyAccount, L"kelos1::Connect", L"\"" + account + L"\" may not be written to."}));
    EXPECT_TRUE(session.hasFailed());
    CloseHandle(jealous);
    EXPECT_EQ(session.connect(account), ErrorFields());
}

TEST_F(EmbeddedConnection, IsNeededForFilesAndRecords) {
    EXPECT_EQ(session.setBuffer(L"a"), ErrorFields()) << "buffers work without one";
    const auto refusedBy = [](const wchar_t* member) {
        return ErrorFields{NotConnected, Text(L"kelos1::") + member, L"Not connected"};
    };
    EXPECT_FALSE(session.open(L"CUST"));
    EXPECT_EQ(session.lastError, refusedBy(L"OpenFile"));
    EXPECT_EQ(session.read(L"17"), 77);
    EXPECT_EQ(session.lastError, refusedBy(L"mvRead"));
    EXPECT_EQ(session.execute(L"CREATE-FILE CUST"), L"stale: stale");
    EXPECT_EQ(session.lastError, refusedBy(L"Execute"));
}

}  // namespace
}  // namespace kel::tests
