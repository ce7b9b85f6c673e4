// The library unloaded while a thread that called it is alive: the library really goes and
// the thread ends afterwards untroubled; under AddressSanitizer the leak check verifies the release.
#include <dlfcn.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
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
    std::mutex m;
    std::condition_variable cv;
    bool called = false, unloaded = false;
    float from_thread = 0;
    std::thread worker([&] {
        from_thread = machine(4);
        std::unique_lock<std::mutex> lock(m);
        called = true;
        cv.notify_all();
        cv.wait(lock, [&] { return unloaded; });
    });
    {
        std::unique_lock<std::mutex> lock(m);
        cv.wait(lock, [&] { return called; });
    }
    if (machine(4) != from_thread || error_code() != 0) return fail("calls before the unload");

    if (dlclose(lib) != 0) return fail("dlclose");
    if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) return fail("the library is still loaded");
    {
        std::lock_guard<std::mutex> lock(m);
        unloaded = true;
    }
    cv.notify_all();
    worker.join();
    std::puts("unloaded with a live thread");
    return 0;
}
