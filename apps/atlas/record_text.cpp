#include "apps/atlas/record_text.h"

#include <algorithm>

namespace kel::atlas {
namespace {

constexpr wchar_t kFirstLetter = L'\u00FB';
constexpr wchar_t kLastLetter = L'\u00FF';
constexpr wchar_t kFirstPrivate = L'\uF8FB';
constexpr wchar_t kLastPrivate = L'\uF8FF';
constexpr int kDistance = kFirstPrivate - kFirstLetter;

// Moves the units from `first` to `last` by `distance`.
Text Moved(TextView text, wchar_t first, wchar_t last, int distance) {
    Text result(text);
    for (wchar_t& unit : result) {
        if (unit >= first && unit <= last) {
            unit = static_cast<wchar_t>(unit + distance);
        }
    }
    return result;
}

}  // namespace

Text ToRecord(TextView text) {
    return Moved(text, kFirstLetter, kLastLetter, kDistance);
}

Text FromRecord(TextView text) {
    return Moved(text, kFirstPrivate, kLastPrivate, -kDistance);
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

}  // namespace kel::atlas
