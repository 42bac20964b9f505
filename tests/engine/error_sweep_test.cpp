// Every call that each member makes to the back-end, failing: what the caller sees, what is left,
// and that the member, and the session for all that it is for, work again afterwards.
#include "tests/engine/error_sweep.h"

#include <gtest/gtest.h>

namespace kel::tests {
namespace {

TEST_F(ErrorSweep, OfTheConnection) {
    const auto nothing = [] {};
    const auto isConnected = [this] { connected(); };
    const auto isSelected = [this] { select(); };
    const Text no = L"False";
    const Text none = L"Empty";
    sweep({
        {"IsConnected", isConnected, getting(L"IsConnected"), Fate::kTrapped, no},
        {"ConnectionFailed", isConnected, getting(L"ConnectionFailed"), Fate::kTrapped, no},
        {"IsConnecting", isConnected, getting(L"IsConnecting"), Fate::kTrapped},
        {"ConnectionErrMsg", isConnected, getting(L"ConnectionErrMsg"), Fate::kTrapped},
        {"OsType", isConnected, getting(L"OsType"), Fate::kRaised},
        {"OsType let", nothing, putting(L"OsType", {kTestOsType}), Fate::kRefused},
        {"ValidOsType", nothing, calling(L"ValidOsType", {kTestOsType}), Fate::kTrapped, no},
        // What is connected in truth has a record buffer at its next use.
        {"Connect", nothing, calling(L"Connect"), Fate::kInText, no, {}, false},
        {"Connect, with a back-end", isConnected, calling(L"Connect"), Fate::kInText, no},
        {"Disconnect", isSelected, calling(L"Disconnect"), Fate::kHarmless, none, {}, false},
        {"mvInfo", isConnected, getting(L"mvInfo", {L"Cust"}), Fate::kHarmless, none, {}, false},
        {"CommonValue let", isConnected, putting(L"CommonValue", {L"Day", 1}), Fate::kHarmless},
    });
}

TEST_F(ErrorSweep, OfElements) {
    const auto isRead = [this] { read(); };
    const Arguments onItem = {item.get()};
    const Arguments onValue = {L"v", item.get()};
    const Arguments search = {L"x", ByRef(&number), L"", item.get()};
    const Arguments evaluated = {L"v", L"", short{0}, item.get()};
    const auto with = [this](const wchar_t* correlative) {
        return [this, correlative] {
            read();
            item->definition.correlative = correlative;
        };
    };
    sweepFromFirstUse({
        {"Extract", isRead, calling(L"Extract", onItem), Fate::kTrapped, L""},
        {"Replace", isRead, calling(L"Replace", onValue), Fate::kRaised},
    });
    sweep({
        {"Dcount", isRead, calling(L"Dcount", {L"m", item.get()}), Fate::kTrapped, L"0"},
        {"Replace of everything",
         [this] {
             read();
             item->definition.amc = 0;
         },
         calling(L"Replace", {L"", item.get()}),
         Fate::kRaised},
        {"Insert", isRead, calling(L"Insert", onValue), Fate::kRaised},
        {"Delete", isRead, calling(L"Delete", onItem), Fate::kRaised},
        {"Locate", isRead, calling(L"Locate", search), Fate::kRaised},
        {"correlative", with(L"A;1"), calling(L"ProcessCorrelative", evaluated), Fate::kRaised},
        {"correlative by a program",
         with(L"CALL PROG"),
         calling(L"ProcessCorrelative", evaluated),
         Fate::kShown,
         L"v",
         {{L"IsConnected", Fate::kRaised}}},
    });
}

TEST_F(ErrorSweep, OfRecordsAndFiles) {
    const auto isRead = [this] { read(); };
    const auto isConnected = [this] { connected(); };
    const Arguments seventeen = {L"17", item.get()};
    const Arguments four = {L"4", item.get()};
    sweepFromFirstUse({
        {"mvRead", isRead, calling(L"mvRead", seventeen), Fate::kRaised},
        {"mvWrite", isRead, calling(L"mvWrite", {true, L"17", item.get()}), Fate::kRenamed},
        {"mvDelete", isRead, calling(L"mvDelete", seventeen), Fate::kRaised},
    });
    sweep({
        {"mvOpen", isConnected, calling(L"mvOpen", {L"CUST"}), Fate::kRaised},
        {"OpenFileVar", isRead, calling(L"OpenFileVar", {L"CUST"}), Fate::kTrapped},
        {"mvCloseFile", isRead, calling(L"mvCloseFile", {L"CUST"}), Fate::kHarmless},
        {"mvRead of nothing", isRead, calling(L"mvRead", four), Fate::kRaised},
        {"mvRead of a blank", isRead, calling(L"mvRead", {L" ", item.get()}), Fate::kRaised},
        {"mvRead of a locked record",
         [this] {
             read();
             backend.putRecord(L"CUST", L"18", L"Jones");
             backend.lockRecord(L"CUST", L"18");
             item->definition.readU = true;
         },
         calling(L"mvRead", {L"18", item.get()}),
         Fate::kRaised},
        {"mvRead, refused",
         [this] {
             read();
             item->definition.readType = 2;
         },
         calling(L"mvRead", seventeen),
         Fate::kRaised},
        // The properties set before the new buffer is made stay set.
        {"mvNew of a read record",
         isRead,
         calling(L"mvNew", four),
         Fate::kRaised,
         L"Empty",
         {},
         false},
        {"mvRelease", isRead, calling(L"mvRelease", {item.get()}), Fate::kHarmless},
    });
}

TEST_F(ErrorSweep, OfStoredPrograms) {
    const auto isRead = [this] { read(); };
    const auto host = [this](bool four) {
        return calling(L"CallHost", {item.get(), L"PROG", ByRef(extra), ByRef(value), four});
    };
    const auto common = [this](const wchar_t* program) {
        return calling(L"CallCommonHost", {program, L"D", ByRef(value), L"Main", item.get()});
    };
    const Arguments command = {L"WHO", ByRef(value), ByRef(value)};
    sweep({
        {"CallHostProgram", isRead, calling(L"CallHostProgram", {L"PROG", 1}), Fate::kRaised},
        {"CallHost with four", isRead, host(true), Fate::kShown},
        {"CallHost with five", isRead, host(false), Fate::kShown},
        {"CallCommonHost", isRead, common(L"C:PROG"), Fate::kRaised},
        {"CallCommonHost, other name", isRead, common(L"PROG"), Fate::kShown},
        {"TCLExecute", isRead, calling(L"TCLExecute", command), Fate::kTrapped},
    });
}

TEST_F(ErrorSweep, OfListsAndDictionaries) {
    const auto nothing = [] {};
    const auto isRead = [this] { read(); };
    const auto isSelected = [this] { select(); };
    const Arguments onItem = {item.get()};
    const Arguments sentence = {L"SELECT CUST", item.get()};
    const Arguments next = {ByRef(value), item.get()};
    const Arguments convert = {L"1234", L"MD2"};
    // A back-end that cannot say whether it is connected is asked to connect again.
    const std::vector<std::pair<Text, Fate>> unasked = {{L"IsConnected", Fate::kHarmless}};
    // The files have been listed by then.
    const std::vector<std::pair<Text, Fate>> listed = {{L"IsConnected", Fate::kHarmless},
                                                       {L"CloseSelect", Fate::kHarmless}};
    sweep({
        {"select", isRead, calling(L"ExecuteSelectList", sentence), Fate::kTrapped},
        {"select again", isSelected, calling(L"ExecuteSelectList", sentence), Fate::kTrapped},
        {"ReadNext", isSelected, calling(L"ReadNext", next), Fate::kTrapped, L"False"},
        {"close", isSelected, calling(L"DestorySelectList", onItem), Fate::kHarmless},
        {"ReadDictItem", isRead, calling(L"ReadDictItem", onItem), Fate::kInItem},
        {"WriteDictItem", isRead, calling(L"WriteDictItem", onItem), Fate::kTrapped},
        {"Oconv", isRead, calling(L"Oconv", convert), Fate::kTrapped},
        {"Iconv", isRead, calling(L"Iconv", convert), Fate::kRaised},
        {"names", isRead, calling(L"GetDictNameList", {L"CUST"}), Fate::kRaised, L"", unasked},
        {"files", isRead, calling(L"GetFileNameList"), Fate::kRaised, L"", listed},
        // Even unconnected a back-end may know its files; without one there is nobody to ask.
        {"files, connecting",
         nothing,
         calling(L"GetFileNameList"),
         Fate::kHarmless,
         L"object",
         {{L"Create", Fate::kBackendGone},
          {L"SelectFileName", Fate::kRaised},
          {L"ReadNext", Fate::kRaised}},
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
                expectWorks();
            });
    }
}

}  // namespace
}  // namespace kel::tests
