// The command level of an account: runs sentences, keeps active select lists and options.
//
//     StoreEnvironment environment(store);
//     Session session(store, environment);
//     session.Execute(u"SSELECT ORDERS WITH TOTAL > 100").output  // "12 record(s) selected to ..."
//     auto list = session.Select(u"SELECT ORDERS BY DATE");
//
// Words of the language may be written in any case, and with dots or hyphens alike. Names of files
// are tried as they are written, then in capitals.
//
// One thread at a time.
#pragma once

#include <array>
#include <memory>
#include <optional>

#include "hosts/multivalue/command/account_keeper.h"
#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/index_fields.h"
#include "hosts/multivalue/query/options.h"
#include "hosts/multivalue/query/select_list.h"
#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/text.h"

namespace kel::command {

// Message numbers of answers. Clients look at them: never renumber.
inline constexpr int kUnknownVerb = 3;
inline constexpr int kMistake = 10;
inline constexpr int kNothingSelected = 401;
inline constexpr int kRecordsSelected = 404;
inline constexpr int kRecordsListed = 405;
inline constexpr int kRecordsCounted = 407;
inline constexpr int kFileCreated = 417;
inline constexpr int kFileDeleted = 418;
inline constexpr int kFileCleared = 419;
inline constexpr int kRecordsCopied = 420;
inline constexpr int kRecordsDeleted = 421;
inline constexpr int kListSaved = 422;
inline constexpr int kListDeleted = 423;
inline constexpr int kIndexCreated = 424;
inline constexpr int kIndexDeleted = 425;
inline constexpr int kAccountSound = 426;
inline constexpr int kAccountDamaged = 427;
inline constexpr int kAccountRepaired = 428;
inline constexpr int kAccountSaved = 429;
inline constexpr int kLockListed = 430;  // file, id, user, process
inline constexpr int kAccountCompacted = 431;

// What a sentence answers.
struct Answer {
    Text output;  // lines parted by attribute marks, no mark behind the last
    // Message numbers, parted by attribute marks; behind a number, parted by value marks, what the
    // message is about, for programs.
    Text codes;
    // Why the account did not do what the sentence asks for; kBadArgument: a mistake in it.
    std::optional<ErrorKind> failure = {};
};

class Session {
public:
    // Both are borrowed. The session makes itself the store's teller of index keys.
    Session(Store& store, Environment& environment);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    // Runs a sentence. Mistakes, and what the store refuses, are part of the answer; nothing but
    // std::bad_alloc is thrown.
    Answer Execute(TextView sentence);

    // Runs a sentence that makes a list (SELECT, SSELECT, QSELECT, GET-LIST) and hands the list
    // out, complete and of one moment; the active lists stay as they are, but a list the sentence
    // works on is used up. Raises kBadArgument for a mistake
    // and what the store raises.
    std::unique_ptr<SelectList> Select(TextView sentence);

    // Active lists, from 0 to kActiveLists - 1. Taking leaves none; null when there is none.
    std::unique_ptr<SelectList> TakeList(int number);
    void PutList(int number, std::unique_ptr<SelectList> list);

    // False when there is no such option.
    bool SetOption(TextView name, bool on);
    const QueryOptions& Options() const { return options_; }

    void SetUser(Text user) { user_ = std::move(user); }
    const Text& User() const { return user_; }

    // What looks after the account as a whole, borrowed; without one those verbs are refused.
    void UseKeeper(AccountKeeper* keeper) { keeper_ = keeper; }
    AccountKeeper* Keeper() const { return keeper_; }

    // While a program that is not trusted runs, sentences keep to the records of the account.
    void Confine(bool on) { isConfined_ = on; }
    bool IsConfined() const { return isConfined_; }

    Store& OwnStore() { return store_; }
    Environment& OwnEnvironment() { return environment_; }

private:
    Store& store_;
    Environment& environment_;
    FieldIndexKeys indexKeys_;
    QueryOptions options_;
    Text user_;
    AccountKeeper* keeper_ = nullptr;
    bool isConfined_ = false;
    std::array<std::unique_ptr<SelectList>, kActiveLists> lists_;
};

}  // namespace kel::command
