// Surroundings that know the record being worked on, for the conversion codes that name its fields.
#pragma once

#include "hosts/multivalue/record_fields.h"
#include "hosts/multivalue/surroundings.h"

namespace kel::multivalue {

class RecordSurroundings : public Surroundings {
public:
    // All are borrowed.
    RecordSurroundings(Surroundings& around, RecordFields& record, TextView id)
        : around_(around), record_(record), id_(id) {}

    Family OwnFamily() const override { return around_.OwnFamily(); }
    DateOrder OwnDateOrder() const override { return around_.OwnDateOrder(); }
    std::int32_t Today() const override { return around_.Today(); }
    std::int32_t SecondOfDay() const override { return around_.SecondOfDay(); }
    std::optional<Text> ReadRecord(TextView file, bool dictionary, TextView id) override {
        return around_.ReadRecord(file, dictionary, id);
    }
    void CallProgram(TextView name, std::vector<Text>& arguments) override {
        around_.CallProgram(name, arguments);
    }

    Text FieldOfRecord(std::int32_t number) override {
        return Text(number == 0 ? id_ : record_.Attribute(number));
    }

private:
    Surroundings& around_;
    RecordFields& record_;
    TextView id_;
};

}  // namespace kel::multivalue
