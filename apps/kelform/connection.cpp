#include "apps/kelform/connection.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "apps/atlas/import.h"
#include "apps/atlas/programs.h"

namespace kel::form {

using binding::AskFlag;
using binding::AskObject;
using binding::AskText;
using binding::Check;
using binding::Str;

Connection::Connection(short backEnd)
    : backEnd_(backEnd), base_(binding::Create<_kelBase>(L"kelSDK.kelBase")) {
    Describe();
    session_ = AskObject<_kelSessionCallBack>([&](_kelSessionCallBack** to) {
        return base_->GetSessionCallBack(Str(kSession).get(), to);
    });
    subscription_ =
        binding::Subscription(*session_,
                              __uuidof(__kelSessionCallBack),
                              [this](DISPID event, const binding::Arguments& arguments) {
                                  Hear(static_cast<binding::SessionEvent>(event), arguments);
                              });
}

Connection::~Connection() {
    Disconnect();
    subscription_.end();
    base_->RemoveSessionCallback(Str(kSession).get());
}

// A back-end tells what it wants to know without being connected.
void Connection::Describe() {
    const std::wstring progId = L"kelos" + std::to_wstring(backEnd_) + L".IHostDLL";
    const auto host = binding::Create<_mviHostDLL>(progId.c_str());
    description_ = AskText([&](BSTR* to) { return host->get_OsDescription(to); });
    const short count = binding::Ask<short>([&](short* to) { return host->PropertyCount(to); });
    for (short number = 1; number <= count; ++number) {
        Str name;
        Str type;
        Check(host->GetPropertyName(number, name.inOut(), type.inOut()));
        if (CompareStringOrdinal(type.text().c_str(), -1, L"Object", -1, TRUE) == CSTR_EQUAL) {
            continue;  // nothing a person could type
        }
        binding::Var initial;
        Check(host->get_PropertyDefault(name.get(), initial.inOut()));
        properties_.push_back(
            {name.text(),
             AskText([&](BSTR* to) { return host->get_PropertyDescription(name.get(), to); }),
             initial.text()});
    }
}

void Connection::set(const std::wstring& property, const std::wstring& value) {
    const auto found =
        std::find_if(properties_.begin(), properties_.end(), [&](const Property& one) {
            return CompareStringOrdinal(one.name.c_str(), -1, property.c_str(), -1, TRUE) ==
                   CSTR_EQUAL;
        });
    if (found != properties_.end()) {
        found->value = value;
    }
}

void Connection::Hear(binding::SessionEvent event, const binding::Arguments& arguments) {
    if (event == binding::SessionEvent::kConnectionFailed) {
        failure_ = arguments.text(0);
    } else if (event == binding::SessionEvent::kPropertyValue) {
        const std::wstring wanted = arguments.text(0);
        if (wanted == L"OsType") {
            arguments.answer(1, std::to_wstring(backEnd_));
        }
        for (const Property& property : properties_) {
            if (property.name == wanted) {
                arguments.answer(1, property.value);
            }
        }
    }
}

bool Connection::Connect() {
    // Also after an attempt that failed: its back-end stays until then.
    Check(session_->Disconnect());
    failure_.clear();
    Check(session_->put_OsType(backEnd_));
    return AskFlag([&](VARIANT_BOOL* to) { return session_->Connect(to); });
}

void Connection::Disconnect() {
    if (isConnected()) {
        Check(session_->Disconnect());
    }
}

bool Connection::isConnected() const {
    return AskFlag([&](VARIANT_BOOL* to) { return session_->get_IsConnected(to); });
}

binding::Ptr<_kelTools> Connection::tools() const {
    return AskObject<_kelTools>([&](_kelTools** to) { return session_->get_Tools(to); });
}

void Connection::Prepare(const std::wstring& listsFolder) const {
    const auto access = tools();
    std::error_code ignored;
    if (!std::filesystem::is_directory(listsFolder, ignored)) {
        if (!atlas::FileExists(*access, atlas::kCountries)) {
            throw std::runtime_error(
                "The account has no file COUNTRIES, and there is no folder with the lists to make "
                "it from. Start the program with --lists FOLDER.");
        }
        return;
    }
    for (const atlas::File& file : atlas::LoadIsoCodes(listsFolder)) {
        // What is there stays as people have left it.
        if (file.name != std::wstring_view(atlas::kLanguages) &&
            !atlas::FileExists(*access, file.name)) {
            atlas::Fill(*access, *session_, file.name, file.records);
        }
        atlas::FillDictionary(*access, *session_, file.name);
    }
    atlas::Fill(*access, *session_, atlas::kPrograms, atlas::StoredPrograms());
}

std::wstring Connection::Execute(const std::wstring& sentence) const {
    Str output;
    Str codes;
    Check(tools()->Execute(Str(sentence).get(), output.inOut(), codes.inOut()));
    return output.text();
}

}  // namespace kel::form
