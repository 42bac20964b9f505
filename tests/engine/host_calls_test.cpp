// Calls of stored programs: what they are given, what comes back, how they fail.
#include <gtest/gtest.h>

#include "tests/engine/message_box.h"
#include "tests/engine/session.h"

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
    Text lastCall() const { return backend.calls().back().text; }
    Text callOf(Member member) const {
        for (const RecordedCall& one : backend.calls()) {
            if (one.member == member) {
                return one.text;
            }
        }
        return {};
    }
    Outcome callHost(const wchar_t* name, bool four, Bstr& value, Variant& extra) const {
        return call(L"CallHost", {Item(L"Cust").get(), name, ByRef(extra), ByRef(value), four});
    }
    Outcome callCommon(client::DictItem& item,
                       const wchar_t* progSpec,
                       const wchar_t* type,
                       Bstr& value) const {
        return call(L"CallCommonHost", {progSpec, type, ByRef(value), L"Main", &item});
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
        EXPECT_EQ(lastCall(), one.call);
    }
}

TEST_F(HostCalls, BringArgumentsBack) {
    ASSERT_TRUE(connect());
    program({{0, L"first"}, {1, L"second"}, {2, L"behind the missing one"}});
    Variant first = Value(L"a");
    Variant second;
    Variant last = Value(L"z");
    EXPECT_TRUE(call(L"CallHostProgram",
                     {L"PROG", ByRef(first), ByRef(second), Variant::Missing(), ByRef(last)})
                    .ok());
    EXPECT_EQ(Shown(first.get()), L"first");
    EXPECT_EQ(Shown(second.get()), L"second");
    EXPECT_EQ(Shown(last.get()), L"z");
    EXPECT_EQ(call(L"CallHostProgram", {L"NONE"}).error,
              (ErrorFields{53, L"kelos99", L"No program NONE"}));
    call(L"Disconnect");
    EXPECT_EQ(call(L"CallHostProgram", {L"PROG"}).error, kNoBackend);
    EXPECT_EQ(boxes.take(), Lines{}) << "these failures are the caller's";
}

