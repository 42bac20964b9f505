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
            if (!row.keyField.empty() || !row.session.empty()) {
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
        const char* name;
        Lines fields;
        Lines tied;
        const wchar_t* from;
        const wchar_t* to;
        Lines registered;
        Lines keyIds;  // in the order of `fields`
        Lines rows;
        Lines events;
    };
    const Case cases[] = {
        {"spelled as the row",
         {L"Cust"},
         {L"Cust"},
         L"Cust",
         L"Client",
         {L"client"},
         {L"Client"},
         {L"Client/S"},
         {L"Cust: KeyFieldChanged(Client)"}},
        {"spelled otherwise: the row stays",
         {L"Cust"},
         {L"Cust"},
         L"cust",
         L"client",
         {L"client"},
         {L"client"},
         {L"Cust/S"},
         {}},
        {"only the spelling changes",
         {L"Cust"},
         {L"Cust"},
         L"Cust",
         L"CUST",
         {L"cust"},
         {L"CUST"},
         {L"CUST/S"},
         {L"Cust: KeyFieldChanged(CUST)"}},
        {"unknown, yet a row has it and the new name is registered",
         {L"New"},
         {L"Old"},
         L"Old",
         L"New",
         {L"new"},
         {L"New"},
         {L"New/S"},
         {L"New: KeyFieldChanged(New)"}},
        {"no callback at all", {}, {L"Old"}, L"Old", L"New", {}, {}, {L"New/S"}, {}},
        {"the new name is taken: the other callback hears of it",
         {L"A", L"B"},
         {L"A", L"B"},
         L"A",
         L"B",
         {L"a", L"b"},
         {L"B", L"B"},
         {L"B/S", L"B/S"},
         {L"B: KeyFieldChanged(B)"}},
        {"without a row", {L"Cust"}, {}, L"Cust", L"Client", {L"client"}, {L"Client"}, {}, {}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
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
         {L"Old: KeyFieldChanged(New)", L"Old: KeyFieldChanged(New)"},
         {L"New/S",
          L"After/S",
          L"0/",
          L"1/",
          L"2/",
          L"3/",
          L"4/",
          L"5/",
          L"6/",
          L"7/",
          L"8/",
          L"9/",
          L"10/",
          L"11/",
          L"New/late"}},
        {"the root object goes",
         [this] { base.reset(); },
         {L"Old: KeyFieldChanged(New)"},
         {L"New/S", L"After/S"}},
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

// A window of the thread, for messages that a member processes on its way.
class MessageWindow {
public:
    explicit MessageWindow(std::function<void()> action) : action_(std::move(action)) {
        window_ = CreateWindowExW(
            0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure));
    }
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;
    ~MessageWindow() {
        SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&DefWindowProcW));
        DestroyWindow(window_);
    }

    bool post() const { return PostMessageW(window_, WM_APP, 0, 0) != FALSE; }

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
        if (message != WM_APP) {
            return DefWindowProcW(window, message, first, second);
        }
        reinterpret_cast<MessageWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA))->action_();
        return 0;
    }

    std::function<void()> action_;
    HWND window_ = nullptr;
};

TEST_F(Rename, ProcessesMessagesAfterEachRow) {
    addField(L"Old");
    tie(L"Other", L"S");
    tie(L"Old", L"S");
    // What a message changes after the first row is what the second row finds.
    const MessageWindow window([this] { removeField(L"Old"); });
    ASSERT_TRUE(window.post());
    EXPECT_EQ(base->RenameFieldCallback(Str(L"Old"), Str(L"New")), S_OK);
    EXPECT_EQ(rows(), Lines{L"Other/S"});
    EXPECT_EQ(events, Lines{});

    addField(L"A");
    tie(L"A", L"S");
    const MessageWindow second([this] { tie(L"A", L"changed"); });
    ASSERT_TRUE(second.post());
    EXPECT_EQ(base->RenameSessionCallback(Str(L"S"), Str(L"T")), S_OK);
    EXPECT_EQ(rows(), (Lines{L"Other/T", L"A/changed"}));
    EXPECT_EQ(events, Lines{});
}

}  // namespace
}  // namespace kel::tests
