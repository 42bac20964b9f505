// Calls of stored programs: what they are given, what comes back, how they fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "tests/engine/message_box.h"
#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class HostCalls : public SessionTest {
protected:
    // A program that leaves texts in its arguments.
    void program(std::vector<std::pair<int, Text>> left) {
        backend.putProgram(L"PROG", [left](VARIANT* const* arguments) {
            for (const auto& [index, text] : left) {
                Leave(arguments[index], text);
            }
        });
    }
    Text callOf(Member member) const {
        for (const RecordedCall& one : backend.calls()) {
            if (one.member == member) {
                return one.text;
            }
        }
        return {};
    }
    Outcome callHost(TextView name, bool four, Bstr& value, Variant& extra) const {
        return call(L"CallHost", {Item(L"Cust").get(), name, ByRef(extra), ByRef(value), four});
    }
    Outcome callCommon(client::DictItem& item,
                       const wchar_t* progSpec,
                       const wchar_t* type,
                       Bstr& value) const {
        return call(L"CallCommonHost", {progSpec, type, ByRef(value), L"Main", &item});
    }

    // As typed callers do: program P, with what is not given as null.
    HRESULT callProgram(std::initializer_list<VARIANT*> given) const {
        std::array<VARIANT*, 12> all{};
        std::copy(given.begin(), given.end(), all.begin());
        return std::apply(
            [&](auto*... each) { return engine->CallHostProgram(Str(L"P"), each...); }, all);
    }

    MessageBoxRecorder boxes;
};

