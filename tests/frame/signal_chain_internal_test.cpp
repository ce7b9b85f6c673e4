// The trap's handlers stay installed once the first trapped call has made them and hand
// every fault outside a trapped frame to what the program had: its own handler, called
// with the signal's arguments and mask, or the default action, which ends the process
// with the signal as it would have without the library.
#include <gtest/gtest.h>
#include <korvstat.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "korvs_test.hpp"
#include "signal_support.hpp"

namespace {

using signal_support::bad_page;
using signal_support::fault_outside;
using signal_support::faulting_routine;
using signal_support::install_program_handler;
using signal_support::program_handler;
using signal_support::seen;

bool program_handler_in_place() {
    struct sigaction now;
    sigaction(SIGSEGV, nullptr, &now);
    return (now.sa_flags & SA_SIGINFO) && now.sa_sigaction == program_handler;
}

// A trapped call in the library: a fault there is the library's, whatever is installed.
bool trapped_in_library() {
    int calls = seen.calls.load();
    return faulting_routine() == nullptr && korvs_error_code() == 102 && seen.calls.load() == calls;
}

// The handler installed before the first call gets the faults outside library calls,
// with the signal, its siginfo and a context, and its own mask; it may jump out, and
// the next fault reaches it again. A thread that never called the library and a sent
// signal take the same road. Trapping off gives the program its handler back.
TEST(SignalChain, ProgramHandlerInstalledBeforeTheFirstCall) {
    install_program_handler();
    korvs_test::quiet();  // the first call
    EXPECT_FALSE(program_handler_in_place());  // the library's handler now, for good
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(trapped_in_library());
        EXPECT_TRUE(fault_outside());
        EXPECT_EQ(seen.sig, SIGSEGV);
        EXPECT_EQ(seen.code, SEGV_ACCERR);
        EXPECT_EQ(seen.address, (void*)bad_page());
        EXPECT_TRUE(seen.has_context && seen.signal_blocked && seen.extra_blocked);
    }
    bool in_thread = false;
    std::thread([&] { in_thread = fault_outside(); }).join();
    EXPECT_TRUE(in_thread);
    int calls = seen.calls.load();
    if (sigsetjmp(signal_support::recover, 1) == 0) raise(SIGSEGV);
    EXPECT_EQ(seen.calls.load(), calls + 1);
    EXPECT_EQ(seen.code, SI_TKILL);
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    EXPECT_TRUE(program_handler_in_place());
    EXPECT_TRUE(fault_outside());
}

// The program puts its handler over the library's after the first call: trapping on
// installs the library's again and passes on to the program's newest. Trapping off
// then gives back the program's, however often trapping was turned on before.
TEST(SignalChain, TrappingOnRestoresTheTrapAfterTheProgramReplacedIt) {
    korvs_test::quiet();  // the first call
    struct sigaction library;
    install_program_handler(0, &library);
    EXPECT_TRUE(library.sa_flags & SA_SIGINFO);  // it replaced the library's handler
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_ON, 0);
    EXPECT_FALSE(program_handler_in_place());
    EXPECT_TRUE(trapped_in_library());
    EXPECT_TRUE(fault_outside());
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_ON, KORVS_SET_SIGNAL_TRAPPING, 7, 0);
    EXPECT_TRUE(trapped_in_library());
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    EXPECT_TRUE(program_handler_in_place());
    EXPECT_TRUE(fault_outside());
}

// Trapping off as the first call leaves the program's handler where it is, for the
// calls after it too.
TEST(SignalChain, TrappingOffAsTheFirstCallLeavesTheProgramsHandler) {
    install_program_handler();
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    korvs_test::quiet();
    EXPECT_EQ(korvs_f_machine(4), korvs_amach(4));
    EXPECT_TRUE(program_handler_in_place());
    EXPECT_TRUE(fault_outside());
}

// How a forked child ends that sets its dispositions (before), makes a trapped call and
// goes on (after): its wait status, and the bytes its program handler wrote, one a call.
struct ChildEnd {
    int status;
    int handler_calls;
};
int report_pipe = -1;

ChildEnd run_child(void (*before)(), void (*after)()) {
    int fds[2];
    if (pipe(fds) != 0) return {-1, -1};
    pid_t pid = fork();
    if (pid == 0) {
        struct rlimit no_core = {0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        close(fds[0]);
        report_pipe = fds[1];
        before();
        korvs_test::quiet();
        if (!trapped_in_library()) _exit(3);
        after();
        _exit(0);
    }
    close(fds[1]);
    int status = 0, calls = 0;
    waitpid(pid, &status, 0);
    for (char byte; read(fds[0], &byte, 1) == 1;)
        ++calls;
    close(fds[0]);
    return {status, calls};
}

bool killed_by_sigsegv(const ChildEnd& end) {
    return WIFSIGNALED(end.status) && WTERMSIG(end.status) == SIGSEGV;
}

void set_disposition(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(SIGSEGV, &action, nullptr);
}

struct sigaction chained_to;  // what the chaining handler below replaced

// A program handler of the chaining kind: it hands the signal to what it replaced,
// which is the library's handler, which has since saved this one in turn.
void chaining_handler(int sig, siginfo_t* info, void* context) {
    if (write(report_pipe, "c", 1) != 1) _exit(6);
    chained_to.sa_sigaction(sig, info, context);
}

// The default action where the program had it; a fault cannot be ignored; an
// SA_RESETHAND handler is called once; a pair of handlers that chain to each other
// end in the default action instead of calling each other for ever.
TEST(SignalChainDeathTest, ChildrenEndAsTheyWouldWithoutTheLibrary) {
    struct Case {
        const char* what;
        void (*before)();
        void (*after)();
        bool killed;
        int exit_code, handler_calls;
    };
    auto nothing = [] {};
    auto fault = [] { *bad_page() = 1; };
    const Case cases[] = {
        {"default action, fault", [] { set_disposition(SIG_DFL); }, fault, true, 0, 0},
        {"default action, sent", [] { set_disposition(SIG_DFL); }, [] { raise(SIGSEGV); }, true, 0, 0},
        {"ignored, sent", [] { set_disposition(SIG_IGN); }, [] { raise(SIGSEGV), _exit(7); }, false, 7, 0},
        {"ignored, fault", [] { set_disposition(SIG_IGN); }, fault, true, 0, 0},
        {"one-shot handler", [] { install_program_handler(SA_RESETHAND); },
         [] {
             if (!fault_outside() || !trapped_in_library()) _exit(5);
             if (fault_outside()) _exit(8);  // called a second time
         },
         true, 0, 0},
        {"handlers chaining to each other", nothing,
         [] {
             struct sigaction action = {};
             action.sa_sigaction = chaining_handler;
             action.sa_flags = SA_SIGINFO;
             sigemptyset(&action.sa_mask);
             sigaction(SIGSEGV, &action, &chained_to);
             korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_ON, 0);
             if (!trapped_in_library()) _exit(5);
             *bad_page() = 1;
         },
         true, 0, 1},
    };
    for (const Case& c : cases) {
        ChildEnd end = run_child(c.before, c.after);
        if (c.killed) {
            EXPECT_TRUE(killed_by_sigsegv(end)) << c.what << ": status " << end.status;
        } else {
            EXPECT_TRUE(WIFEXITED(end.status) && WEXITSTATUS(end.status) == c.exit_code) << c.what;
        }
        EXPECT_EQ(end.handler_calls, c.handler_calls) << c.what;
    }
}

}  // namespace
