// Output settings: korvs_write_options and korvs_page read and write the calling
// thread's records, refuse bad option numbers and values (storing nothing), and one
// thread's settings leave another's alone; threads printing at once keep their tables whole.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::inserts;

class WriteOptions : public output_test::OutputTest {
protected:
    static int read(int option) {
        int value = -99;
        korvs_write_options(option, &value);
        return value;
    }
};

TEST_F(WriteOptions, DefaultsReadBackInTheirOrder) {
    const int defaults[6] = {0, 1000, -2, 0, 0, 0};
    for (int option = 1; option <= 6; ++option)
        EXPECT_EQ(read(option), defaults[option - 1]) << option;
    EXPECT_TRUE(errors().empty());
}

TEST_F(WriteOptions, StoredValuesReadBackAndOptionZeroRestoresThemAll) {
    const int values[6] = {1, 0, 7, 1, 1, 2};
    for (int option = 1; option <= 6; ++option) {
        int v = values[option - 1];
        korvs_write_options(-option, &v);
    }
    for (int option = 1; option <= 6; ++option)
        EXPECT_EQ(read(option), values[option - 1]) << option;
    korvs_write_options(0, nullptr);
    EXPECT_EQ(read(2), 1000);
    EXPECT_EQ(read(3), -2);
    EXPECT_EQ(read(6), 0);
    EXPECT_TRUE(errors().empty());
}

TEST_F(WriteOptions, BadValuesAreReportedAndNotStored) {
    struct Case {
        int option, value, code;
        const char* placeholders;
        const char* inserts;
    };
    const Case cases[] = {
        {KORVS_SET_CENTERING, 2, 109, "%(l1) %(i1) %(i2) %(i3)", "KORVS_SET_CENTERING 0 1 2"},
        {KORVS_SET_CENTERING, -1, 109, "%(l1) %(i1) %(i2) %(i3)", "KORVS_SET_CENTERING 0 1 -1"},
        {KORVS_SET_ROW_WRAP, -1, 110, "%(l1) %(i1) %(i2)", "KORVS_SET_ROW_WRAP 0 -1"},
        {KORVS_SET_PAGING, -3, 110, "%(l1) %(i1) %(i2)", "KORVS_SET_PAGING -2 -3"},
        {KORVS_SET_NAN_CHAR, 2, 109, "%(l1) %(i1) %(i2) %(i3)", "KORVS_SET_NAN_CHAR 0 1 2"},
        {KORVS_SET_TITLE_PAGE, 5, 109, "%(l1) %(i1) %(i2) %(i3)", "KORVS_SET_TITLE_PAGE 0 1 5"},
        {KORVS_SET_FORMAT, 3, 109, "%(l1) %(i1) %(i2) %(i3)", "KORVS_SET_FORMAT 0 2 3"},
    };
    for (const Case& c : cases) {
        clear();
        int before = read(-c.option);
        int v = c.value;
        korvs_write_options(c.option, &v);
        EXPECT_TRUE(only_raised(5, c.code)) << c.inserts;
        EXPECT_EQ(inserts(c.placeholders), c.inserts);
        EXPECT_EQ(read(-c.option), before) << c.inserts;
    }
}

TEST_F(WriteOptions, TheEdgesOfTheValidValuesAreStored) {
    const int edges[][2] = {{KORVS_SET_CENTERING, 1},   {KORVS_SET_ROW_WRAP, 0}, {KORVS_SET_PAGING, -2},
                            {KORVS_SET_PAGING, 100000}, {KORVS_SET_NAN_CHAR, 1}, {KORVS_SET_FORMAT, 2}};
    for (const auto& e : edges) {
        int v = e[1];
        korvs_write_options(e[0], &v);
        EXPECT_EQ(read(-e[0]), e[1]);
    }
    EXPECT_TRUE(errors().empty());
}

