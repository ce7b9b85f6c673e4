// The layout of printed tables and lines against text written by hand from the rules:
// titles, label styles, triangles, the transpose, wrapped labels and titles, column
// blocks, paging; the line writer and the scalar writers. In the default format a column
// of whole numbers is 2 blanks and a field of 11.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::UnitCapture;
using output_test::row;
using output_test::sp;
using output_test::table;

class Layout : public output_test::OutputTest {};

// Numbers label the rows and columns of a table of more than one of each. The title is
// centred on the table, or on the page; an empty matrix prints the title alone. Of a
// triangle only its own elements choose the format.
TEST_F(Layout, TitlesLabelStylesTrianglesAndTheTranspose) {
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
TEST_F(Layout, LabelsAndTitlesWrap) {
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
TEST_F(Layout, AMatrixWiderThanThePageGoesInBlocksOfColumns) {
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
TEST_F(Layout, PagingWithFormFeeds) {
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
TEST_F(Layout, LinesAndScalars) {
    UnitCapture out(2);
    korvs_wrtrl("hello\n\nworld is long", 5);
    korvs_wrtrl("", 10);  // an empty text is one empty line, a final newline opens none
    korvs_wrtrl("a\n", 10);
    korvs_wrtrl(std::string(255, 'x').c_str(), 100);  // the longest text
    korvs_wrrrs("x", 1.5f);
    korvs_dwrrrs("d", 0.125);
    korvs_wrirs("n", 42);
    EXPECT_EQ(out.text(), "hello\n \nworld\n is l\nong\n \na\n" + std::string(100, 'x') + "\n" +
                              std::string(100, 'x') + "\n" + std::string(55, 'x') + "\n \n" + sp(6) + "x\n" +
                              sp(10) + "1.5\n \n" + sp(6) + "d\n" + sp(8) + "0.125\n \n" + sp(6) + "n\n" +
                              sp(11) + "42\n");
    int length = 10, paging = 8;
    korvs_page(-2, &length);
    korvs_write_options(KORVS_SET_PAGING, &paging);
    UnitCapture page(2);
    korvs_wrtrl("one\ntwo\nthree", 78);
    EXPECT_EQ(line_count(), 1);
    EXPECT_TRUE(errors().empty());
    expect_errors({
        {"256 characters", [] { korvs_wrtrl(std::string(256, 'x').c_str(), 100); }, 5, 10011},
        {"null text", [] { korvs_wrtrl(nullptr, 10); }, 5, 150, "%(l1) %(i1)", "text -1"},
        {"width 0", [] { korvs_wrtrl("text", 0); }, 5, 603, "%(l1) %(i1) %(i2)", "width 0 1"},
        {"null title", [] { korvs_wrrrs(nullptr, 1.0f); }, 5, 150, "%(l1)", "title"},
        {"page too narrow", [] { set_page(10, 60), korvs_wrirs("n", 1); }, 5, 10009},
    });
    EXPECT_EQ(page.text(), "one\ntwo\n\fthree\n");  // nothing more, not even the empty line
}

}  // namespace
