// kel_cases FOLDER [OPERATION...]: runs input/output pairs (one JSON object a line, a file per
// operation; all if none is named) against the library and prints, per file, how many agree and the
// first that do not.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <vector>

#include "hosts/multivalue/text/code_points.h"
#include "tests/host/cases.h"
#include "tests/support/text_support.h"

namespace kel::cases {

Text FromUtf8(const std::string& utf8) {
    Text text;
    for (std::size_t at = 0; at < utf8.size();) {
        AppendPoint(text, TakeEncodedPoint(utf8, at));
    }
    return text;
}

Text TextOf(const Json& object, const char* field) {
    const Json& value = object.at(field);
    return value.is_null() ? Text() : FromUtf8(value.get<std::string>());
}

std::optional<std::string> Compare(const Text& got, const Text& wanted) {
    if (got == wanted) {
        return std::nullopt;
    }
    return Drawn(got);
}

namespace {

constexpr int kShown = 10;

struct Tally {
    int cases = 0;
    int differing = 0;
};

Tally RunFile(const std::filesystem::path& path, const Check& check) {
    std::ifstream file(path);
    std::string line;
    Tally tally;
    std::string shown;
    while (std::getline(file, line)) {
        const Json row = Json::parse(line);
        if (row.value("kind", "query") != "query") {
            continue;  // what cases work on is no case
        }
        ++tally.cases;
        std::optional<std::string> other;
        try {
            other = check(row);
        } catch (const std::exception& error) {
            other = std::string("error: ") + error.what();
        }
        if (other && ++tally.differing <= kShown) {
            shown += "    " + line + "\n        came out: " + *other + "\n";
        }
    }
    std::cout << path.stem().string() << ": " << tally.cases << " cases, "
              << tally.cases - tally.differing << " agree, " << tally.differing << " differ\n"
              << shown;
    return tally;
}

int RunFolder(const std::filesystem::path& folder, const std::vector<std::string>& operations) {
    Checks checks;
    AddArrayChecks(checks);
    AddConversionChecks(checks);
    AddDictionaryChecks(checks, folder);
    AddQueryChecks(checks, folder);
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string operation = entry.path().stem().string();
        const bool isWanted =
            operations.empty() ||
            std::find(operations.begin(), operations.end(), operation) != operations.end();
        if (entry.path().extension() == ".jsonl" && isWanted) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    Tally total;
    for (const auto& file : files) {
        const auto check = checks.find(file.stem().string());
        if (check == checks.end()) {
            std::cout << file.stem().string() << ": NOT RUN YET\n";
            continue;
        }
        const Tally tally = RunFile(file, check->second);
        total.cases += tally.cases;
        total.differing += tally.differing;
    }
    std::cout << total.cases - total.differing << " passed, " << total.differing << " failed\n";
    return total.differing == 0 && total.cases > 0 ? 0 : 1;
}

}  // namespace

}  // namespace kel::cases

int main(int argc, char** argv) {
    if (argc < 2 || !std::filesystem::is_directory(argv[1])) {
        std::cerr << "usage: kel_cases FOLDER [OPERATION...]\n";
        return 2;
    }
    try {
        return kel::cases::RunFolder(argv[1], {argv + 2, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << "kel_cases: " << error.what() << '\n';
        return 2;
    }
}
