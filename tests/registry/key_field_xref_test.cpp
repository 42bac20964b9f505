// The cross-reference table: rows are found under any spelling, filled, blanked and used again.
#include <gtest/gtest.h>

#include "tests/registry/component.h"

namespace kel::tests {
namespace {

class KeyFieldTable : public ComponentTest {
protected:
    void TearDown() override {
        base.reset();
        ComponentTest::TearDown();
    }
    static Text row(long index) {
        const auto& row = registry().xref().row(index);
        return row.keyField + L"/" + row.session + L"/" + row.fileName;
    }
    static Text key(int number) { return L"Key" + std::to_wstring(number); }
    void fill(int from, int to) const {
        for (int i = from; i <= to; ++i) {
            base->SetKeyFieldSession(Str(key(i)), Str(L"S"));
        }
    }

    ComPtr<_kelBase> base = newBase();
};

TEST_F(KeyFieldTable, GrowsByTenAtTheFirstKeyFieldTooMany) {
    EXPECT_EQ(registry().xref().upper(), 10);
    struct Case {
        int keyFields;
        long upper;
    };
    int filled = 0;
    for (const Case& one : {Case{1, 10}, Case{11, 10}, Case{12, 20}, Case{21, 20}, Case{22, 30}}) {
        SCOPED_TRACE(one.keyFields);
        fill(filled + 1, one.keyFields);
        filled = one.keyFields;
        EXPECT_EQ(registry().xref().upper(), one.upper);
        EXPECT_EQ(row(filled - 1), key(filled) + L"/S/");
    }
    newBase();  // a further root object leaves the table as it is
    EXPECT_EQ(registry().xref().upper(), 30);
    EXPECT_EQ(row(0), L"Key1/S/");
}

TEST_F(KeyFieldTable, UsesTheFirstBlankRowAgain) {
    fill(1, 11);
    base->SetKeyFieldFileName(Str(L"Key4"), Str(L"FILE4"));
    base->RemoveFieldCallBack(Str(L"KEY7"));
    base->RemoveFieldCallBack(Str(L"key4"));
    EXPECT_EQ(row(3), L"//");
    base->SetKeyFieldFileName(Str(L"New"), Str(L"NEWFILE"));
    EXPECT_EQ(row(3), L"New//NEWFILE");
    EXPECT_EQ(row(6), L"//");
    // A row farther down that has the key field wins over a blank one before it.
    base->SetKeyFieldSession(Str(L"KEY9"), Str(L"T"));
    EXPECT_EQ(row(6), L"//");
    EXPECT_EQ(row(8), L"Key9/T/");
    base->SetKeyFieldSession(Str(L"Another"), Str(L"S"));
    EXPECT_EQ(row(6), L"Another/S/");
    EXPECT_EQ(registry().xref().upper(), 10);
}

TEST_F(KeyFieldTable, KeepsTheFirstSpellingAndTheOtherField) {
    base->SetKeyFieldSession(Str(L"Cust"), Str(L"Main"));
    base->SetKeyFieldFileName(Str(L"CUST"), Str(L"Customers"));
    EXPECT_EQ(row(0), L"Cust/Main/Customers");
    base->SetKeyFieldSession(Str(L"cust"), Str(L"MAIN"));
    EXPECT_EQ(row(0), L"Cust/MAIN/Customers");
    base->SetKeyFieldSession(Str(L"cust"), nullptr);
    EXPECT_EQ(row(0), L"Cust//Customers");
    struct Case {
        const wchar_t* keyField;
        const wchar_t* fileName;
    };
    for (const Case& one : {Case{L"cUSt", L"Customers"}, Case{L"", L""}, Case{L"Cus", L""}}) {
        EXPECT_EQ(registry().GetKeyFieldFileName(one.keyField), one.fileName);
        EXPECT_EQ(registry().GetKeyFieldSession(one.keyField), L"");
    }
}

TEST_F(KeyFieldTable, LosesEveryRowOfARemovedKeyField) {
    fill(1, 3);
    base->RenameFieldCallback(Str(L"Key3"), Str(L"KEY1"));  // now two rows hold it
    EXPECT_EQ(row(2), L"KEY1/S/");
    base->SetKeyFieldSession(Str(L"key1"), Str(L"First"));
    EXPECT_EQ(row(0), L"Key1/First/");
    EXPECT_EQ(row(2), L"KEY1/S/");
    base->RemoveFieldCallBack(Str(L"key1"));
    EXPECT_EQ(row(0), L"//");
    EXPECT_EQ(row(1), L"Key2/S/");
    EXPECT_EQ(row(2), L"//");
}

// The key field without a name has the first row without one, until another takes the row.
TEST_F(KeyFieldTable, HasARowForTheEmptyName) {
    fill(1, 2);
    base->SetKeyFieldSession(Str(L""), Str(L"T"));
    base->SetKeyFieldFileName(Str(L""), Str(L"FILE"));
    EXPECT_EQ(row(2), L"/T/FILE");
    EXPECT_EQ(registry().GetKeyFieldSession(L""), L"T");
    EXPECT_EQ(registry().GetKeyFieldFileName(L""), L"FILE");
    fill(3, 3);
    EXPECT_EQ(row(2), L"Key3/S/FILE");
    EXPECT_EQ(registry().GetKeyFieldSession(L""), L"");
    base->SetKeyFieldSession(Str(L""), Str(L"U"));
    base->RemoveFieldCallBack(Str(L""));
    EXPECT_EQ(row(3), L"//");
    fill(4, 11);
    EXPECT_EQ(registry().xref().upper(), 10);
    EXPECT_EQ(registry().GetKeyFieldSession(L""), L"") << "no row left";
    base->SetKeyFieldSession(Str(L""), Str(L"V"));
    EXPECT_EQ(registry().xref().upper(), 20);
    EXPECT_EQ(registry().GetKeyFieldSession(L""), L"V");
}

TEST_F(KeyFieldTable, TakesNoMoreKeyFieldsThanItCanNumber) {
    auto& table = registry().xref();
    // Grown by renaming, as looking for a free row each time would take too long.
    for (long next = 0; table.upper() < 32767;) {
        for (; next <= table.upper(); ++next) {
            table.renameKeyField(next, L"k" + std::to_wstring(next));
        }
        table.setSession(L"one more", L"S");
        table.renameKeyField(next, L"k" + std::to_wstring(next));
        ++next;
    }
    for (long row = 0; row <= table.upper(); ++row) {
        table.renameKeyField(row, L"k" + std::to_wstring(row));
    }
    const long upper = table.upper();
    EXPECT_EQ(base->SetKeyFieldSession(Str(L"too many"), Str(L"S")), S_OK);
    EXPECT_EQ(table.upper(), upper);
    EXPECT_EQ(table.find(L"too many"), nullptr);
    EXPECT_EQ(base->SetKeyFieldSession(Str(L"K17"), Str(L"S")), S_OK);
    EXPECT_EQ(row(17), L"k17/S/");
}

}  // namespace
}  // namespace kel::tests
