// Sums, extremes and numbering over the elements of a text.
#include "hosts/multivalue/expression/element_functions.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::expression {

namespace {

// Calls visit(element) for every element of `text` above the marks in `marks`.
template <typename Visitor>
void VisitElements(TextView text, UnitRange marks, Visitor visit) {
    while (true) {
        const std::size_t end = FindInRange(text.data(), text.size(), marks);
        visit(text.substr(0, end));
        if (end == text.size()) {
            return;
        }
        text.remove_prefix(end + 1);
    }
}

}  // namespace

Number TotalOf(TextView text) {
    Number total;
    VisitElements(text, kElementMarks, [&total](TextView element) {
        total = Number::Calculate(Arithmetic::kAdd, total, Number::OrZero(element));
    });
    return total;
}

void AppendSums(TextView text, Text& out) {
    for (char16_t mark = kSubvalueMark; mark < kAttributeMark; ++mark) {
        if (text.find(mark) == TextView::npos) {
            continue;
        }
        const UnitRange above{static_cast<char16_t>(mark + 1), kAttributeMark};
        while (true) {
            const std::size_t end = FindInRange(text.data(), text.size(), above);
            TotalOf(text.substr(0, end)).AppendTo(out);
            if (end == text.size()) {
                return;
            }
            out.push_back(text[end]);
            text.remove_prefix(end + 1);
        }
    }
    TotalOf(text).AppendTo(out);
}

void AppendExtreme(TextView text, int wanted, Text& out) {
    std::optional<Number> extreme;
    VisitElements(text, kElementMarks, [&](TextView element) {
        std::optional<Number> number = Number::Parse(element);
        if (number && (!extreme || Number::Compare(*number, *extreme) == wanted)) {
            extreme = std::move(number);
        }
    });
    if (extreme) {
        extreme->AppendTo(out);
    }
}

void ValueCounts::Add(TextView field) {
    std::size_t value = 0;
    VisitElements(field, {kValueMark, kAttributeMark}, [&](TextView element) {
        const std::size_t parts = CountOf(element, TextView(&kSubvalueMark, 1), Overlap::kNo) + 1;
        if (value == counts_.size()) {
            counts_.push_back(1);
        }
        counts_[value] = std::max(counts_[value], parts);
        ++value;
    });
}

void ValueCounts::AppendValueNumbers(Text& out) const {
    for (std::size_t value = 1; value <= counts_.size(); ++value) {
        if (value > 1) {
            out.push_back(kValueMark);
        }
        AppendInteger(out, static_cast<std::int64_t>(value));
    }
}

void ValueCounts::AppendSubvalueNumbers(Text& out) const {
    for (std::size_t value = 0; value < counts_.size(); ++value) {
        if (value > 0) {
            out.push_back(kValueMark);
        }
        for (std::size_t part = 1; part <= counts_[value]; ++part) {
            if (part > 1) {
                out.push_back(kSubvalueMark);
            }
            AppendInteger(out, static_cast<std::int64_t>(part));
        }
    }
}

}  // namespace kel::expression
