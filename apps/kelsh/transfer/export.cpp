// Records written as rows of columns.
#include <algorithm>
#include <ostream>
#include <string>
#include <utility>

#include "apps/kelsh/transfer/csv.h"
#include "apps/kelsh/transfer/json.h"
#include "apps/kelsh/transfer/transfer.h"
#include "hosts/multivalue/text/error.h"

namespace kel::transfer {

namespace {

constexpr std::size_t kBuffer = 1 << 16;

class Exporter {
public:
    Exporter(RecordSource& source,
             std::ostream& data,
             TransferFields& fields,
             const ExportOptions& options)
        : source_(source), data_(data), fields_(fields), options_(options) {
        for (const Text& column : options.columns) {
            std::optional<TransferField> field = fields.Find(column);
            if (!field) {
                throw Error(ErrorKind::kBadData, u"There is no field \"" + column + u"\".");
            }
            field->column = column;
            columns_.push_back(*std::move(field));
        }
    }

    std::uint64_t Run() {
        if (options_.byteOrderMark) {
            bytes_ += "\xEF\xBB\xBF";
        }
        if (options_.format == TransferFormat::kCsv) {
            Heading();
        } else if (options_.format == TransferFormat::kJsonArray) {
            bytes_ += "[";
        }
        Text id;
        Text record;
        while (source_.Next(id, record) && Put(id, record)) {
        }
        if (options_.format == TransferFormat::kJsonArray) {
            bytes_ += "\n]\n";
        }
        Flush();
        return records_;
    }

private:
    // False when the export is to end here.
    bool Put(const Text& id, const Text& record) {
        if (options_.format == TransferFormat::kCsv) {
            PutRow(id, record);
        } else {
            PutObject(id, record);
        }
        ++records_;
        if (bytes_.size() >= kBuffer) {
            Flush();
        }
        return !options_.progress || records_ % options_.batch != 0 || options_.progress(records_);
    }

    void Flush() {
        data_.write(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
        data_.flush();
        if (!data_) {
            throw Error(ErrorKind::kInputOutput, u"The exported data cannot be written.");
        }
        bytes_.clear();
    }

    // The values of a field as they look outside; none for an empty field.
    Cell Shown(const TransferField& field, const Text& id, const Text& record) {
        return CellOf(field, fields_.Stored(field, id, record));
    }

    Cell CellOf(const TransferField& field, const Text& stored) {
        Cell cell;
        if (stored.empty()) {
            return cell;
        }
        cell.emplace_back();
        for (std::size_t at = 0; at <= stored.size(); ++at) {
            const std::size_t end =
                std::min(stored.find_first_of(Text{kValueMark, kSubvalueMark}, at), stored.size());
            cell.back().push_back(ElementToShown(
                TextView(fields_.ToShown(field, TextView(stored).substr(at, end - at)))));
            if (end < stored.size() && stored[end] == kValueMark) {
                cell.emplace_back();
            }
            at = end;
        }
        return cell;
    }

    void Heading() {
        Text line;
        for (const TransferField& field : columns_) {
            line += (line.empty() ? Text() : Text(1, options_.csv.delimiter)) +
                    QuotedCell(field.column, options_.csv);
        }
        AppendUtf8(bytes_, line, LoneSurrogate::kRefuse);
        bytes_ += "\r\n";
    }

    void PutRow(const Text& id, const Text& record) {
        Text line;
        for (const TransferField& field : columns_) {
            if (&field != &columns_.front()) {
                line.push_back(options_.csv.delimiter);
            }
            const Cell cell = Shown(field, id, record);
            const bool isOne = cell.size() == 1 && cell.front().size() == 1;
            line += QuotedCell(isOne && field.values == Values::kOne ? cell.front().front()
                                                                     : JoinCell(cell, options_.csv),
                               options_.csv);
        }
        // A line with nothing in it would be taken for none.
        if (line.empty()) {
            line = u"\"\"";
        }
        if (!AppendUtf8(bytes_, line, LoneSurrogate::kRefuse)) {
            throw Error(ErrorKind::kBadData,
                        u"The record \"" + id +
                            u"\" holds half a character (a surrogate), which "
                            u"CSV cannot.");
        }
        bytes_ += "\r\n";
    }

    void PutObject(const Text& id, const Text& record) {
        if (options_.format == TransferFormat::kJsonArray) {
            bytes_ += records_ == 0 ? "\n" : ",\n";
        }
        bytes_ += "{";
        if (columns_.empty()) {
            PutWhole(id, record);
        }
        for (const TransferField& field : columns_) {
            if (&field != &columns_.front()) {
                bytes_ += ",";
            }
            AppendJsonText(bytes_, field.column);
            bytes_ += ":";
            PutJson(field, Shown(field, id, record));
        }
        bytes_ += options_.format == TransferFormat::kJsonArray ? "}" : "}\n";
    }

    // The id and every attribute there is, the empty ones at the end too.
    void PutWhole(const Text& id, const Text& record) {
        TransferField field;
        bytes_ += "\"@ID\":";
        AppendJsonText(bytes_, ElementToShown(id));
        TextView rest = record;
        for (bool more = !record.empty(); more;) {
            const std::size_t end = std::min(rest.find(kAttributeMark), rest.size());
            bytes_ += ",\"" + std::to_string(++field.attribute) + "\":";
            PutJson(field, CellOf(field, Text(rest.substr(0, end))));
            more = end < rest.size();
            rest.remove_prefix(more ? end + 1 : end);
        }
    }

    void PutJson(const TransferField& field, const Cell& cell) {
        const bool isArray = field.values == Values::kMany || cell.size() > 1;
        if (cell.empty() && !isArray) {
            bytes_ += "\"\"";
            return;
        }
        bytes_ += isArray ? "[" : "";
        for (const std::vector<Text>& subvalues : cell) {
            bytes_ += &subvalues == &cell.front() ? "" : ",";
            const bool isNested = subvalues.size() > 1;
            // Subvalues of an only value still stand within an array of values.
            bytes_ += isNested ? (isArray ? "[" : "[[") : "";
            for (const Text& part : subvalues) {
                bytes_ += &part == &subvalues.front() ? "" : ",";
                if (field.isNumber && IsJsonNumber(part)) {
                    AppendUtf8(bytes_, part, LoneSurrogate::kRefuse);
                } else {
                    AppendJsonText(bytes_, part);
                }
            }
            bytes_ += isNested ? (isArray ? "]" : "]]") : "";
        }
        bytes_ += isArray ? "]" : "";
    }

    RecordSource& source_;
    std::ostream& data_;
    TransferFields& fields_;
    const ExportOptions& options_;
    std::vector<TransferField> columns_;
    std::string bytes_;
    std::uint64_t records_ = 0;
};

}  // namespace

std::uint64_t Export(RecordSource& source,
                     std::ostream& data,
                     TransferFields& fields,
                     const ExportOptions& options) {
    return Exporter(source, data, fields, options).Run();
}

}  // namespace kel::transfer
