// The layout of printed tables and lines against text written by hand from the rules:
// label styles, titles, wrapped labels, triangles, the transpose, strided matrices,
// column and row blocks, paging; the line writer and the scalar writers. In the default
// format a column of whole numbers is 2 blanks and a field of 11.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::UnitCapture;
using output_test::lines;
using output_test::sp;
using output_test::table;

class Layout : public output_test::OutputTest {};

TEST_F(Layout, TitleCentredOnTheTableWithNumberedRowsAndColumns) {
    float a[4] = {1.5f, 2.25f, 3, 4};
    // The table is 1 + 13 + 13 = 27 wide; "A" goes (27 - 1) / 2 = 13 in.
    EXPECT_EQ(table("A", 2, 2, a), lines({sp(13) + "A",                           //
                                          sp(13) + "1" + sp(12) + "2",            //
                                          "1" + sp(9) + "1.50" + sp(9) + "2.25",  //
                                          "2" + sp(9) + "3.00" + sp(9) + "4.00"}));
    set(KORVS_SET_CENTERING, 1);
    EXPECT_EQ(table("A", 2, 2, a).substr(0, 40), sp(38) + "A\n");
}

TEST_F(Layout, NumbersFromZeroAndLabelStylesByTheShape) {
    double a[4] = {1, 2, 3, 4};
    EXPECT_EQ(table("", 2, 2, a, KORVS_ROW_NUMBER_ZERO, KORVS_COL_NUMBER_ZERO),
              lines({sp(13) + "0" + sp(12) + "1", "0" + sp(12) + "1" + sp(12) + "2",
                     "1" + sp(12) + "3" + sp(12) + "4"}));
    // One row: no row labels; one column: no column labels.
    EXPECT_EQ(table("", 1, 3, a), lines({sp(12) + "1" + sp(12) + "2" + sp(12) + "3",  //
                                         sp(12) + "1" + sp(12) + "2" + sp(12) + "3"}));
    EXPECT_EQ(table("", 3, 1, a), lines({"1" + sp(12) + "1", "2" + sp(12) + "2", "3" + sp(12) + "3"}));
    EXPECT_EQ(table("", 1, 1, a, KORVS_ROW_NUMBER, KORVS_COL_NUMBER),
              lines({sp(13) + "1", "1" + sp(12) + "1"}));
    EXPECT_EQ(table("", 2, 2, a, KORVS_NO_ROW_LABELS, KORVS_NO_COL_LABELS),
              lines({sp(12) + "1" + sp(12) + "2", sp(12) + "3" + sp(12) + "4"}));
}

