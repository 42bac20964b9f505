// Verbs that make, keep and drop lists of ids.
#include "hosts/multivalue/command/verbs.h"
#include "hosts/multivalue/expression/element_functions.h"
#include "hosts/multivalue/query/selection.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/record_fields.h"

namespace kel::command {

namespace {

void TellSelected(Command& command, std::uint64_t count, int list) {
    Text rest = u" record(s) selected to list ";
    Number(list).AppendTo(rest);
    command.CountLine(count, rest);
    command.Code(count > 0 ? kRecordsSelected : kNothingSelected);
}

// Makes a list active. An empty one is a list too: what works on it finds nothing.
void Activate(Command& command, const MadeList& made) {
    std::vector<SelectedId> entries = Drain(*made.list);
    const std::size_t count = entries.size();
    command.Own().PutList(made.number, ListOf(std::move(entries)));
    TellSelected(command, count, made.number);
}

constexpr TextView kSavedListFile = u"&SAVEDLISTS&";

// A saved list is a record: an attribute for each entry, of its id and, for an exploded one, the
// numbers of value and subvalue behind value marks. Within an id, which may be any value that was
// selected, a text mark and a digit stand for a mark: 1 the text mark itself, up to 5 for the item
// mark. A text mark and 0 stand for no id at all.
constexpr char16_t kNoId = u'0';

void AppendSavedId(TextView id, Text& record) {
    if (id.empty()) {
        record.append({kTextMark, kNoId});
    }
    for (const char16_t unit : id) {
        if (unit < kTextMark || unit > kItemMark) {
            record.push_back(unit);
        } else {
            record.append({kTextMark, static_cast<char16_t>(u'1' + (unit - kTextMark))});
        }
    }
}

Text SavedId(TextView saved) {
    Text id;
    for (std::size_t at = 0; at < saved.size(); ++at) {
        const char16_t digit = at + 1 < saved.size() ? saved[at + 1] : u'\0';
        if (saved[at] != kTextMark || digit < kNoId || digit > u'5') {
            id.push_back(saved[at]);
            continue;
        }
        ++at;
        if (digit != kNoId) {
            id.push_back(static_cast<char16_t>(kTextMark + (digit - u'1')));
        }
    }
    return id;
}

Text WriteList(SelectList& list) {
    Text record;
    bool isFirst = true;
    for (SelectedId entry; list.Next(entry);) {
        if (!isFirst) {
            record.push_back(kAttributeMark);
        }
        isFirst = false;
        AppendSavedId(entry.id, record);
        if (entry.position.value > 0) {
            record.push_back(kValueMark);
            Number(entry.position.value).AppendTo(record);
            record.push_back(kValueMark);
            Number(entry.position.subvalue).AppendTo(record);
        }
    }
    return record;
}

template <typename Use>
void ForEachPart(TextView text, char16_t mark, Use use) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(mark), text.size());
        use(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

NamedFile SavedLists(Store& store) {
    const std::optional<FileNumber> file = store.FindFile(kSavedListFile);
    return {file ? *file : store.CreateFile(kSavedListFile), Text(kSavedListFile)};
}

}  // namespace

void RunSelect(Command& command) {
    Activate(command, SelectByQuery(command));
}

void RunSaveList(Command& command) {
    const Text name = command.RequireName(u"a name for the list");
    const int number = command.TakeIf(u"FROM") ? command.TakeListNumber() : 0;
    command.RequireEnd();
    const std::unique_ptr<SelectList> list = TakeSourceList(command.Own(), number, true);
    std::vector<SelectedId> entries = Drain(*list);
    const std::size_t count = entries.size();
    command.OwnStore().Write(SavedLists(command.OwnStore()).number,
                             name,
                             WriteList(*ListOf(std::move(entries))),
                             AfterWrite::kRelease);
    command.CountLine(count, Text(u" record(s) saved to list \"") + name + u"\"");
    command.Code(kListSaved);
}

void RunGetList(Command& command) {
    Activate(command, ReadSavedList(command));
}

void RunDeleteList(Command& command) {
    const Text name = command.RequireName(u"the name of a saved list");
    command.RequireEnd();
    const std::optional<FileNumber> file = command.OwnStore().FindFile(kSavedListFile);
    if (!file || !CanBeId(name) || !command.OwnStore().Delete(*file, name)) {
        Refuse(name, u"is not a saved list.");
    }
    command.Line(u"List \"" + name + u"\" deleted");
    command.Code(kListDeleted);
}

void RunSelectAttributes(Command& command) {
    Activate(command, ReadAttributeList(command));
}

void RunClearSelect(Command& command) {
    const bool all = command.TakeIf(u"ALL");
    const int number = all || command.AtEnd() ? 0 : command.TakeListNumber();
    command.RequireEnd();
    for (int list = number; list < (all ? kActiveLists : number + 1); ++list) {
        command.Own().PutList(list, nullptr);
    }
}

std::unique_ptr<SelectList> TakeSourceList(Session& session,
                                           std::optional<int> number,
                                           bool isRequired) {
    std::unique_ptr<SelectList> list = session.TakeList(number.value_or(0));
    if (!list && (isRequired || number)) {
        Text name;
        Number(number.value_or(0)).AppendTo(name);
        Refuse(u"There is no active list " + name + u".");
    }
    return list;
}

MadeList SelectByQuery(Command& command) {
    Session& session = command.Own();
    Query query = ParseOwnQuery(command);
    const int number = query.toList.value_or(0);
    std::unique_ptr<SelectList> list;
    if (query.ids.empty()) {
        list = TakeSourceList(session, query.fromList, query.requiresList);
    }
    return {std::make_unique<Selection>(
                std::move(query), std::move(list), session.OwnStore(), session.OwnEnvironment()),
            number};
}

MadeList ReadSavedList(Command& command) {
    const Text name = command.RequireName(u"the name of a saved list");
    const int number = command.TakeIf(u"TO") ? command.TakeListNumber() : 0;
    command.RequireEnd();
    Text record;
    const std::optional<FileNumber> file = command.OwnStore().FindFile(kSavedListFile);
    if (!file || !CanBeId(name) || !command.OwnStore().Read(*file, name, record)) {
        Refuse(name, u"is not a saved list.");
    }
    std::vector<SelectedId> entries;
    ForEachPart(record, kAttributeMark, [&](TextView part) {
        SelectedId entry;
        entry.id = SavedId(ElementOf(part, kValueMark, 1));
        entry.position = {Number::OrZero(ElementOf(part, kValueMark, 2)).ToPosition(),
                          Number::OrZero(ElementOf(part, kValueMark, 3)).ToPosition()};
        entries.push_back(std::move(entry));
    });
    return {ListOf(std::move(entries)), number};
}

MadeList ReadAttributeList(Command& command) {
    const NamedFile file = command.RequireFileName();
    std::vector<Text> ids;
    std::int32_t attribute = 0;
    while (!command.AtEnd()) {
        if (command.TakeIf(u"FIELD")) {
            const Text number = command.RequireName(u"the number of an attribute");
            attribute = Number::OrZero(number).ToPosition();
            if (attribute < 1) {
                Refuse(number, u"is not the number of an attribute.");
            }
        } else {
            ids.push_back(command.Take().text);
        }
    }
    const std::unique_ptr<SelectList> list =
        ids.empty() ? TakeSourceList(command.Own(), std::nullopt, true) : ListOfIds(std::move(ids));
    std::vector<Text> parts;
    Text record;
    for (SelectedId entry; list->Next(entry);) {
        if (!CanBeId(entry.id) || !command.OwnStore().Read(file.number, entry.id, record)) {
            Refuse(entry.id, u"is not in the file.");
        }
        RecordFields fields{TextView(record)};
        const TextView text = attribute > 0 ? fields.Attribute(attribute) : TextView(record);
        ForEachPart(text, attribute > 0 ? kValueMark : kAttributeMark, [&](TextView part) {
            parts.emplace_back(part);
        });
    }
    return {ListOfIds(std::move(parts)), 0};
}

}  // namespace kel::command
