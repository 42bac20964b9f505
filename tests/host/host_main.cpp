// The main program of the portable library's tests on the build machine: ends with their count.
#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
    std::printf("%d passed, %d failed", tests.successful_test_count(), tests.failed_test_count());
    if (tests.skipped_test_count() > 0) {
        std::printf(", %d skipped", tests.skipped_test_count());
    }
    std::printf("\n");
    return status;
}
