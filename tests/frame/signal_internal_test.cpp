// The signal trap: a fault inside a worker becomes TERMINAL 511 and 102, the trace is
// unwound, the caller's handlers come back and nested frames restore their depth.
#include <gtest/gtest.h>
#include <korvstat.h>
#include <signal.h>
#include <sys/mman.h>

#include <vector>

#include "frame/context.hpp"
#include "frame/frame.hpp"
#include "korvs_test.hpp"

namespace {

using korvs_test::KorvsTest;

// A page that faults on any write.
volatile int* protected_page() {
    static void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return static_cast<volatile int*>(page);
}

// An export-shaped routine returning a pointer, whose worker goes through an inner
// routine that faults.
float* faulting_routine() {
    float* result = nullptr;
    korvs::run_frame("faulting_routine", [&] {
        static float answer = 1.0f;
        korvs_e1psh("inner_helper");
        *protected_page() = 1;
        korvs_e1pop("inner_helper");
        result = &answer;
    });
    return result;
}

class SignalTrap : public KorvsTest {};

TEST_F(SignalTrap, FaultInAWorkerRaises511And102) {
    EXPECT_EQ(faulting_routine(), nullptr);
    ASSERT_EQ(errors().size(), 3u);
    EXPECT_EQ(errors()[0].type, 5);
    EXPECT_EQ(errors()[0].code, 511);
    EXPECT_EQ(errors()[1].code, 102);
    EXPECT_EQ(errors()[2].code, 102);  // seen again by the hook at the pop
    EXPECT_EQ(korvs_error_code(), 102);
    korvs::Context* c = korvs::get_context();
    EXPECT_EQ(c->trace_top, &c->trace[0]);
    EXPECT_EQ(c->jump_depth, 0);
    EXPECT_EQ(c->signal_seen, 0);
    // The next call runs clean.
    EXPECT_EQ(korvs_f_machine(4), korvs_amach(4));
    EXPECT_EQ(korvs_error_code(), 0);
}

TEST_F(SignalTrap, TheInsertIsTheSignalNumber) {
    faulting_routine();
    korvs_test::raised.clear();
    korvs_e1psh("peek");
    korvs_e1mes(3, 1, "%(i1)");
    korvs_e1pop("peek");
    EXPECT_EQ(errors().back().text, "11");
}

TEST_F(SignalTrap, RepeatedFaultsAreTrappedEachTime) {
    for (int i = 0; i < 5; ++i) {
        clear();
        EXPECT_EQ(faulting_routine(), nullptr);
        EXPECT_EQ(korvs_error_code(), 102);
        EXPECT_EQ(errors().front().code, 511);
    }
}

void caller_handler(int) {}

TEST_F(SignalTrap, CallersHandlersComeBackAfterTheFrame) {
    struct sigaction mine = {}, seen = {};
    mine.sa_handler = caller_handler;
    sigemptyset(&mine.sa_mask);
    ASSERT_EQ(sigaction(SIGSEGV, &mine, nullptr), 0);
    korvs_f_machine(1);
    faulting_routine();
    sigaction(SIGSEGV, nullptr, &seen);
    EXPECT_EQ(seen.sa_handler, caller_handler);
    sigaction(SIGILL, nullptr, &seen);
    EXPECT_EQ(seen.sa_handler, SIG_DFL);
}

TEST_F(SignalTrap, NestedFramesBuildTheirOwnJumpBuffers) {
    int depth_inside = -1;
    korvs::run_frame("outer_export", [&] {
        korvs::run_frame("inner_export", [&] { depth_inside = korvs::get_context()->jump_depth; });
        EXPECT_EQ(korvs::get_context()->jump_depth, 1);
    });
    EXPECT_EQ(depth_inside, 2);
    EXPECT_EQ(korvs::get_context()->jump_depth, 0);
}

TEST_F(SignalTrap, FaultInANestedFrameReturnsToTheInnermost) {
    bool outer_went_on = false;
    korvs::run_frame("outer_export", [&] {
        faulting_routine();
        outer_went_on = true;
    });
    EXPECT_TRUE(outer_went_on);
    EXPECT_EQ(korvs_error_code(), 102);
    EXPECT_EQ(korvs::get_context()->jump_depth, 0);
    EXPECT_EQ(korvs::get_context()->trace_top, &korvs::get_context()->trace[0]);
}

TEST_F(SignalTrap, WithTrappingOffNoJumpBufferIsUsed) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    int depth_inside = -1;
    korvs::run_frame("plain", [&] { depth_inside = korvs::get_context()->jump_depth; });
    EXPECT_EQ(depth_inside, 0);
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
