// Verbs about the session and its environment.
#include <array>
#include <map>

#include "hosts/multivalue/command/verbs.h"
#include "hosts/multivalue/query/report_heading.h"

namespace kel::command {

namespace {}  // namespace

void RunDate(Command& command) {
    command.RequireEnd();
    Environment& environment = command.Own().OwnEnvironment();
    command.Line(DateText(environment) + u"  " + TimeText(environment));
}

void RunTime(Command& command) {
    command.RequireEnd();
    Environment& environment = command.Own().OwnEnvironment();
    command.Line(TimeAndDate(environment));
}

void RunWho(Command& command) {
    command.RequireEnd();
    command.Line(command.Own().User());
}

void RunListLocks(Command& command) {
    command.RequireEnd();
    Store& store = command.OwnStore();
    std::map<FileNumber, Text> names;
    for (Text& name : store.FileNames()) {
        if (const std::optional<FileNumber> file = store.FindFile(name)) {
            names[*file] = std::move(name);
        }
    }
    const std::vector<HeldLock> locks = store.Locks();
    for (const HeldLock& lock : locks) {
        Text process;
        Number(lock.holder.processId).AppendTo(process);
        command.Line(names[lock.file] + u"  " + lock.id + u"  " + lock.holder.user + u"  " +
                     process);
        command.Code(kLockListed, {names[lock.file], lock.id, lock.holder.user, process});
    }
    command.CountLine(locks.size(), u" lock(s) listed");
    command.Code(kRecordsListed);
}

void RunSwitchOption(Command& command) {
    const Text name = command.RequireName(u"the name of an option");
    const bool isOff = command.TakeIf(u"OFF");
    if (!isOff) {
        command.TakeIf(u"ON");
    }
    command.RequireEnd();
    if (!command.Own().SetOption(name, !isOff)) {
        Refuse(name, u"is not an option.");
    }
}

void RunHelp(Command& command) {
    if (command.AtEnd()) {
        for (const Verb& verb : AllVerbs()) {
            command.Line(verb.help);
        }
        return;
    }
    const Text name = command.RequireName(u"a verb");
    const Verb* verb = FindVerb(KeywordOf(name));
    if (verb == nullptr) {
        Refuse(name, u"is not a verb.");
    }
    command.Line(verb->help);
}

}  // namespace kel::command
