// The records that the form pages through: the ids of a select list, fetched as far as they are
// wanted.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/kelform/connection.h"

namespace kel::form {

class RecordList {
public:
    explicit RecordList(const Connection& connection) : connection_(connection) {}

    // Runs a selection and keeps its list instead of the present one.
    //   false  nothing was selected; complaint() is what the database said about it
    bool Run(const std::wstring& sentence);
    const std::wstring& complaint() const { return complaint_; }

    // Each makes a record the current one and answers its id; empty where there is none.
    std::optional<std::wstring> First();
    std::optional<std::wstring> Previous();
    std::optional<std::wstring> Next();
    std::optional<std::wstring> Last();
    // Makes a record current if it is in the list as far as that was fetched.
    void Find(const std::wstring& id);

    // "3 of 249"; empty without a list.
    std::wstring Position() const;
    std::size_t size() const { return ids_.size(); }

private:
    bool Fetch();
    std::optional<std::wstring> Move(std::size_t index);

    const Connection& connection_;
    std::vector<std::wstring> ids_;
    bool isComplete_ = true;
    std::optional<std::size_t> current_;
    std::wstring complaint_;
};

// The sentence behind what a person types into the find box: a sentence or its condition as they
// stand; otherwise a code, or a part of a name.
std::wstring SentenceFor(const std::wstring& typed);

}  // namespace kel::form
