// What people are told.
#include "apps/kelform/messages.h"

#include <vector>

#include "apps/binding/record_text.h"

namespace kel::form {
namespace {

struct Explained {
    long number;
    const wchar_t* words;
};

// Numbers that a user of a form can meet, and what there is to do about them.
constexpr Explained kExplained[] = {
    {10102, L"There is no connection to the database. Open one with F9."},
    {10301, L"The database has no such file."},
    {10302, L"The file was closed. Connect again with F9."},
    {10400, L"The database does not understand this selection."},
    {static_cast<long>(0x80040201L), L"The text is too long for the database."},
    {static_cast<long>(0x80040207L), L"The account was opened for reading only."},
    {static_cast<long>(0x80040208L), L"Somebody else keeps the account busy. Try again."},
    {static_cast<long>(0x80040209L),
     L"The disk is full. Nothing was lost; make room and try again."},
    {static_cast<long>(0x8004020AL), L"The account is damaged. Nothing more was written to it."},
};

}  // namespace

std::wstring InWords(const binding::Error& error) {
    for (const Explained& one : kExplained) {
        if (one.number == error.number()) {
            return one.words;
        }
    }
    // Internal addresses in front of a description help nobody here.
    constexpr std::wstring_view kPrefix = L"kelDictItem:Get ExternalValue:";
    std::wstring words = error.description();
    if (words.starts_with(kPrefix)) {
        words.erase(0, kPrefix.size());
    }
    return words.empty() ? L"The database reported error " + std::to_wstring(error.number()) + L"."
                         : words;
}

std::wstring CurrentFailureInWords() {
    try {
        throw;
    } catch (const binding::Error& error) {
        return InWords(error);
    } catch (const std::exception& error) {
        return binding::FromUtf8(error.what());
    } catch (...) {
        return L"Something unexpected happened.";
    }
}

std::wstring ConnectionFailureInWords(const std::wstring& failure) {
    // "Connection Error: number (source) text"
    const std::size_t end = failure.find(L") ");
    return end != std::wstring::npos ? failure.substr(end + 2) : failure;
}

std::wstring ReadInWords(binding::ReadAnswer answer,
                         const std::wstring& id,
                         bool hasLock,
                         const std::wstring& holder) {
    switch (answer) {
        case binding::ReadAnswer::kFound:
            return id + (hasLock ? L" found and locked for you." : L" found.");
        case binding::ReadAnswer::kNew:
            return id.empty() ? L"New record: type its code."
                              : id + L" is new: nothing is stored yet.";
        case binding::ReadAnswer::kLocked:
            return id + L" is locked by " + (holder.empty() ? L"somebody else" : holder) +
                   L"; shown for reading only.";
        case binding::ReadAnswer::kRefused:
            break;
    }
    return id + L" cannot be read here.";
}

std::wstring Lines(std::wstring output) {
    constexpr wchar_t kAttributeMark = L'\u00FE';
    for (std::size_t at = 0; (at = output.find(kAttributeMark, at)) != std::wstring::npos;) {
        output.replace(at, 1, L"\r\n");
    }
    return output;
}

std::wstring HolderIn(const std::wstring& messages,
                      const std::wstring& fileName,
                      const std::wstring& id) {
    const std::wstring kLock = L"430";
    for (const std::wstring& message : binding::Split(messages, *binding::kAttributeMark)) {
        const std::vector<std::wstring> values = binding::Split(message, *binding::kValueMark);
        if (values.size() == 5 && values[0] == kLock && values[1] == fileName && values[2] == id) {
            return values[3] + L" (process " + values[4] + L")";
        }
    }
    return {};
}

}  // namespace kel::form
