// The tables of an account: the statements that make them, to the letter, since an account that
// holds anything else is refused.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/embedded/store/database.h"

namespace kel::embedded {

// Stored in the file's header; published, never change. The format number rises when an older
// program could no longer read what a newer one writes, or would break it by writing.
inline constexpr std::int64_t kApplicationId = 0x6B656C31;
inline constexpr std::int64_t kFormat = 3;

std::int64_t FormatOf(Database& database);
// Those of formats 1 and 2 have no checksums.
constexpr RecordForms FormsOf(std::int64_t format) {
    return format < 3 ? RecordForms::kWithoutChecksum : RecordForms::kWithChecksum;
}

// The tables of one number: a file's records, an index's entries, these by id.
std::string RecordsTable(std::int64_t file);
std::string EntriesTable(std::int64_t index);

void CreateLists(Database& database);  // of files and of indexes
void CreateRecords(Database& database, std::int64_t file);
void CreateEntries(Database& database, std::int64_t index);
void CreateEntriesById(Database& database, std::int64_t index);

// One row of the engine's own list of tables.
struct SchemaRow {
    std::string type;
    std::string name;
    std::string table;
    std::string sql;  // "" for what the engine made by itself
};

std::vector<SchemaRow> ReadSchema(Database& database);

// The table for whose key the engine made the index of that name; empty for other names.
std::optional<std::string> TableOfOwnIndex(std::string_view name);

// A number behind a letter, as in the names of tables; empty for anything else.
std::optional<std::int64_t> NumberIn(std::string_view name, char letter);

// The name of a file; empty when the catalogue does not know it.
text::Text FileNameOf(Database& database, std::int64_t file);
[[noreturn]] void FailDamagedRecord(Database& database, std::int64_t file, Bytes id);

// What the schema holds that an account of the format does not, or lacks: whole sentences.
std::vector<text::Text> SchemaFaults(Database& database, std::int64_t format);

}  // namespace kel::embedded
