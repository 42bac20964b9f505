// Steps about the root object, sessions and connections.
#include <algorithm>

#include "apps/demo/steps.h"

namespace kel::demo {
namespace {

constexpr const wchar_t* kOtherSession = L"Elsewhere";

// Answers that do not lead to a connection, and the reason the client is given.
struct WrongAnswer {
    const wchar_t* property;
    const wchar_t* answer;
    const wchar_t* reason;
};

constexpr WrongAnswer kWrongAnswers[] = {
    {L"OsType",
     L"",
     L"Connection Configuration Error: -2147221503 (kelSDK::Connect::kelDBMS::Connection) No OS "
     L"Type has been assigned."},
    {L"OsType",
     L"77",
     L"Connection Configuration Error: Do not have a valid DLL for OS Type 77.  Unable to Create "
     L"Object."},
};

}  // namespace

void CreateTheRoot(Report& report, const Base& base) {
    report.Step(L"The root object");
    report.Say(
        L"A program begins by creating one object, kelSDK.kelBase. Everything else is asked of it: "
        L"sessions, key fields, and what ties them together.");
    report.Result(L"base.Version()", base.Version(), L"1.0.134");
}

void TieTheKeyField(Report& report, const Base& base) {
    report.Step(L"A session and a key field");
    report.Say(
        L"A session is a named connection to a database, a key field a named record buffer. The "
        L"callback of a key field says 3 while the field belongs to no session, 2 once it does. "
        L"Names ignore case, so every part of a program that says Country means the same buffer.");
    report.Done(L"base.GetSessionCallBack(\"Atlas\")");
    const Session session = base.GetSessionCallBack(kSession);
    report.Result(L"session.SessionName", session.SessionName(), kSession);
    report.Result(L"session.IsConnected", session.IsConnected(), false);

    report.Done(L"base.GetFieldCallBack(\"Country\")");
    const Field field = base.GetFieldCallBack(kCountry);
    report.Result(L"field.IsInitalized", static_cast<int>(field.IsInitalized()), int{fcbInvalid});
    report.Done(L"base.SetKeyFieldSession(\"Country\", \"Atlas\")");
    base.SetKeyFieldSession(kCountry, kSession);
    report.Done(L"base.SetKeyFieldFileName(\"Country\", \"COUNTRIES\")");
    base.SetKeyFieldFileName(kCountry, kCountries);
    report.Result(L"field.IsInitalized", static_cast<int>(field.IsInitalized()), int{fcbValid});
    report.Result(L"base.GetFieldCallBack(\"COUNTRY\").SessionName",
                  base.GetFieldCallBack(L"COUNTRY").SessionName(),
                  kSession);
}

void ConnectTheSession(Report& report, const Form& form) {
    report.Step(L"Connecting");
    report.Say(
        L"The form is open: a name box and a list of subdivisions both listen to the key field "
        L"Country. Connecting asks the client, through the event PropertyValue, which kind of "
        L"database is meant (OsType 1 is the embedded one) and for every property that kind has. "
        L"Then the session says Connection, and every control of the session Connected.");
    report.Done(L"session.OsType = 1   (checks that a back-end is there)");
    form.session().OsType(1);
    const bool connected = form.session().Connect();
    report.Result(L"session.Connect()", connected, true);

    std::vector<Text> asked;
    for (const auto& [property, answer] : form.sessionListener().TakeAsked()) {
        report.Note(L"  PropertyValue " + Printable(property) + L", answered " + Printable(answer));
        asked.push_back(property);
    }
    report.Verify(L"OsType is the first property asked for",
                  !asked.empty() && asked.front() == L"OsType");
    report.Verify(L"Database is asked for",
                  std::find(asked.begin(), asked.end(), L"Database") != asked.end());
    if (!connected) {
        report.Note(L"the reason: " + form.sessionListener().failure());
    }
    report.Events(form.log(),
                  {{kSession, L"Connection"}, {kNameBox, L"Connected"}, {kList, L"Connected"}});

    report.Result(L"session.OsType", form.session().OsType(), 1);
    report.Result(L"session.Connect() once more", form.session().Connect(), true);
    report.Events(form.log(), {});
}

void FailToConnect(Report& report, const Form& form) {
    report.Step(L"Connections and calls that fail");
    report.Say(
        L"A failed attempt raises no error: Connect answers False, and the event ConnectionFailed "
        L"carries the reason. The client corrects its answer and connects again. Members that need "
        L"what is not there do raise errors, with number and text.");
    Tools orphan = form.tools();
    {
        const Session session = form.base().GetSessionCallBack(kOtherSession);
        orphan = session.Tools();
        SessionListener listener(
            form.log(), kOtherSession, session, EmbeddedAccount(form.accountPath()));

        report.Fails(
            L"session.OsType = 77",
            [&] { session.OsType(77); },
            static_cast<long>(0x80040003L),
            L"Unable to find a registered DLL version 2 or above for OsType 77");
        for (const WrongAnswer& wrong : kWrongAnswers) {
            listener.Answer(wrong.property, wrong.answer);
            report.Result(
                L"session.Connect() with " + Text(wrong.property) + L" " + Printable(wrong.answer),
                session.Connect(),
                false);
            report.Events(form.log(), {{kOtherSession, L"ConnectionFailed"}});
            report.Result(L"the reason", listener.failure(), wrong.reason);
        }

        listener.Answer(L"OsType", L"1");
        listener.Answer(L"Database", form.accountPath() + L".d\\no such folder\\account");
        report.Result(
            L"session.Connect() with a Database that cannot be", session.Connect(), false);
        report.Events(form.log(), {{kOtherSession, L"ConnectionFailed"}});
        report.Note(L"the reason: " + Printable(listener.failure()));
        report.Verify(L"the reason names the path",
                      listener.failure().starts_with(L"Connection Error: ") &&
                          listener.failure().find(L"no such folder") != Text::npos);
        report.Result(L"session.ConnectionFailed", session.ConnectionFailed(), true);

        listener.Answer(L"Database", form.accountPath());
        report.Result(L"session.Connect() with the right answers", session.Connect(), true);
        report.Events(form.log(), {{kOtherSession, L"Connection"}});

        report.Fails(
            L"tools.Extract with no key field",
            [&] { orphan.Extract(L"", 1); },
            static_cast<long>(0x80040001L),
            L"No Key Id");
        form.base().RemoveSessionCallback(kOtherSession);
    }
    report.Events(form.log(), {});
    report.Fails(
        L"tools.Extract after the session has ended",
        [&] { orphan.Extract(kCountry, 1); },
        NotConnected,
        L"Currently not connected");
}

void DisconnectTheSession(Report& report, const Form& form) {
    report.Step(L"Disconnecting");
    report.Say(
        L"Disconnect closes the files, gives up the locks and tells everybody. The record buffers "
        L"are gone, so values read as empty.");
    report.Done(L"session.Disconnect()");
    form.session().Disconnect();
    report.Events(
        form.log(),
        {{kSession, L"Disconnect"}, {kNameBox, L"Disconnected"}, {kList, L"Disconnected"}});
    report.Result(L"session.IsConnected", form.session().IsConnected(), false);
    report.Result(L"tools.Extract(\"Country\", 1)", form.tools().Extract(kCountry, 1), L"");

    const Field field = form.base().GetFieldCallBack(kCountry);
    for (const wchar_t* keyField : {kCountry, kCurrency}) {
        report.Done(L"base.RemoveFieldCallBack(" + Printable(keyField) + L")");
        form.base().RemoveFieldCallBack(keyField);
    }
    report.Result(L"field.IsInitalized", static_cast<int>(field.IsInitalized()), int{fcbDestoried});
    report.Result(L"base.GetKeyFieldList()", form.base().GetKeyFieldList(), std::vector<Text>());
}

}  // namespace kel::demo