TEST_F(WriteOptions, OptionNumbersOutsideMinus6To6AndANullValue) {
    int v = 0;
    for (int option : {7, -7, 100}) {
        clear();
        korvs_write_options(option, &v);
        EXPECT_TRUE(only_raised(5, 10019)) << option;
    }
    clear();
    korvs_write_options(1, nullptr);
    EXPECT_TRUE(only_raised(5, 6002));
    EXPECT_EQ(inserts("%(l1)"), "value");
}

class Page : public output_test::OutputTest {
protected:
    static int read(int option) {
        int value = -99;
        korvs_page(option, &value);
        return value;
    }
};

TEST_F(Page, WidthAndLengthDefaultsAndSettings) {
    EXPECT_EQ(read(1), 78);
    EXPECT_EQ(read(2), 60);
    int width = 10, length = 10;
    korvs_page(-1, &width);
    korvs_page(-2, &length);
    EXPECT_EQ(read(1), 10);
    EXPECT_EQ(read(2), 10);
    EXPECT_TRUE(errors().empty());
}

TEST_F(Page, BelowTenIsRefusedAndNotStored) {
    int v = 9;
    korvs_page(-1, &v);
    EXPECT_TRUE(only_raised(5, 10021));
    EXPECT_EQ(inserts("%(i1)"), "9");
    EXPECT_EQ(read(1), 78);
    clear();
    v = -4;
    korvs_page(-2, &v);
    EXPECT_TRUE(only_raised(5, 10022));
    EXPECT_EQ(inserts("%(i1)"), "-4");
    EXPECT_EQ(read(2), 60);
}

TEST_F(Page, OtherOptionNumbersAreRefused) {
    int v = 40;
    for (int option : {0, 3, -3}) {
        clear();
        korvs_page(option, &v);
        EXPECT_TRUE(only_raised(5, 10020)) << option;
    }
    EXPECT_EQ(read(1), 78);
}

// Other threads: signal trapping must be off before a second thread calls the library.
class OutputThreads : public output_test::OutputTest {
protected:
    void SetUp() override {
        korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
        output_test::OutputTest::SetUp();
    }
};

TEST_F(OutputThreads, SettingsBelongToTheThreadThatMadeThem) {
    int width = 40, wrap = 3;
    korvs_page(-1, &width);
    korvs_write_options(KORVS_SET_ROW_WRAP, &wrap);
    int other_width = 0, other_wrap = 0;
    std::string other_table;
    std::thread other([&] {
        korvs_page(1, &other_width);
        korvs_write_options(2, &other_wrap);
        int mine = 20;
        korvs_page(-1, &mine);
        int a[1] = {1};
        other_table = output_test::table("", 1, 1, a);
    });
    other.join();
    EXPECT_EQ(other_width, 78);
    EXPECT_EQ(other_wrap, 1000);
    EXPECT_EQ(other_table, output_test::sp(12) + "1\n");
    int now = 0;
    korvs_page(1, &now);
    EXPECT_EQ(now, 40);
}

TEST_F(OutputThreads, TablesPrintedAtOnceStayWhole) {
    // Two threads print tables of 20 lines to one file; each table's lines must stand
    // together. Every line of a table holds the thread's mark.
    constexpr int kTables = 2000;
    FILE* file = std::tmpfile();
    std::atomic<int> ready{0};
    auto printer = [&](int mark) {
        FILE* f = file;
        korvs_umach(-2, &f);
        std::vector<int> a(20, mark);
        ++ready;
        while (ready.load() < 2) {
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
        marks.push_back(std::string(line) == output_test::sp(12) + "1\n" ? 1 : 2);
    std::fclose(file);
    ASSERT_EQ(marks.size(), 2u * kTables * 20);
    for (std::size_t start = 0; start < marks.size(); start += 20)
        for (std::size_t k = start; k < start + 20; ++k)
            ASSERT_EQ(marks[k], marks[start]) << "line " << k;
}

}  // namespace
