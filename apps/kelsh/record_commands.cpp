// Commands on the one record in the shell's buffer.
#include <algorithm>
#include <stdexcept>

#include "apps/kelsh/editor.h"
#include "apps/kelsh/shell.h"

namespace kel::kelsh {

RecordBuffer& Shell::record() {
    if (!record_) {
        record_ = std::make_unique<RecordBuffer>(connection_);
    }
    return *record_;
}

RecordBuffer& Shell::openRecord() {
    if (!record_ || !record_->isOpen()) {
        throw std::runtime_error("no record was read yet (read FILE ID)");
    }
    return *record_;
}

// True when there is something in the buffer to work on.
bool Shell::Report(RecordBuffer::Found found, const Text& file, const Text& id) {
    switch (found) {
        case RecordBuffer::Found::kFound:
            return true;
        case RecordBuffer::Found::kMissing:
            terminal_.Complain(L"kelsh: new record \"" + id + L"\" in " + file);
            return true;
        case RecordBuffer::Found::kLocked:
            Failed(L"the record \"" + id + L"\" in " + file +
                   L" is locked by somebody else (see \"locks\")");
            return false;
        default:
            Failed(L"the record \"" + id + L"\" in " + file + L" cannot be read");
            return false;
    }
}

void Shell::Show() {
    int number = 0;
    Text lines;
    for (const Text& attribute : openRecord().Attributes()) {
        ++number;
        Text label = std::to_wstring(number);
        label.insert(0, 3 - std::min<std::size_t>(3, label.size()), L' ');
        lines += (number > 1 ? L"\n" : L"") + label + L"  " + AsTyped(attribute);
    }
    if (!lines.empty()) {
        terminal_.PrintPaged(lines);
    }
}

// A missing record is a failure here, so that a script of commands can tell.
bool Shell::Read(CommandLine& line) {
    const bool lock = line.Has(L"lock");
    if (line.size() != 3) {
        Failed(L"it is: read FILE ID [lock]");
        return false;
    }
    const auto found = record().Read(line.word(1), line.word(2), lock);
    if (!Report(found, line.word(1), line.word(2))) {
        return false;
    }
    Show();
    return found == RecordBuffer::Found::kFound;
}

bool Shell::New(CommandLine& line) {
    const auto found = record().Read(line.word(1), line.word(2), true);
    if (found == RecordBuffer::Found::kFound) {
        record().Release();
        Failed(L"there is a record \"" + line.word(2) + L"\" in " + line.word(1) + L" already");
        return false;
    }
    return found == RecordBuffer::Found::kMissing || Report(found, line.word(1), line.word(2));
}

bool Shell::ShowRecord(CommandLine& line) {
    if (line.size() == 1) {
        Show();
    } else {
        terminal_.Print(AsTyped(openRecord().Extract(PositionIn(line.word(1)))));
    }
    return true;
}

bool Shell::Set(CommandLine& line) {
    openRecord().Replace(PositionIn(line.word(1)), AsStored(line.Rest(2)));
    return true;
}

bool Shell::Insert(CommandLine& line) {
    openRecord().Insert(PositionIn(line.word(1)), AsStored(line.Rest(2)));
    return true;
}

bool Shell::Remove(CommandLine& line) {
    openRecord().Remove(PositionIn(line.word(1)));
    return true;
}

bool Shell::Write(CommandLine& line) {
    const bool keep = line.Has(L"keep");
    openRecord().Write(line.size() > 1 ? line.word(1) : Text(), keep);
    return true;
}

bool Shell::Delete(CommandLine& line) {
    if (line.size() == 2) {
        Failed(L"it is: delete [FILE ID]");
        return false;
    }
    if (line.size() == 3) {
        // Whoever has the record locked is at work on it.
        const auto found = record().Read(line.word(1), line.word(2), true);
        if (found == RecordBuffer::Found::kMissing) {
            record().Release();
            Failed(L"there is no record \"" + line.word(2) + L"\" in " + line.word(1));
            return false;
        }
        if (!Report(found, line.word(1), line.word(2))) {
            return false;
        }
    }
    openRecord().Delete();
    return true;
}

bool Shell::Release(CommandLine&) {
    openRecord().Release();
    return true;
}

bool Shell::Locks(CommandLine&) {
    return RunSentence(L"LIST-READU");
}

bool Shell::Edit(CommandLine& line) {
    if (line.size() == 2) {
        Failed(L"it is: edit [FILE ID]");
        return false;
    }
    if (line.size() == 3 &&
        !Report(record().Read(line.word(1), line.word(2), true), line.word(1), line.word(2))) {
        return false;
    }
    return EditRecord(openRecord(), terminal_);
}

}  // namespace kel::kelsh
