// Number formats of printed tables, each field worked out by hand from the rules: the %W
// choice from the data, fill characters, integer and cyclic conversions, and the codes of
// a bad format. A row without labels prints as 2 blanks and the field of each column.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

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

class FormatValidation : public output_test::OutputTest {};

// Integers take the integer conversions only; the most negative int is not below
// 2147483647 in size and takes the exponent form.
TEST_F(FormatValidation, EachFaultHasItsCodeAndIntegersTheirOwnRules) {
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

}  // namespace
