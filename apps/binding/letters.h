// Letters that have the codes of marks, and the codes they take inside records. For texts of any
// 16-bit unit.
//
// The marks took codes 251 to 255 long before records held anything but English. In Latin letters
// these codes are û ü ý þ ÿ: "Zürich" put into a record as it stands would be two subvalues. So a
// program that keeps such letters gives them other codes inside records, here five of those that
// are reserved for private use, and turns them back for display.
#pragma once

#include <string>
#include <string_view>

namespace kel::binding {

// The units from `first` on, as many as there are such letters, become those from `target` on.
template <typename Unit>
std::basic_string<Unit> LettersMoved(std::basic_string_view<Unit> text, int first, int target) {
    constexpr int kLetters = 5;
    std::basic_string<Unit> moved(text);
    for (Unit& unit : moved) {
        if (unit >= first && unit < first + kLetters) {
            unit = static_cast<Unit>(unit - first + target);
        }
    }
    return moved;
}

inline constexpr int kFirstLetter = 0xFB;
inline constexpr int kFirstPrivate = 0xF8FB;

template <typename Unit>
std::basic_string<Unit> LettersToStored(std::basic_string_view<Unit> shown) {
    return LettersMoved(shown, kFirstLetter, kFirstPrivate);
}

template <typename Unit>
std::basic_string<Unit> LettersToShown(std::basic_string_view<Unit> stored) {
    return LettersMoved(stored, kFirstPrivate, kFirstLetter);
}

}  // namespace kel::binding
