// The commands import and export.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "apps/kelsh/shell.h"
#include "apps/kelsh/text.h"
#include "apps/kelsh/transfer_fields.h"
#include "hosts/multivalue/text/error.h"

namespace kel::kelsh {

using transfer::TransferFormat;

namespace {

constexpr const wchar_t* kList = L"kelsh.list";
constexpr std::size_t kBatch = 100;  // records between two signs of life

// A file of the session's database, record by record.
class SessionFile : public transfer::RecordTarget {
public:
    SessionFile(Connection& connection, const Text& file)
        : connection_(connection),
          quiet_(connection.session()),
          key_({.keyId = kTransferKey, .session = connection.name(), .controlName = L"kelsh"}),
          file_(file) {
        key_.UpdateOnly(true);
        key_.FileName(file);
    }

    bool Read(text::TextView id, text::Text& record) override {
        record.clear();
        if (!Exists(id)) {
            return false;
        }
        record = Units(connection_.tools().Extract(kTransferKey, 0));
        return true;
    }
    bool Exists(text::TextView id) override {
        key_.ExternalValue(0, Wide(id));
        return key_.ReadRecord() == 0;
    }
    void Write(text::TextView id, text::TextView record) override {
        connection_.tools().Replace(kTransferKey, Wide(record), 0);
        connection_.tools().mvWrite(kTransferKey, Wide(id), file_);
    }

private:
    Connection& connection_;
    const binding::QuietSession quiet_;
    const binding::DictItem key_;
    const Text file_;
};

// What others have locked in the file, by id. Only a back-end that lists locks as numbers tells.
std::map<Text, Text> LocksOfOthers(Connection& connection, const Text& file) {
    constexpr const wchar_t* kLock = L"430";  // file, id, user, process
    Text output;
    Text codes;
    connection.tools().Execute(L"LIST-READU", output, codes);
    std::map<Text, Text> holders;
    for (const Text& code : Split(codes, *kAttributeMark)) {
        const std::vector<Text> parts = Split(code, *kValueMark);
        if (parts.size() == 5 && parts[0] == kLock && parts[1] == file &&
            parts[4] != std::to_wstring(GetCurrentProcessId())) {
            holders[parts[2]] = parts[3] + L" (process " + parts[4] + L")";
        }
    }
    return holders;
}

// Writes nothing, but looks whether an import could.
class UnlockedFile final : public transfer::RecordTarget {
public:
    UnlockedFile(Connection& connection, const Text& file)
        : file_(connection, file), holders_(LocksOfOthers(connection, file)) {}

    bool Read(text::TextView id, text::Text& record) override { return file_.Read(id, record); }
    bool Exists(text::TextView id) override { return file_.Exists(id); }
    void Write(text::TextView id, text::TextView /*record*/) override {
        const auto found = holders_.find(Wide(id));
        if (found != holders_.end()) {
            throw text::Error(text::ErrorKind::kLocked,
                              u"record \"" + text::Text(id) + u"\" is locked by " +
                                  Units(found->second) +
                                  u"; nothing was imported, \"override\" insists");
        }
    }
    bool MayRefuse() const { return !holders_.empty(); }

private:
    SessionFile file_;
    const std::map<Text, Text> holders_;
};

// The records that a selection names.
class SelectedRecords final : public transfer::RecordSource {
public:
    SelectedRecords(Connection& connection, const Text& file, const Text& sentence)
        : connection_(connection), file_(connection, file) {
        connection_.tools().ExecuteSelect(kList, sentence);
    }
    SelectedRecords(const SelectedRecords&) = delete;
    SelectedRecords& operator=(const SelectedRecords&) = delete;
    ~SelectedRecords() override {
        binding::Ignoring([&] { connection_.tools().CloseSelect(kList); });
    }