TEST_F(HostCalls, PassArgumentsUpToTheFirstMissingOne) {
    ASSERT_TRUE(connect());
    backend.putProgram(L"P", [](VARIANT* const*) {});
    const Argument missing = Variant::Missing();
    // By reference, as script clients pass their variables.
    Variant empty = Value(L"");
    struct Case {
        Arguments arguments;
        const wchar_t* call;
    };
    const Case cases[] = {
        {{L"P"}, L"CallHost(P)"},
        {{L"P", 1}, L"CallHost(P,1)"},
        {{L"P", missing, 2}, L"CallHost(P)"},
        {{L"P", 1, missing, 3}, L"CallHost(P,1)"},
        {{L"P", ByRef(empty), ByRef(empty), missing}, L"CallHost(P,,)"},
        {{L"P", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, L"CallHost(P,1,2,3,4,5,6,7,8,9,10,11,12)"},
        {{L"P", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, missing, 12}, L"CallHost(P,1,2,3,4,5,6,7,8,9,10)"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(call(L"CallHostProgram", one.arguments).error, ErrorFields{});
        EXPECT_EQ(backend.calls().back().text, one.call);
    }
    EXPECT_EQ(call(L"CallHostProgram", {L"NONE"}).error,
              (ErrorFields{53, L"kelos99", L"No program NONE"}));
    EXPECT_EQ(boxes.take(), Lines{}) << "these failures are the caller's";
}

TEST_F(HostCalls, WorkOnTheRecordInTheBuffer) {
    struct Case {
        bool four;
        std::vector<std::pair<int, Text>> left;
        const wchar_t* value;
        const wchar_t* extra;
        const wchar_t* record;  // its text and id
        bool refreshes;
    };
    const Case cases[] = {
        {true,
         {{0, L"18"}, {1, L"Jones"}, {2, L"0"}, {3, L"out"}},
         L"out",
         L"x",
         L"Jones|18",
         false},
        {false,
         {{0, L"18"}, {2, L"changed"}, {3, L"1"}, {4, L"out"}},
         L"out",
         L"changed",
         L"Smith|18",
         false},
        // Code 2 takes the value away and shows the record.
        {true, {{2, L"2"}, {3, L"out"}}, L"", L"x", L"Smith|17", true},
        {false, {{1, L"Jones"}, {3, L"2"}}, L"", L"x", L"Jones|17", true},
        {true, {{2, L"1"}}, L"in", L"x", L"Smith|17", false},
        {true, {{2, L"22"}}, L"in", L"x", L"Smith|17", false},
        {true, {{0, L""}, {1, L""}}, L"in", L"x", L"|", false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        connectAndRead();
        program(one.left);
        Text control;
        noteControl(control);
        Bstr value(L"in");
        Variant extra = Value(L"x");
        EXPECT_EQ(callHost(L"PROG", one.four, value, extra).error, ErrorFields{});
        EXPECT_EQ(callOf(Member::kCallHost),
                  one.four ? L"CallHost(PROG,17,Smith,,in)" : L"CallHost(PROG,17,Smith,x,,in)");
        EXPECT_EQ(value.view(), one.value);
        EXPECT_EQ(Shown(extra.get()), one.extra);
        EXPECT_EQ(record(), Text(one.record) + L"|CUST|R--|0");
        EXPECT_EQ(control, one.refreshes ? L"" : L"none");
        EXPECT_EQ(takeEvents(), one.refreshes ? Lines{L"Cust: Refresh(0,0,0)"} : Lines{});
        reopen();
    }
    EXPECT_EQ(boxes.take(), Lines{});
}

TEST_F(HostCalls, ShowTheirFailuresToTheUser) {
    connectAndRead();
    const Text start = L"Calling Host Program: Calling Host Program: ";
    const auto box = [&](const wchar_t* program, const ErrorFields& error) {
        return Lines{start + program + L"\r\nSource: " + error.source + L"\r\nError Number: " +
                     std::to_wstring(error.number) + L"\r\nDescription: " + error.description};
    };
    Variant extra = Value(L"x");
    Bstr value(L"in");
    EXPECT_EQ(callHost(L"NONE", true, value, extra).error, ErrorFields{});
    EXPECT_EQ(boxes.take(), box(L"NONE", {53, L"kelos99", L"No program NONE"}));
    EXPECT_EQ(callHost(TextView(L"N\0NE", 4), true, value, extra).error, ErrorFields{});
    EXPECT_EQ(boxes.take(), box(L"N\xFFFDNE", {53, L"kelos99", L"No program N NE"}))
        << "whole, whatever is in it";
    EXPECT_EQ(callHost(L"", true, value, extra).error, ErrorFields{});
    EXPECT_EQ(boxes.take(), Lines{}) << "no program, no call";
    EXPECT_EQ(call(L"CallHost", {Item(L"").get(), L"", ByRef(extra), ByRef(value), true}).error,
              ErrorFields{});
    EXPECT_EQ(boxes.take(), box(L"", NoKeyId(L"mvDBMS::CallHost")));
    call(L"Disconnect");
    EXPECT_EQ(callHost(L"PROG", true, value, extra).error, ErrorFields{});
    EXPECT_EQ(boxes.take().size(), 1U);
}

TEST_F(HostCalls, GetAParameterRecord) {
    struct Case {
        const wchar_t* control;
        const wchar_t* file;
        const wchar_t* message;
        const wchar_t* type;
        const wchar_t* parameters;  // marks written ^ ]
    };
    const Case cases[] = {
        {L"Name", L"", L"", L"D", L"D^2]1]3^cust^CUST^Main^^^^^"},
        {L"mvButton", L"", L"", L"B", L"B^0]0]0^cust^CUST^Main^^^^^"},
        {L"MVBUTTON", L"ITEM", L"ask", L"", L"^2]1]3^cust^ITEM^Main^^^^^ask"},
        // A mark in a text of the caller's would move the parts behind it.
        {L"Name",
         L"IT\xFE"
         L"EM",
         L"2\xFE"
         L"2",
         L"D\xFE"
         L"V",
         L"D V^2]1]3^cust^IT EM^Main^^^^^2 2"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        connectAndRead();
        program({{3, L"out"}});
        const auto item = Item(L"CUST", 2, 1, 3);
        item->definition.controlName = one.control;
        item->definition.fileName = one.file;
        item->definition.errMsg = one.message;
        Bstr value(L"in");
        EXPECT_EQ(callCommon(*item, L"C:PROG", one.type, value).error, ErrorFields{});
        EXPECT_EQ(callOf(Member::kCallHost),
                  L"CallHost(PROG,17,Smith," + Marked(one.parameters) + L",in)");
        EXPECT_EQ(value.view(), L"out");
        EXPECT_EQ(takeEvents(), Lines{});
        reopen();
    }
}

TEST_F(HostCalls, AnswerBehindTheNinthMark) {
    struct Case {
        const wchar_t* parameters;
        bool refreshes;
    };
    const Case cases[] = {
        {L"^^^^^^^^^2", true},
        {L"a^^^^b^^^^^2", true},
        {L"^^^^^^^^^1", false},
        {L"^^^^^^^^^2^", false},
        {L"^^^^^^^^2", false},
        {L"^^^^^^^^^^2", false},
        {L"2", false},
        {L"", false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.parameters));
        connectAndRead();
        program({{0, L"18"}, {1, L"Jones"}, {2, Marked(one.parameters)}, {3, L"out"}});
        Bstr value(L"in");
        EXPECT_EQ(callCommon(*Item(L"Cust", 1), L"C:PROG", L"V", value).error, ErrorFields{});
        EXPECT_EQ(record(), L"Jones|18|CUST|R--|0");
        EXPECT_EQ(value.view(), L"out") << "this form keeps the value, whatever the answer";
        EXPECT_EQ(takeEvents(), one.refreshes ? Lines{L"Cust: Refresh(0,0,0)"} : Lines{});
        reopen();
    }
}

TEST_F(HostCalls, ChooseTheirFormByNameAndKind) {
    struct Case {
        const wchar_t* progSpec;
        const wchar_t* type;
        const wchar_t* call;  // "" for none
    };
    const Case cases[] = {
        {L"PROG", L"D", L"CallHost(PROG,17,Smith,,in)"},
        {L"PROG", L"D,V", L"CallHost(PROG,17,Smith,D,V,,in)"},
        {L"PROG", L"x d,v y", L"CallHost(PROG,17,Smith,x d,v y,,in)"},
        {L"PROG", L"V,D", L"CallHost(PROG,17,Smith,,in)"},
        {L"c:PROG", L"D", L"CallHost(c:PROG,17,Smith,,in)"},
        {L"", L"D", L""},
    };
    connectAndRead();
    backend.instead(Member::kCallHost, [] {});
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.progSpec));
        backend.clearCalls();
        Bstr value(L"in");
        EXPECT_EQ(callCommon(*Item(L"Cust", 1), one.progSpec, one.type, value).error,
                  ErrorFields{});
        EXPECT_EQ(callOf(Member::kCallHost), one.call);
    }
    EXPECT_EQ(boxes.take(), Lines{});
}

