// The form's command line, and where an account lies by default.
#include "apps/kelform/options.h"

#include <windows.h>

#include <shlobj.h>

#include <filesystem>
#include <stdexcept>

#include "apps/atlas/iso_codes.h"
#include "apps/command_line/command_line.h"

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

}  // namespace

Options ParseOptions(const std::vector<std::wstring>& arguments) {
    const struct {
        const char* name;
        std::wstring Options::*value;
    } texts[] = {
        {"--database", &Options::database},
        {"--key", &Options::key},
        {"--lists", &Options::lists},
        {"--user", &Options::user},
        {"--print", &Options::print},
        {"--hold", &Options::hold},
        {"--pictures", &Options::pictures},
    };
    Options options;
    options.lists = atlas::ListsFolder();
    CLI::App program;
    program.set_help_flag();
    program.add_flag("--selftest", options.isSelfTest)->disable_flag_override();
    for (const auto& text : texts) {
        program.add_option_function<std::string>(text.name, [&](const std::string& value) {
            options.*text.value = binding::FromUtf8(value);
        });
    }
    try {
        command_line::Parse(program, arguments);
    } catch (const CLI::ParseError& error) {
        throw std::runtime_error(error.what() + binding::ToUtf8(std::wstring(L"\n\n") + kUsage));
    }
    options.isDatabaseGiven = !options.database.empty();
    if (!options.isDatabaseGiven && !options.isSelfTest) {
        options.database = DefaultDatabase();
    }
    return options;
}

}  // namespace kel::form
