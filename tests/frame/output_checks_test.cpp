// The checks of korvs_f_write_matrix and its twins in their order, each with its code and
// inserts (nothing printed, the string null); the settings of korvs_write_options and
// korvs_page, refused values stored nowhere; the output modes.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::UnitCapture;
using output_test::row;
using output_test::table;

class WriteMatrix : public output_test::OutputTest {
protected:
    double a[4] = {1, 2, 3, 4};
    // A table of these options, refused: the string null, or untouched when the walk ended.
    template <class... O> std::function<void()> refuse(int nra, int nca, O... options) {
        return [=, this] {
            std::string text = table("", nra, nca, a, options...);
            EXPECT_TRUE(text == "<null>" || text == "<untouched>") << text;
        };
    }
    template <class... O> std::function<void()> page_refuses(int width, int nra, O... options) {
        return [=, this] { set_page(width, 60), refuse(nra, 1, options...)(); };
    }
};

TEST_F(WriteMatrix, ChecksInTheirOrder) {
    UnitCapture out(2);
    const char* with_null[2] = {"one", nullptr};
    const char* one_null[1] = {nullptr};
    const char* twenty[2] = {"twenty characters!!!", "b"};
    const char *two = "%(i1) %(i2)", *three = "%(i1) %(i2) %(l1)", *named = "%(l1) %(i1)";
    expect_errors({
        // The walk: an unknown code goes on to the string option behind it; a clash ends it.
        {"unknown code", [&] { EXPECT_EQ(table("", 2, 2, a, 99999), "<null>"); }, 5, 103, two, "99999 5"},
        {"all, upper", refuse(2, 2, KORVS_PRINT_ALL, KORVS_PRINT_UPPER), 5, 10013},
        {"row number, labels", refuse(2, 2, KORVS_ROW_NUMBER, KORVS_ROW_LABELS, twenty), 5, 10014},
        {"col number, from 0",
         [&] { EXPECT_EQ(table("", 2, 2, a, KORVS_COL_NUMBER, KORVS_COL_NUMBER_ZERO), "<untouched>"); }, 5,
         10015},
        {"null format", refuse(2, 2, KORVS_WRITE_FORMAT, static_cast<char*>(nullptr)), 5, 150, named,
         "format -1"},
        {"string and console", refuse(2, 2, KORVS_WRITE_TO_CONSOLE), 5, 20749},
        // The required arguments: nra before the title and a, the title before a.
        {"nra", [&] { table<double>(nullptr, -1, 2, nullptr); }, 5, 603, three, "-1 0 nra"},
        {"nca above a_col_dim", refuse(2, 3, KORVS_A_COL_DIM, 2), 5, 601, "%(i1) %(i2) %(l1) %(l2)",
         "3 2 nca a_col_dim"},
        {"nca as the column dimension", refuse(2, -1), 5, 603, three, "-1 1 a_col_dim"},
        {"title", [&] { table<double>(nullptr, 2, 2, nullptr); }, 5, 150, named, "title -1"},
        {"no data needed, one row label read",
         [&] {
             EXPECT_EQ(table<double>("T", 0, 2, nullptr) + table("", 1, 1, a, KORVS_ROW_LABELS, with_null),
                       "T\n" + row("one", {"1"}));
         }},
        // Labels: rows before columns, and only as many read as there are rows.
        {"a null row label", refuse(2, 2, KORVS_ROW_LABELS, with_null), 5, 151, named, "row_labels 1"},
        {"rows first", refuse(1, 2, KORVS_COL_LABELS, with_null, KORVS_ROW_LABELS, one_null), 5, 151, named,
         "row_labels 0"},
        {"one option twice is no clash",
         [&] {
             EXPECT_EQ(table("", 2, 1, a, KORVS_ROW_LABELS, twenty, KORVS_ROW_LABELS, with_null,
                             KORVS_PRINT_UPPER, KORVS_PRINT_UPPER, KORVS_ROW_LABELS, twenty),
                       row("twenty characters!!!", {"1"}) + "b\n");
         }},
        // The format after the arguments and before the page; the page holds the row
        // labels, the widest column and 6.
        {"format after a", [&] { table<double>("", 2, 2, nullptr, KORVS_WRITE_FORMAT, "%5q"); }, 5, 6002},
        {"format before the page", page_refuses(300, 1, KORVS_WRITE_FORMAT, "%5q"), 5, 10007},
        {"width 256", page_refuses(256, 1), 5, 10010, "%(i1)", "256"},
        {"0 + 11 + 6", page_refuses(10, 1), 5, 10009, two, "10 17"},
        {"17 fits", [&] { set_page(17, 60), table("", 1, 1, a); }},
        {"a format of 13", page_refuses(18, 1, KORVS_WRITE_FORMAT, "%13.6W"), 5, 10008, "%(i1) %(i2) %(i3)",
         "18 19 13"},
        {"a row label of 20", page_refuses(30, 2, KORVS_ROW_LABELS, twenty), 5, 10009, two, "30 37"},
    });
    EXPECT_EQ(out.text(), "");
}

