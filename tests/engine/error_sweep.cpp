#include "tests/engine/error_sweep.h"

namespace kel::tests {

void ErrorSweep::arrangeSession() {
    reopen();
    boxes.take();
    backend.putRecord(L"CUST", L"17", L"Smith");
    backend.putDictItem(L"CUST", L"NAME", {1});
    backend.putProgram(L"PROG", [](VARIANT* const*) {});
    item->definition = Item(L"Cust", 1)->definition;
    item->definition.dictName = L"NAME";
    value = Bstr(L"in");
    number = 1;
    addField(L"Cust");
}

void ErrorSweep::check(const Swept& member,
                       Fate fate,
                       const Failure& failure,
                       const Outcome& outcome,
                       const Outcome& clean) {
    // Without an error object the platform's words stand for it, in the component's name.
    ErrorFields told = failure;
    if (!failure.described) {
        told.source = L"kelSDK";
        told.description = automation::StandardText(failure.number);
    }
    ErrorFields expected;
    Text result = member.neutral;
    switch (fate) {
        case Fate::kRaised:
            expected = told;
            break;
        case Fate::kRenamed:
            expected = told;
            expected.source = L"kelDBMS::mvWrite";
            break;
        case Fate::kRefused:
            expected = {-2147221501,
                        L"kelDBMS::OsType",
                        L"Unable to find a registered DLL version 2 or above for OsType 99"};
            break;
        case Fate::kBackendGone:
            expected = kNoBackend;
            break;
        case Fate::kHarmless:
            result = clean.text();
            break;
        default:
            break;
    }
    EXPECT_EQ(outcome.error, expected);
    if (failure.late) {
        return;  // the work is done; what of it is known is the member's business
    }
    if (expected.number == 0) {
        EXPECT_EQ(outcome.text(), result);
    }
    const Lines shown = boxes.take();
    EXPECT_EQ(shown.size(), fate == Fate::kShown ? 1U : 0U);
    for (const Text& box : shown) {
        EXPECT_TRUE(box.ends_with(L"Source: " + told.source + L"\r\nError Number: " +
                                  std::to_wstring(told.number) + L"\r\nDescription: " +
                                  told.description))
            << Narrow(box);
    }
    if (fate == Fate::kInText) {
        const Text text = get(L"ConnectionErrMsg").text();
        EXPECT_TRUE(text.starts_with(L"Connection ")) << Narrow(text);
        EXPECT_EQ(takeEvents().back(), L"Main: ConnectionFailed(" + text + L")");
    }
    if (fate == Fate::kInItem) {
        EXPECT_EQ(automation::GetText<_kelDictItem>(*item, &_kelDictItem::get_DictErrMsg),
                  std::to_wstring(told.number) + L" (" + told.source + L") " + told.description);
    }
}

void ErrorSweep::sweep(const Swept& member, const Failure& failure) {
    Outcome clean;
    Outcome outcome;
    Text before;
    bool isFirst = true;
    const auto arrange = [&] {
        arrangeSession();
        member.arrange();
        before = member.keepsRecord ? record() : Text();
        takeEvents();
    };
    const auto act = [&] {
        outcome = member.act();
        if (std::exchange(isFirst, false)) {
            clean = outcome;
            EXPECT_EQ(outcome.error, ErrorFields{});
        }
    };
    if (failure.late) {
        arrange();
        if (backend.live().hosts == 0) {
            return;  // what fails after it has made an object leaves the object behind
        }
    }
    combinations += SweepFailures(backend, failure, arrange, act, [&](long, const Text& failing) {
        Fate fate = member.fate;
        for (const auto& [start, other] : member.others) {
            fate = failing.starts_with(start) ? other : fate;
        }
        check(member, fate, failure, outcome, clean);
        if (!failure.late) {
            if (member.keepsRecord && fate != Fate::kHarmless) {
                EXPECT_EQ(record(), before);
            }
            const Outcome again = member.act();
            EXPECT_EQ(again.error, ErrorFields{}) << "the next call";
            EXPECT_EQ(again.text(), clean.text()) << "the next call";
        }
        expectWorks();
    });
}

void ErrorSweep::sweep(const std::vector<Swept>& members) {
    for (const Swept& member : members) {
        SCOPED_TRACE(member.name);
        for (const Failure& failure :
             {SampleFailure(), BareFailure(10400), BareFailure(E_NOTIMPL), Late(SampleFailure())}) {
            SCOPED_TRACE(testing::PrintToString(static_cast<const ErrorFields&>(failure)) +
                         (failure.late ? " late" : ""));
            sweep(member, failure);
        }
    }
}

void ErrorSweep::sweepFromFirstUse(std::vector<Swept> members) {
    sweep(members);
    for (Swept& member : members) {
        member.arrange = [this] { connected(); };
        member.keepsRecord = false;
    }
    SCOPED_TRACE("first use");
    sweep(members);
}

}  // namespace kel::tests
