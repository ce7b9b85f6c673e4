// Test support: a computation run by four threads that start together gives the numbers
// it gives in a thread that runs alone afterwards. For routines that keep per-thread
// records or compute something once per process.
#pragma once

#include <gtest/gtest.h>
#include <korvstat.h>

#include <thread>
#include <vector>

#include "korvs_test.hpp"

namespace korvs_test {

// run(out) appends its results to out.
template <class F> void expect_same_in_every_thread(F run) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    std::vector<std::vector<double>> seen(4);
    std::vector<std::thread> threads;
    for (auto& s : seen)
        threads.emplace_back([&s, &run] {
            quiet();
            run(s);
        });
    for (auto& t : threads)
        t.join();
    std::vector<double> alone;
    quiet();
    run(alone);
    for (const auto& s : seen)
        EXPECT_EQ(s, alone);
}

}  // namespace korvs_test