TEST_F(HostCalls, WorkOnTheRecordInTheBuffer) {
    struct Case {
        const char* name;
        bool four;
        std::vector<std::pair<int, Text>> left;
        const wchar_t* call;
        const wchar_t* value;
        const wchar_t* extra;
        const wchar_t* record;
        Lines events;
    };
    const Case cases[] = {
        {"four arguments",
         true,
         {{0, L"18"}, {1, L"Jones"}, {2, L"0"}, {3, L"out"}},
         L"CallHost(PROG,17,Smith,,in)",
         L"out",
         L"x",
         L"Jones|18|CUST|R--|0",
         {}},
        {"five arguments",
         false,
         {{0, L"18"}, {1, L"Jones"}, {2, L"changed"}, {3, L"1"}, {4, L"out"}},
         L"CallHost(PROG,17,Smith,x,,in)",
         L"out",
         L"changed",
         L"Jones|18|CUST|R--|0",
         {}},
        {"code 2 of four",
         true,
         {{2, L"2"}, {3, L"out"}},
         L"CallHost(PROG,17,Smith,,in)",
         L"",
         L"x",
         L"Smith|17|CUST|R--|0",
         {L"Cust: Refresh(0,0,0)"}},
        {"code 2 of five",
         false,
         {{1, L"Jones"}, {3, L"2"}},
         L"CallHost(PROG,17,Smith,x,,in)",
         L"",
         L"x",
         L"Jones|17|CUST|R--|0",
         {L"Cust: Refresh(0,0,0)"}},
        {"code 1",
         true,
         {{2, L"1"}},
         L"CallHost(PROG,17,Smith,,in)",
         L"in",
         L"x",
         L"Smith|17|CUST|R--|0",
         {}},
        {"code 22",
         true,
         {{2, L"22"}},
         L"CallHost(PROG,17,Smith,,in)",
         L"in",
         L"x",
         L"Smith|17|CUST|R--|0",
         {}},
        {"the record emptied",
         true,
         {{0, L""}, {1, L""}},
         L"CallHost(PROG,17,Smith,,in)",
         L"in",
         L"x",
         L"||CUST|R--|0",
         {}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        connectAndRead();
        program(one.left);
        Text control = L"none";
        listener(L"Cust").onEvent([&](Event&) {
            control = automation::GetText(*fields[L"Cust"].callback,
                                          &_kelFieldCallBack::get_RefreshControlName);
        });
        Bstr value(L"in");
        Variant extra = Value(L"x");
        EXPECT_EQ(callHost(L"PROG", one.four, value, extra).error, ErrorFields{});
        EXPECT_EQ(callOf(Member::kCallHost), one.call);
        EXPECT_EQ(backend.takeCalls().back(),
                  L"Replace(array#2," + Text(one.record).substr(0, Text(one.record).find(L'|')) +
                      L",0,0,0)");
        EXPECT_EQ(value.view(), one.value);
        EXPECT_EQ(Shown(extra.get()), one.extra);
        EXPECT_EQ(record(), one.record);
        EXPECT_EQ(control, one.events.empty() ? L"none" : L"");
        EXPECT_EQ(takeEvents(), one.events);
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
    for (const Member member : {Member::kExtract, Member::kCallHost, Member::kReplace}) {
        program({{3, L"out"}});
        backend.fail(member, SampleFailure(), kOnce);
        EXPECT_EQ(callHost(L"PROG", true, value, extra).error, ErrorFields{});
        EXPECT_EQ(boxes.take(), box(L"PROG", SampleFailure()));
        EXPECT_EQ(value.view(), L"in") << "as the caller had it";
    }
    EXPECT_EQ(record(), L"Smith|17|CUST|R--|0");
    EXPECT_EQ(takeEvents(), Lines{});
    EXPECT_EQ(callHost(L"", true, value, extra).error, ErrorFields{});
    EXPECT_EQ(boxes.take(), Lines{}) << "no program, no call";
    EXPECT_EQ(call(L"CallHost", {Item(L"").get(), L"", ByRef(extra), ByRef(value), true}).error,
              ErrorFields{});
    EXPECT_EQ(boxes.take(), box(L"", NoKeyId(L"mvDBMS::CallHost")));
    call(L"Disconnect");
    EXPECT_EQ(callHost(L"PROG", true, value, extra).error, ErrorFields{});
    EXPECT_EQ(boxes.take().size(), 1U);
}

// The true box: without a display it is gone at once, and nothing of it reaches the caller.
TEST(HostCallsWithoutDisplay, FailQuietly) {
    if (GetEnvironmentVariableW(L"DISPLAY", nullptr, 0) != 0) {
        GTEST_SKIP() << "somebody would have to answer";
    }
    EXPECT_LT(MessageBoxW(nullptr, L"text", L"title", MB_OK), 1);
}

TEST_F(HostCalls, GetAParameterRecord) {
    const Text am(1, wchar_t{254});
    const Text vm(1, wchar_t{253});
    struct Case {
        const char* name;
        const wchar_t* control;
        const wchar_t* file;
        const wchar_t* message;
        const wchar_t* type;
        Text parameters;
    };
    const Text blanks = am + am + am + am + am;
    const Case cases[] = {
        {"a field",
         L"Name",
         L"",
         L"",
         L"D",
         L"D" + am + L"2" + vm + L"1" + vm + L"3" + am + L"cust" + am + L"CUST" + am + L"Main" +
             blanks},
        {"a button",
         L"mvButton",
         L"",
         L"",
         L"B",
         L"B" + am + L"0" + vm + L"0" + vm + L"0" + am + L"cust" + am + L"CUST" + am + L"Main" +
             blanks},
        {"a message and a file of the item",
         L"MVBUTTON",
         L"ITEM",
         L"ask",
         L"",
         am + L"2" + vm + L"1" + vm + L"3" + am + L"cust" + am + L"ITEM" + am + L"Main" + blanks +
             L"ask"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        connectAndRead();
        program({{3, L"out"}});
        const auto item = Item(L"CUST", 2, 1, 3);
        item->definition.controlName = one.control;
        item->definition.fileName = one.file;
        item->definition.errMsg = one.message;
        Bstr value(L"in");
        EXPECT_EQ(callCommon(*item, L"C:PROG", one.type, value).error, ErrorFields{});
        EXPECT_EQ(callOf(Member::kCallHost), L"CallHost(PROG,17,Smith," + one.parameters + L",in)");
        EXPECT_EQ(value.view(), L"out");
        EXPECT_EQ(takeEvents(), Lines{});
        reopen();
    }
}

TEST_F(HostCalls, AnswerBehindTheNinthMark) {
    const Text am(1, wchar_t{254});
    const auto marks = [&](int count) {
        Text text;
        for (int i = 0; i < count; ++i) {
            text += am;
        }
        return text;
    };
    struct Case {
        const char* name;
        Text parameters;
        bool refreshes;
    };
    const Case cases[] = {
        {"2", marks(9) + L"2", true},
        {"2 behind parts", L"a" + marks(4) + L"b" + marks(5) + L"2", true},
        {"1", marks(9) + L"1", false},
        {"nothing", marks(9), false},
        {"more behind it", marks(9) + L"2" + am, false},
        {"2 in front", marks(8) + L"2", false},
        {"2 in the eleventh part", marks(10) + L"2", false},
        {"2 alone", L"2", false},
        {"emptied", L"", false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        connectAndRead();
        program({{0, L"18"}, {1, L"Jones"}, {2, one.parameters}, {3, L"out"}});
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

TEST_F(HostCalls, RaiseFailuresOfTheSecondForm) {
    Bstr value(L"in");
    EXPECT_EQ(callCommon(*Item(L""), L"", L"D", value).error, NoKeyId(L"mvDBMS::mvCallCommonHost"));
    EXPECT_EQ(callCommon(*Item(L"Cust"), L"C:PROG", L"D", value).error.number, 381)
        << "a key field without a record state";
    connectAndRead();
    EXPECT_EQ(callCommon(*Item(L"Cust"), L"C:NONE", L"D", value).error,
              (ErrorFields{53, L"kelos99", L"No program NONE"}));
    EXPECT_EQ(callCommon(*Item(L"Cust", 40000), L"C:PROG", L"D", value).error.number, 6);
    program({{3, L"out"}});
    for (const Member member : {Member::kExtract, Member::kCallHost, Member::kReplace}) {
        backend.fail(member, SampleFailure(), kOnce);
        EXPECT_EQ(callCommon(*Item(L"Cust"), L"C:PROG", L"D", value).error, SampleFailure());
        EXPECT_EQ(value.view(), L"in");
    }
    EXPECT_EQ(record(), L"Smith|17|CUST|R--|0");
    EXPECT_EQ(boxes.take(), Lines{});
    // A failure of the first form is shown instead.
    EXPECT_EQ(callCommon(*Item(L"Cust"), L"NONE", L"D", value).error, ErrorFields{});
    EXPECT_EQ(boxes.take().size(), 1U);
}

}  // namespace
}  // namespace kel::tests
