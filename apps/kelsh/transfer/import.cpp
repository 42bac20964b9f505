// Rows made into records, in batches.
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "apps/kelsh/transfer/csv.h"
#include "apps/kelsh/transfer/json.h"
#include "apps/kelsh/transfer/transfer.h"
#include "hosts/multivalue/text/dynamic_array.h"
#include "hosts/multivalue/text/error.h"

namespace kel::transfer {

namespace {

Text Digits(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    return Text(digits.begin(), digits.end());
}

// What a column of the data means.
struct Target {
    bool isId = false;
    std::optional<TransferField> field;  // the attribute it goes to, if any
};

// A batch that is rolled back unless committed.
class TargetBatch {
public:
    explicit TargetBatch(RecordTarget& target) : target_(&target) { target.Begin(); }
    TargetBatch(const TargetBatch&) = delete;
    TargetBatch& operator=(const TargetBatch&) = delete;
    ~TargetBatch() {
        if (target_ != nullptr) {
            target_->Rollback();
        }
    }

    void Commit() { std::exchange(target_, nullptr)->Commit(); }

private:
    RecordTarget* target_;
};

class Importer {
public:
    Importer(RecordTarget& target, TransferFields& fields, const ImportOptions& options)
        : target_(target), fields_(fields), options_(options) {}

    ImportResult Run(std::istream& data) {
        try {
            Transfer(data);
        } catch (const RowFault& fault) {
            Refuse(Worded(fault.fault));
        }
        return result_;
    }

private:
    void Transfer(std::istream& data) {
        const std::unique_ptr<RowReader> reader = Reader(data);
        batch_ = std::make_unique<TargetBatch>(target_);
        InputRow row;
        while (TakeNext(*reader, row)) {
            if (pending_ < options_.batch) {
                continue;
            }
            if (!Commit()) {
                result_.whole = false;
                return;
            }
            batch_ = std::make_unique<TargetBatch>(target_);
        }
        Commit();
    }

    // Columns of CSV are the same in every row: what is wrong with them is wrong from the start.
    std::unique_ptr<RowReader> Reader(std::istream& data) {
        if (options_.format != TransferFormat::kCsv) {
            return std::make_unique<JsonReader>(data);
        }
        auto reader = std::make_unique<CsvReader>(data, options_.csv, options_.columns);
        bool hasId = false;
        for (const Text& column : reader->columns()) {
            hasId = TargetOf(column, 1).isId || hasId;
        }
        if (!hasId && !reader->columns().empty()) {
            throw RowFault{{1, options_.idColumn, u"There is no column with the ids."}, false};
        }
        return reader;
    }

    const Target& TargetOf(const Text& column, std::uint64_t line) {
        const auto known = targets_.find(column);
        if (known != targets_.end()) {
            return known->second;
        }
        Target target;
        target.field = fields_.Find(column);
        target.isId = options_.idColumn.empty() ? target.field && target.field->attribute == 0
                                                : column == options_.idColumn;
        if (target.field && target.field->attribute <= 0) {
            const bool isComputed = target.field->attribute < 0;
            if (isComputed && !target.isId && !options_.ignoreUnknown) {
                throw RowFault{{line, column, u"The field is computed and cannot be imported."},
                               true};
            }
            if (!target.isId || isComputed) {
                target.field.reset();
            }
        } else if (!target.field && !target.isId && !options_.ignoreUnknown) {
            throw RowFault{{line, column, u"There is no such field."}, true};
        }
        return targets_.emplace(column, std::move(target)).first->second;
    }

    // One row, written or left out. False at the end of the data.
    bool TakeNext(RowReader& reader, InputRow& row) {
        try {
            if (!reader.Next(row)) {
                return false;
            }
            TakeRow(row);
        } catch (const RowFault& fault) {
            TransferFault told = fault.fault;
            told.text = Worded(told);
            if (!fault.canGoOn || !options_.onFault || !options_.onFault(told)) {
                throw;
            }
            ++result_.left;
        }
        return true;
    }

