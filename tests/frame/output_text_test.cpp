// Printed tables and lines against text written by hand from the rules: the number
// formats (the %W choice from the data, fill characters, integer and cyclic conversions,
// the codes of a bad format) and the layout (titles, label styles, triangles, the
// transpose, wrapped labels and titles, column blocks, paging), the line writer and the
// scalar writers. A row without labels prints as 2 blanks and the field of each column;
// in the default format a column of whole numbers is 2 blanks and a field of 11.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::UnitCapture;
using output_test::row;
using output_test::sp;
using output_test::table;

// One row without labels in the given format (null: the default); the printed line.
template <class T> std::string line(const char* format, std::vector<T> values) {
    int n = static_cast<int>(values.size());
    if (format) return table<T>("", 1, n, values.data(), KORVS_NO_COL_LABELS, KORVS_WRITE_FORMAT, format);
    return table<T>("", 1, n, values.data(), KORVS_NO_COL_LABELS);
}

template <class T> class Format : public output_test::OutputTest {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Format, RealTypes);

TYPED_TEST(Format, FieldsByTheRules) {
    using T = TypeParam;
    const double nan = NAN, inf = INFINITY;
    const struct {
        const char* format;
        std::vector<double> values;
        std::string expected;
    } rows[] = {
        // "%11.4W": whole numbers as "%11d"; otherwise the decimals the values need.
        {nullptr, {10, -20, 300}, row("", {"10", "-20", "300"})},
        {nullptr, {0}, row("", {"0"})},
        {nullptr, {1.5, 2.25}, row("", {"1.50", "2.25"})},
        // The exponent form, precision min(digits - 1, width - 7), for small or large values.
        {nullptr, {1e-5}, row("", {"1.000e-05"})},
        {nullptr, {1.5e7, 0.5}, row("", {"1.500e+07", "5.000e-01"})},
        {nullptr, {1.5e7}, row("", {"15000000"})},  // a large whole number is still whole
        {nullptr, {0.001}, row("", {"0.001"})},     // not below 0.001
        {"%13.6W", {2.5e-4}, row("", {"2.50000e-04"}, 15)},
        // Rounding that gains a digit costs a decimal; a power of ten, or a value that
        // rounds up to one, has one leading zero fewer.
        {nullptr, {9.99996, 1.23456}, row("", {"10.00", "1.23"})},
        {nullptr, {0.1, 0.0123}, row("", {"0.1000", "0.0123"})},
        {nullptr, {0.099999, 0.0123}, row("", {"0.1000", "0.0123"})},
        // Narrow widths give up decimals, then digits; below 7 there is no exponent form.
        {"%6.4W", {123.456}, "   123.5\n"},
        {"%5.4W", {123.456}, "    123\n"},
        {"%5.4W", {123456}, "  *****\n"},
        {"%3.2W", {-99, -100}, "  -99  ***\n"},
        {"%+11.4W", {5}, row("", {"+5"})},
        {"%-8.3W%8.3W", {1.5, 2.5}, "  1.5" + sp(12) + "2.5\n"},
        // NaN takes no part in the choice; an infinity is the largest value.
        {nullptr, {nan, 1.5}, row("", {"...........", "1.5"})},
        {nullptr, {nan, inf, -inf, 1.5}, row("", {"...........", "+++++++++++", "-----------", "1.500e+00"})},
        {nullptr, {nan, nan}, row("", {"...........", "..........."})},
        {"%4d%7.2f", {inf, -inf}, "  ++++  -------\n"},
        // A value too wide for its field is stars; integer conversions truncate.
        {"%3d", {1234}, "  ***\n"},
        {"%7.2e", {1.0}, "  *******\n"},
        {"%4d", {-2.7, 2.7}, "    -2     2\n"},
        {"%5x%5o%5X", {255, 8, 171}, "     ff     10     AB\n"},
        {"%12d", {2147483648.0, -2147483648.0}, "  ************   -2147483648\n"},
        // Two conversions alternate over the columns.
        {"%6.1f%5d", {1.3, 2.7, 3.4, 4.2}, sp(5) + "1.3" + sp(6) + "2" + sp(5) + "3.4" + sp(6) + "4\n"},
        {"%.2f", {1.5}, sp(8) + "1.50\n"},  // a missing width counts as ten
    };
    for (const auto& r : rows)
        EXPECT_EQ(line<T>(r.format, std::vector<T>(r.values.begin(), r.values.end())), r.expected)
            << (r.format ? r.format : "default") << " " << r.values[0];
    // One W conversion chooses for the matrix, several for each column.
    T a[4] = {1, 0.5, 2, 0.25};
    EXPECT_EQ(table<T>("", 2, 2, a, KORVS_NO_ROW_LABELS, KORVS_NO_COL_LABELS, KORVS_WRITE_FORMAT, "%8.3W"),
              row("", {"1.00", "0.50"}, 10) + row("", {"2.00", "0.25"}, 10));
    EXPECT_EQ(
        table<T>("", 2, 2, a, KORVS_NO_ROW_LABELS, KORVS_NO_COL_LABELS, KORVS_WRITE_FORMAT, "%8.3W%8.3W"),
        row("", {"1", "0.50"}, 10) + row("", {"2", "0.25"}, 10));
    // The settings: a NaN as blanks (a blank field ends no line), the default format.
    this->set(KORVS_SET_NAN_CHAR, 1);
    EXPECT_EQ(line<T>(nullptr, {T(nan), 2}), row("", {"", "2"}));
    EXPECT_EQ(line<T>(nullptr, {T(nan)}), " \n");
    this->set(KORVS_SET_FORMAT, 1);
    EXPECT_EQ(line<T>(nullptr, {1.5}), row("", {"1.5"}, 15));
    this->set(KORVS_SET_FORMAT, 2);
    EXPECT_EQ(line<T>(nullptr, {1.5}), row("", {"1.50000e+00"}, 15));
    EXPECT_TRUE(this->errors().empty());
}

