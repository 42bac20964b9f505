// Every call that each member makes to the back-end, failing: what the caller sees, what is left,
// and that the member works again afterwards.
#include "tests/engine/error_sweep.h"

#include <gtest/gtest.h>

namespace kel::tests {
namespace {

TEST_F(ErrorSweep, OfTheConnection) {
    const auto none = [] { return Arguments{}; };
    const auto nothing = [] {};
    const auto isConnected = [this] { connected(); };
    const auto property = [this](const wchar_t* name) {
        return [this, name] { return get(name); };
    };
    sweep({
        {"IsConnected", isConnected, property(L"IsConnected"), Fate::kTrapped, L"False"},
        {"ConnectionFailed", isConnected, property(L"ConnectionFailed"), Fate::kTrapped, L"False"},
        {"IsConnecting", isConnected, property(L"IsConnecting"), Fate::kTrapped},
        {"ConnectionErrMsg", isConnected, property(L"ConnectionErrMsg"), Fate::kTrapped},
        {"OsType", isConnected, property(L"OsType"), Fate::kRaised},
        {"OsType let",
         nothing,
         [this] { return Dispatch(engine.get()).put(L"OsType", {kTestOsType}); },
         Fate::kRefused},
        {"ValidOsType",
         nothing,
         calling(L"ValidOsType", [] { return Arguments{kTestOsType}; }),
         Fate::kTrapped,
         L"False"},
        // What is connected in truth has a record buffer at its next use.
        {"Connect", nothing, calling(L"Connect", none), Fate::kInText, L"False", {}, false},
        {"Connect, with a back-end",
         isConnected,
         calling(L"Connect", none),
         Fate::kInText,
         L"False"},
        {"Disconnect",
         [this] { select(); },
         calling(L"Disconnect", none),
         Fate::kHarmless,
         L"Empty",
         {},
         false},
        {"mvInfo",
         isConnected,
         [this] { return get(L"mvInfo", {L"Cust"}); },
         Fate::kHarmless,
         L"object",
         {},
         false},
        {"CommonValue let",
         isConnected,
         [this] {
             return Dispatch(engine.get()).put(L"CommonValue", {L"Day", 1});
         },
         Fate::kHarmless},
    });
}

TEST_F(ErrorSweep, OfElements) {
    const auto isRead = [this] { read(); };
    const auto isConnected = [this] { connected(); };
    const auto onItem = [this] { return Arguments{item.get()}; };
    const auto onValue = [this] { return Arguments{L"v", item.get()}; };
    const auto evaluate = [this](const wchar_t* correlative) {
        return calling(L"ProcessCorrelative", [this, correlative] {
            item->definition.correlative = correlative;
            return Arguments{L"v", L"", short{0}, item.get()};
        });
    };
    sweep({
        {"Extract", isRead, calling(L"Extract", onItem), Fate::kTrapped, L""},
        {"Extract, first use",
         isConnected,
         calling(L"Extract", onItem),
         Fate::kTrapped,
         L"",
         {},
         false},
        {"Dcount",
         isRead,
         calling(L"Dcount",
                 [this] {
                     return Arguments{L"m", item.get()};
                 }),
         Fate::kTrapped,
         L"0"},
        {"Replace", isRead, calling(L"Replace", onValue), Fate::kRaised},
        {"Replace, first use",
         isConnected,
         calling(L"Replace", onValue),
         Fate::kRaised,
         L"Empty",
         {},
         false},
        {"Replace of everything",
         isRead,
         calling(L"Replace",
                 [this] {
                     item->definition.amc = 0;
                     return Arguments{L"", item.get()};
                 }),
         Fate::kRaised},
        {"Insert", isRead, calling(L"Insert", onValue), Fate::kRaised},
        {"Delete", isRead, calling(L"Delete", onItem), Fate::kRaised},
        {"Locate",
         isRead,
         calling(L"Locate",
                 [this] {
                     number = 1;
                     return Arguments{L"x", ByRef(&number), L"", item.get()};
                 }),
         Fate::kRaised},
        {"ProcessCorrelative", isRead, evaluate(L"A;1"), Fate::kRaised},
        {"ProcessCorrelative by a program",
         isRead,
         evaluate(L"CALL PROG"),
         Fate::kShown,
         L"v",
         {{L"IsConnected", Fate::kRaised}}},
    });
}

TEST_F(ErrorSweep, OfRecordsAndFiles) {
    const auto isRead = [this] { read(); };
    const auto isConnected = [this] { connected(); };
    const auto file = [] { return Arguments{L"CUST"}; };
    const auto numbered = [this](const wchar_t* id) {
        return [this, id] { return Arguments{id, item.get()}; };
    };
    const auto write = [this] { return Arguments{true, L"17", item.get()}; };
    sweep({
        {"mvOpen", isConnected, calling(L"mvOpen", file), Fate::kRaised},
        {"OpenFileVar", isRead, calling(L"OpenFileVar", file), Fate::kTrapped},
        {"mvCloseFile", isRead, calling(L"mvCloseFile", file), Fate::kHarmless},
        {"mvRead", isRead, calling(L"mvRead", numbered(L"17")), Fate::kRaised},
        {"mvRead, first use",
         isConnected,
         calling(L"mvRead", numbered(L"17")),
         Fate::kRaised,
         L"Empty",
         {},
         false},
        {"mvRead of nothing", isRead, calling(L"mvRead", numbered(L"4")), Fate::kRaised},
        {"mvRead of a blank", isRead, calling(L"mvRead", numbered(L" ")), Fate::kRaised},
        {"mvRead of a locked record",
         [this] {
             read();
             backend.lockRecord(L"CUST", L"17");
             item->definition.readU = true;
         },
         calling(L"mvRead", numbered(L"17")),
         Fate::kRaised},
        {"mvRead, refused",
         [this] {
             read();
             item->definition.readType = 2;
         },
         calling(L"mvRead", numbered(L"17")),
         Fate::kRaised},
        {"mvWrite", isRead, calling(L"mvWrite", write), Fate::kRenamed},
        {"mvWrite, first use",
         isConnected,
         calling(L"mvWrite", write),
         Fate::kRenamed,
         L"Empty",
         {},
         false},
        {"mvDelete", isRead, calling(L"mvDelete", numbered(L"17")), Fate::kRaised},
        {"mvDelete, first use",
         isConnected,
         calling(L"mvDelete", numbered(L"17")),
         Fate::kRaised,
         L"Empty",
         {},
         false},
        // The properties set before the new buffer is made stay set.
        {"mvNew of a read record",
         isRead,
         calling(L"mvNew", numbered(L"4")),
         Fate::kRaised,
         L"Empty",
         {},
         false},
        {"mvNew of another",
         isConnected,
         calling(L"mvNew", numbered(L"4")),
         Fate::kRaised,
         L"Empty",
         {},
         false},
        {"mvRelease",
         isRead,
         calling(L"mvRelease", [this] { return Arguments{item.get()}; }),
         Fate::kHarmless},
    });
}

TEST_F(ErrorSweep, OfStoredPrograms) {
    const auto isRead = [this] { read(); };
    const auto host = [this](bool four) {
        return calling(L"CallHost", [this, four] {
            return Arguments{item.get(), L"PROG", ByRef(extra), ByRef(value), four};
        });
    };
    const auto common = [this](const wchar_t* program) {
        return calling(L"CallCommonHost", [this, program] {
            return Arguments{program, L"D", ByRef(value), L"Main", item.get()};
        });
    };
    sweep({
        {"CallHostProgram",
         isRead,
         calling(L"CallHostProgram",
                 [] {
                     return Arguments{L"PROG", 1};
                 }),
         Fate::kRaised},
        {"CallHost with four", isRead, host(true), Fate::kShown},
        {"CallHost with five", isRead, host(false), Fate::kShown},
        {"CallCommonHost", isRead, common(L"C:PROG"), Fate::kRaised},
        {"CallCommonHost, other name", isRead, common(L"PROG"), Fate::kShown},
        {"TCLExecute",
         isRead,
         calling(L"TCLExecute",
                 [this] {
                     return Arguments{L"WHO", ByRef(value), ByRef(value)};
                 }),
         Fate::kTrapped},
    });
}

TEST_F(ErrorSweep, OfListsAndDictionaries) {
    const auto isRead = [this] { read(); };
    const auto isSelected = [this] { select(); };
    const auto onItem = [this] { return Arguments{item.get()}; };
    const auto sentence = [this] { return Arguments{L"SELECT CUST", item.get()}; };
    const auto convert = [] { return Arguments{L"1234", L"MD2"}; };
    const auto file = [] { return Arguments{L"CUST"}; };
    const auto none = [] { return Arguments{}; };
    const auto nothing = [] {};
    sweep({
        {"ExecuteSelectList", isRead, calling(L"ExecuteSelectList", sentence), Fate::kTrapped},
        {"ExecuteSelectList once more",
         isSelected,
         calling(L"ExecuteSelectList", sentence),
         Fate::kTrapped},
        {"ReadNext",
         isSelected,
         calling(L"ReadNext",
                 [this] {
                     return Arguments{ByRef(value), item.get()};
                 }),
         Fate::kTrapped,
         L"False"},
        {"DestorySelectList", isSelected, calling(L"DestorySelectList", onItem), Fate::kHarmless},
        {"ReadDictItem", isRead, calling(L"ReadDictItem", onItem), Fate::kInItem},
        {"WriteDictItem", isRead, calling(L"WriteDictItem", onItem), Fate::kTrapped},
        {"Oconv", isRead, calling(L"Oconv", convert), Fate::kTrapped},
        {"Iconv", isRead, calling(L"Iconv", convert), Fate::kRaised},
        // A back-end that cannot say whether it is connected is asked to connect again.
        {"GetDictNameList",
         isRead,
         calling(L"GetDictNameList", file),
         Fate::kRaised,
         L"Empty",
         {{L"IsConnected", Fate::kHarmless}}},
        {"GetFileNameList",
         isRead,
         calling(L"GetFileNameList", none),
         Fate::kRaised,
         L"Empty",
         {{L"IsConnected", Fate::kHarmless}}},
        // Even unconnected a back-end may know its files; without one there is nobody to ask.
        {"GetFileNameList, connecting",
         nothing,
         calling(L"GetFileNameList", none),
         Fate::kHarmless,
         L"object",
         {{L"Create", Fate::kBackendGone},
          {L"SelectFileName", Fate::kRaised},
          {L"ReadNext", Fate::kRaised},
          {L"CloseSelect", Fate::kRaised}},
         false},
    });
}

TEST_F(ErrorSweep, OfTheEnginesEnd) {
    for (const Failure& failure :
         {SampleFailure(), BareFailure(E_NOTIMPL), Late(SampleFailure())}) {
        combinations += SweepFailures(
            backend,
            failure,
            [&] {
                arrangeSession();
                select();
            },
            [&] {
                session.end();
                base->RemoveSessionCallback(Str(L"Main"));
                main.reset();
                engine.reset();
            },
            [&](long, const Text&) {
                EXPECT_EQ(backend.live(), LiveObjects());
                EXPECT_EQ(takeEvents().back(), L"Cust: Disconnected()");
            });
    }
}

}  // namespace
}  // namespace kel::tests
