#include "apps/kelsh/text.h"

#include "apps/kelsh/transfer/fields.h"

namespace kel::kelsh {

Text FromUtf8(std::string_view bytes) {
    const int size = static_cast<int>(bytes.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, nullptr, 0);
    Text text(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, text.data(), units);
    return text;
}

std::string ToUtf8(TextView text) {
    const int units = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

Text ToStoredLetters(TextView text) {
    return Wide(transfer::LettersToStored(Units(text)));
}

Text ToShownLetters(TextView text) {
    return Wide(transfer::LettersToShown(Units(text)));
}

}  // namespace kel::kelsh
