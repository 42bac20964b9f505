#include "apps/kelsh/connection.h"

#include <algorithm>
#include <array>
#include <set>

namespace kel::kelsh {

using demo::Ask;
using demo::AskText;

namespace {

constexpr TextView kPrefix = L"kelos";
constexpr TextView kSuffix = L".IHostDLL";

// May be used without being registered, by a manifest.
constexpr short kEmbedded = 1;

// The number in "kelos1.IHostDLL", else 0.
short NumberIn(TextView progId) {
    const Text lowered = automation::Lower(progId);
    const Text suffix = automation::Lower(kSuffix);
    if (!lowered.starts_with(kPrefix) || !lowered.ends_with(suffix)) {
        return 0;
    }
    short number = 0;
    automation::Ignoring([&] {
        number = automation::ToShort(
            lowered.substr(kPrefix.size(), lowered.size() - kPrefix.size() - suffix.size()));
    });
    return number;
}

ComPtr<_mviHostDLL> CreateBackEnd(short number) {
    return demo::Create<_mviHostDLL>(
        (Text(kPrefix) + automation::DecimalText(number) + Text(kSuffix)).c_str());
}

Text Shown(const VARIANT& value) {
    return V_VT(&value) == VT_EMPTY ? Text()
                                    : Text(automation::Variant::Through(value).text().view());
}

}  // namespace

std::vector<BackEnd> BackEnds() {
    std::set<short> numbers{kEmbedded};
    std::array<wchar_t, 256> name{};  // the longest name of a registry key
    for (DWORD index = 0;; ++index) {
        DWORD length = name.size();
        if (RegEnumKeyExW(HKEY_CLASSES_ROOT,
                          index,
                          name.data(),
                          &length,
                          nullptr,
                          nullptr,
                          nullptr,
                          nullptr) != ERROR_SUCCESS) {
            break;
        }
        if (const short number = NumberIn(TextView(name.data(), length)); number > 0) {
            numbers.insert(number);
        }
    }
    std::vector<BackEnd> found;
    for (const short number : numbers) {
        // One that cannot be made here, of the other width for example, is of no use.
        automation::Ignoring([&] {
            const auto host = CreateBackEnd(number);
            found.push_back({number,
                             AskText([&](BSTR* to) { return host->get_OsDescription(to); }),
                             AskText([&](BSTR* to) { return host->get_Version(to); })});
        });
    }
    return found;
}

std::vector<PropertyInfo> PropertiesOf(short number) {
    const auto host = CreateBackEnd(number);
    const short count = Ask<short>([&](short* to) { return host->PropertyCount(to); });
    std::vector<PropertyInfo> properties;
    for (short index = 1; index <= count; ++index) {
        automation::Bstr name;
        automation::Bstr type;
        automation::CallOut(
            [&] { return host->GetPropertyName(index, name.inOut(), type.inOut()); });
        PropertyInfo info{
            Text(name.view()), automation::LowerEquals(type.view(), L"object"), {}, {}};
        info.description =
            AskText([&](BSTR* to) { return host->get_PropertyDescription(name.get(), to); });
        automation::Variant fallback;
        automation::CallOut([&] { return host->get_PropertyDefault(name.get(), fallback.put()); });
        info.fallback = Shown(fallback.get());
        properties.push_back(std::move(info));
    }
    return properties;
}

// Answers what the component asks while it connects.
class Connection::SessionEvents final : public demo::Listener<__kelSessionCallBack> {
public:
    explicit SessionEvents(Connection& connection) : connection_(connection) {}

    Text failure;  // reason of the last failed attempt

private:
    // The numbers of the events, as the type library publishes them.
    enum : DISPID { kConnectionFailed = 2, kPropertyValue = 4 };

    void Hear(DISPID event, const demo::Arguments& arguments) override {
        if (event == kConnectionFailed) {
            failure = arguments.text(0);
        } else if (event == kPropertyValue) {
            const Text name = arguments.text(0);
            if (automation::LowerEquals(name, L"ostype")) {
                arguments.answer(
                    1, connection_.os_ ? automation::DecimalText(*connection_.os_) : Text());
                return;
            }
            const auto known = connection_.properties_.find(name);
            arguments.answer(1, known != connection_.properties_.end() ? known->second : Text());
        }
    }

    Connection& connection_;  // which ends the subscription before it ends itself
};

Connection::Connection(const Options& options, Terminal& terminal)
    : terminal_(terminal),
      name_(options.session),
      os_(options.os),
      properties_(options.properties),
      session_(base_.GetSessionCallBack(name_)),
      events_(ComPtr<SessionEvents>::Adopt(new SessionEvents(*this))),
      subscription_(session_.source(), *events_),
      tools_(session_.Tools()) {}

Connection::~Connection() {
    automation::Ignoring([&] {
        session_.Disconnect();
        base_.RemoveSessionCallback(name_);
    });
}

bool Connection::Connect() {
    const std::optional<short> osBefore = os_;
    const Properties propertiesBefore = properties_;
    const bool asks = terminal_.isInteractive() && !answered_;
    if (asks && ((!os_ && !AskForOs()) || !AskForProperties())) {
        os_ = osBefore;
        properties_ = propertiesBefore;
        return false;
    }
    // The back-end of an attempt that failed stays in the session, which then asks it, and not us,
    // what kind it is.
    if (os_ && session_.OsType() != *os_) {
        session_.Disconnect();
    }
    events_->failure.clear();
    if (session_.Connect()) {
        answered_ = true;
        return true;
    }
    terminal_.Complain(L"kelsh: not connected: " + (events_->failure.empty()
                                                        ? Text(L"no back-end was named (--os)")
                                                        : events_->failure));
    if (asks) {  // next time anew
        os_ = osBefore;
        properties_ = propertiesBefore;
    }
    return false;
}

bool Connection::AskForOs() {
    const std::vector<BackEnd> known = BackEnds();
    if (known.empty()) {
        terminal_.Complain(L"kelsh: no back-end is registered on this machine");
        return false;
    }
    terminal_.Print(L"Which database?");
    for (const BackEnd& one : known) {
        terminal_.Print(L"  " + automation::DecimalText(one.number) + L"  " + one.description);
    }
    const Text first = automation::DecimalText(known.front().number);
    const auto answer = terminal_.Ask(L"Number [" + first + L"]: ");
    short number = 0;
    if (!answer || !automation::Ignoring(
                       [&] { number = automation::ToShort(answer->empty() ? first : *answer); })) {
        terminal_.Complain(L"kelsh: that is no number");
        return false;
    }
    os_ = number;
    return true;
}

// With --set on the command line nobody wants to be asked for the rest.
bool Connection::AskForProperties() {
    if (!properties_.empty()) {
        return true;
    }
    std::vector<PropertyInfo> open;
    try {
        open = PropertiesOf(*os_);
    } catch (const automation::Error& error) {
        terminal_.Complain(L"kelsh: back-end " + automation::DecimalText(*os_) + L": " +
                           error.description());
        return false;
    }
    std::erase_if(open, [](const PropertyInfo& property) { return property.isObject; });
    return std::all_of(open.begin(), open.end(), [&](const PropertyInfo& property) {
        terminal_.Print(property.description + L".");
        const auto answer = terminal_.Ask(
            property.name +
            (property.fallback.empty() ? Text() : L" [" + property.fallback + L"]") + L": ");
        if (answer && !answer->empty()) {
            properties_[property.name] = *answer;
        }
        return answer.has_value();
    });
}

}  // namespace kel::kelsh
