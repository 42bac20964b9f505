// Files made, compared and filled record by record, through one key field.
#include "apps/atlas/import.h"

#include <algorithm>
#include <stdexcept>

#include "apps/atlas/dictionary.h"

namespace kel::atlas {

using binding::Session;
using binding::Tools;

namespace {

// The key field the import works with; no control listens to it.
constexpr const wchar_t* kKeyId = L"Import";

// Records between two signs of life.
constexpr std::size_t kProgress = 2000;

void Read(const Tools& tools, TextView fileName, TextView id) {
    tools.mvRead(kKeyId, id, fileName);
}

// Whether the account holds the record, unit for unit.
bool Holds(const Tools& tools, TextView fileName, const Record& record) {
    Read(tools, fileName, record.id);
    return record.text == tools.Extract(kKeyId, 0);
}

// A record is handed over whole: position 0, 0, 0 is the record itself.
void Write(const Tools& tools, TextView fileName, const Record& record) {
    tools.Replace(kKeyId, record.text, 0);
    tools.mvWrite(kKeyId, record.id, fileName);
}

}  // namespace

// Reading the record with an empty id opens the file and asks the database for nothing more.
bool FileExists(const Tools& tools, TextView name) {
    try {
        Read(tools, name, L"");
        return true;
    } catch (const binding::Error& error) {
        if (error.number() != mvOpenNotFound) {
            throw;
        }
        return false;
    }
}

void EnsureFile(const Tools& tools, TextView name) {
    if (FileExists(tools, name)) {
        return;
    }
    const Text output = tools.Execute(L"CREATE-FILE " + Text(name));
    if (!FileExists(tools, name)) {
        throw std::runtime_error("the file " + ToUtf8(name) +
                                 " could not be made: " + ToUtf8(output));
    }
}

Filled Fill(const Tools& tools,
            const Session& session,
            TextView fileName,
            const std::vector<Record>& records,
            const std::function<void(std::size_t written)>& progress) {
    const binding::QuietSession quiet(session);
    EnsureFile(tools, fileName);
    std::vector<const Record*> wanted;
    for (const Record& record : records) {
        if (!Holds(tools, fileName, record)) {
            wanted.push_back(&record);
        }
    }
    for (std::size_t done = 0; done < wanted.size(); ++done) {
        if (progress && done != 0 && done % kProgress == 0) {
            progress(done);
        }
        Write(tools, fileName, *wanted[done]);
    }
    const auto lost = std::count_if(wanted.begin(), wanted.end(), [&](const Record* record) {
        return !Holds(tools, fileName, *record);
    });
    return {wanted.size(), static_cast<std::size_t>(lost)};
}

void FillDictionary(const Tools& tools, const Session& session, TextView fileName) {
    const Text dictionary = L"DICT " + Text(fileName);
    try {
        EnsureFile(tools, dictionary);
    } catch (const std::runtime_error&) {
        return;  // a database without dictionaries; programs have the definitions themselves
    }
    Fill(tools, session, dictionary, DictionaryOf(fileName));
}

}  // namespace kel::atlas
