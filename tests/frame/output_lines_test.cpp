// The line writer seen through korvs_wrtrl (newlines, empty lines, pieces of the width,
// the page count and its form feeds) and the scalar writers korvs_wrrrs, korvs_dwrrrs
// and korvs_wrirs (an empty line, the title and the value, or nothing on an error).
#include <gtest/gtest.h>
#include <korvstat.h>

#include <string>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::inserts;
using korvs_test::UnitCapture;
using output_test::lines;
using output_test::sp;

class TextLines : public output_test::OutputTest {
protected:
    UnitCapture out_{2};
};

TEST_F(TextLines, NewlinesEndLinesAndLongPiecesAreCutAtTheWidth) {
    korvs_wrtrl("hello\n\nworld is long", 5);
    EXPECT_EQ(out_.text(), lines({"hello", " ", "world", " is l", "ong"}));
    EXPECT_TRUE(errors().empty());
}

TEST_F(TextLines, AnEmptyTextIsOneEmptyLineAndAFinalNewlineOpensNone) {
    korvs_wrtrl("", 10);
    korvs_wrtrl("a\n", 10);
    korvs_wrtrl("\n", 10);
    korvs_wrtrl("exactly10!", 10);
    EXPECT_EQ(out_.text(), lines({" ", "a", " ", "exactly10!"}));
}

TEST_F(TextLines, TheTextMustBeShorterThan256) {
    std::string longest(255, 'x'), too_long(256, 'x');
    korvs_wrtrl(longest.c_str(), 100);
    EXPECT_TRUE(errors().empty());
    EXPECT_EQ(out_.text(), lines({std::string(100, 'x'), std::string(100, 'x'), std::string(55, 'x')}));
    korvs_wrtrl(too_long.c_str(), 100);
    EXPECT_TRUE(only_raised(5, 10011));
    EXPECT_EQ(out_.text().size(), 258u);  // nothing more
}

TEST_F(TextLines, ANullTextOrAWidthBelowOne) {
    korvs_wrtrl(nullptr, 10);
    EXPECT_TRUE(only_raised(5, 150));
    EXPECT_EQ(inserts("%(l1) %(i1)"), "text -1");
    clear();
    korvs_wrtrl("text", 0);
    EXPECT_TRUE(only_raised(5, 603));
    EXPECT_EQ(inserts("%(l1) %(i1) %(i2)"), "width 0 1");
    EXPECT_EQ(out_.text(), "");
}

TEST_F(TextLines, LinesCountOnThePageAndAFullPageGetsAFormFeed) {
    int length = 10, paging = 8;
    korvs_page(-2, &length);
    korvs_write_options(KORVS_SET_PAGING, &paging);
    korvs_wrtrl("one\ntwo\nthree", 78);
    EXPECT_EQ(out_.text(), "one\ntwo\n\fthree\n");
    korvs_write_options(-KORVS_SET_PAGING, &paging);
    EXPECT_EQ(paging, 1);
}

TEST_F(TextLines, WithoutPagingNothingIsCounted) {
    korvs_wrtrl("one\ntwo", 78);
    int paging = 0;
    korvs_write_options(-KORVS_SET_PAGING, &paging);
    EXPECT_EQ(paging, -2);
}

class ScalarWriters : public output_test::OutputTest {
protected:
    UnitCapture out_{2};
};

TEST_F(ScalarWriters, AnEmptyLineThenTheTitleAndTheValue) {
    // The 1 by 1 table is 13 wide: the title goes (13 - 1) / 2 = 6 in.
    korvs_wrrrs("x", 1.5f);
    EXPECT_EQ(out_.text(), lines({" ", sp(6) + "x", sp(10) + "1.5"}));
    korvs_dwrrrs("d", 0.125);
    korvs_wrirs("n", 42);
    EXPECT_EQ(out_.text(), lines({" ", sp(6) + "x", sp(10) + "1.5", " ", sp(6) + "d", sp(8) + "0.125", " ",
                                  sp(6) + "n", sp(11) + "42"}));
    EXPECT_TRUE(errors().empty());
}

TEST_F(ScalarWriters, AFailedCheckPrintsNothingNotEvenTheEmptyLine) {
    korvs_wrrrs(nullptr, 1.0f);
    EXPECT_TRUE(only_raised(5, 150));
    EXPECT_EQ(inserts("%(l1)"), "title");
    clear();
    int width = 10;
    korvs_page(-1, &width);
    korvs_wrirs("n", 1);
    EXPECT_TRUE(only_raised(5, 10009));
    EXPECT_EQ(out_.text(), "");
}

}  // namespace
