// Threads: with signal trapping on (the default) or off, every calling thread has its own
// error state, switches, units and output settings, and computes bit for bit what one
// thread alone computes.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "korvs_test.hpp"

namespace {

// Values of a few scalar routines of both twins over their ranges.
std::vector<double> compute() {
    std::vector<double> out;
    for (int i = 1; i < 120; ++i)
        out.insert(out.end(), {korvs_d_normal_cdf(i / 8.0 - 9), korvs_f_normal_cdf(i / 8.0f - 9),
                               korvs_d_log_gamma(i / 3.0 + 0.125), korvs_f_log_gamma(i / 3.0f + 0.125f),
                               korvs_d_erfc(i / 12.0 - 2)});
    return out;
}

std::atomic<int> errors_seen{0};
void count_errors(int type, int code, const char*) {
    if (type != 0 || code != 0) ++errors_seen;
}

// With the defaults, threads come and go and call as they like: a thread that calls
// first and ends, the main thread, then waves of threads together. No call fails (a
// FATAL error would end the process by default) and every thread computes the same.
TEST(Threads, WithTheDefaultsAnyNumberOfThreadsCall) {
    korvs_set_at_checksum(count_errors);
    std::vector<double> alone;
    std::thread([&] { alone = compute(); }).join();
    std::thread([] {}).join();  // a thread that never calls
    EXPECT_EQ(compute(), alone);
    std::atomic<int> mismatches{0};
    for (int wave = 0; wave < 3; ++wave) {
        std::vector<std::thread> threads;
        for (int t = 0; t < 6; ++t)
            threads.emplace_back([&] {
                if (compute() != alone || korvs_error_code() != 0) ++mismatches;
            });
        for (auto& th : threads)
            th.join();
    }
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(errors_seen.load(), 0);
    EXPECT_EQ(korvs_error_code(), 0);
}

class PerThread : public ::testing::TestWithParam<int> {};

// Several threads raise and read errors and print tables at once; none sees another's
// error state, switches, units or output settings, every table stays whole, and each
// thread's results are the single thread's.
TEST_P(PerThread, ErrorStateSwitchesUnitsAndOutputAreIndependent) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING, GetParam(), 0);  // the switch by value
    const std::vector<double> alone = compute();
    FILE *mine = std::tmpfile(), *shared = std::tmpfile();
    korvs_umach(-2, &mine);
    int narrow = 40;
    korvs_page(-1, &narrow);
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([t, shared, &mismatches, &alone] {
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
                if (round % 400 == 0 && compute() != alone) ++mismatches;
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

INSTANTIATE_TEST_SUITE_P(Trapping, PerThread, ::testing::Values(0, 1),
                         [](const ::testing::TestParamInfo<int>& info) {
                             return std::string(info.param ? "On" : "Off");
                         });

}  // namespace
