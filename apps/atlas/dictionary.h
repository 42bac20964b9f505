// The dictionaries of the files: what a field is called, where it stands, how it is shown.
#pragma once

#include "apps/atlas/iso_codes.h"

namespace kel::atlas {

struct Field {
    const wchar_t* name;
    long amc;
    const wchar_t* heading;
    const wchar_t* conversion;
    const wchar_t* correlative;
    const wchar_t* format;  // width and justification
    bool isMultivalued;
};

// Names of the fields of COUNTRIES that a program binds.
inline constexpr const wchar_t* kArea = L"AREA";
inline constexpr const wchar_t* kPopulation = L"POPULATION";
inline constexpr const wchar_t* kChecked = L"CHECKED";
inline constexpr const wchar_t* kCurrencyName = L"CURRENCY.NAME";

// The fields of a file; none for a file that has no dictionary here.
std::span<const Field> FieldsOf(TextView fileName);

// A field of COUNTRIES by name; the name must be one.
const Field& CountryField(TextView name);

// The records of a file's dictionary.
std::vector<Record> DictionaryOf(TextView fileName);

}  // namespace kel::atlas
