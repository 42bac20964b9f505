// One session with one account while it is open: the store, the command level over it, stored
// programs, and what was handed out and must not outlive it.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "hosts/embedded/call_limit.h"
#include "hosts/embedded/programs.h"
#include "hosts/embedded/store/account_keeper.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"
#include "hosts/multivalue/expression/correlative_evaluator.h"

namespace kel::embedded {

class Connection;

// A list as a client holds it. Empty once closed, or once the connection is. Whoever takes an id
// from it holds connection and list meanwhile: working out the next id may run programs, which may
// close either.
struct OpenList {
    std::shared_ptr<query::SelectList> list;
    std::weak_ptr<Connection> connection;
    bool isBusy = false;
};

// The account's environment, with stored programs.
class AccountEnvironment final : public conversion::StoreEnvironment {
public:
    AccountEnvironment(store::Store& store, conversion::Family family, conversion::DateOrder order)
        : StoreEnvironment(store, family, order) {}

    void UsePrograms(Programs& programs) { programs_ = &programs; }

    void CallProgram(text::TextView name, std::vector<text::Text>& arguments) override;

private:
    Programs* programs_ = nullptr;
};

struct ConnectionOptions {
    text::Text path;
    StoreOptions store;
    conversion::Family family = conversion::Family::kUni;
    conversion::DateOrder dateOrder = conversion::DateOrder::kMonthFirst;
    std::uint32_t lockWaitMs = 0;
    std::uint32_t timeLimitMs = 0;  // 0: none
    ProgramTrust programs = ProgramTrust::kSealed;
    automation::ComPtr<IDispatch> application;
};

// A connection belongs to its host and to each call that works with it. A call may run programs,
// and these may end the connection: what they call afterwards is refused, and the call itself goes
// on with what it holds. The account's file is closed when the last of these calls returns.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    // Throws what OpenStore throws.
    explicit Connection(const ConnectionOptions& options);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // No program runs any more, lists are closed, locks are given up. Objects that are let go of
    // may call back.
    void end() noexcept;

    store::Store& store() { return *store_; }
    command::Session& session() { return session_; }
    AccountEnvironment& environment() { return environment_; }
    Programs& programs() { return programs_; }
    std::uint32_t lockWaitMs() const { return lockWaitMs_; }
    CallLimit& limit() { return limit_; }

    // Does the work of a call that may run sentences and programs, within the time limit: when the
    // time is over, all that the work changed is undone and kTimeLimit raised. Calls from within
    // are part of it.
    template <typename Work>
    void run(Work&& work) {
        if (!beginCall()) {
            work();
            return;
        }
        try {
            work();
        } catch (...) {
            endCall();  // tells the end of time rather than what came of it
            throw;
        }
        endCall();
    }
    // A number of its own in the process.
    unsigned long number() const { return number_; }

    // A list to hand out.
    std::shared_ptr<OpenList> handOut(std::unique_ptr<query::SelectList> list);

    // Works out a correlative in its internal form; evaluators are kept from call to call. Throws
    // for a form that is none.
    automation::Bstr evaluate(text::TextView internalForm, expression::EvaluationInput input);

private:
    bool beginCall();
    void endCall();

    using Evaluators =
        std::map<text::Text, std::unique_ptr<expression::CorrelativeEvaluator>, std::less<>>;

    CallLimit limit_;
    std::unique_ptr<AccountStore> store_;
    AccountEnvironment environment_;
    AccountFileKeeper keeper_;
    command::Session session_;
    Programs programs_;
    std::uint32_t lockWaitMs_;
    unsigned long number_;
    std::vector<std::weak_ptr<OpenList>> lists_;
    // Those at rest: one that works may be asked for again by a program that it runs.
    Evaluators evaluators_;
};

}  // namespace kel::embedded