TEST_F(HostCalls, MakeTheRecordStateThatTheyWorkOn) {
    enum class Form { kFour, kFive, kCommon };
    program({{0, L"18"}, {1, L"Jones"}});
    for (const Form form : {Form::kFour, Form::kFive, Form::kCommon}) {
        // A button's program may be the first to use a key field, or the first that does since the
        // session is connected.
        for (const bool isKnown : {false, true}) {
            SCOPED_TRACE(static_cast<int>(form));
            SCOPED_TRACE(isKnown);
            if (isKnown) {
                EXPECT_EQ(record(), L"Nothing|||---|0");
            }
            ASSERT_TRUE(connect());
            backend.clearCalls();
            Bstr value(L"in");
            Variant extra = Value(L"x");
            EXPECT_EQ((form == Form::kCommon ? callCommon(*Item(L"Cust"), L"C:PROG", L"B", value)
                                             : callHost(L"PROG", form == Form::kFour, value, extra))
                          .error,
                      ErrorFields{});
            EXPECT_TRUE(callOf(Member::kCallHost).starts_with(L"CallHost(PROG,,,"));
            EXPECT_EQ(record(), L"Jones|18||---|0");
            reopen();
            program({{0, L"18"}, {1, L"Jones"}});
        }
    }
    EXPECT_EQ(boxes.take(), Lines{});
}

