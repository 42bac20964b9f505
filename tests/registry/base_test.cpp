// The root object: what it hands out, lists and writes into the log.
#include <gtest/gtest.h>

#include "tests/registry/component.h"

namespace kel::tests {
namespace {

using automation::GetText;

class BaseObject : public ComponentTest {
protected:
    void TearDown() override {
        base.reset();
        ComponentTest::TearDown();
    }
    ComPtr<_kelFieldCallBack> field(TextView keyField) const {
        ComPtr<_kelFieldCallBack> callback;
        EXPECT_EQ(base->GetFieldCallBack(Str(keyField), callback.put()), S_OK);
        return callback;
    }
    ComPtr<_kelSessionCallBack> session(TextView name) const {
        ComPtr<_kelSessionCallBack> callback;
        EXPECT_EQ(base->GetSessionCallBack(Str(name), callback.put()), S_OK);
        return callback;
    }
    Lines list(HRESULT (STDMETHODCALLTYPE _kelBase::*member)(_Collection**)) const {
        ComPtr<_Collection> names;
        EXPECT_EQ((base.get()->*member)(names.put()), S_OK);
        return ItemsOf(names.get());
    }

    ComPtr<_kelBase> base = newBase();
};

TEST_F(BaseObject, KnowsEachNameOnceUnderAnySpelling) {
    const wchar_t* const spellings[][3] = {
        {L"Cust", L"CUST", L"cuST"},
        {L"\u00C4rger", L"\u00E4RGER", L"\u00E4rger"},
        {L"a b", L"A B", L"a B"},
    };
    for (const auto& names : spellings) {
        SCOPED_TRACE(Narrow(names[0]));
        const auto firstField = field(names[0]);
        const auto firstSession = session(names[0]);
        for (const wchar_t* name : names) {
            EXPECT_EQ(field(name).get(), firstField.get());
            EXPECT_EQ(session(name).get(), firstSession.get());
        }
        EXPECT_EQ(GetText(*firstField, &_kelFieldCallBack::get_KeyId), names[0]);
        EXPECT_EQ(GetText(*firstSession, &_kelSessionCallBack::get_SessionName), names[0]);
    }
    EXPECT_NE(field(L"Cust").get(), field(L"Cust2").get());
}

TEST_F(BaseObject, GivesNoSessionWithoutAName) {
    // The callback stays registered all the same, so the thread does not count as empty.
    ComPtr<_kelSessionCallBack> callback = session(L"x");
    EXPECT_EQ(base->GetSessionCallBack(Str(L""), callback.put()), S_OK);
    EXPECT_FALSE(callback);
    EXPECT_EQ(registry().SessionCallbackList().Count(), 2);
    EXPECT_EQ(registry().EngineList().Count(), 1);
}

TEST_F(BaseObject, SharesItsStateWithTheOthersOfItsThread) {
    const auto callback = field(L"Cust");
    base->SetKeyFieldSession(Str(L"Cust"), Str(L"S1"));
    const auto other = newBase();
    ComPtr<_kelFieldCallBack> found;
    EXPECT_EQ(other->GetFieldCallBack(Str(L"cust"), found.put()), S_OK);
    EXPECT_EQ(found.get(), callback.get());
    ComPtr<_Collection> names;
    EXPECT_EQ(other->GetSessionNameList(names.put()), S_OK);
    EXPECT_EQ(ItemsOf(names.get()), Lines{L"S1"});

    OnThread([] {
        const auto foreign = newBase();
        EXPECT_EQ(GetText(*foreign, &_kelBase::ClassId), L"1");
        EXPECT_TRUE(registry().hasNoCallbacks());
        ComPtr<_Collection> none;
        EXPECT_EQ(foreign->GetKeyFieldList(none.put()), S_OK);
        EXPECT_EQ(ItemsOf(none.get()), Lines{});
    });
    // Neither does the end of one root object end what they share.
    base.reset();
    EXPECT_FALSE(registry().hasNoCallbacks());
}

TEST_F(BaseObject, IsNumberedUpToTheLargestNumber) {
    const auto keepsLogQuiet = field(L"Cust");
    EXPECT_EQ(GetText(*base, &_kelBase::ClassId), L"1");
    constexpr int kLargest = 32767;
    for (int i = 1; i < kLargest - 1; ++i) {
        newBase();
    }
    EXPECT_EQ(GetText(*newBase(), &_kelBase::ClassId), L"32767");
    EXPECT_EQ(GetText(*newBase(), &_kelBase::ClassId), L"32767");
}

TEST_F(BaseObject, ListsWhatIsTiedTogether) {
    struct Tie {
        const wchar_t* keyField;
        const wchar_t* session;
    };
    EXPECT_EQ(list(&_kelBase::GetSessionNameList), Lines{});
    EXPECT_EQ(list(&_kelBase::GetKeyFieldList), Lines{});
    for (const Tie& tie : {Tie{L"a", L"S1"},
                           Tie{L"b", L"s1"},
                           Tie{L"C", L"T"},
                           Tie{L"d", L""},
                           Tie{L"c", L"U"},
                           Tie{L"e", L"S1"}}) {
        base->SetKeyFieldSession(Str(tie.keyField), Str(tie.session));
    }
    base->SetKeyFieldFileName(Str(L"f"), Str(L"FILE"));
    const auto unlisted = session(L"untied");
    EXPECT_EQ(list(&_kelBase::GetSessionNameList), (Lines{L"S1", L"U"}));
    EXPECT_EQ(list(&_kelBase::GetKeyFieldList), (Lines{L"a", L"b", L"C", L"d", L"e", L"f"}));

    // Removal of a session leaves the ties to it; removal of a key field unties it.
    base->RemoveSessionCallback(Str(L"S1"));
    base->RemoveFieldCallBack(Str(L"A"));
    EXPECT_EQ(list(&_kelBase::GetSessionNameList), (Lines{L"s1", L"U"}));
    EXPECT_EQ(list(&_kelBase::GetKeyFieldList), (Lines{L"b", L"C", L"d", L"e", L"f"}));
}

TEST_F(BaseObject, WritesWhatItDoesIntoTheLog) {
    using namespace std::string_view_literals;
    base.reset();
    const Text separator = L"9 " + Text(50, L'=');
    struct Case {
        const char* name;
        std::function<void()> action;
        Lines lines;
    };
    const Case cases[] = {
        {"a key field, known under another spelling, removed",
         [&] {
             field(L"Cust");
             field(L"CUST");
             base->RemoveFieldCallBack(Str(L"CUST"));
             newBase();  // nothing is registered: another run begins
         },
         {L"2 kelBase::GetFieldCallback - Create KeyField Callback Cust",
          L"9 kelFieldCallback Initalize",
          L"1 kelBase::GetFieldCallback - Key Field CUST Already exists",
          L"2 RemoveFieldCallback CUST",
          L"9 kelFieldCallback Terminate Cust",
          L"2 RemoveSessionXRef CUST",
          separator}},
        {"a session, known under another spelling, removed",
         [&] {
             session(L"Main");
             session(L"MAIN");
             base->RemoveSessionCallback(Str(L"Nobody"));
         },
         {L"2 kelBase::GetSessionCallback - Create Session Callback Main",
          L"9 SessionCallback Initalize",
          L"9 Start Init Main",
          L"9 DBMS Initalized",
          L"9 Finish Init Main",
          L"1 kelBase::GetSessionCallback - Session MAIN Already exists",
          L"1 RemoveSessionCallback Nobody"}},
        {"a session without a name",
         [&] {
             session(L"");
             newBase();  // the same run
         },
         {L"2 kelBase::GetSessionCallback - Create Session Callback ",
          L"9 SessionCallback Initalize",
          L"9 Start Init "}},
        {"names and refreshing",
         [&] {
             base->RenameFieldCallback(Str(L"Old"), Str(L"New"));
             base->RenameFieldCallback(Str(L"O\0ld"sv), Str(L"N\0ew"sv));
             base->RenameFieldCallback(Str(L"Old"), Str(L"New\r\nforged"));
             base->RenameSessionCallback(Str(L"Old"), Str(L"New"));
             base->RefreshFieldCallback(Str(L"Cust"));
             base->SetKeyFieldSession(Str(L"Cust"), Str(L"Main"));
         },
         {L"2 RenameFieldCallback from Old to New",
          L"2 RenameFieldCallback from O ld to N ew",
          L"2 RenameFieldCallback from Old to New  forged",
          L"2 Rename Session from Old to New",
          L"2 RefreshFieldCallback from Cust"}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        Lines expected = one.lines;
        expected.insert(expected.begin(), separator);
        EXPECT_EQ(LoggedLines([&] {
                      base = newBase();
                      one.action();
                      base.reset();
                  }),
                  expected);
    }
}

}  // namespace
}  // namespace kel::tests
