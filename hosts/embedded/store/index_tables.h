// The indexes of an account's files as tables beside them, over one connection.
//
// Everything that changes runs within a transaction of the caller's. What is known of the indexes
// is kept between calls and is right for as long as the schema's version stays: an index that
// becomes stale loses its table, so that this shows too.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "hosts/embedded/store/account_schema.h"
#include "hosts/embedded/store/database.h"
#include "hosts/multivalue/store/store.h"

namespace kel::embedded {

// The bytes of a key: UTF-8 but for surrogates, each of which has its own three bytes. The order of
// the bytes is the order of the units. DecodeKey reads them back.
std::string EncodeIndexKey(text::TextView key);
// Of a record: each once, in order.
std::vector<std::string> EncodeIndexKeys(const std::vector<text::Text>& keys);

class IndexTables {
public:
    IndexTables(Database& database, RecordForms forms)
        : database_(database), isSealed_(forms == RecordForms::kWithChecksum) {}

    // Borrowed; null: none.
    void UseKeys(store::IndexKeys* keys) { keys_ = keys; }

    // To be called when a transaction begins, and before reading without one: others may have made
    // or dropped indexes.
    void Refresh();
    // To be called when this connection changed the schema or rolled back.
    void Forget() { schemaVersion_ = -1; }

    bool HasAny(std::int64_t file) { return !Of(file).empty(); }
    std::vector<store::IndexInfo> List(std::int64_t file);
    // The index's number. kNoSuchIndex, kStaleIndex.
    std::int64_t NumberOf(std::int64_t file, text::TextView name);

    void Create(std::int64_t file, text::TextView name, text::TextView description);
    void Rebuild(std::int64_t file, text::TextView name);
    void Drop(std::int64_t file, text::TextView name);

    // Before the record changes: `record` is what it will be.
    void OnWrite(std::int64_t file, text::TextView id, Bytes idBytes, text::TextView record);
    void OnDelete(std::int64_t file, Bytes idBytes);
    void OnClear(std::int64_t file);
    void OnDeleteFile(std::int64_t file);

private:
    struct Index {
        std::int64_t number = 0;
        text::Text name;
        text::Text description;
        bool stale = false;
        Statement keysOf;
        Statement insert;
        Statement remove;
        Statement removeAll;
    };
    using Indexes = std::vector<std::unique_ptr<Index>>;

    Indexes& Of(std::int64_t file);
    Index& Find(std::int64_t file, text::TextView name);
    void Fill(std::int64_t file, std::int64_t number, text::TextView description);
    void SetKeys(Index& index, Bytes idBytes, const std::vector<text::Text>& keys);
    void MakeStale(Indexes& indexes);
    void RequireKeys() const;
    void CheckListEntry(const Statement& list, std::int64_t file) const;

    Database& database_;
    const bool isSealed_;
    store::IndexKeys* keys_ = nullptr;
    Statement version_;
    std::int64_t schemaVersion_ = -1;  // -1: what is kept below counts no more
    bool hasIndexes_ = false;
    std::unordered_map<std::int64_t, Indexes> files_;
};

}  // namespace kel::embedded
