// The shell's session: which back-ends there are, what they ask for, and the answers.
#pragma once

#include <memory>
#include <vector>

#include "apps/demo/client.h"
#include "apps/demo/listener.h"
#include "apps/kelsh/options.h"
#include "apps/kelsh/terminal.h"

namespace kel::kelsh {

using automation::ComPtr;

struct BackEnd {
    short number;
    Text description;
    Text version;
};

struct PropertyInfo {
    Text name;
    bool isObject;  // a program sets it; there is nothing to type in
    Text description;
    Text fallback;  // its default
};

// The back-ends registered on this machine, by number.
std::vector<BackEnd> BackEnds();

// The connection properties of a back-end, in its order. Throws when it is not registered.
std::vector<PropertyInfo> PropertiesOf(short number);

class Connection {
public:
    Connection(const Options& options, Terminal& terminal);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // Connects; on a console asks for what the options left open. False when that failed; the
    // reason was told.
    bool Connect();
    bool IsConnected() const { return session_.IsConnected(); }
    void Disconnect() const { session_.Disconnect(); }
    void SetProperty(const Text& name, const Text& value) { properties_[name] = value; }

    const demo::Base& base() const { return base_; }
    const demo::Session& session() const { return session_; }
    const demo::Tools& tools() const { return tools_; }
    const Text& name() const { return name_; }
    const std::optional<short>& os() const { return os_; }

private:
    class SessionEvents;

    bool AskForOs();
    bool AskForProperties();

    Terminal& terminal_;
    const Text name_;
    std::optional<short> os_;
    Properties properties_;
    bool answered_ = false;  // well enough to connect: people are not asked again
    const demo::Base base_;
    const demo::Session session_;
    const ComPtr<SessionEvents> events_;
    const demo::Subscription subscription_;
    const demo::Tools tools_;
};

}  // namespace kel::kelsh
