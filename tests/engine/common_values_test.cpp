// Values and objects that all controls of a session share.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/core/witness.h"
#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class CommonValues : public SessionTest {
protected:
    void setValue(const wchar_t* name, Variant value) const {
        EXPECT_EQ(engine->put_CommonValue(Str(name), value.inOut()), S_OK);
    }
    void setObject(const wchar_t* name, IDispatch* object) const {
        EXPECT_EQ(engine->putref_CommonObject(Str(name), &object), S_OK);
    }
    Text value(const wchar_t* name) const { return get(L"CommonValue", {name}).text(); }
    IUnknown* object(const wchar_t* name) const {
        return get(L"CommonObject", {name}).value.object<IUnknown>().get();
    }
};

TEST_F(CommonValues, AndObjectsShareOneTable) {
    EXPECT_EQ(value(L"none"), L"Empty");
    EXPECT_EQ(get(L"CommonObject", {L"none"}).text(), L"Nothing");
    setValue(L"Day", Value(7));
    EXPECT_EQ(value(L"Day"), L"7");
    EXPECT_EQ(value(L"DAY"), L"Empty") << "names are taken as they are written";
    EXPECT_EQ(get(L"CommonObject", {L"Day"}).text(), L"Nothing") << "no object";
    setObject(L"Day", base.get());
    EXPECT_EQ(object(L"Day"), base.get());
    EXPECT_EQ(value(L"Day"), L"object");
    setValue(L"Day", Value(L""));
    EXPECT_EQ(value(L"Day"), L"");
    setObject(L"Day", nullptr);
    EXPECT_EQ(value(L"Day"), L"Nothing");
    Bstr target(L"by reference");
    setValue(L"Copy", ByRef(target));
    target.reset();
    EXPECT_EQ(value(L"Copy"), L"by reference");
    setValue(L"", Value(1));
    EXPECT_EQ(value(L""), L"Empty") << "a value without a name cannot be found again";
}

TEST_F(CommonValues, AreAnnouncedOnceForEachKeyFieldOfTheSession) {
    addField(L"B");
    addField(L"A", L"CUST", L"MAIN");
    addField(L"Other", L"CUST", L"Second");
    addField(L"Free", L"CUST", L"");
    base->SetKeyFieldSession(Str(L"Unregistered"), Str(L"Main"));
    const Lines told = {L"B: CommonValueChanged(Day)", L"A: CommonValueChanged(Day)"};
    listener(L"B").failWith(E_FAIL);
    setValue(L"Day", Value(1));
    EXPECT_EQ(takeEvents(), told);
    setValue(L"Day", Value(1));
    EXPECT_EQ(takeEvents(), told) << "the same value again is news, too";
    setObject(L"Day", base.get());
    EXPECT_EQ(takeEvents(), told);
    // Two rows of one key field: two events.
    base->SetKeyFieldSession(Str(L"Twice"), Str(L"Main"));
    base->RenameFieldCallback(Str(L"Twice"), Str(L"B"));
    takeEvents();
    setValue(L"Day", Value(2));
    EXPECT_EQ(std::ranges::count(takeEvents(), told[0]), 2);
}

// The order shows in the order in which the table lets go of its objects.
TEST_F(CommonValues, MoveToTheEndWhenSetAnewButObjectsStay) {
    for (const bool asObject : {false, true}) {
        Witness::Log gone;
        for (const wchar_t* name : {L"1", L"2", L"3"}) {
            setValue(name, Witness::Value(name, gone));
        }
        if (asObject) {
            setObject(L"1", Witness::Make(L"new 1", gone).get());
        } else {
            setValue(L"1", Witness::Value(L"new 1", gone));
        }
        EXPECT_EQ(gone.take(), L"1");
        reopen();
        EXPECT_EQ(gone.take(), asObject ? L"new 1 2 3" : L"2 3 new 1");
    }
}

TEST_F(CommonValues, MayBeSetByWhoeverHearsOfThem) {
    addField(L"A");
    addField(L"B");
    listener(L"A").onEvent([this](Event& event) {
        if (Shown(event.argument(0).get()) == L"Day") {
            setValue(L"Week", Value(value(L"Day") + L"/7"));
        }
    });
    setValue(L"Day", Value(L"14"));
    EXPECT_EQ(takeEvents(),
              (Lines{L"A: CommonValueChanged(Day)",
                     L"A: CommonValueChanged(Week)",
                     L"B: CommonValueChanged(Week)",
                     L"B: CommonValueChanged(Day)"}));
    EXPECT_EQ(value(L"Week"), L"14/7");

    // The same value within its own announcement: the last one counts.
    bool done = false;
    listener(L"A").onEvent([&](Event&) {
        if (!std::exchange(done, true)) {
            setValue(L"Day", Value(L"inner"));
        }
    });
    setValue(L"Day", Value(L"outer"));
    EXPECT_EQ(value(L"Day"), L"inner");
}

}  // namespace
}  // namespace kel::tests
