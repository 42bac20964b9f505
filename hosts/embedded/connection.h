// One session with one account while it is open: the store, the command level over it, stored
// programs, and what was handed out and must not outlive it.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "hosts/embedded/programs.h"
#include "hosts/embedded/store/account_keeper.h"
#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/correlative_evaluator.h"
#include "hosts/multivalue/session.h"
#include "hosts/multivalue/store_surroundings.h"

namespace kel::embedded {

// A list as a client holds it. Empty once closed, or once the connection is.
struct OpenList {
    std::unique_ptr<multivalue::SelectList> list;
};

// The account's surroundings, with stored programs.
class AccountSurroundings final : public multivalue::StoreSurroundings {
public:
    AccountSurroundings(multivalue::Store& store,
                        multivalue::Family family,
                        multivalue::DateOrder order)
        : StoreSurroundings(store, family, order) {}

    void UsePrograms(Programs& programs) { programs_ = &programs; }

    void CallProgram(multivalue::TextView name, std::vector<multivalue::Text>& arguments) override;

private:
    Programs* programs_ = nullptr;
};

struct ConnectionOptions {
    multivalue::Text path;
    StoreOptions store;
    multivalue::Family family = multivalue::Family::kUni;
    multivalue::DateOrder dateOrder = multivalue::DateOrder::kMonthFirst;
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

    multivalue::Store& store() { return *store_; }
    multivalue::Session& session() { return session_; }
    AccountSurroundings& around() { return around_; }
    Programs& programs() { return programs_; }
    std::uint32_t lockWaitMs() const { return lockWaitMs_; }
    // A number of its own in the process.
    unsigned long number() const { return number_; }

    // A list to hand out.
    std::shared_ptr<OpenList> handOut(std::unique_ptr<multivalue::SelectList> list);

    // The evaluator for a correlative in its internal form, kept from call to call. Throws for a
    // form that is none.
    multivalue::CorrelativeEvaluator& evaluator(multivalue::TextView internalForm);

private:
    std::unique_ptr<multivalue::Store> store_;
    AccountSurroundings around_;
    AccountFileKeeper keeper_;
    multivalue::Session session_;
    Programs programs_;
    std::uint32_t lockWaitMs_;
    unsigned long number_;
    std::vector<std::weak_ptr<OpenList>> lists_;
    std::map<multivalue::Text, std::unique_ptr<multivalue::CorrelativeEvaluator>, std::less<>>
        evaluators_;
};

}  // namespace kel::embedded
