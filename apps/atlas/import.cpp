#include "apps/atlas/import.h"

#include <algorithm>
#include <stdexcept>

#include "apps/atlas/dictionary.h"

namespace kel::atlas {

using binding::Check;
using binding::Str;

namespace {

// The key field the import works with; no control listens to it.
constexpr const wchar_t* kKeyId = L"Import";

// Records between two signs of life.
constexpr std::size_t kProgress = 2000;

void Read(_kelTools& tools, TextView fileName, TextView id) {
    Check(tools.mvRead(Str(kKeyId).get(), Str(id).get(), Str(fileName).get()));
}

// Switches the session's announcements of changes off, and on again whatever happens.
class QuietSession {
public:
    explicit QuietSession(_kelSessionCallBack& session) : session_(session) {
        Check(session_.put_AutoUpdateOk(VARIANT_FALSE));
    }
    QuietSession(const QuietSession&) = delete;
    QuietSession& operator=(const QuietSession&) = delete;
    ~QuietSession() { session_.put_AutoUpdateOk(VARIANT_TRUE); }

private:
    _kelSessionCallBack& session_;
};

// Whether the account holds the record, unit for unit.
bool Holds(_kelTools& tools, TextView fileName, const Record& record) {
    Read(tools, fileName, record.id);
    return record.text == binding::AskText([&](BSTR* to) {
               return tools.Extract(Str(kKeyId).get(), 0, 0, 0, to);
           });
}

// A record is handed over whole: position 0, 0, 0 is the record itself.
void Write(_kelTools& tools, TextView fileName, const Record& record) {
    Check(tools.Replace(Str(kKeyId).get(), Str(record.text).get(), 0, 0, 0));
    Check(tools.mvWrite(Str(kKeyId).get(), Str(record.id).get(), Str(fileName).get()));
}

}  // namespace

// Reading the record with an empty id opens the file
// and asks the database for nothing more.
bool FileExists(_kelTools& tools, TextView name) {
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

void EnsureFile(_kelTools& tools, TextView name) {
    if (FileExists(tools, name)) {
        return;
    }
    Str output;
    Str codes;
    Check(tools.Execute(Str(L"CREATE-FILE " + Text(name)).get(), output.inOut(), codes.inOut()));
    if (!FileExists(tools, name)) {
        throw std::runtime_error("the file " + ToUtf8(name) +
                                 " could not be made: " + ToUtf8(output.text()));
    }
}

Filled Fill(_kelTools& tools,
            _kelSessionCallBack& session,
            TextView fileName,
            const std::vector<Record>& records,
            const std::function<void(std::size_t written)>& progress) {
    const QuietSession quiet(session);
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

void FillDictionary(_kelTools& tools, _kelSessionCallBack& session, TextView fileName) {
    const Text dictionary = L"DICT " + Text(fileName);
    try {
        EnsureFile(tools, dictionary);
    } catch (const std::runtime_error&) {
        return;  // a database without dictionaries; programs have the definitions themselves
    }
    Fill(tools, session, dictionary, DictionaryOf(fileName));
}

}  // namespace kel::atlas
