// Back-end calls that fail one at a time under a member of the engine.
#pragma once

#include <cstdio>

#include "tests/engine/message_box.h"
#include "tests/registry/session.h"

namespace kel::tests {

// What becomes of a back-end's failure.
enum class Fate {
    kRaised,       // reaches the caller as it is
    kRenamed,      // reaches the caller under another source
    kRefused,      // the caller gets the member's own error
    kBackendGone,  // the caller is told that there is no back-end
    kTrapped,      // the caller sees the member's neutral result
    kShown,        // trapped, and shown to the user
    kInText,       // trapped, and told in the text of the connection's failure
    kInItem,       // trapped, and told in the item
    kHarmless,     // the caller sees the same as without it
};

struct Swept {
    const char* name;
    std::function<void()> arrange;
    std::function<Outcome()> act;
    Fate fate;
    // The result of a failed call when it is trapped.
    Text neutral = L"Empty";
    // Calls, by the beginning of their texts, with another fate.
    std::vector<std::pair<Text, Fate>> others = {};
    // Whether a failing member leaves the record as it was.
    bool keepsRecord = true;
};

class ErrorSweep : public SessionTest {
protected:
    // A session with record 17 and dictionary item NAME of file CUST, program PROG, and the key
    // field that `item` is for. Not connected.
    void arrangeSession();
    void connected() { EXPECT_TRUE(connect()); }
    void read() {
        connected();
        EXPECT_EQ(call(L"mvRead", {L"17", item.get()}).text(), L"0");
    }
    void select() {
        read();
        EXPECT_TRUE(call(L"ExecuteSelectList", {L"SELECT CUST", item.get()}).ok());
    }
    std::function<Outcome()> calling(const wchar_t* member, const Arguments& arguments = {}) const {
        return [this, member, arguments] { return call(member, arguments); };
    }
    std::function<Outcome()> getting(const wchar_t* member, const Arguments& arguments = {}) const {
        return [this, member, arguments] { return get(member, arguments); };
    }
    std::function<Outcome()> putting(const wchar_t* member, const Arguments& arguments) const {
        return [this, member, arguments] { return Dispatch(engine.get()).put(member, arguments); };
    }

    // Fails each call that each member makes, in every way, and checks what comes of it.
    void sweep(const std::vector<Swept>& members);
    // The same for a record that is read, as the members have it, and for one of which there is
    // nothing yet.
    void sweepFromFirstUse(std::vector<Swept> members);

    MessageBoxRecorder boxes;
    const ComPtr<client::DictItem> item = Item(L"Cust", 1);
    Bstr value;
    Variant extra;
    long number = 0;
    inline static long combinations = 0;

    static void TearDownTestSuite() { std::printf("sweep: %ld combinations\n", combinations); }

private:
    void sweep(const Swept& member, const Failure& failure);
    // Looks at what a failed call left.
    void check(const Swept& member,
               Fate fate,
               const Failure& failure,
               const Outcome& outcome,
               const Outcome& clean);
};

}  // namespace kel::tests
