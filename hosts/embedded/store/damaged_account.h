// A damaged account, read without relying on what it says of itself: the tables of an account are
// known, so that only the pages where they begin have to be found.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "hosts/embedded/store/account_schema.h"
#include "hosts/embedded/store/database.h"

namespace kel::embedded {

// Runs work; false when what it read is damaged.
template <typename Work>
bool CanRead(Work work) {
    try {
        work();
        return true;
    } catch (const text::Error& error) {
        if (error.kind() != text::ErrorKind::kDamaged &&
            error.kind() != text::ErrorKind::kInputOutput) {
            throw;
        }
        return false;
    }
}

// Statements raise kDamaged at what cannot be read. Must be gone before the account is.
class DamagedAccount {
public:
    // Opens `file` for itself alone; kBusy when anybody else has it open. `path` is for messages.
    DamagedAccount(text::TextView path, text::TextView file);

    RecordForms forms() const { return forms_; }

    Statement Catalogue();  // number, name, checksum
    bool HasNames() const { return names_ != 0; }
    Statement Names();      // the same by its index: number, name
    Statement IndexList();  // number, file, name, description, checksum

    // Looks for the tables of these files (a name to each number) as well as of those that only the
    // schema knows.
    void FindRecords(const std::map<std::int64_t, text::Text>& files);
    std::vector<std::int64_t> Files() const;  // whose records are found
    bool HasRecords(std::int64_t file) const { return records_.contains(file); }
    bool HasIds(std::int64_t file) const { return ids_.contains(file); }

    // Calls work with id and stored bytes of every row that can be read; returns how often a place
    // was met that cannot.
    std::uint64_t ForEachRow(std::int64_t file, const std::function<void(Bytes, Bytes)>& work);
    Statement Ids(std::int64_t file);  // id, number of the row

    // Calls work with number, id and stored bytes of every row on any page that reads like one of a
    // table of records: also of those to which no way leads any more.
    void ForEachStrayRow(const std::function<void(std::int64_t, Bytes, Bytes)>& work);

private:
    using Page = std::int64_t;

    void ReadSchemaRows();
    void ChooseForms();
    void Note(const SchemaRow& row, Page root);
    Statement On(Page root, const char* columns, const char* select);
    std::int64_t LastRow(Page root);
    bool HoldsRecordsOf(Page root, std::int64_t file);

    Database database_;
    RecordForms forms_ = RecordForms::kWithChecksum;
    int tables_ = 0;  // made so far, each under a name of its own
    int tablesWithSums_ = 0;
    Page catalogue_ = 0;
    Page names_ = 0;
    Page indexes_ = 0;
    std::map<std::int64_t, Page> records_;
    std::map<std::int64_t, Page> ids_;
    std::vector<Page> unknown_;  // of tables whose names cannot be made out
};

}  // namespace kel::embedded
