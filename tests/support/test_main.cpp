// The main program of every test: turns off the automation library's string cache, gives each group
// of tests an apartment of its own, and fails what leaves resources behind.
#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

#include <cstdio>

#include "automation/module.h"
#include "automation/type_library.h"
#include "tests/support/resources.h"

namespace kel::tests {
namespace {

// With the cache on, freed strings stay allocated and live ones go uncounted.
void TurnOffStringCache() {
    using SetNoCache = void(WINAPI*)();
    const HMODULE automationLibrary = LoadLibraryW(L"oleaut32.dll");
    const auto setNoCache = reinterpret_cast<SetNoCache>(
        reinterpret_cast<void*>(GetProcAddress(automationLibrary, "SetOaNoCache")));
    if (setNoCache != nullptr) {
        setNoCache();
    }
}

// Per-thread state of the component ends with the apartment, so counts are compared outside of it.
class ResourceWatch final : public testing::EmptyTestEventListener {
public:
    void OnTestProgramStart(const testing::UnitTest&) override {
        // What the platform sets up once and keeps is not a leak.
        CoInitialize(nullptr);
        automation::LoadOwnTypeLibrary(1);
        SettleResources();
        CoUninitialize();
        programStart_ = CountResources(true);
    }
    void OnTestSuiteStart(const testing::TestSuite&) override {
        suiteStart_ = CountResources(false);
        CoInitialize(nullptr);
    }
    void OnTestSuiteEnd(const testing::TestSuite& suite) override {
        SettleResources();
        CoUninitialize();
        report(suite.name(), Growth(suiteStart_, CountResources(false)));
    }
    void OnTestProgramEnd(const testing::UnitTest&) override {
        if (growths_ == 0) {
            report("The whole program", Growth(programStart_, CountResources(true)));
        }
    }

    int growths() const { return growths_; }

private:
    void report(const char* who, const std::string& growth) {
        if (!growth.empty()) {
            ++growths_;
            std::printf("[  FAILED  ] %s leaves resources behind: %s\n", who, growth.c_str());
        }
    }

    ResourceCounts programStart_;
    ResourceCounts suiteStart_;
    int growths_ = 0;
};

int Run(int argc, char** argv) {
    // Refers to the description, so that the one in this library is linked unless the program has
    // its own.
    static_cast<void>(automation::ThisModule());
    TurnOffStringCache();
    StartResourceCounting();
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    auto* const watch = new ResourceWatch();  // owned by the test framework
    const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
    testing::UnitTest::GetInstance()->listeners().Append(watch);
    const bool good = RUN_ALL_TESTS() == 0 && watch->growths() == 0;
    std::printf("%d passed, %d failed",
                tests.successful_test_count(),
                tests.failed_test_count() + watch->growths());
    if (tests.skipped_test_count() > 0) {
        std::printf(", %d skipped", tests.skipped_test_count());
    }
    std::printf("\n");
    std::fflush(stdout);
    return good ? 0 : 1;
}

}  // namespace
}  // namespace kel::tests

int main(int argc, char** argv) {
    return kel::tests::Run(argc, argv);
}
