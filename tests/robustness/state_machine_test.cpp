// Random sequences of what clients do, over two back-ends, held against a simple model of what must
// come of them. A difference prints the seed and the step; the same seed does the same again.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
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
    struct Buffer {
        Record record;
        bool isNew = false;
        bool isChanged = false;
    };
    struct Session {
        bool exists = false;
        bool connected = false;
        std::map<Text, Buffer> buffers;  // by key field, as far as one was read
    };
    std::map<Text, Session> sessions;
    std::map<Text, Text> database;
    std::map<Text, Text> ties;  // key field to session
};

class StateMachine : public ComponentTest {
protected:
    // `settings` answer for the connection properties.
    void run(const std::map<Text, Text>& settings, int steps, bool canFail) {
        const char* const given = std::getenv("KEL_SEED");  // to do a failed run again
        seed_ = given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10))
                                 : std::random_device()();
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
                    // Drops every buffer of the session, whatever its key field is tied to.
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
                }
                return;
            case 3:
            case 4:
                EXPECT_EQ(live.tools->mvRead(Str(key), Str(id), Str(L"CUST")), S_OK);
                read(session.buffers[key], id);
                break;
            case 5:
                EXPECT_EQ(live.tools->mvWrite(Str(key), Str(id), nullptr), S_OK);
                model_.database[id] = Joined(buffer->second.record);
                break;
            case 6:
            case 7:
                EXPECT_EQ(live.tools->Replace(Str(key), Str(value), attribute, 0, 0), S_OK);
                replace(buffer->second.record, attribute, value);
                buffer->second.isChanged = true;
                break;
            case 8:
                EXPECT_EQ(live.tools->Insert(Str(key), Str(value), attribute, 0, 0), S_OK);
                insert(buffer->second.record, attribute, value);
                buffer->second.isChanged = true;
                break;
            case 9:
                EXPECT_EQ(live.tools->Delete(Str(key), attribute, 0, 0), S_OK);
                erase(buffer->second.record, attribute);
                buffer->second.isChanged = true;
                break;
            case 10:
                if (canFail) {
                    failOne(live, buffer->second, key, id, attribute, value);
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

    // A record that the user has begun to type as a new one survives the read of a missing one.
    void read(Model::Buffer& buffer, const Text& id) {
        const auto found = model_.database.find(id);
        if (found != model_.database.end()) {
            buffer = {Split(found->second), false, false};
        } else if (!buffer.isNew || !buffer.isChanged) {
            buffer = {{}, true, false};
        }
    }
    static void erase(Record& record, long attribute) {
        if (attribute <= static_cast<long>(record.size())) {
            record.erase(record.begin() + attribute - 1);
        }
    }
    static void replace(Record& record, long attribute, const Text& value) {
        if (record.size() < static_cast<std::size_t>(attribute)) {
            record.resize(static_cast<std::size_t>(attribute));
        }
        record[static_cast<std::size_t>(attribute) - 1] = value;
    }
    static void insert(Record& record, long attribute, const Text& value) {
        // An empty last attribute is filled, not moved up.
        const auto at = static_cast<std::size_t>(attribute);
        if (at > record.size() || (at == record.size() && record.back().empty())) {
            replace(record, attribute, value);
        } else {
            record.insert(record.begin() + attribute - 1, value);
        }
    }

    // Either the edit or the write fails in the back-end: the other does its work, the failed one
    // nothing at all.
    void failOne(Live& live,
                 Model::Buffer& buffer,
                 const Text& key,
                 const Text& id,
                 long attribute,
                 const Text& value) {
        const bool editFails = draw(2) == 0;
        backend.fail(editFails ? Member::kReplace : Member::kWrite, SampleFailure(), kOnce);
        EXPECT_EQ(SUCCEEDED(live.tools->Replace(Str(key), Str(value), attribute, 0, 0)),
                  !editFails);
        EXPECT_EQ(SUCCEEDED(live.tools->mvWrite(Str(key), Str(id), nullptr)), editFails);
        if (editFails) {
            model_.database[id] = Joined(buffer.record);
        } else {
            replace(buffer.record, attribute, value);
            buffer.isChanged = true;
        }
    }

    static Text whole(Live& live, const Text& key) {
        Bstr text;
        EXPECT_EQ(live.tools->Extract(Str(key), 0, 0, 0, text.put()), S_OK);
        return Text(text.view());
    }

    void checkBuffer(Model::Session& session, Live& live, const Text& key) const {
        const auto buffer = session.buffers.find(key);
        if (buffer != session.buffers.end()) {
            EXPECT_EQ(whole(live, key), Joined(buffer->second.record));
        }
    }
    void checkEvery(const Text& name) {
        for (const auto& [key, buffer] : model_.sessions[name].buffers) {
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
