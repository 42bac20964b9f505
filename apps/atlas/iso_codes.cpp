// Records out of the package's JSON files.
#include "apps/atlas/iso_codes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "apps/atlas/child_process.h"
#include "apps/atlas/figures.h"

namespace kel::atlas {
namespace {

using nlohmann::json;

constexpr Attribute kCountryLayout[] = {
    {kCountryName, L"name", "name"},
    {2, L"official name", "official_name"},
    {3, L"common name", "common_name"},
    {4, L"three-letter code", "alpha_3"},
    {5, L"number", "numeric"},
    {kCountryFlag, L"flag", "flag"},
    {kSubdivisionCode, L"codes of subdivisions (multivalued)", nullptr},
    {kSubdivisionName, L"their names (multivalued)", nullptr},
    {kSubdivisionType, L"their types (multivalued); subvalue 2: part of", nullptr},
    {kCountryContinent, L"continent, an id of CONTINENTS", nullptr},
    {kCountryCurrency, L"currency, an id of CURRENCIES", nullptr},
    {kCountryArea, L"area in square kilometres", nullptr},
    {kCountryPopulation, L"population", nullptr},
    {kCountryChecked, L"day on which somebody checked the record", nullptr},
    {kCountryMember, L"1 for a member of the United Nations", nullptr},
};

constexpr Attribute kCurrencyLayout[] = {
    {1, L"name", "name"},
    {2, L"number", "numeric"},
};

constexpr Attribute kContinentLayout[] = {
    {1, L"name", nullptr},
};

constexpr Attribute kLanguageLayout[] = {
    {1, L"name", "name"},
    {2, L"scope: I individual, M macro, S special", "scope"},
    {3, L"type: L living, E extinct, H historical, A ancient, C constructed, S special", "type"},
    {4, L"inverted name", "inverted_name"},
    {5, L"two-letter code", "alpha_2"},
    {6, L"common name", "common_name"},
    {7, L"bibliographic code", "bibliographic"},
};

// The entries of the list "iso_<number>.json".
json List(const Text& folder, const std::string& number) {
    const std::string name = "iso_" + number + ".json";
    std::ifstream stream(std::filesystem::path(folder) / name, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("the list " + name + " is missing in " + ToUtf8(folder));
    }
    try {
        return json::parse(stream).at(number);
    } catch (const json::exception& error) {
        throw std::runtime_error("the list " + name + " is damaged: " + error.what());
    }
}

Text Member(const json& entry, const char* name) {
    const auto found = name != nullptr ? entry.find(name) : entry.end();
    return found != entry.end() ? ToRecord(FromUtf8(found->get<std::string>())) : Text();
}

// The multivalued attributes of one country's subdivisions.
struct Subdivisions {
    std::vector<Text> codes;
    std::vector<Text> names;
    std::vector<Text> types;
};

// By country. A row goes to the same place in all three columns.
std::map<Text, Subdivisions> SubdivisionsByCountry(json entries) {
    std::sort(entries.begin(), entries.end(), [](const json& left, const json& right) {
        return left.at("code") < right.at("code");
    });
    std::map<Text, Subdivisions> result;
    for (const json& entry : entries) {
        const Text code = Member(entry, "code");
        Subdivisions& country = result[code.substr(0, code.find(L'-'))];
        country.codes.push_back(code);
        country.names.push_back(Member(entry, "name"));
        country.types.push_back(
            Join({Member(entry, "type"), Member(entry, "parent")}, kSubvalueMark));
    }
    return result;
}

// A file whose attributes come straight from the members of a list's entries. Each record is a
// vector of attributes until the caller has added what comes from elsewhere.
template <typename Complete>
File FileOf(const wchar_t* name,
            const wchar_t* idContent,
            std::span<const Attribute> layout,
            const json& entries,
            const char* idMember,
            Complete&& complete) {
    File file{name, idContent, layout, {}};
    for (const json& entry : entries) {
        std::vector<Text> attributes;
        for (const Attribute& attribute : layout) {
            attributes.push_back(Member(entry, attribute.member));
        }
        const Text id = Member(entry, idMember);
        complete(id, attributes);
        file.records.push_back({id, Join(attributes, kAttributeMark)});
    }
    std::sort(file.records.begin(), file.records.end(), [](const Record& a, const Record& b) {
        return a.id < b.id;
    });
    return file;
}

// What is known of a country beside the lists.
void AddFigures(const Text& country, std::vector<Text>& attributes) {
    if (const Figures* figures = FiguresOf(country)) {
        attributes[kCountryContinent - 1] = figures->continent;
        attributes[kCountryCurrency - 1] = figures->currency;
        attributes[kCountryArea - 1] = std::to_wstring(figures->area);
        attributes[kCountryPopulation - 1] = std::to_wstring(figures->population);
        attributes[kCountryMember - 1] = figures->isMember ? L"1" : L"";
    }
}

File Continents() {
    return {kContinents,
            L"two-letter code",
            kContinentLayout,
            {{L"AF", L"Africa"},
             {L"AN", L"Antarctica"},
             {L"AS", L"Asia"},
             {L"EU", L"Europe"},
             {L"NA", L"North America"},
             {L"OC", L"Oceania"},
             {L"SA", L"South America"}}};
}

}  // namespace

Text ListsFolder() {
    // A Unix system shows its root as drive Z.
    constexpr const wchar_t* kDebian = L"Z:\\usr\\share\\iso-codes\\json";
    const auto beside = std::filesystem::path(ProgramPath()).parent_path() / L"iso-codes";
    std::error_code ignored;
    return std::filesystem::is_directory(beside, ignored) ? beside.wstring() : kDebian;
}

std::vector<File> LoadIsoCodes(const Text& folder) {
    const auto subdivisions = SubdivisionsByCountry(List(folder, "3166-2"));
    const auto completeCountry = [&](const Text& country, std::vector<Text>& attributes) {
        AddFigures(country, attributes);
        const auto found = subdivisions.find(country);
        if (found != subdivisions.end()) {
            attributes[kSubdivisionCode - 1] = Join(found->second.codes, kValueMark);
            attributes[kSubdivisionName - 1] = Join(found->second.names, kValueMark);
            attributes[kSubdivisionType - 1] = Join(found->second.types, kValueMark);
        }
    };
    const auto addNothing = [](const Text&, std::vector<Text>&) {};

    std::vector<File> files;
    files.push_back(FileOf(kCountries,
                           L"two-letter code",
                           kCountryLayout,
                           List(folder, "3166-1"),
                           "alpha_2",
                           completeCountry));
    files.push_back(FileOf(kCurrencies,
                           L"three-letter code",
                           kCurrencyLayout,
                           List(folder, "4217"),
                           "alpha_3",
                           addNothing));
    files.push_back(FileOf(kLanguages,
                           L"three-letter code",
                           kLanguageLayout,
                           List(folder, "639-3"),
                           "alpha_3",
                           addNothing));
    files.push_back(Continents());
    return files;
}

}  // namespace kel::atlas
