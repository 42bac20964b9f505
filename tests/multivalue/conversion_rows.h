// Rows of values, codes and results, and what holds conversions against them.
#pragma once

#include <gtest/gtest.h>

#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/text/error.h"
#include "tests/support/plain_environment.h"
#include "tests/support/text_support.h"

namespace kel::conversion {

struct Row {
    const char* value;
    const char* code;  // ] parts several
    const char* result;
    int status = 0;
};

using Convert = Converted (*)(TextView, TextView, Environment&);

struct ConversionTest : testing::Test {
    void Check(Convert convert, std::initializer_list<Row> rows) {
        for (const Row& row : rows) {
            const Converted got = convert(Marked(row.value), Marked(row.code), environment);
            EXPECT_EQ(Drawn(got.value), row.result) << row.value << " by " << row.code;
            EXPECT_EQ(static_cast<int>(got.status), row.status) << row.value << " by " << row.code;
        }
    }
    void Out(std::initializer_list<Row> rows) { Check(Oconv, rows); }
    void In(std::initializer_list<Row> rows) { Check(Iconv, rows); }

    // What is shown is also what is read.
    void Both(std::initializer_list<Row> rows) {
        for (const Row& row : rows) {
            Out({row});
            In({{row.result, row.code, row.value}});
        }
    }

    // A code without ] of its own, so that brackets can be written.
    std::string One(Convert convert, const char* value, std::string_view code) {
        const Text plain(code.begin(), code.end());
        const Converted got = convert(Marked(value), plain, environment);
        return Drawn(got.value) + (got.status == ConversionStatus::kGood ? "" : " refused");
    }

    PlainEnvironment environment;
};

}  // namespace kel::conversion
