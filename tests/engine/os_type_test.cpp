// Which kind of back-end a session uses, and which kinds there are.
#include <gtest/gtest.h>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

using OsType = SessionTest;

TEST_F(OsType, IsWhatTheClientSaysUntilThereIsABackend) {
    struct Case {
        const wchar_t* answer;
        const wchar_t* osType;
    };
    const Case cases[] = {
        {L"99", L"99"},
        {L" 95 ", L"95"},
        {L"", L"0"},
        {L"ninety", L"0"},
        {L"40000", L"0"},
        {L"99x", L"0"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.answer));
        session.sink->answerProperty(L"OsType", one.answer);
        for (int times = 0; times < 2; ++times) {
            const Outcome outcome = get(L"OsType");
            EXPECT_TRUE(outcome.ok());
            EXPECT_EQ(outcome.text(), one.osType);
            EXPECT_EQ(takeEvents(), Lines{L"Main: PropertyValue(OsType,)"}) << "asked every time";
        }
    }
    session.end();
    EXPECT_EQ(get(L"OsType").text(), L"0");
    base->RemoveSessionCallback(Str(L"Main"));
    EXPECT_EQ(get(L"OsType").text(), L"0");
}

TEST_F(OsType, NeedsABackendOfVersionTwoOrAbove) {
    struct Case {
        short osType;
        const wchar_t* version;  // null: as the back-end has it
        bool valid;
    };
    const Case cases[] = {
        {kTestOsType, nullptr, true},
        {kOtherOsType, nullptr, true},
        {kOldOsType, nullptr, false},
        {kUndottedOsType, nullptr, false},
        {kForeignOsType, nullptr, false},
        {0, nullptr, false},
        {kTestOsType, L"2.0", true},
        {kTestOsType, L"2.", true},
        {kTestOsType, L"10.3", true},
        {kTestOsType, L"1.9", false},
        {kTestOsType, L"2", false},
        {kTestOsType, L".5", false},
        {kTestOsType, L"two.1", false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(std::to_string(one.osType) +
                     (one.version != nullptr ? Narrow(one.version) : ""));
        backend.reset();
        if (one.version != nullptr) {
            backend.setVersion(one.osType, one.version);
        }
        EXPECT_EQ(call(L"ValidOsType", {one.osType}).text(), one.valid ? L"True" : L"False");
        const Outcome let = Dispatch(engine.get()).put(L"OsType", {one.osType});
        const ErrorFields refusal = {
            -2147221501,
            L"kelDBMS::OsType",
            L"Unable to find a registered DLL version 2 or above for OsType " +
                std::to_wstring(one.osType)};
        EXPECT_EQ(let.error, one.valid ? ErrorFields{} : refusal);
        EXPECT_EQ(backend.live().hosts, 0) << "asked and let go";
        EXPECT_EQ(get(L"OsType").text(), L"99") << "what was set is not what is answered";
    }
}

}  // namespace
}  // namespace kel::tests
