// Verbs about single records.
#include "hosts/multivalue/command/changed_records.h"
#include "hosts/multivalue/command/verbs.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/record_fields.h"

namespace kel::command {

namespace {

constexpr std::size_t kChunk = 256;
constexpr std::size_t kNumberWidth = 3;

// Whether the next word is the keyword. A record of that id in the file is meant rather than the
// keyword, in whichever case it was written.
bool TakeKeyword(Command& command, const NamedFile& file, TextView keyword) {
    const auto isRecord = [&](TextView id) {
        return CanBeId(id) && command.OwnStore().Exists(file.number, id);
    };
    const Word& word = command.Peek();
    return word.kind == Word::Kind::kPlain && word.keyword == keyword && !isRecord(word.text) &&
           !isRecord(keyword) && command.TakeIf(keyword);
}

// The records a sentence names.
struct Named {
    struct Record {
        Text id;
        std::optional<Text> newId;  // behind a comma
        bool isQuoted = false;
    };
    std::vector<Record> records;
    bool all = false;
};

// One more record, or ALL.
void TakeNamed(Command& command, const NamedFile& file, Named& named) {
    if (TakeKeyword(command, file, u"ALL")) {
        named.all = true;
        return;
    }
    if (command.Peek().kind == Word::Kind::kComma) {
        command.Take();  // parts the ids as a blank does
        return;
    }
    const Word& word = command.Take();
    named.records.push_back({word.text, std::nullopt, word.kind == Word::Kind::kQuoted});
}

std::vector<Text> AllIds(Store& store, FileNumber file) {
    std::vector<Text> ids;
    ScanRange range;
    range.withRecords = false;
    const std::unique_ptr<Scan> scan = store.OpenScan(file, range);
    for (std::vector<ScanEntry> chunk; scan->Next(chunk, kChunk);) {
        for (ScanEntry& entry : chunk) {
            ids.push_back(std::move(entry.id));
        }
    }
    return ids;
}

// Those, all of the file, or those of the active list. Taken before anything is done: the file
// changes under a scan otherwise.
std::vector<Named::Record> TakeRecords(Command& command, const NamedFile& file, Named named) {
    if (named.all && !named.records.empty()) {
        Refuse(u"ALL", u"stands beside single records.");
    }
    std::vector<Named::Record>& records = named.records;
    if (named.all) {
        for (Text& id : AllIds(command.OwnStore(), file.number)) {
            records.push_back({std::move(id), std::nullopt, true});
        }
    } else if (records.empty()) {
        const std::unique_ptr<SelectList> list = command.Own().TakeList(0);
        if (!list) {
            Refuse(command.Sentence(), u"names no record, and no list is active.");
        }
        for (SelectedId entry; list->Next(entry);) {
            records.push_back({std::move(entry.id), std::nullopt, true});
        }
    }
    return std::move(records);
}

void TellMissing(Command& command, TextView id, const NamedFile& file) {
    command.Line(Text(u"\"").append(id).append(u"\" is not in file \"") + file.name + u"\".");
}

struct CopyOrder {
    NamedFile from;
    NamedFile to;
    Named named;
    bool overwrites = false;
    bool deletes = false;
    bool overrides = false;
};

// COPY FROM file {TO file} ..., or COPY file {TO file} ...
CopyOrder TakeCopyOrder(Command& command) {
    CopyOrder order;
    command.TakeIf(u"FROM");
    order.from = command.RequireFileName();
    order.to = order.from;
    while (!command.AtEnd()) {
        std::vector<Named::Record>& records = order.named.records;
        if (command.TakeIf(u"TO")) {
            order.to = command.RequireFileName();
        } else if (TakeKeyword(command, order.from, u"OVERWRITING")) {
            order.overwrites = true;
        } else if (TakeKeyword(command, order.from, u"DELETING")) {
            order.deletes = true;
        } else if (TakeKeyword(command, order.from, u"OVERRIDE")) {
            order.overrides = true;
        } else if (command.Peek().kind == Word::Kind::kComma && !records.empty()) {
            const Text comma = command.Take().text;
            if (command.AtEnd() || records.back().newId) {
                Refuse(comma, u"needs an id in front of it and one behind.");
            }
            records.back().newId = command.Take().text;
        } else {
            TakeNamed(command, order.from, order.named);
        }
    }
    return order;
}

// "old,new" without quotes copies a record under another id, unless a record has the whole as its
// id.
void PartAtComma(Named::Record& record, const NamedFile& file, Store& store) {
    const std::size_t comma = record.id.find(u',');
    if (!record.isQuoted && !record.newId && comma != Text::npos &&
        !(CanBeId(record.id) && store.Exists(file.number, record.id))) {
        record.newId = record.id.substr(comma + 1);
        record.id.resize(comma);
    }
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
    std::uint64_t count = 0;
    Batch batch(store);
    ChangedRecords changed(order.overrides);
    Text record;
    for (Named::Record& one : TakeRecords(command, order.from, std::move(order.named))) {
        PartAtComma(one, order.from, store);
        const Text& from = one.id;
        const Text& to = one.newId.value_or(from);
        if (!CanBeId(from) || !store.Read(order.from.number, from, record)) {
            TellMissing(command, from, order.from);
        } else if (!CanBeId(to)) {
            Refuse(to, u"cannot be an id.");
        } else if (!order.overwrites && store.Exists(order.to.number, to)) {
            command.Line(u"\"" + to + u"\" is in file \"" + order.to.name +
                         u"\" already; OVERWRITING replaces it.");
        } else {
            store.Write(order.to.number, to, record, AfterWrite::kRelease);
            changed.Add(order.to, to);
            const bool isSame = order.from.number == order.to.number && from == to;
            if (order.deletes && !isSame) {
                store.Delete(order.from.number, from);
                changed.Add(order.from, from);
            }
            ++count;
        }
    }
    changed.Commit(batch, store);
    command.CountLine(count, u" record(s) copied");
    command.Code(kRecordsCopied);
}

void RunDelete(Command& command) {
    const NamedFile file = command.RequireFileName();
    Named named;
    bool overrides = false;
    while (!command.AtEnd()) {
        if (TakeKeyword(command, file, u"OVERRIDE")) {
            overrides = true;
        } else {
            TakeNamed(command, file, named);
        }
    }
    std::uint64_t count = 0;
    Batch batch(command.OwnStore());
    ChangedRecords changed(overrides);
    for (const Named::Record& one : TakeRecords(command, file, std::move(named))) {
        if (CanBeId(one.id) && command.OwnStore().Delete(file.number, one.id)) {
            changed.Add(file, one.id);
            ++count;
        } else {
            TellMissing(command, one.id, file);
        }
    }
    changed.Commit(batch, command.OwnStore());
    command.CountLine(count, u" record(s) deleted");
    command.Code(kRecordsDeleted);
}

void RunShowRecords(Command& command) {
    const NamedFile file = command.RequireFileName();
    Named named;
    while (!command.AtEnd()) {
        TakeNamed(command, file, named);
    }
    Text record;
    for (const Named::Record& one : TakeRecords(command, file, std::move(named))) {
        if (CanBeId(one.id) && command.OwnStore().Read(file.number, one.id, record)) {
            ShowRecord(command, one.id, record);
        } else {
            TellMissing(command, one.id, file);
        }
    }
}

}  // namespace kel::command
