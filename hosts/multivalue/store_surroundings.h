// Surroundings made of a store and the system's clock.
#pragma once

#include <map>

#include "hosts/multivalue/store.h"
#include "hosts/multivalue/surroundings.h"

namespace kel::multivalue {

// The file that holds the dictionary of `file`.
Text DictionaryFileName(TextView file);

// Whether a record could have this id.
bool CanBeId(TextView id);

// A file by its name as written, else in capitals. Raises kNoSuchFile.
struct NamedFile {
    FileNumber number{};
    Text name;  // as the store has it
};
NamedFile RequireFile(Store& store, TextView name);

class StoreSurroundings : public Surroundings {
public:
    // The store is borrowed.
    explicit StoreSurroundings(Store& store,
                               Family family = Family::kUni,
                               DateOrder order = DateOrder::kMonthFirst)
        : store_(store), family_(family), dateOrder_(order) {}

    void SetFamily(Family family) { family_ = family; }
    void SetDateOrder(DateOrder order) { dateOrder_ = order; }

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

}  // namespace kel::multivalue
