// The checks of korvs_f_write_matrix and its twins in their order, each with its code and
// inserts (nothing printed, the string null); the settings of korvs_write_options and
// korvs_page, refused values stored nowhere; the output modes; settings per thread, and
// tables printed at once by two threads kept whole.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::UnitCapture;
using output_test::sp;
using output_test::table;

class WriteMatrix : public output_test::OutputTest {
protected:
    static void refused(const std::string& text) {
        EXPECT_TRUE(text == "<null>" || text == "<untouched>") << text;
    }
    // A 2 by 2 table with these options, refused.
    template <class... O> std::function<void()> refuse(O... options) {
        return [=, this] { refused(table("", 2, 2, a, options...)); };
    }
    double a[4] = {1, 2, 3, 4};
    UnitCapture out_{2};
};

TEST_F(WriteMatrix, ChecksInTheirOrder) {
    const char* labels[2] = {"a", "b"};
    const char* with_null[2] = {"one", nullptr};
    const char* one_null[1] = {nullptr};
    const char* twenty[2] = {"twenty characters!!!", "b"};
    const char* fifteen[1] = {"fifteen chars!!"};
    const auto null_labels = static_cast<const char**>(nullptr);
    expect_errors({
        // The walk: an unknown code goes on to the string option behind it; a clash ends it.
        {"unknown code", [&] { EXPECT_EQ(table("", 2, 2, a, 99999), "<null>"); }, 5, 103, "%(i1) %(i2)",
         "99999 5"},
        {"unknown code later", refuse(KORVS_A_COL_DIM, 2, KORVS_TRANSPOSE, 77777), 5, 103, "%(i1) %(i2)",
         "77777 8"},
        {"all, upper", refuse(KORVS_PRINT_ALL, KORVS_PRINT_UPPER), 5, 10013},
        {"lower, upper no diagonal", refuse(KORVS_PRINT_LOWER_NO_DIAG, KORVS_PRINT_UPPER_NO_DIAG), 5, 10013},
        {"row number, labels", refuse(KORVS_ROW_NUMBER, KORVS_ROW_LABELS, labels), 5, 10014},
        {"no row labels, from 0", refuse(KORVS_NO_ROW_LABELS, KORVS_ROW_NUMBER_ZERO), 5, 10014},
        {"col labels, none", refuse(KORVS_COL_LABELS, labels, KORVS_NO_COL_LABELS), 5, 10015},
        {"col number, from 0",
         [&] { EXPECT_EQ(table("", 2, 2, a, KORVS_COL_NUMBER, KORVS_COL_NUMBER_ZERO), "<untouched>"); }, 5,
         10015},
        {"null format", refuse(KORVS_WRITE_FORMAT, static_cast<char*>(nullptr)), 5, 150, "%(l1) %(i1)",
         "format -1"},
        {"null string",
         [&] { korvs_d_write_matrix("", 2, 2, a, KORVS_RETURN_STRING, static_cast<char**>(nullptr), 0); }, 5,
         104, "%(l1) %(l2)", "string KORVS_RETURN_STRING"},
        {"string and console", refuse(KORVS_WRITE_TO_CONSOLE), 5, 20749},
        // The required arguments: nra before the title and a, the title before a.
        {"nra", [&] { refused(table<double>(nullptr, -1, 2, nullptr)); }, 5, 603, "%(i1) %(i2) %(l1)",
         "-1 0 nra"},
        {"a_col_dim", refuse(KORVS_A_COL_DIM, -5), 5, 603, "%(i1) %(i2) %(l1)", "-5 1 a_col_dim"},
        {"nca above a_col_dim", [&] { refused(table("", 2, 3, a, KORVS_A_COL_DIM, 2)); }, 5, 601,
         "%(i1) %(i2) %(l1) %(l2)", "3 2 nca a_col_dim"},
        {"nca", [&] { refused(table("", 2, -1, a, KORVS_A_COL_DIM, 2)); }, 5, 603, "%(i1) %(i2) %(l1)",
         "-1 0 nca"},
        {"nca as the column dimension", [&] { refused(table("", 2, -1, a)); }, 5, 603, "%(i1) %(i2) %(l1)",
         "-1 1 a_col_dim"},
        {"title", [&] { refused(table<double>(nullptr, 2, 2, nullptr)); }, 5, 150, "%(l1) %(i1)", "title -1"},
        {"a", [&] { refused(table<double>("", 2, 2, nullptr)); }, 5, 6002, "%(l1)", "a"},
        {"no data needed", [&] { EXPECT_EQ(table<double>("T", 0, 2, nullptr), "T\n"); }},
        // Labels: rows before columns, and only as many read as there are rows.
        {"null row labels", refuse(KORVS_ROW_LABELS, null_labels), 5, 150, "%(l1) %(i1)", "row_labels -1"},
        {"a null row label", refuse(KORVS_ROW_LABELS, with_null), 5, 151, "%(l1) %(i1)", "row_labels 1"},
        {"null col labels", refuse(KORVS_COL_LABELS, null_labels), 5, 150, "%(l1) %(i1)", "col_labels -1"},
        {"a null col label", refuse(KORVS_COL_LABELS, with_null), 5, 151, "%(l1) %(i1)", "col_labels 1"},
        {"rows first",
         [&] { refused(table("", 1, 2, a, KORVS_COL_LABELS, with_null, KORVS_ROW_LABELS, one_null)); }, 5,
         151, "%(l1) %(i1)", "row_labels 0"},
        {"one row label read",
         [&] { EXPECT_EQ(table("", 1, 1, a, KORVS_ROW_LABELS, with_null), "one" + sp(12) + "1\n"); }},
        // The format after the arguments and before the page.
        {"format after a", [&] { refused(table<double>("", 2, 2, nullptr, KORVS_WRITE_FORMAT, "%5q")); }, 5,
         6002},
        {"format before the page",
         [&] { set_page(300, 60), refused(table("", 2, 2, a, KORVS_WRITE_FORMAT, "%5q")); }, 5, 10007},
        {"width 256", [&] { set_page(256, 60), refused(table("", 2, 2, a)); }, 5, 10010, "%(i1)", "256"},
        {"width 255", [&] { set_page(255, 60), table("", 2, 2, a); }},
        // The page holds the row labels, the widest column and 6.
        {"0 + 11 + 6", [&] { set_page(10, 60), refused(table("", 1, 1, a)); }, 5, 10009, "%(i1) %(i2)",
         "10 17"},
        {"17 fits", [&] { set_page(17, 60), table("", 1, 1, a); }},
        {"a format of 13",
         [&] { set_page(18, 60), refused(table("", 1, 1, a, KORVS_WRITE_FORMAT, "%13.6W")); }, 5, 10008,
         "%(i1) %(i2) %(i3)", "18 19 13"},
        {"a row label of 20",
         [&] { set_page(30, 60), refused(table("", 2, 1, a, KORVS_ROW_LABELS, twenty)); }, 5, 10009,
         "%(i1) %(i2)", "30 37"},
        {"a column label of 15",
         [&] { set_page(20, 60), refused(table("", 1, 1, a, KORVS_COL_LABELS, fifteen)); }, 5, 10009,
         "%(i1) %(i2)", "20 21"},
    });
    EXPECT_EQ(out_.text(), "");
}

