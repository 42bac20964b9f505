// What the country window is made of.
#include "apps/atlas/programs.h"
#include "apps/kelform/country_window.h"
#include "apps/kelform/fields.h"
#include "apps/kelform/messages.h"
#include "apps/kelform/resource.h"

namespace kel::form {
namespace {

using binding::WriteBack;

// A field with one value, in an edit control.
struct EditField {
    int id;
    const wchar_t* field;  // name in the dictionary
    const wchar_t* label;
    Box labelBox;
    Box box;
    unsigned anchors;
    WriteBack writeBack;
    const wchar_t* defaultProg;
    const wchar_t* validationProg;
    const wchar_t* errMsg;
};

constexpr int kLeft = 12;
constexpr int kLeftEdit = 112;
constexpr int kRight = 390;
constexpr int kRightEdit = 490;
constexpr int kHeight = 22;

constexpr Box Label(int x, int line) {
    return {x, 55 + 30 * line, 96, 16};
}
constexpr Box Edit(int x, int line, int width) {
    return {x, 52 + 30 * line, width, kHeight};
}

constexpr EditField kEdits[] = {
    {IDC_NAME,
     L"NAME",
     L"&Name",
     Label(kLeft, 0),
     Edit(kLeftEdit, 0, 250),
     kFixed,
     WriteBack::kOnKeystroke,
     L"",
     L"",
     L""},
    {IDC_OFFICIAL,
     L"OFFICIAL.NAME",
     L"&Official name",
     Label(kLeft, 1),
     Edit(kLeftEdit, 1, 250),
     kFixed,
     WriteBack::kOnKeystroke,
     L"",
     L"",
     L""},
    {IDC_ALPHA3,
     L"ALPHA3",
     L"&Three letters",
     Label(kLeft, 2),
     Edit(kLeftEdit, 2, 60),
     kFixed,
     WriteBack::kOnKeystroke,
     L"",
     L"",
     L""},
    {IDC_NUMBER,
     L"NUMBER",
     L"N&umber",
     {232, 115, 60, 16},
     Edit(302, 2, 60),
     kFixed,
     WriteBack::kOnKeystroke,
     L"",
     L"",
     L""},
    {IDC_CURRENCY,
     L"CURRENCY",
     L"Currenc&y",
     Label(kRight, 1),
     Edit(kRightEdit, 1, 50),
     kFixed,
     WriteBack::kOnLeaving,
     L"",
     atlas::kCheckCurrency,
     L"There is no currency with this code."},
    {IDC_AREA,
     atlas::kArea,
     L"&Area in km\u00B2",
     Label(kRight, 2),
     Edit(kRightEdit, 2, 110),
     kFixed,
     WriteBack::kOnLeaving,
     L"",
     L"",
     L"The area is a number of square kilometres."},
    {IDC_POPULATION,
     atlas::kPopulation,
     L"&Population",
     Label(kRight, 3),
     Edit(kRightEdit, 3, 110),
     kFixed,
     WriteBack::kOnLeaving,
     L"",
     L"",
     L"The population is a whole number."},
    {IDC_CHECKED,
     atlas::kChecked,
     L"Checke&d on",
     Label(kRight, 4),
     Edit(kRightEdit, 4, 110),
     kFixed,
     WriteBack::kOnLeaving,
     atlas::kToday,
     L"",
     L"This is not a date; write it like 24 DEC 2026."},
};

}  // namespace

void CountryWindow::Watch(binding::FieldControl& control) {
    control.onState([this](binding::FieldControl& changed) {
        if (!changed.error().empty()) {
            Say(changed.error());
        }
        ShowState();
    });
}

std::vector<binding::Choice> CountryWindow::Continents() const {
    // A key field without controls serves to look into another file.
    constexpr const wchar_t* kLookUp = L"Continents";
    const binding::Tools tools = connection_.tools();
    std::vector<binding::Choice> choices;
    for (const wchar_t* id : {L"AF", L"AN", L"AS", L"EU", L"NA", L"OC", L"SA"}) {
        tools.mvRead(kLookUp, id, atlas::kContinents);
        choices.push_back({id, tools.Extract(kLookUp, 1)});
    }
    return choices;
}

void CountryWindow::Build() {
    AddLabel(L"&Code", {kLeft, 15, 96, 16});
    AddEdit(IDC_KEY, {kLeftEdit, 12, 60, kHeight}, kFixed, ES_UPPERCASE);
    AddButton(L"Loc&k it for changes", IDC_LOCK, {190, 13, 172, 20}, kFixed, BS_AUTOCHECKBOX);
    SendMessageW(item(IDC_LOCK), BM_SETCHECK, BST_CHECKED, 0);
    AddLabel(L"&Find", {kRight, 15, 40, 16});
    AddEdit(IDC_FIND_TEXT, {440, 12, 186, kHeight}, kStretchRight);
    AddButton(L"Searc&h", ID_FIND, {636, 11, 82, 24}, kMoveRight);
    Add(L"STATIC", L"", SS_ETCHEDHORZ, -1, {kLeft, 43, 706, 2}, kStretchRight);
    BuildFields();
    BuildRows();
    BuildButtons();

    key_ = std::make_unique<binding::KeyControl>(
        field_, item(IDC_KEY), L"txtCode", [this](const std::wstring& id) { return Read(id); });
    Watch(*key_);
    key_->Show();
    for (const auto& control : values_) {
        Watch(*control);
        control->Show();
    }
}

void CountryWindow::BuildFields() {
    const auto edit = [&](const EditField& one) {
        AddLabel(one.label, one.labelBox);
        const HWND window = AddEdit(one.id, one.box, one.anchors);
        binding::Definition definition = DefinitionOf(one.field);
        definition.defaultProg = one.defaultProg;
        definition.validationProg = one.validationProg;
        definition.errMsg = one.errMsg;
        values_.push_back(std::make_unique<binding::ValueControl>(
            field_, window, std::wstring(L"txt") + one.field, definition, one.writeBack));
    };
    // The order in which they are made is the order of the Tab key.
    for (const EditField& one : kEdits) {
        if (one.id == IDC_CURRENCY) {
            values_.push_back(
                std::make_unique<binding::CheckControl>(field_,
                                                        AddButton(L"&Member of the United Nations",
                                                                  IDC_MEMBER,
                                                                  {kLeftEdit, 142, 250, 20},
                                                                  kFixed,
                                                                  BS_AUTOCHECKBOX),
                                                        L"chkMEMBER",
                                                        DefinitionOf(L"MEMBER")));
            AddLabel(L"Contin&ent", Label(kRight, 0));
            values_.push_back(std::make_unique<binding::ChoiceControl>(
                field_,
                Add(L"COMBOBOX",
                    L"",
                    CBS_DROPDOWNLIST | WS_TABSTOP | WS_VSCROLL,
                    IDC_CONTINENT,
                    {kRightEdit, 52, 228, 200},
                    kStretchRight),
                L"cboCONTINENT",
                DefinitionOf(L"CONTINENT"),
                Continents()));
        }
        edit(one);
        if (one.id == IDC_CURRENCY) {
            values_.push_back(std::make_unique<binding::ValueControl>(
                field_,
                AddLabel(L"", {550, 85, 168, 16}, kStretchRight, IDC_CURRENCY_NAME),
                L"lblCURRENCY.NAME",
                DefinitionOf(atlas::kCurrencyName)));
        }
    }
}

void CountryWindow::BuildRows() {
    AddLabel(L"Su&bdivisions", {kLeft, 182, 200, 16});
    const HWND list = Add(WC_LISTVIEWW,
                          L"",
                          LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | WS_TABSTOP,
                          IDC_ROWS,
                          {kLeft, 202, 706, 230},
                          kStretchRight | kStretchDown,
                          WS_EX_CLIENTEDGE);
    const auto part = [](long amc, long smc) {
        return binding::Definition{.amc = amc, .smc = smc};
    };
    auto rows = std::make_unique<binding::RowsControl>(
        field_,
        list,
        L"lstSubdivisions",
        std::vector<binding::Column>{{part(atlas::kSubdivisionCode, 0), L"Code", Scaled(90)},
                                     {part(atlas::kSubdivisionName, 0), L"Name", Scaled(300)},
                                     {part(atlas::kSubdivisionType, 1), L"Type", Scaled(200)},
                                     {part(atlas::kSubdivisionType, 2), L"Part of", Scaled(90)}});
    rows_ = rows.get();
    values_.push_back(std::move(rows));
    AddButton(L"Insert row", ID_ROW_INSERT, {kLeft, 440, 90, 26}, kMoveDown);
    AddButton(L"Edit row", ID_ROW_EDIT, {108, 440, 90, 26}, kMoveDown);
    AddButton(L"Remove row", ID_ROW_REMOVE, {204, 440, 90, 26}, kMoveDown);
}

void CountryWindow::BuildButtons() {
    Add(L"STATIC", L"", SS_ETCHEDHORZ, -1, {kLeft, 476, 706, 2}, kStretchRight | kMoveDown);
    struct Button {
        int id;
        const wchar_t* text;
    };
    constexpr Button kMoves[] = {
        {ID_FIRST, L"First"}, {ID_PREVIOUS, L"Previous"}, {ID_NEXT, L"Ne&xt"}, {ID_LAST, L"&Last"}};
    constexpr Button kChanges[] = {{ID_NEW, L"New"},
                                   {ID_SAVE, L"&Save"},
                                   {ID_UNDO, L"Undo"},
                                   {ID_RELEASE, L"Release"},
                                   {ID_DELETE, L"Delete"}};
    int x = kLeft;
    for (const Button& button : kMoves) {
        AddButton(button.text, button.id, {x, 488, 72, 28}, kMoveDown);
        x += 76;
    }
    x = 718 - 5 * 76 + 4;
    for (const Button& button : kChanges) {
        AddButton(button.text, button.id, {x, 488, 72, 28}, kMoveDown | kMoveRight);
        x += 76;
    }
    Add(STATUSCLASSNAMEW, L"", SBARS_SIZEGRIP, IDC_STATUS, {0, 536, 730, 24});
}

}  // namespace kel::form
