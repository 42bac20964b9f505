// Calls of stored programs. The protocol that authors of stored programs rely on is described in
// docs/host-programs.md.
#pragma once

#include <array>
#include <optional>
#include <set>

#include "automation/variant.h"
#include "engine/field_item.h"
#include "engine/host_link.h"
#include "engine/record_states.h"

namespace kel::engine {

using automation::Variant;

inline constexpr std::size_t kMostArguments = 12;
using Arguments = std::array<VARIANT*, kMostArguments>;

// One thread.
class HostCalls {
public:
    HostCalls(HostLink& host, RecordStates& states) noexcept : host_(host), states_(states) {}

    // Calls a program with the arguments before the first missing one. Throws what it throws; what
    // it did to its arguments before it failed stays done.
    void call(BSTR progName, const Arguments& given);
    // Runs a program against the record of an item's key field, or of a key field. A failure is
    // shown to the user and never reaches the caller; no program is none.
    //   extra          an argument more, unless the program takes four
    //   value          what the program is to change
    void run(
        IDispatch* item, BSTR progName, VARIANT* extra, BSTR* value, bool fourArguments) noexcept;
    void run(
        TextView keyId, BSTR progName, VARIANT* extra, BSTR* value, bool fourArguments) noexcept;
    // Runs the program that an item, `object`, names: "C:" before the name has it called with a
    // parameter record, and its failures reach the caller.
    void runItem(
        BSTR progSpec, BSTR progType, BSTR* value, TextView sessionName, IDispatch* object);

private:
    struct HostRecord;

    void runOn(TextView keyId, BSTR progName, VARIANT* extra, BSTR* value, bool fourArguments);
    HostRecord lendHostRecord(TextView keyId, const Text& key);
    // Puts what a stored program made of the record back into the key field: what has a text.
    void storeHostRecord(RecordState& state,
                         const std::optional<Bstr>& recNo,
                         const std::optional<Bstr>& text);
    // Has the controls of a key field show the whole record, since a stored program asked for it.
    void refreshForProgram(const Text& key) noexcept;

    HostLink& host_;
    RecordStates& states_;
    std::set<Text> refreshedByProgram_;  // key fields whose controls follow a program's answer
};

}  // namespace kel::engine
