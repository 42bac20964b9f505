// Random sequences of what clients do, over two back-ends, held against a simple model of what must
// come of them. A difference prints the seed and the step; the same seed does the same again.
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "tests/registry/component.h"
#include "tests/support/environment.h"

namespace kel::tests {
namespace {

constexpr std::array kSessions = {L"Main", L"Archive"};
constexpr std::array kKeys = {L"Customer", L"Order", L"Line"};
constexpr std::array kIds = {L"1", L"2", L"3", L"4"};

// What a record buffer holds: attributes, none for an empty record.
using Record = std::vector<Text>;

Text Joined(const Record& record) {
    Text text;
    for (std::size_t i = 0; i < record.size(); ++i) {
        text += (i > 0 ? L"\xFE" : L"") + record[i];
    }
    return text;
}

Record Split(const Text& text) {
    Record record;
    for (std::size_t at = 0; !text.empty();) {
        const std::size_t end = text.find(L'\xFE', at);
        record.push_back(text.substr(at, end - at));
        if (end == Text::npos) {
            break;
        }
        at = end + 1;
    }
    return record;
}

struct Model {
    struct Session {
        bool exists = false;
        bool connected = false;
        std::map<Text, Record> buffers;  // by key field, as far as one was read
    };
    std::map<Text, Session> sessions;
    std::map<Text, Text> database;
    std::map<Text, Text> ties;  // key field to session
};

class StateMachine : public ComponentTest {
protected:
    // `settings` answer for the connection properties.
    void run(const std::map<Text, Text>& settings, int steps, bool canFail) {
        seed_ = std::random_device()();
        random_.seed(seed_);
        settings_ = settings;
        base_ = newBase();
        for (int step = 0; step < steps && !HasFailure(); ++step) {
            const Text session = kSessions[draw(kSessions.size())];
            const Text key = kKeys[draw(kKeys.size())];
            SCOPED_TRACE("seed " + std::to_string(seed_) + ", step " + std::to_string(step));
            act(session, key, canFail);
        }
        for (const wchar_t* session : kSessions) {
            remove(session);
        }
        for (const wchar_t* key : kKeys) {
            base_->RemoveFieldCallBack(Str(key));
        }
        base_.reset();
    }

private:
    struct Live {
        ComPtr<_kelSessionCallBack> callback;
        ComPtr<_kelTools> tools;
        Listening listening;
    };

    std::size_t draw(std::size_t below) {
        return std::uniform_int_distribution<std::size_t>(0, below - 1)(random_);
    }

    void create(const Text& name) {
        Live& live = live_[name];
        ASSERT_EQ(base_->GetSessionCallBack(Str(name), live.callback.put()), S_OK);
        live.listening = ListenTo(*live.callback);
        for (const auto& [property, text] : settings_) {
            live.listening.sink->answerProperty(property, text);
        }
        ASSERT_EQ(live.callback->get_Tools(live.tools.put()), S_OK);
        model_.sessions[name] = {true, false, {}};
    }

    void remove(const Text& name) {
        live_.erase(name);
        base_->RemoveSessionCallback(Str(name));
        model_.sessions[name] = {};
        std::erase_if(model_.ties, [&](const auto& tie) { return tie.second == name; });
    }

    void act(const Text& name, const Text& key, bool canFail) {
        Model::Session& session = model_.sessions[name];
        if (!session.exists) {
            create(name);
            return;
        }
        Live& live = live_[name];
        if (!session.connected) {
            VARIANT_BOOL connected = VARIANT_FALSE;
            EXPECT_EQ(live.callback->Connect(&connected), S_OK);
            EXPECT_EQ(connected, VARIANT_TRUE);
            session.connected = true;
            return;
        }
        const auto buffer = session.buffers.find(key);
        const bool hasBuffer = buffer != session.buffers.end();
        const long attribute = static_cast<long>(1 + draw(5));
        const Text value(draw(6), static_cast<wchar_t>(L'a' + draw(26)));
        const Text id = kIds[draw(kIds.size())];
        switch (draw(hasBuffer ? 13 : 5)) {
            case 0:
                if (draw(10) == 0) {
                    EXPECT_EQ(live.callback->Disconnect(), S_OK);
                    session.connected = false;
                    session.buffers.clear();
                } else if (draw(10) == 0) {
                    remove(name);
                }
                return;
            case 1:
                EXPECT_EQ(base_->SetKeyFieldSession(Str(key), Str(name)), S_OK);
                model_.ties[key] = name;
                checkTies();
                return;
            case 2:
                if (draw(5) == 0) {
                    EXPECT_EQ(base_->RemoveFieldCallBack(Str(key)), S_OK);
                    model_.ties.erase(key);
                    // Its record goes with it wherever the key field was tied to the session.
                    forget(key);
                }
                return;
            case 3:
            case 4:
                EXPECT_EQ(live.tools->mvRead(Str(key), Str(id), Str(L"CUST")), S_OK);
                session.buffers[key] = Split(model_.database[id]);
                break;
            case 5:
                EXPECT_EQ(live.tools->mvWrite(Str(key), Str(id), nullptr), S_OK);
                model_.database[id] = Joined(buffer->second);
                break;
            case 6:
            case 7:
                EXPECT_EQ(live.tools->Replace(Str(key), Str(value), attribute, 0, 0), S_OK);
                replace(buffer->second, attribute, value);
                break;
            case 8:
                EXPECT_EQ(live.tools->Insert(Str(key), Str(value), attribute, 0, 0), S_OK);
                insert(buffer->second, attribute, value);
                break;
            case 9:
                EXPECT_EQ(live.tools->Delete(Str(key), attribute, 0, 0), S_OK);
                if (attribute <= static_cast<long>(buffer->second.size())) {
                    buffer->second.erase(buffer->second.begin() + attribute - 1);
                }
                break;
            case 10:
                if (canFail) {
                    // A failing back-end leaves the buffer as it was.
                    backend.fail(
                        draw(2) == 0 ? Member::kReplace : Member::kWrite, SampleFailure(), kOnce);
                    live.tools->Replace(Str(key), Str(value), attribute, 0, 0);
                    live.tools->mvWrite(Str(key), Str(id), nullptr);
                    resynchronize(session, live, key, id);
                }
                break;
            case 11:
                EXPECT_EQ(live.tools->mvRelease(Str(key)), S_OK);
                break;
            default:
                checkEvery(name);
        }
        checkBuffer(session, live, key);
    }

