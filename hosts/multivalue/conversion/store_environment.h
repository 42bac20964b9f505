// Environment made of a store and the system's clock.
#pragma once

#include <map>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/store/store.h"

namespace kel::conversion {

class StoreEnvironment : public Environment {
public:
    // The store is borrowed.
    explicit StoreEnvironment(Store& store,
                              Family family = Family::kUni,
                              DateOrder order = DateOrder::kMonthFirst)
        : store_(store), family_(family), dateOrder_(order) {}

    void SetFamily(Family family) { family_ = family; }

    Family OwnFamily() const override { return family_; }
    DateOrder OwnDateOrder() const override { return dateOrder_; }
    std::int32_t Today() const override;
    std::int32_t SecondOfDay() const override;
    std::optional<Text> ReadRecord(TextView file, bool dictionary, TextView id) override;
    // There are none: raises kNoSuchProgram.
    void CallProgram(TextView name, std::vector<Text>& arguments) override;

private:
    Store& store_;
    Family family_;
    DateOrder dateOrder_;
    std::map<Text, FileNumber, std::less<>> files_;  // dictionary names with their prefix
};

}  // namespace kel::conversion
