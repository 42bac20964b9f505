// Pictures of windows: what they draw, saved as PNG by the platform's imaging library.
#include "apps/kelform/camera.h"

#include <commctrl.h>
#include <wincodec.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "apps/binding/com.h"
#include "apps/kelform/ui.h"

namespace kel::form {
namespace {

using binding::AskObject;
using binding::Check;
using binding::Ptr;

// A device context of a window or in memory, and what is selected into it meanwhile.
class Canvas {
public:
    explicit Canvas(HWND window) : window_(window), dc_(GetWindowDC(window)) {}
    Canvas(const Canvas& like, HGDIOBJ selected)
        : dc_(CreateCompatibleDC(like.dc_)), before_(SelectObject(dc_, selected)) {}
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    ~Canvas() {
        if (window_ != nullptr) {
            ReleaseDC(window_, dc_);
            return;
        }
        SelectObject(dc_, before_);
        DeleteDC(dc_);
    }
    HDC get() const { return dc_; }

private:
    HWND window_ = nullptr;
    HDC dc_;
    HGDIOBJ before_ = nullptr;
};

struct BitmapDeleter {
    using pointer = HBITMAP;
    void operator()(HBITMAP bitmap) const noexcept { DeleteObject(bitmap); }
};
using Bitmap = std::unique_ptr<void, BitmapDeleter>;

Bitmap Photograph(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    const int width = place.right - place.left;
    const int height = place.bottom - place.top;
    const Canvas source(window);
    Bitmap bitmap(CreateCompatibleBitmap(source.get(), width, height));
    const Canvas copy(source, bitmap.get());
    BitBlt(copy.get(), 0, 0, width, height, source.get(), 0, 0, SRCCOPY);
    return bitmap;
}

void Save(HBITMAP bitmap, const std::wstring& path) {
    Ptr<IWICImagingFactory> factory;
    Check(CoCreateInstance(CLSID_WICImagingFactory,
                           nullptr,
                           CLSCTX_INPROC_SERVER,
                           __uuidof(IWICImagingFactory),
                           reinterpret_cast<void**>(factory.put())));
    const auto picture = AskObject<IWICBitmap>([&](IWICBitmap** to) {
        return factory->CreateBitmapFromHBITMAP(bitmap, nullptr, WICBitmapIgnoreAlpha, to);
    });
    const auto stream =
        AskObject<IWICStream>([&](IWICStream** to) { return factory->CreateStream(to); });
    Check(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE));
    const auto encoder = AskObject<IWICBitmapEncoder>([&](IWICBitmapEncoder** to) {
        return factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, to);
    });
    Check(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache));
    const auto frame = AskObject<IWICBitmapFrameEncode>(
        [&](IWICBitmapFrameEncode** to) { return encoder->CreateNewFrame(to, nullptr); });
    Check(frame->Initialize(nullptr));
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    Check(frame->SetPixelFormat(&format));
    Check(frame->WriteSource(picture.get(), nullptr));
    Check(frame->Commit());
    Check(encoder->Commit());
}

// How a text is measured, and what of its place it cannot use, in units of 1/96 inch.
struct Writing {
    UINT format;
    int margin;
};

constexpr int kCheckMark = 18;
constexpr int kButtonEdge = 8;
constexpr int kHeadingEdge = 12;
constexpr int kStatusEdge = 6;

bool Fits(HWND control, const std::wstring& text, SIZE place, const Writing& writing) {
    const Canvas canvas(control);
    const auto font = reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0));
    const HGDIOBJ before = SelectObject(canvas.get(), font);
    const int margin = MulDiv(writing.margin, GetDeviceCaps(canvas.get(), LOGPIXELSX), 96);
    RECT needed{0, 0, place.cx - margin, 0};
    DrawTextW(canvas.get(),
              text.c_str(),
              static_cast<int>(text.size()),
              &needed,
              DT_CALCRECT | writing.format);
    SelectObject(canvas.get(), before);
    return needed.right <= place.cx - margin && needed.bottom <= place.cy;
}