TEST_F(Layout, RowNumbersTakeTheDigitsOfTheRowCount) {
    int a[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    std::string ten = table("", 10, 1, a);
    EXPECT_EQ(ten.substr(0, ten.find('\n') + 1), " 1" + sp(12) + "1\n");
    EXPECT_EQ(ten.substr(ten.rfind('\n', ten.size() - 2) + 1), "10" + sp(11) + "10\n");
    // Numbered from 0, the labels go to 9 but the width is still that of 10 rows.
    std::string zero = table("", 10, 1, a, KORVS_ROW_NUMBER_ZERO);
    EXPECT_EQ(zero.substr(0, zero.find('\n') + 1), " 0" + sp(12) + "1\n");
    EXPECT_EQ(table("", 9, 1, a).substr(0, 15), "1" + sp(12) + "1\n");
}

TEST_F(Layout, TrianglesLeaveBlanksAndChooseTheFormatFromTheirOwnElements) {
    float a[9] = {1, 2, 3, 0.5f, 5, 6, 0.25f, 0.125f, 9};
    const std::string header = sp(13) + "1" + sp(12) + "2" + sp(12) + "3";
    // The fractions below the diagonal are not printed, so the whole numbers stay integers.
    EXPECT_EQ(table("", 3, 3, a, KORVS_PRINT_UPPER),
              lines({header, "1" + sp(12) + "1" + sp(12) + "2" + sp(12) + "3",
                     "2" + sp(25) + "5" + sp(12) + "6", "3" + sp(38) + "9"}));
    EXPECT_EQ(table("", 3, 3, a, KORVS_PRINT_UPPER_NO_DIAG),
              lines({header, "1" + sp(25) + "2" + sp(12) + "3", "2" + sp(38) + "6", "3"}));
    float b[9] = {1, 0.5f, 0.25f, 4, 5, 0.125f, 7, 8, 9};
    EXPECT_EQ(table("", 3, 3, b, KORVS_PRINT_LOWER),
              lines({header, "1" + sp(12) + "1", "2" + sp(12) + "4" + sp(12) + "5",
                     "3" + sp(12) + "7" + sp(12) + "8" + sp(12) + "9"}));
    EXPECT_EQ(table("", 3, 3, b, KORVS_PRINT_LOWER_NO_DIAG),
              lines({header, "1", "2" + sp(12) + "4", "3" + sp(12) + "7" + sp(12) + "8"}));
    // All of them: the fractions count.
    EXPECT_EQ(table("", 3, 3, b, KORVS_PRINT_ALL).substr(41, 41),
              "1" + sp(8) + "1.000" + sp(8) + "0.500" + sp(8) + "0.250\n");
}

TEST_F(Layout, LongLabelsWrap) {
    double a[4] = {1, 2, 3, 4};
    const char* rows[2] = {"Sum of squares for the error term", "Mean"};
    const char* cols[2] = {"Estimate", "Standard error of the coefficient estimate"};
    // Row labels: a quarter of 78 is 19 characters, continuation lines are indented by
    // 19 / 3 = 6 and hold 13. Column labels: 1.5 times 11 is 16 characters; the second
    // column widens to its longest label line, 14.
    EXPECT_EQ(table("", 2, 2, a, KORVS_ROW_LABELS, rows, KORVS_COL_LABELS, cols),
              lines({sp(34) + "Standard error",                           //
                     sp(42) + "of the",                                   //
                     sp(37) + "coefficient",                              //
                     sp(24) + "Estimate" + sp(8) + "estimate",            //
                     "Sum of squares for" + sp(13) + "1" + sp(15) + "2",  //
                     sp(6) + "the error",                                 //
                     sp(6) + "term",                                      //
                     "Mean" + sp(27) + "3" + sp(15) + "4"}));
}

TEST_F(Layout, ATableOfOneColumnGivesItsRowLabelsTwoThirdsOfThePage) {
    double a[2] = {1, 2};
    const char* rows[2] = {"Total sum of squares, corrected", "x"};
    EXPECT_EQ(table("", 2, 1, a, KORVS_ROW_LABELS, rows),
              lines({"Total sum of squares, corrected" + sp(12) + "1", "x" + sp(42) + "2"}));
}

TEST_F(Layout, NewlinesInLabelsStartLinesAtTheLeftEdge) {
    double a[2] = {1, 2};
    const char* rows[2] = {"c\nd", "e"};
    EXPECT_EQ(table("", 2, 1, a, KORVS_ROW_LABELS, rows),
              lines({"c" + sp(12) + "1", "d", "e" + sp(12) + "2"}));
    const char* cols[2] = {"a\nb", "c"};
    EXPECT_EQ(table("", 1, 2, a, KORVS_COL_LABELS, cols),
              lines({sp(12) + "a", sp(12) + "b" + sp(12) + "c", sp(12) + "1" + sp(12) + "2"}));
}

TEST_F(Layout, TheTransposeTakesTheLabelsWithIt) {
    double a[6] = {1, 2, 3, 4, 5, 6};
    const char* rows[2] = {"r1", "r2"};
    const char* cols[3] = {"c1", "c2", "c3"};
    EXPECT_EQ(table("", 2, 3, a, KORVS_TRANSPOSE, KORVS_ROW_LABELS, rows, KORVS_COL_LABELS, cols),
              lines({sp(13) + "r1" + sp(11) + "r2", "c1" + sp(12) + "1" + sp(12) + "4",
                     "c2" + sp(12) + "2" + sp(12) + "5", "c3" + sp(12) + "3" + sp(12) + "6"}));
    // The default styles swap too: a single row printed as a column.
    EXPECT_EQ(table("", 1, 3, a, KORVS_TRANSPOSE),
              lines({"1" + sp(12) + "1", "2" + sp(12) + "2", "3" + sp(12) + "3"}));
    EXPECT_EQ(std::vector<double>(a, a + 6), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(Layout, AColumnDimensionAboveTheColumnsSkipsTheRest) {
    // The padding would make the choice decimal if it were read.
    float a[6] = {1, 2, 99.5f, 3, 4, 99.5f};
    EXPECT_EQ(table("", 2, 2, a, KORVS_A_COL_DIM, 3),
              lines({sp(13) + "1" + sp(12) + "2", "1" + sp(12) + "1" + sp(12) + "2",
                     "2" + sp(12) + "3" + sp(12) + "4"}));
    EXPECT_EQ(table("", 2, 2, a, KORVS_A_COL_DIM, 3, KORVS_TRANSPOSE),
              lines({sp(13) + "1" + sp(12) + "2", "1" + sp(12) + "1" + sp(12) + "3",
                     "2" + sp(12) + "2" + sp(12) + "4"}));
    EXPECT_EQ(std::vector<float>(a, a + 6), (std::vector<float>{1, 2, 99.5f, 3, 4, 99.5f}));
}

TEST_F(Layout, AnEmptyMatrixPrintsTheTitleAlone) {
    EXPECT_EQ(table<double>("Title", 0, 3, nullptr), "Title\n");
    EXPECT_EQ(table<double>("Title", 2, 0, nullptr), "Title\n");
    EXPECT_EQ(table<double>("", 0, 0, nullptr), "");
    set(KORVS_SET_CENTERING, 1);
    EXPECT_EQ(table<double>("Title", 0, 3, nullptr), sp(36) + "Title\n");
    EXPECT_TRUE(errors().empty());
}

TEST_F(Layout, TitlesSplitAtNewlinesAndBlanksOrWithinAWord) {
    int one[1] = {1};
    const std::string value = sp(12) + "1";  // the 1 by 1 table is 13 wide
    set_page(20, 60);
    EXPECT_EQ(table("The first line of a long title", 1, 1, one),
              lines({"The first line of a", " long title", value}));
    EXPECT_EQ(table("abcdefghijklmnopqrstuvwxyz", 1, 1, one),
              lines({"abcdefghijklmnopqrst", sp(3) + "uvwxyz", value}));
    // A blank more than 10 characters back is out of reach.
    EXPECT_EQ(table("ab cdefghijklmnopqrstuvwxyz", 1, 1, one),
              lines({"ab cdefghijklmnopqrs", sp(3) + "tuvwxyz", value}));
    EXPECT_EQ(table("abcdefghijklmnopqrst uvw", 1, 1, one),
              lines({"abcdefghijklmnopqrst", sp(5) + "uvw", value}));
    EXPECT_EQ(table("Line one\nLine two\n", 1, 1, one),
              lines({sp(2) + "Line one", sp(2) + "Line two", value}));
    EXPECT_EQ(table("a\n\nb", 1, 1, one), lines({sp(6) + "a", " ", sp(6) + "b", value}));
}

TEST_F(Layout, ColumnsThatDoNotFitTheWidthGoToTheNextBlock) {
    int a[14] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    const std::vector<int> before(a, a + 14);
    set_page(40, 60);
    // 1 + 3 * 13 = 40 fits, a fourth column does not.
    EXPECT_EQ(table("Wide", 2, 7, a),
              lines({sp(18) + "Wide",                                      //
                     sp(13) + "1" + sp(12) + "2" + sp(12) + "3",           //
                     "1" + sp(12) + "1" + sp(12) + "2" + sp(12) + "3",     //
                     "2" + sp(12) + "8" + sp(12) + "9" + sp(11) + "10",    //
                     " ",                                                  //
                     sp(13) + "4" + sp(12) + "5" + sp(12) + "6",           //
                     "1" + sp(12) + "4" + sp(12) + "5" + sp(12) + "6",     //
                     "2" + sp(11) + "11" + sp(11) + "12" + sp(11) + "13",  //
                     " ",                                                  //
                     sp(13) + "7",                                         //
                     "1" + sp(12) + "7",                                   //
                     "2" + sp(11) + "14"}));
    EXPECT_EQ(std::vector<int>(a, a + 14), before);  // a dense matrix is turned in place and back
}

TEST_F(Layout, RowBlocksPrintAllTheirColumnBlocksBeforeTheNextRows) {
    int a[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    set_page(40, 60);
    set(KORVS_SET_ROW_WRAP, 2);
    const std::string first = sp(13) + "1" + sp(12) + "2" + sp(12) + "3", last = sp(13) + "4";
    EXPECT_EQ(table("", 3, 4, a), lines({first,                                               //
                                         "1" + sp(12) + "1" + sp(12) + "2" + sp(12) + "3",    //
                                         "2" + sp(12) + "5" + sp(12) + "6" + sp(12) + "7",    //
                                         " ", last, "1" + sp(12) + "4", "2" + sp(12) + "8",   //
                                         " ", first,                                          //
                                         "3" + sp(12) + "9" + sp(11) + "10" + sp(11) + "11",  //
                                         " ", last, "3" + sp(11) + "12"}));
}

TEST_F(Layout, RowWrapZeroFillsAPage) {
    std::vector<int> a(18);
    for (int k = 0; k < 18; ++k)
        a[k] = k + 1;
    set_page(78, 10);
    set(KORVS_SET_ROW_WRAP, 0);
    // 10 lines less the title, the column labels and the empty line: 7 rows a block.
    std::string text = table("T", 9, 2, a.data());
    const std::string header = sp(13) + "1" + sp(12) + "2";
    std::string expected = lines({sp(13) + "T", header});
    for (int i = 1; i <= 7; ++i) {
        std::string left = std::to_string(2 * i - 1), right = std::to_string(2 * i);
        expected +=
            std::to_string(i) + sp(13 - int(left.size())) + left + sp(13 - int(right.size())) + right + "\n";
    }
    expected +=
        lines({" ", header, "8" + sp(11) + "15" + sp(11) + "16", "9" + sp(11) + "17" + sp(11) + "18"});
    EXPECT_EQ(text, expected);
}

int line_count() {
    int count = 0;
    korvs_write_options(-KORVS_SET_PAGING, &count);
    return count;
}

// Paging on a page of 10 lines: the rows " 1" to "12" of the 12 by 1 table of 1 to 12.
class Paging : public Layout {
protected:
    void SetUp() override {
        Layout::SetUp();
        set_page(78, 10);
    }
    static std::string rows(int from, int to) {
        std::string out;
        for (int i = from; i <= to; ++i) {
            std::string n = std::to_string(i);
            out += sp(2 - int(n.size())) + n + sp(13 - int(n.size())) + n + "\n";
        }
        return out;
    }
    int a[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const std::string title = sp(7) + "T\n";  // on a table 2 + 13 wide
    const std::string two_rows = lines({sp(6) + "T", "1" + sp(12) + "1", "2" + sp(12) + "2"});
};

TEST_F(Paging, AFullPageEndsInAFormFeedAndATableThatDoesNotFitStartsANewOne) {
    set(KORVS_SET_PAGING, 0);
    set(KORVS_SET_TITLE_PAGE, 1);
    EXPECT_EQ(table("T", 12, 1, a), title + rows(1, 9) + "\f" + title + rows(10, 12));
    EXPECT_EQ(line_count(), 4);
    EXPECT_EQ(table("T", 12, 1, a), "\f" + title + rows(1, 9) + "\f" + title + rows(10, 12));
    set(KORVS_SET_TITLE_PAGE, 0);  // the title on the first page only
    set(KORVS_SET_PAGING, 0);
    EXPECT_EQ(table("T", 12, 1, a), title + rows(1, 9) + "\f" + rows(10, 12));
    EXPECT_EQ(line_count(), 3);
    EXPECT_EQ(table("T", 2, 1, a), two_rows);  // a short table fits the rest of the page
    EXPECT_EQ(line_count(), 6);
    for (int count : {9, 25}) {  // a count at or past the page end starts a new page
        set(KORVS_SET_PAGING, count);
        EXPECT_EQ(table("T", 1, 1, a), "\f" + sp(6) + "T\n" + sp(12) + "1\n");
    }
    EXPECT_EQ(line_count(), 2);
}

TEST_F(Paging, MinusOneFormFeedsBeforeEachTableMinusTwoNever) {
    set(KORVS_SET_PAGING, -1);
    EXPECT_EQ(table("T", 12, 1, a), "\f" + title + rows(1, 12));
    EXPECT_EQ(table("T", 2, 1, a), "\f" + two_rows);
    EXPECT_EQ(line_count(), -1);
    set(KORVS_SET_PAGING, -2);
    EXPECT_EQ(table("T", 12, 1, a), title + rows(1, 12));
    EXPECT_EQ(line_count(), -2);
}

// korvs_wrtrl: newlines end lines, pieces of the width, the page count and its form feeds.
class TextLines : public output_test::OutputTest {
protected:
    UnitCapture out_{2};
};

TEST_F(TextLines, LinesPiecesAndThePage) {
    korvs_wrtrl("hello\n\nworld is long", 5);
    korvs_wrtrl("", 10);  // an empty text is one empty line, a final newline opens none
    korvs_wrtrl("a\n", 10);
    korvs_wrtrl("exactly10!", 10);
    korvs_wrtrl(std::string(255, 'x').c_str(), 100);  // the longest text
    EXPECT_EQ(out_.text(), lines({"hello", " ", "world", " is l", "ong", " ", "a", "exactly10!",
                                  std::string(100, 'x'), std::string(100, 'x'), std::string(55, 'x')}));
    EXPECT_EQ(line_count(), -2);  // nothing counted without paging
    int length = 10, paging = 8;
    korvs_page(-2, &length);
    korvs_write_options(KORVS_SET_PAGING, &paging);
    UnitCapture page(2);
    korvs_wrtrl("one\ntwo\nthree", 78);
    EXPECT_EQ(page.text(), "one\ntwo\n\fthree\n");
    EXPECT_EQ(line_count(), 1);
    EXPECT_TRUE(errors().empty());
    expect_errors({
        {"256 characters", [] { korvs_wrtrl(std::string(256, 'x').c_str(), 100); }, 5, 10011},
        {"null text", [] { korvs_wrtrl(nullptr, 10); }, 5, 150, "%(l1) %(i1)", "text -1"},
        {"width 0", [] { korvs_wrtrl("text", 0); }, 5, 603, "%(l1) %(i1) %(i2)", "width 0 1"},
    });
    EXPECT_EQ(page.text(), "one\ntwo\n\fthree\n");  // nothing more
}

// The scalar writers: an empty line, the title centred on the 1 by 1 table, the value.
TEST_F(TextLines, ScalarWriters) {
    korvs_wrrrs("x", 1.5f);
    korvs_dwrrrs("d", 0.125);
    korvs_wrirs("n", 42);
    const std::string printed = out_.text();
    EXPECT_EQ(printed, lines({" ", sp(6) + "x", sp(10) + "1.5", " ", sp(6) + "d", sp(8) + "0.125", " ",
                              sp(6) + "n", sp(11) + "42"}));
    expect_errors({
        {"null title", [] { korvs_wrrrs(nullptr, 1.0f); }, 5, 150, "%(l1)", "title"},
        {"page too narrow", [] { set_page(10, 60), korvs_wrirs("n", 1); }, 5, 10009},
    });
    EXPECT_EQ(out_.text(), printed);  // a failed check prints not even the empty line
}

}  // namespace
