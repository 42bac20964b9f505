#include "apps/kelform/options.h"

#include <windows.h>

#include <shlobj.h>

#include <filesystem>
#include <stdexcept>

#include "apps/atlas/iso_codes.h"
#include "apps/binding/com.h"

namespace kel::form {
namespace {

// Where an account lies that nobody has named.
std::wstring DefaultDatabase() {
    wchar_t folder[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    const auto home = std::filesystem::path(folder) / L"kelSDK";
    std::error_code ignored;
    std::filesystem::create_directories(home, ignored);
    return (home / L"atlas.kel").wstring();
}

struct Option {
    const wchar_t* name;
    std::wstring Options::*value;
};

constexpr Option kOptions[] = {
    {L"--database", &Options::database},
    {L"--key", &Options::key},
    {L"--lists", &Options::lists},
    {L"--user", &Options::user},
    {L"--print", &Options::print},
    {L"--hold", &Options::hold},
    {L"--pictures", &Options::pictures},
};

}  // namespace

Options ParseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    options.lists = atlas::ListsFolder();
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::wstring& argument = arguments[at];
        if (argument == L"--selftest") {
            options.isSelfTest = true;
            continue;
        }
        std::wstring Options::*value = nullptr;
        for (const Option& option : kOptions) {
            value = argument == option.name ? option.value : value;
        }
        if (value == nullptr) {
            throw std::runtime_error(binding::ToUtf8(argument) + " is no option of this program");
        }
        if (++at == arguments.size()) {
            throw std::runtime_error(binding::ToUtf8(argument) + " needs a value");
        }
        options.*value = arguments[at];
    }
    options.isDatabaseGiven = !options.database.empty();
    if (!options.isDatabaseGiven && !options.isSelfTest) {
        options.database = DefaultDatabase();
    }
    return options;
}

}  // namespace kel::form
