// The statements of all formats, and what else may stand in an account's schema.
#include "hosts/embedded/store/account_schema.h"

#include <algorithm>
#include <charconv>

namespace kel::embedded {

using text::Text;

namespace {

constexpr const char* kCatalogue =
    "CREATE TABLE catalogue(number INTEGER PRIMARY KEY AUTOINCREMENT,"
    " name BLOB NOT NULL UNIQUE, sum INTEGER NOT NULL)";
constexpr const char* kIndexes =
    "CREATE TABLE indexes(number INTEGER PRIMARY KEY AUTOINCREMENT, file INTEGER NOT NULL,"
    " name BLOB NOT NULL, description BLOB NOT NULL, sum INTEGER NOT NULL, UNIQUE(file, name))";
constexpr const char* kRecordsColumns = "(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL)";
constexpr const char* kEntriesColumns =
    "(key BLOB NOT NULL, id BLOB NOT NULL, sum INTEGER NOT NULL, PRIMARY KEY(key, id))"
    " WITHOUT ROWID";

// Of formats 1 and 2.
constexpr const char* kOldCatalogue =
    "CREATE TABLE catalogue( number INTEGER PRIMARY KEY AUTOINCREMENT, name BLOB NOT NULL UNIQUE)";
constexpr const char* kOldIndexes =
    "CREATE TABLE indexes( number INTEGER PRIMARY KEY AUTOINCREMENT, file INTEGER NOT NULL,"
    " name BLOB NOT NULL, description BLOB NOT NULL, UNIQUE(file, name))";
constexpr const char* kOldEntriesColumns =
    "(key BLOB NOT NULL, id BLOB NOT NULL, PRIMARY KEY(key, id)) WITHOUT ROWID";

std::string RecordsStatement(std::int64_t file) {
    return "CREATE TABLE " + RecordsTable(file) + kRecordsColumns;
}

std::string EntriesStatement(std::int64_t index, const char* columns) {
    return "CREATE TABLE " + EntriesTable(index) + columns;
}

std::string EntriesByIdStatement(std::int64_t index) {
    return "CREATE INDEX y" + std::to_string(index) + " ON " + EntriesTable(index) + "(id)";
}

std::string TextOfColumn(const Statement& statement, int column) {
    const Bytes bytes = statement.ColumnBytes(column);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

constexpr std::string_view kOwnIndex = "sqlite_autoindex_";

// What an account holds under a name; empty when it holds nothing of the kind.
std::optional<SchemaRow> KnownRow(const std::string& name, std::int64_t format) {
    const bool isSealed = FormsOf(format) == RecordForms::kWithChecksum;
    if (name == "catalogue") {
        return SchemaRow{"table", name, name, isSealed ? kCatalogue : kOldCatalogue};
    }
    if (name == "indexes") {
        return SchemaRow{"table", name, name, isSealed ? kIndexes : kOldIndexes};
    }
    if (name == "sqlite_sequence") {
        return SchemaRow{"table", name, name, "CREATE TABLE sqlite_sequence(name,seq)"};
    }
    if (const auto file = NumberIn(name, 'f')) {
        return SchemaRow{"table", name, name, RecordsStatement(*file)};
    }
    if (const auto index = NumberIn(name, 'x')) {
        return SchemaRow{"table",
                         name,
                         name,
                         EntriesStatement(*index, isSealed ? kEntriesColumns : kOldEntriesColumns)};
    }
    if (const auto index = NumberIn(name, 'y')) {
        return SchemaRow{"index", name, EntriesTable(*index), EntriesByIdStatement(*index)};
    }
    if (const auto table = TableOfOwnIndex(name)) {
        return SchemaRow{"index", name, *table, ""};
    }
    return std::nullopt;
}

// What the engine's ANALYZE leaves behind; it bears on how statements are run, not on their result.
bool IsStatistics(const SchemaRow& row) {
    return row.type == "table" && (row.name == "sqlite_stat1" || row.name == "sqlite_stat4");
}

}  // namespace

std::int64_t FormatOf(Database& database) {
    return database.QueryInteger("PRAGMA user_version");
}

std::string RecordsTable(std::int64_t file) {
    return "f" + std::to_string(file);
}

std::string EntriesTable(std::int64_t index) {
    return "x" + std::to_string(index);
}

void CreateLists(Database& database) {
    database.Execute(kCatalogue);
    database.Execute(kIndexes);
}

void CreateRecords(Database& database, std::int64_t file) {
    database.Execute(RecordsStatement(file).c_str());
}

void CreateEntries(Database& database, std::int64_t index) {
    database.Execute(EntriesStatement(index, kEntriesColumns).c_str());
}

void CreateEntriesById(Database& database, std::int64_t index) {
    database.Execute(EntriesByIdStatement(index).c_str());
}

std::optional<std::int64_t> NumberIn(std::string_view name, char letter) {
    if (name.size() < 2 || name[0] != letter || name[1] < '1' || name[1] > '9') {
        return std::nullopt;
    }
    std::int64_t number = 0;
    const char* end = name.data() + name.size();
    const auto [rest, failure] = std::from_chars(name.data() + 1, end, number);
    return rest == end && failure == std::errc() ? std::optional(number) : std::nullopt;
}

// For example "sqlite_autoindex_f1_1".
std::optional<std::string> TableOfOwnIndex(std::string_view name) {
    if (!name.starts_with(kOwnIndex) || !name.ends_with("_1")) {
        return std::nullopt;
    }
    const std::string_view table =
        name.substr(kOwnIndex.size(), name.size() - kOwnIndex.size() - 2);
    if (table == "catalogue" || table == "indexes" || NumberIn(table, 'f')) {
        return std::string(table);
    }
    return std::nullopt;
}

std::vector<SchemaRow> ReadSchema(Database& database) {
    std::vector<SchemaRow> rows;
    Statement list(database, "SELECT type, name, tbl_name, sql FROM sqlite_schema");
    while (list.Step()) {
        rows.push_back({TextOfColumn(list, 0),
                        TextOfColumn(list, 1),
                        TextOfColumn(list, 2),
                        TextOfColumn(list, 3)});
    }
    return rows;
}

Text FileNameOf(Database& database, std::int64_t file) {
    Statement find(database, "SELECT name FROM catalogue WHERE number = ?1");
    find.Bind(1, file);
    Text name;
    if (find.Step()) {
        DecodeKey(find.ColumnBytes(0), name);
    }
    return name;
}

void FailDamagedRecord(Database& database, std::int64_t file, Bytes id) {
    Text text;
    DecodeKey(id, text);
    database.FailDamaged(u"the record \"" + text + u"\" of the file \"" +
                         FileNameOf(database, file) + u"\"");
}

std::vector<Text> SchemaFaults(Database& database, std::int64_t format) {
    const std::vector<SchemaRow> rows = ReadSchema(database);
    std::vector<Text> faults;
    for (const SchemaRow& row : rows) {
        const std::optional<SchemaRow> known = KnownRow(row.name, format);
        if (IsStatistics(row) || (known && known->type == row.type && known->table == row.table &&
                                  known->sql == row.sql)) {
            continue;
        }
        faults.push_back(
            u"It holds the " + TextOf(row.type) + u" \"" + TextOf(row.name) +
            (known ? u"\", which is not as an account's is." : u"\", which no account has."));
    }
    const auto isMissing = [&](const char* name) {
        return std::none_of(
            rows.begin(), rows.end(), [&](const auto& row) { return row.name == name; });
    };
    for (const char* name : {"catalogue", "indexes"}) {
        if ((name == std::string_view("catalogue") ||
             FormsOf(format) == RecordForms::kWithChecksum) &&
            isMissing(name)) {
            faults.push_back(u"It has no table \"" + TextOf(name) + u"\".");
        }
    }
    return faults;
}

}  // namespace kel::embedded
