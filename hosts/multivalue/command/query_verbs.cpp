// Verbs that show what a query selects.
#include "hosts/multivalue/command/verbs.h"
#include "hosts/multivalue/query/parser.h"
#include "hosts/multivalue/query/report.h"
#include "hosts/multivalue/query/selection.h"

namespace kel::command {

namespace {

Selection SelectionOf(Command& command) {
    Session& session = command.Own();
    Query query = ParseOwnQuery(command);
    std::unique_ptr<SelectList> list;
    if (query.ids.empty()) {
        list = TakeSourceList(session, query.fromList, query.requiresList);
    }
    return Selection(
        std::move(query), std::move(list), session.OwnStore(), session.OwnEnvironment());
}

}  // namespace

Query ParseOwnQuery(const Command& command) {
    Session& session = command.Own();
    return ParseQuery(*command.OwnVerb().query,
                      command.Sentence(),
                      session.Options(),
                      session.OwnStore(),
                      session.OwnEnvironment());
}

void RunList(Command& command) {
    Selection selection = SelectionOf(command);
    const std::uint64_t count =
        WriteReport(selection, command.Sentence(), command.Own().OwnEnvironment(), command);
    command.Code(count > 0 ? kRecordsListed : kNothingSelected);
}

void RunCount(Command& command) {
    Selection selection = SelectionOf(command);
    std::uint64_t count = 0;
    for (SelectedId entry; selection.Next(entry);) {
        ++count;
    }
    command.CountLine(count, u" record(s) counted");
    command.Code(kRecordsCounted);
}

void RunSum(Command& command) {
    Selection selection = SelectionOf(command);
    if (selection.Sentence().columns.empty()) {
        Refuse(u"SUM", u"needs a field to sum up.");
    }
    const std::uint64_t count = WriteSums(selection, command.Own().OwnEnvironment(), command);
    command.Code(count > 0 ? kRecordsCounted : kNothingSelected);
}

}  // namespace kel::command