class PrintedText : public output_test::OutputTest {};

// Integers take the integer conversions only; the most negative int is not below
// 2147483647 in size and takes the exponent form.
TEST_F(PrintedText, FormatFaultsHaveTheirCodesAndIntegersTheirOwnRules) {
    const struct {
        const char* format;
        int code;
    } cases[] = {
        {"", 10001},        {"%d", 10001},      {"ab", 10001},      {"%W", 10001},    {"abc", 10003},
        {"x%5d", 10002},    {"%5dx", 10002},    {"%5d %5d", 10002}, {"%dx%d", 10002}, {"%*d", 10004},
        {"%5.*f", 10004},   {"%41d", 10005},    {"%5.6f", 10006},   {"%.11f", 10006}, {"%5q", 10007},
        {"%5.2lf", 10007},  {"%5d%", 10007},    {"%%5d", 10007},    {"%40d", 0},      {"%.10f", 0},
        {"%-+ #010.3e", 0}, {"%5.5g%3i%4u", 0}, {"%E%G", 0},
    };
    for (const auto& c : cases) {
        clear();
        float a[1] = {1};
        std::string text = table<float>("", 1, 1, a, KORVS_WRITE_FORMAT, c.format);
        if (c.code == 0) {
            EXPECT_TRUE(errors().empty()) << '"' << c.format << '"';
            continue;
        }
        EXPECT_TRUE(only_raised(5, c.code)) << '"' << c.format << '"';
        EXPECT_EQ(text, "<null>");
        EXPECT_EQ(korvs_test::inserts("%(l1)"), c.format);
    }
    clear();
    EXPECT_EQ(line<int>(nullptr, {7, -70}), row("", {"7", "-70"}));
    EXPECT_EQ(line<int>(nullptr, {-2147483647 - 1}), row("", {"-2.147e+09"}));
    EXPECT_EQ(line<int>("%6x", {255}), sp(6) + "ff\n");
    set(KORVS_SET_FORMAT, 2);  // the default formats stand
    EXPECT_EQ(line<int>(nullptr, {3}), row("", {"3.00000e+00"}, 15));
    EXPECT_TRUE(errors().empty());
    EXPECT_EQ(line<int>("%5.2f", {3}), "<null>");
    EXPECT_TRUE(only_raised(5, 10007));
}

