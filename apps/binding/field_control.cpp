// The events and window messages that every bound control hears.
#include "apps/binding/field_control.h"

namespace kel::binding {
namespace {

constexpr COLORREF kWrong = RGB(255, 222, 222);
constexpr COLORREF kUnsaved = RGB(255, 248, 208);

}  // namespace

Ptr<_kelDictItem> MakeItem(const KeyField& field,
                           const Definition& definition,
                           const std::wstring& controlName) {
    auto item = Create<_kelDictItem>(L"kelSDK.kelDictItem");
    const auto put = [&](HRESULT (STDMETHODCALLTYPE _kelDictItem::*setter)(BSTR),
                         const std::wstring& value) {
        if (!value.empty()) {
            Check((item.get()->*setter)(Str(value).get()));
        }
    };
    put(&_kelDictItem::put_KeyId, field.keyId());
    put(&_kelDictItem::put_Session, field.session());
    put(&_kelDictItem::put_FileName, field.fileName());
    put(&_kelDictItem::put_ControlName, controlName);
    Check(item->put_AMC(definition.amc));
    Check(item->put_VMC(definition.vmc));
    Check(item->put_SMC(definition.smc));
    put(&_kelDictItem::put_Conversion, definition.conversion);
    put(&_kelDictItem::put_Correlative, definition.correlative);
    put(&_kelDictItem::put_DefaultProg, definition.defaultProg);
    put(&_kelDictItem::put_ValidationProg, definition.validationProg);
    put(&_kelDictItem::put_ErrMsg, definition.errMsg);
    put(&_kelDictItem::put_DictName, definition.dictName);
    return item;
}

FieldControl::FieldControl(KeyField& field, HWND window, std::wstring name)
    : field_(field), window_(window), parent_(GetParent(window)), name_(std::move(name)) {
    const auto id = reinterpret_cast<UINT_PTR>(this);
    SetWindowSubclass(window_, WindowProc, id, id);
    SetWindowSubclass(parent_, WindowProc, id, id);
    subscription_ = Listen(field_.callback(), [this](FieldEvent event, const Arguments& arguments) {
        Hear(event, arguments);
    });
}

FieldControl::~FieldControl() {
    Detach();
    if (brush_ != nullptr) {
        DeleteObject(brush_);
    }
}

void FieldControl::Detach() {
    const auto id = reinterpret_cast<UINT_PTR>(this);
    subscription_.end();
    if (window_ != nullptr) {
        RemoveWindowSubclass(window_, WindowProc, id);
        RemoveWindowSubclass(parent_, WindowProc, id);
        window_ = nullptr;
    }
}

void FieldControl::StateChanged() {
    if (window_ != nullptr) {
        InvalidateRect(window_, nullptr, TRUE);
    }
    if (listener_) {
        listener_(*this);
    }
}

void FieldControl::Hear(FieldEvent event, const Arguments& arguments) {
    switch (event) {
        case FieldEvent::kRefresh: {
            const long amc = arguments.number(0);
            if (amc != 0 && !Concerns(amc)) {
                return;
            }
            isUnsaved_ = field_.isChanged() && (amc != 0 || isUnsaved_);
            const std::wstring author =
                AskText([&](BSTR* to) { return field_.callback().get_RefreshControlName(to); });
            if (author != name_) {
                Show();  // the author of the change shows it already
            }
            break;
        }
        case FieldEvent::kClear:
        case FieldEvent::kReadValid:
        case FieldEvent::kConnected:
        case FieldEvent::kDisconnected:
            isUnsaved_ = false;
            Show();
            break;
        case FieldEvent::kSessionChanged:
            field_.sessionChanged(arguments.text(0));
            Rename(field_.session(), field_.keyId());
            break;
        case FieldEvent::kKeyFieldChanged:
            field_.keyIdChanged(arguments.text(0));
            Rename(field_.session(), field_.keyId());
            break;
        case FieldEvent::kDeleted:             // whoever deletes a record begins the next
        case FieldEvent::kCommonValueChanged:  // for programs that share values
            return;
    }
    StateChanged();
}

// The colour that says how it stands with the control; null for the system's own.
HBRUSH FieldControl::Background(HDC context) {
    if (error_.empty() && !isUnsaved_ && !isEdited()) {
        return nullptr;
    }
    const COLORREF colour = error_.empty() ? kUnsaved : kWrong;
    if (brush_ == nullptr || colour != brushColour_) {
        if (brush_ != nullptr) {
            DeleteObject(brush_);
        }
        brush_ = CreateSolidBrush(colour);
        brushColour_ = colour;
    }
    SetBkColor(context, colour);
    SetTextColor(context, RGB(0, 0, 0));
    return brush_;
}

LRESULT FieldControl::Handle(HWND window, UINT message, WPARAM first, LPARAM second) {
    const bool fromControl = window == parent_ && reinterpret_cast<HWND>(second) == window_;
    switch (message) {
        case WM_COMMAND:
            if (fromControl) {
                Command(HIWORD(first));
            }
            break;
        case WM_NOTIFY:
            if (window == parent_ && reinterpret_cast<NMHDR*>(second)->hwndFrom == window_) {
                Notify(*reinterpret_cast<NMHDR*>(second));
            }
            break;
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORLISTBOX:
            if (fromControl) {
                if (const HBRUSH brush = Background(reinterpret_cast<HDC>(first))) {
                    return reinterpret_cast<LRESULT>(brush);
                }
            }
            break;
        case WM_KILLFOCUS:
            if (window == window_) {
                Leave();
            }
            break;
        case WM_NCDESTROY: {
            const LRESULT result = DefSubclassProc(window, message, first, second);
            Detach();
            return result;
        }
        default:
            break;
    }
    return DefSubclassProc(window, message, first, second);
}

LRESULT CALLBACK FieldControl::WindowProc(HWND window,
                                          UINT message,
                                          WPARAM first,
                                          LPARAM second,
                                          UINT_PTR /*id*/,
                                          DWORD_PTR self) noexcept {
    auto* const control = reinterpret_cast<FieldControl*>(self);
    try {
        return control->Handle(window, message, first, second);
    } catch (const Error& error) {
        control->setError(error.description());
        return DefSubclassProc(window, message, first, second);
    }
}

}  // namespace kel::binding
