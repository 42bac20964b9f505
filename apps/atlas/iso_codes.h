// Debian's lists of countries, currencies and languages (package iso-codes) as multivalue records,
// with some figures the lists do not have.
#pragma once

#include <span>
#include <vector>

#include "apps/binding/record_text.h"

namespace kel::atlas {

using namespace binding;  // NOLINT(google-build-using-namespace): the kit below

// One line of a file's layout.
struct Attribute {
    long amc;
    const wchar_t* content;
    const char* member;  // of the list's JSON objects; null where the content comes from elsewhere
};

struct Record {
    Text id;
    Text text;
};

struct File {
    const wchar_t* name;
    const wchar_t* idContent;
    std::span<const Attribute> layout;
    std::vector<Record> records;  // in the order of their ids
};

// COUNTRIES: single values, and the associated multivalued attributes of the country's
// subdivisions: value n of each belongs to the n-th subdivision, in the order of codes.
inline constexpr const wchar_t* kCountries = L"COUNTRIES";
inline constexpr long kCountryName = 1;
inline constexpr long kCountryFlag = 6;
inline constexpr long kSubdivisionCode = 7;
inline constexpr long kSubdivisionName = 8;
inline constexpr long kSubdivisionType = 9;  // subvalue 2: the subdivision it belongs to, if any
inline constexpr int kSubdivisionColumns = 3;
inline constexpr long kCountryContinent = 10;
inline constexpr long kCountryCurrency = 11;
inline constexpr long kCountryArea = 12;
inline constexpr long kCountryPopulation = 13;
inline constexpr long kCountryChecked = 14;
inline constexpr long kCountryMember = 15;

inline constexpr const wchar_t* kCurrencies = L"CURRENCIES";
inline constexpr const wchar_t* kLanguages = L"LANGUAGES";
inline constexpr const wchar_t* kContinents = L"CONTINENTS";

// Where a program finds the lists by itself: in the folder "iso-codes" beside it, or where Debian
// keeps them. The latter also when there are none.
Text ListsFolder();

// Reads the lists from a folder.
//   throws  std::exception naming the list that is missing or damaged
std::vector<File> LoadIsoCodes(const Text& folder);

}  // namespace kel::atlas
