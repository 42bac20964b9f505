// The window that asks for what a connection needs. The back-end says what that is.
#pragma once

#include "apps/kelform/connection.h"
#include "apps/kelform/ui.h"

namespace kel::form {

class ConnectWindow final : public Window {
public:
    ConnectWindow(Connection& connection, HWND owner);
    ~ConnectWindow() override { Close(); }

    // Shows the window until there is a connection (true) or the user gives up (false).
    bool Ask();
    // What Connect does: takes the answers and tries.
    void Try();
    bool isDone() const { return isDone_; }

private:
    void Build() override;
    LRESULT Handle(UINT message, WPARAM first, LPARAM second) override;

    Connection& connection_;
    bool isDone_ = false;
};

}  // namespace kel::form