// The string holds what would be printed; the console mode prints on standard output
// for one table; the output file is unit 2 and the error file unit 3.
TEST_F(WriteMatrix, StringConsoleAndFileModes) {
    float f[6] = {1.5f, -2, 3, 4, 5, 6e-6f};
    const std::string text = table("Modes", 2, 3, f);
    {
        UnitCapture out(2);
        korvs_f_write_matrix("Modes", 2, 3, f, 0);
        ::testing::internal::CaptureStdout();
        korvs_f_write_matrix("Modes", 2, 3, f, KORVS_WRITE_TO_CONSOLE, 0);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), text);
        korvs_f_write_matrix("Modes", 2, 3, f, 0);
        EXPECT_EQ(out.text(), text + text);
    }
    FILE *file = std::tmpfile(), *units[2] = {}, *none = nullptr;
    korvs_output_file(KORVS_SET_OUTPUT_FILE, file, KORVS_SET_ERROR_FILE, file, 0);
    korvs_umach(2, &units[0]);
    korvs_umach(3, &units[1]);
    EXPECT_TRUE(units[0] == file && units[1] == file);
    korvs_output_file(KORVS_SET_OUTPUT_FILE, none, KORVS_SET_ERROR_FILE, none, 0);  // the standard ones
    korvs_output_file(KORVS_GET_OUTPUT_FILE, &units[0], KORVS_GET_ERROR_FILE, &units[1], 0);
    EXPECT_TRUE(units[0] == stdout && units[1] == stderr);
    std::fclose(file);
    EXPECT_TRUE(errors().empty());
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
    const char *three = "%(l1) %(i1) %(i2) %(i3)", *two = "%(l1) %(i1) %(i2)";
    auto write = korvs_write_options;
    expect_errors({
        {"centering 2", setting(write, KORVS_SET_CENTERING, 2), 5, 109, three, "KORVS_SET_CENTERING 0 1 2"},
        {"row wrap -1", setting(write, KORVS_SET_ROW_WRAP, -1), 5, 110, two, "KORVS_SET_ROW_WRAP 0 -1"},
        {"paging -3", setting(write, KORVS_SET_PAGING, -3), 5, 110, two, "KORVS_SET_PAGING -2 -3"},
        {"title page 5", setting(write, KORVS_SET_TITLE_PAGE, 5), 5, 109, three,
         "KORVS_SET_TITLE_PAGE 0 1 5"},
        {"format 3", setting(write, KORVS_SET_FORMAT, 3), 5, 109, three, "KORVS_SET_FORMAT 0 2 3"},
        {"paging 100000", setting(write, KORVS_SET_PAGING, 100000, true)},
        {"format 2", setting(write, KORVS_SET_FORMAT, 2, true)},
        {"option 7", setting(write, 7, 0), 5, 10019},
        {"null value", [] { korvs_write_options(1, nullptr); }, 5, 6002, "%(l1)", "value"},
        {"width 9", setting(korvs_page, -1, 9), 5, 10021, "%(i1)", "9"},
        {"length -4", setting(korvs_page, -2, -4), 5, 10022, "%(i1)", "-4"},
        {"width 10", setting(korvs_page, -1, 10, true)},
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

}  // namespace
