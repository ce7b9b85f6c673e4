// The checks of korvs_f_write_matrix and its twins, each with its code and inserts, in
// their order: the option walk (unknown codes, exclusive groups, a null format or string
// address, string and console together), the required arguments, the page width. On an
// error nothing is printed and the string comes back null. Also: string mode hands out
// what would have been printed, and console mode writes to standard output.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cstdio>
#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::inserts;
using korvs_test::UnitCapture;
using output_test::sp;
using output_test::table;

class WriteMatrixChecks : public output_test::OutputTest {
protected:
    double a[4] = {1, 2, 3, 4};
    // The one error raised, its type 5, and nothing printed on the output unit.
    void expect_refused(int code, const std::string& text) {
        EXPECT_TRUE(only_raised(5, code));
        EXPECT_EQ(out_.text(), "");
        EXPECT_TRUE(text == "<null>" || text == "<untouched>") << text;
    }
    UnitCapture out_{2};
};

TEST_F(WriteMatrixChecks, AnUnknownCodeIsReportedWithItsPositionAndTheWalkGoesOn) {
    std::string text = table("", 2, 2, a, 99999);
    expect_refused(103, text);
    EXPECT_EQ(text, "<null>");  // the string option after it was read
    EXPECT_EQ(inserts("%(i1) %(i2)"), "99999 5");
    clear();
    table("", 2, 2, a, KORVS_A_COL_DIM, 2, KORVS_TRANSPOSE, 77777);
    EXPECT_TRUE(only_raised(5, 103));
    EXPECT_EQ(inserts("%(i1) %(i2)"), "77777 8");
}

TEST_F(WriteMatrixChecks, TwoOptionsOfOneGroupEndTheWalk) {
    expect_refused(10013, table("", 2, 2, a, KORVS_PRINT_ALL, KORVS_PRINT_UPPER));
    clear();
    expect_refused(10013, table("", 2, 2, a, KORVS_PRINT_LOWER_NO_DIAG, KORVS_PRINT_UPPER_NO_DIAG));
    clear();
    const char* labels[2] = {"a", "b"};
    expect_refused(10014, table("", 2, 2, a, KORVS_ROW_NUMBER, KORVS_ROW_LABELS, labels));
    clear();
    expect_refused(10014, table("", 2, 2, a, KORVS_NO_ROW_LABELS, KORVS_ROW_NUMBER_ZERO));
    clear();
    expect_refused(10015, table("", 2, 2, a, KORVS_COL_LABELS, labels, KORVS_NO_COL_LABELS));
    clear();
    expect_refused(10015, table("", 2, 2, a, KORVS_COL_NUMBER, KORVS_COL_NUMBER_ZERO));
    // The walk ended at the clash: the string option behind it was never read.
    EXPECT_EQ(table("", 2, 2, a, KORVS_COL_NUMBER, KORVS_COL_NUMBER_ZERO), "<untouched>");
}

TEST_F(WriteMatrixChecks, OneOptionGivenTwiceIsNoClashAndTheLaterValuesStand) {
    const char* first[2] = {"first", "x"};
    const char* second[2] = {"second", "y"};
    std::string text = table("", 2, 1, a, KORVS_ROW_LABELS, first, KORVS_ROW_LABELS, second,
                             KORVS_PRINT_UPPER, KORVS_PRINT_UPPER);
    EXPECT_TRUE(errors().empty());
    EXPECT_EQ(text, "second" + sp(12) + "1\ny\n");
}

TEST_F(WriteMatrixChecks, ANullFormatOrStringAddress) {
    std::string text = table("", 2, 2, a, KORVS_WRITE_FORMAT, static_cast<const char*>(nullptr));
    expect_refused(150, text);
    EXPECT_EQ(inserts("%(l1) %(i1)"), "format -1");
    clear();
    korvs_d_write_matrix("", 2, 2, a, KORVS_RETURN_STRING, static_cast<char**>(nullptr), 0);
    EXPECT_TRUE(only_raised(5, 104));
    EXPECT_EQ(inserts("%(l1) %(l2)"), "string KORVS_RETURN_STRING");
    EXPECT_EQ(out_.text(), "");
}

TEST_F(WriteMatrixChecks, StringAndConsoleExcludeEachOther) {
    expect_refused(20749, table("", 2, 2, a, KORVS_WRITE_TO_CONSOLE));
}

