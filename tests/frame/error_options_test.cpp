// korvs_error_options and korvs_e1pos: the switches, their checks and the walk.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <string>

#include "korvs_test.hpp"

using korvs_test::KorvsTest;
using korvs_test::UnitCapture;

namespace {

using korvs_test::inserts;

int get_switch(int code, int type) {
    int value = -1;
    korvs_error_options(code, type, &value, 0);
    return value;
}

TEST(ErrorSwitches, DefaultsOfEveryType) {
    const int print[8] = {0, 0, 0, 1, 1, 1, 1, 1};
    const int stop[8] = {0, 0, 0, 0, 1, 1, 0, 0};
    for (int type = 1; type <= 7; ++type) {
        EXPECT_EQ(get_switch(KORVS_GET_PRINT, type), print[type]) << type;
        EXPECT_EQ(get_switch(KORVS_GET_STOP, type), stop[type]) << type;
        EXPECT_EQ(get_switch(KORVS_GET_TRACEBACK, type), 0) << type;
    }
    int mode = 0;
    korvs_error_options(KORVS_GET_PRINT_TYPE, &mode, 0);
    EXPECT_EQ(mode, KORVS_PRINT_STREAM);
}

class ErrorOptions : public KorvsTest {};

TEST_F(ErrorOptions, SetAndReadEverySwitch) {
    korvs_error_options(KORVS_SET_PRINT, 2, 1, KORVS_SET_STOP, 3, 1, KORVS_SET_TRACEBACK, 4, 1, 0);
    EXPECT_EQ(get_switch(KORVS_GET_PRINT, 2), 1);
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 3), 1);
    EXPECT_EQ(get_switch(KORVS_GET_TRACEBACK, 4), 1);
    korvs_error_options(KORVS_SET_STOP, 3, 0, 0);
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 3), 0);
    EXPECT_TRUE(errors().empty());
}

TEST_F(ErrorOptions, TypeOutsideOneToSevenIsSkippedAndTheWalkGoesOn) {
    korvs_error_options(KORVS_SET_PRINT, 8, 1, KORVS_SET_STOP, 2, 1, 0);
    EXPECT_TRUE(only_raised(5, 132));
    EXPECT_EQ(korvs_error_code(), 132);
    // The lowest type and the second insert 5, as the message has always read.
    EXPECT_EQ(inserts("%(i1) %(i2) %(i3) %(l1)"), "1 5 8 type");
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 2), 1);
}

TEST_F(ErrorOptions, TypeZeroIsRejectedWhenRead) {
    int value = 7;
    korvs_error_options(KORVS_GET_PRINT, 0, &value, 0);
    EXPECT_TRUE(only_raised(5, 132));
    EXPECT_EQ(value, 7);
}

TEST_F(ErrorOptions, UnknownCodeEndsTheWalkWithItsPosition) {
    korvs_error_options(KORVS_FULL_TRACEBACK, 1, 99999, KORVS_SET_STOP, 3, 1, 0);
    EXPECT_TRUE(only_raised(5, 103));
    EXPECT_EQ(inserts("%(i1) at %(i2)"), "99999 at 3");
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 3), 0);
}

TEST_F(ErrorOptions, UnknownFirstCodeIsAtPositionOne) {
    korvs_error_options(-5, 0);
    EXPECT_TRUE(only_raised(5, 103));
    EXPECT_EQ(inserts("%(i1) at %(i2)"), "-5 at 1");
}

TEST_F(ErrorOptions, EmptyListChangesNothing) {
    korvs_error_options(0);
    EXPECT_EQ(korvs_error_code(), 0);
    EXPECT_TRUE(errors().empty());
}

TEST_F(ErrorOptions, ErrorFileIsTheErrorUnit) {
    FILE* file = std::tmpfile();
    korvs_error_options(KORVS_SET_ERROR_FILE, file, 0);
    FILE* got = nullptr;
    korvs_error_options(KORVS_GET_ERROR_FILE, &got, 0);
    EXPECT_EQ(got, file);
    FILE* unit = nullptr;
    korvs_umach(3, &unit);
    EXPECT_EQ(unit, file);
    korvs_error_options(KORVS_SET_ERROR_FILE, stderr, 0);
    std::fclose(file);
}

TEST_F(ErrorOptions, MessageFileSettingsAreAcceptedQuietly) {
    korvs_error_options(KORVS_ERROR_MSG_FILE, "other.bin", KORVS_ERROR_MSG_PATH, "/nowhere", 0);
    korvs_error_options(KORVS_ERROR_MSG_FILE, nullptr, KORVS_ERROR_MSG_PATH, nullptr, 0);
    EXPECT_EQ(korvs_error_code(), 0);
}

// korvs_e1pos: type 0 sets every type, a positive type can only set, a negative one reads.
class E1pos : public KorvsTest {};

TEST_F(E1pos, TypeZeroSetsAllTypesFromZeroUp) {
    int print = 1, stop = -1;
    korvs_e1pos(0, &print, &stop);
    for (int type = 1; type <= 7; ++type) {
        EXPECT_EQ(get_switch(KORVS_GET_PRINT, type), 1) << type;
        EXPECT_EQ(get_switch(KORVS_GET_STOP, type), 0) << type;  // Stop untouched: quiet() cleared it
    }
}

TEST_F(E1pos, PositiveTypeSetsButNeverClears) {
    int print = 1, stop = 1;
    korvs_e1pos(3, &print, &stop);
    EXPECT_EQ(get_switch(KORVS_GET_PRINT, 3), 1);
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 3), 1);
    print = 0;
    stop = 0;
    korvs_e1pos(3, &print, &stop);
    EXPECT_EQ(get_switch(KORVS_GET_PRINT, 3), 1);
    EXPECT_EQ(get_switch(KORVS_GET_STOP, 3), 1);
}

TEST_F(E1pos, NegativeTypeReads) {
    korvs_error_options(KORVS_SET_PRINT, 6, 1, KORVS_SET_STOP, 6, 0, 0);
    int print = -1, stop = -1;
    korvs_e1pos(-6, &print, &stop);
    EXPECT_EQ(print, 1);
    EXPECT_EQ(stop, 0);
}

TEST_F(E1pos, TypeOutsideMinusEightToEight) {
    int print = 0, stop = 0;
    korvs_e1pos(9, &print, &stop);
    EXPECT_EQ(korvs_error_code(), 132);
    EXPECT_TRUE(only_raised(5, 132));
    EXPECT_EQ(inserts("%(i1) %(i2) %(i3) %(l1)"), "-8 8 9 type");
}

TEST_F(E1pos, ItsMessageNamesKorvsE1pos) {
    UnitCapture err(3);
    korvs_error_options(KORVS_SET_PRINT, 5, 1, 0);
    int print = 0, stop = 0;
    korvs_e1pos(-9, &print, &stop);
    EXPECT_EQ(err.text(),
              "\n*** TERMINAL Error from korvs_e1pos.  The argument type = -9 must lie\n"
              "***          between -8 and 8.\n\n");
}

}  // namespace
