// Query sentences over a file in memory: query. Its first rows are the file, its records and its
// dictionary.
#include <algorithm>
#include <fstream>
#include <memory>
#include <set>

#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/text/error.h"
#include "tests/host/cases.h"
#include "tests/support/memory_store.h"
#include "tests/support/text_support.h"

namespace kel::cases {

namespace {

struct QueryAccount {
    std::unique_ptr<Store> store = OpenMemoryStore(MakeMemoryAccount());
    StoreEnvironment environment{*store};
    Session session{*store, environment};
    Text file;
    std::vector<Text> walk;  // the ids in the order that the answers were found in
};

std::vector<Text> IdsOf(const Json& row) {
    std::vector<Text> ids;
    for (const Json& id : row.at("ids")) {
        ids.push_back(FromUtf8(id.get<std::string>()));
    }
    return ids;
}

// In which order a file is walked is a store's own affair, but equal entries and samples depend on
// it: the longest unsorted answer tells the order of the store that the cases come from.
void ReadWalk(const Json& row, QueryAccount& account) {
    const std::string sentence = row.at("sentence");
    if (row.value("ordered", true) || sentence.find("SAVING") != std::string::npos) {
        return;
    }
    std::vector<Text> ids = IdsOf(row);
    if (ids.size() > account.walk.size()) {
        account.walk = std::move(ids);
    }
}

std::shared_ptr<QueryAccount> ReadAccount(const std::filesystem::path& path) {
    auto account = std::make_shared<QueryAccount>();
    std::ifstream stream(path);
    std::vector<Text> ids;
    for (std::string line; std::getline(stream, line);) {
        const Json row = Json::parse(line);
        const std::string kind = row.at("kind");
        Store& store = *account->store;
        if (kind == "file") {
            account->file = TextOf(row, "name");
            account->session.Execute(u"CREATE-FILE " + account->file);
        } else if (kind == "query") {
            ReadWalk(row, *account);
        } else {
            const Text name = kind == "dict" ? DictionaryFileName(account->file) : account->file;
            const Text id = TextOf(row, "id");
            store.Write(*store.FindFile(name), id, TextOf(row, "rec"), AfterWrite::kRelease);
            if (kind == "record") {
                ids.push_back(id);
            }
        }
    }
    std::set<Text> walked(account->walk.begin(), account->walk.end());
    for (const Text& id : ids) {
        if (walked.insert(id).second) {
            account->walk.push_back(id);
        }
    }
    return account;
}

std::string Shown(const std::vector<SelectedId>& entries) {
    std::string shown = std::to_string(entries.size()) + ":";
    for (const SelectedId& entry : entries) {
        shown += " " + Drawn(entry.id);
        if (entry.position.value > 0) {
            shown += "@" + std::to_string(entry.position.value) + "." +
                     std::to_string(entry.position.subvalue);
        }
    }
    return shown;
}

bool SamePositions(const std::vector<SelectedId>& entries, const Json& positions) {
    return std::equal(entries.begin(),
                      entries.end(),
                      positions.begin(),
                      positions.end(),
                      [](const SelectedId& entry, const Json& position) {
                          return entry.position.value == position.at(0) &&
                                 entry.position.subvalue == position.at(1);
                      });
}

std::optional<std::string> CheckQuery(const Json& row, QueryAccount& account) {
    const Text sentence = TextOf(row, "sentence");
    const bool isRefused = row.at("return_code") < 0;
    const Text option = row.contains("option") ? TextOf(row, "option") : Text();
    account.session.SetOption(option, true);
    const bool isDictionary = sentence.find(u"SELECT DICT") != Text::npos;
    account.session.PutList(0, isDictionary ? nullptr : ListOfIds(account.walk));
    std::vector<SelectedId> entries;
    std::optional<std::string> refusal;
    try {
        entries = Drain(*account.session.Select(sentence));
    } catch (const Error& error) {
        refusal = error.what();
    }
    account.session.SetOption(option, false);
    if (refusal || isRefused) {
        return isRefused == refusal.has_value() ? std::nullopt
                                                : std::optional(refusal.value_or("no refusal"));
    }
    std::vector<Text> wanted = IdsOf(row);
    std::vector<Text> got;
    for (const SelectedId& entry : entries) {
        got.push_back(entry.id);
    }
    if (!row.at("ordered")) {
        std::sort(wanted.begin(), wanted.end());
        std::sort(got.begin(), got.end());
    }
    const bool samePositions =
        !row.contains("positions") || SamePositions(entries, row.at("positions"));
    return got == wanted && samePositions ? std::nullopt : std::optional(Shown(entries));
}

}  // namespace

void AddQueryChecks(Checks& checks, const std::filesystem::path& folder) {
    const std::shared_ptr<QueryAccount> account = ReadAccount(folder / "query.jsonl");
    checks["query"] = [account](const Json& row) { return CheckQuery(row, *account); };
}

}  // namespace kel::cases
