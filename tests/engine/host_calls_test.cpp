// Calls of stored programs: what they are given, what comes back, how they fail.
#include <gtest/gtest.h>

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

TEST_F(HostCalls, RaiseFailuresOfTheSecondForm) {
    Bstr value(L"in");
    EXPECT_EQ(callCommon(*Item(L""), L"", L"D", value).error, NoKeyId(L"mvDBMS::mvCallCommonHost"));
    EXPECT_EQ(callCommon(*Item(L"Cust"), L"C:PROG", L"D", value).error.number, 381)
        << "a key field without a record state";
    connectAndRead();
    EXPECT_EQ(callCommon(*Item(L"Cust"), L"C:NONE", L"D", value).error,
              (ErrorFields{53, L"kelos99", L"No program NONE"}));
    EXPECT_EQ(callCommon(*Item(L"Cust", 40000), L"C:PROG", L"D", value).error.number, 6);
}

}  // namespace
}  // namespace kel::tests
