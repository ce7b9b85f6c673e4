// Message texts and symbolic names of error codes, from the message file korvs_e.bin.
// The file is looked for once per process, at the first lookup, on the search path of
// KORVSERRPATH or the KORVS_ERROR_MSG_PATH option; with neither, on ".;$LIB;/lib;c:/lib"
// and then in the directory of the loaded library, where the install puts the file.
// Without a usable file there is one report on standard error and every message is
// "Error code N.".
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "context.hpp"
#include "errors.hpp"
#include "message_file.hpp"
#include "thread.hpp"

namespace korvs {
namespace {

constexpr char kDefaultPath[] = ".;$LIB;/lib;c:/lib";
constexpr std::size_t kListSize = 4096;
constexpr std::size_t kPathSize = 1024;
constexpr std::size_t kEnvironmentLimit = 260;
char default_file[] = "korvs_e.bin";

enum FileState { not_tried = 0, failed = 1, ready = 2 };

// Process-wide: written once under the once word, read without a lock afterwards.
int file_once = 0;
int file_state = not_tried;
MessageIndex file_index;

// The default path and, behind it, the directory of this library as it was loaded.
void default_path(char* out, std::size_t size) {
    std::snprintf(out, size, "%s", kDefaultPath);
    Dl_info info;
    if (!dladdr(reinterpret_cast<void*>(&message_text), &info) || !info.dli_fname) return;
    const char* slash = std::strrchr(info.dli_fname, '/');
    if (!slash) return;
    std::size_t used = std::strlen(out);
    auto length = static_cast<std::size_t>(slash - info.dli_fname);
    if (length == 0) length = 1;  // the library sits in "/"
    if (used + 1 + length + 1 > size) return;
    out[used] = ';';
    std::memcpy(out + used + 1, info.dli_fname, length);
    out[used + 1 + length] = '\0';
}

// The one report of a file that cannot be used. The box mode's stand-in on this platform
// is standard error as well, so both modes write the same text there.
void report(const char* file, const char* reason) {
    stream_lock();
    std::fprintf(stderr, "Error in reading %s\n%s.\n", file, reason);
    std::fflush(stderr);
    stream_unlock();
}

void open_message_file() {
    Context* c = get_context();
    const char* path = c->error_path;
    char fallback_path[kListSize];
    if (!path) {
        if (const char* variable = std::getenv("KORVSERRPATH")) {
            std::snprintf(c->path_text, kEnvironmentLimit + 1, "%s", variable);
            path = c->path_text;
        } else {
            default_path(fallback_path, sizeof fallback_path);
            path = fallback_path;
        }
    }
    char list[kListSize];
    expand_search_path(path, list, sizeof list);
    char found[kPathSize];
    const char* reason = kFileNotFound;
    const char* shown = c->error_file;
    if (find_on_path(list, c->error_file, found, sizeof found)) {
        shown = found;
        int fd = open(found, O_RDONLY | O_CLOEXEC | O_NONBLOCK);  // never wait on a FIFO
        if (fd >= 0) {
            reason = load_index(fd, &file_index);
            if (reason) close(fd);
        }
    }
    if (reason) {
        report(shown, reason);
        file_state = failed;
        return;
    }
    file_state = ready;
}

// The record of a code in the file, or -1. The file name is set back to the default at
// every lookup, so the fixed name stands whatever KORVS_ERROR_MSG_FILE said.
int lookup(Context* c, int code) {
    c->error_file = default_file;
    once(&file_once, open_message_file);
    if (file_state != ready) return -1;
    return find_record(file_index, code);
}

}  // namespace

// korvs_message_text: the template of a code; the last record read is kept per thread,
// so a repeated code costs no read.
const char* message_text(int code) {
    Context* c = get_context();
    if (code != c->record_code) c->record_index = lookup(c, code);
    if (c->record_index < 0) {
        std::snprintf(c->fallback_text, sizeof c->fallback_text, "Error code %ld.", static_cast<long>(code));
        return c->fallback_text;
    }
    if (!c->record_text) {
        c->record_text = static_cast<char*>(std::malloc(file_index.buffer_size));
        if (!c->record_text) {
            c->read_failure = "Out-of-memory";
            return c->fallback_text;
        }
    }
    if (code == c->record_code) return c->record_text;
    if (!read_record(file_index, c->record_index, c->record_text)) {
        // A record whose read failed is not cached: the buffer may hold part of it.
        c->record_code = -1;
        c->record_index = -1;
        c->read_failure = "Cannot seek to correct location";
        return c->fallback_text;
    }
    c->record_code = code;
    return c->record_text;
}

// korvs_message_name: the symbolic name of a code. Without a ready file, and for a code
// the file does not hold, the name is the code's digits, so that the head of a message
// always identifies the error.
const char* message_name(int code) {
    Context* c = get_context();
    const char* text = message_text(code);
    if (file_state == ready && text == c->record_text && c->record_code == code) {
        std::snprintf(c->name_text, sizeof c->name_text, "%s", text + std::strlen(text) + 1);
    } else {
        std::snprintf(c->name_text, sizeof c->name_text, "%ld", static_cast<long>(code));
    }
    return c->name_text;
}

}  // namespace korvs
