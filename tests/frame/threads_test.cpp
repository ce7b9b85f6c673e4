// Threads: the first-thread rule with signal trapping on, and error state of its own in
// every thread with trapping off.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <atomic>
#include <cstdio>
#include <string>
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

// Several threads raise and read errors and print tables at once; none sees another's
// error state, switches, units or output settings, and every table stays whole.
TEST(PerThread, ErrorStateSwitchesUnitsAndOutputAreIndependent) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING, 0, 0);  // the switch by value
    FILE *mine = std::tmpfile(), *shared = std::tmpfile();
    korvs_umach(-2, &mine);
    int narrow = 40;
    korvs_page(-1, &narrow);
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([t, shared, &mismatches] {
            FILE* unit = nullptr;
            int width = 0;
            korvs_umach(2, &unit);
            korvs_page(1, &width);
            if (unit != stdout || width != 78) ++mismatches;  // a new thread starts from the defaults
            FILE* out = shared;
            korvs_umach(-2, &out);
            korvs_test::quiet();
            std::vector<int> marks(20, t);
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
                if (round % 5 == 0) korvs_i_write_matrix("", 20, 1, marks.data(), KORVS_NO_ROW_LABELS, 0);
            }
        });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(mismatches.load(), 0);
    int stop = 0, width = 0;
    korvs_error_options(KORVS_GET_STOP, 5, &stop, 0);
    korvs_page(1, &width);
    EXPECT_TRUE(stop == 1 && width == 40 && korvs_error_code() == 0);  // the main thread's own
    std::rewind(shared);
    std::vector<std::string> lines;
    for (char line[64]; std::fgets(line, sizeof line, shared);)
        lines.push_back(line);
    ASSERT_EQ(lines.size(), 6u * 400 * 20);
    for (std::size_t k = 0; k < lines.size(); ++k)
        ASSERT_EQ(lines[k], lines[k - k % 20]) << "line " << k;
    FILE* none = nullptr;
    korvs_umach(-2, &none);
    std::fclose(mine);
    std::fclose(shared);
}

}  // namespace
