// Printed output for every family that prints: the per-thread records of the output
// settings, the page and the line sink, and the line writer that all printed text goes
// through, so that paging, form feeds and string mode work the same for every report.
#pragma once

#include <cstddef>

namespace korvs {

// The settings of korvs_write_options, in the order of their option numbers 1 to 6.
struct WriteSettings {
    int centering = 0;    // 1: a title is centred on the page; 0: on the table
    int row_wrap = 1000;  // rows in one block; 0: as many as fit on a page
    int paging = -2;      // -2 no page breaks; -1 a form feed before each table; else lines on this page
    int nan_char = 0;     // a NaN prints as dots (0) or blanks (1)
    int title_page = 0;   // 1: the title is repeated on each page
    int format = 0;       // default format: 0 "%11.4W", 1 "%13.6W", 2 "%13.5e"
};

struct PageSettings {
    int width = 78;
    int length = 60;
};

// Where lines go. With to_string set they are appended to text, which stays a valid
// string; with to_console, to standard output; otherwise to the output unit.
struct LineSink {
    char* text = nullptr;
    std::size_t length = 0;
    std::size_t capacity = 0;
    int to_string = 0;
    int to_console = 0;
    int failed = 0;  // an append could not grow text; 200 has been raised
};

// The calling thread's records, created on first use; null with 200 raised when they
// cannot be allocated.
WriteSettings* write_settings();
PageSettings* page_settings();
LineSink* line_sink();

// korvs_print_line: writes one line of `length` characters, the text right-aligned and
// cut to that length, then a newline. Length 0 writes nothing; -1 writes a form feed and
// starts a new page count. With paging on, a line that would fall past the page length
// is preceded by a form feed. The caller holds the stream lock around a whole report.
void print_line(int length, const char* text);

// Leaves string mode and hands over the collected text (never null after a good run;
// null after an append failed, the text then freed).
char* take_string(LineSink* sink);

}  // namespace korvs