TEST_F(WriteMatrix, OneOptionTwiceIsNoClashARefusedTableChangesNothing) {
    const char* first[2] = {"first", "x"};
    const char* second[2] = {"second", "y"};
    EXPECT_EQ(table("", 2, 1, a, KORVS_ROW_LABELS, first, KORVS_ROW_LABELS, second, KORVS_PRINT_UPPER,
                    KORVS_PRINT_UPPER),
              "second" + sp(12) + "1\ny\n");
    EXPECT_TRUE(errors().empty());
    set_page(10, 10);
    set(KORVS_SET_PAGING, 9);
    double b[6] = {1, 2, 3, 4, 5, 6};
    korvs_d_write_matrix("T", 2, 3, b, 0);
    EXPECT_TRUE(only_raised(5, 10009));
    EXPECT_EQ(out_.text(), "");
    int paging = 0;
    korvs_write_options(-KORVS_SET_PAGING, &paging);
    EXPECT_EQ(paging, 9);
    EXPECT_EQ(std::vector<double>(b, b + 6), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(WriteMatrix, StringConsoleAndFileModes) {
    float f[6] = {1.5f, -2, 3, 4, 5, 6e-6f};
    std::string text = table("Modes", 2, 3, f);
    korvs_f_write_matrix("Modes", 2, 3, f, 0);
    EXPECT_EQ(out_.text(), text);  // the string holds what would be printed
    int i[2] = {7, 8};
    text = table("", 1, 2, i);
    UnitCapture out(2);
    ::testing::internal::CaptureStdout();
    korvs_i_write_matrix("", 1, 2, i, KORVS_WRITE_TO_CONSOLE, 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), text);
    EXPECT_EQ(out.text(), "");
    korvs_i_write_matrix("", 1, 2, i, 0);  // the next table goes to the unit again
    EXPECT_EQ(out.text(), text);
    FILE *file = std::tmpfile(), *seen = nullptr, *none = nullptr;
    korvs_output_file(KORVS_SET_OUTPUT_FILE, file, KORVS_SET_ERROR_FILE, file, 0);
    korvs_umach(3, &seen);
    EXPECT_EQ(seen, file);
    korvs_i_write_matrix("", 1, 1, i, 0);
    std::rewind(file);
    char buffer[64] = {};
    EXPECT_EQ(std::string(buffer, std::fread(buffer, 1, sizeof buffer - 1, file)), sp(12) + "7\n");
    korvs_output_file(KORVS_SET_OUTPUT_FILE, none, KORVS_SET_ERROR_FILE, none,
                      0);  // back to the standard ones
    korvs_output_file(KORVS_GET_OUTPUT_FILE, &seen, 0);
    EXPECT_EQ(seen, stdout);
    korvs_output_file(KORVS_GET_ERROR_FILE, &seen, 0);
    EXPECT_EQ(seen, stderr);
    std::fclose(file);
    EXPECT_TRUE(errors().empty());
    korvs_output_file(KORVS_GET_OUTPUT_FILE, &seen, 12345, KORVS_SET_OUTPUT_FILE, stderr, 0);
    EXPECT_TRUE(only_raised(5, 103));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "12345 3");
    korvs_output_file(KORVS_GET_OUTPUT_FILE, &seen, 0);
    EXPECT_EQ(seen, stdout);  // the walk ended at the unknown code
}

