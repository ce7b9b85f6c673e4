// Threads: the first-thread rule with signal trapping on, and independent error state
// per thread with trapping off.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "korvs_test.hpp"

namespace {

TEST(FirstThreadRuleDeathTest, SecondThreadWithTrappingOnEndsTheProcess) {
    EXPECT_EXIT(
        {
            korvs_f_machine(1);
            std::thread second([] { korvs_f_machine(1); });
            second.join();
            std::exit(0);
        },
        ::testing::ExitedWithCode(4),
        "^\n\\*\\*\\* FATAL    Error SECOND_THREAD from korvs_f_machine\\.  A second thread\n"
        "\\*\\*\\*          called the library while signal trapping is on\\. Turn trapping\n"
        "\\*\\*\\*          off with KORVS_SET_SIGNAL_TRAPPING_OFF before a second thread\n"
        "\\*\\*\\*          makes its first call\\.\n\n$");
}

TEST(FirstThreadRuleDeathTest, ALaterThreadCountsAfterTheFirstHasEnded) {
    EXPECT_EXIT(
        {
            std::thread first([] { korvs_f_machine(1); });
            first.join();
            korvs_f_machine(1);  // this thread is later than the first, which has ended
            std::exit(0);
        },
        ::testing::ExitedWithCode(4), "FATAL    Error SECOND_THREAD from korvs_f_machine");
}

TEST(FirstThreadRuleDeathTest, AThreadThatNeverCalledDoesNotCount) {
    EXPECT_EXIT(
        {
            korvs_f_machine(1);
            std::thread idle([] {});
            idle.join();
            korvs_f_machine(1);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^$");
}

TEST(FirstThreadRuleDeathTest, EveryThreadFailsOnceASecondHasCalled) {
    EXPECT_EXIT(
        {
            for (int t = 1; t <= 7; ++t) korvs_error_options(KORVS_SET_PRINT, t, 0, KORVS_SET_STOP, t, 0, 0);
            // korvs_e1pos has no frame in its good case: the second thread gets a context
            // and turns its Stop switches off without raising anything.
            std::thread second([] {
                int print = -1, stop = 0;
                korvs_e1pos(0, &print, &stop);
            });
            second.join();
            // From now on every call fails, in the first thread too, and delivers nothing.
            float r = korvs_f_machine(4);
            std::exit(korvs_error_code() == 499 && korvs_n1rty(1) == 4 && r == 0.0f ? 42 : 1);
        },
        ::testing::ExitedWithCode(42), "");
}

TEST(FirstThreadRule, TrappingOffBeforeTheSecondThreadLetsItRun) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    float from_second = 0;
    std::thread second([&] { from_second = korvs_f_machine(4); });
    second.join();
    EXPECT_EQ(from_second, korvs_amach(4));
    EXPECT_EQ(korvs_error_code(), 0);
}

TEST(FirstThreadRule, TrappingSwitchByValue) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING, 0, 0);
    std::thread second([] { korvs_f_machine(1); });
    second.join();
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_ON, KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    EXPECT_EQ(korvs_error_code(), 0);
}

// Several threads raise and read errors at once; none sees another's state.
TEST(PerThread, ErrorStateIsIndependent) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    constexpr int kThreads = 6;
    constexpr int kRounds = 2000;
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &mismatches] {
            // Each thread has its own switches: thread t prints nothing and stops on nothing.
            for (int type = 1; type <= 7; ++type)
                korvs_error_options(KORVS_SET_PRINT, type, 0, KORVS_SET_STOP, type, 0, 0);
            for (int round = 0; round < kRounds; ++round) {
                int code = 1000 * (t + 1) + round % 997;
                korvs_e1psh("thread_routine");
                korvs_e1sti(1, code);
                korvs_e1mes(3 + round % 2, code, "code %(i1)");
                korvs_e1pop("thread_routine");
                if (korvs_error_code() != code || korvs_n1rty(1) != 3 + round % 2) ++mismatches;
                if (round % 3 == 0) {
                    korvs_i_machine(20 + t);  // a TERMINAL error of this thread only
                    if (korvs_error_code() != 132) ++mismatches;
                }
                if (korvs_f_machine(4) != korvs_amach(4) || korvs_error_code() != 0) ++mismatches;
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(mismatches.load(), 0);
    // The main thread's switches were never touched by the others.
    int stop = 0;
    korvs_error_options(KORVS_GET_STOP, 5, &stop, 0);
    EXPECT_EQ(stop, 1);
}

TEST(PerThread, UnitsArePerThread) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    FILE* mine = std::tmpfile();
    korvs_umach(-2, &mine);
    FILE* seen_by_other = nullptr;
    std::thread other([&] { korvs_umach(2, &seen_by_other); });
    other.join();
    EXPECT_EQ(seen_by_other, stdout);
    FILE* none = nullptr;
    korvs_umach(-2, &none);
    std::fclose(mine);
}

}  // namespace
