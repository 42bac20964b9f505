// Environment for tests: a fixed clock, files as a map, no programs.
#pragma once

#include <map>
#include <utility>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/text/error.h"

namespace kel::conversion {

struct PlainEnvironment : Environment {
    Family family = Family::kUni;
    DateOrder dateOrder = DateOrder::kMonthFirst;
    std::int32_t today = 21146;  // 22 November 2025
    std::int32_t secondOfDay = 43200;
    // By file ("DICT NAME" for a dictionary), then by id.
    std::map<Text, std::map<Text, Text>> files;

    Family OwnFamily() const override { return family; }
    DateOrder OwnDateOrder() const override { return dateOrder; }
    std::int32_t Today() const override { return today; }
    std::int32_t SecondOfDay() const override { return secondOfDay; }

    std::optional<Text> ReadRecord(TextView file, bool dictionary, TextView id) override {
        const auto records = files.find((dictionary ? u"DICT " : u"") + Text(file));
        if (records == files.end()) {
            throw Error(ErrorKind::kNoSuchFile, u"There is no file " + Text(file) + u".");
        }
        const auto record = records->second.find(Text(id));
        return record == records->second.end() ? std::nullopt : std::optional(record->second);
    }

    void CallProgram(TextView name, std::vector<Text>& /*arguments*/) override {
        throw Error(ErrorKind::kNoSuchProgram, u"There is no program " + Text(name) + u".");
    }
};

}  // namespace kel::conversion
