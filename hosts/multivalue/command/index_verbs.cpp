// Verbs about indexes.
#include "hosts/multivalue/command/verbs.h"
#include "hosts/multivalue/expression/field_evaluator.h"
#include "hosts/multivalue/store/files.h"

namespace kel::command {

namespace {

std::vector<Text> TakeNames(Command& command) {
    std::vector<Text> names;
    do {
        names.push_back(command.RequireName(u"the name of a field"));
    } while (!command.AtEnd());
    return names;
}

// By its name, in whatever case.
const IndexInfo* FindIndex(const std::vector<IndexInfo>& indexes, TextView name) {
    const Text keyword = KeywordOf(name);
    const auto found = std::find_if(indexes.begin(), indexes.end(), [&](const IndexInfo& index) {
        return index.name == name || KeywordOf(index.name) == keyword;
    });
    return found == indexes.end() ? nullptr : &*found;
}

}  // namespace

void RunCreateIndex(Command& command) {
    const NamedFile file = command.RequireFileName();
    FieldEvaluator fields(
        command.Own().OwnEnvironment(),
        command.OwnStore().FindFile(DictionaryFileName(file.name)) ? file.name : Text());
    for (const Text& name : TakeNames(command)) {
        const Field* field = fields.Resolve(name);
        if (field == nullptr) {
            Refuse(name, u"is not a field of " + file.name + u".");
        }
        const std::optional<Text> description =
            IndexDescription(field->Item(), file.name, command.Own().OwnEnvironment());
        if (!description) {
            Refuse(name, u"depends on more than the record and cannot be indexed.");
        }
        // What a session left behind that could not keep the index, or that the dictionary has
        // outgrown, is made anew.
        const std::vector<IndexInfo> indexes = command.OwnStore().Indexes(file.number);
        const IndexInfo* old = FindIndex(indexes, name);
        Batch batch(command.OwnStore());
        if (old != nullptr && (old->stale || old->description != *description)) {
            command.OwnStore().DropIndex(file.number, old->name);
        }
        command.OwnStore().CreateIndex(file.number, name, *description);
        batch.Commit();
        command.Line(u"Index \"" + name + u"\" of file \"" + file.name + u"\" created.");
        command.Code(kIndexCreated);
    }
}

void RunDeleteIndex(Command& command) {
    const NamedFile file = command.RequireFileName();
    const std::vector<IndexInfo> indexes = command.OwnStore().Indexes(file.number);
    std::vector<Text> names;
    if (FindIndex(indexes, command.Peek().text) == nullptr && command.TakeIf(u"ALL")) {
        command.RequireEnd();
        for (const IndexInfo& index : indexes) {
            names.push_back(index.name);
        }
    } else {
        names = TakeNames(command);
    }
    for (const Text& name : names) {
        const IndexInfo* index = FindIndex(indexes, name);
        command.OwnStore().DropIndex(file.number, index != nullptr ? index->name : name);
        command.Line(u"Index \"" + name + u"\" of file \"" + file.name + u"\" deleted.");
        command.Code(kIndexDeleted);
    }
}

void RunListIndexes(Command& command) {
    const NamedFile file = command.RequireFileName();
    command.RequireEnd();
    const std::vector<IndexInfo> indexes = command.OwnStore().Indexes(file.number);
    for (const IndexInfo& index : indexes) {
        command.Line(index.stale ? index.name + u"  (not kept; CREATE-INDEX makes it anew)"
                                 : index.name);
    }
    command.CountLine(indexes.size(), u" index(es) listed");
    command.Code(kRecordsListed);
}

}  // namespace kel::command
