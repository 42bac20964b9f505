// The select lists of a session: one at most for each key field, kept in its record state.
#pragma once

#include "engine/host_link.h"
#include "engine/record_states.h"

namespace kel::engine {

// A list is an object of the back-end, never looked into. Nothing is trapped here. One thread.
class SelectLists {
public:
    SelectLists(HostLink& host, RecordStates& states) noexcept : host_(host), states_(states) {}

    // Runs a selection for a key field; a list that it has is closed first.
    //   throws  what a step throws, among them kObjectError + 1 for an empty key field
    void execute(BSTR sentence, TextView keyId);
    // The next id of a key field's list; false at its end. Without a list `id` is emptied; where
    // the back-end is asked `id` is what it leaves there.
    //   throws  what the back-end throws
    bool readNext(BSTR* id, TextView keyId);
    // Throws 381 for a key field without a state.
    void close(TextView keyId);

    // Takes a record's select list out and has the back-end, if there is one, close it; no list is
    // closed as Nothing.
    static void closeIn(RecordInfo& record, _mviHostDLL* host) noexcept;

private:
    HostLink& host_;
    RecordStates& states_;
};

}  // namespace kel::engine
