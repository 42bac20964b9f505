// The one table of verbs.
#include "hosts/multivalue/command/verbs.h"

#include <algorithm>

namespace kel::command {

namespace {

constexpr Verb kVerbs[] = {
    {u"CHECK-ACCOUNT",
     u"CHECK-ACCOUNT {'path'}: reads everything and says whether it is sound",
     RunCheckAccount},
    {u"CLEAR-FILE", u"CLEAR-FILE {DICT} name {OVERRIDE}: deletes all records", RunClearFile},
    {u"CLEARSELECT", u"CLEARSELECT {n or ALL}: drops active lists", RunClearSelect},
    {u"COMPACT", u"COMPACT: gives back the space of what was deleted from the account", RunCompact},
    {u"COPY",
     u"COPY FROM {DICT} file {TO {DICT} file} id ... {OVERWRITING} {DELETING} "
     u"{OVERRIDE}: copies records; id,new gives them other ids",
     RunCopy},
    {u"COUNT", u"COUNT file ...: counts records", RunCount, nullptr, QueryVerb::kCount},
    {u"CREATE-FILE", u"CREATE-FILE {DICT or DATA} name: makes a file", RunCreateFile},
    {u"CREATE-INDEX", u"CREATE-INDEX file field ...: makes indexes", RunCreateIndex},
    {u"CT", u"CT {DICT} file id ... or ALL: shows records as stored", RunShowRecords},
    {u"DATE", u"DATE: shows date and time", RunDate},
    {u"DELETE", u"DELETE {DICT} file id ... or ALL {OVERRIDE}: deletes records", RunDelete},
    {u"DELETE-FILE", u"DELETE-FILE {DICT or DATA} name {OVERRIDE}: drops a file", RunDeleteFile},
    {u"DELETE-INDEX", u"DELETE-INDEX file field ... or ALL: drops indexes", RunDeleteIndex},
    {u"DELETE-LIST", u"DELETE-LIST name: drops a saved list", RunDeleteList},
    {u"GET-LIST", u"GET-LIST name {TO n}: makes a saved list active", RunGetList, ReadSavedList},
    {u"HELP", u"HELP {verb}: tells about verbs", RunHelp},
    {u"LIST", u"LIST file ...: shows records in columns", RunList, nullptr, QueryVerb::kList},
    {u"LIST-INDEX", u"LIST-INDEX file: lists the indexes of a file", RunListIndexes},
    {u"LIST-READU", u"LIST-READU: lists the locks on records", RunListLocks},
    {u"LISTF", u"LISTF: lists the files of the account", RunListFiles},
    {u"OPTION", u"OPTION name {ON or OFF}: switches an option", RunSwitchOption},
    {u"QSELECT",
     u"QSELECT file id ... {FIELD n}: makes a list of the attributes of records",
     RunSelectAttributes,
     ReadAttributeList},
    {u"REPAIR-ACCOUNT",
     u"REPAIR-ACCOUNT {'path'}: mends what is not; a damaged one is kept beside it",
     RunRepairAccount},
    {u"SAVE-ACCOUNT",
     u"SAVE-ACCOUNT 'path': copies the account while it is in use",
     RunSaveAccount},
    {u"SAVE-LIST", u"SAVE-LIST name {FROM n}: keeps an active list", RunSaveList},
    {u"SELECT",
     u"SELECT file ...: makes a list of ids",
     RunSelect,
     SelectByQuery,
     QueryVerb::kSelect},
    {u"SORT",
     u"SORT file ...: shows records in columns, in order",
     RunList,
     nullptr,
     QueryVerb::kSortedList},
    {u"SSELECT",
     u"SSELECT file ...: makes a sorted list of ids",
     RunSelect,
     SelectByQuery,
     QueryVerb::kSortedSelect},
    {u"SUM", u"SUM file field ...: sums fields up", RunSum, nullptr, QueryVerb::kSum},
    {u"TIME", u"TIME: shows time and date", RunTime},
    {u"WHO", u"WHO: shows the user", RunWho},
};
static_assert(std::ranges::is_sorted(kVerbs, {}, &Verb::name));

}  // namespace

std::span<const Verb> AllVerbs() {
    return kVerbs;
}

const Verb* FindVerb(TextView keyword) {
    const Verb* found = std::ranges::lower_bound(kVerbs, keyword, {}, &Verb::name);
    return found != std::end(kVerbs) && found->name == keyword ? found : nullptr;
}

}  // namespace kel::command
