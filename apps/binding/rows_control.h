// A list view whose rows are associated multivalued fields: value n of each column's attribute
// makes row n. A computed column shows what its correlative makes of value n; it and one of
// attribute 0, the record's id, are only shown.
#pragma once

#include <vector>

#include "apps/binding/cell_editor.h"
#include "apps/binding/field_control.h"

namespace kel::binding {

struct Column {
    Definition definition;  // vmc 0: the values are the rows. smc: the same part of every value
    std::wstring heading;
    int width;  // in pixels
};

class RowsControl final : public FieldControl {
public:
    // `window` is a list view in report style. Its first column that is not of attribute 0 decides
    // how many rows there are.
    // Double click or F2 edits a cell; the keys Insert and Delete make and remove rows.
    RowsControl(KeyField& field,
                HWND window,
                const std::wstring& name,
                const std::vector<Column>& columns);

    void Show() override;
    bool Store() override { return editor_.Commit(CellExit::kStay); }
    bool isEdited() const override { return false; }

    // Rows and columns count from 0.
    int rowCount() const;
    int selectedRow() const;  // -1: none
    // Opens the edit box over a cell.
    void Edit(int row, int column);
    // Makes an empty row in front of the selected one, or at the end, and edits it.
    void InsertRow();
    // Removes the selected row.
    void RemoveRow();
    // Puts a text into a cell as the edit box does. Refused for a column that is only shown, and
    // for a row that there cannot be.
    bool Put(int row, int column, const std::wstring& text);
    HWND editWindow() const { return editor_.window(); }
    // Whether rows can be changed at all.
    void setReadOnly(bool value) { isReadOnly_ = value; }

private:
    bool Concerns(long amc) const override;
    void Rename(const std::wstring& session, const std::wstring& keyId) override;
    void Notify(NMHDR& header) override;
    void Leave() override {}
    void Moved(int row, int column, CellExit exit);
    void Select(int row) const;
    // Calls `change` for each attribute once, with whole values addressed.
    template <typename Change>
    void ForEachAttribute(Change&& change);

    struct Part {
        Ptr<_kelDictItem> item;
        long amc;
        long smc;
        bool isComputed;

        bool isStored() const { return amc != 0 && !isComputed; }
    };
    class Using;

    short CountRows() const;
    static std::wstring CellText(const Part& part, int row);
    const Part& part(int column) const { return parts_[static_cast<std::size_t>(column)]; }

    std::vector<Part> parts_;
    CellEditor editor_;
    bool isReadOnly_ = false;
    bool isUsingItems_ = false;
};

}  // namespace kel::binding
