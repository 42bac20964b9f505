// The shell's session: the answers that the command line, commands and people give to what the
// back-end asks.
#pragma once

#include "apps/binding/back_end.h"
#include "apps/binding/connector.h"
#include "apps/kelsh/options.h"
#include "apps/kelsh/terminal.h"

namespace kel::kelsh {

class Connection {
public:
    Connection(const Options& options, Terminal& terminal);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // Connects; on a console asks for what the options left open. False when that failed; the
    // reason was told.
    bool Connect();
    bool IsConnected() const { return session().IsConnected(); }
    void Disconnect() const { session().Disconnect(); }
    void SetProperty(const Text& name, const Text& value) { connector_.properties()[name] = value; }

    const binding::Base& base() const { return base_; }
    const binding::Session& session() const { return connector_.session(); }
    const binding::Tools& tools() const { return tools_; }
    const Text& name() const { return name_; }
    const std::optional<short>& os() const { return os_; }

private:
    bool Ask();
    bool AskForOs();
    void UseOs(short number);
    bool AskForProperties();

    Terminal& terminal_;
    const Text name_;
    std::optional<short> os_;
    bool answered_ = false;  // well enough to connect: people are not asked again
    const binding::Base base_;
    binding::Connector connector_;
    const binding::Tools tools_;
};

}  // namespace kel::kelsh
