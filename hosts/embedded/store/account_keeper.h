// The verbs about accounts, over account files.
#pragma once

#include "hosts/embedded/store/maintenance.h"
#include "hosts/multivalue/command/account_keeper.h"
#include "hosts/multivalue/conversion/environment.h"

namespace kel::embedded {

class AccountFileKeeper final : public command::AccountKeeper {
public:
    // `path` is the session's account; the family and the order of dates are what its indexes were
    // compiled for.
    AccountFileKeeper(text::Text path, conversion::Family family, conversion::DateOrder order)
        : path_(std::move(path)), family_(family), order_(order) {}

    Findings Check(text::TextView path) override;
    Findings Repair(text::TextView path) override;
    void Save(text::TextView target) override;
    std::uint64_t Compact() override;

private:
    text::TextView orOwn(text::TextView path) const { return path.empty() ? path_ : path; }
    IndexKeysMaker keys() const;

    text::Text path_;
    conversion::Family family_;
    conversion::DateOrder order_;
};

}  // namespace kel::embedded