// Numbers label the rows and columns of a table of more than one of each. The title is
// centred on the table, or on the page; an empty matrix prints the title alone. Of a
// triangle only its own elements choose the format.
TEST_F(PrintedText, TitlesLabelStylesTrianglesAndTheTranspose) {
    float f[4] = {1.5f, 2.25f, 3, 4};
    // The table is 1 + 13 + 13 = 27 wide; "A" goes (27 - 1) / 2 = 13 in.
    EXPECT_EQ(table("A", 2, 2, f), sp(13) + "A\n" + row(" ", {"1", "2"}) + row("1", {"1.50", "2.25"}) +
                                       row("2", {"3.00", "4.00"}));
    int a[3] = {1, 2, 3};
    EXPECT_EQ(table("", 1, 3, a), row("", {"1", "2", "3"}) + row("", {"1", "2", "3"}));
    EXPECT_EQ(table<double>("Title", 0, 3, nullptr), "Title\n");
    float t[9] = {1, 2, 3, 0.5f, 5, 6, 0.25f, 0.125f, 9};
    const std::string header = row(" ", {"1", "2", "3"});
    EXPECT_EQ(table("", 3, 3, t, KORVS_PRINT_UPPER),
              header + row("1", {"1", "2", "3"}) + row("2", {"", "5", "6"}) + row("3", {"", "", "9"}));
    EXPECT_EQ(table("", 3, 3, t, KORVS_PRINT_LOWER_NO_DIAG, KORVS_ROW_NUMBER_ZERO, KORVS_COL_NUMBER_ZERO),
              row(" ", {"0", "1", "2"}) + "0\n" + row("1", {"0.500"}) + row("2", {"0.250", "0.125"}));
    // The transpose takes the labels with it; a column dimension above the columns skips the rest.
    double d[6] = {1, 2, 99.5, 3, 4, 99.5};
    const char* rows[2] = {"r1", "r2"};
    const char* cols[2] = {"c1", "c2"};
    EXPECT_EQ(table("", 2, 2, d, KORVS_TRANSPOSE, KORVS_A_COL_DIM, 3, KORVS_ROW_LABELS, rows,
                    KORVS_COL_LABELS, cols),
              row("  ", {"r1", "r2"}) + row("c1", {"1", "3"}) + row("c2", {"2", "4"}));
    EXPECT_EQ(std::vector<double>(d, d + 6), (std::vector<double>{1, 2, 99.5, 3, 4, 99.5}));
    set(KORVS_SET_CENTERING, 1);
    EXPECT_EQ(table("A", 2, 2, f).substr(0, 40), sp(38) + "A\n");
    EXPECT_TRUE(errors().empty());
}

// Row labels: a quarter of 78 is 19 characters, continuation lines are indented by
// 19 / 3 = 6 and hold 13. Column labels: 1.5 times 11 is 16 characters; the second
// column widens to its longest label line, 14. A newline in a label or title starts a
// line at the left edge; a title breaks at a blank within 10 characters back, or within a word.
TEST_F(PrintedText, LabelsAndTitlesWrap) {
    double a[4] = {1, 2, 3, 4};
    const char* rows[2] = {"Sum of squares for the error term", "Mean"};
    const char* cols[2] = {"Estimate", "Standard error of the coefficient estimate"};
    EXPECT_EQ(table("", 2, 2, a, KORVS_ROW_LABELS, rows, KORVS_COL_LABELS, cols),
              sp(34) + "Standard error\n" + sp(42) + "of the\n" + sp(37) + "coefficient\n" + sp(24) +
                  "Estimate" + sp(8) + "estimate\n" + "Sum of squares for" + sp(13) + "1" + sp(15) + "2\n" +
                  sp(6) + "the error\n" + sp(6) + "term\n" + "Mean" + sp(27) + "3" + sp(15) + "4\n");
    const char* broken[2] = {"c\nd", "e"};
    EXPECT_EQ(table("", 2, 1, a, KORVS_ROW_LABELS, broken), row("c", {"1"}) + "d\n" + row("e", {"2"}));
    const std::string value = row("", {"1"});
    set_page(20, 60);
    EXPECT_EQ(table("The first line of a long title", 1, 1, a), "The first line of a\n long title\n" + value);
    EXPECT_EQ(table("ab cdefghijklmnopqrstuvwxyz", 1, 1, a),
              "ab cdefghijklmnopqrs\n" + sp(3) + "tuvwxyz\n" + value);
    EXPECT_EQ(table("a\n\nb", 1, 1, a), sp(6) + "a\n \n" + sp(6) + "b\n" + value);
}

// Columns that do not fit the width go to the next block, after an empty line.
TEST_F(PrintedText, AMatrixWiderThanThePageGoesInBlocksOfColumns) {
    int a[14] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    const std::vector<int> before(a, a + 14);
    set_page(40, 60);  // 1 + 3 * 13 = 40 fits, a fourth column does not
    EXPECT_EQ(table("Wide", 2, 7, a), sp(18) + "Wide\n" + row(" ", {"1", "2", "3"}) +
                                          row("1", {"1", "2", "3"}) + row("2", {"8", "9", "10"}) + " \n" +
                                          row(" ", {"4", "5", "6"}) + row("1", {"4", "5", "6"}) +
                                          row("2", {"11", "12", "13"}) + " \n" + row(" ", {"7"}) +
                                          row("1", {"7"}) + row("2", {"14"}));
    EXPECT_EQ(std::vector<int>(a, a + 14), before);  // a dense matrix is turned in place and back
}

