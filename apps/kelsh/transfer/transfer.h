// Records in and out of a file as CSV (RFC 4180) and JSON. Everything streams: neither the data nor
// the file is held as a whole.
//
// Data is UTF-8, a byte order mark in front is ignored. A file of CSV begins with the names of its
// columns. JSON is one object per record, one after another ("JSON lines") or in one array; which
// one is found out when reading.
//
// A multivalued field in CSV has its values parted by "|" and subvalues by "~" inside the cell.
// Backslashes before a separator work as quotes do for the command line: an odd one makes it a
// character like others, of the rest every two stand for one; elsewhere a backslash is itself. In
// JSON values are an array and a value of several subvalues is an array within. In JSON, null comes
// in as nothing, true as 1, false as 0, and numbers as they are written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <vector>

#include "apps/kelsh/transfer/fields.h"
#include "hosts/multivalue/text/text.h"

namespace kel::transfer {

enum class TransferFormat { kCsv, kJsonLines, kJsonArray };

struct CsvForm {
    char16_t delimiter = u',';
    char16_t valueSeparator = u'|';
    char16_t subvalueSeparator = u'~';
};

// Told after every batch how many records are through; false ends the transfer there.
using TransferProgress = std::function<bool(std::uint64_t records)>;

struct TransferFault {
    std::uint64_t line = 0;  // of the data, from 1: where the record begins
    Text column;             // empty when the fault is with the record as a whole
    Text text;               // a whole sentence with line and column
};

// Told of a record that cannot be imported; true leaves the record out and goes on.
using FaultHandler = std::function<bool(const TransferFault& fault)>;

// What happens to a record that is there already.
enum class Existing {
    kReplace,  // the imported one takes its place
    kMerge,    // only the imported columns change
    kKeep      // it stays, the imported one is left out
};

struct ImportOptions {
    TransferFormat format = TransferFormat::kCsv;
    CsvForm csv = {};
    std::vector<Text> columns = {};  // of CSV without names in front; empty: the first row has them
    // The column of the ids, which need not be a field; if it is one of an attribute it goes there
    // too. Empty: the column whose field is the id.
    Text idColumn = {};
    bool ignoreUnknown = false;  // leave out columns that are no fields, instead of a fault
    Existing existing = Existing::kReplace;
    std::size_t batch = 1000;  // records committed together
    TransferProgress progress = {};
    FaultHandler onFault = {};  // empty: the first fault ends the import
};

struct ImportResult {
    std::uint64_t records = 0;  // written
    std::uint64_t left = 0;     // left out: faults and kKeep
    bool whole = true;          // false when `progress` ended it
};

// Where an import leaves its records: whatever reads and writes records by id.
class RecordTarget {
public:
    virtual ~RecordTarget() = default;

    // A record that is not there is an answer: false.
    virtual bool Read(TextView id, Text& record) = 0;
    virtual bool Exists(TextView id) = 0;
    virtual void Write(TextView id, TextView record) = 0;

    // OwnEnvironment every batch; one that is not committed is rolled back. Without batches of its
    // own a target leaves these as they are.
    virtual void Begin() {}
    virtual void Commit() {}
    virtual void Rollback() noexcept {}
};

// Where an export takes its records from.
class RecordSource {
public:
    virtual ~RecordSource() = default;

    // The next record; false at the end.
    virtual bool Next(Text& id, Text& record) = 0;
};

// A record that comes twice counts as the later one.
//
// Throws kBadData for a fault that nobody let pass and for data that cannot be read on (JSON out of
// form, no UTF-8, a quote that is never closed). The text gives line and column; batches committed
// before stay, what came after them is not in, and the text says how many records are.
//
// What the target throws, other than an Error about the data of a record, ends the import as it is.
ImportResult Import(RecordTarget& target,
                    std::istream& data,
                    TransferFields& fields,
                    const ImportOptions& options = {});

struct ExportOptions {
    TransferFormat format = TransferFormat::kCsv;
    CsvForm csv = {};
    // In this order. None, in JSON: the id and all attributes of each record, which an import makes
    // the same record of.
    std::vector<Text> columns = {};
    bool byteOrderMark = false;  // some spreadsheets take CSV for UTF-8 only with one
    std::size_t batch = 1000;    // records between two calls of `progress`
    TransferProgress progress = {};
};

// Returns the number of records written. Lines of CSV end with CR LF, of JSON with LF.
//
// Throws kBadData for a column that is no field, kInputOutput when the
// stream fails, kBadData for a lone surrogate in CSV, which UTF-8 has no form for.
std::uint64_t Export(RecordSource& source,
                     std::ostream& data,
                     TransferFields& fields,
                     const ExportOptions& options);

}  // namespace kel::transfer
