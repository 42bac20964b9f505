// The definitions of the files' fields.
#include "apps/atlas/dictionary.h"

#include <algorithm>

namespace kel::atlas {
namespace {

constexpr Field kCountryFields[] = {
    {L"NAME", kCountryName, L"Name", L"", L"", L"30L", false},
    {L"OFFICIAL.NAME", 2, L"Official name", L"", L"", L"40L", false},
    {L"COMMON.NAME", 3, L"Common name", L"", L"", L"20L", false},
    {L"ALPHA3", 4, L"Alpha 3", L"", L"", L"7L", false},
    {L"NUMBER", 5, L"Number", L"", L"", L"6R", false},
    {L"FLAG", kCountryFlag, L"Flag", L"", L"", L"4L", false},
    {L"SUB.CODE", kSubdivisionCode, L"Code", L"", L"", L"8L", true},
    {L"SUB.NAME", kSubdivisionName, L"Subdivision", L"", L"", L"30L", true},
    {L"SUB.TYPE", kSubdivisionType, L"Type", L"", L"", L"20L", true},
    {L"CONTINENT", kCountryContinent, L"Continent", L"", L"", L"9L", false},
    {L"CONTINENT.NAME", kCountryContinent, L"Continent", L"", L"TCONTINENTS;X;;1", L"14L", false},
    {L"CURRENCY", kCountryCurrency, L"Currency", L"", L"", L"8L", false},
    {kCurrencyName, kCountryCurrency, L"Currency", L"", L"TCURRENCIES;X;;1", L"24L", false},
    {kArea, kCountryArea, L"Area km\u00B2", L"MD0,", L"", L"12R", false},
    {kPopulation, kCountryPopulation, L"Population", L"MD0,", L"", L"14R", false},
    {kChecked, kCountryChecked, L"Checked", L"D4", L"", L"11R", false},
    {L"MEMBER", kCountryMember, L"UN", L"", L"", L"2L", false},
    {L"DENSITY", 0, L"People per km\u00B2", L"", L"A;13/12", L"15R", false},
};

constexpr Field kNameField[] = {{L"NAME", 1, L"Name", L"", L"", L"30L", false}};

constexpr const wchar_t* kAssociation = L"SUBDIVISIONS";

// A computed field is an A item, any other a D item: only the former has room for a correlative.
Text RecordOf(const Field& field) {
    const Text amc = std::to_wstring(field.amc);
    if (*field.correlative == L'\0') {
        return Join({L"D",
                     amc,
                     field.conversion,
                     field.heading,
                     field.format,
                     field.isMultivalued ? L"M" : L"S",
                     field.isMultivalued ? kAssociation : L""},
                    kAttributeMark);
    }
    Text width(field.format);
    const Text justification(1, width.back());
    width.pop_back();
    return Join({L"A",
                 amc,
                 field.heading,
                 L"",
                 L"",
                 L"",
                 field.conversion,
                 field.correlative,
                 justification,
                 width},
                kAttributeMark);
}

}  // namespace

std::span<const Field> FieldsOf(TextView fileName) {
    if (fileName == kCountries) {
        return kCountryFields;
    }
    if (fileName == kCurrencies || fileName == kLanguages || fileName == kContinents) {
        return kNameField;
    }
    return {};
}

const Field& CountryField(TextView name) {
    return *std::find_if(std::begin(kCountryFields),
                         std::end(kCountryFields),
                         [&](const Field& field) { return name == field.name; });
}

std::vector<Record> DictionaryOf(TextView fileName) {
    std::vector<Record> records;
    for (const Field& field : FieldsOf(fileName)) {
        records.push_back({field.name, RecordOf(field)});
    }
    return records;
}

}  // namespace kel::atlas
