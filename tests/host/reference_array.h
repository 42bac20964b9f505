// Positions done the slow and obvious way: split, change one part, join. What DynamicArray is
// compared with.
#pragma once

#include <cstdint>
#include <vector>

#include "hosts/multivalue/text/dynamic_array.h"

namespace kel::text::reference {

inline std::vector<Text> Split(const Text& text, char16_t mark) {
    std::vector<Text> parts(1);
    for (char16_t unit : text) {
        if (unit == mark) {
            parts.emplace_back();
        } else {
            parts.back().push_back(unit);
        }
    }
    return parts;
}

inline Text Join(const std::vector<Text>& parts, char16_t mark) {
    Text text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        text += (i == 0 ? Text() : Text(1, mark)) + parts[i];
    }
    return text;
}

using Path = std::vector<std::int32_t>;

// The levels an edit addresses, without those that are 0.
inline Path PathOf(Position p) {
    Path path{p.attribute == 0 ? 1 : p.attribute};
    if (p.value != 0) {
        path.push_back(p.value);
        if (p.subvalue != 0) {
            path.push_back(p.subvalue);
        }
    }
    return path;
}

inline bool IsWhole(Position p) {
    return p.attribute == 0 && p.value == 0 && p.subvalue == 0;
}

inline Text Extract(Text text, Position p) {
    if (IsWhole(p)) {
        return text;
    }
    if (p.attribute == 0) {
        return {};
    }
    char16_t mark = kAttributeMark;
    for (std::int32_t position : PathOf(p)) {
        const std::vector<Text> parts = Split(text, mark--);
        if (position < 1 || static_cast<std::size_t>(position) > parts.size()) {
            return {};
        }
        text = parts[static_cast<std::size_t>(position) - 1];
    }
    return text;
}

inline Text Put(const Text& text, Path path, char16_t mark, const Text& value, bool insert) {
    if (path.empty()) {
        return value;
    }
    const std::int32_t position = path.front();
    path.erase(path.begin());
    if (position < 0) {
        for (std::int32_t& lower : path) {
            lower = lower < 0 ? 1 : lower;
        }
        const Text added = Put({}, path, static_cast<char16_t>(mark - 1), value, false);
        return text.empty() ? added : text + mark + added;
    }
    const auto index = static_cast<std::size_t>(position) - 1;
    const auto lowerMark = static_cast<char16_t>(mark - 1);
    std::vector<Text> parts = Split(text, mark);
    if (index >= parts.size()) {
        parts.resize(index + 1);
        parts[index] = Put({}, path, lowerMark, value, false);
    } else if (insert && path.empty() && !(index + 1 == parts.size() && parts[index].empty())) {
        parts.insert(parts.begin() + static_cast<std::ptrdiff_t>(index), value);
    } else {
        parts[index] = Put(parts[index], path, lowerMark, value, insert);
    }
    return Join(parts, mark);
}

inline Text Replace(const Text& text, Position p, const Text& value) {
    return IsWhole(p) ? value : Put(text, PathOf(p), kAttributeMark, value, false);
}

inline Text Insert(const Text& text, Position p, const Text& value) {
    return Put(text, PathOf(p), kAttributeMark, value, true);
}

inline Text Remove(const Text& text, Path path, char16_t mark) {
    const auto index = static_cast<std::size_t>(path.front()) - 1;
    path.erase(path.begin());
    std::vector<Text> parts = Split(text, mark);
    if (index >= parts.size()) {
        return text;
    }
    if (path.empty()) {
        parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(index));
    } else {
        parts[index] = Remove(parts[index], path, static_cast<char16_t>(mark - 1));
    }
    return Join(parts, mark);
}

inline Text Delete(const Text& text, Position p) {
    if (p.attribute < 0 || p.value < 0 || p.subvalue < 0) {
        return text;
    }
    return IsWhole(p) ? Text() : Remove(text, PathOf(p), kAttributeMark);
}

}  // namespace kel::text::reference
