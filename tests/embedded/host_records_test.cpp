// Files and records of the embedded back-end.
#include <gtest/gtest.h>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

using EmbeddedRecords = EmbeddedTest;

TEST_F(EmbeddedRecords, AreReachedThroughAnOpenFileVariableOfTheConnection) {
    session.setBuffer(L"x");
    EmbeddedSession other;
    ASSERT_EQ(other.connect(account), ErrorFields());
    const auto ofOther = other.open(L"CUST");
    const auto ended = session.file;
    session->Disconnect();
    ASSERT_EQ(session.connect(account), ErrorFields());
    auto closed = session.open(L"CUST");
    EXPECT_EQ(session->CloseFile(closed.inOut()), S_OK);
    EXPECT_TRUE(closed) << "the variable stays, closed";
    struct Case {
        const wchar_t* what;
        ComPtr<IDispatch> file;
    };
    const Case cases[] = {
        {L"closed", closed},
        {L"of an ended connection", ended},
        {L"of another connection", ofOther},
        {L"nothing", {}},
        {L"a record buffer", session.buffer},
        {L"a foreign object", ComPtr<IDispatch>(session.get())},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.what));
        session.file = one.file;
        const ComPtr<IDispatch> kept = session.buffer;
        EXPECT_EQ(session.read(L"17"), 77);
        EXPECT_EQ(session.lastError.number, mvOpenNotOpen);
        EXPECT_FALSE(session.buffer) << "the result was emptied";
        session.buffer = kept;
        EXPECT_EQ(session.write(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(session.remove(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(session.release(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(ErrorOf(session->CloseFile(session.file.inOut())).description,
                  L"The file variable is not open in this connection.");
        EXPECT_EQ(session.file.get(), one.file.get());
    }
}

TEST_F(EmbeddedRecords, AreWrittenFromBuffersOfTheBackEndOnly) {
    EmbeddedSession other;
    other.setBuffer(L"of another session");
    session.buffer = other.buffer;
    EXPECT_EQ(session.write(L"1"), ErrorFields()) << "a buffer belongs to no session";
    const ErrorFields expected{automation::kTypeMismatch,
                               L"kelos1::mvWrite",
                               L"The object is no record buffer of this back-end."};
    for (const ComPtr<IDispatch>& object :
         {ComPtr<IDispatch>(), session.file, ComPtr<IDispatch>(session.get())}) {
        session.buffer = object;
        EXPECT_EQ(session.write(L"1"), expected);
    }
    EXPECT_EQ(session.read(L"1"), 0);
    EXPECT_EQ(session.bufferText(), L"of another session");
    EXPECT_EQ(session.read(L"missing"), 1);
    EXPECT_FALSE(session.buffer);
    EXPECT_EQ(session.remove(L"missing"), ErrorFields()) << "removing nothing is no failure";
    const ErrorFields marked{automation::kInvalidCall,
                             L"kelos1::mvRead",
                             L"The record id \"\xFB\" holds a mark (a character from U+00FB to "
                             L"U+00FF)."};
    EXPECT_EQ(session.read(L"\xFB"), 77);
    EXPECT_EQ(session.lastError, marked);
}

TEST_F(EmbeddedRecords, EndWithTheirFile) {
    session.setBuffer(L"Smith");
    EmbeddedSession other;
    ASSERT_EQ(other.connect(account), ErrorFields());
    EXPECT_EQ(other.execute(L"DELETE-FILE CUST"), L"418: File \"CUST\" deleted.");
    EXPECT_EQ(session.write(L"17").number, mvOpenNotFound)
        << "the variable means a file that is gone";
    session.read(L"17");
    EXPECT_EQ(session.lastError,
              (ErrorFields{mvOpenNotFound,
                           L"kelos1::mvRead",
                           L"The file is no longer in the account \"" + account + L"\"."}));
}

}  // namespace
}  // namespace kel::tests
