// The library unloaded while a thread that called it is alive: the library really goes and
// the thread ends afterwards untroubled; under AddressSanitizer the leak check verifies the release.
#include <dlfcn.h>

#include <cstdio>
#include <future>
#include <thread>

namespace {

int fail(const char* what) {
    std::fprintf(stderr, "unload check failed: %s (%s)\n", what, dlerror());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return fail("usage: unload_check path/to/libkorvstat.so");
    void* lib = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!lib) return fail("dlopen");
    auto options = reinterpret_cast<void (*)(int, ...)>(dlsym(lib, "korvs_error_options"));
    auto machine = reinterpret_cast<float (*)(int)>(dlsym(lib, "korvs_f_machine"));
    auto error_code = reinterpret_cast<int (*)()>(dlsym(lib, "korvs_error_code"));
    if (!options || !machine || !error_code) return fail("dlsym");

    options(16041, 0);  // signal trapping off: two threads will call
    std::promise<float> called;
    std::promise<void> unloaded;
    std::future<float> from_thread = called.get_future();
    std::future<void> go = unloaded.get_future();
    std::thread worker([&] {
        called.set_value(machine(4));
        go.wait();
    });
    if (machine(4) != from_thread.get() || error_code() != 0) return fail("calls before the unload");
    if (dlclose(lib) != 0) return fail("dlclose");
    if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) return fail("the library is still loaded");
    unloaded.set_value();
    worker.join();
    std::puts("unloaded with a live thread");
    return 0;
}
