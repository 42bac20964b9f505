// Input/output pairs run against the library: what the program and the checks of each kind share.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "hosts/multivalue/text/text.h"

namespace kel::cases {

using namespace command;

using Json = nlohmann::json;

// Answers nothing when the case agrees, otherwise what came out instead.
using Check = std::function<std::optional<std::string>(const Json&)>;

// By the name of the file that holds the cases.
using Checks = std::map<std::string, Check>;

void AddArrayChecks(Checks& checks);
void AddConversionChecks(Checks& checks);
void AddDictionaryChecks(Checks& checks, const std::filesystem::path& folder);
void AddQueryChecks(Checks& checks, const std::filesystem::path& folder);

Text FromUtf8(const std::string& utf8);
// A null reads as the empty text.
Text TextOf(const Json& object, const char* field);
std::optional<std::string> Compare(const Text& got, const Text& wanted);

}  // namespace kel::cases
