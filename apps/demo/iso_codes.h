// Debian's lists of countries, currencies and languages (package iso-codes) as multivalue records.
#pragma once

#include <span>
#include <vector>

#include "apps/demo/record_text.h"

namespace kel::demo {

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

// COUNTRIES: attribute n of the first six, and the associated multivalued attributes of the
// country's subdivisions: value n of each belongs to the n-th subdivision, in the order of codes.
inline constexpr const wchar_t* kCountries = L"COUNTRIES";
inline constexpr long kCountryName = 1;
inline constexpr long kCountryFlag = 6;
inline constexpr long kSubdivisionCode = 7;
inline constexpr long kSubdivisionName = 8;
inline constexpr long kSubdivisionType = 9;  // subvalue 2: the subdivision it belongs to, if any
inline constexpr int kSubdivisionColumns = 3;

inline constexpr const wchar_t* kCurrencies = L"CURRENCIES";
inline constexpr const wchar_t* kLanguages = L"LANGUAGES";

// Reads the lists from a folder.
//   throws  std::exception naming the list that is missing or damaged
std::vector<File> LoadIsoCodes(const Text& folder);

}  // namespace kel::demo
