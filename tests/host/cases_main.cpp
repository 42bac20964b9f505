// kel_cases FOLDER: runs input/output pairs (one JSON object a line, a file per operation) against
// the library and prints, per file, how many agree and the first that do not.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "hosts/multivalue/dynamic_array.h"
#include "tests/host/text_support.h"

namespace {

using kel::multivalue::Drawn;
using kel::multivalue::DynamicArray;
using kel::multivalue::LocateResult;
using kel::multivalue::Position;
using kel::multivalue::SortOrder;
using kel::multivalue::Text;
using Json = nlohmann::json;

constexpr int kShown = 10;

Text FromUtf8(const std::string& utf8) {
    Text text;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t point = length == 1 ? lead : lead & (0xFFU >> (length + 1));
        for (std::size_t n = 1; n < length; ++n) {
            point = (point << 6) | (static_cast<unsigned char>(utf8[i + n]) & 0x3FU);
        }
        i += length;
        if (point >= 0x10000) {
            text.push_back(static_cast<char16_t>(0xD7C0 + (point >> 10)));
            text.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FF)));
        } else {
            text.push_back(static_cast<char16_t>(point));
        }
    }
    return text;
}

Text TextOf(const Json& object, const char* field) {
    return FromUtf8(object.at(field).get<std::string>());
}

Position PositionOf(const Json& object) {
    return {object.at("amc").get<std::int32_t>(),
            object.at("vmc").get<std::int32_t>(),
            object.at("smc").get<std::int32_t>()};
}

// Answers nothing when the case agrees, otherwise what came out instead.
using Check = std::function<std::optional<std::string>(const Json&)>;

std::optional<std::string> Compare(const Text& got, const Text& wanted) {
    if (got == wanted) {
        return std::nullopt;
    }
    return Drawn(got);
}

std::optional<std::string> CheckLocate(const Json& c) {
    const LocateResult result = DynamicArray(TextOf(c, "rec"))
                                    .Locate(TextOf(c, "str"),
                                            c.at("amc").get<std::int32_t>(),
                                            c.at("vmc").get<std::int32_t>(),
                                            SortOrder::Parse(TextOf(c, "order")));
    if (result.found == (c.at("found").get<int>() != 0) &&
        result.position == c.at("pos").get<std::size_t>()) {
        return std::nullopt;
    }
    return std::string(result.found ? "found at " : "not found, ") +
           std::to_string(result.position);
}

std::optional<std::string> CheckDcount(const Json& c) {
    const std::size_t parts = DynamicArray(TextOf(c, "str")).Dcount(TextOf(c, "delim"), {});
    if (parts == c.at("dcount").get<std::size_t>()) {
        return std::nullopt;
    }
    return std::to_string(parts);
}

const std::map<std::string, Check>& Checks() {
    static const std::map<std::string, Check> checks = {
        {"extract",
         [](const Json& c) {
             return Compare(DynamicArray(TextOf(c, "rec")).Extract(PositionOf(c)),
                            TextOf(c, "out"));
         }},
        {"replace",
         [](const Json& c) {
             DynamicArray array(TextOf(c, "rec"));
             array.Replace(PositionOf(c), TextOf(c, "val"));
             return Compare(array.ToText(), TextOf(c, "out"));
         }},
        {"insert",
         [](const Json& c) {
             DynamicArray array(TextOf(c, "rec"));
             array.Insert(PositionOf(c), TextOf(c, "val"));
             return Compare(array.ToText(), TextOf(c, "out"));
         }},
        {"delete",
         [](const Json& c) {
             DynamicArray array(TextOf(c, "rec"));
             array.Delete(PositionOf(c));
             return Compare(array.ToText(), TextOf(c, "out"));
         }},
        {"locate", CheckLocate},
        {"dcount", CheckDcount},
    };
    return checks;
}

// Returns the number of cases that differ.
int RunFile(const std::filesystem::path& path) {
    const std::string name = path.stem().string();
    const auto check = Checks().find(name);
    if (check == Checks().end()) {
        std::cout << name << ": NOT RUN YET\n";
        return 0;
    }
    std::ifstream file(path);
    std::string line;
    int cases = 0;
    int differing = 0;
    std::string shown;
    while (std::getline(file, line)) {
        ++cases;
        std::optional<std::string> other;
        try {
            other = check->second(Json::parse(line));
        } catch (const std::exception& error) {
            other = std::string("error: ") + error.what();
        }
        if (other && ++differing <= kShown) {
            shown += "    " + line + "\n        came out: " + *other + "\n";
        }
    }
    std::cout << name << ": " << cases << " cases, " << cases - differing << " agree, " << differing
              << " differ\n"
              << shown;
    return differing;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !std::filesystem::is_directory(argv[1])) {
        std::cerr << "usage: kel_cases FOLDER\n";
        return 2;
    }
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        if (entry.path().extension() == ".jsonl") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    int differing = 0;
    for (const auto& file : files) {
        differing += RunFile(file);
    }
    return differing == 0 ? 0 : 1;
}
