// Select lists of a key field, and commands.
#include <gtest/gtest.h>

#include <map>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class Selections : public SessionTest {
protected:
    void select(TextView keyField, TextView sentence = L"SELECT CUST") const {
        EXPECT_EQ(call(L"ExecuteSelectList", {sentence, Item(keyField).get()}).error,
                  ErrorFields{});
    }
    // The next id, or "-" at the end.
    Text next(TextView keyField) const {
        Bstr id(L"before");
        const Outcome outcome = call(L"ReadNext", {ByRef(id), Item(keyField).get()});
        EXPECT_EQ(outcome.error, ErrorFields{});
        return outcome.text() == L"True" ? Text(id.view()) : L"-" + Text(id.view());
    }
    void destroy(TextView keyField) const {
        EXPECT_EQ(call(L"DestorySelectList", {Item(keyField).get()}).error, ErrorFields{});
    }
    bool isActive(TextView keyField = L"Cust") const {
        VARIANT_BOOL processed = VARIANT_FALSE;
        ComPtr<IDispatch> list;
        info(keyField)->get_SelectListProcessed(&processed);
        info(keyField)->get_SelectList(list.put());
        EXPECT_EQ(static_cast<bool>(list), processed != VARIANT_FALSE);
        return list && processed != VARIANT_FALSE;
    }
};

TEST_F(Selections, AreWalkedToTheirEndAndStayThere) {
    backend.putRecord(L"CUST", L"18", L"Jones");
    connectAndRead();
    EXPECT_EQ(next(L"Cust"), L"-") << "none yet: an empty id, and the back-end is not asked";
    EXPECT_EQ(next(L"Unused"), L"-");
    EXPECT_EQ(backend.takeCalls(), Lines{});
    select(L"CUST");
    EXPECT_EQ(backend.takeCalls(), Lines{L"ProcessSelect(SELECT CUST)"});
    EXPECT_TRUE(isActive());
    for (const wchar_t* id : {L"17", L"18", L"-", L"-"}) {
        EXPECT_EQ(next(L"cust"), id);
    }
    EXPECT_TRUE(isActive()) << "until the caller closes it";
    backend.clearCalls();
    select(L"Cust");
    EXPECT_EQ(backend.takeCalls(), (Lines{L"CloseSelect(list#1)", L"ProcessSelect(SELECT CUST)"}));
    destroy(L"Cust");
    EXPECT_EQ(backend.takeCalls(), Lines{L"CloseSelect(list#2)"});
    EXPECT_FALSE(isActive());
    EXPECT_EQ(next(L"Cust"), L"-");
    EXPECT_EQ(backend.live().lists, 0);
    destroy(L"Unused");
}

TEST_F(Selections, BelongToTheItemsOwnKeyField) {
    connectAndRead();
    const auto item = Item(L"List");
    item->definition.readKeyId = L"Cust";
    EXPECT_TRUE(call(L"ExecuteSelectList", {L"SELECT CUST", item.get()}).ok());
    EXPECT_TRUE(isActive(L"List"));
    EXPECT_FALSE(isActive(L"Cust"));
    backend.clearCalls();
    select(L"");
    EXPECT_EQ(backend.takeCalls(), Lines{}) << "without a key field nothing happens";
    EXPECT_EQ(call(L"ExecuteSelectList", {L"SELECT CUST", Nothing()}).error, ErrorFields{});
}

// Client code that runs while the back-end selects or closes, and comes back in.
TEST_F(Selections, CloseEachListOnceWhoeverComesBackIn) {
    struct Case {
        const char* name;
        Member within;
        std::function<void()> act;
        std::function<void()> backIn;
        bool isActive;
    };
    const auto selects = [this] { select(L"Cust"); };
    const auto closes = [this] { destroy(L"Cust"); };
    const auto disconnects = [this] { call(L"Disconnect"); };
    const auto reconnects = [this] {
        call(L"Disconnect");
        connect();
    };
    const Case cases[] = {
        {"selecting within a selection", Member::kProcessSelect, selects, selects, true},
        {"closing within a selection", Member::kProcessSelect, selects, closes, true},
        {"disconnecting within a selection", Member::kProcessSelect, selects, disconnects, false},
        {"reconnecting within a selection", Member::kProcessSelect, selects, reconnects, false},
        {"selecting within a close", Member::kCloseSelect, closes, selects, true},
        {"closing within a close", Member::kCloseSelect, closes, closes, false},
        {"selecting within the close of a selection", Member::kCloseSelect, selects, selects, true},
        {"closing within the close of a selection", Member::kCloseSelect, selects, closes, true},
        {"disconnecting within a close", Member::kCloseSelect, closes, disconnects, false},
        {"closing within a disconnection", Member::kCloseSelect, disconnects, closes, false},
        {"selecting within a disconnection", Member::kCloseSelect, disconnects, selects, false},
    };
    for (const Case& one : cases) {
        for (const bool isBefore : {true, false}) {
            SCOPED_TRACE(std::string(one.name) + (isBefore ? ", before it" : ", after it"));
            connectAndRead();
            select(L"Cust");
            backend.clearCalls();
            bool isIn = false;
            const auto backIn = [&] {
                if (!std::exchange(isIn, true)) {
                    one.backIn();
                }
            };
            if (isBefore) {
                backend.before(one.within, backIn, kOnce);
            } else {
                backend.after(one.within, backIn, kOnce);
            }
            one.act();
            EXPECT_TRUE(isIn);
            std::map<Text, int> lists;
            for (const RecordedCall& made : backend.calls()) {
                if (made.member == Member::kCloseSelect && made.text != L"CloseSelect(Nothing)") {
                    ++lists[made.text];
                }
            }
            for (const auto& [list, times] : lists) {
                EXPECT_EQ(times, 1) << Narrow(list);
            }
            ASSERT_TRUE(connect());
            EXPECT_EQ(isActive(), one.isActive);
            EXPECT_EQ(backend.live().lists, one.isActive ? 1 : 0);
            EXPECT_EQ(lists.size() + (one.isActive ? 1U : 0U),
                      static_cast<std::size_t>(1 + backend.count(Member::kProcessSelect)))
                << "each list is open or was closed";
            select(L"Cust");
            EXPECT_EQ(next(L"Cust"), L"17");
            reopen();
        }
    }
}

TEST_F(Selections, NeedNoWholeRecordState) {
    backend.putRecord(L"CUST", L"17", L"Smith");
    addField(L"Cust");
    ASSERT_TRUE(connect());
    backend.fail(Member::kCreateDynamicArray, SampleFailure());
    select(L"Cust");
    EXPECT_EQ(next(L"Cust"), L"17");
    destroy(L"Cust");
    EXPECT_EQ(backend.live().lists, 0);
}

}  // namespace
}  // namespace kel::tests
