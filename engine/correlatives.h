// Values that are derived from a record by a correlative.
#pragma once

#include "engine/elements.h"
#include "engine/host_calls.h"

namespace kel::engine {

// One thread.
class Correlatives {
public:
    Correlatives(HostLink& host, RecordStates& states, HostCalls& programs) noexcept
        : host_(host), states_(states), programs_(programs) {}

    // What to derive: `value` seen as the value number `cnt` of record `key`.
    struct Input {
        BSTR value;
        TextView key;  // "" for the record in the buffer
        short cnt;
    };

    // By an item's correlative: in the back-end's own form where the item has that, which the
    // back-end may give it here. Without one the value is the answer. Failures come out as they
    // were, but for those of a program that is called, which are shown to the user.
    Text derive(const Element& element, const Input& input);
    // By a correlative as it is written.
    Text derive(const Element& element, TextView correlative, const Input& input);

private:
    Text derive(const Element& element,
                TextView correlative,
                const Input& input,
                Bstr& internalForm);

    HostLink& host_;
    RecordStates& states_;
    HostCalls& programs_;
};

}  // namespace kel::engine
