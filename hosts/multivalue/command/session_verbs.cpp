// Verbs about the session and its environment.
#include <array>
#include <map>

#include "hosts/multivalue/command/command.h"
#include "hosts/multivalue/conversion/conversion.h"

namespace kel::command {

namespace {

Text ClockText(Environment& environment, bool isDate) {
    Text text;
    Number(isDate ? environment.Today() : environment.SecondOfDay()).AppendTo(text);
    return Oconv(text, isDate ? u"D" : u"MTS", environment).value;
}

void Date(Command& command) {
    command.RequireEnd();
    Environment& environment = command.Own().OwnEnvironment();
    command.Line(ClockText(environment, true) + u"  " + ClockText(environment, false));
}

void Time(Command& command) {
    command.RequireEnd();
    Environment& environment = command.Own().OwnEnvironment();
    command.Line(ClockText(environment, false) + u"  " + ClockText(environment, true));
}

void Who(Command& command) {
    command.RequireEnd();
    command.Line(command.Own().User());
}

void ListLocks(Command& command) {
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

void SwitchOption(Command& command) {
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

void Help(Command& command) {
    if (command.AtEnd()) {
        for (const CommandVerb& verb : AllCommands()) {
            command.Line(verb.help);
        }
        return;
    }
    const Text name = command.RequireName(u"a verb");
    const CommandVerb* verb = FindCommand(KeywordOf(name));
    if (verb == nullptr) {
        Refuse(name, u"is not a verb.");
    }
    command.Line(verb->help);
}

constexpr std::array kSessionVerbs{
    CommandVerb{u"DATE", Date, true, u"DATE: shows date and time"},
    CommandVerb{u"TIME", Time, true, u"TIME: shows time and date"},
    CommandVerb{u"WHO", Who, true, u"WHO: shows the user"},
    CommandVerb{u"LIST-READU", ListLocks, true, u"LIST-READU: lists the locks on records"},
    CommandVerb{u"OPTION", SwitchOption, true, u"OPTION name {ON or OFF}: switches an option"},
    CommandVerb{u"HELP", Help, true, u"HELP {verb}: tells about verbs"},
};

}  // namespace

std::span<const CommandVerb> SessionCommands() {
    return kSessionVerbs;
}

}  // namespace kel::command
