// Verbs that show what a query selects.
#include <array>

#include "hosts/multivalue/command/command.h"
#include "hosts/multivalue/query/parser.h"
#include "hosts/multivalue/query/report.h"
#include "hosts/multivalue/query/selection.h"

namespace kel::command {

namespace {

Selection SelectionOf(Command& command) {
    Session& session = command.Own();
    Query query = ParseQuery(
        command.Sentence(), session.Options(), session.OwnStore(), session.OwnEnvironment());
    std::unique_ptr<SelectList> list;
    if (query.ids.empty()) {
        list = TakeSourceList(session, query.fromList, query.requiresList);
    }
    return Selection(
        std::move(query), std::move(list), session.OwnStore(), session.OwnEnvironment());
}

void List(Command& command) {
    Selection selection = SelectionOf(command);
    const std::uint64_t count =
        WriteReport(selection, command.Sentence(), command.Own().OwnEnvironment(), command);
    command.Code(count > 0 ? kRecordsListed : kNothingSelected);
}

void Count(Command& command) {
    Selection selection = SelectionOf(command);
    std::uint64_t count = 0;
    for (SelectedId entry; selection.Next(entry);) {
        ++count;
    }
    command.CountLine(count, u" record(s) counted");
    command.Code(kRecordsCounted);
}

void Sum(Command& command) {
    Selection selection = SelectionOf(command);
    if (selection.Sentence().columns.empty()) {
        Refuse(u"SUM", u"needs a field to sum up.");
    }
    const std::uint64_t count = WriteSums(selection, command.Own().OwnEnvironment(), command);
    command.Code(count > 0 ? kRecordsCounted : kNothingSelected);
}

constexpr std::array kQueryVerbs{
    CommandVerb{u"LIST", List, false, u"LIST file ...: shows records in columns"},
    CommandVerb{u"SORT", List, false, u"SORT file ...: shows records in columns, in order"},
    CommandVerb{u"COUNT", Count, false, u"COUNT file ...: counts records"},
    CommandVerb{u"SUM", Sum, false, u"SUM file field ...: sums fields up"},
};

}  // namespace

std::span<const CommandVerb> ReportCommands() {
    return kQueryVerbs;
}

}  // namespace kel::command
