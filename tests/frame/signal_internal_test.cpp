// The signal trap: a fault inside a worker becomes TERMINAL 511 and 102, the trace is
// unwound and nested frames restore their depth; threads fault at once, each into its
// own frame, and go on.
#include <gtest/gtest.h>
#include <korvstat.h>
#include <signal.h>

#include <cstring>
#include <thread>
#include <vector>

#include "frame/context.hpp"
#include "frame/frame.hpp"
#include "korvs_test.hpp"
#include "signal_support.hpp"

namespace {

using signal_support::faulting_routine;

class SignalTrap : public korvs_test::KorvsTest {};

// Nested frames have jump buffers of their own and a fault returns to the innermost.
TEST_F(SignalTrap, FaultRaises511And102EveryTimeAndUnwindsTheTrace) {
    korvs::Context* c = korvs::get_context();
    for (int depth : {0, 0, 1}) {
        clear();
        int depth_inside = -1;
        if (depth == 0) {
            EXPECT_EQ(faulting_routine(), nullptr);
        } else {
            korvs::run_frame("outer_export", [&] {
                korvs::run_frame("inner_export", [&] { depth_inside = c->jump_depth; });
                EXPECT_EQ(faulting_routine(), nullptr);
                depth_inside += 10 * c->jump_depth;  // the outer frame goes on at its own depth
            });
            EXPECT_EQ(depth_inside, 12);
        }
        if (depth == 0) {
            ASSERT_EQ(errors().size(), 3u);  // 102 is seen again by the hook at the pop
            EXPECT_TRUE(errors()[0].type == 5 && errors()[0].code == 511);
            EXPECT_TRUE(errors()[1].code == 102 && errors()[2].code == 102);
        }
        EXPECT_EQ(korvs_error_code(), 102);
        EXPECT_EQ(korvs_test::inserts("%(i1)"), "11");  // the signal number
        EXPECT_TRUE(c->trace_top == &c->trace[0] && c->jump_depth == 0 && c->signal_seen == 0);
    }
    EXPECT_EQ(korvs_f_machine(4), korvs_amach(4));  // the next call runs clean
    EXPECT_EQ(korvs_error_code(), 0);
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    int depth_inside = -1;
    korvs::run_frame("plain", [&] { depth_inside = c->jump_depth; });
    EXPECT_EQ(depth_inside, 0);  // no jump buffer with trapping off
}

// An illegal instruction takes the same road, with its own code.
TEST_F(SignalTrap, IllegalInstructionRaises504And102) {
    for (int round = 0; round < 2; ++round) {
        clear();
        volatile int reached = 0;
        korvs::run_frame("illegal", [&] {
            reached = 1;
            __builtin_trap();
        });
        EXPECT_EQ(reached, 1);
        EXPECT_EQ(korvs_error_code(), 102);
        EXPECT_TRUE(errors().size() == 3 && errors()[0].type == 5 && errors()[0].code == 504);
        EXPECT_EQ(korvs_test::inserts("%(i1)"), std::to_string(SIGILL));
    }
}

TEST(SignalTrapDeathTest, DefaultStopEndsWithStatus5AndBothMessages) {
    EXPECT_EXIT(faulting_routine(), ::testing::ExitedWithCode(5),
                "^\n\\*\\*\\* TERMINAL Error from faulting_routine\\.  The routine met signal 11,\n"
                "\\*\\*\\*          SIGSEGV: an access to memory outside the program's reach, often\n"
                "\\*\\*\\*          an array shorter than its dimension says\\.\n\n"
                "\n\\*\\*\\* TERMINAL Error from faulting_routine\\.  The routine was abandoned after a\n"
                "\\*\\*\\*          trapped signal; it has delivered no results\\.\n\n$");
}

// Eight threads fault inside library routines at the same moment, round after round:
// each gets 511 and 102 in its own error state and goes on, and its next results are
// bit for bit those of the main thread.
TEST(SignalTrapThreads, EightThreadsFaultAtOnceAndGoOn) {
    constexpr int kThreads = 8, kRounds = 40;
    const double xs[] = {-7.5, -1.25, 0.0, 0.5, 3.0, 11.75};
    std::vector<double> expected;
    for (double x : xs) {
        expected.push_back(korvs_d_normal_cdf(x));
        expected.push_back(korvs_d_log_gamma(x + 8));
    }
    korvs_set_at_checksum(korvs_test::record_hook);
    std::atomic<int> arrived{0}, mismatches{0}, done_rounds{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            korvs_test::quiet();
            korvs::Context* c = korvs::get_context();
            for (int round = 0; round < kRounds; ++round) {
                // All threads fault together: wait for the others of this round.
                arrived.fetch_add(1);
                while (arrived.load() < kThreads * (round + 1))
                    std::this_thread::yield();
                korvs_test::raised.clear();
                if (faulting_routine() != nullptr || korvs_error_code() != 102 || korvs_n1rty(1) != 5)
                    ++mismatches;
                if (korvs_test::raised.size() != 3 || korvs_test::raised[0].code != 511 ||
                    c->trace_top != &c->trace[0] || c->jump_depth != 0)
                    ++mismatches;
                std::vector<double> got;
                for (double x : xs) {
                    got.push_back(korvs_d_normal_cdf(x));
                    got.push_back(korvs_d_log_gamma(x + 8));
                }
                if (std::memcmp(got.data(), expected.data(), got.size() * sizeof(double)) != 0 ||
                    korvs_error_code() != 0)
                    ++mismatches;
                done_rounds.fetch_add(1);
            }
        });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(done_rounds.load(), kThreads * kRounds);
    EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
