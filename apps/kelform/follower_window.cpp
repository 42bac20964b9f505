// The window that shows the currency of the country at hand.
#include "apps/kelform/follower_window.h"

#include "apps/kelform/fields.h"
#include "apps/kelform/resource.h"

namespace kel::form {
namespace {

struct Line {
    int id;
    const wchar_t* label;
    const wchar_t* field;
    bool isEdit;
};

constexpr Line kLines[] = {
    {IDC_NAME, L"&Name", L"NAME", true},
    {IDC_OFFICIAL, L"&Official name", L"OFFICIAL.NAME", true},
    {-1, L"Continent", L"CONTINENT.NAME", false},
    {-1, L"Currency", L"CURRENCY.NAME", false},
    {-1, L"Area in km\u00B2", L"AREA", false},
    {-1, L"Population", L"POPULATION", false},
    {-1, L"People per km\u00B2", L"DENSITY", false},
};

}  // namespace

FollowerWindow::FollowerWindow(binding::KeyField& field) : field_(field) {
    Create(L"Follower", {360, 400}, WS_OVERLAPPEDWINDOW, nullptr);
}

void FollowerWindow::Build() {
    int y = 12;
    for (const Line& line : kLines) {
        AddLabel(line.label, {12, y + 3, 110, 16});
        const HWND window = line.isEdit ? AddEdit(line.id, {126, y, 222, 22}, kStretchRight)
                                        : AddLabel(L"", {128, y + 3, 220, 16}, kStretchRight);
        controls_.push_back(
            std::make_unique<binding::ValueControl>(field_,
                                                    window,
                                                    std::wstring(L"follower") + line.field,
                                                    DefinitionOf(line.field),
                                                    binding::WriteBack::kOnKeystroke));
        y += line.isEdit ? 30 : 24;
    }
    AddLabel(L"&Subdivisions", {12, y + 4, 200, 16});
    const HWND list = Add(WC_LISTVIEWW,
                          L"",
                          LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | WS_TABSTOP,
                          IDC_ROWS,
                          {12, y + 24, 336, 400 - y - 36},
                          kStretchRight | kStretchDown,
                          WS_EX_CLIENTEDGE);
    controls_.push_back(std::make_unique<binding::RowsControl>(
        field_,
        list,
        L"followerRows",
        std::vector<binding::Column>{{{.amc = atlas::kSubdivisionCode}, L"Code", Scaled(80)},
                                     {{.amc = atlas::kSubdivisionName}, L"Name", Scaled(230)}}));
    for (const auto& control : controls_) {
        control->Show();
    }
}

// It stays for the next time.
bool FollowerWindow::MayClose() {
    ShowWindow(handle(), SW_HIDE);
    return false;
}

}  // namespace kel::form
