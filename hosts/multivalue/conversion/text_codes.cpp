// G, L, T and <>: parts of a text.
#include "hosts/multivalue/conversion/codes.h"
#include "hosts/multivalue/text/dynamic_array.h"

namespace kel::conversion {

TextView GroupsOf(TextView text, char16_t delimiter, int skip, int count) {
    while (skip-- > 0) {
        const std::size_t end = text.find(delimiter);
        if (end == TextView::npos) {
            return {};
        }
        text.remove_prefix(end + 1);
    }
    std::size_t length = 0;
    while (count-- > 0) {
        length = text.find(delimiter, length);
        if (length == TextView::npos) {
            return text;
        }
        if (count > 0) {
            ++length;
        }
    }
    return text.substr(0, length);
}

// G{skip}delimiter{count}
Outcome ConvertGroup(const Element& element, TextView code, Text& out) {
    CodeReader reader(code);
    const int skip = reader.TakeNumber().value_or(0);
    if (reader.AtEnd()) {
        return ConversionStatus::kBadCode;
    }
    const char16_t delimiter = reader.Next();
    const int count = reader.TakeNumber().value_or(0);
    if (count == 0) {
        return ConversionStatus::kBadCode;
    }
    out.append(GroupsOf(element.value, delimiter, skip, count));
    return ConversionStatus::kGood;
}

// L gives the length; Ln and Ln,m the value if its length is at most n, or between n and m.
Outcome ConvertLength(const Element& element, TextView code, Text& out) {
    CodeReader reader(code);
    const bool hasLimits = !reader.AtEnd();
    const std::optional<int> first = reader.TakeNumber();
    std::optional<int> second;
    if (reader.Take(u',')) {
        second = reader.TakeNumber();
    }
    if ((hasLimits && !first) || !reader.AtEnd()) {
        return ConversionStatus::kBadCode;
    }
    const auto length = static_cast<std::int64_t>(element.value.size());
    if (first.value_or(0) == 0) {
        AppendInteger(out, length);
    } else if (length >= (second ? *first : 0) && length <= second.value_or(*first)) {
        out.append(element.value);
    }
    return ConversionStatus::kGood;
}

// Tn: the last n characters; Tm,n: n characters from the m-th.
Outcome ConvertExtraction(const Element& element, TextView code, Text& out) {
    CodeReader reader(code);
    const std::optional<int> first = reader.TakeNumber();
    std::optional<int> second;
    const bool hasSecond = reader.Take(u',');
    if (hasSecond) {
        second = reader.TakeNumber();
    }
    if (!first || (hasSecond && !second) || !reader.AtEnd()) {
        return ConversionStatus::kBadCode;
    }
    const TextView value = element.value;
    const auto leading = static_cast<std::size_t>(*first);
    if (!second) {
        out.append(value.substr(value.size() - std::min(leading, value.size())));
    } else {
        const std::size_t from = leading == 0 ? 0 : leading - 1;
        out.append(value.substr(std::min(from, value.size()), static_cast<std::size_t>(*second)));
    }
    return ConversionStatus::kGood;
}

// <attribute,value,subvalue> of a text that is a whole record.
Outcome ConvertPosition(const Element& element, TextView code, Text& out) {
    CodeReader reader(code);
    int positions[3] = {};
    std::size_t count = 0;
    do {
        const std::optional<int> number = reader.TakeNumber();
        if (!number || count == std::size(positions)) {
            return ConversionStatus::kBadCode;
        }
        positions[count++] = *number;
    } while (reader.Take(u','));
    if (!reader.Take(u'>') || !reader.AtEnd()) {
        return ConversionStatus::kBadCode;
    }
    out.append(DynamicArray(Text(element.value))
                   .Extract({std::max(positions[0], 1), positions[1], positions[2]}));
    return ConversionStatus::kGood;
}

}  // namespace kel::conversion
