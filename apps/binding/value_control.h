// Controls that show one value: edit, static, check box, combo box, list box.
#pragma once

#include <vector>

#include "apps/binding/field_control.h"

namespace kel::binding {

// When what the user enters goes into the buffer. Every other control of the key field follows at
// once.
enum class WriteBack { kOnLeaving, kOnKeystroke };

// A window control with one value. The kind of window makes no difference to the rest of a form:
// MakeControl picks the class that fits.
class ValueControl : public FieldControl {
public:
    ValueControl(KeyField& field,
                 HWND window,
                 const std::wstring& name,
                 const Definition& definition,
                 WriteBack writeBack = WriteBack::kOnLeaving);

    void Show() override;
    bool Store() override;
    bool Finish() override;
    bool isEdited() const override { return isEdited_; }
    // The value is to be shown only.
    void setReadOnly(bool value) { isReadOnly_ = value; }

protected:
    // Puts a value into the window, and takes what the window holds.
    virtual void Display(const std::wstring& text);
    virtual std::wstring Entered() const;
    // Whether a message to the parent says that the user changed the value, and whether this ends
    // the entry.
    struct Change {
        bool isChange = false;
        bool isWhole = false;
    };
    virtual Change ChangeOf(UINT code) const;

    bool Concerns(long amc) const override;
    void Rename(const std::wstring& session, const std::wstring& keyId) override;
    void Command(UINT code) override;
    void Leave() override;

private:
    void ReadDefinition();
    bool Put(const std::wstring& entered);

    const Ptr<_kelDictItem> item_;
    const bool hasDefault_;
    const std::wstring refusal_;
    const WriteBack writeBack_;
    bool isReadOnly_ = false;
    bool isShowing_ = false;
    bool isEdited_ = false;
    std::wstring shown_;
};

// An edit control is a ValueControl as it stands; so is a static, which is only shown.

// A check box: "1" is checked, anything else is not; unchecking stores an empty value.
class CheckControl final : public ValueControl {
public:
    using ValueControl::ValueControl;

private:
    void Display(const std::wstring& text) override;
    std::wstring Entered() const override;
    Change ChangeOf(UINT code) const override;
};

// One of the values that a list offers, and the words that stand for it.
struct Choice {
    std::wstring value;
    std::wstring words;
};

// A combo box (CBS_DROPDOWNLIST) or list box. A value that is not among the choices is shown as it
// is.
class ChoiceControl final : public ValueControl {
public:
    ChoiceControl(KeyField& field,
                  HWND window,
                  const std::wstring& name,
                  const Definition& definition,
                  const std::vector<Choice>& choices);

private:
    void Display(const std::wstring& text) override;
    std::wstring Entered() const override;
    Change ChangeOf(UINT code) const override;
    LRESULT Send(UINT comboMessage, UINT listMessage, WPARAM first, LPARAM second) const;
    void Add(const Choice& choice);

    std::vector<Choice> choices_;
    const bool isCombo_;
};

}  // namespace kel::binding