// Sets an option through korvs_write_options or korvs_page: a refused value is stored
// nowhere, a valid one is read back.
std::function<void()> setting(void (*routine)(int, int*), int option, int value, bool valid = false) {
    return [=] {
        int before = -99, v = value, after = -99;
        routine(-option, &before);
        routine(option, &v);
        routine(-option, &after);
        EXPECT_EQ(after, valid ? value : before) << option << " " << value;
    };
}

class Settings : public output_test::OutputTest {};

TEST_F(Settings, ValuesAndOptionNumbers) {
    const char* three = "%(l1) %(i1) %(i2) %(i3)";
    expect_errors({
        {"centering 2", setting(korvs_write_options, KORVS_SET_CENTERING, 2), 5, 109, three,
         "KORVS_SET_CENTERING 0 1 2"},
        {"centering -1", setting(korvs_write_options, KORVS_SET_CENTERING, -1), 5, 109, three,
         "KORVS_SET_CENTERING 0 1 -1"},
        {"row wrap -1", setting(korvs_write_options, KORVS_SET_ROW_WRAP, -1), 5, 110, "%(l1) %(i1) %(i2)",
         "KORVS_SET_ROW_WRAP 0 -1"},
        {"paging -3", setting(korvs_write_options, KORVS_SET_PAGING, -3), 5, 110, "%(l1) %(i1) %(i2)",
         "KORVS_SET_PAGING -2 -3"},
        {"nan char 2", setting(korvs_write_options, KORVS_SET_NAN_CHAR, 2), 5, 109, three,
         "KORVS_SET_NAN_CHAR 0 1 2"},
        {"title page 5", setting(korvs_write_options, KORVS_SET_TITLE_PAGE, 5), 5, 109, three,
         "KORVS_SET_TITLE_PAGE 0 1 5"},
        {"format 3", setting(korvs_write_options, KORVS_SET_FORMAT, 3), 5, 109, three,
         "KORVS_SET_FORMAT 0 2 3"},
        {"centering 1", setting(korvs_write_options, KORVS_SET_CENTERING, 1, true)},
        {"row wrap 0", setting(korvs_write_options, KORVS_SET_ROW_WRAP, 0, true)},
        {"paging -2", setting(korvs_write_options, KORVS_SET_PAGING, -2, true)},
        {"paging 100000", setting(korvs_write_options, KORVS_SET_PAGING, 100000, true)},
        {"nan char 1", setting(korvs_write_options, KORVS_SET_NAN_CHAR, 1, true)},
        {"format 2", setting(korvs_write_options, KORVS_SET_FORMAT, 2, true)},
        {"option 7", setting(korvs_write_options, 7, 0), 5, 10019},
        {"option -100", setting(korvs_write_options, -100, 0), 5, 10019},
        {"null value", [] { korvs_write_options(1, nullptr); }, 5, 6002, "%(l1)", "value"},
        {"width 9", setting(korvs_page, -1, 9), 5, 10021, "%(i1)", "9"},
        {"length -4", setting(korvs_page, -2, -4), 5, 10022, "%(i1)", "-4"},
        {"width 10", setting(korvs_page, -1, 10, true)},
        {"length 10", setting(korvs_page, -2, 10, true)},
        {"page option 0", setting(korvs_page, 0, 40), 5, 10020},
        {"page option 3", setting(korvs_page, 3, 40), 5, 10020},
    });
    korvs_write_options(0, nullptr);  // restores every default
    const int defaults[6] = {0, 1000, -2, 0, 0, 0};
    for (int option = 1; option <= 6; ++option) {
        int value = -99;
        korvs_write_options(option, &value);
        EXPECT_EQ(value, defaults[option - 1]) << option;
    }
}

