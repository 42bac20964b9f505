#include "hosts/multivalue/command/changed_records.h"

#include <algorithm>
#include <vector>

#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/text/error.h"

namespace kel::command {

void ChangedRecords::Add(const NamedFile& file, TextView id) {
    if (overrides_) {
        return;
    }
    Changed& changed = files_[file.number];
    changed.name = file.name;
    changed.ids.emplace(id);
}

void ChangedRecords::AddWholeFile(const NamedFile& file) {
    Changed& changed = files_[file.number];
    changed.name = file.name;
    changed.isWhole = true;
}

bool ChangedRecords::Holds(const HeldLock& lock) const {
    const auto found = files_.find(lock.file);
    return found != files_.end() && (found->second.isWhole || found->second.ids.contains(lock.id));
}

void ChangedRecords::Commit(Batch& batch, Store& store) const {
    if (!overrides_ && !files_.empty()) {
        // Only at the end, when nobody can lock anything any more: a lock taken while the sentence
        // was at work counts as well.
        const std::vector<HeldLock> locks = store.HoldLocks();
        const auto isHeld = [this](const HeldLock& lock) { return Holds(lock); };
        const auto first = std::find_if(locks.begin(), locks.end(), isHeld);
        if (first != locks.end()) {
            const auto more = std::count_if(first + 1, locks.end(), isHeld);
            Text text = u"Record \"" + first->id + u"\" of file \"" +
                        files_.find(first->file)->second.name + u"\" is locked by " +
                        first->holder.user;
            if (first->holder.processId != 0) {
                text += u" (process ";
                Number(first->holder.processId).AppendTo(text);
                text += u")";
            }
            if (more > 0) {
                text += u", and ";
                Number(more).AppendTo(text);
                text += u" more";
            }
            throw Error(ErrorKind::kLocked,
                        text + u". Nothing was changed; OVERRIDE changes it all the same.");
        }
    }
    batch.Commit();
}

}  // namespace kel::command
