// The signal trap: a fault inside a worker becomes TERMINAL 511 and 102, the trace is
// unwound, the caller's handlers come back and nested frames restore their depth.
#include <gtest/gtest.h>
#include <korvstat.h>
#include <signal.h>
#include <sys/mman.h>

#include "frame/context.hpp"
#include "frame/frame.hpp"
#include "korvs_test.hpp"

namespace {

// An export-shaped routine returning a pointer, whose worker faults in an inner routine.
float* faulting_routine() {
    static void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    float* result = nullptr;
    korvs::run_frame("faulting_routine", [&] {
        static float answer = 1.0f;
        korvs_e1psh("inner_helper");
        *static_cast<volatile int*>(page) = 1;
        korvs_e1pop("inner_helper");
        result = &answer;
    });
    return result;
}

void caller_handler(int) {}

class SignalTrap : public korvs_test::KorvsTest {};

// Nested frames have jump buffers of their own and a fault returns to the innermost.
TEST_F(SignalTrap, FaultRaises511And102EveryTimeAndUnwindsTheTrace) {
    struct sigaction mine = {}, seen = {};
    mine.sa_handler = caller_handler;
    sigemptyset(&mine.sa_mask);
    ASSERT_EQ(sigaction(SIGSEGV, &mine, nullptr), 0);
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
    sigaction(SIGSEGV, nullptr, &seen);
    EXPECT_EQ(seen.sa_handler, caller_handler);  // the caller's handlers come back
    sigaction(SIGILL, nullptr, &seen);
    EXPECT_EQ(seen.sa_handler, SIG_DFL);
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    int depth_inside = -1;
    korvs::run_frame("plain", [&] { depth_inside = c->jump_depth; });
    EXPECT_EQ(depth_inside, 0);  // no jump buffer with trapping off
}

TEST(SignalTrapDeathTest, DefaultStopEndsWithStatus5AndBothMessages) {
    EXPECT_EXIT(faulting_routine(), ::testing::ExitedWithCode(5),
                "^\n\\*\\*\\* TERMINAL Error from faulting_routine\\.  The routine met signal 11,\n"
                "\\*\\*\\*          SIGSEGV: an access to memory outside the program's reach, often\n"
                "\\*\\*\\*          an array shorter than its dimension says\\.\n\n"
                "\n\\*\\*\\* TERMINAL Error from faulting_routine\\.  The routine was abandoned after a\n"
                "\\*\\*\\*          trapped signal; it has delivered no results\\.\n\n$");
}

}  // namespace
