// Verbs about single records.
#include "hosts/multivalue/command/verbs.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/record_fields.h"

namespace kel::command {

namespace {

constexpr std::size_t kChunk = 256;
constexpr std::size_t kNumberWidth = 3;

// The ids a sentence names: those written, ALL of the file, or those of the active list.
std::unique_ptr<SelectList> TakeIds(Command& command,
                                    const NamedFile& file,
                                    std::vector<Text> ids) {
    if (ids.empty()) {
        std::unique_ptr<SelectList> list = command.Own().TakeList(0);
        if (!list) {
            Refuse(command.Sentence(), u"names no record, and no list is active.");
        }
        return list;
    }
    if (ids.size() > 1 || KeywordOf(ids.front()) != u"ALL") {
        return ListOfIds(std::move(ids));
    }
    // Read before anything is done: the file changes under the scan otherwise.
    std::vector<Text> all;
    ScanRange range;
    range.withRecords = false;
    const std::unique_ptr<Scan> scan = command.OwnStore().OpenScan(file.number, range);
    for (std::vector<ScanEntry> chunk; scan->Next(chunk, kChunk);) {
        for (ScanEntry& entry : chunk) {
            all.push_back(std::move(entry.id));
        }
    }
    return ListOfIds(std::move(all));
}

void TellMissing(Command& command, TextView id, const NamedFile& file) {
    command.Line(Text(u"\"").append(id).append(u"\" is not in file \"") + file.name + u"\".");
}

struct CopyOrder {
    NamedFile from;
    NamedFile to;
    std::vector<Text> ids;
    bool overwrites = false;
    bool deletes = false;
};

// COPY FROM file {TO file} ..., or COPY file {TO file} ...
CopyOrder TakeCopyOrder(Command& command) {
    CopyOrder order;
    command.TakeIf(u"FROM");
    order.from = command.RequireFileName();
    order.to = order.from;
    while (!command.AtEnd()) {
        if (command.TakeIf(u"TO")) {
            order.to = command.RequireFileName();
        } else if (command.TakeIf(u"OVERWRITING")) {
            order.overwrites = true;
        } else if (command.TakeIf(u"DELETING")) {
            order.deletes = true;
        } else {
            order.ids.push_back(command.Take().text);
        }
    }
    return order;
}

// Marks as units that can be seen.
Text Visible(TextView attribute) {
    Text text(attribute);
    for (char16_t& unit : text) {
        unit = unit == kValueMark ? u']' : unit == kSubvalueMark ? u'\\' : unit;
    }
    return text;
}

void ShowRecord(Command& command, TextView id, TextView record) {
    command.Line(id);
    std::int64_t number = 1;
    for (std::size_t at = 0; at <= record.size(); ++number) {
        const std::size_t end = std::min(record.find(kAttributeMark, at), record.size());
        Text line;
        Number(number).AppendTo(line);
        line.insert(0, kNumberWidth - std::min(kNumberWidth, line.size()), u'0');
        command.Line(line + u" " + Visible(record.substr(at, end - at)));
        at = end + 1;
    }
}

}  // namespace

void RunCopy(Command& command) {
    CopyOrder order = TakeCopyOrder(command);
    Store& store = command.OwnStore();
    const std::unique_ptr<SelectList> list = TakeIds(command, order.from, std::move(order.ids));
    std::uint64_t count = 0;
    Batch batch(store);
    Text record;
    for (SelectedId entry; list->Next(entry);) {
        // "old,new" copies a record under another id, unless a record has the whole as its id.
        Text from = entry.id;
        Text to = entry.id;
        const std::size_t comma = from.find(u',');
        if (comma != Text::npos && !(CanBeId(from) && store.Exists(order.from.number, from))) {
            to = from.substr(comma + 1);
            from.resize(comma);
        }
        if (!CanBeId(from) || !store.Read(order.from.number, from, record)) {
            TellMissing(command, from, order.from);
        } else if (!CanBeId(to)) {
            Refuse(to, u"cannot be an id.");
        } else if (!order.overwrites && store.Exists(order.to.number, to)) {
            command.Line(u"\"" + to + u"\" is in file \"" + order.to.name +
                         u"\" already; OVERWRITING replaces it.");
        } else {
            store.Write(order.to.number, to, record, AfterWrite::kRelease);
            const bool isSame = order.from.number == order.to.number && from == to;
            if (order.deletes && !isSame) {
                store.Delete(order.from.number, from);
            }
            ++count;
        }
    }
    batch.Commit();
    command.CountLine(count, u" record(s) copied");
    command.Code(kRecordsCopied);
}

void RunDelete(Command& command) {
    const NamedFile file = command.RequireFileName();
    const std::unique_ptr<SelectList> list = TakeIds(command, file, command.TakeRest());
    std::uint64_t count = 0;
    Batch batch(command.OwnStore());
    for (SelectedId entry; list->Next(entry);) {
        if (CanBeId(entry.id) && command.OwnStore().Delete(file.number, entry.id)) {
            ++count;
        } else {
            TellMissing(command, entry.id, file);
        }
    }
    batch.Commit();
    command.CountLine(count, u" record(s) deleted");
    command.Code(kRecordsDeleted);
}

void RunShowRecords(Command& command) {
    const NamedFile file = command.RequireFileName();
    const std::unique_ptr<SelectList> list = TakeIds(command, file, command.TakeRest());
    Text record;
    for (SelectedId entry; list->Next(entry);) {
        if (CanBeId(entry.id) && command.OwnStore().Read(file.number, entry.id, record)) {
            ShowRecord(command, entry.id, record);
        } else {
            TellMissing(command, entry.id, file);
        }
    }
}

}  // namespace kel::command
