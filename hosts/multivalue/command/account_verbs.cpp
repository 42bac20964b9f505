// Verbs about the account as a whole.
#include "hosts/multivalue/command/account_keeper.h"
#include "hosts/multivalue/command/verbs.h"

namespace kel::command {

namespace {

AccountKeeper& RequireKeeper(Command& command) {
    AccountKeeper* keeper = command.Own().Keeper();
    if (keeper == nullptr) {
        Refuse(u"This account is kept nowhere.");
    }
    if (command.Own().IsConfined()) {
        throw Error(ErrorKind::kNotTrusted,
                    u"A sealed program may not check, repair or save accounts.");
    }
    return *keeper;
}

// The account of the session, or the one named.
Text TakePath(Command& command) {
    Text path = command.AtEnd() ? Text() : command.Take().text;
    command.RequireEnd();
    return path;
}

void Report(Command& command, const AccountKeeper::Findings& findings, int soundCode) {
    for (const Text& line : findings.lines) {
        command.Line(line);
    }
    command.Code(findings.isSound ? soundCode : kAccountDamaged);
}

}  // namespace

void RunCheckAccount(Command& command) {
    AccountKeeper& keeper = RequireKeeper(command);
    Report(command, keeper.Check(TakePath(command)), kAccountSound);
}

void RunRepairAccount(Command& command) {
    AccountKeeper& keeper = RequireKeeper(command);
    Report(command, keeper.Repair(TakePath(command)), kAccountRepaired);
}

void RunSaveAccount(Command& command) {
    AccountKeeper& keeper = RequireKeeper(command);
    const Text target = command.RequireName(u"the path of the copy");
    command.RequireEnd();
    keeper.Save(target);
    command.Line(u"Account saved to \"" + target + u"\".");
    command.Code(kAccountSaved);
}

void RunCompact(Command& command) {
    AccountKeeper& keeper = RequireKeeper(command);
    command.RequireEnd();
    command.CountLine(keeper.Compact(), u" byte(s) given back.");
    command.Code(kAccountCompacted);
}

}  // namespace kel::command
