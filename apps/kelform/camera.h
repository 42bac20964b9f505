// Pictures of windows, for the self-test: as files, and as texts that do not fit.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace kel::form {

class Camera {
public:
    // `folder` receives the pictures and is made when it does not exist; empty: takes none.
    explicit Camera(const std::wstring& folder);

    // Saves the window with its frame as NAME.png.
    //   throws  binding::Error or std::runtime_error when the file cannot be written
    void Take(HWND window, const wchar_t* name) const;

private:
    const std::wstring folder_;
};

// Labels, buttons, headings and parts of the status line whose text is longer or higher than the
// place it has.
std::vector<std::wstring> CutTexts(HWND window);

}  // namespace kel::form
