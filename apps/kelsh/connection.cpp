// Connecting, with questions to people where something is left open.
#include "apps/kelsh/connection.h"

#include <algorithm>
#include <climits>

namespace kel::kelsh {

Connection::Connection(const Options& options, Terminal& terminal)
    : terminal_(terminal),
      name_(options.session),
      os_(options.os),
      connector_(base_.GetSessionCallBack(name_), options.properties),
      tools_(session().Tools()) {
    if (os_) {
        UseOs(*os_);
    }
}

Connection::~Connection() {
    binding::Ignoring([&] {
        session().Disconnect();
        base_.RemoveSessionCallback(name_);
    });
}

bool Connection::Connect() {
    const std::optional<short> osBefore = os_;
    const binding::Properties propertiesBefore = connector_.properties();
    const bool asks = terminal_.isInteractive() && !answered_;
    const bool isAnswered = !asks || Ask();
    if (isAnswered) {
        // The back-end of an attempt that failed stays in the session, which then asks it, and not
        // us, what kind it is.
        if (os_ && session().OsType() != *os_) {
            session().Disconnect();
        }
        if (connector_.Connect()) {
            answered_ = true;
            return true;
        }
        terminal_.Complain(L"kelsh: not connected: " + (connector_.failure().empty()
                                                            ? L"no back-end was named (--os)"
                                                            : connector_.failure()));
    }
    if (asks) {  // next time anew
        os_ = osBefore;
        connector_.properties() = propertiesBefore;
    }
    return false;
}

bool Connection::Ask() {
    return (os_ || AskForOs()) && AskForProperties();
}

bool Connection::AskForOs() {
    const std::vector<binding::BackEnd> known = binding::BackEnds();
    if (known.empty()) {
        terminal_.Complain(L"kelsh: no back-end is registered on this machine");
        return false;
    }
    terminal_.Print(L"Which database?");
    for (const binding::BackEnd& one : known) {
        terminal_.Print(L"  " + std::to_wstring(one.number) + L"  " + one.description);
    }
    const Text first = std::to_wstring(known.front().number);
    const auto answer = terminal_.Ask(L"Number [" + first + L"]: ");
    const auto number =
        answer ? binding::WholeNumber(answer->empty() ? first : *answer) : std::nullopt;
    if (!number || *number < 1 || *number > SHRT_MAX) {
        terminal_.Complain(L"kelsh: that is no number");
        return false;
    }
    UseOs(static_cast<short>(*number));
    return true;
}

// Scripts connect the session themselves, so the answer is there from the start.
void Connection::UseOs(short number) {
    os_ = number;
    connector_.properties()[binding::kOsType] = std::to_wstring(number);
}

// With --set on the command line nobody wants to be asked for the rest.
bool Connection::AskForProperties() {
    if (connector_.properties().size() > 1) {
        return true;
    }
    std::vector<binding::PropertyInfo> open;
    try {
        open = binding::PropertiesOf(*binding::CreateBackEnd(*os_));
    } catch (const binding::Error& error) {
        terminal_.Complain(L"kelsh: back-end " + std::to_wstring(*os_) + L": " +
                           error.description());
        return false;
    }
    std::erase_if(open, [](const binding::PropertyInfo& property) { return property.isObject; });
    return std::all_of(open.begin(), open.end(), [&](const binding::PropertyInfo& property) {
        terminal_.Print(property.description + L".");
        const auto answer = terminal_.Ask(
            property.name +
            (property.fallback.empty() ? Text() : L" [" + property.fallback + L"]") + L": ");
        if (answer && !answer->empty()) {
            SetProperty(property.name, *answer);
        }
        return answer.has_value();
    });
}

}  // namespace kel::kelsh
