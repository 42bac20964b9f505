// The list of rows that forms use, over the registered component: what it must not do to a record.
#include "apps/binding/rows_control.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/embedded/component_client.h"
#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

// A list view that nobody sees.
class HiddenList {
public:
    HiddenList() {
        INITCOMMONCONTROLSEX classes{sizeof classes, ICC_LISTVIEW_CLASSES};
        InitCommonControlsEx(&classes);
        parent_ = CreateWindowExW(
            0, L"STATIC", L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
        list_ = CreateWindowExW(0,
                                WC_LISTVIEWW,
                                L"",
                                WS_CHILD | LVS_REPORT,
                                0,
                                0,
                                0,
                                0,
                                parent_,
                                nullptr,
                                nullptr,
                                nullptr);
    }
    HiddenList(const HiddenList&) = delete;
    HiddenList& operator=(const HiddenList&) = delete;
    ~HiddenList() { DestroyWindow(parent_); }

    HWND get() const { return list_; }
    void select(int row) const { ListView_SetItemState(list_, row, LVIS_SELECTED, LVIS_SELECTED); }
    // The cells of a row, parted by bars.
    Text row(int index, int columns) const {
        Text line;
        for (int column = 0; column < columns; ++column) {
            std::array<wchar_t, 64> cell{};
            ListView_GetItemText(list_, index, column, cell.data(), static_cast<int>(cell.size()));
            line += (column == 0 ? L"" : L"|") + Text(cell.data());
        }
        return line;
    }

private:
    HWND parent_;
    HWND list_;
};

class RowsOfAForm : public testing::Test {
protected:
    RowsOfAForm() {
        KeepLoaded(L"kelSDK.dll");
        const EmbeddedSession loading;
        EXPECT_EQ(client.session().call(L"Connect").text(), L"True");
        Bstr capture;
        Bstr returning;
        tools.call(L"Execute", {L"CREATE-FILE CUST", ByRef(capture), ByRef(returning)});
        tools.call(L"mvRead", {L"Cust", L"17", L"CUST"});
        tools.call(L"Replace", {L"Cust", kRecord, 0});
        tools.call(L"mvWrite", {L"Cust", L"17"});
        tools.call(L"mvRead", {L"Cust", L"17", L"CUST"});
    }
    Text record() const { return tools.call(L"Extract", {L"Cust", 0}).text(); }

    static constexpr const wchar_t* kRecord =
        L"one\xFE"
        L"a\xFD"
        L"b\xFD"
        L"c\xFE"
        L"1\xFD"
        L"2\xFD"
        L"3\xFElast";

    TempFolder folder;
    Dispatch base = Dispatch::Create(L"kelSDK.kelBase");
    const Client client{base, L"Main", folder / L"rows.account"};
    const Dispatch tools = client.tools();
};

TEST_F(RowsOfAForm, ChangeNoAttributeThatIsNotTheirs) {
    const HiddenList list;
    binding::KeyField field(binding::Base(), L"Main", L"Cust", L"CUST");
    binding::RowsControl rows(field,
                              list.get(),
                              L"rows",
                              {{{.amc = 0}, L"Id", 10},
                               {{.amc = 0, .correlative = L"F;3;C10;*"}, L"Tenfold", 10},
                               {{.amc = 2}, L"Letter", 10},
                               {{.amc = 3}, L"Number", 10}});
    rows.Show();
    ASSERT_EQ(rows.rowCount(), 3) << "as many as there are letters, not attributes";
    EXPECT_EQ(list.row(0, 4), L"17|10|a|1");
    EXPECT_EQ(list.row(2, 4), L"17|30|c|3");

    list.select(1);
    rows.RemoveRow();
    EXPECT_EQ(record(),
              L"one\xFE"
              L"a\xFD"
              L"c\xFE"
              L"1\xFD"
              L"3\xFElast");
    list.select(0);
    rows.InsertRow();
    EXPECT_EQ(record(),
              L"one\xFE\xFD"
              L"a\xFD"
              L"c\xFE\xFD"
              L"1\xFD"
              L"3\xFElast");
    EXPECT_EQ(list.row(1, 4), L"17|10|a|1");
    rows.Edit(0, 2);
    EXPECT_NE(rows.editWindow(), nullptr);

    const Text before = record();
    struct Case {
        int row;
        int column;
    };
    for (const Case& refused : {Case{-1, 2}, {-2, 2}, {SHRT_MAX, 2}, {65535, 2}, {1, 0}, {1, 1}}) {
        SCOPED_TRACE(testing::Message() << refused.row << ", " << refused.column);
        EXPECT_FALSE(rows.Put(refused.row, refused.column, L"x"));
        EXPECT_EQ(record(), before);
    }
    EXPECT_TRUE(rows.Put(0, 2, L"z"));
    EXPECT_EQ(list.row(0, 4), L"17|0|z|");
}

// A program that asks all controls to show the record while a row is being stored.
TEST_F(RowsOfAForm, StoreARowWhoseProgramShowsTheRecordAgain) {
    Bstr capture;
    Bstr returning;
    tools.call(L"Execute", {L"CREATE-FILE PROGRAMS", ByRef(capture), ByRef(returning)});
    tools.call(L"mvRead", {L"Prog", L"AGAIN", L"PROGRAMS"});
    tools.call(L"Replace",
               {L"Prog",
                L"Sub Main(id, record, parameters, value)\xFE"
                L"parameters = Left(parameters, Len(parameters) - Len(\"No\")) & \"2\"\xFE"
                L"End Sub",
                0});
    tools.call(L"mvWrite", {L"Prog", L"AGAIN"});
    const HiddenList list;
    binding::KeyField field(binding::Base(), L"Main", L"Cust", L"CUST");
    binding::RowsControl rows(
        field,
        list.get(),
        L"rows",
        {{{.amc = 2, .validationProg = L"C:AGAIN", .errMsg = L"No"}, L"Letter", 10}});
    rows.Show();
    EXPECT_TRUE(rows.Put(1, 0, L"z")) << Narrow(rows.error());
    EXPECT_EQ(record(),
              L"one\xFE"
              L"a\xFD"
              L"z\xFD"
              L"c\xFE"
              L"1\xFD"
              L"2\xFD"
              L"3\xFElast");
}

}  // namespace
}  // namespace kel::tests
