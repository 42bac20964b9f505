// Renaming key fields and sessions: rows are compared with case, everything else without; client
// code runs in the middle and may change the very things that are being renamed.
#include <gtest/gtest.h>

#include <map>

#include "tests/registry/component.h"

namespace kel::tests {
namespace {

using automation::GetText;

class Rename : public ComponentTest {
protected:
    void TearDown() override {
        fields.clear();
        base.reset();
        ComponentTest::TearDown();
    }
    // A registered key field whose events are written down behind its first name.
    _kelFieldCallBack& addField(const Text& keyField) {
        Field& field = fields[keyField];
        base->GetFieldCallBack(Str(keyField), field.callback.put());
        field.listening = ListenTo(*field.callback);
        field.listening.sink->alsoTo(&events, keyField + L": ");
        return *field.callback;
    }
    EventRecorder& listener(const Text& keyField) { return *fields[keyField].listening.sink; }
    void removeField(const Text& keyField) {
        base->RemoveFieldCallBack(Str(keyField));
        fields.erase(keyField);
    }
    ComPtr<_kelSessionCallBack> session(TextView name) const {
        ComPtr<_kelSessionCallBack> callback;
        base->GetSessionCallBack(Str(name), callback.put());
        return callback;
    }
    void tie(TextView keyField, TextView session) const {
        base->SetKeyFieldSession(Str(keyField), Str(session));
    }
    static Lines rows() {
        Lines all;
        for (long i = 0; i <= registry().xref().upper(); ++i) {
            const auto& row = registry().xref().row(i);
            if (!row.session.empty()) {
                all.push_back(row.keyField + L"/" + row.session);
            }
        }
        return all;
    }
    static Lines registered() {
        Lines keys;
        for (long i = 1; i <= registry().FieldCallbackList().Count(); ++i) {
            keys.emplace_back(registry().FieldCallbackList().Key(i).view());
        }
        return keys;
    }

