// The shell's command line.
#include "apps/kelsh/options.h"

#include <climits>

#include "apps/command_line/command_line.h"

namespace kel::kelsh {
namespace {

using binding::FromUtf8;

short Number(const Text& text) {
    const long number = binding::WholeNumber(text).value_or(0);
    if (number < 1 || number > SHRT_MAX) {
        throw UsageError{L"--os takes the number of a back-end (see --back-ends), not " + text};
    }
    return static_cast<short>(number);
}

void SetProperty(binding::Properties& properties, const Text& assignment) {
    const std::size_t equals = assignment.find(L'=');
    if (equals == Text::npos || equals == 0) {
        throw UsageError{L"--set takes Name=Value, not " + assignment};
    }
    properties[assignment.substr(0, equals)] = assignment.substr(equals + 1);
}

// What stands behind the options: a file, and from there on everything is the file's, options for
// a script among it.
void TakeFile(Options& options, std::vector<Text> rest) {
    if (rest.empty()) {
        return;
    }
    if (rest.front().size() > 1 && rest.front().front() == L'-') {
        throw UsageError{L"there is no option " + rest.front().substr(0, rest.front().find(L'='))};
    }
    options.file = rest.front();
    rest.erase(rest.begin());
    options.arguments = std::move(rest);
}

}  // namespace

Options ParseOptions(const std::vector<Text>& given) {
    using Task = Options::Task;
    CLI::App program;
    program.set_help_flag();   // help has topics here
    program.prefix_command();  // the first argument that is no option ends the options
    std::string os;
    std::string session;
    std::string topic;
    std::vector<std::string> sets;
    std::vector<std::string> commands;
    const auto flag = [&](const char* name) {
        return program.add_flag(name)->disable_flag_override();
    };
    const auto each = [&](const char* name, std::vector<std::string>& values, const char* what) {
        program.add_option(name, values)->type_name(what)->allow_extra_args(false);
    };
    program.add_option("--os", os)->type_name("number of a back-end");
    program.add_option("--session", session)->type_name("name");
    each("--set", sets, "Name=Value");
    each("-c,--command", commands, "sentence or command");
    const CLI::Option* const noConnect = flag("--no-connect");
    const CLI::Option* const stop = flag("--stop");
    const CLI::Option* const noPages = flag("--no-pages");
    const CLI::Option* const backEnds = flag("--back-ends");
    const CLI::Option* const properties = flag("--properties");
    const CLI::Option* const version = flag("--version");
    const CLI::Option* const help = program.add_option("-h,--help", topic)->expected(0, 1);
    try {
        command_line::Parse(program, given);
    } catch (const CLI::ParseError& error) {
        throw UsageError{FromUtf8(error.what())};
    }

    Options options;
    TakeFile(options, command_line::Wide(program.remaining()));
    options.task = help->count() > 0         ? Task::kHelp
                   : version->count() > 0    ? Task::kVersion
                   : backEnds->count() > 0   ? Task::kBackEnds
                   : properties->count() > 0 ? Task::kProperties
                                             : Task::kShell;
    options.topic = FromUtf8(topic);
    if (!session.empty()) {
        options.session = FromUtf8(session);
    }
    if (!os.empty()) {
        options.os = Number(FromUtf8(os));
    }
    for (const std::string& assignment : sets) {
        SetProperty(options.properties, FromUtf8(assignment));
    }
    options.connect = noConnect->count() == 0;
    options.stopAtFailure = stop->count() > 0;
    options.pages = noPages->count() == 0;
    options.commands = command_line::Wide(commands);
    if (!options.file.empty() && !options.commands.empty()) {
        throw UsageError{L"either --command or a file, not both"};
    }
    if (options.task == Task::kProperties && !options.os) {
        throw UsageError{L"--properties needs --os"};
    }
    return options;
}

}  // namespace kel::kelsh
