// A session with key fields on the test back-end.
#pragma once

#include <map>

#include "tests/registry/component.h"

namespace kel::tests {

// A dictionary item for one call; more of it is set in its `definition`.
ComPtr<client::DictItem> Item(TextView keyField, long amc = 0, long vmc = 0, long smc = 0);

// Puts a text into an argument of a stored program.
void Leave(VARIANT* argument, TextView text);

// The error of a member that was not given a key field.
ErrorFields NoKeyId(TextView source);

inline const ErrorFields kNoBackend = {
    91, L"kelSDK", L"Object variable or With block variable not set"};

// Every test begins with the session "Main", whose listener answers for a back-end of the kind 99,
// and without any key field. Listeners write into one list, each line behind the listener's name:
// "Cust: Clear()".
class SessionTest : public ComponentTest {
protected:
    SessionTest() { open(); }
    void TearDown() override {
        letGo();
        ComponentTest::TearDown();
    }

    void open();
    void letGo();
    // The same once more, in a new apartment and with an empty back-end.
    void reopen() {
        letGo();
        RestartApartment();
        backend.reset();
        open();
    }

    bool connect() const { return call(L"Connect").text() == L"True"; }
    // A registered key field with a listener, tied to a file and a session.
    void addField(const Text& keyField, TextView file = L"CUST", TextView session = L"Main");
    EventRecorder& listener(const Text& keyField) { return *fields[keyField].listening.sink; }
    // The control that key field "Cust" refreshes while the variable lives; L"none" before.
    void noteControl(Text& control) {
        control = L"none";
        listener(L"Cust").onEvent([this, &control](Event&) {
            control = automation::GetText(*fields[L"Cust"].callback,
                                          &_kelFieldCallBack::get_RefreshControlName);
        });
    }
    // With key field "Cust" and record 17 of file CUST in its buffer, nothing recorded.
    void connectAndRead(TextView text = L"Smith");

    Outcome call(TextView member, const Arguments& arguments = {}) const {
        return Dispatch(engine.get()).call(member, arguments);
    }
    Outcome get(TextView member, const Arguments& arguments = {}) const {
        return Dispatch(engine.get()).get(member, arguments);
    }
    Lines takeEvents() { return std::exchange(events, {}); }

    // R, N and C for IsRead, IsNew and IsChanged.
    static void setFlags(_kelInfo& state, TextView flags);
    // What the engine knows of a key field's record. Makes a state where there is none.
    ComPtr<_kelInfo> info(TextView keyField = L"Cust") const;
    // The same as a line, "Smith|17|CUST|RNC|0": buffer, id, file, IsRead, IsNew and IsChanged ("-"
    // when not so), ReadType.
    Text record(TextView keyField = L"Cust") const { return recordLine(*info(keyField)); }
    Text recordLine(_kelInfo& state) const;

    // Whatever has come before, a client that takes the session and key field "Cust" anew connects,
    // reads record 17 of file CUST, changes and writes it. Ends disconnected.
    void expectWorks();

    struct Field {
        ComPtr<_kelFieldCallBack> callback;
        Listening listening;
    };
    ComPtr<_kelBase> base;
    ComPtr<_kelSessionCallBack> main;
    Listening session;
    ComPtr<_kelDBMS> engine;
    std::map<Text, Field> fields;
    Lines events;
};

}  // namespace kel::tests
