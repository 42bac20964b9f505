// One session with one account while it is open: the store, the command level over it, stored
// programs, and what was handed out and must not outlive it.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "hosts/embedded/programs.h"
#include "hosts/embedded/store/account_keeper.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"
#include "hosts/multivalue/expression/correlative_evaluator.h"

namespace kel::embedded {

// A list as a client holds it. Empty once closed, or once the connection is.
struct OpenList {
    std::unique_ptr<query::SelectList> list;
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
    automation::ComPtr<IDispatch> application;
};

class Connection {
public:
    // Throws what OpenStore throws.
    explicit Connection(const ConnectionOptions& options);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    store::Store& store() { return *store_; }
    command::Session& session() { return session_; }
    AccountEnvironment& environment() { return environment_; }
    Programs& programs() { return programs_; }
    std::uint32_t lockWaitMs() const { return lockWaitMs_; }
    // A number of its own in the process.
    unsigned long number() const { return number_; }

    // A list to hand out.
    std::shared_ptr<OpenList> handOut(std::unique_ptr<query::SelectList> list);

    // The evaluator for a correlative in its internal form, kept from call to call. Throws for a
    // form that is none.
    expression::CorrelativeEvaluator& evaluator(text::TextView internalForm);

private:
    std::unique_ptr<store::Store> store_;
    AccountEnvironment environment_;
    AccountFileKeeper keeper_;
    command::Session session_;
    Programs programs_;
    std::uint32_t lockWaitMs_;
    unsigned long number_;
    std::vector<std::weak_ptr<OpenList>> lists_;
    std::map<text::Text, std::unique_ptr<expression::CorrelativeEvaluator>, std::less<>>
        evaluators_;
};

}  // namespace kel::embedded
