// Marks, letters that have their codes, and parts between them.
#include "apps/binding/record_text.h"

#include <algorithm>

#include "apps/binding/letters.h"

namespace kel::binding {
Text ToRecord(TextView text) {
    return LettersToStored(text);
}

Text FromRecord(TextView text) {
    return LettersToShown(text);
}

Text Readable(TextView text) {
    Text result(text);
    std::replace(result.begin(), result.end(), *kAttributeMark, L'^');
    std::replace(result.begin(), result.end(), *kValueMark, L']');
    std::replace(result.begin(), result.end(), *kSubvalueMark, L'\\');
    return FromRecord(result);
}

Text Join(const std::vector<Text>& parts, TextView mark) {
    const auto last =
        std::find_if(parts.rbegin(), parts.rend(), [](const Text& part) { return !part.empty(); });
    Text result;
    for (auto part = parts.begin(); part != last.base(); ++part) {
        if (part != parts.begin()) {
            result += mark;
        }
        result += *part;
    }
    return result;
}

std::vector<Text> Split(TextView text, wchar_t mark) {
    std::vector<Text> parts;
    std::size_t end = text.find(mark);
    for (; end != TextView::npos; end = text.find(mark)) {
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    parts.emplace_back(text);
    return parts;
}

}  // namespace kel::binding
