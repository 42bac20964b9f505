// A session connected to one account, for programs that need no form.
#pragma once

#include "apps/demo/session_listener.h"

namespace kel::demo {

// The session's name. It is registered under this name on the thread, so one at a time.
inline constexpr const wchar_t* kAccountSession = L"Account";

class Account {
public:
    // Connects to the account in the file `path`, which is made when it does not exist.
    //   throws  std::runtime_error with the reason when it cannot be opened
    explicit Account(TextView path);
    Account(const Account&) = delete;
    Account& operator=(const Account&) = delete;
    ~Account();

    const Tools& tools() const { return tools_; }

private:
    const Base base_;
    Connector connector_;
    const Tools tools_;
};

}  // namespace kel::demo
