// Lists whose entries are all there.
#include "hosts/multivalue/query/select_list.h"

#include <utility>

namespace kel::query {

namespace {

class FinishedList : public SelectList {
public:
    explicit FinishedList(std::vector<SelectedId> entries) : entries_(std::move(entries)) {}

    bool Next(SelectedId& entry) override {
        if (at_ == entries_.size()) {
            entry = {};
            return false;
        }
        entry = std::move(entries_[at_++]);
        return true;
    }

private:
    std::vector<SelectedId> entries_;
    std::size_t at_ = 0;
};

}  // namespace

std::unique_ptr<SelectList> ListOf(std::vector<SelectedId> entries) {
    return std::make_unique<FinishedList>(std::move(entries));
}

std::unique_ptr<SelectList> ListOfIds(std::vector<Text> ids) {
    std::vector<SelectedId> entries(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        entries[i].id = std::move(ids[i]);
    }
    return ListOf(std::move(entries));
}

std::vector<SelectedId> Drain(SelectList& list) {
    std::vector<SelectedId> entries;
    for (SelectedId entry; list.Next(entry);) {
        entries.push_back(std::move(entry));
    }
    return entries;
}

}  // namespace kel::query