// Null, and what has no text, as programs leave them.
TEST_F(HostCalls, TakeEveryTextThatAProgramLeft) {
    const auto null = [](VARIANT* argument) {
        VariantClear(argument);
        V_VT(argument) = VT_NULL;
    };
    const auto array = [](VARIANT* argument) {
        VariantClear(argument);
        V_ARRAY(argument) = SafeArrayCreateVector(VT_I4, 0, 1);
        V_VT(argument) = VT_ARRAY | VT_I4;
    };
    const auto object = [this](VARIANT* argument) {
        VariantClear(argument);
        *argument = Variant(static_cast<IDispatch*>(base.get())).detach();
    };
    struct Case {
        const char* name;
        std::function<void(VARIANT*)> leave;
        int argument;
        const wchar_t* record;
        const wchar_t* value;
        bool refreshes;
        bool fails;
    };
    const Case cases[] = {
        {"null as id", null, 0, L"Jones|", L"out", true, false},
        {"null as record", null, 1, L"|18", L"out", true, false},
        {"null as parameters", null, 2, L"Jones|18", L"out", false, false},
        {"null as value", null, 3, L"Jones|18", L"", true, false},
        {"an array as id", array, 0, L"Jones|17", L"out", true, true},
        {"an object as record", object, 1, L"Smith|18", L"out", true, true},
        {"an array as parameters", array, 2, L"Jones|18", L"out", false, true},
        {"an object as value", object, 3, L"Jones|18", L"in", true, true},
    };
    for (const Case& one : cases) {
        for (const bool isCommon : {true, false}) {
            SCOPED_TRACE(std::string(one.name) + (isCommon ? ", C:" : ", four arguments"));
            connectAndRead();
            backend.putProgram(L"PROG", [&](VARIANT* const* arguments) {
                Leave(arguments[0], L"18");
                Leave(arguments[1], L"Jones");
                Leave(arguments[2], isCommon ? Marked(L"^^^^^^^^^2") : Text(L"2"));
                Leave(arguments[3], L"out");
                one.leave(arguments[one.argument]);
            });
            Bstr value(L"in");
            Variant extra;
            const Outcome outcome = isCommon ? callCommon(*Item(L"Cust"), L"C:PROG", L"V", value)
                                             : callHost(L"PROG", true, value, extra);
            EXPECT_EQ(outcome.error.number, one.fails && isCommon ? automation::kTypeMismatch : 0);
            EXPECT_EQ(boxes.take().size(), one.fails && !isCommon ? 1U : 0U);
            EXPECT_EQ(record(), Text(one.record) + L"|CUST|R--|0");
            // The other form takes the value away when it shows the record again.
            EXPECT_EQ(value.view(), one.refreshes && !isCommon ? L"" : one.value);
            EXPECT_EQ(takeEvents(), one.refreshes ? Lines{L"Cust: Refresh(0,0,0)"} : Lines{});
            reopen();
        }
    }
}

TEST_F(HostCalls, FollowAnAnswerOnceWhileTheirControlsShowTheRecord) {
    connectAndRead();
    addField(L"Other");
    program({{2, Marked(L"^^^^^^^^^2")}});
    const auto run = [this](const wchar_t* keyField) {
        Bstr value;
        EXPECT_EQ(callCommon(*Item(keyField, 1), L"C:PROG", L"D", value).error, ErrorFields{});
    };
    // The controls of each key field show what the other one's program computes.
    int shown = 0;
    const auto showing = [&](const wchar_t* keyField) {
        return [&, keyField](Event&) {
            ASSERT_LT(++shown, 20);
            run(keyField);
        };
    };
    listener(L"Cust").onEvent(showing(L"Cust"));
    run(L"Cust");
    EXPECT_EQ(takeEvents(), Lines{L"Cust: Refresh(0,0,0)"});
    listener(L"Cust").onEvent(showing(L"Other"));
    listener(L"Other").onEvent(showing(L"Cust"));
    run(L"Cust");
    EXPECT_EQ(takeEvents(), (Lines{L"Cust: Refresh(0,0,0)", L"Other: Refresh(0,0,0)"}));
    // When it is over, and after a change, an answer counts again.
    listener(L"Cust").onEvent([](Event&) {});
    run(L"Cust");
    listener(L"Cust").onEvent([&](Event& event) {
        if (event.line() == L"Refresh(1,0,0)") {
            run(L"Cust");
        }
    });
    EXPECT_TRUE(call(L"Replace", {L"x", Item(L"Cust", 1).get()}).ok());
    EXPECT_EQ(takeEvents(),
              (Lines{L"Cust: Refresh(0,0,0)", L"Cust: Refresh(1,0,0)", L"Cust: Refresh(0,0,0)"}));
}

