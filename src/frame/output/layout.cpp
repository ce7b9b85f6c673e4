// The table engine: title, column labels, labelled rows, column blocks that fit the page
// width, row blocks, paging; and korvs_f_write_matrix with its twins, which feed it.
//
// The layout, which users compare line by line:
// - A line is the row label column, Lw characters wide (none without row labels), then
//   for each column 2 blanks and the column, right-aligned in its width. A column is as
//   wide as its field or its widest label line, whichever is wider. Blanks that would end
//   a line are not printed; an empty line prints as a single blank (it goes through the
//   line writer with length 1).
// - Row numbers are right-aligned in the label column, label strings left-aligned. A
//   label longer than the row label space (two thirds of the page width for a table of
//   one column, a quarter otherwise) wraps; its continuation lines are indented by a
//   third of that space. A newline in a label starts its next line at the left edge. The
//   values stand on the first line of a row.
// - Column labels are right-aligned over their columns. A label longer than its label
//   space (1.5 times the field width, 15 to 40) wraps in lines of that space, and the
//   label lines of a block are aligned at the bottom, just above the values.
// - Title, row and column labels break at newlines, else at the last blank no more than
//   10 characters before the width (the blank is dropped), else within the word. A final
//   newline opens no further line; an empty title prints no line. Each title line is
//   centred: indented by half of what the page width (centering 1) or the width of the
//   first column block (centering 0) leaves beside it, rounded down; a line wider than
//   that starts at the left edge.
// - The title stands once above the table (and on each page with title_page 1). Each
//   block of rows and columns (a panel) starts with its column labels; an empty line
//   separates panels.
#include "frame/output/layout.hpp"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "frame/output/format.hpp"
#include "frame/output/output.hpp"
#include "frame/thread.hpp"
#include "frame/units.hpp"
#include "frame/workspace.hpp"
#include "kernels/kernels.hpp"

