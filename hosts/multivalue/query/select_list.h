// Lists of record ids as selections deliver them: one after the other, on demand.
#pragma once

#include <memory>
#include <vector>

#include "hosts/multivalue/expression/field_evaluator.h"
#include "hosts/multivalue/text/text.h"

namespace kel::query {

// Lists wait for sentences under numbers from 0 up; 0 is the one that sentences use by themselves.
inline constexpr int kActiveLists = 11;

struct SelectedId {
    Text id;
    ValuePosition position = {};  // of an exploded selection: the value the entry stands for
};

// Must not outlive the Session and the Store it came from.
class SelectList {
public:
    virtual ~SelectList() = default;

    // The next entry. False, with `entry` emptied, at the end. Raises what the store raises.
    virtual bool Next(SelectedId& entry) = 0;
};

std::unique_ptr<SelectList> ListOf(std::vector<SelectedId> entries);
std::unique_ptr<SelectList> ListOfIds(std::vector<Text> ids);

// What is left of a list, as a whole.
std::vector<SelectedId> Drain(SelectList& list);

}  // namespace kel::query
