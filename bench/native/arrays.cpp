// Steps in dynamic arrays against the same in a plain vector of texts, and conversions.
#include <algorithm>
#include <stdexcept>

#include "bench/native/native.h"
#include "bench/timing.h"
#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/text/dynamic_array.h"

namespace kel::bench {

using text::DynamicArray;
using text::Position;
using text::Text;
using text::TextView;

namespace {

constexpr std::size_t kAttributes = 10000;

Text Attribute(std::size_t i) {
    return u"Value " + NumberText(static_cast<long>(i));
}

Text LargeRecord(char16_t mark) {
    Text text;
    for (std::size_t i = 0; i < kAttributes; ++i) {
        text += (i == 0 ? Text() : Text(1, mark)) + Attribute(i);
    }
    return text;
}

std::vector<Text> Parts() {
    std::vector<Text> parts;
    for (std::size_t i = 0; i < kAttributes; ++i) {
        parts.push_back(Attribute(i));
    }
    return parts;
}

Position At(std::size_t i) {
    return {static_cast<std::int32_t>(i + 1), 0, 0};
}

class OneAfterTheOther {
public:
    std::size_t operator()() { return at_ = (at_ + 1) % kAttributes; }

private:
    std::size_t at_ = 0;
};

template <typename Order>
Batch Extracting(DynamicArray& array, std::size_t& units, Order next) {
    return Repeating([&, next]() mutable { units += array.Extract(At(next())).size(); });
}

template <typename Order>
Batch Copying(const std::vector<Text>& parts, std::size_t& units, Order next) {
    return Repeating([&, next]() mutable { units += Text(parts[next()]).size(); });
}

template <typename Order>
Batch Replacing(DynamicArray& array, Order next) {
    return Repeating([&, next, turn = 0]() mutable {
        array.Replace(At(next()), (++turn & 1) != 0 ? TextView(u"a longer value") : TextView(u"b"));
    });
}

template <typename Order>
Batch Assigning(std::vector<Text>& parts, Order next) {
    return Repeating([&, next, turn = 0]() mutable {
        parts[next()] = (++turn & 1) != 0 ? TextView(u"a longer value") : TextView(u"b");
    });
}

void MeasureLocate() {
    constexpr double kFewestToBeat = 8000;
    constexpr double kMostToBeat = 13000;
    const Text values = LargeRecord(text::kValueMark);
    const DynamicArray array(values);
    const std::vector<Text> parts = Parts();
    const Text last = Attribute(kAttributes - 1);
    const auto locate = [&](text::SortOrder order) {
        return Repeating([&, order] {
            if (array.Locate(last, 1, 0, order).position != kAttributes) {
                throw std::logic_error("located elsewhere");
            }
        });
    };
    const auto find = Repeating([&] {
        if (std::find(parts.begin(), parts.end(), last) == parts.end()) {
            throw std::logic_error("not found");
        }
    });
    CompareRate({"LOCATE of the last of 10,000 values", locate({})},
                {"std::find in a vector", find},
                kMostToBeat,
                kNoTarget);
    // Each value has to be compared for its order, and none of them follows the one searched.
    const Text numbers = [] {
        Text text;
        for (std::size_t i = 0; i < kAttributes; ++i) {
            text += (i == 0 ? u"" : u"\u00fd") + NumberText(static_cast<long>(10000 + i));
        }
        return text;
    }();
    const DynamicArray ordered(numbers);
    const Text greatest = NumberText(10000 + kAttributes - 1);
    const auto right = Repeating([&] {
        if (!ordered.Locate(greatest, 1, 0, text::SortOrder::Parse(u"AR")).found) {
            throw std::logic_error("not found in order");
        }
    });
    Rate({"LOCATE in the order AR, the last of 10,000", right}, kFewestToBeat);
}

// The clock is not asked for, and there are no files.
struct NoEnvironment final : conversion::Environment {
    conversion::Family OwnFamily() const override { return conversion::Family::kUni; }
    conversion::DateOrder OwnDateOrder() const override {
        return conversion::DateOrder::kMonthFirst;
    }
    std::int32_t Today() const override { return 0; }
    std::int32_t SecondOfDay() const override { return 0; }
    std::optional<Text> ReadRecord(TextView, bool, TextView) override { return std::nullopt; }
    void CallProgram(TextView, std::vector<Text>&) override {}
};

}  // namespace

void MeasureArrays() {
    PrintRateHead("arrays of 10,000 attributes");
    std::size_t units = 0;
    DynamicArray array(LargeRecord(text::kAttributeMark));
    std::vector<Text> parts = Parts();
    const Scattered scattered(kAttributes);
    CompareRate({"extract, one after the other", Extracting(array, units, OneAfterTheOther())},
                {"copy out of a vector", Copying(parts, units, OneAfterTheOther())},
                8e6,
                kNoTarget);
    CompareRate({"extract, at random", Extracting(array, units, scattered)},
                {"copy out of a vector", Copying(parts, units, scattered)},
                52000,
                kNoTarget);
    CompareRate({"replace, one after the other", Replacing(array, OneAfterTheOther())},
                {"assign in a vector", Assigning(parts, OneAfterTheOther())},
                36000,
                kNoTarget);
    CompareRate({"replace, at random", Replacing(array, scattered)},
                {"assign in a vector", Assigning(parts, scattered)},
                19000,
                kNoTarget);
    const auto append = [](auto add) {
        return Repeating([add] {
            for (std::size_t i = 0; i < kAttributes; ++i) {
                add(i == 0);
            }
        });
    };
    CompareRate({"append, up to 10,000",
                 append([made = std::make_shared<DynamicArray>()](bool afresh) {
                     if (afresh) {
                         *made = DynamicArray();
                     }
                     made->Replace({-1, 0, 0}, u"some value");
                 }),
                 kAttributes},
                {"push_back to a vector",
                 append([made = std::make_shared<std::vector<Text>>()](bool afresh) {
                     if (afresh) {
                         *made = {};
                     }
                     made->emplace_back(u"some value");
                 }),
                 kAttributes},
                kNoTarget,
                kNoTarget);
    MeasureLocate();
    if (units == 0) {
        throw std::logic_error("nothing was extracted");
    }
}

void MeasureConversions() {
    constexpr double kToBeat = 4e6;
    const struct {
        const char* name;
        TextView value;
        TextView code;
        bool isInput = false;
        double toBeat = kToBeat;
    } conversions[] = {
        {"date out, D2/", u"11748", u"D2/"},
        {"date out, D4-YMD", u"11748", u"D4-YMD[4,2,2]"},
        {"date in, D", u"29 FEB 2000", u"D", true},
        {"number out, MD2", u"1234567", u"MD2"},
        {"number out, MR2,$", u"1234567", u"MR2,$"},
        {"number out, MR2,$#15", u"1234567", u"MR2,$#15"},
        {"number in, MD2,$", u"$12,345.67", u"MD2,$", true},
        {"time out, MTHS", u"43200", u"MTHS", false, kNoTarget},
    };
    NoEnvironment environment;
    PrintRateHead("conversions");
    for (const auto& c : conversions) {
        const auto convert = [&] {
            const conversion::Converted out = c.isInput
                                                  ? conversion::Iconv(c.value, c.code, environment)
                                                  : conversion::Oconv(c.value, c.code, environment);
            if (out.status != conversion::ConversionStatus::kGood) {
                throw std::logic_error("did not convert");
            }
        };
        Rate({c.name, Repeating(convert)}, c.toBeat);
    }
}

}  // namespace kel::bench
