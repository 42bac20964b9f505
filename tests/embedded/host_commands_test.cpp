// The command level of the embedded back-end, and the members that are not there yet.
#include <gtest/gtest.h>

#include <functional>

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
        {L"CREATE-FILE", L"10: The verb takes the name of one file."},
        {L"CREATE-FILE A B", L"10: The verb takes the name of one file."},
        {L"DELETE-FILE ORDERS", L"418: File \"ORDERS\" deleted."},
        {L"DELETE-FILE ORDERS", L"10301: There is no file \"ORDERS\"."},
        {L"DELETE-FILE", L"10: The verb takes the name of one file."},
        {L"CREATE-FILE A\xFE"
         L"B",
         L"5: \"A\xFE"
         L"B\"" +
             badName},
        {L"CREATE-FILE " + Text(129, L'x'), L"5: \"" + Text(128, L'x') + L"\"" + badName},
        {L"CREATE-FILE \xC4\x20AC\xD83D\xDE00", L"417: File \"\xC4\x20AC\xD83D\xDE00\" created."},
        {L"CREATE-FILE ORDERS", L"417: File \"ORDERS\" created."},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.sentence));
        EXPECT_EQ(session.execute(one.sentence), one.answer);
        EXPECT_EQ(session.lastError, ErrorFields()) << "a mistake is an answer, not an error";
    }
    EXPECT_TRUE(session.open(L"ORDERS"));
    EXPECT_TRUE(session.open(L"orders"));
}

TEST_F(EmbeddedCommands, GiveADeletedFilesNameToAnEmptyFile) {
    session.setBuffer(L"Smith");
    session.write(L"17");
    session.execute(L"DELETE-FILE CUST");
    session.execute(L"CREATE-FILE CUST");
    session.file = session.open(L"CUST");
    EXPECT_EQ(session.read(L"17"), 1);
}

TEST_F(EmbeddedCommands, NameAVerbThatIsNotThere) {
    for (const Text verb : {L"LIST", L"list"}) {
        EXPECT_EQ(session.execute(verb + L" CUST"), L"stale: stale") << "nothing was answered";
        EXPECT_EQ(session.lastError,
                  (ErrorFields{
                      E_NOTIMPL,
                      L"kelos1::Execute",
                      L"The verb \"" + verb + L"\" is not implemented by the embedded back-end."}));
    }
    session.execute(L"");
    EXPECT_EQ(session.lastError.description,
              L"The verb \"\" is not implemented by the embedded back-end.");
    EXPECT_EQ(session->Execute(nullptr, nullptr, nullptr), E_POINTER);
    SetErrorInfo(0, nullptr);
}

TEST_F(EmbeddedCommands, SayWhichMembersAreNotThere) {
    IDispatch* object = nullptr;
    Bstr text(L"kept");
    Bstr result;
    Variant value;
    VARIANT_BOOL flag = VARIANT_TRUE;
    long number = 77;
    short length = 77;
    VARIANT missing = Variant::Missing().get();
    VARIANT* const m = &missing;
    ComPtr<IDispatch> list = session.file;
    struct Case {
        const wchar_t* member;
        std::function<HRESULT()> call;
    };
    const Case cases[] = {
        {L"Oconv", [&] { return session->Oconv(nullptr, nullptr, value.put()); }},
        {L"Iconv", [&] { return session->Iconv(nullptr, nullptr, value.put()); }},
        {L"CallHost",
         [&] { return session->CallHost(nullptr, m, m, m, m, m, m, m, m, m, m, m, m); }},
        {L"ProcessSelect", [&] { return session->ProcessSelect(nullptr, &object); }},
        {L"CloseSelect", [&] { return session->CloseSelect(list.get(), value.put()); }},
        {L"ReadNext", [&] { return session->ReadNext(list.inOut(), text.inOut(), &flag); }},
        {L"ReadDictItem",
         [&] {
             return session->ReadDictItem(nullptr,
                                          nullptr,
                                          &number,
                                          text.inOut(),
                                          text.inOut(),
                                          text.inOut(),
                                          text.inOut(),
                                          &length);
         }},
        {L"WriteDictItem",
         [&] {
             return session->WriteDictItem(
                 nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0);
         }},
        {L"ProcessCorrelative",
         [&] {
             return session->ProcessCorrelative(
                 list.inOut(), nullptr, nullptr, nullptr, 0, nullptr, text.inOut(), result.put());
         }},
        {L"ValidCorrelative", [&] { return session->ValidCorrelative(nullptr, &flag); }},
        {L"SelectDictName",
         [&] { return session->SelectDictName(nullptr, VARIANT_FALSE, &object); }},
        {L"SelectFileName", [&] { return session->SelectFileName(&object); }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.member));
        object = session.get();
        flag = VARIANT_TRUE;
        V_VT(value.inOut()) = VT_I4;
        V_I4(value.inOut()) = 1;
        EXPECT_EQ(
            ErrorOf(one.call()),
            (ErrorFields{E_NOTIMPL,
                         Text(L"kelos1::") + one.member,
                         Text(one.member) + L" is not implemented by the embedded back-end."}));
        const Text name = one.member;
        if (name.starts_with(L"Select") || name == L"ProcessSelect") {
            EXPECT_EQ(object, nullptr) << "the result was emptied";
        }
        if (name == L"ReadNext" || name == L"ValidCorrelative") {
            EXPECT_EQ(flag, VARIANT_FALSE);
        }
        if (name.ends_with(L"conv")) {
            EXPECT_EQ(V_VT(&value.get()), VT_EMPTY);
        }
    }
    EXPECT_EQ(text.view(), L"kept");
    EXPECT_EQ(number, 77);
    // The engine closes the list of a key field that has none.
    EXPECT_EQ(session->CloseSelect(nullptr, value.put()), S_OK);
    EXPECT_EQ(V_VT(&value.get()), VT_EMPTY);
}

}  // namespace
}  // namespace kel::tests
