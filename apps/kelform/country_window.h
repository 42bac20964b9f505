// The main window: one country, with everything that can be done to its record.
#pragma once

#include <memory>

#include "apps/binding/key_control.h"
#include "apps/binding/rows_control.h"
#include "apps/binding/value_control.h"
#include "apps/kelform/event_window.h"
#include "apps/kelform/follower_window.h"
#include "apps/kelform/record_list.h"
#include "apps/kelform/ui.h"

namespace kel::form {

class CountryWindow final : public Window {
public:
    // The connection must be open and prepared.
    explicit CountryWindow(Connection& connection);
    ~CountryWindow() override;

    // Reads a country, with its lock if the user wants locks. False when the user rather stays
    // with the present one.
    bool Read(const std::wstring& id);
    // Runs a selection and shows its first country.
    void Select(const std::wstring& sentence);

    binding::KeyField& field() { return field_; }
    FollowerWindow& follower() { return follower_; }
    EventWindow& events() { return events_; }
    binding::RowsControl& rows() { return *rows_; }
    std::wstring status() const;
    // Called when the user asks for the connection window.
    void onConnection(std::function<void()> asked) { connectionAsked_ = std::move(asked); }

private:
    // country_controls.cpp: what the window is made of.
    void Build() override;
    void BuildFields();
    void BuildRows();
    void BuildButtons();
    void Watch(binding::FieldControl& control);
    std::vector<binding::Choice> Continents() const;

    // country_commands.cpp: what can be done.
    LRESULT Handle(UINT message, WPARAM first, LPARAM second) override;
    bool MayClose() override { return MayLeave(); }
    void Command(int id);
    void Go(const std::optional<std::wstring>& id, const wchar_t* otherwise);
    void New();
    bool Save();
    void Delete();
    void Undo();
    void Release();
    void FindTyped();
    void EnterPressed();
    void Toggle(Window& window, int below);

    // country_window.cpp: what it says.
    void Arranged() override;
    bool MayLeave();
    bool StoreAll();
    bool isDirty() const;
    void Say(const std::wstring& text);
    void ShowState();
    void SetReadOnly(bool value);
    void Hear(binding::FieldEvent event);

    Connection& connection_;
    binding::KeyField field_;
    RecordList list_;
    std::unique_ptr<binding::KeyControl> key_;
    std::vector<std::unique_ptr<binding::FieldControl>> values_;
    binding::RowsControl* rows_ = nullptr;  // one of values_
    FollowerWindow follower_;
    EventWindow events_;
    bool isReadOnly_ = false;
    bool isBusy_ = false;
    std::function<void()> connectionAsked_;
    binding::Subscription subscription_;
};

}  // namespace kel::form
