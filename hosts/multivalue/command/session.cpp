// Finds the verb of a sentence and runs it; keeps lists and options.
#include "hosts/multivalue/command/session.h"

#include <algorithm>

#include "hosts/multivalue/command/command.h"
#include "hosts/multivalue/command/verbs.h"

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
    const TextView word = FirstWord(sentence);
    const Verb* const verb = FindVerb(KeywordOf(word));
    Command command(*this, sentence, verb);
    if (word.empty()) {
        return command.Finish();
    }
    if (verb == nullptr) {
        command.Fail(Error(ErrorKind::kBadArgument,
                           Text(u"\"").append(word).append(
                               u"\" is not a verb; HELP lists those there are.")),
                     kUnknownVerb);
        return command.Finish();
    }
    try {
        command.ReadWords();
        // Half of a change of others in what a query shows would be true at no moment.
        std::optional<OneMoment> moment;
        if (verb->query) {
            moment.emplace(store_);
        }
        verb->run(command);
    } catch (const Error& error) {
        command.Fail(error);
    }
    return command.Finish();
}

std::unique_ptr<SelectList> Session::Select(TextView sentence) {
    const TextView word = FirstWord(sentence);
    const Verb* const verb = FindVerb(KeywordOf(word));
    if (verb == nullptr || verb->makeList == nullptr) {
        Refuse(word, u"is not a verb that selects records.");
    }
    Command command(*this, sentence, verb);
    command.ReadWords();
    const OneMoment moment(store_);
    return ListOf(Drain(*verb->makeList(command).list));
}

std::unique_ptr<SelectList> Session::TakeList(int number) {
    return std::move(lists_.at(static_cast<std::size_t>(number)));
}

void Session::PutList(int number, std::unique_ptr<SelectList> list) {
    lists_.at(static_cast<std::size_t>(number)) = std::move(list);
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
