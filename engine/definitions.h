// Definitions of dictionary items, in the dictionaries of a session's files.
#pragma once

#include "engine/field_item.h"
#include "engine/host_link.h"
#include "engine/record_states.h"

namespace kel::engine {

// One thread.
class Definitions {
public:
    Definitions(HostLink& host, RecordStates& states) noexcept : host_(host), states_(states) {}

    // Fills an item from its definition. The outcome is the item's state and message; no failure of
    // it reaches the caller.
    void read(const FieldItem& item) noexcept;
    // Writes an item as its definition; without a name or a file it does nothing.
    //   throws  what a step throws
    void write(const FieldItem& item);

private:
    // First non-empty of the item's, its key field's buffer's and its key field's file name.
    Text fileName(const FieldItem& item);
    void readNamed(const FieldItem& item, TextView dictName);

    HostLink& host_;
    RecordStates& states_;
};

}  // namespace kel::engine
