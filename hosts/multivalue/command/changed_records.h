// What a sentence is about to change, held against the locks of other sessions.
//
//     Batch batch(store);
//     ChangedRecords changed;
//     store.Delete(file.number, id);
//     changed.Add(file, id);
//     changed.Commit(batch, store);
#pragma once

#include <map>
#include <set>

#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/text.h"

namespace kel::command {

class ChangedRecords {
public:
    // With `overrides` locks of others count for nothing.
    explicit ChangedRecords(bool overrides) : overrides_(overrides) {}

    void Add(const NamedFile& file, TextView id);
    void AddWholeFile(const NamedFile& file);

    // Commits the batch that made the changes. kLocked, naming record and holder, when another
    // session has locked one of the records; the batch is then still open.
    void Commit(Batch& batch, Store& store) const;

private:
    struct Changed {
        Text name;
        bool isWhole = false;
        std::set<Text, std::less<>> ids;
    };

    bool Holds(const HeldLock& lock) const;

    bool overrides_;
    std::map<FileNumber, Changed> files_;
};

}  // namespace kel::command
