// The line writer behind every printed report, with its three destinations (the output
// unit, standard output in console mode, a growing string in string mode) and the page
// count that places form feeds; korvs_wrtrl, a short text through the same writer.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/output/output.hpp"
#include "frame/thread.hpp"
#include "frame/units.hpp"

namespace korvs {
namespace {

// Appends to the string, doubling its room; false after a failed growth.
bool append(LineSink* sink, const char* bytes, std::size_t n) {
    if (sink->failed) return false;
    if (sink->length + n + 1 > sink->capacity) {
        std::size_t capacity = sink->capacity ? sink->capacity : 256;
        while (sink->length + n + 1 > capacity)
            capacity *= 2;
        char* grown = static_cast<char*>(std::realloc(sink->text, capacity));
        if (!grown) {
            sink->failed = 1;
            korvs_ermes(5, 200);
            return false;
        }
        sink->text = grown;
        sink->capacity = capacity;
    }
    std::memcpy(sink->text + sink->length, bytes, n);
    sink->length += n;
    sink->text[sink->length] = '\0';
    return true;
}

void put(LineSink* sink, const char* bytes, std::size_t n) {
    if (sink->to_string) {
        append(sink, bytes, n);
    } else {
        std::fwrite(bytes, 1, n, sink->to_console ? stdout : unit_stream(2));
    }
}

// A line of `length` characters (0: an empty line), counted on the page: the bytes of
// "%*.*s\n" with width and precision both `length`, the text cut to that length and
// padded with blanks on the left.
void write_line(int length, const char* text) {
    WriteSettings* s = write_settings();
    PageSettings* page = page_settings();
    LineSink* sink = line_sink();
    if (!s || !page || !sink) return;
    if (s->paging >= 0) {
        if (s->paging >= page->length) {
            put(sink, "\f", 1);
            s->paging = 0;
        }
        ++s->paging;
    }
    std::size_t n = text ? strnlen(text, static_cast<std::size_t>(length)) : 0;
    static const char blanks[] = "                                ";
    constexpr std::size_t kBlanks = sizeof blanks - 1;
    for (std::size_t pad = static_cast<std::size_t>(length) - n; pad > 0;) {
        std::size_t k = pad < kBlanks ? pad : kBlanks;
        put(sink, blanks, k);
        pad -= k;
    }
    if (n > 0) put(sink, text, n);
    put(sink, "\n", 1);
}

}  // namespace

void print_line(int length, const char* text) {
    if (length == 0 || length < -1) return;
    if (length > 0) {
        write_line(length, text);
        return;
    }
    WriteSettings* s = write_settings();
    LineSink* sink = line_sink();
    if (!s || !sink) return;
    put(sink, "\f", 1);
    if (s->paging >= 0) s->paging = 0;
}

char* take_string(LineSink* sink) {
    char* text = sink->text;
    if (sink->failed) {
        std::free(text);
        text = nullptr;
    } else if (!text) {
        text = static_cast<char*>(std::calloc(1, 1));
        if (!text) korvs_ermes(5, 200);
    }
    *sink = LineSink{};
    return text;
}

namespace {

void l_wrtrl(const char* text, int width) {
    if (!text) {
        korvs_e1stl(1, "text");
        korvs_e1sti(1, -1);
        korvs_ermes(5, 150);
        return;
    }
    if (strnlen(text, 256) >= 256) {
        korvs_ermes(5, 10011);
        return;
    }
    int count = 0;
    check_range(width, "width", 1, -1, &count);
    if (korvs_n1rty(0) > 0) return;
    if (!write_settings() || !page_settings() || !line_sink()) return;
    stream_lock();
    const char* p = text;
    for (;;) {
        const char* end = std::strchr(p, '\n');
        int n = static_cast<int>(end ? end - p : std::strlen(p));
        if (n == 0) write_line(0, "");  // an empty piece: an empty line
        for (int offset = 0; offset < n; offset += width)
            print_line(n - offset < width ? n - offset : width, p + offset);
        // A newline ends a line; it does not open one at the end of the text.
        if (!end || !end[1]) break;
        p = end + 1;
    }
    std::fflush(line_sink()->to_console ? stdout : unit_stream(2));
    stream_unlock();
}

}  // namespace
}  // namespace korvs

extern "C" KORVS_API void korvs_wrtrl(const char* text, int width) noexcept {
    korvs::run_frame("korvs_wrtrl", [&] { korvs::l_wrtrl(text, width); });
}