    bool Next(text::Text& id, text::Text& record) override {
        Text next;
        while (connection_.tools().ReadNext(kList, next)) {
            id = Units(next);
            if (file_.Read(id, record)) {
                return true;
            }
        }
        return false;
    }

private:
    Connection& connection_;
    SessionFile file_;
};

TransferFormat FormatOf(const Text& path, const Text& named) {
    Text name = binding::Lower(named);
    if (name.empty()) {
        name = binding::Lower(std::filesystem::path(path).extension().wstring());
        name.erase(0, 1);
    }
    if (name == L"csv") {
        return TransferFormat::kCsv;
    }
    if (name == L"json") {
        return TransferFormat::kJsonArray;
    }
    if (name == L"jsonl") {
        return TransferFormat::kJsonLines;
    }
    throw std::runtime_error(ToUtf8(path + L": say what it is: as csv, as json or as jsonl"));
}

// What stands behind the word `name`, which is taken out of the words with it.
Text TakeOption(std::vector<Text>& words, TextView name) {
    const auto found = std::find(words.begin(), words.end(), name);
    if (found == words.end()) {
        return {};
    }
    if (found + 1 == words.end()) {
        throw std::runtime_error("there is nothing behind \"" + ToUtf8(name) + "\"");
    }
    Text value = *(found + 1);
    words.erase(found, found + 2);
    return value;
}

bool TakeWord(std::vector<Text>& words, TextView word) {
    return std::erase(words, word) != 0;
}

Text Counted(std::uint64_t records) {
    return std::to_wstring(records) + (records == 1 ? L" record" : L" records");
}

// "@ID" and as many attributes as the longest record has.
std::vector<text::Text> AllColumns(SelectedRecords& records) {
    std::ptrdiff_t most = 0;
    text::Text id;
    text::Text record;
    while (records.Next(id, record)) {
        const auto marks =
            std::count(record.begin(), record.end(), static_cast<char16_t>(*kAttributeMark));
        most = std::max(most, record.empty() ? 0 : marks + 1);
    }
    std::vector<text::Text> columns{u"@ID"};
    for (std::ptrdiff_t attribute = 1; attribute <= most; ++attribute) {
        columns.push_back(Units(std::to_wstring(attribute)));
    }
    return columns;
}

}  // namespace

bool Shell::ImportData(CommandLine& line) {
    const Text& file = line.word(1);
    const Text& path = line.word(2);
    std::vector<Text> words = line.From(3);
    transfer::ImportOptions options;
    options.batch = kBatch;
    options.format = FormatOf(path, TakeOption(words, L"as"));
    options.existing = TakeWord(words, L"keep")    ? transfer::Existing::kKeep
                       : TakeWord(words, L"merge") ? transfer::Existing::kMerge
                                                   : transfer::Existing::kReplace;
    const bool skip = TakeWord(words, L"skip");
    const bool overrides = TakeWord(words, L"override");
    if (!words.empty()) {
        Failed(L"import does not know \"" + words.front() + L"\"");
        return false;
    }
    std::ifstream data(std::filesystem::path(path), std::ios::binary);
    if (!data) {
        Failed(path + L" cannot be read");
        return false;
    }
    SessionFields fields(connection_, file);
    try {
        // What is locked is met before anything is written.
        UnlockedFile unlocked(connection_, file);
        if (!overrides && unlocked.MayRefuse()) {
            options.onFault = [](const transfer::TransferFault&) { return true; };
            transfer::Import(unlocked, data, fields, options);
            options.onFault = {};
            data.clear();
            data.seekg(0);
        }
    } catch (const text::Error& error) {
        Failed(path + L": " + Wide(error.text()));
        return false;
    }
    options.progress = [&](std::uint64_t records) {
        terminal_.ShowProgress(Counted(records));
        return true;
    };
    if (skip) {
        options.onFault = [&](const transfer::TransferFault& fault) {
            terminal_.Complain(L"kelsh: left out: " + Wide(fault.text));
            return true;
        };
    }
    SessionFile target(connection_, file);
    try {
        const auto result = transfer::Import(target, data, fields, options);
        terminal_.ShowProgress({});
        terminal_.Print(
            Counted(result.records) + L" imported into " + file +
            (result.left > 0 ? L", " + std::to_wstring(result.left) + L" left out" : Text()));
        return true;
    } catch (const text::Error& error) {
        Failed(path + L": " + Wide(error.text()));
        return false;
    }
}

bool Shell::ExportData(CommandLine& line) {
    const Text& file = line.word(1);
    const Text& path = line.word(2);
    std::vector<Text> words = line.From(3);
    Text sentence = L"SSELECT " + file;
    const auto where = std::find(words.begin(), words.end(), L"where");
    if (where != words.end()) {
        sentence = L"SELECT " + file + L" " +
                   line.Rest(3 + static_cast<std::size_t>(where - words.begin()) + 1);
        words.erase(where, words.end());
    }
    transfer::ExportOptions options;
    options.batch = kBatch;
    options.format = FormatOf(path, TakeOption(words, L"as"));
    for (const Text& column : words) {
        options.columns.push_back(Units(column));
    }
    if (options.columns.empty() && options.format == TransferFormat::kCsv) {
        SelectedRecords all(connection_, file, sentence);
        options.columns = AllColumns(all);
    }
    options.progress = [&](std::uint64_t records) {
        terminal_.ShowProgress(Counted(records));
        return true;
    };
    SessionFields fields(connection_, file);
    try {
        SelectedRecords records(connection_, file, sentence);
        if (path == L"-") {
            std::ostringstream data;
            transfer::Export(records, data, fields, options);
            terminal_.ShowProgress({});
            terminal_.PrintBytes(data.str());
            return true;
        }
        std::ofstream data(std::filesystem::path(path), std::ios::binary);
        if (!data) {
            Failed(path + L" cannot be written");
            return false;
        }
        const std::uint64_t count = transfer::Export(records, data, fields, options);
        terminal_.ShowProgress({});
        terminal_.Print(Counted(count) + L" exported to " + path);
        return true;
    } catch (const text::Error& error) {
        Failed(path + L": " + Wide(error.text()));
        return false;
    }
}

}  // namespace kel::kelsh