TEST_F(WriteMatrixChecks, RequiredArgumentsInTheirOrder) {
    struct Case {
        int nra, nca, col_dim;  // col_dim 0: not given
        const char* title;
        bool null_a;
        int code;
        const char* placeholders;
        const char* inserts;
    };
    const Case cases[] = {
        {-1, 2, 0, "", false, 603, "%(i1) %(i2) %(l1)", "-1 0 nra"},
        {-1, 2, 0, nullptr, true, 603, "%(i1) %(i2) %(l1)", "-1 0 nra"},  // before the title and a
        {2, 2, -5, "", false, 603, "%(i1) %(i2) %(l1)", "-5 1 a_col_dim"},
        {2, 3, 2, "", false, 601, "%(i1) %(i2) %(l1) %(l2)", "3 2 nca a_col_dim"},
        {2, -1, 2, "", false, 603, "%(i1) %(i2) %(l1)", "-1 0 nca"},
        {2, -1, 0, "", false, 603, "%(i1) %(i2) %(l1)", "-1 1 a_col_dim"},  // the column dimension is nca
        {2, 2, 0, nullptr, true, 150, "%(l1) %(i1)", "title -1"},           // before a
        {2, 2, 0, "", true, 6002, "%(l1)", "a"},
    };
    for (const Case& c : cases) {
        clear();
        double* data = c.null_a ? nullptr : a;
        std::string text = c.col_dim ? table(c.title, c.nra, c.nca, data, KORVS_A_COL_DIM, c.col_dim)
                                     : table(c.title, c.nra, c.nca, data);
        expect_refused(c.code, text);
        EXPECT_EQ(inserts(c.placeholders), c.inserts) << c.nra << " " << c.nca << " " << c.col_dim;
    }
    // No data is needed when there is nothing to print.
    clear();
    EXPECT_EQ(table<double>("T", 0, 2, nullptr), "T\n");
    EXPECT_TRUE(errors().empty());
}

TEST_F(WriteMatrixChecks, NullLabels) {
    const char* with_null[2] = {"one", nullptr};
    std::string text = table("", 2, 2, a, KORVS_ROW_LABELS, static_cast<const char**>(nullptr));
    expect_refused(150, text);
    EXPECT_EQ(inserts("%(l1) %(i1)"), "row_labels -1");
    clear();
    expect_refused(151, table("", 2, 2, a, KORVS_ROW_LABELS, with_null));
    EXPECT_EQ(inserts("%(l1) %(i1)"), "row_labels 1");
    clear();
    expect_refused(150, table("", 2, 2, a, KORVS_COL_LABELS, static_cast<const char**>(nullptr)));
    EXPECT_EQ(inserts("%(l1) %(i1)"), "col_labels -1");
    clear();
    expect_refused(151, table("", 2, 2, a, KORVS_COL_LABELS, with_null));
    EXPECT_EQ(inserts("%(l1) %(i1)"), "col_labels 1");
    // Row labels come before column labels, and only as many are read as there are rows.
    clear();
    const char* one[1] = {nullptr};
    expect_refused(151, table("", 1, 2, a, KORVS_COL_LABELS, with_null, KORVS_ROW_LABELS, one));
    EXPECT_EQ(inserts("%(l1) %(i1)"), "row_labels 0");
    clear();
    const char* rows_only[2] = {"r", nullptr};
    EXPECT_EQ(table("", 1, 1, a, KORVS_ROW_LABELS, rows_only), "r" + sp(12) + "1\n");
    EXPECT_TRUE(errors().empty());
}

TEST_F(WriteMatrixChecks, TheFormatIsCheckedAfterTheArgumentsAndBeforeThePage) {
    expect_refused(6002, table<double>("", 2, 2, nullptr, KORVS_WRITE_FORMAT, "%5q"));
    clear();
    int width = 300;
    korvs_page(-1, &width);
    expect_refused(10007, table("", 2, 2, a, KORVS_WRITE_FORMAT, "%5q"));
}

TEST_F(WriteMatrixChecks, PageWidthsOf256AndMoreAreRefused) {
    int width = 256;
    korvs_page(-1, &width);
    expect_refused(10010, table("", 2, 2, a));
    EXPECT_EQ(inserts("%(i1)"), "256");
    clear();
    width = 255;
    korvs_page(-1, &width);
    table("", 2, 2, a);
    EXPECT_TRUE(errors().empty());
}

TEST_F(WriteMatrixChecks, ThePageMustHoldTheRowLabelsTheWidestColumnAndSix) {
    auto page = [](int width) { korvs_page(-1, &width); };
    // 0 + 11 + 6 = 17 on a page of 10; the format is narrower than 12.
    page(10);
    expect_refused(10009, table("", 1, 1, a));
    EXPECT_EQ(inserts("%(i1) %(i2)"), "10 17");
    clear();
    page(17);
    table("", 1, 1, a);
    EXPECT_TRUE(errors().empty());
    // A format of 13: 19 needed, and the format in i3.
    page(18);
    expect_refused(10008, table("", 1, 1, a, KORVS_WRITE_FORMAT, "%13.6W"));
    EXPECT_EQ(inserts("%(i1) %(i2) %(i3)"), "18 19 13");
    clear();
    // A row label of 20 on a page of 30, whose one-column tables give labels 20.
    page(30);
    const char* rows[2] = {"twenty characters!!!", "b"};
    expect_refused(10009, table("", 2, 1, a, KORVS_ROW_LABELS, rows));
    EXPECT_EQ(inserts("%(i1) %(i2)"), "30 37");
    clear();
    // A column label of 15 widens its column.
    page(20);
    const char* cols[1] = {"fifteen chars!!"};
    expect_refused(10009, table("", 1, 1, a, KORVS_COL_LABELS, cols));
    EXPECT_EQ(inserts("%(i1) %(i2)"), "20 21");
}