namespace korvs {
namespace {

constexpr int kLineRoom = 256;  // page widths stay below this

// The formatter's buffers, per thread: the line being built, a title line (built while a
// page break interrupts another line) and one field.
struct FormatScratch {
    char line[kLineRoom];
    char title[kLineRoom];
    char field[kMaxField + 1];
};

// One printed line of a title or label.
struct Piece {
    const char* text;
    int length;
    bool wrapped;  // continues the previous line of the same paragraph
};

// Splits text into lines of at most `width` characters (`wrap_width` for the lines that
// continue a wrapped one) and calls fn(piece) for each; returns their number.
template <class F> int split_text(const char* text, int width, int wrap_width, F&& fn) {
    int count = 0;
    bool wrapped = false;
    for (const char* p = text; *p;) {
        const char* newline = std::strchr(p, '\n');
        int n = static_cast<int>(newline ? newline - p : std::strlen(p));
        int limit = wrapped ? wrap_width : width;
        if (limit < 1) limit = 1;
        ++count;
        if (n <= limit) {
            fn(Piece{p, n, wrapped});
            p += n;
            if (*p == '\n') ++p;
            wrapped = false;
            continue;
        }
        int b = limit;
        while (b > 0 && b >= limit - 10 && p[b] != ' ')
            --b;
        if (b > 0 && b >= limit - 10) {
            fn(Piece{p, b, wrapped});
            p += b + 1;
        } else {
            fn(Piece{p, limit, wrapped});
            p += limit;
        }
        wrapped = true;
    }
    return count;
}

// The widest line of a text broken at its newlines only.
int widest_line(const char* text) {
    int widest = 0;
    split_text(text, 1 << 30, 1 << 30, [&](Piece p) { widest = p.length > widest ? p.length : widest; });
    return widest;
}

// The digits of the row numbers of a table of n rows.
int number_digits(int n) { return static_cast<int>(std::log10(n + 0.01)) + 1; }

struct Column {
    Conversion conv;  // with W replaced once the data is read
    int width;
    int label_lines;
};

// Significant digits of an element type; an integer matrix is chosen for as double.
template <class T> int element_digits() {
    if constexpr (std::is_same_v<T, float>)
        return type_digits(mach<float>::eps);
    else
        return type_digits(mach<double>::eps);
}

// A line under construction, cut at the buffer's end.
struct LineBuilder {
    char* buffer;
    int length = 0;
    void blanks(int n) {
        for (; n > 0 && length < kLineRoom - 1; --n)
            buffer[length++] = ' ';
    }
    void text(const char* s, int n) {
        for (int i = 0; i < n && length < kLineRoom - 1; ++i)
            buffer[length++] = s[i];
    }
    void right(const char* s, int n, int width) {
        blanks(width - n);
        text(s, n);
    }
};

template <class T> class TablePrinter {
public:
    TablePrinter(const char* title, int rows, int cols, const MatrixOptions& o, WriteSettings* s,
                 const PageSettings* page, FormatScratch* scratch)
        : title_(title), rows_(rows), cols_(cols), o_(o), s_(s), width_(page->width), length_(page->length),
          scratch_(scratch) {}

    // Label and column widths and the fit of the widest column on the page (10008,
    // 10009). False after an error.
    bool lay_out(const Conversion* convs, int n_convs, int row_style, const char* const* row_labels,
                 int col_style, const char* const* col_labels) {
        row_style_ = row_style;
        row_labels_ = row_labels;
        col_style_ = col_style;
        col_labels_ = col_labels;
        n_convs_ = n_convs;
        if (!columns_.allocate(Shape(cols_ > 0 ? cols_ : 1, "columns"))) return false;
        int space = cols_ == 1 ? width_ * 2 / 3 : width_ / 4;
        label_width_ = 0;
        if (row_style_ == 1 || row_style_ == 3) {
            label_width_ = rows_ > 0 ? number_digits(rows_) : 0;
        } else if (row_style_ == 2) {
            for (int i = 0; i < rows_; ++i) {
                int w = widest_line(row_labels_[i]);
                if (w > label_width_) label_width_ = w;
            }
            if (label_width_ > space) label_width_ = space;
        }
        indent_ = label_width_ / 3;
        int widest_column = 0, widest_format = 0;
        for (int k = 0; k < n_convs; ++k)
            if (convs[k].width > widest_format) widest_format = convs[k].width;
        for (int j = 0; j < cols_; ++j) {
            Column& c = columns_[j];
            c.conv = convs[j % n_convs];
            c.width = c.conv.width;
            c.label_lines = 0;
            each_column_label(j, [&](Piece p) {
                ++c.label_lines;
                if (p.length > c.width) c.width = p.length;
            });
            if (c.label_lines > header_lines_) header_lines_ = c.label_lines;
            if (c.width > widest_column) widest_column = c.width;
        }
        int need = label_width_ + widest_column + 6;
        if (need > width_) {
            korvs_e1sti(1, width_);
            korvs_e1sti(2, need);
            if (widest_format < 12) {
                korvs_ermes(5, 10009);
            } else {
                korvs_e1sti(3, widest_format);
                korvs_ermes(5, 10008);
            }
            return false;
        }
        return true;
    }

    // Replaces the W conversions by plain ones chosen from the column-major data: once
    // for the whole matrix when the format has one conversion, else column by column.
    void choose_formats(const T* data, std::ptrdiff_t ld) {
        data_ = data;
        ld_ = ld;
        if (rows_ == 0 || cols_ == 0) return;
        if (n_convs_ == 1) {
            if (columns_[0].conv.letter != 'W') return;
            Conversion chosen = choose(columns_[0].conv, 0, cols_);
            for (int j = 0; j < cols_; ++j)
                columns_[j].conv = chosen;
            return;
        }
        for (int j = 0; j < cols_; ++j)
            if (columns_[j].conv.letter == 'W') columns_[j].conv = choose(columns_[j].conv, j, j + 1);
    }

    void print(bool leading_blank) {
        leading_blank_ = leading_blank;
        table_width_ = 0;
        if (rows_ > 0 && cols_ > 0) {
            int end = next_column_block(0);
            table_width_ = label_width_;
            for (int j = 0; j < end; ++j)
                table_width_ += 2 + columns_[j].width;
        }
        title_lines_ = split_text(title_, width_, width_, [](Piece) {});
        counting_ = true;
        lines_ = 0;
        body();
        counting_ = false;
        // A table that does not fit the rest of the page starts a new one; a count at the
        // page's end means the next line starts a new page in any case.
        const int paging = s_->paging;
        if (paging == -1 || (paging >= 0 && (paging >= length_ || (paging > 0 && lines_ > length_ - paging))))
            print_line(-1, nullptr);
        body();
    }

private:
    bool selected(int i, int j) const {
        switch (o_.triangle) {
        case kLower: return i >= j;
        case kLowerNoDiag: return i > j;
        case kUpper: return i <= j;
        case kUpperNoDiag: return i < j;
        default: return true;
        }
    }
    double value(int i, int j) const { return static_cast<double>(data_[i + j * ld_]); }

    Conversion choose(const Conversion& w, int j0, int j1) const {
        FormatChoice choice(w, element_digits<T>());
        for (int j = j0; j < j1; ++j)
            for (int i = 0; i < rows_; ++i)
                if (selected(i, j)) choice.scan(value(i, j));
        if (choice.settle()) {
            for (int j = j0; j < j1; ++j)
                for (int i = 0; i < rows_; ++i)
                    if (selected(i, j)) choice.reduce(value(i, j));
        }
        return choice.result();
    }

    // The lines of column j's label.
    template <class F> void each_column_label(int j, F&& fn) const {
        if (col_style_ == 0) return;
        if (col_style_ == 2) {
            int w = columns_[j].conv.width * 3 / 2;
            int space = w < 15 ? 15 : w > kMaxField ? kMaxField : w;
            split_text(col_labels_[j], space, space, fn);
            return;
        }
        char number[16];
        int n = std::snprintf(number, sizeof number, "%d", col_style_ == 1 ? j + 1 : j);
        fn(Piece{number, n, false});
    }

    // The lines of row i's label; a row has at least one line.
    template <class F> int each_row_label(int i, F&& fn) const {
        if (row_style_ == 2) {
            int n = split_text(row_labels_[i], label_width_, label_width_ - indent_, fn);
            if (n == 0) fn(Piece{"", 0, false});
            return n > 0 ? n : 1;
        }
        if (row_style_ == 0) {
            fn(Piece{"", 0, false});
            return 1;
        }
        char number[16];
        int n = std::snprintf(number, sizeof number, "%d", row_style_ == 1 ? i + 1 : i);
        fn(Piece{number, n, false});
        return 1;
    }

    int next_column_block(int j0) const {
        int used = label_width_ + 2 + columns_[j0].width;
        int j = j0 + 1;
        while (j < cols_ && used + 2 + columns_[j].width <= width_)
            used += 2 + columns_[j++].width;
        return j;
    }

    int next_row_block(int i0) const {
        if (row_wrap_ > 0) return i0 + row_wrap_ < rows_ ? i0 + row_wrap_ : rows_;
        // As many rows as fit on a page beside the title, the column labels and the
        // empty line before the panel.
        int room = length_ - title_lines_ - header_lines_ - 1;
        int used = 0, i = i0;
        do {
            used += each_row_label(i, [](Piece) {});
            ++i;
        } while (i < rows_ && used + each_row_label(i, [](Piece) {}) <= room);
        return i;
    }

    // Writes a line through the line writer, or only counts it; a page break before it
    // repeats the title when title_page asks for that.
    void emit(const char* text, int n) {
        while (n > 0 && text[n - 1] == ' ')
            --n;
        if (counting_) {
            ++lines_;
            return;
        }
        if (n == 0) {
            text = " ";
            n = 1;
        }
        if (s_->paging >= 0 && s_->paging >= length_ && !in_title_) {
            print_line(-1, nullptr);
            if (s_->title_page == 1) print_title();
        }
        print_line(n, text);
    }

    void print_title() {
        in_title_ = true;
        int centre = s_->centering == 1 ? width_ : table_width_;
        split_text(title_, width_, width_, [&](Piece p) {
            LineBuilder line{scratch_->title};
            line.blanks((centre - p.length) / 2);
            line.text(p.text, p.length);
            emit(line.buffer, line.length);
        });
        in_title_ = false;
    }

    void print_header(int j0, int j1) {
        int lines = 0;
        for (int j = j0; j < j1; ++j)
            if (columns_[j].label_lines > lines) lines = columns_[j].label_lines;
        for (int h = 0; h < lines; ++h) {
            LineBuilder line{scratch_->line};
            line.blanks(label_width_);
            for (int j = j0; j < j1; ++j) {
                const Column& c = columns_[j];
                line.blanks(2);
                int wanted = h - (lines - c.label_lines), k = 0;
                bool found = false;
                each_column_label(j, [&](Piece p) {
                    if (k++ != wanted) return;
                    line.right(p.text, p.length, c.width);
                    found = true;
                });
                if (!found) line.blanks(c.width);
            }
            emit(line.buffer, line.length);
        }
    }

    void print_row(int i, int j0, int j1) {
        each_row_label(i, [&](Piece p) {
            LineBuilder line{scratch_->line};
            bool first = line_of_row_ == 0;
            if (row_style_ == 2) {
                if (p.wrapped) line.blanks(indent_);
                line.text(p.text, p.length);
            } else {
                line.right(p.text, p.length, label_width_);
            }
            if (first) {
                line.blanks(label_width_ - line.length);
                for (int j = j0; j < j1; ++j) {
                    const Column& c = columns_[j];
                    line.blanks(2);
                    if (selected(i, j)) {
                        format_field(c.conv, value(i, j), s_->nan_char, scratch_->field);
                        line.right(scratch_->field, c.conv.width, c.width);
                    } else {
                        line.blanks(c.width);
                    }
                }
            }
            ++line_of_row_;
            emit(line.buffer, line.length);
        });
        line_of_row_ = 0;
    }

    void body() {
        if (leading_blank_) emit(" ", 1);
        print_title();
        bool first = true;
        for (int i0 = 0; i0 < rows_ && cols_ > 0;) {
            int i1 = next_row_block(i0);
            for (int j0 = 0; j0 < cols_;) {
                int j1 = next_column_block(j0);
                if (!first) emit(" ", 1);
                first = false;
                print_header(j0, j1);
                for (int i = i0; i < i1; ++i)
                    print_row(i, j0, j1);
                j0 = j1;
            }
            i0 = i1;
        }
    }

    const char* title_;
    int rows_, cols_;
    const MatrixOptions& o_;
    WriteSettings* s_;
    int width_, length_;
    FormatScratch* scratch_;
    int row_wrap_ = s_->row_wrap;
    Workspace<Column> columns_;
    int n_convs_ = 1;
    int row_style_ = 0, col_style_ = 0;
    const char* const* row_labels_ = nullptr;
    const char* const* col_labels_ = nullptr;
    int label_width_ = 0, indent_ = 0, header_lines_ = 0;
    const T* data_ = nullptr;
    std::ptrdiff_t ld_ = 0;
    int table_width_ = 0, title_lines_ = 0;
    bool leading_blank_ = false, counting_ = false, in_title_ = false;
    int lines_ = 0, line_of_row_ = 0;
};

// A null string: l1 its name, i1 its index, -1 for the array itself.
void null_string(const char* name, int index, int code) {
    korvs_e1stl(1, name);
    korvs_e1sti(1, index);
    korvs_ermes(5, code);
}

bool labels_present(const char* const* labels, int n, const char* name) {
    if (!labels) {
        null_string(name, -1, 150);
        return false;
    }
    for (int k = 0; k < n; ++k) {
        if (labels[k]) continue;
        null_string(name, k, 151);
        return false;
    }
    return true;
}

}  // namespace

template <class T> bool print_matrix(const char* title, int nra, int nca, T a[], MatrixOptions& o) {
    if (o.a_col_dim == kColDimNotGiven) o.a_col_dim = nca != 0 ? nca : 1;
    int count = 0;
    check_range(nra, "nra", 0, -1, &count);
    if (korvs_n1rty(0) > 0) return false;
    check_range(o.a_col_dim, "a_col_dim", 1, -1, &count);
    if (korvs_n1rty(0) > 0) return false;
    check_not_above(nca, "nca", o.a_col_dim, "a_col_dim", &count);
    if (korvs_n1rty(0) > 0) return false;
    check_range(nca, "nca", 0, -1, &count);
    if (korvs_n1rty(0) > 0) return false;
    if (!title) {
        null_string("title", -1, 150);
        return false;
    }
    if (nra != 0 && nca != 0 && !a) {
        korvs_e1stl(1, "a");
        korvs_ermes(5, 6002);
        return false;
    }
    if (o.row_style == 2 && !labels_present(o.row_labels, nra, "row_labels")) return false;
    if (o.col_style == 2 && !labels_present(o.col_labels, nca, "col_labels")) return false;

    WriteSettings* s = write_settings();
    PageSettings* page = page_settings();
    LineSink* sink = line_sink();
    FormatScratch* scratch = per_thread<FormatScratch>();
    if (!s || !page || !sink || !scratch) return false;
    // The integer form takes integer conversions and W only; its default formats stand.
    const char* letters = std::is_same_v<T, int> && o.format_given ? kIntegerLetters : kRealLetters;
    const char* format = o.format_given ? o.format : default_format(s->format);
    int n_convs = parse_format(format, letters, nullptr);
    if (n_convs == 0) return false;
    Workspace<Conversion> convs(Shape(n_convs, "conversions"));
    if (!convs) return false;
    parse_format(format, letters, convs.get());
    if (page->width >= kLineRoom) {
        korvs_e1sti(1, page->width);
        korvs_ermes(5, 10010);
        return false;
    }

    // The printed table; with KORVS_TRANSPOSE the caller's row and column labels travel
    // with the data.
    int row_style = o.row_style >= 0 ? o.row_style : nra > 1 ? 1 : 0;
    int col_style = o.col_style >= 0 ? o.col_style : nca > 1 ? 1 : 0;
    int rows = nra, cols = nca;
    const char* const* row_labels = o.row_labels;
    const char* const* col_labels = o.col_labels;
    if (o.transpose) {
        std::swap(rows, cols);
        std::swap(row_style, col_style);
        std::swap(row_labels, col_labels);
    }
    TablePrinter<T> table(title, rows, cols, o, s, page, scratch);
    if (!table.lay_out(convs.get(), n_convs, row_style, row_labels, col_style, col_labels)) return false;

    // The engine reads column-major. The transpose of a row-major matrix is already that,
    // with the column dimension as leading dimension; a dense matrix is transposed in
    // place for the time of the printing, a strided one copied.
    bool dense = !o.transpose && o.a_col_dim == nca;
    ColumnMajor<T> in_place(nra, nca, dense && rows > 0 && cols > 0 ? a : nullptr);
    Workspace<T> copy;
    const T* data = a;
    std::ptrdiff_t ld = o.transpose ? o.a_col_dim : nra;
    if (!o.transpose && !dense && rows > 0 && cols > 0) {
        if (!copy.allocate(Shape(nra, "nra", nca, "nca"))) return false;
        for (int i = 0; i < nra; ++i)
            for (int j = 0; j < nca; ++j)
                copy[i + static_cast<std::ptrdiff_t>(j) * nra] =
                    a[i * static_cast<std::ptrdiff_t>(o.a_col_dim) + j];
        data = copy.get();
    }
    table.choose_formats(data, ld);

    // A table starts from a clean sink: a signal trapped in the middle of an earlier
    // table may have left string mode on.
    std::free(sink->text);
    *sink = LineSink{};
    if (o.to_string) {
        sink->to_string = 1;
        table.print(o.leading_blank);
        char* text = take_string(sink);
        *o.string = text;
        return text != nullptr;
    }
    sink->to_console = o.to_console ? 1 : 0;
    stream_lock();
    table.print(o.leading_blank);
    std::fflush(o.to_console ? stdout : unit_stream(2));
    stream_unlock();
    sink->to_console = 0;
    return true;
}

template bool print_matrix(const char*, int, int, float[], MatrixOptions&);
template bool print_matrix(const char*, int, int, double[], MatrixOptions&);
template bool print_matrix(const char*, int, int, int[], MatrixOptions&);

namespace {

// The options of the three exclusive groups (triangle, row labels, column labels), with
// the code that two of one group raise and the setting each gives.
struct GroupMember {
    int code;
    int group;
    int value;
};
const GroupMember kGroupMembers[] = {
    {KORVS_PRINT_ALL, 0, kAll},
    {KORVS_PRINT_LOWER, 0, kLower},
    {KORVS_PRINT_LOWER_NO_DIAG, 0, kLowerNoDiag},
    {KORVS_PRINT_UPPER, 0, kUpper},
    {KORVS_PRINT_UPPER_NO_DIAG, 0, kUpperNoDiag},
    {KORVS_NO_ROW_LABELS, 1, 0},
    {KORVS_ROW_NUMBER, 1, 1},
    {KORVS_ROW_LABELS, 1, 2},
    {KORVS_ROW_NUMBER_ZERO, 1, 3},
    {KORVS_NO_COL_LABELS, 2, 0},
    {KORVS_COL_NUMBER, 2, 1},
    {KORVS_COL_LABELS, 2, 2},
    {KORVS_COL_NUMBER_ZERO, 2, 3},
};
const int kGroupErrors[3] = {10013, 10014, 10015};

const GroupMember* group_member(int code) {
    for (const GroupMember& m : kGroupMembers)
        if (m.code == code) return &m;
    return nullptr;
}

bool read_options(OptionList& opt, MatrixOptions& o) {
    int chosen[3] = {0, 0, 0};  // the code that chose each group's setting
    int* settings[3] = {&o.triangle, &o.row_style, &o.col_style};
    for (int code; (code = opt.code()) != 0;) {
        if (const GroupMember* m = group_member(code)) {
            if (code == KORVS_ROW_LABELS) o.row_labels = opt.pointer<const char* const>();
            if (code == KORVS_COL_LABELS) o.col_labels = opt.pointer<const char* const>();
            *settings[m->group] = m->value;
            // A second, different option of a group ends the walk; the same option twice
            // is one option given twice, and its later values stand.
            if (chosen[m->group] != 0 && chosen[m->group] != code) {
                korvs_ermes(5, kGroupErrors[m->group]);
                break;
            }
            chosen[m->group] = code;
            continue;
        }
        bool go_on = true;
        switch (code) {
        case KORVS_A_COL_DIM: o.a_col_dim = opt.integer(); break;
        case KORVS_TRANSPOSE: o.transpose = true; break;
        case KORVS_WRITE_FORMAT:
            o.format = opt.pointer<const char>();
            o.format_given = true;
            if (!o.format) null_string("format", -1, 150);
            break;
        case KORVS_RETURN_STRING:
            o.string = opt.user<char*>("string", "KORVS_RETURN_STRING");
            o.to_string = true;
            break;
        case KORVS_WRITE_TO_CONSOLE: o.to_console = true; break;
        default: go_on = opt.unknown_goes_on(code); break;
        }
        if (!go_on) break;
    }
    if (korvs_n1rty(0) > 0) return false;
    if (o.to_string && o.to_console) {
        korvs_ermes(5, 20749);
        return false;
    }
    return true;
}

template <class T> void l_write_matrix(const char* title, int nra, int nca, T a[], OptionList& opt) {
    MatrixOptions o;
    bool read = read_options(opt, o);
    // A string that cannot be delivered is null for the caller.
    if ((!read || !print_matrix(title, nra, nca, a, o)) && o.string) *o.string = nullptr;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API void korvs_f_write_matrix(const char* title, int nra, int nca, float a[], ...) noexcept {
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_f_write_matrix", [&] { korvs::l_write_matrix(title, nra, nca, a, opt); });
    va_end(ap);
}

KORVS_API void korvs_d_write_matrix(const char* title, int nra, int nca, double a[], ...) noexcept {
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_d_write_matrix", [&] { korvs::l_write_matrix(title, nra, nca, a, opt); });
    va_end(ap);
}

KORVS_API void korvs_i_write_matrix(const char* title, int nra, int nca, int a[], ...) noexcept {
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_i_write_matrix", [&] { korvs::l_write_matrix(title, nra, nca, a, opt); });
    va_end(ap);
}

}  // extern "C"
