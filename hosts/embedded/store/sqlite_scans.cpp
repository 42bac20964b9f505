// Scans of a file and of an index. Each chunk seeks to where the last one ended and reads on.
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "hosts/embedded/store/sqlite_session.h"

#include "hosts/multivalue/store/files.h"

namespace kel::embedded {

using store::FileNumber;
using store::IndexEntry;
using store::IndexRange;
using store::IndexScan;
using store::Scan;
using store::ScanEntry;
using store::ScanOrder;
using store::ScanRange;
using text::Text;
using text::TextView;

namespace {

// A scan's chunk ends after this many bytes of records.
constexpr std::size_t kScanBytes = 1 << 20;
// Above every encoded id and key: no encoded text holds this byte.
constexpr std::string_view kAboveAll = "\xFF";

std::string_view ViewOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Several statements as one reading, which costs less than each on its own. Within a batch they are
// that already.
class OneReading {
public:
    explicit OneReading(Database& database) : database_(database), own_(!database.InTransaction()) {
        if (own_) {
            database_.Execute("BEGIN");
        }
    }
    OneReading(const OneReading&) = delete;
    OneReading& operator=(const OneReading&) = delete;
    ~OneReading() {
        try {
            if (own_ && database_.InTransaction()) {
                database_.Execute("ROLLBACK");  // nothing was written
            }
        } catch (const std::exception&) {
            // The next statement that cannot go on says so.
        }
    }

private:
    Database& database_;
    const bool own_;
};

}  // namespace

// A bound is always inclusive; the entry
// that ended the last chunk is stepped over when it is still there.
class SqliteScan final : public Scan {
public:
    SqliteScan(SqliteStore& store, FileNumber file, const ScanRange& range)
        : store_(store), file_(file), withRecords_(range.withRecords) {
        const bool up = range.order == ScanOrder::kAscending;
        statement_ = Statement(
            store.database_,
            (std::string("SELECT id") + (withRecords_ ? ", rec" : "") + " FROM " + TableOf(file) +
             (up ? " WHERE id >= ?1 ORDER BY id" : " WHERE id <= ?1 ORDER BY id DESC"))
                .c_str());
        if (range.from) {
            bound_ = EncodeKey(*range.from);
        } else if (!up) {
            bound_ = kAboveAll;
        }
    }
    SqliteScan(const SqliteScan&) = delete;
    SqliteScan& operator=(const SqliteScan&) = delete;
    ~SqliteScan() override { store_.reading_.End(); }

    bool Next(std::vector<ScanEntry>& entries, std::size_t limit) override {
        store_.reading_.End();
        store_.CheckMoment();
        std::size_t count = 0;
        if (!atEnd_) {
            store_.OnFile(file_, [&] { count = Fill(entries, limit); });
        }
        entries.resize(count);
        return count != 0;
    }

private:
    std::size_t Fill(std::vector<ScanEntry>& entries, std::size_t limit) {
        const Run run(statement_);
        const std::string from = bound_;
        run->Bind(1, BytesOf(from));
        std::size_t count = 0;
        std::size_t bytes = 0;
        while (count < limit && bytes < kScanBytes) {
            if (!run->Step()) {
                atEnd_ = true;
                break;
            }
            const Bytes id = run->ColumnBytes(0);
            if (count == 0 && boundIsPast_ && bound_ == ViewOf(id)) {
                continue;
            }
            if (entries.size() == count) {
                entries.emplace_back();
            }
            ScanEntry& entry = entries[count];
            DecodeKey(id, entry.id);
            entry.record.clear();
            if (withRecords_) {
                const Bytes record = run->ColumnBytes(1);
                bytes += record.size();
                if (!DecodeStored(store_.forms_, NumberOf(file_), id, record, entry.record)) {
                    FailDamagedRecord(store_.database_, NumberOf(file_), id);
                }
            }
            ++count;
            if (count == limit || bytes >= kScanBytes) {
                bound_ = ViewOf(id);
                boundIsPast_ = true;
            }
        }
        return count;
    }