TEST_F(WriteMatrixChecks, ARefusedTableChangesNoSettingAndNoMatrix) {
    int paging = 0, length = 10;
    korvs_write_options(KORVS_SET_PAGING, &paging);
    korvs_page(-2, &length);
    paging = 9;
    korvs_write_options(KORVS_SET_PAGING, &paging);
    double b[6] = {1, 2, 3, 4, 5, 6};
    int width = 10;
    korvs_page(-1, &width);
    korvs_d_write_matrix("T", 2, 3, b, 0);
    EXPECT_TRUE(only_raised(5, 10009));
    EXPECT_EQ(out_.text(), "");
    korvs_write_options(-KORVS_SET_PAGING, &paging);
    EXPECT_EQ(paging, 9);
    EXPECT_EQ(std::vector<double>(b, b + 6), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

class WriteMatrixModes : public output_test::OutputTest {};

TEST_F(WriteMatrixModes, StringModeHandsOutWhatWouldBePrinted) {
    float a[6] = {1.5f, -2, 3, 4, 5, 6e-6f};
    std::string text = table("Modes", 2, 3, a);
    UnitCapture out(2);
    korvs_f_write_matrix("Modes", 2, 3, a, 0);
    EXPECT_EQ(out.text(), text);
    EXPECT_FALSE(text.empty());
}

TEST_F(WriteMatrixModes, ConsoleModeWritesToStandardOutputNotTheUnit) {
    int a[2] = {7, 8};
    std::string text = table("", 1, 2, a);
    UnitCapture out(2);
    ::testing::internal::CaptureStdout();
    korvs_i_write_matrix("", 1, 2, a, KORVS_WRITE_TO_CONSOLE, 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), text);
    EXPECT_EQ(out.text(), "");
    // The next table goes to the unit again.
    korvs_i_write_matrix("", 1, 2, a, 0);
    EXPECT_EQ(out.text(), text);
}

TEST_F(WriteMatrixModes, TheOutputFileRoutineMovesTheTables) {
    FILE* file = std::tmpfile();
    korvs_output_file(KORVS_SET_OUTPUT_FILE, file, 0);
    FILE* seen = nullptr;
    korvs_output_file(KORVS_GET_OUTPUT_FILE, &seen, 0);
    EXPECT_EQ(seen, file);
    int a[1] = {5};
    korvs_i_write_matrix("", 1, 1, a, 0);
    std::fflush(file);
    std::rewind(file);
    char buffer[64] = {};
    std::size_t n = std::fread(buffer, 1, sizeof buffer - 1, file);
    EXPECT_EQ(std::string(buffer, n), sp(12) + "5\n");
    FILE* standard = nullptr;
    korvs_output_file(KORVS_SET_OUTPUT_FILE, standard, 0);  // null: back to standard output
    korvs_output_file(KORVS_GET_OUTPUT_FILE, &seen, 0);
    EXPECT_EQ(seen, stdout);
    std::fclose(file);
    EXPECT_TRUE(errors().empty());
}

TEST_F(WriteMatrixModes, TheOutputFileRoutineSetsTheErrorStreamToo) {
    FILE* file = std::tmpfile();
    FILE* seen = nullptr;
    korvs_output_file(KORVS_SET_ERROR_FILE, file, KORVS_GET_ERROR_FILE, &seen, 0);
    EXPECT_EQ(seen, file);
    korvs_output_file(KORVS_SET_ERROR_FILE, static_cast<FILE*>(nullptr), 0);
    korvs_output_file(KORVS_GET_ERROR_FILE, &seen, 0);
    EXPECT_EQ(seen, stderr);
    std::fclose(file);
}

TEST_F(WriteMatrixModes, AnUnknownCodeOfTheOutputFileRoutineEndsItsWalk) {
    FILE* seen = nullptr;
    korvs_output_file(KORVS_GET_OUTPUT_FILE, &seen, 12345, KORVS_SET_OUTPUT_FILE, stderr, 0);
    EXPECT_TRUE(only_raised(5, 103));
    EXPECT_EQ(inserts("%(i1) %(i2)"), "12345 3");
    korvs_output_file(KORVS_GET_OUTPUT_FILE, &seen, 0);
    EXPECT_EQ(seen, stdout);
}

}  // namespace
