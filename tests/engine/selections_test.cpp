// Select lists of a key field, and commands.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace kel::tests