    static void replace(Record& record, long attribute, const Text& value) {
        if (record.size() < static_cast<std::size_t>(attribute)) {
            record.resize(static_cast<std::size_t>(attribute));
        }
        record[static_cast<std::size_t>(attribute) - 1] = value;
    }
    static void insert(Record& record, long attribute, const Text& value) {
        if (static_cast<std::size_t>(attribute) > record.size()) {
            replace(record, attribute, value);
        } else {
            record.insert(record.begin() + attribute - 1, value);
        }
    }

    // After a failure: one of the two calls did its work, the other nothing at all.
    void resynchronize(Model::Session& session, Live& live, const Text& key, const Text& id) {
        const Text now = whole(live, key);
        const Text written = backend.record(L"CUST", id).value_or(L"");
        EXPECT_TRUE(written == now || written == model_.database[id]);
        session.buffers[key] = Split(now);
        model_.database[id] = written;
    }

    static Text whole(Live& live, const Text& key) {
        Bstr text;
        EXPECT_EQ(live.tools->Extract(Str(key), 0, 0, 0, text.put()), S_OK);
        return Text(text.view());
    }

    void checkBuffer(Model::Session& session, Live& live, const Text& key) const {
        const auto buffer = session.buffers.find(key);
        if (buffer != session.buffers.end()) {
            // An empty last attribute reads like none.
            EXPECT_EQ(whole(live, key), Joined(buffer->second));
        }
    }
    void checkEvery(const Text& name) {
        for (const auto& [key, record] : model_.sessions[name].buffers) {
            checkBuffer(model_.sessions[name], live_[name], key);
        }
    }
    void checkTies() const {
        for (const auto& [key, name] : model_.ties) {
            ComPtr<_kelFieldCallBack> field;
            Bstr session;
            EXPECT_EQ(base_->GetFieldCallBack(Str(key), field.put()), S_OK);
            EXPECT_EQ(field->get_SessionName(session.put()), S_OK);
            EXPECT_EQ(Text(session.view()), name);
        }
    }
    void forget(const Text& key) {
        for (auto& [name, session] : model_.sessions) {
            session.buffers.erase(key);
        }
    }

    unsigned seed_ = 0;
    std::mt19937 random_;
    std::map<Text, Text> settings_;
    ComPtr<_kelBase> base_;
    std::map<Text, Live> live_;
    Model model_;
};

TEST_F(StateMachine, AgreesWithTheModelOverTheTestBackEnd) {
    constexpr int kSteps = 30000;
    backend.createFile(L"CUST");
    run({{L"OsType", L"99"}}, kSteps, true);
}

TEST_F(StateMachine, AgreesWithTheModelOverTheEmbeddedBackEnd) {
    constexpr int kSteps = 10000;
    const TempFolder folder;
    const std::map<Text, Text> settings = {
        {L"OsType", L"1"}, {L"Database", folder / L"account"}, {L"Durability", L"Off"}};
    const Dispatch host = Dispatch::Create(L"kelos1.IHostDLL");
    for (const auto& [name, text] : settings) {
        if (name != L"OsType") {
            EXPECT_TRUE(host.put(L"PropertyValue", {name, text}).ok());
        }
    }
    EXPECT_TRUE(host.call(L"Connect").ok());
    Bstr capture;
    Bstr codes;
    EXPECT_TRUE(host.call(L"Execute", {L"CREATE-FILE CUST", ByRef(capture), ByRef(codes)}).ok());
    EXPECT_EQ(Text(codes.view()), L"417");
    EXPECT_TRUE(host.call(L"Disconnect").ok());
    run(settings, kSteps, false);
}

}  // namespace
}  // namespace kel::tests