TEST_F(HostCalls, GiveResultsToTheVariablesBehindReferences) {
    ASSERT_TRUE(connect());
    const Program leaves = [](VARIANT* const* arguments) {
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(V_VT(arguments[i]) & VT_BYREF, 0) << i << ": back-ends get plain values";
        }
        Leave(arguments[0], L"7");
        Leave(arguments[1], L"left");
        Leave(arguments[2], L"True");
        Leave(arguments[3], L"1,5");
        Leave(arguments[4], L"deep");
    };
    struct Case {
        const char* name;
        Program program;
        HRESULT code;
        long number;
        const wchar_t* text;
        const wchar_t* deep;
    };
    const Case cases[] = {
        {"all fit", leaves, S_OK, 7, L"left", L"deep"},
        {"the first does not",
         [&](VARIANT* const* arguments) {
             leaves(arguments);
             Leave(arguments[0], L"seven");
         },
         automation::CodeOfNumber(automation::kTypeMismatch),
         1,
         L"left",
         L"deep"},
        {"Null",
         [&](VARIANT* const* arguments) {
             leaves(arguments);
             VariantClear(arguments[1]);
             V_VT(arguments[1]) = VT_NULL;
         },
         S_OK,
         7,
         L"",
         L"deep"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        backend.putProgram(L"P", one.program);
        long number = 1;
        Bstr text(L"before");
        VARIANT_BOOL flag = VARIANT_FALSE;
        Variant plain = Value(L"before");
        Variant inner = Value(L"before");
        Variant first = ByRef(&number);
        Variant second = ByRef(text);
        Variant third = ByRef(VT_BOOL, &flag);
        Variant fifth = ByRef(inner);
        Variant missing = Variant::Missing();
        Variant none = ByRef(missing);
        VARIANT* const behind = none.inOut();
        EXPECT_EQ(callProgram({first.inOut(),
                               second.inOut(),
                               third.inOut(),
                               plain.inOut(),
                               fifth.inOut(),
                               behind,
                               behind}),
                  one.code);
        EXPECT_EQ(backend.calls().back().text, L"CallHost(P,1,before,False,before,before)");
        EXPECT_EQ(number, one.number);
        EXPECT_EQ(text.view(), one.text);
        EXPECT_EQ(flag, VARIANT_TRUE);
        EXPECT_EQ(Shown(plain.get()), L"1,5");
        EXPECT_EQ(Shown(inner.get()), one.deep);
        EXPECT_EQ(V_VT(&first.get()), VT_BYREF | VT_I4) << "the references themselves stay";
        EXPECT_EQ(V_VT(&second.get()), VT_BYREF | VT_BSTR);
    }
    // A program that fails has left what it left; a reference to nothing is refused.
    backend.putProgram(L"P", leaves);
    backend.fail(Member::kCallHost, Late(SampleFailure()));
    long number = 1;
    Variant first = ByRef(&number);
    Variant second;
    VARIANT* const unused = second.inOut();
    EXPECT_EQ(ErrorOf(callProgram({first.inOut(), unused, unused, unused, unused})),
              SampleFailure());
    EXPECT_EQ(number, 7);
    backend.clearCalls();
    EXPECT_EQ(call(L"CallHostProgram", {L"P", ByRef(VT_BSTR, nullptr)}).ok(), false);
    Variant nowhere = ByRef(VT_BSTR, nullptr);
    EXPECT_EQ(callProgram({nowhere.inOut()}), automation::CodeOfNumber(automation::kTypeMismatch));
    EXPECT_EQ(backend.takeCalls(), Lines{});
}

TEST_F(HostCalls, RaiseFailuresOfTheSecondForm) {
    Bstr value(L"in");
    EXPECT_EQ(callCommon(*Item(L""), L"", L"D", value).error, NoKeyId(L"mvDBMS::mvCallCommonHost"));
    EXPECT_EQ(callCommon(*Item(L"Cust"), L"C:PROG", L"D", value).error, kNoBackend);
    connectAndRead();
    EXPECT_EQ(callCommon(*Item(L"Cust"), L"C:NONE", L"D", value).error,
              (ErrorFields{53, L"kelos99", L"No program NONE"}));
    EXPECT_EQ(callCommon(*Item(L"Cust", 40000), L"C:PROG", L"D", value).error.number, 6);
}

}  // namespace
}  // namespace kel::tests
