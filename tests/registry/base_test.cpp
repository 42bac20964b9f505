// The root object: what it hands out, lists and writes into the log.
#include <gtest/gtest.h>

#include <algorithm>

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
    EXPECT_EQ(base->GetSessionCallBack(nullptr, callback.put()), S_OK);
    EXPECT_FALSE(callback);
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

TEST_F(BaseObject, IsNumberedInOrderOfCreation) {
    EXPECT_EQ(GetText(*base, &_kelBase::ClassId), L"1");
    EXPECT_EQ(GetText(*newBase(), &_kelBase::ClassId), L"2");
    const auto third = newBase();
    EXPECT_EQ(GetText(*third, &_kelBase::ClassId), L"3");
    EXPECT_EQ(GetText(*base, &_kelBase::ClassId), L"1");
    EXPECT_EQ(GetText(*base, &_kelBase::Version), L"1.0.134");
}

TEST_F(BaseObject, StopsCountingAtTheLargestNumber) {
    const auto keepsLogQuiet = field(L"Cust");
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

TEST_F(BaseObject, ListsNamesOfDictionariesAndFilesOrNothing) {
    backend.createFile(L"CUST");
    backend.putDictItem(L"CUST", L"NAME", {1});
    const auto main = session(L"Main");
    Listening listening = ListenTo(*main);
    listening.sink->answerProperty(L"OsType", L"99");
    base->SetKeyFieldSession(Str(L"Cust"), Str(L"MAIN"));
    base->SetKeyFieldSession(Str(L"Lost"), Str(L"Gone"));
    base->SetKeyFieldFileName(Str(L"Free"), Str(L"CUST"));

    struct Case {
        const wchar_t* keyField;
        const wchar_t* file;
        Lines names;
    };
    const Case cases[] = {
        {L"Cust", L"CUST", {L"NAME"}},
        {L"CUST", L"CUST", {L"NAME"}},
        {L"Cust", L"", {L"Nothing"}},
        {L"Cust", L"MISSING", {L"Nothing"}},  // the back-end fails
        {L"Lost", L"CUST", {L"Nothing"}},     // its session has no engine
        {L"Free", L"CUST", {L"Nothing"}},     // it has no session
        {L"Other", L"CUST", {L"Nothing"}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.keyField));
        ComPtr<_Collection> names;
        EXPECT_EQ(base->DictNameList(Str(one.keyField), Str(one.file), names.put()), S_OK);
        EXPECT_EQ(ItemsOf(names.get()), one.names);
    }
    const std::pair<const wchar_t*, Lines> sessions[] = {
        {L"mAIN", {L"CUST"}}, {L"Gone", {L"Nothing"}}, {L"", {L"Nothing"}}};
    for (const auto& [name, expected] : sessions) {
        SCOPED_TRACE(Narrow(name));
        ComPtr<_Collection> names;
        EXPECT_EQ(base->FileNameList(Str(name), names.put()), S_OK);
        EXPECT_EQ(ItemsOf(names.get()), expected);
    }
    listening.end();
}

TEST_F(BaseObject, RefreshesAKeyFieldAsAWhole) {
    const auto callback = field(L"Cust");
    const Listening listening = ListenTo(*callback);
    Text control;
    listening.sink->onEvent(
        [&](Event&) { control = GetText(*callback, &_kelFieldCallBack::get_RefreshControlName); });
    EXPECT_EQ(base->RefreshFieldCallback(Str(L"CUST")), S_OK);
    EXPECT_EQ(listening.sink->take(), Lines{L"Refresh(0,0,0)"});
    EXPECT_EQ(control, L"CUST");
    EXPECT_EQ(base->RefreshFieldCallback(Str(L"unknown")), S_OK);
    EXPECT_EQ(listening.sink->take(), Lines{});
}

