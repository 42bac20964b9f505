// Imports into and exports from files of a Store.
#include <memory>
#include <vector>

#include "hosts/multivalue/transfer/transfer.h"

namespace kel::multivalue {

namespace {

constexpr std::size_t kScanned = 200;  // records read at once

class StoreTarget final : public RecordTarget {
public:
    StoreTarget(Store& store, FileNumber file) : store_(store), file_(file) {}

    bool Read(TextView id, Text& record) override { return store_.Read(file_, id, record); }
    bool Exists(TextView id) override { return store_.Exists(file_, id); }
    void Write(TextView id, TextView record) override {
        store_.Write(file_, id, record, AfterWrite::kRelease);
    }
    void Begin() override { store_.Begin(); }
    void Commit() override { store_.Commit(); }
    void Rollback() noexcept override { store_.Rollback(); }

private:
    Store& store_;
    const FileNumber file_;
};

// The records of a list of ids; ids of no record are passed over.
class ListedRecords final : public RecordSource {
public:
    ListedRecords(Store& store, FileNumber file, const std::function<bool(Text& id)>& nextId)
        : store_(store), file_(file), nextId_(nextId) {}

    bool Next(Text& id, Text& record) override {
        while (nextId_(id)) {
            if (store_.Read(file_, id, record)) {
                return true;
            }
        }
        return false;
    }

private:
    Store& store_;
    const FileNumber file_;
    const std::function<bool(Text& id)>& nextId_;
};

// The whole file in the order of ids.
class ScannedRecords final : public RecordSource {
public:
    ScannedRecords(Store& store, FileNumber file) : scan_(store.OpenScan(file, {})) {}

    bool Next(Text& id, Text& record) override {
        if (at_ == entries_.size()) {
            at_ = 0;
            if (!scan_->Next(entries_, kScanned)) {
                return false;
            }
        }
        id.swap(entries_[at_].id);
        record.swap(entries_[at_].record);
        ++at_;
        return true;
    }

private:
    const std::unique_ptr<Scan> scan_;
    std::vector<ScanEntry> entries_;
    std::size_t at_ = 0;
};

}  // namespace

ImportResult Import(Store& store,
                    FileNumber file,
                    std::istream& data,
                    TransferFields& fields,
                    const ImportOptions& options) {
    StoreTarget target(store, file);
    return Import(target, data, fields, options);
}

std::uint64_t Export(Store& store,
                     FileNumber file,
                     std::ostream& data,
                     TransferFields& fields,
                     const ExportOptions& options) {
    if (options.nextId) {
        ListedRecords source(store, file, options.nextId);
        return Export(source, data, fields, options);
    }
    ScannedRecords source(store, file);
    return Export(source, data, fields, options);
}

}  // namespace kel::multivalue