    SqliteStore& store_;
    const FileNumber file_;
    const bool withRecords_;
    Statement statement_;
    std::string bound_;
    bool boundIsPast_ = false;  // the entry at bound_ was handed out
    bool atEnd_ = false;
};

std::unique_ptr<Scan> SqliteStore::OpenScan(FileNumber file, const ScanRange& range) {
    reading_.End();
    return OnFile(file, [&] { return std::make_unique<SqliteScan>(*this, file, range); });
}

// Ascending, one statement walks on from the last entry. Descending, ids still ascend under each
// key, so the ids of one key are walked and then the next lower key is looked up.
class SqliteIndexScan final : public IndexScan {
public:
    SqliteIndexScan(SqliteStore& store, FileNumber file, TextView name, const IndexRange& range)
        : store_(store),
          file_(file),
          name_(name),
          up_(range.order == ScanOrder::kAscending),
          withKeys_(range.withKeys),
          isSealed_(store.forms_ == RecordForms::kWithChecksum) {
        const std::string table = Table();
        const std::string select = isSealed_ ? "SELECT key, id, sum FROM " : "SELECT key, id FROM ";
        if (up_) {
            walk_ = Statement(
                store.database_,
                (select + table + " WHERE (key, id) > (?1, ?2) ORDER BY key, id").c_str());
        } else {
            walk_ = Statement(store.database_,
                              (select + table + " WHERE key = ?1 AND id > ?2 ORDER BY id").c_str());
            lower_ = Statement(
                store.database_,
                ("SELECT key FROM " + table + " WHERE key < ?1 ORDER BY key DESC LIMIT 1").c_str());
        }
        const std::optional<store::IndexBound>& start = up_ ? range.low : range.high;
        const std::optional<store::IndexBound>& end = up_ ? range.high : range.low;
        if (start) {
            key_ = EncodeIndexKey(start->key);
            // After no id of the key, or after all of them.
            id_ = start->inclusive ? std::string_view() : kAboveAll;
        } else if (!up_) {
            key_ = kAboveAll;
        }
        if (end) {
            end_ = EncodeIndexKey(end->key);
            endInclusive_ = end->inclusive;
        }
    }
    SqliteIndexScan(const SqliteIndexScan&) = delete;
    SqliteIndexScan& operator=(const SqliteIndexScan&) = delete;
    ~SqliteIndexScan() override { store_.reading_.End(); }

    bool Next(std::vector<IndexEntry>& entries, std::size_t limit) override {
        store_.reading_.End();
        std::size_t count = 0;
        if (!atEnd_) {
            try {
                count = Fill(entries, limit);
            } catch (const text::Error& error) {
                if (error.kind() == text::ErrorKind::kInputOutput) {
                    Table();  // says why there is no such table any more
                }
                throw;
            }
        }
        entries.resize(count);
        return count != 0;
    }

private:
    std::string Table() {
        if (!store_.inBatch_) {
            store_.indexes_.Refresh();
        }
        store_.RequireFile(file_);
        number_ = store_.indexes_.NumberOf(NumberOf(file_), name_);
        return EntriesTable(number_);
    }

    void Check(const Run& run) const {
        if (isSealed_ && run->ColumnInteger(2) !=
                             EntryChecksum(number_, run->ColumnBytes(0), run->ColumnBytes(1))) {
            store_.database_.FailDamaged(u"an entry of the index \"" + name_ + u"\"");
        }
    }

    bool IsBeyond(std::string_view key) const {
        if (!end_) {
            return false;
        }
        const int order = key.compare(*end_);
        return order == 0 ? !endInclusive_ : (order > 0) == up_;
    }

    std::size_t Fill(std::vector<IndexEntry>& entries, std::size_t limit) {
        const OneReading reading(store_.database_);
        std::size_t count = 0;
        do {
            Walk(entries, limit, count);
        } while (count < limit && !up_ && !atEnd_ && FindLower());
        atEnd_ = atEnd_ || count < limit;
        return count;
    }

    void Walk(std::vector<IndexEntry>& entries, std::size_t limit, std::size_t& count) {
        const Run run(walk_);
        const std::string key = key_;
        const std::string id = id_;
        run->Bind(1, BytesOf(key));
        run->Bind(2, BytesOf(id));
        while (count < limit && run->Step()) {
            Check(run);
            if (IsBeyond(ViewOf(run->ColumnBytes(0)))) {
                atEnd_ = true;
                return;
            }
            if (entries.size() == count) {
                entries.emplace_back();
            }
            IndexEntry& entry = entries[count];
            ++count;
            entry.key.clear();
            if (withKeys_) {
                DecodeKey(run->ColumnBytes(0), entry.key);
            }
            DecodeKey(run->ColumnBytes(1), entry.id);
            if (count == limit) {
                key_ = ViewOf(run->ColumnBytes(0));
                id_ = ViewOf(run->ColumnBytes(1));
            }
        }
    }

    bool FindLower() {
        const Run run(lower_);
        const std::string key = key_;
        run->Bind(1, BytesOf(key));
        if (!run->Step() || IsBeyond(ViewOf(run->ColumnBytes(0)))) {
            return false;
        }
        key_ = ViewOf(run->ColumnBytes(0));
        id_.clear();
        return true;
    }

    SqliteStore& store_;
    const FileNumber file_;
    const Text name_;
    const bool up_;
    const bool withKeys_;
    const bool isSealed_;
    std::int64_t number_ = 0;  // of the index
    Statement walk_;
    Statement lower_;
    std::string key_;  // the scan goes on after the entry of key_ and id_
    std::string id_;
    std::optional<std::string> end_;
    bool endInclusive_ = true;
    bool atEnd_ = false;
};

std::unique_ptr<IndexScan> SqliteStore::OpenIndexScan(FileNumber file,
                                                      TextView name,
                                                      const IndexRange& range) {
    reading_.End();
    return std::make_unique<SqliteIndexScan>(*this, file, name, range);
}

}  // namespace kel::embedded
