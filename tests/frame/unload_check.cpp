// The library unloaded while a thread that called it is alive: the library really goes and
// the thread ends afterwards untroubled; under AddressSanitizer the leak check verifies the release.
// The calls run with signal trapping on: the unload gives back the SIGSEGV and SIGILL
// dispositions that the library's handlers replaced, which would otherwise point into
// code that is gone.
#include <dlfcn.h>
#include <signal.h>

#include <cstdio>
#include <future>
#include <thread>

namespace {

int fail(const char* what) {
    std::fprintf(stderr, "unload check failed: %s (%s)\n", what, dlerror());
    return 1;
}

bool same(const struct sigaction& a, const struct sigaction& b) {
    return a.sa_handler == b.sa_handler && (a.sa_flags & SA_SIGINFO) == (b.sa_flags & SA_SIGINFO);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return fail("usage: unload_check path/to/libkorvstat.so");
    struct sigaction segv_before, ill_before, segv_after, ill_after;
    sigaction(SIGSEGV, nullptr, &segv_before);
    sigaction(SIGILL, nullptr, &ill_before);
    void* lib = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!lib) return fail("dlopen");
    auto machine = reinterpret_cast<float (*)(int)>(dlsym(lib, "korvs_f_machine"));
    auto error_code = reinterpret_cast<int (*)()>(dlsym(lib, "korvs_error_code"));
    if (!machine || !error_code) return fail("dlsym");

    std::promise<float> called;
    std::promise<void> unloaded;
    std::future<float> from_thread = called.get_future();
    std::future<void> go = unloaded.get_future();
    std::thread worker([&] {
        called.set_value(machine(4));
        go.wait();
    });
    if (machine(4) != from_thread.get() || error_code() != 0) return fail("calls before the unload");
    sigaction(SIGSEGV, nullptr, &segv_after);
    if (same(segv_after, segv_before)) return fail("no trap installed by the calls");
    if (dlclose(lib) != 0) return fail("dlclose");
    if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) return fail("the library is still loaded");
    sigaction(SIGSEGV, nullptr, &segv_after);
    sigaction(SIGILL, nullptr, &ill_after);
    if (!same(segv_after, segv_before) || !same(ill_after, ill_before))
        return fail("dispositions not given back");
    unloaded.set_value();
    worker.join();
    std::puts("unloaded with a live thread");
    return 0;
}