    struct Field {
        ComPtr<_kelFieldCallBack> callback;
        Listening listening;
    };
    std::map<Text, Field> fields;
    Lines events;
    ComPtr<_kelBase> base = newBase();
};

TEST_F(Rename, OfAKeyFieldRekeysTheCallbackAndTellsOnlyExactRows) {
    struct Case {
        Lines fields;
        Lines tied;
        const wchar_t* from;
        const wchar_t* to;
        Lines registered;
        Lines keyIds;  // in the order of `fields`
        Lines rows;
        Lines events;
    };
    const Lines old = {L"Old"};
    const Lines renamed = {L"New"};
    const Lines row = {L"New/S"};
    const Case cases[] = {
        {old, old, L"Old", L"New", {L"new"}, renamed, row, {L"Old: KeyFieldChanged(New)"}},
        // Spelled otherwise: the row stays.
        {old, old, L"old", L"New", {L"new"}, renamed, {L"Old/S"}, {}},
        // Only the spelling changes.
        {old, old, L"Old", L"OLD", {L"old"}, {L"OLD"}, {L"OLD/S"}, {L"Old: KeyFieldChanged(OLD)"}},
        // Unknown, yet a row has it and the new name is registered.
        {renamed, old, L"Old", L"New", {L"new"}, renamed, row, {L"New: KeyFieldChanged(New)"}},
        {{}, old, L"Old", L"New", {}, {}, row, {}},
        // The new name is taken: the other callback hears of it.
        {{L"A", L"B"},
         {L"A", L"B"},
         L"A",
         L"B",
         {L"a", L"b"},
         {L"B", L"B"},
         {L"B/S", L"B/S"},
         {L"B: KeyFieldChanged(B)"}},
        {old, {}, L"Old", L"New", {L"new"}, renamed, {}, {}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        for (const Text& name : one.fields) {
            addField(name);
        }
        for (const Text& name : one.tied) {
            tie(name, L"S");
        }
        EXPECT_EQ(base->RenameFieldCallback(Str(one.from), Str(one.to)), S_OK);
        EXPECT_EQ(registered(), one.registered);
        Lines keyIds;
        for (const Text& name : one.fields) {
            keyIds.push_back(GetText(*fields[name].callback, &_kelFieldCallBack::get_KeyId));
        }
        EXPECT_EQ(keyIds, one.keyIds);
        EXPECT_EQ(rows(), one.rows);
        EXPECT_EQ(std::exchange(events, {}), one.events);
        fields.clear();
        base.reset();
        RestartApartment();
        base = newBase();
    }
}

TEST_F(Rename, OfASessionTellsTheKeyFieldsOfExactRows) {
    for (const wchar_t* name : {L"A", L"B", L"C", L"D"}) {
        addField(name);
    }
    const auto main = session(L"Main");
    tie(L"A", L"Main");
    tie(L"B", L"MAIN");
    tie(L"C", L"Main");
    tie(L"Unregistered", L"Main");
    tie(L"D", L"Other");
    EXPECT_EQ(base->RenameSessionCallback(Str(L"Main"), Str(L"Second")), S_OK);
    EXPECT_EQ(rows(),
              (Lines{L"A/Second", L"B/MAIN", L"C/Second", L"Unregistered/Second", L"D/Other"}));
    EXPECT_EQ(events, (Lines{L"A: SessionChanged(Second)", L"C: SessionChanged(Second)"}));
    EXPECT_EQ(GetText(*main, &_kelSessionCallBack::get_SessionName), L"Second");
    EXPECT_TRUE(registry().SessionCallbackList().KeyExists(L"second"));
    EXPECT_FALSE(registry().SessionCallbackList().KeyExists(L"main"));
    EXPECT_TRUE(registry().EngineList().KeyExists(L"main")) << "the engine keeps its name";
    EXPECT_EQ(session(L"SECOND").get(), main.get());

    events.clear();
    EXPECT_EQ(base->RenameSessionCallback(Str(L"unknown"), Str(L"x")), S_OK);
    EXPECT_EQ(base->RenameSessionCallback(Str(L"MAIN"), Str(L"x")), S_OK);
    EXPECT_EQ(events, (Lines{L"B: SessionChanged(x)"}));
}

TEST_F(Rename, SurvivesHandlersThatChangeTheTable) {
    struct Case {
        const char* name;
        std::function<void()> handler;  // of the first row
        Lines events;
        Lines rows;
    };
    const Case cases[] = {
        {"the renamed key field goes",
         [this] { removeField(L"New"); },
         {L"Old: KeyFieldChanged(New)"},
         {L"After/S"}},
        {"it is renamed back",
         [this] { base->RenameFieldCallback(Str(L"New"), Str(L"Old")); },
         {L"Old: KeyFieldChanged(New)", L"Old: KeyFieldChanged(Old)"},
         {L"Old/S", L"After/S"}},
        {"the table grows while it is walked",
         [this] {
             for (int i = 0; i < 12; ++i) {
                 tie(std::to_wstring(i), L"");
             }
             tie(L"Old", L"late");
         },
         {L"Old: KeyFieldChanged(New)"},
         {L"New/S", L"After/S", L"Old/late"}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        addField(L"Old");
        tie(L"Old", L"S");
        tie(L"After", L"S");
        bool done = false;
        listener(L"Old").onEvent([&](Event&) {
            if (!std::exchange(done, true)) {
                one.handler();
            }
        });
        EXPECT_EQ(base.get()->RenameFieldCallback(Str(L"Old"), Str(L"New")), S_OK);
        EXPECT_EQ(std::exchange(events, {}), one.events);
        EXPECT_EQ(rows(), one.rows);
        fields.clear();
        base.reset();
        RestartApartment();
        base = newBase();
    }
}

TEST_F(Rename, ProcessesMessagesAfterEachRow) {
    addField(L"Old");
    tie(L"Other", L"S");
    tie(L"Old", L"S");
    // What a message changes after the first row is what the second row finds.
    AtNextPump([this] { removeField(L"Old"); });
    EXPECT_EQ(base->RenameFieldCallback(Str(L"Old"), Str(L"New")), S_OK);
    EXPECT_EQ(rows(), Lines{L"Other/S"});
    EXPECT_EQ(events, Lines{});

    addField(L"A");
    tie(L"A", L"S");
    AtNextPump([this] { tie(L"A", L"changed"); });
    EXPECT_EQ(base->RenameSessionCallback(Str(L"S"), Str(L"T")), S_OK);
    EXPECT_EQ(rows(), (Lines{L"Other/T", L"A/changed"}));
    EXPECT_EQ(events, Lines{});
}

TEST_F(Rename, ToNoNameAndBackFindsEverythingAgain) {
    addField(L"Cust");
    const auto callback = fields[L"Cust"].callback;
    const auto main = session(L"Main");
    tie(L"Cust", L"Main");
    EXPECT_EQ(base->RenameFieldCallback(Str(L"Cust"), Str(L"")), S_OK);
    EXPECT_EQ(registered(), Lines{L""});
    fcbInitalized state = fcbDestoried;
    EXPECT_EQ(callback->get_IsInitalized(&state), S_OK);
    EXPECT_EQ(state, fcbValid);
    EXPECT_EQ(GetText(*callback, &_kelFieldCallBack::get_SessionName), L"Main");
    EXPECT_EQ(base->RenameFieldCallback(Str(L""), Str(L"Cust")), S_OK);
    ComPtr<_kelFieldCallBack> found;
    EXPECT_EQ(base->GetFieldCallBack(Str(L"CUST"), found.put()), S_OK);
    EXPECT_EQ(found.get(), callback.get());
    EXPECT_EQ(GetText(*found, &_kelFieldCallBack::get_SessionName), L"Main");

    EXPECT_EQ(base->RenameSessionCallback(Str(L"Main"), Str(L"")), S_OK);
    EXPECT_EQ(base->RenameSessionCallback(Str(L""), Str(L"Main")), S_OK);
    EXPECT_EQ(session(L"MAIN").get(), main.get());
}

TEST_F(Rename, LetsABusyFormDoOnlyWhatWaitsAtEachRow) {
    addField(L"Old");
    tie(L"Old", L"S");
    const BusyForm form;
    EXPECT_EQ(base->RenameFieldCallback(Str(L"Old"), Str(L"New")), S_OK);
    EXPECT_EQ(base->RenameSessionCallback(Str(L"S"), Str(L"T")), S_OK);
    EXPECT_EQ(rows(), Lines{L"New/T"});
    form.expectServed(2 * (registry().xref().upper() + 1));
}

}  // namespace
}  // namespace kel::tests
