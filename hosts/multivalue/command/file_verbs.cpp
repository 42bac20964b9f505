// Verbs about files as a whole.
#include "hosts/multivalue/command/changed_records.h"
#include "hosts/multivalue/command/verbs.h"
#include "hosts/multivalue/store/files.h"

namespace kel::command {

namespace {

constexpr std::size_t kNameColumn = 32;

// Which of a file's two parts a sentence is about.
enum class Part { kBoth, kData, kDictionary };

struct FileOperand {
    Part part;
    Text name;
};

FileOperand TakeOperand(Command& command) {
    const Part part = command.TakeIf(u"DICT")   ? Part::kDictionary
                      : command.TakeIf(u"DATA") ? Part::kData
                                                : Part::kBoth;
    FileOperand operand{part, command.RequireName(u"the name of one file")};
    return operand;
}

Text Told(const FileOperand& operand, TextView what) {
    Text told = operand.part == Part::kDictionary ? u"Dictionary of \"" : u"File \"";
    return told.append(operand.name).append(u"\" ").append(what);
}

// The item that says how ids are shown. New dictionaries have nothing else.
Text IdItem(TextView file) {
    Text item = {u'D', kAttributeMark, u'0', kAttributeMark, kAttributeMark};
    item.append(file).push_back(kAttributeMark);
    return item.append(u"10L").append({kAttributeMark, u'S'});
}

// The files that an operand means. The dictionary of a file goes with it where there is one.
std::vector<NamedFile> Parts(FileOperand& operand, Store& store) {
    if (operand.part == Part::kDictionary) {
        return {RequireFile(store, DictionaryFileName(operand.name))};
    }
    std::vector<NamedFile> files{RequireFile(store, operand.name)};
    operand.name = files.front().name;
    const Text dictionary = DictionaryFileName(operand.name);
    const std::optional<FileNumber> number = store.FindFile(dictionary);
    if (operand.part == Part::kBoth && number) {
        files.push_back({*number, dictionary});
    }
    return files;
}

}  // namespace

void RunCreateFile(Command& command) {
    const FileOperand operand = TakeOperand(command);
    command.RequireEnd();
    Store& store = command.OwnStore();
    Batch batch(store);
    if (operand.part != Part::kDictionary) {
        store.CreateFile(operand.name);
    }
    const Text dictionary = DictionaryFileName(operand.name);
    if (operand.part == Part::kDictionary ||
        (operand.part == Part::kBoth && !store.FindFile(dictionary))) {
        const FileNumber number = store.CreateFile(dictionary);
        store.Write(number, u"@ID", IdItem(operand.name), AfterWrite::kRelease);
    }
    batch.Commit();
    command.Line(Told(operand, u"created."));
    command.Code(kFileCreated);
}

void RunDeleteFile(Command& command) {
    FileOperand operand = TakeOperand(command);
    ChangedRecords changed(command.TakeIf(u"OVERRIDE"));
    command.RequireEnd();
    Batch batch(command.OwnStore());
    for (const NamedFile& file : Parts(operand, command.OwnStore())) {
        command.OwnStore().DeleteFile(file.number);
        changed.AddWholeFile(file);
    }
    changed.Commit(batch, command.OwnStore());
    command.Line(Told(operand, u"deleted."));
    command.Code(kFileDeleted);
}

void RunClearFile(Command& command) {
    FileOperand operand = TakeOperand(command);
    ChangedRecords changed(command.TakeIf(u"OVERRIDE"));
    command.RequireEnd();
    // Records come and go; descriptions of fields are only cleared when asked for.
    operand.part = operand.part == Part::kBoth ? Part::kData : operand.part;
    Batch batch(command.OwnStore());
    const NamedFile file = Parts(operand, command.OwnStore()).front();
    command.OwnStore().ClearFile(file.number);
    changed.AddWholeFile(file);
    changed.Commit(batch, command.OwnStore());
    command.Line(Told(operand, u"cleared."));
    command.Code(kFileCleared);
}

void RunListFiles(Command& command) {
    command.RequireEnd();
    Store& store = command.OwnStore();
    const std::vector<Text> names = store.FileNames();
    std::uint64_t count = 0;
    Text heading = u"File";
    heading.resize(kNameColumn, u' ');
    command.Line(heading + u"Records");
    for (const Text& name : names) {
        const std::optional<FileNumber> file = store.FindFile(name);
        if (!file || name.starts_with(kDictionaryPrefix)) {
            continue;
        }
        Text line = name;
        line.resize(std::max(kNameColumn, line.size() + 1), u' ');
        Number(static_cast<std::int64_t>(store.CountRecords(*file))).AppendTo(line);
        command.Line(line);
        ++count;
    }
    command.CountLine(count, u" file(s) listed");
    command.Code(kRecordsListed);
}

}  // namespace kel::command
