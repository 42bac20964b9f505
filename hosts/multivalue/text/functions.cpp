// The functions on whole texts.
#include "hosts/multivalue/text/functions.h"

#include <algorithm>

#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/record_fields.h"

namespace kel::text {

namespace {

std::size_t AsCount(std::int32_t number) {
    return number < 0 ? 0 : static_cast<std::size_t>(number);
}

}  // namespace

TextView Substring(TextView text, std::int32_t start, std::int32_t length) {
    const std::size_t from = AsCount(std::max(start, 1)) - 1;
    return from >= text.size() ? TextView() : text.substr(from, AsCount(length));
}

TextView FirstUnits(TextView text, std::int32_t length) {
    return text.substr(0, AsCount(length));
}

TextView LastUnits(TextView text, std::int32_t length) {
    return text.substr(text.size() - std::min(text.size(), AsCount(length)));
}

TextView FieldsOf(TextView text, TextView delimiter, std::int32_t first, std::int32_t count) {
    if (delimiter.empty()) {
        return first <= 1 ? text : TextView();
    }
    const char16_t unit = delimiter.front();
    for (; first > 1; --first) {
        const std::size_t end = text.find(unit);
        if (end == TextView::npos) {
            return {};
        }
        text.remove_prefix(end + 1);
    }
    std::size_t end = text.find(unit);
    for (; count > 1 && end != TextView::npos; --count) {
        end = text.find(unit, end + 1);
    }
    return text.substr(0, end);
}

std::size_t IndexOf(TextView text, TextView part, std::int32_t occurrence) {
    if (part.empty()) {
        return 1;
    }
    std::size_t at = text.find(part);
    for (; occurrence > 1 && at != TextView::npos; --occurrence) {
        at = text.find(part, at + 1);
    }
    return at == TextView::npos ? 0 : at + 1;
}

std::size_t CountOf(TextView text, TextView part, Overlap overlap) {
    if (part.empty()) {
        return text.size();
    }
    const std::size_t step = overlap == Overlap::kYes ? 1 : part.size();
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != TextView::npos; at = text.find(part, at + step)) {
        ++count;
    }
    return count;
}

void AppendUpper(TextView text, Text& out) {
    for (const char16_t unit : text) {
        out.push_back(UpperAscii(unit));
    }
}

Text Upper(TextView text) {
    Text upper;
    AppendUpper(text, upper);
    return upper;
}

Text Quoted(TextView text) {
    Text quoted = u"'";
    for (const char16_t unit : text) {
        quoted.append(unit == u'\'' ? 2 : 1, unit);
    }
    return quoted + u"'";
}

void AppendLower(TextView text, Text& out) {
    for (const char16_t unit : text) {
        out.push_back(LowerAscii(unit));
    }
}

void AppendTrimmed(TextView text, char16_t unit, char16_t option, Text& out) {
    const TextView options(&option, 1);
    if (option == u'D') {
        unit = u' ';
    }
    if (TextView(u"LFBRD").find(options) != TextView::npos) {
        text.remove_prefix(std::min(text.find_first_not_of(unit), text.size()));
    }
    if (TextView(u"TEBRD").find(options) != TextView::npos) {
        text = text.substr(0, text.find_last_not_of(unit) + 1);
    }
    const bool all = option == u'A';
    const bool repeated = option == u'R' || option == u'D';
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool drop = text[i] == unit && (all || (repeated && i > 0 && text[i - 1] == unit));
        if (!drop) {
            out.push_back(text[i]);
        }
    }
}

void AppendChanged(TextView text,
                   TextView part,
                   TextView replacement,
                   std::int32_t count,
                   std::int32_t first,
                   std::size_t limit,
                   Text& out) {
    std::size_t changed = 0;
    std::int32_t seen = 0;
    while (!part.empty() && (count < 1 || changed < AsCount(count))) {
        const std::size_t at = text.find(part);
        if (at == TextView::npos) {
            break;
        }
        out.append(text.substr(0, at));
        const bool change = ++seen >= first;
        out.append(change ? replacement : part);
        changed += change ? 1 : 0;
        text.remove_prefix(at + part.size());
        if (out.size() > limit) {
            throw Error(ErrorKind::kTooLong, u"The result of an expression is too long.");
        }
    }
    out.append(text);
}

TextView ElementAt(TextView text, Position position) {
    if (position.attribute == 0) {
        return position.value == 0 && position.subvalue == 0 ? text : TextView();
    }
    text = ElementOf(text, kAttributeMark, position.attribute);
    if (position.value == 0) {
        return text;
    }
    text = ElementOf(text, kValueMark, position.value);
    return position.subvalue == 0 ? text : ElementOf(text, kSubvalueMark, position.subvalue);
}

}  // namespace kel::text