    static Text Worded(const TransferFault& fault) {
        return u"Line " + Digits(fault.line) +
               (fault.column.empty() ? Text() : u", column \"" + fault.column + u"\"") + u": " +
               fault.text;
    }

    [[noreturn]] void Refuse(const Text& text) const {
        throw Error(ErrorKind::kBadData,
                    text + u" " + Digits(result_.records) + u" records were imported before.");
    }

    // Runs work on a value of the row; what it refuses is a fault of the data.
    template <typename Work>
    void AsFault(const InputRow& row, const Text& column, Work work) {
        try {
            work();
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::kBadArgument && error.kind() != ErrorKind::kTooLong &&
                error.kind() != ErrorKind::kBadData) {
                throw;
            }
            throw RowFault{{row.line, column, error.text()}, true};
        }
    }

    void TakeRow(const InputRow& row) {
        Text id;
        Text idColumn;
        for (const InputCell& cell : row.cells) {
            if (TargetOf(cell.column, row.line).isId) {
                idColumn = cell.column;
                AsFault(row, cell.column, [&] { id = IdIn(cell); });
            }
        }
        if (id.empty()) {
            throw RowFault{{row.line, idColumn, u"The record has no id."}, true};
        }
        Text text;
        AsFault(row, idColumn, [&] {
            const bool isThere = options_.existing == Existing::kMerge
                                     ? target_.Read(id, text)
                                     : options_.existing == Existing::kKeep && target_.Exists(id);
            if (isThere && options_.existing == Existing::kKeep) {
                ++result_.left;
                id.clear();
            }
        });
        if (id.empty()) {
            return;
        }
        DynamicArray record(std::move(text));
        for (const InputCell& cell : row.cells) {
            const Target& target = TargetOf(cell.column, row.line);
            if (target.field && target.field->attribute > 0) {
                AsFault(row, cell.column, [&] {
                    record.Replace({target.field->attribute, 0, 0},
                                   StoredOf(*target.field, cell, true));
                });
            }
        }
        AsFault(row, idColumn, [&] { target_.Write(id, record.ToText()); });
        ++pending_;
    }

    // An id is one value. A column of ids that is no field is taken as it is.
    Text IdIn(const InputCell& cell) {
        const Target& target = targets_.find(cell.column)->second;
        TransferField field = target.field.value_or(TransferField());
        field.values = Values::kOne;
        return StoredOf(field, cell, target.field.has_value());
    }

    // The cell's values, converted and with their marks.
    Text StoredOf(const TransferField& field, const InputCell& cell, bool convert) {
        Text joined;
        const Cell parts = cell.isParted                  ? cell.parts
                           : field.values == Values::kOne ? Cell{{cell.text}}
                                                          : PartCell(cell.text, options_.csv);
        for (const std::vector<Text>& subvalues : parts) {
            if (&subvalues != &parts.front()) {
                joined.push_back(kValueMark);
            }
            for (const Text& part : subvalues) {
                if (&part != &subvalues.front()) {
                    joined.push_back(kSubvalueMark);
                }
                const Text letters = ElementToStored(part);
                joined += convert ? fields_.ToStored(field, letters) : letters;
            }
        }
        return joined;
    }

    // False when the import is to end here.
    bool Commit() {
        std::exchange(batch_, nullptr)->Commit();
        result_.records += std::exchange(pending_, 0);
        return !options_.progress || options_.progress(result_.records);
    }

    RecordTarget& target_;
    TransferFields& fields_;
    const ImportOptions& options_;
    std::map<Text, Target> targets_;
    std::unique_ptr<TargetBatch> batch_;
    std::uint64_t pending_ = 0;  // written in the open batch
    ImportResult result_;
};

}  // namespace

ImportResult Import(RecordTarget& target,
                    std::istream& data,
                    TransferFields& fields,
                    const ImportOptions& options) {
    return Importer(target, fields, options).Run(data);
}

}  // namespace kel::transfer