int line_count() {
    int count = 0;
    korvs_write_options(-KORVS_SET_PAGING, &count);
    return count;
}

// Paging on a page of 10 lines: a full page ends in a form feed and a table that does not
// fit starts a new one; -1 feeds before each table, -2 never.
TEST_F(PrintedText, PagingWithFormFeeds) {
    set_page(78, 10);
    int a[12];
    std::string rows[13], title = sp(7) + "T\n";  // on a table 2 + 13 wide
    for (int i = 1; i <= 12; ++i)
        a[i - 1] = i, rows[i] = rows[i - 1] + row(sp(i < 10) + std::to_string(i), {std::to_string(i)});
    const std::string last = rows[12].substr(rows[9].size()),
                      two_rows = sp(6) + "T\n" + row("1", {"1"}) + row("2", {"2"});
    set(KORVS_SET_PAGING, 0);
    set(KORVS_SET_TITLE_PAGE, 1);
    EXPECT_EQ(table("T", 12, 1, a), title + rows[9] + "\f" + title + last);
    EXPECT_EQ(line_count(), 4);
    EXPECT_EQ(table("T", 12, 1, a), "\f" + title + rows[9] + "\f" + title + last);
    set(KORVS_SET_TITLE_PAGE, 0);  // the title on the first page only
    set(KORVS_SET_PAGING, 0);
    EXPECT_EQ(table("T", 12, 1, a), title + rows[9] + "\f" + last);
    EXPECT_EQ(table("T", 2, 1, a), two_rows);  // a short table fits the rest of the page
    EXPECT_EQ(line_count(), 6);
    set(KORVS_SET_PAGING, 9);  // a count at the page end starts a new page
    EXPECT_EQ(table("T", 1, 1, a), "\f" + sp(6) + "T\n" + row("", {"1"}));
    EXPECT_EQ(line_count(), 2);
    set(KORVS_SET_PAGING, -1);
    EXPECT_EQ(table("T", 2, 1, a), "\f" + two_rows);
    set(KORVS_SET_PAGING, -2);
    EXPECT_EQ(table("T", 12, 1, a), title + rows[12]);
    EXPECT_EQ(line_count(), -2);
}

// korvs_wrtrl: newlines end lines, pieces of the width, the page count and its form feeds.
// The scalar writers: an empty line, the title centred on the 1 by 1 table, the value.
TEST_F(PrintedText, LinesAndScalars) {
    UnitCapture out(2);
    korvs_wrtrl("hello\n\nworld is long", 5);
    korvs_wrtrl("", 10);  // an empty text is one empty line (no blank), a final newline opens none
    korvs_wrtrl("a\n", 10);
    korvs_wrtrl(std::string(255, 'x').c_str(), 100);  // the longest text
    korvs_wrrrs("x", 1.5f);
    korvs_dwrrrs("d", 0.125);
    korvs_wrirs("n", 42);
    EXPECT_EQ(out.text(), "hello\n\nworld\n is l\nong\n\na\n" + std::string(100, 'x') + "\n" +
                              std::string(100, 'x') + "\n" + std::string(55, 'x') + "\n \n" + sp(6) + "x\n" +
                              sp(10) + "1.5\n \n" + sp(6) + "d\n" + sp(8) + "0.125\n \n" + sp(6) + "n\n" +
                              sp(11) + "42\n");
    int length = 10, paging = 8;
    korvs_page(-2, &length);
    korvs_write_options(KORVS_SET_PAGING, &paging);
    UnitCapture page(2);
    korvs_wrtrl("one\n\nthree", 78);  // the empty line counts on the page
    EXPECT_EQ(line_count(), 1);
    EXPECT_TRUE(errors().empty());
    expect_errors({
        {"256 characters", [] { korvs_wrtrl(std::string(256, 'x').c_str(), 100); }, 5, 10011},
        {"null text", [] { korvs_wrtrl(nullptr, 10); }, 5, 150, "%(l1) %(i1)", "text -1"},
        {"width 0", [] { korvs_wrtrl("text", 0); }, 5, 603, "%(l1) %(i1) %(i2)", "width 0 1"},
        {"null title", [] { korvs_wrrrs(nullptr, 1.0f); }, 5, 150, "%(l1)", "title"},
        {"page too narrow", [] { set_page(10, 60), korvs_wrirs("n", 1); }, 5, 10009},
    });
    EXPECT_EQ(page.text(), "one\n\n\fthree\n");  // nothing more, not even the empty line
}

}  // namespace
