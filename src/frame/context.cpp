// Creation, defaults and release of the per-thread context. Every thread that calls
// gets its own, with its own jump buffers, so threads need no rule among themselves.
#include "context.hpp"

#include <cstdlib>
#include <cstring>

#include "errors.hpp"
#include "thread.hpp"

namespace korvs {

std::atomic<int> trapping{2};  // on, the handlers still to be installed
std::atomic<Hook> error_hook{nullptr};
constinit thread_local Context* tls_context [[gnu::tls_model("initial-exec")]] = nullptr;

namespace {

int context_key = 0;
int context_once = 0;

const char* const kTypeNames[kTypes] = {"INTERNAL",          "NOTE    ",        "ALERT   ",
                                        "WARNING ",          "FATAL   ",        "TERMINAL",
                                        "WARNING_IMMEDIATE", "FATAL_IMMEDIATE", "INTERNAL"};
// Print, Stop, Trace and Immediate of the types 0 to 8.
constexpr unsigned char kPrint[kTypes] = {0, 0, 0, 1, 1, 1, 1, 1, 1};
constexpr unsigned char kStop[kTypes] = {0, 0, 0, 0, 1, 1, 0, 0, 1};
constexpr unsigned char kTrace[kTypes] = {0, 0, 0, 0, 0, 0, 0, 0, 1};
constexpr unsigned char kImmediate[kTypes] = {0, 0, 0, 0, 0, 1, 1, 1, 1};

void destroy_context(void* value) {
    auto* c = static_cast<Context*>(value);
    if (!c) return;
    std::free(c->message);
    std::free(c->record_text);
    std::free(c->error_path);
    std::free(c->error_file_copy);
    if (tls_context == c) tls_context = nullptr;
    std::free(c);
}

void make_context_key() { key_create(&context_key, destroy_context); }

[[noreturn]] void context_out_of_memory() {
    std::fputs("korvstat: out of memory for a thread's context\n", stderr);
    std::exit(8);
}

}  // namespace

void context_init(Context* c) {
    std::memset(static_cast<void*>(c), 0, sizeof(Context));
    c->record_code = -1;
    c->record_index = -1;
    c->trace[0] = TraceEntry{0, 1, 0, "USER"};
    c->trace_top = &c->trace[0];
    c->printer = stream_printer;
    c->print_mode = 50020;
    c->type_name = kTypeNames;
    std::memcpy(c->print_flag, kPrint, kTypes);
    std::memcpy(c->stop_flag, kStop, kTypes);
    std::memcpy(c->trace_flag, kTrace, kTypes);
    std::memcpy(c->immediate_flag, kImmediate, kTypes);
    // The buffer starts at 2048 bytes and is doubled at once by the routine that grows it
    // later, so a new context holds 4096.
    c->message_capacity = 2048;
    c->message = static_cast<char*>(std::malloc(c->message_capacity));
    char* grown =
        c->message ? static_cast<char*>(std::realloc(c->message, 2 * c->message_capacity)) : nullptr;
    if (!grown) context_out_of_memory();
    c->message = grown;
    c->message_capacity *= 2;
    c->message_end = c->message + c->message_capacity;
    c->message[0] = '\0';
}

Context* create_context() {
    once(&context_once, make_context_key);
    if (auto* c = static_cast<Context*>(key_get(context_key))) {
        tls_context = c;
        return c;
    }
    auto* c = static_cast<Context*>(std::malloc(sizeof(Context)));
    if (!c) context_out_of_memory();
    context_init(c);
    // After the library was unloaded no key is left; the context then lives in this
    // thread's cached pointer alone, for whatever calls the process still makes.
    int status = key_set(context_key, c);
    if (status == 12 && key_get(context_key) != c) context_out_of_memory();
    tls_context = c;
    return c;
}

const char* type_name(const Context* c, int type) {
    return (type >= 0 && type < kTypes) ? c->type_name[type] : "INTERNAL";
}

}  // namespace korvs
