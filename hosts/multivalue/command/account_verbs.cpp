// Verbs about the account as a whole.
#include <array>

#include "hosts/multivalue/command/account_keeper.h"
#include "hosts/multivalue/command/command.h"

namespace kel::command {

namespace {

AccountKeeper& RequireKeeper(Command& command) {
    AccountKeeper* keeper = command.Own().Keeper();
    if (keeper == nullptr) {
        Refuse(u"This account is kept nowhere.");
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

void CheckAccount(Command& command) {
    AccountKeeper& keeper = RequireKeeper(command);
    Report(command, keeper.Check(TakePath(command)), kAccountSound);
}

void RepairAccount(Command& command) {
    AccountKeeper& keeper = RequireKeeper(command);
    Report(command, keeper.Repair(TakePath(command)), kAccountRepaired);
}

void SaveAccount(Command& command) {
    AccountKeeper& keeper = RequireKeeper(command);
    const Text target = command.RequireName(u"the path of the copy");
    command.RequireEnd();
    keeper.Save(target);
    command.Line(u"Account saved to \"" + target + u"\".");
    command.Code(kAccountSaved);
}

constexpr std::array kAccountVerbs{
    CommandVerb{u"CHECK-ACCOUNT",
                CheckAccount,
                true,
                u"CHECK-ACCOUNT {'path'}: reads everything and says whether it is sound"},
    CommandVerb{u"REPAIR-ACCOUNT",
                RepairAccount,
                true,
                u"REPAIR-ACCOUNT {'path'}: mends what is not; a damaged one is kept beside it"},
    CommandVerb{u"SAVE-ACCOUNT",
                SaveAccount,
                true,
                u"SAVE-ACCOUNT 'path': copies the account while it is in use"},
};

}  // namespace

std::span<const CommandVerb> AccountCommands() {
    return kAccountVerbs;
}

}  // namespace kel::command
