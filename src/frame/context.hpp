// The per-thread context: error stack, inserts, message buffer, error-output settings
// and the jump buffers of the signal trap. Created lazily on a thread's first call.
#pragma once

#include <atomic>
#include <cstdio>

#include "jump.hpp"

namespace korvs {

constexpr int kTraceDepth = 200;
constexpr int kTypes = 9;

struct TraceEntry {
    unsigned char type;      // error type recorded for this frame
    signed char user_level;  // nonzero: this routine counts as the caller's side
    int code;                // error code recorded for this frame
    const char* name;        // the routine's name, a string of static lifetime
};


using Printer = void (*)(int type, int code, const char* routine, char* text);
using Hook = void (*)(int type, int code, const char* text);

struct Context {
    int jump_depth;   // live jump buffers: the thread's depth of trapped frames
    int signal_seen;  // a trapped signal has abandoned routines above the frame
    int insert_int[10];
    double insert_real[10];
    double insert_complex[10][2];
    const char* insert_string[10];
    char* error_path;  // search path of the message file, a copy owned by the context
    char* error_file;  // name of the message file
    // One buffer per trace entry: a trapped frame stands on an entry of its own, so the
    // trace stack runs out (and ends the process) before the buffers can.
    JumpBuffer jump_buffers[kTraceDepth];
    int last_type[2];
    int last_code[2];
    char* message;      // expanded text of the pending message; always a valid string
    char* message_end;  // one past the buffer's last byte
    int message_capacity;
    TraceEntry trace[kTraceDepth];
    TraceEntry* trace_top;
    FILE* error_stream;
    Printer printer;
    int print_mode;
    int full_traceback;
    const char* const* type_name;
    unsigned char print_flag[kTypes];
    unsigned char stop_flag[kTypes];
    unsigned char trace_flag[kTypes];
    unsigned char immediate_flag[kTypes];
    char fallback_text[64];
    char name_text[32];
    const char* read_failure;
    char path_text[261];
    int record_index;
    char* record_text;
    int record_code;
    char* error_file_copy;  // the copy made by KORVS_ERROR_MSG_FILE, released with the context
};

// Process-wide words of the frame, read without a lock. Relaxed atomics: a plain load
// on the machine, and no data race for a thread that reads while another writes.
extern std::atomic<int> trapping;  // the signal-trap switch (frame.hpp), on at load
extern std::atomic<Hook> error_hook;

Context* create_context();
void context_init(Context* c);

// The calling thread's context, created at need; never null. The pointer is cached in
// a thread-local word so that the frame's fixed cost stays a load and a test.
extern constinit thread_local Context* tls_context [[gnu::tls_model("initial-exec")]];
inline Context* get_context() {
    Context* c = tls_context;
    return c ? c : create_context();
}

}  // namespace korvs
