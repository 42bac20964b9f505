// The verbs of the command level. For session.cpp and the files of verbs only.
#pragma once

#include <optional>
#include <span>

#include "hosts/multivalue/command/command.h"
#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/text/text.h"

namespace kel::command {

struct Verb {
    TextView name;  // in the form of KeywordOf
    TextView help;
    void (*run)(Command& command);
    // The list that the verb makes, for verbs that make one.
    MadeList (*makeList)(Command& command) = nullptr;
    // A query reads its sentence by itself; other verbs are handed its words.
    std::optional<QueryVerb> query = {};
};

// All of them, by name.
std::span<const Verb> AllVerbs();
// Null when there is none. `keyword` as KeywordOf makes it.
const Verb* FindVerb(TextView keyword);

// What the verbs do. They raise kBadArgument for a mistake in the sentence, and what the store
// raises.
//
// list_verbs.cpp
void RunSelect(Command& command);
void RunSelectAttributes(Command& command);
void RunSaveList(Command& command);
void RunGetList(Command& command);
void RunDeleteList(Command& command);
void RunClearSelect(Command& command);
// query_verbs.cpp
void RunList(Command& command);
void RunCount(Command& command);
void RunSum(Command& command);
// file_verbs.cpp
void RunCreateFile(Command& command);
void RunDeleteFile(Command& command);
void RunClearFile(Command& command);
void RunListFiles(Command& command);
// record_verbs.cpp
void RunCopy(Command& command);
void RunDelete(Command& command);
void RunShowRecords(Command& command);
// index_verbs.cpp
void RunCreateIndex(Command& command);
void RunDeleteIndex(Command& command);
void RunListIndexes(Command& command);
// session_verbs.cpp
void RunDate(Command& command);
void RunTime(Command& command);
void RunWho(Command& command);
void RunListLocks(Command& command);
void RunSwitchOption(Command& command);
void RunHelp(Command& command);
// account_verbs.cpp
void RunCheckAccount(Command& command);
void RunRepairAccount(Command& command);
void RunSaveAccount(Command& command);
void RunCompact(Command& command);

}  // namespace kel::command