TEST_F(BaseObject, RefusesOnlyAMissingPlaceForTheResult) {
    EXPECT_EQ(base->GetFieldCallBack(Str(L"a"), nullptr), E_POINTER);
    EXPECT_EQ(base->GetSessionCallBack(Str(L"a"), nullptr), E_POINTER);
    EXPECT_EQ(base->ClassId(nullptr), E_POINTER);
    EXPECT_TRUE(registry().hasNoCallbacks());
    // Null texts are empty texts.
    for (const HRESULT code : {base->RemoveFieldCallBack(nullptr),
                               base->RefreshFieldCallback(nullptr),
                               base->SetKeyFieldSession(nullptr, nullptr),
                               base->SetKeyFieldFileName(nullptr, nullptr),
                               base->RemoveSessionCallback(nullptr)}) {
        EXPECT_EQ(code, S_OK);
    }
}

TEST_F(BaseObject, WritesWhatItDoesIntoTheLog) {
    base.reset();
    const Text separator = L"9 " + Text(50, L'=');
    struct Case {
        const char* name;
        std::function<void()> action;
        Lines lines;
    };
    const auto makeField = [&] { field(L"Cust"); };
    const Case cases[] = {
        {"the first root object on a thread", [] {}, {}},
        {"a key field, known under another spelling",
         [&] {
             makeField();
             field(L"CUST");
         },
         {L"2 kelBase::GetFieldCallback - Create KeyField Callback Cust",
          L"9 kelFieldCallback Initalize",
          L"1 kelBase::GetFieldCallback - Key Field CUST Already exists"}},
        {"a session, known under another spelling",
         [&] {
             session(L"Main");
             session(L"MAIN");
         },
         {L"2 kelBase::GetSessionCallback - Create Session Callback Main",
          L"9 SessionCallback Initalize",
          L"9 Start Init Main",
          L"9 DBMS Initalized",
          L"9 Finish Init Main",
          L"1 kelBase::GetSessionCallback - Session MAIN Already exists"}},
        {"a session without a name",
         [&] { session(L""); },
         {L"2 kelBase::GetSessionCallback - Create Session Callback ",
          L"9 SessionCallback Initalize",
          L"9 Start Init "}},
        {"removals",
         [&] {
             base->RemoveFieldCallBack(Str(L"Nobody"));
             base->RemoveSessionCallback(Str(L"Nobody"));
         },
         {L"2 RemoveFieldCallback Nobody",
          L"2 RemoveSessionXRef Nobody",
          L"1 RemoveSessionCallback Nobody"}},
        {"removal of a key field",
         [&] {
             makeField();
             base->RemoveFieldCallBack(Str(L"CUST"));
         },
         {L"2 kelBase::GetFieldCallback - Create KeyField Callback Cust",
          L"9 kelFieldCallback Initalize",
          L"2 RemoveFieldCallback CUST",
          L"9 kelFieldCallback Terminate Cust",
          L"2 RemoveSessionXRef CUST"}},
        {"names and refreshing",
         [&] {
             base->RenameFieldCallback(Str(L"Old"), Str(L"New"));
             base->RenameSessionCallback(Str(L"Old"), Str(L"New"));
             base->RefreshFieldCallback(Str(L"Cust"));
             base->SetKeyFieldSession(Str(L"Cust"), Str(L"Main"));
             base->SetKeyFieldFileName(Str(L"Cust"), Str(L"CUST"));
         },
         {L"2 RenameFieldCallback from Old to New",
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

TEST_F(BaseObject, SetsRunsApartInTheLogByWhatIsRegistered) {
    base.reset();
    const Text separator = L"9 " + Text(50, L'=');
    const auto creations = [&](const std::function<void(_kelBase&)>& between) {
        Lines all = LoggedLines([&] {
            const auto first = newBase();
            between(*first);
            newBase();
        });
        return std::ranges::count(all, separator);
    };
    const auto addField = [](_kelBase& root) {
        ComPtr<_kelFieldCallBack> callback;
        root.GetFieldCallBack(Str(L"Cust"), callback.put());
    };
    EXPECT_EQ(creations([](_kelBase&) {}), 2);
    EXPECT_EQ(creations(addField), 1);
    EXPECT_EQ(creations([&](_kelBase& root) {
                  addField(root);
                  root.RemoveFieldCallBack(Str(L"Cust"));
              }),
              2);
    EXPECT_EQ(creations([](_kelBase& root) {
                  ComPtr<_kelSessionCallBack> callback;
                  root.GetSessionCallBack(Str(L""), callback.put());
              }),
              1);
}

}  // namespace
}  // namespace kel::tests
