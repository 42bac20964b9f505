// The verbs about accounts, over account files.
#pragma once

#include "hosts/embedded/store/maintenance.h"
#include "hosts/multivalue/account_keeper.h"
#include "hosts/multivalue/surroundings.h"

namespace kel::embedded {

class AccountFileKeeper final : public multivalue::AccountKeeper {
public:
    // `path` is the session's account; the family and the order of dates are what its indexes were
    // compiled for.
    AccountFileKeeper(multivalue::Text path, multivalue::Family family, multivalue::DateOrder order)
        : path_(std::move(path)), family_(family), order_(order) {}

    Findings Check(multivalue::TextView path) override;
    Findings Repair(multivalue::TextView path) override;
    void Save(multivalue::TextView target) override;

private:
    multivalue::TextView orOwn(multivalue::TextView path) const {
        return path.empty() ? path_ : path;
    }
    IndexKeysMaker keys() const;

    multivalue::Text path_;
    multivalue::Family family_;
    multivalue::DateOrder order_;
};

}  // namespace kel::embedded
