// The edit control that shows a record's id and reads the record whose id is typed into it.
#pragma once

#include "apps/binding/field_control.h"

namespace kel::binding {

class KeyControl final : public FieldControl {
public:
    // Called when the user has typed another id and leaves the control, or store() is called.
    // Answers whether the record was read; otherwise the control goes back to the record's id.
    using Reader = std::function<bool(const std::wstring& id)>;

    KeyControl(KeyField& field, HWND window, std::wstring name, Reader reader);

    void Show() override;
    bool Store() override;
    bool isEdited() const override { return isEdited_; }

private:
    bool Concerns(long amc) const override { return amc == 0; }
    void Rename(const std::wstring&, const std::wstring&) override {}
    void Command(UINT code) override;

    const Reader reader_;
    bool isShowing_ = false;
    bool isEdited_ = false;
};

}  // namespace kel::binding
