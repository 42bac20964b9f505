// Edit controls, combo boxes and check boxes over one value.
#include "apps/binding/value_control.h"

#include <windowsx.h>

#include <algorithm>

namespace kel::binding {
namespace {

constexpr const wchar_t* kChecked = L"1";

std::wstring WindowText(HWND window) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

bool IsOfClass(HWND window, const wchar_t* name) {
    wchar_t own[64] = {};
    GetClassNameW(window, own, ARRAYSIZE(own));
    return SameName(own, name);
}

}  // namespace

ValueControl::ValueControl(KeyField& field,
                           HWND window,
                           const std::wstring& name,
                           const Definition& definition,
                           WriteBack writeBack)
    : FieldControl(field, window, name),
      item_(MakeItem(field, definition, name)),
      hasDefault_(!definition.defaultProg.empty()),
      refusal_(definition.errMsg),
      writeBack_(writeBack) {}

// The dictionary is asked once, as soon as there is a connection.
void ValueControl::ReadDefinition() {
    const auto progress =
        Ask<enumDictRead>([&](enumDictRead* to) { return item_->get_DictRead(to); });
    const std::wstring dictName = AskText([&](BSTR* to) { return item_->get_DictName(to); });
    if (progress == DictReadPending && !dictName.empty()) {
        Check(item_->InitalizeDictItem());
    }
}

void ValueControl::Show() {
    if (window() == nullptr || isShowing_) {
        return;
    }
    isShowing_ = true;
    setError({});
    try {
        ReadDefinition();
        shown_ = AskText([&](BSTR* to) { return item_->get_ExternalValue(0, to); });
    } catch (const Error& error) {
        // Better the stored form than nothing.
        shown_ = AskText([&](BSTR* to) { return item_->get_InternalValue(0, to); });
        setError(error.description());
    }
    Display(field().letters().fromRecord(shown_));
    isEdited_ = false;
    isShowing_ = false;
}

bool ValueControl::Put(const std::wstring& entered) {
    try {
        Check(item_->put_ExternalValue(0, Str(entered).get()));
        setError({});
        isEdited_ = false;
        return true;
    } catch (const Error& error) {
        // What a program or a conversion says about a refused entry is for the log; what the form's
        // author wrote is for the user.
        setError(refusal_.empty() ? error.description() : refusal_);
        StateChanged();
        return false;
    }
}

bool ValueControl::Store() {
    if (!isEdited_ || isReadOnly_) {
        return true;
    }
    if (!Put(field().letters().toRecord(Entered()))) {
        return false;
    }
    Show();  // as the database writes it
    StateChanged();
    return true;
}

bool ValueControl::Finish() {
    if (!Store()) {
        return false;
    }
    // A default is shown before it is stored.
    const bool isMissing =
        hasDefault_ && !shown_.empty() &&
        AskText([&](BSTR* to) { return item_->get_InternalValue(0, to); }).empty();
    return !isMissing || Put(shown_);
}

void ValueControl::Display(const std::wstring& text) {
    // The same text again would move the caret.
    if (WindowText(window()) != text) {
        SetWindowTextW(window(), text.c_str());
    }
}

std::wstring ValueControl::Entered() const {
    return WindowText(window());
}

ValueControl::Change ValueControl::ChangeOf(UINT code) const {
    return {.isChange = code == EN_CHANGE, .isWhole = false};
}

bool ValueControl::Concerns(long amc) const {
    // A computed field may use any other.
    return amc == Ask<long>([&](long* to) { return item_->get_AMC(to); }) ||
           !AskText([&](BSTR* to) { return item_->get_Correlative(to); }).empty();
}

void ValueControl::Rename(const std::wstring& session, const std::wstring& keyId) {
    Check(item_->put_Session(Str(session).get()));
    Check(item_->put_KeyId(Str(keyId).get()));
}

void ValueControl::Command(UINT code) {
    const Change change = isShowing_ ? Change() : ChangeOf(code);
    if (!change.isChange) {
        return;
    }
    isEdited_ = true;
    if (change.isWhole) {
        Store();
    } else if (writeBack_ == WriteBack::kOnKeystroke) {
        Put(field().letters().toRecord(Entered()));
    }
    StateChanged();
}

void ValueControl::Leave() {
    if (isEdited_) {
        Store();
    } else if (writeBack_ == WriteBack::kOnKeystroke) {
        Show();
    }
}

void CheckControl::Display(const std::wstring& text) {
    Button_SetCheck(window(), text == kChecked ? BST_CHECKED : BST_UNCHECKED);
}

std::wstring CheckControl::Entered() const {
    return Button_GetCheck(window()) == BST_CHECKED ? kChecked : L"";
}

ValueControl::Change CheckControl::ChangeOf(UINT code) const {
    return {.isChange = code == BN_CLICKED, .isWhole = true};
}

ChoiceControl::ChoiceControl(KeyField& field,
                             HWND window,
                             const std::wstring& name,
                             const Definition& definition,
                             const std::vector<Choice>& choices)
    : ValueControl(field, window, name, definition), isCombo_(IsOfClass(window, L"ComboBox")) {
    for (const Choice& choice : choices) {
        Add(choice);
    }
}

LRESULT
ChoiceControl::Send(UINT comboMessage, UINT listMessage, WPARAM first, LPARAM second) const {
    return SendMessageW(window(), isCombo_ ? comboMessage : listMessage, first, second);
}

void ChoiceControl::Add(const Choice& choice) {
    choices_.push_back(choice);
    Send(CB_ADDSTRING, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(choice.words.c_str()));
}

void ChoiceControl::Display(const std::wstring& text) {
    const auto isIt = [&](const Choice& choice) { return choice.value == text; };
    auto found = std::find_if(choices_.begin(), choices_.end(), isIt);
    if (found == choices_.end() && !text.empty()) {
        Add({text, text});
        found = choices_.end() - 1;
    }
    // Behind the last one is none: -1.
    const auto index = found == choices_.end() ? -1 : found - choices_.begin();
    Send(CB_SETCURSEL, LB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

std::wstring ChoiceControl::Entered() const {
    const LRESULT index = Send(CB_GETCURSEL, LB_GETCURSEL, 0, 0);
    return index < 0 ? std::wstring() : choices_[static_cast<std::size_t>(index)].value;
}

ValueControl::Change ChoiceControl::ChangeOf(UINT code) const {
    static_assert(CBN_SELCHANGE == LBN_SELCHANGE);  // it may be either kind
    return {.isChange = code == CBN_SELCHANGE, .isWhole = true};
}

}  // namespace kel::binding
