// Environment that know the record being worked on, for the conversion codes that name its fields.
#pragma once

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/text/record_fields.h"

namespace kel::expression {

class RecordEnvironment : public Environment {
public:
    // All are borrowed.
    RecordEnvironment(Environment& environment, RecordFields& record, TextView id)
        : environment_(environment), record_(record), id_(id) {}

    Family OwnFamily() const override { return environment_.OwnFamily(); }
    DateOrder OwnDateOrder() const override { return environment_.OwnDateOrder(); }
    std::int32_t Today() const override { return environment_.Today(); }
    std::int32_t SecondOfDay() const override { return environment_.SecondOfDay(); }
    std::optional<Text> ReadRecord(TextView file, bool dictionary, TextView id) override {
        return environment_.ReadRecord(file, dictionary, id);
    }
    void CallProgram(TextView name, std::vector<Text>& arguments) override {
        environment_.CallProgram(name, arguments);
    }

    Text FieldOfRecord(std::int32_t number) override {
        return Text(number == 0 ? id_ : record_.Attribute(number));
    }

private:
    Environment& environment_;
    RecordFields& record_;
    TextView id_;
};

}  // namespace kel::expression
