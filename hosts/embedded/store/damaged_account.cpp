// Finds where tables begin, and reads them past what is damaged.
#include "hosts/embedded/store/damaged_account.h"

#include <sqlite3.h>

#include <algorithm>
#include <optional>

#include "hosts/embedded/store/checksum.h"

namespace kel::embedded {

using text::Text;
using text::TextView;

namespace {

// Where rows cannot be read, that many are stepped over one by one before the steps grow.
constexpr std::int64_t kSmallSteps = 1000;

constexpr std::int64_t kPagesAtOnce = 500;

// Rows that are looked at to tell whose records a table holds.
constexpr int kSample = 20;

// The first table of an account begins behind the page of the schema.
constexpr std::int64_t kFirstTable = 2;

constexpr std::string_view kCreateTable = "CREATE TABLE ";

// Which table a row of the schema tells of. It says so three times; two have to agree.
std::string TableOf(const SchemaRow& row) {
    std::string inStatement = row.sql;
    if (inStatement.starts_with(kCreateTable)) {
        inStatement =
            inStatement.substr(kCreateTable.size(), row.sql.find('(') - kCreateTable.size());
    }
    return row.table == row.name || row.table == inStatement ? row.table : inStatement;
}

}  // namespace

DamagedAccount::DamagedAccount(TextView path, TextView file)
    : database_(path, file, Database::Mode::kReadWrite, 0) {
    database_.Execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN IMMEDIATE");
    database_.LeaveLog();
    // A schema that cannot be made out does not keep the engine from reading the rest. Nothing is
    // written all the same.
    database_.Check(
        sqlite3_db_config(database_.get(), SQLITE_DBCONFIG_WRITABLE_SCHEMA, 1, nullptr));
    CanRead([&] { ReadSchemaRows(); });
    ChooseForms();
    if (catalogue_ == 0) {
        catalogue_ = kFirstTable;
    }
}

void DamagedAccount::ReadSchemaRows() {
    Statement list(database_, "SELECT type, name, tbl_name, sql, rootpage FROM sqlite_schema");
    while (list.Step()) {
        const auto text = [&](int column) {
            const Bytes bytes = list.ColumnBytes(column);
            return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        };
        Note({text(0), text(1), text(2), text(3)}, list.ColumnInteger(4));
    }
}

// The header and the statements of two tables tell; two have to agree.
void DamagedAccount::ChooseForms() {
    bool inHeader = false;
    CanRead([&] { inHeader = FormsOf(FormatOf(database_)) == RecordForms::kWithChecksum; });
    forms_ = inHeader + tablesWithSums_ >= 2 ? RecordForms::kWithChecksum
                                             : RecordForms::kWithoutChecksum;
}

void DamagedAccount::Note(const SchemaRow& row, Page root) {
    if (root < kFirstTable) {
        return;  // a trigger, a view
    }
    if (row.sql.empty()) {
        const auto table = TableOfOwnIndex(row.name);
        const auto file = NumberIn(row.table, 'f');
        if (table == row.table && table == "catalogue") {
            names_ = root;
        } else if (table == row.table && file) {
            ids_[*file] = root;
        }
        return;
    }
    const std::string table = TableOf(row);
    if (table == "catalogue" || table == "indexes") {
        (table == "catalogue" ? catalogue_ : indexes_) = root;
        tablesWithSums_ += row.sql.find(", sum ") != std::string::npos ? 1 : 0;
    } else if (const auto file = NumberIn(table, 'f')) {
        records_[*file] = root;
    } else if (!NumberIn(table, 'x') && !row.sql.starts_with("CREATE INDEX")) {
        unknown_.push_back(root);
    }
}

// Reads the tree that begins at a page as a table of those columns, whatever the schema says of it.
Statement DamagedAccount::On(Page root, const char* columns, const char* select) {
    const std::string table = "read" + std::to_string(++tables_);
    sqlite3_test_control(
        SQLITE_TESTCTRL_IMPOSTER, database_.get(), "main", 1, static_cast<int>(root));
    const int code = sqlite3_exec(
        database_.get(), ("CREATE TABLE " + table + columns).c_str(), nullptr, nullptr, nullptr);
    sqlite3_test_control(SQLITE_TESTCTRL_IMPOSTER, database_.get(), "main", 0, 0);
    database_.Check(code);
    std::string text = select;
    text.replace(text.find('@'), 1, table);
    return {database_, text.c_str()};
}

Statement DamagedAccount::Catalogue() {
    return On(
        catalogue_, "(number INTEGER PRIMARY KEY, name, sum)", "SELECT number, name, sum FROM @");
}

Statement DamagedAccount::Names() {
    return On(names_,
              "(name, number, PRIMARY KEY(name, number)) WITHOUT ROWID",
              "SELECT number, name FROM @");
}

Statement DamagedAccount::IndexList() {
    return On(indexes_,
              "(number INTEGER PRIMARY KEY, file, name, description, sum)",
              "SELECT number, file, name, description, sum FROM @");
}

Statement DamagedAccount::Ids(std::int64_t file) {
    return On(
        ids_.at(file), "(id, row, PRIMARY KEY(id, row)) WITHOUT ROWID", "SELECT id, row FROM @");
}

std::vector<std::int64_t> DamagedAccount::Files() const {
    std::vector<std::int64_t> files;
    for (const auto& [file, root] : records_) {
        files.push_back(file);
    }
    return files;
}

// Whether there are rows, and some of the first are records of the file.
bool DamagedAccount::HoldsRecordsOf(Page root, std::int64_t file) {
    bool holds = false;
    CanRead([&] {
        Statement rows = On(root, "(id, rec)", "SELECT id, rec FROM @");
        Text record;
        for (int i = 0; i < kSample && !holds && rows.Step(); ++i) {
            holds = DecodeStored(forms_, file, rows.ColumnBytes(0), rows.ColumnBytes(1), record);
        }
    });
    return holds;
}

void DamagedAccount::FindRecords(const std::map<std::int64_t, Text>& files) {
    if (forms_ == RecordForms::kWithoutChecksum) {
        return;
    }
    for (const auto& [file, name] : files) {
        if (records_.contains(file)) {
            continue;
        }
        const auto root =
            std::find_if(unknown_.begin(), unknown_.end(), [&, number = file](Page page) {
                return HoldsRecordsOf(page, number);
            });
        if (root != unknown_.end()) {
            records_[file] = *root;
        }
    }
}

void DamagedAccount::ForEachStrayRow(const std::function<void(std::int64_t, Bytes, Bytes)>& work) {
    const Page pages = database_.QueryInteger("PRAGMA page_count");
    for (Page page = kFirstTable; page <= pages; ++page) {
        CanRead([&] {
            Statement rows = On(page, "(id, rec)", "SELECT rowid, id, rec FROM @");
            while (rows.Step()) {
                work(rows.ColumnInteger(0), rows.ColumnBytes(1), rows.ColumnBytes(2));
            }
        });
        if (page % kPagesAtOnce == 0) {
            // Forgets the tables made so far.
            sqlite3_test_control(SQLITE_TESTCTRL_IMPOSTER, database_.get(), "main", 0, 1);
        }
    }
}

// The number of the last row; a bound far above any when even that cannot be read.
std::int64_t DamagedAccount::LastRow(Page root) {
    std::int64_t last = std::int64_t{1} << 40;
    CanRead([&] {
        Statement max = On(root, "(id, rec)", "SELECT max(rowid) FROM @");
        max.Step();
        last = max.ColumnInteger(0);
    });
    return last;
}

std::uint64_t DamagedAccount::ForEachRow(std::int64_t file,
                                         const std::function<void(Bytes, Bytes)>& work) {
    const Page root = records_.at(file);
    Statement scan =
        On(root, "(id, rec)", "SELECT rowid, id, rec FROM @ WHERE rowid > ?1 ORDER BY rowid");
    const std::int64_t last = LastRow(root);
    std::uint64_t unreadable = 0;
    std::int64_t after = 0;
    std::int64_t skipped = 0;
    while (after < last) {
        const bool whole = CanRead([&] {
            const Run run(scan);
            run->Bind(1, after);
            while (run->Step()) {
                after = run->ColumnInteger(0);
                skipped = 0;
                work(run->ColumnBytes(1), run->ColumnBytes(2));
            }
        });
        if (whole) {
            break;
        }
        ++unreadable;
        const std::int64_t step = skipped < kSmallSteps ? 1 : skipped;
        skipped += step;
        after += std::min(step, last - after);
    }
    return unreadable;
}

}  // namespace kel::embedded
