#include "hosts/multivalue/command/session.h"

#include <algorithm>

#include "hosts/multivalue/command/command.h"
#include "hosts/multivalue/query/parser.h"

namespace kel::command {

namespace {

TextView FirstWord(TextView sentence) {
    constexpr TextView kBlanks = u" \t\r\n";
    const std::size_t begin = std::min(sentence.find_first_not_of(kBlanks), sentence.size());
    sentence.remove_prefix(begin);
    return sentence.substr(0, std::min(sentence.find_first_of(kBlanks), sentence.size()));
}

}  // namespace

Session::Session(Store& store, Environment& environment)
    : store_(store), environment_(environment), indexKeys_(environment) {
    store_.UseIndexKeys(&indexKeys_);
}

Session::~Session() {
    store_.UseIndexKeys(nullptr);
}

Answer Session::Execute(TextView sentence) {
    Command command(*this, sentence);
    const TextView verb = FirstWord(sentence);
    if (verb.empty()) {
        return command.Finish();
    }
    const CommandVerb* found = FindCommand(KeywordOf(verb));
    if (found == nullptr) {
        command.Fail(Error(ErrorKind::kBadArgument,
                           Text(u"\"").append(verb).append(
                               u"\" is not a verb; HELP lists those there are.")),
                     kUnknownVerb);
        return command.Finish();
    }
    try {
        if (found->readsWords) {
            command.ReadWords();
        }
        found->run(command);
    } catch (const Error& error) {
        command.Fail(error);
    }
    return command.Finish();
}

std::unique_ptr<SelectList> Session::Select(TextView sentence) {
    const TextView verb = FirstWord(sentence);
    const Text keyword = KeywordOf(verb);
    if (keyword == u"GET-LIST" || keyword == u"QSELECT") {
        Command command(*this, sentence);
        command.ReadWords();
        return (keyword == u"QSELECT" ? ReadAttributeList(command) : ReadSavedList(command)).list;
    }
    const std::optional<QueryVerb> queryVerb = QueryVerbOf(keyword);
    if (queryVerb != QueryVerb::kSelect && queryVerb != QueryVerb::kSortedSelect) {
        Refuse(verb, u"is not a verb that selects records.");
    }
    return SelectByQuery(*this, sentence).list;
}

std::unique_ptr<SelectList> Session::TakeList(int number) {
    return std::move(lists_.at(static_cast<std::size_t>(number)));
}

void Session::PutList(int number, std::unique_ptr<SelectList> list) {
    lists_.at(static_cast<std::size_t>(number)) = std::move(list);
}

bool Session::HasList(int number) const {
    return lists_.at(static_cast<std::size_t>(number)) != nullptr;
}

bool Session::SetOption(TextView name, bool on) {
    const Text keyword = KeywordOf(name);
    bool* const option = keyword == u"QUERY-PRIORITY-AND" ? &options_.priorityAnd
                         : keyword == u"QUERY-NO-CASE"    ? &options_.noCase
                         : keyword == u"R83-WILDCARD"     ? &options_.wildcards
                                                          : nullptr;
    if (option != nullptr) {
        *option = on;
    }
    return option != nullptr;
}

}  // namespace kel::command