// Signal trapping must be off before a second thread calls the library.
TEST_F(Settings, BelongToTheirThreadAndTablesPrintedAtOnceStayWhole) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    set_page(40, 60);
    set(KORVS_SET_ROW_WRAP, 3);
    int other_width = 0, other_length = 0, other_wrap = 0;
    std::string other_table;
    std::thread other([&] {
        korvs_page(1, &other_width);  // a new thread starts from the defaults
        korvs_page(2, &other_length);
        korvs_write_options(2, &other_wrap);
        set_page(20, 60);
        int a[1] = {1};
        other_table = table("", 1, 1, a);
    });
    other.join();
    EXPECT_EQ(other_width, 78);
    EXPECT_EQ(other_length, 60);
    EXPECT_EQ(other_wrap, 1000);
    EXPECT_EQ(other_table, sp(12) + "1\n");
    int width = 0;
    korvs_page(1, &width);
    EXPECT_EQ(width, 40);
    // Two threads print tables of 20 lines, each line the thread's mark, to one file.
    constexpr int kTables = 2000;
    FILE* file = std::tmpfile();
    std::atomic<int> ready{0};
    auto printer = [&](int mark) {
        FILE* f = file;
        korvs_umach(-2, &f);
        std::vector<int> a(20, mark);
        for (++ready; ready.load() < 2;) {
        }
        for (int k = 0; k < kTables; ++k)
            korvs_i_write_matrix("", 20, 1, a.data(), KORVS_NO_ROW_LABELS, 0);
    };
    std::thread one(printer, 1), two(printer, 2);
    one.join();
    two.join();
    std::rewind(file);
    std::vector<int> marks;
    char line[64];
    while (std::fgets(line, sizeof line, file))
        marks.push_back(std::string(line) == sp(12) + "1\n" ? 1 : 2);
    std::fclose(file);
    ASSERT_EQ(marks.size(), 2u * kTables * 20);
    for (std::size_t k = 0; k < marks.size(); ++k)
        ASSERT_EQ(marks[k], marks[k - k % 20]) << "line " << k;
}

}  // namespace