SIZE ClientSize(HWND window) {
    RECT client{};
    GetClientRect(window, &client);
    return {client.right, client.bottom};
}

using Texts = std::vector<std::wstring>;

void CheckControl(HWND control, const std::wstring& kind, Texts& cut) {
    const std::wstring text = TextOf(control);
    const auto style = static_cast<DWORD>(GetWindowLongW(control, GWL_STYLE));
    Writing writing{DT_SINGLELINE, 0};
    if (kind == L"Static") {
        writing.format = (style & SS_TYPEMASK) == SS_LEFT ? DT_WORDBREAK : DT_SINGLELINE;
    } else if (kind == L"Button") {
        writing.margin = (style & BS_TYPEMASK) == BS_AUTOCHECKBOX ? kCheckMark : kButtonEdge;
    } else if (kind == L"Edit") {
        // Its text scrolls sideways; one letter tells whether a line has the height.
        const bool isHigh = Fits(control, L"\u00C5g", ClientSize(control), writing);
        if (!isHigh) {
            cut.push_back(text);
        }
        return;
    } else {
        return;
    }
    if (!text.empty() && !Fits(control, text, ClientSize(control), writing)) {
        cut.push_back(text);
    }
}

void CheckHeadings(HWND header, Texts& cut) {
    for (int index = 0; index < Header_GetItemCount(header); ++index) {
        wchar_t text[64] = {};
        HDITEMW item{};
        item.mask = HDI_TEXT | HDI_WIDTH;
        item.pszText = text;
        item.cchTextMax = ARRAYSIZE(text);
        SendMessageW(
            header, HDM_GETITEMW, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&item));
        if (!Fits(header, text, {item.cxy, ClientSize(header).cy}, {DT_SINGLELINE, kHeadingEdge})) {
            cut.emplace_back(text);
        }
    }
}

void CheckStatusLine(HWND line, Texts& cut) {
    const auto parts = static_cast<int>(SendMessageW(line, SB_GETPARTS, 0, 0));
    for (int part = 0; part < parts; ++part) {
        const auto index = static_cast<WPARAM>(part);
        wchar_t text[512] = {};
        RECT place{};
        SendMessageW(line, SB_GETTEXTW, index, reinterpret_cast<LPARAM>(text));
        SendMessageW(line, SB_GETRECT, index, reinterpret_cast<LPARAM>(&place));
        const SIZE size{place.right - place.left, place.bottom - place.top};
        if (*text != L'\0' && !Fits(line, text, size, {DT_SINGLELINE, kStatusEdge})) {
            cut.emplace_back(text);
        }
    }
}

BOOL CALLBACK CheckChild(HWND child, LPARAM context) {
    Texts& cut = *reinterpret_cast<Texts*>(context);
    wchar_t kind[64] = {};
    GetClassNameW(child, kind, ARRAYSIZE(kind));
    if (binding::SameName(kind, WC_HEADERW)) {
        CheckHeadings(child, cut);
    } else if (binding::SameName(kind, STATUSCLASSNAMEW)) {
        CheckStatusLine(child, cut);
    } else {
        CheckControl(child, kind, cut);
    }
    return TRUE;
}

}  // namespace

Camera::Camera(const std::wstring& folder) : folder_(folder) {
    if (!folder_.empty()) {
        std::filesystem::create_directories(folder_);
    }
}

void Camera::Take(HWND window, const wchar_t* name) const {
    if (folder_.empty()) {
        return;
    }
    RedrawWindow(
        window, nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    Save(Photograph(window).get(), folder_ + L"\\" + name + L".png");
}

std::vector<std::wstring> CutTexts(HWND window) {
    Texts cut;
    EnumChildWindows(window, CheckChild, reinterpret_cast<LPARAM>(&cut));
    return cut;
}

}  // namespace kel::form
