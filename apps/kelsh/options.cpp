#include "apps/kelsh/options.h"

#include "automation/error.h"

namespace kel::kelsh {
namespace {

// Walks the arguments; an option's value stands behind it or, after "=", within it.
class Arguments {
public:
    explicit Arguments(const std::vector<Text>& all) : all_(all) {}

    bool atEnd() const { return at_ == all_.size(); }
    bool atOption() const { return all_[at_].size() > 1 && all_[at_].front() == L'-'; }
    const Text& Take() { return all_[at_++]; }

    // The option's name; its value, if it is written behind "=", waits for Value.
    Text TakeOption() {
        name_ = Take();
        inside_.reset();
        const std::size_t equals = name_.find(L'=');
        if (equals != Text::npos) {
            inside_ = name_.substr(equals + 1);
            name_.erase(equals);
        }
        return name_;
    }
    Text Value(const wchar_t* what) {
        if (inside_) {
            return *std::exchange(inside_, std::nullopt);
        }
        if (atEnd()) {
            throw UsageError{name_ + L" needs " + what};
        }
        return Take();
    }
    void NoValue() const {
        if (inside_) {
            throw UsageError{name_ + L" takes no value"};
        }
    }

private:
    const std::vector<Text>& all_;
    std::size_t at_ = 0;
    Text name_;
    std::optional<Text> inside_;
};

short Number(const Text& text) {
    short number = 0;
    if (!automation::Ignoring([&] { number = automation::ToShort(text); }) || number < 1) {
        throw UsageError{L"--os takes the number of a back-end (see --back-ends), not " + text};
    }
    return number;
}

void SetProperty(Options& options, const Text& assignment) {
    const std::size_t equals = assignment.find(L'=');
    if (equals == Text::npos || equals == 0) {
        throw UsageError{L"--set takes Name=Value, not " + assignment};
    }
    options.properties[assignment.substr(0, equals)] = assignment.substr(equals + 1);
}

void TakeOption(Options& options, Arguments& arguments) {
    const Text name = arguments.TakeOption();
    if (name == L"--os") {
        options.os = Number(arguments.Value(L"the number of a back-end"));
    } else if (name == L"--set") {
        SetProperty(options, arguments.Value(L"Name=Value"));
    } else if (name == L"--session") {
        options.session = arguments.Value(L"a name");
    } else if (name == L"-c" || name == L"--command") {
        options.commands.push_back(arguments.Value(L"a sentence or command"));
    } else {
        arguments.NoValue();
        if (name == L"--no-connect") {
            options.connect = false;
        } else if (name == L"--stop") {
            options.stopAtFailure = true;
        } else if (name == L"--no-pages") {
            options.pages = false;
        } else if (name == L"--back-ends") {
            options.task = Options::Task::kBackEnds;
        } else if (name == L"--properties") {
            options.task = Options::Task::kProperties;
        } else if (name == L"--version") {
            options.task = Options::Task::kVersion;
        } else if (name == L"-h" || name == L"--help") {
            options.task = Options::Task::kHelp;
            if (!arguments.atEnd() && !arguments.atOption()) {
                options.topic = arguments.Take();
            }
        } else {
            throw UsageError{L"there is no option " + name};
        }
    }
}

}  // namespace

Options ParseOptions(const std::vector<Text>& given) {
    Options options;
    Arguments arguments(given);
    while (!arguments.atEnd() && arguments.atOption()) {
        TakeOption(options, arguments);
    }
    if (!arguments.atEnd()) {
        options.file = arguments.Take();
    }
    while (!arguments.atEnd()) {
        options.arguments.push_back(arguments.Take());
    }
    if (!options.file.empty() && !options.commands.empty()) {
        throw UsageError{L"either --command or a file, not both"};
    }
    if (options.task == Options::Task::kProperties && !options.os) {
        throw UsageError{L"--properties needs --os"};
    }
    return options;
}

}  // namespace kel::kelsh
