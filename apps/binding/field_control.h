// What every bound control does: it hears the events of its key field, shows itself again when they
// concern it, and marks what is unsaved or wrong.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include "apps/binding/key_field.h"

namespace kel::binding {

// Where a field stands and how it is shown. What the dictionary says about `dictName` comes first;
// the rest is used as it stands where the name is empty or the dictionary cannot be read.
struct Definition {
    std::wstring dictName{};
    long amc = 0;  // attribute, value, subvalue, from 1; 0 the record's id, or the whole
    long vmc = 0;
    long smc = 0;
    std::wstring conversion{};
    std::wstring correlative{};
    std::wstring defaultProg{};
    std::wstring validationProg{};
    std::wstring errMsg{};  // said when an entry is refused; required beside `validationProg`
};

// A dictionary item for `definition`, in the name of a control.
Ptr<_kelDictItem> MakeItem(const KeyField& field,
                           const Definition& definition,
                           const std::wstring& controlName);

class FieldControl {
public:
    // The key field must outlive the control; the window may go first.
    FieldControl(KeyField& field, HWND window, std::wstring name);
    FieldControl(const FieldControl&) = delete;
    FieldControl& operator=(const FieldControl&) = delete;
    virtual ~FieldControl();

    // Fetches what the buffer holds, and shows it.
    virtual void Show() = 0;
    // Brings what the user entered into the buffer.
    //   false  it was refused; error() says why, and the entry stays on the screen
    virtual bool Store() = 0;
    // The last step before the record is written: stores the entry, and a default that is shown.
    virtual bool Finish() { return Store(); }
    // Whether an entry is not in the buffer yet.
    virtual bool isEdited() const = 0;

    HWND window() const { return window_; }
    const std::wstring& name() const { return name_; }
    // Why the last entry was refused, or the value could not be shown; empty if all is well.
    const std::wstring& error() const { return error_; }
    // Called after every change of the control's state.
    void onState(std::function<void(FieldControl&)> listener) { listener_ = std::move(listener); }

protected:
    KeyField& field() const { return field_; }
    void setError(std::wstring text) { error_ = std::move(text); }
    // Repaints, and tells the listener.
    void StateChanged();

    // Whether a change of attribute `amc` changes what is shown.
    virtual bool Concerns(long amc) const = 0;
    // The name of session or key field changed.
    virtual void Rename(const std::wstring& session, const std::wstring& keyId) = 0;
    // Messages that the window sends to its parent, and the loss of the keyboard.
    virtual void Command(UINT /*code*/) {}
    virtual void Notify(NMHDR& /*header*/) {}
    virtual void Leave() { Store(); }

private:
    void Hear(FieldEvent event, const Arguments& arguments);
    HBRUSH Background(HDC context);
    static LRESULT CALLBACK
    WindowProc(HWND, UINT, WPARAM, LPARAM, UINT_PTR id, DWORD_PTR self) noexcept;
    LRESULT Handle(HWND window, UINT message, WPARAM first, LPARAM second);
    void Detach();

    KeyField& field_;
    HWND window_;
    HWND parent_;
    const std::wstring name_;
    std::wstring error_;
    bool isUnsaved_ = false;
    std::function<void(FieldControl&)> listener_;
    HBRUSH brush_ = nullptr;
    COLORREF brushColour_ = 0;
    Subscription subscription_;
};

}  // namespace kel::binding
