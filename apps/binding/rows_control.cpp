// A list view whose rows are the values of associated fields.
#include "apps/binding/rows_control.h"

#include <algorithm>

namespace kel::binding {
namespace {

// The rows of a field count from 1, those of a window from 0. A row of 0 or below would be the
// whole attribute.
constexpr bool IsRow(int row) {
    return row >= 0 && row < SHRT_MAX;
}

short FieldRow(int row) {
    return static_cast<short>(row + 1);
}

}  // namespace

// The items are at work on rows: an event that comes meanwhile must not use them for others, since
// they would lose the row that they are at.
class RowsControl::Using {
public:
    explicit Using(RowsControl& control) : control_(control) { control_.isUsingItems_ = true; }
    Using(const Using&) = delete;
    Using& operator=(const Using&) = delete;
    ~Using() { control_.isUsingItems_ = false; }

private:
    RowsControl& control_;
};

RowsControl::RowsControl(KeyField& field,
                         HWND window,
                         const std::wstring& name,
                         const std::vector<Column>& columns)
    : FieldControl(field, window, name),
      editor_(
          window,
          [this](int row, int column, const std::wstring& text) { return Put(row, column, text); },
          [this](int row, int column, CellExit exit) { Moved(row, column, exit); }) {
    ListView_SetExtendedListViewStyle(
        window, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER);
    int index = 0;
    for (const Column& column : columns) {
        LVCOLUMNW header{};
        header.mask = LVCF_TEXT | LVCF_WIDTH;
        header.pszText = const_cast<wchar_t*>(column.heading.c_str());
        header.cx = column.width;
        ListView_InsertColumn(window, index++, &header);
        parts_.push_back({MakeItem(field, column.definition, name),
                          column.definition.amc,
                          column.definition.smc,
                          !column.definition.correlative.empty()});
    }
}

short RowsControl::CountRows() const {
    const auto counted =
        std::find_if(parts_.begin(), parts_.end(), [](const Part& part) { return part.amc != 0; });
    return counted == parts_.end()
               ? short{0}
               : Ask<short>([&](short* to) { return counted->item->Count(to); });
}

// The row of a stored column is an index. To an item of attribute 0 an index is an attribute, and a
// correlative learns of the row by the item's own value number only.
std::wstring RowsControl::CellText(const Part& part, int row) {
    const auto ask = [&](short index) {
        return AskText([&](BSTR* to) { return part.item->get_ExternalValue(index, to); });
    };
    if (part.isStored()) {
        return ask(FieldRow(row));
    }
    struct ValueNumber {
        _kelDictItem& item;
        ~ValueNumber() { item.put_VMC(0); }
    } number{*part.item};
    Check(part.item->put_VMC(FieldRow(row)));
    return ask(0);
}

void RowsControl::Show() {
    if (window() == nullptr || isUsingItems_) {
        return;
    }
    const Using items(*this);
    setError({});
    editor_.Close();
    const int selected = selectedRow();
    SendMessageW(window(), WM_SETREDRAW, FALSE, 0);
    const int rows = CountRows();
    // Rows are kept where they can be: the list stays where the user has scrolled it to.
    while (rowCount() > rows) {
        ListView_DeleteItem(window(), rowCount() - 1);
    }
    for (int row = 0; row < rows; ++row) {
        if (row >= rowCount()) {
            LVITEMW item{};
            item.iItem = row;
            ListView_InsertItem(window(), &item);
        }
        for (std::size_t column = 0; column < parts_.size(); ++column) {
            std::wstring text;
            try {
                text = field().letters().fromRecord(CellText(parts_[column], row));
            } catch (const Error& error) {
                setError(error.description());
            }
            ListView_SetItemText(window(), row, static_cast<int>(column), text.data());
        }
    }
    Select(std::min(selected, rows - 1));
    SendMessageW(window(), WM_SETREDRAW, TRUE, 0);
    InvalidateRect(window(), nullptr, TRUE);
}

bool RowsControl::Put(int row, int column, const std::wstring& text) {
    if (!IsRow(row) || !part(column).isStored()) {
        return false;
    }
    try {
        const Using items(*this);
        Check(part(column).item->put_ExternalValue(FieldRow(row),
                                                   Str(field().letters().toRecord(text)).get()));
    } catch (const Error& error) {
        setError(error.description());
        StateChanged();
        return false;
    }
    Show();  // the control's own changes do not come back to it
    StateChanged();
    return true;
}

int RowsControl::rowCount() const {
    return ListView_GetItemCount(window());
}

int RowsControl::selectedRow() const {
    return ListView_GetNextItem(window(), -1, LVNI_SELECTED);
}

void RowsControl::Select(int row) const {
    if (row >= 0) {
        constexpr UINT kBoth = LVIS_SELECTED | LVIS_FOCUSED;
        ListView_SetItemState(window(), row, kBoth, kBoth);
        ListView_EnsureVisible(window(), row, FALSE);
    }
}

void RowsControl::Edit(int row, int column) {
    if (!isReadOnly_ && row >= 0 && row < rowCount() && part(column).isStored()) {
        Select(row);
        editor_.Open(row, column);
    }
}

// Inserting and removing work on whole values. Each attribute's change is announced on its own, so
// this control looks again only after the last. Attribute 0 has no rows: an item of it would insert
// or remove the attribute of the row's number.
template <typename Change>
void RowsControl::ForEachAttribute(Change&& change) {
    {
        const Using items(*this);
        std::vector<long> done{0};
        for (const Part& part : parts_) {
            if (std::find(done.begin(), done.end(), part.amc) != done.end()) {
                continue;
            }
            done.push_back(part.amc);
            part.item->put_SMC(0);
            change(*part.item);
            part.item->put_SMC(part.smc);
        }
    }
    Show();
    StateChanged();
}

void RowsControl::InsertRow() {
    if (isReadOnly_ || !Store()) {
        return;
    }
    const int selected = selectedRow();
    const int row = selected >= 0 ? selected : rowCount();
    if (!IsRow(row)) {
        return;
    }
    ForEachAttribute([&](_kelDictItem& item) {
        // An empty value behind the last one is none; a blank keeps the row there to be edited.
        Check(item.InsertRow(Str(row < rowCount() ? L"" : L" ").get(), FieldRow(row)));
    });
    const auto first = std::find_if(
        parts_.begin(), parts_.end(), [](const Part& part) { return part.isStored(); });
    if (first != parts_.end()) {
        Edit(row, static_cast<int>(first - parts_.begin()));
    }
}

void RowsControl::RemoveRow() {
    const int row = selectedRow();
    if (isReadOnly_ || !IsRow(row)) {
        return;
    }
    editor_.Close();
    ForEachAttribute([&](_kelDictItem& item) { Check(item.RemoveRow(FieldRow(row))); });
}

bool RowsControl::Concerns(long amc) const {
    // A computed column may use any other.
    return std::any_of(parts_.begin(), parts_.end(), [&](const Part& part) {
        return part.amc == amc || part.isComputed;
    });
}

void RowsControl::Rename(const std::wstring& session, const std::wstring& keyId) {
    for (const Part& part : parts_) {
        Check(part.item->put_Session(Str(session).get()));
        Check(part.item->put_KeyId(Str(keyId).get()));
    }
}

void RowsControl::Notify(NMHDR& header) {
    switch (header.code) {
        case NM_DBLCLK: {
            const auto& click = reinterpret_cast<const NMITEMACTIVATE&>(header);
            LVHITTESTINFO hit{};
            hit.pt = click.ptAction;
            if (ListView_SubItemHitTest(window(), &hit) >= 0) {
                Edit(hit.iItem, hit.iSubItem);
            }
            break;
        }
        case LVN_KEYDOWN:
            switch (reinterpret_cast<const NMLVKEYDOWN&>(header).wVKey) {
                case VK_F2:
                    Edit(selectedRow(), 0);
                    break;
                case VK_INSERT:
                    InsertRow();
                    break;
                case VK_DELETE:
                    RemoveRow();
                    break;
                default:
                    break;
            }
            break;
        default:
            break;
    }
}

void RowsControl::Moved(int row, int column, CellExit exit) {
    const int last = static_cast<int>(parts_.size()) - 1;
    switch (exit) {
        case CellExit::kStay:
            break;
        case CellExit::kNextColumn:
            Edit(column < last ? row : row + 1, column < last ? column + 1 : 0);
            break;
        case CellExit::kPreviousColumn:
            Edit(column > 0 ? row : row - 1, column > 0 ? column - 1 : last);
            break;
        case CellExit::kNextRow:
            Edit(row + 1, column);
            break;
        case CellExit::kPreviousRow:
            Edit(row - 1, column);
            break;
    }
}

}  // namespace kel::binding
