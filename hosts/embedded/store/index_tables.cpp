#include "hosts/embedded/store/index_tables.h"

#include <algorithm>
#include <iterator>

#include "hosts/embedded/store/checksum.h"

namespace kel::embedded {

using store::IndexInfo;
using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

namespace {

std::string StringOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

std::string EncodeIndexKey(TextView key) {
    std::string bytes;
    bytes.reserve(key.size());
    for (const char16_t unit : key) {
        if (unit < 0x80) {
            bytes.push_back(static_cast<char>(unit));
        } else if (unit < 0x800) {
            bytes.push_back(static_cast<char>(0xC0 | (unit >> 6)));
            bytes.push_back(static_cast<char>(0x80 | (unit & 0x3F)));
        } else {
            bytes.push_back(static_cast<char>(0xE0 | (unit >> 12)));
            bytes.push_back(static_cast<char>(0x80 | ((unit >> 6) & 0x3F)));
            bytes.push_back(static_cast<char>(0x80 | (unit & 0x3F)));
        }
    }
    return bytes;
}

std::vector<std::string> EncodeIndexKeys(const std::vector<Text>& keys) {
    std::vector<std::string> encoded;
    encoded.reserve(keys.size());
    for (const Text& key : keys) {
        encoded.push_back(EncodeIndexKey(key));
    }
    std::sort(encoded.begin(), encoded.end());
    encoded.erase(std::unique(encoded.begin(), encoded.end()), encoded.end());
    return encoded;
}

// ---- What there is ----

void IndexTables::Refresh() {
    if (!version_) {
        version_ = Statement(database_, "PRAGMA schema_version");
    }
    const Run version(version_);
    version->Step();
    const std::int64_t now = version->ColumnInteger(0);
    if (now != schemaVersion_) {
        files_.clear();
        hasIndexes_ = database_.QueryInteger(
                          "SELECT count(*) FROM sqlite_schema WHERE name = 'indexes'") != 0;
        schemaVersion_ = now;
    }
}

IndexTables::Indexes& IndexTables::Of(std::int64_t file) {
    if (schemaVersion_ == -1) {
        Refresh();
    }
    const auto [known, isNew] = files_.try_emplace(file);
    if (isNew && hasIndexes_) {
        Statement list(
            database_,
            (std::string("SELECT number, name, description, NOT EXISTS("
                         "SELECT 1 FROM sqlite_schema s WHERE s.name = 'x' || i.number)") +
             (isSealed_ ? ", sum" : "") + " FROM indexes i WHERE file = ?1 ORDER BY name")
                .c_str());
        list.Bind(1, file);
        while (list.Step()) {
            CheckListEntry(list, file);
            auto index = std::make_unique<Index>();
            index->number = list.ColumnInteger(0);
            DecodeKey(list.ColumnBytes(1), index->name);
            DecodeKey(list.ColumnBytes(2), index->description);
            index->stale = list.ColumnInteger(3) != 0;
            known->second.push_back(std::move(index));
        }
    }
    return known->second;
}

void IndexTables::CheckListEntry(const Statement& list, std::int64_t file) const {
    if (isSealed_ &&
        list.ColumnInteger(4) !=
            IndexChecksum(list.ColumnInteger(0), file, list.ColumnBytes(1), list.ColumnBytes(2))) {
        database_.FailDamaged(u"the list of indexes");
    }
}

std::vector<IndexInfo> IndexTables::List(std::int64_t file) {
    std::vector<IndexInfo> list;
    for (const auto& index : Of(file)) {
        list.push_back({index->name, index->description, index->stale});
    }
    return list;
}

IndexTables::Index& IndexTables::Find(std::int64_t file, TextView name) {
    for (const auto& index : Of(file)) {
        if (index->name == name) {
            return *index;
        }
    }
    throw Error(
        ErrorKind::kNoSuchIndex,
        u"The file \"" + FileNameOf(database_, file) + u"\" has no index \"" + Text(name) + u"\".");
}

std::int64_t IndexTables::NumberOf(std::int64_t file, TextView name) {
    const Index& index = Find(file, name);
    if (index.stale) {
        throw Error(ErrorKind::kStaleIndex,
                    u"The index \"" + Text(name) + u"\" of the file \"" +
                        FileNameOf(database_, file) + u"\" was not kept up and has to be rebuilt.");
    }
    return index.number;
}

// ---- Making and dropping ----

void IndexTables::RequireKeys() const {
    if (keys_ == nullptr) {
        throw Error(
            ErrorKind::kMisuse,
            u"This session cannot tell the keys of an index: \"" + database_.path() + u"\".");
    }
}

void IndexTables::Create(std::int64_t file, TextView name, TextView description) {
    RequireKeys();
    const Indexes& present = Of(file);
    if (std::any_of(present.begin(), present.end(), [&](const auto& index) {
            return index->name == name;
        })) {
        throw Error(ErrorKind::kIndexExists,
                    u"The file \"" + FileNameOf(database_, file) + u"\" has an index \"" +
                        Text(name) + u"\" already.");
    }
    const std::string nameBytes = EncodeKey(name);
    const std::string descriptionBytes = EncodeKey(description);
    std::int64_t number = 0;
    {
        Statement enter(database_,
                        "INSERT INTO indexes(file, name, description, sum) VALUES(?1, ?2, ?3, 0)"
                        " RETURNING number");
        enter.Bind(1, file);
        enter.Bind(2, BytesOf(nameBytes));
        enter.Bind(3, BytesOf(descriptionBytes));
        enter.Step();
        number = enter.ColumnInteger(0);
        enter.Step();
        Statement sum(database_, "UPDATE indexes SET sum = ?1 WHERE number = ?2");
        sum.Bind(1, IndexChecksum(number, file, BytesOf(nameBytes), BytesOf(descriptionBytes)));
        sum.Bind(2, number);
        sum.Step();
    }
    Fill(file, number, description);
    Forget();
}

// Entering in the order of ids and making the way back from ids to keys afterwards, from what is
// then sorted already, is twice as fast as keeping both from the start.
void IndexTables::Fill(std::int64_t file, std::int64_t number, TextView description) {
    const std::string table = EntriesTable(number);
    CreateEntries(database_, number);
    Statement scan(database_, ("SELECT id, rec FROM " + RecordsTable(file)).c_str());
    Statement insert(database_, ("INSERT INTO " + table + " VALUES(?1, ?2, ?3)").c_str());
    Text id;
    Text record;
    std::vector<Text> keys;
    while (scan.Step()) {
        const Bytes idBytes = scan.ColumnBytes(0);
        DecodeKey(idBytes, id);
        if (!DecodeStored(RecordForms::kWithChecksum, file, idBytes, scan.ColumnBytes(1), record)) {
            FailDamagedRecord(database_, file, idBytes);
        }
        keys.clear();
        keys_->KeysOf(store::FileNumber{file}, description, id, record, keys);
        for (const std::string& key : EncodeIndexKeys(keys)) {
            const Run entry(insert);
            entry->Bind(1, BytesOf(key));
            entry->Bind(2, idBytes);
            entry->Bind(3, EntryChecksum(number, BytesOf(key), idBytes));
            entry->Step();
        }
    }
    scan.Reset();
    CreateEntriesById(database_, number);
}

void IndexTables::Rebuild(std::int64_t file, TextView name) {
    const Index& index = Find(file, name);
    const std::int64_t number = index.number;
    const Text description = index.description;
    RequireKeys();
    Forget();
    database_.Execute(("DROP TABLE IF EXISTS " + EntriesTable(number)).c_str());
    Fill(file, number, description);
}

void IndexTables::Drop(std::int64_t file, TextView name) {
    const std::int64_t number = Find(file, name).number;
    Forget();
    Statement leave(database_, "DELETE FROM indexes WHERE number = ?1");
    leave.Bind(1, number);
    leave.Step();
    leave.Reset();
    database_.Execute(("DROP TABLE IF EXISTS " + EntriesTable(number)).c_str());
}

void IndexTables::MakeStale(Indexes& indexes) {
    for (const auto& index : indexes) {
        if (!index->stale) {
            database_.Execute(("DROP TABLE " + EntriesTable(index->number)).c_str());
            index->stale = true;
        }
    }
    Forget();
}

// ---- Keeping ----

void IndexTables::OnWrite(std::int64_t file, TextView id, Bytes idBytes, TextView record) {
    Indexes& indexes = Of(file);
    if (keys_ == nullptr) {
        if (std::any_of(
                indexes.begin(), indexes.end(), [](const auto& index) { return !index->stale; })) {
            MakeStale(indexes);
        }
        return;
    }
    std::vector<Text> keys;
    for (const auto& index : indexes) {
        if (!index->stale) {
            keys.clear();
            keys_->KeysOf(store::FileNumber{file}, index->description, id, record, keys);
            SetKeys(*index, idBytes, keys);
        }
    }
}

// Most writes leave most keys as they are; only what differs is touched.
void IndexTables::SetKeys(Index& index, Bytes idBytes, const std::vector<Text>& keys) {
    if (!index.insert) {
        const std::string table = EntriesTable(index.number);
        index.keysOf = Statement(
            database_, ("SELECT key FROM " + table + " WHERE id = ?1 ORDER BY key").c_str());
        index.insert =
            Statement(database_, ("INSERT INTO " + table + " VALUES(?1, ?2, ?3)").c_str());
        index.remove =
            Statement(database_, ("DELETE FROM " + table + " WHERE key = ?1 AND id = ?2").c_str());
    }
    const std::vector<std::string> wanted = EncodeIndexKeys(keys);
    std::vector<std::string> present;
    {
        const Run run(index.keysOf);
        run->Bind(1, idBytes);
        while (run->Step()) {
            present.push_back(StringOf(run->ColumnBytes(0)));
        }
    }
    const auto forDifference =
        [](const std::vector<std::string>& from, const std::vector<std::string>& less, auto work) {
            std::vector<std::string> rest;
            std::set_difference(
                from.begin(), from.end(), less.begin(), less.end(), std::back_inserter(rest));
            for (const std::string& key : rest) {
                work(BytesOf(key));
            }
        };
    forDifference(present, wanted, [&](Bytes key) {
        const Run run(index.remove);
        run->Bind(1, key);
        run->Bind(2, idBytes);
        run->Step();
    });
    forDifference(wanted, present, [&](Bytes key) {
        const Run run(index.insert);
        run->Bind(1, key);
        run->Bind(2, idBytes);
        run->Bind(3, EntryChecksum(index.number, key, idBytes));
        run->Step();
    });
}

void IndexTables::OnDelete(std::int64_t file, Bytes idBytes) {
    for (const auto& index : Of(file)) {
        if (index->stale) {
            continue;
        }
        if (!index->removeAll) {
            index->removeAll = Statement(
                database_,
                ("DELETE FROM " + EntriesTable(index->number) + " WHERE id = ?1").c_str());
        }
        const Run run(index->removeAll);
        run->Bind(1, idBytes);
        run->Step();
    }
}

void IndexTables::OnClear(std::int64_t file) {
    for (const auto& index : Of(file)) {
        if (!index->stale) {
            database_.Execute(("DELETE FROM " + EntriesTable(index->number)).c_str());
        }
    }
}

void IndexTables::OnDeleteFile(std::int64_t file) {
    for (const IndexInfo& index : List(file)) {
        Drop(file, index.name);
    }
}

}  // namespace kel::embedded
