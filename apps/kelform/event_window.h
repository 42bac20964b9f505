// A third window: the events of the key field and of the session, as they come.
#pragma once

#include "apps/binding/key_field.h"
#include "apps/kelform/connection.h"
#include "apps/kelform/ui.h"

namespace kel::form {

class EventWindow final : public Window {
public:
    EventWindow(const binding::KeyField& field, const Connection& connection);
    ~EventWindow() override { Close(); }

    int count() const;

private:
    void Build() override;
    bool MayClose() override;
    void Add(const std::wstring& source, const wchar_t* event, const binding::Arguments& arguments);

    int number_ = 0;
    binding::Subscription fieldEvents_;
    binding::Subscription sessionEvents_;
};

}  // namespace kel::form
