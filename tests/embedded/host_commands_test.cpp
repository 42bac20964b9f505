// The command level of the embedded back-end, and what its select lists refuse.
#include <gtest/gtest.h>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

using EmbeddedCommands = EmbeddedTest;

TEST_F(EmbeddedCommands, MakeAndRemoveFiles) {
    const Text badName =
        L" cannot be the name of a file: a name has 1 to 128 characters, none of them a mark or a "
        L"control character, and no space at either end.";
    struct Case {
        Text sentence;
        Text answer;
    };
    const Case cases[] = {
        {L"CREATE-FILE ORDERS", L"417: File \"ORDERS\" created."},
        {L"  create-file   orders  ", L"417: File \"orders\" created."},
        {L"Create-File ORDERS", L"-2147220989: There is a file \"ORDERS\" already."},
        {L"CREATE-FILE", L"-2147220992: \"CREATE-FILE\" needs the name of one file."},
        {L"DELETE-FILE ORDERS", L"418: File \"ORDERS\" deleted."},
        {L"FROB ORDERS", L"-2147220992: \"FROB\" is not a verb; HELP lists those there are."},
        {L"LIST-READU", L"405: 0 lock(s) listed"},
        {L"DELETE-FILE ORDERS", L"10301: There is no file \"ORDERS\"."},
        {L"CREATE-FILE A\xFE"
         L"B",
         L"-2147220992: \"A\xFE"
         L"B\"" +
             badName},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.sentence));
        EXPECT_EQ(session.execute(one.sentence), one.answer);
        EXPECT_EQ(session.lastError, ErrorFields()) << "a mistake is an answer, not an error";
    }
    EXPECT_FALSE(session.open(L"ORDERS"));
    EXPECT_EQ(
        session.lastError,
        (ErrorFields{
            mvOpenNotFound, L"kelos1::OpenFile", L"There is no file \"ORDERS\" in this account."}));
    EXPECT_TRUE(session.open(L"orders"));
}

TEST_F(EmbeddedCommands, SelectOnlyInListsOfTheirOwn) {
    auto* object = static_cast<IDispatch*>(session.get());
    Bstr text(L"kept");
    Variant value = Value(1);
    VARIANT_BOOL flag = VARIANT_TRUE;
    ComPtr<IDispatch> list = session.file;
    EXPECT_EQ(
        ErrorOf(session->ProcessSelect(nullptr, &object)),
        (ErrorFields{
            mvSelectError, L"kelos1::ProcessSelect", L"\"\" is not a verb that selects records."}));
    EXPECT_EQ(object, nullptr) << "results are emptied";
    EXPECT_EQ(ErrorOf(session->ReadNext(list.inOut(), text.inOut(), &flag)),
              (ErrorFields{mvSelectError,
                           L"kelos1::ReadNext",
                           L"The select list is not open in this connection."}));
    EXPECT_EQ(flag, VARIANT_FALSE);
    EXPECT_EQ(text.view(), L"kept");
    EXPECT_EQ(ErrorOf(session->CloseSelect(list.get(), value.put())),
              (ErrorFields{automation::kTypeMismatch,
                           L"kelos1::CloseSelect",
                           L"The object is no select list of this back-end."}));
    // The engine closes the list of a key field that has none.
    EXPECT_EQ(session->CloseSelect(nullptr, value.put()), S_OK);
    EXPECT_EQ(V_VT(&value.get()), VT_EMPTY);
}

}  // namespace
}  // namespace kel::tests
