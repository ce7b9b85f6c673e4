// Threads: the first-thread rule with signal trapping on, and error state of its own in
// every thread with trapping off.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <atomic>
#include <thread>
#include <vector>

#include "korvs_test.hpp"

namespace {

void call_in_a_thread() {
    std::thread([] { korvs_f_machine(1); }).join();
}

// A thread that never called does not count; a later one counts after the first has ended.
// Once a second thread has called, every call fails with 499, in the first thread too.
// korvs_e1pos has no frame in its good case: the second thread turns its Stop switches off unharmed.
TEST(FirstThreadRuleDeathTest, ASecondThreadWithTrappingOnEndsTheProcess) {
    EXPECT_EXIT(
        {
            korvs_f_machine(1);
            std::thread([] {}).join();
            korvs_f_machine(1);
            call_in_a_thread();
            std::exit(0);
        },
        ::testing::ExitedWithCode(4),
        "^\n\\*\\*\\* FATAL    Error SECOND_THREAD from korvs_f_machine\\.  A second thread\n"
        "\\*\\*\\*          called the library while signal trapping is on\\. Turn trapping\n"
        "\\*\\*\\*          off with KORVS_SET_SIGNAL_TRAPPING_OFF before a second thread\n"
        "\\*\\*\\*          makes its first call\\.\n\n$");
    EXPECT_EXIT(
        {
            call_in_a_thread();
            korvs_f_machine(1);
            std::exit(0);
        },
        ::testing::ExitedWithCode(4), "FATAL    Error SECOND_THREAD from korvs_f_machine");
    EXPECT_EXIT(
        {
            korvs_test::quiet();
            std::thread([] {
                int print = -1, stop = 0;
                korvs_e1pos(0, &print, &stop);
            }).join();
            float r = korvs_f_machine(4);
            std::exit(korvs_error_code() == 499 && korvs_n1rty(1) == 4 && r == 0.0f ? 42 : 1);
        },
        ::testing::ExitedWithCode(42), "");
}

// Several threads raise and read errors at once; none sees another's state or switches.
TEST(PerThread, ErrorStateSwitchesAndUnitsAreIndependent) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING, 0, 0);  // the switch by value
    FILE* mine = std::tmpfile();
    korvs_umach(-2, &mine);
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([t, &mismatches] {
            FILE* unit = nullptr;
            korvs_umach(2, &unit);
            if (unit != stdout) ++mismatches;
            korvs_test::quiet();
            for (int round = 0; round < 2000; ++round) {
                int code = 1000 * (t + 1) + round % 997, type = 3 + round % 2;
                korvs_e1sti(1, code);
                korvs_test::raise_in("thread_routine", type, code, "code %(i1)");
                if (korvs_error_code() != code || korvs_n1rty(1) != type) ++mismatches;
                if (round % 3 == 0) {
                    korvs_i_machine(20 + t);  // a TERMINAL error of this thread only
                    if (korvs_error_code() != 132) ++mismatches;
                }
                if (korvs_f_machine(4) != korvs_amach(4) || korvs_error_code() != 0) ++mismatches;
            }
        });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(mismatches.load(), 0);
    int stop = 0;
    korvs_error_options(KORVS_GET_STOP, 5, &stop, 0);
    EXPECT_EQ(stop, 1);  // the main thread's switches untouched
    EXPECT_EQ(korvs_error_code(), 0);
    FILE* none = nullptr;
    korvs_umach(-2, &none);
    std::fclose(mine);
}

}  // namespace
