// A selection's ids, fetched as far as somebody looks, and sentences out of what was typed.
#include "apps/kelform/record_list.h"

#include <algorithm>

#include "apps/atlas/iso_codes.h"
#include "apps/kelform/messages.h"

namespace kel::form {
namespace {

constexpr const wchar_t* kList = L"Browse";

bool BeginsWith(const std::wstring& text, std::wstring_view word) {
    return binding::SameName(std::wstring_view(text).substr(0, word.size()), word);
}

std::wstring Cased(std::wstring text, DWORD length, bool upper) {
    if (upper) {
        CharUpperBuffW(text.data(), std::min(length, static_cast<DWORD>(text.size())));
    } else {
        CharLowerBuffW(text.data(), std::min(length, static_cast<DWORD>(text.size())));
    }
    return text;
}

}  // namespace

bool RecordList::Run(const std::wstring& sentence) {
    const binding::Tools tools = connection_.tools();
    tools.CloseSelect(kList);
    ids_.clear();
    current_.reset();
    complaint_.clear();
    isComplete_ = false;
    tools.ExecuteSelect(kList, sentence);
    if (Fetch()) {
        return true;
    }
    // A selection tells no mistakes; the same words as a command do.
    complaint_ = Lines(tools.Execute(sentence));
    return false;
}

bool RecordList::Fetch() {
    if (isComplete_) {
        return false;
    }
    std::wstring id;
    const bool more = connection_.tools().ReadNext(kList, id);
    if (more) {
        ids_.push_back(id);
    }
    isComplete_ = !more;
    return more;
}

std::optional<std::wstring> RecordList::Move(std::size_t index) {
    while (index >= ids_.size() && Fetch()) {
    }
    if (index >= ids_.size()) {
        return std::nullopt;
    }
    current_ = index;
    return ids_[index];
}

std::optional<std::wstring> RecordList::First() {
    return Move(0);
}

std::optional<std::wstring> RecordList::Previous() {
    return current_ && *current_ > 0 ? Move(*current_ - 1) : std::nullopt;
}

std::optional<std::wstring> RecordList::Next() {
    return Move(current_ ? *current_ + 1 : 0);
}

std::optional<std::wstring> RecordList::Last() {
    while (Fetch()) {
    }
    return ids_.empty() ? std::nullopt : Move(ids_.size() - 1);
}

void RecordList::Find(const std::wstring& id) {
    while (Fetch()) {
    }
    const auto found = std::find(ids_.begin(), ids_.end(), id);
    if (found != ids_.end()) {
        current_ = static_cast<std::size_t>(found - ids_.begin());
    } else {
        current_.reset();
    }
}

std::wstring RecordList::Position() const {
    if (ids_.empty()) {
        return {};
    }
    return (current_ ? std::to_wstring(*current_ + 1) : std::wstring(L"\u2013")) + L" of " +
           std::to_wstring(ids_.size()) + (isComplete_ ? L"" : L" or more");
}

std::wstring SentenceFor(const std::wstring& typed) {
    const std::wstring file = atlas::kCountries;
    if (BeginsWith(typed, L"SELECT ") || BeginsWith(typed, L"SSELECT ")) {
        return typed;
    }
    if (typed.empty() || BeginsWith(typed, L"WITH ") || BeginsWith(typed, L"BY ")) {
        return L"SSELECT " + file + L" " + typed;
    }
    std::wstring part = binding::ToRecord(typed);
    std::erase(part, L'"');
    const auto whole = static_cast<DWORD>(part.size());
    const std::wstring lower = Cased(part, whole, false);
    // Comparisons mind capitals; names begin with one.
    return L"SSELECT " + file + L" WITH @ID = \"" + Cased(part, whole, true) +
           L"\" OR WITH NAME LIKE \"..." + part + L"...\" \"..." + lower + L"...\" \"..." +
           Cased(lower, 1, true) + L"...\"";
}

}  // namespace kel::form
