// The form's session: what the back-end asks, answered out of what people typed.
#include "apps/kelform/connection.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "apps/atlas/import.h"
#include "apps/atlas/programs.h"
#include "apps/binding/back_end.h"

namespace kel::form {

Connection::Connection(short backEnd)
    : backEnd_(backEnd), connector_(base_.GetSessionCallBack(kSession)) {
    Describe();
}

Connection::~Connection() {
    binding::Ignoring([&] {
        Disconnect();
        base_.RemoveSessionCallback(kSession);
    });
}

void Connection::Describe() {
    const auto host = binding::CreateBackEnd(backEnd_);
    description_ = binding::AskText([&](BSTR* to) { return host->get_OsDescription(to); });
    for (const binding::PropertyInfo& property : binding::PropertiesOf(*host)) {
        if (!property.isObject) {  // an object is nothing a person could type
            properties_.push_back({property.name, property.description, property.fallback});
        }
    }
}

void Connection::set(const std::wstring& property, const std::wstring& value) {
    for (Property& one : properties_) {
        if (binding::SameName(one.name, property)) {
            one.value = value;
        }
    }
}

bool Connection::Connect() {
    // Also after an attempt that failed: its back-end stays until then.
    session().Disconnect();
    binding::Properties& answers = connector_.properties();
    answers = {{binding::kOsType, std::to_wstring(backEnd_)}};
    for (const Property& property : properties_) {
        answers[property.name] = property.value;
    }
    session().OsType(backEnd_);
    return connector_.Connect();
}

void Connection::Disconnect() const {
    if (isConnected()) {
        session().Disconnect();
    }
}

void Connection::Prepare(const std::wstring& listsFolder) const {
    const auto access = tools();
    std::error_code ignored;
    if (!std::filesystem::is_directory(listsFolder, ignored)) {
        if (!atlas::FileExists(access, atlas::kCountries)) {
            throw std::runtime_error(
                "The account has no file COUNTRIES, and there is no folder with the lists to make "
                "it from. Start the program with --lists FOLDER.");
        }
        return;
    }
    for (const atlas::File& file : atlas::LoadIsoCodes(listsFolder)) {
        // What is there stays as people have left it.
        if (file.name != std::wstring_view(atlas::kLanguages) &&
            !atlas::FileExists(access, file.name)) {
            atlas::Fill(access, session(), file.name, file.records);
        }
        atlas::FillDictionary(access, session(), file.name);
    }
    atlas::Fill(access, session(), atlas::kPrograms, atlas::StoredPrograms());
}

}  // namespace kel::form
