// The worker of the contingency tables on its own: the checks of the leading dimensions and
// the measures flag that the exported routine's parser never lets through, and the test
// vector's phi, contingency coefficient and Cramer's V, which no option returns.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <vector>

#include "categorical/contingency_table.hpp"
#include "korvs_test.hpp"

namespace {

using korvs_test::ErrorCase;

class ContingencyWorker : public korvs_test::KorvsTest {};

// A 3 by 2 table column-major with leading dimension 4 (the fourth row is padding).
struct Call {
    int ldtabl = 4, icmpt = 1, ldexpe = 4, ldchi = 4, ldstat = 23;
    std::vector<double> table = {10, 4, 6, -99, 3, 12, 5, -99};
    std::vector<double> expected = std::vector<double>(4 * 3), chi = std::vector<double>(4 * 3);
    std::vector<double> test = std::vector<double>(10), stat = std::vector<double>(23 * 5);

    void run() {
        korvs_e1psh("l_ctchi");
        korvs::l_ctchi<double>(3, 2, table.data(), ldtabl, icmpt, expected.data(), ldexpe, chi.data(), ldchi,
                               test.data(), stat.data(), ldstat);
        korvs_e1pop("l_ctchi");
    }
};

TEST_F(ContingencyWorker, ChecksItsOwnDimensionsAndFlag) {
    auto with = [](auto change) {
        return [change] {
            Call c;
            change(c);
            c.run();
        };
    };
    const char* dims = "%(l1) %(i1) %(l2) %(l3) %(l4) %(i2)";
    std::vector<ErrorCase> cases = {
        {"ldtabl below the rows", with([](Call& c) { c.ldtabl = 2; }), 5, 11137, dims,
         "ldtabl 2 n_rows table n_rows 3"},
        {"ldexpe below the rows and margin", with([](Call& c) { c.ldexpe = 3; }), 5, 11137, dims,
         "ldexpe 3 n_rows expected n_rows+1 4"},
        {"ldchi below the rows and margin", with([](Call& c) { c.ldchi = 3; }), 5, 11137, dims,
         "ldchi 3 n_rows chi_squared_contributions n_rows + 1 4"},
        {"measures flag 2", with([](Call& c) { c.icmpt = 2; }), 5, 11139, "%(i1)", "2"},
        {"statistics dimension 22", with([](Call& c) { c.ldstat = 22; }), 5, 11138, "%(i1)", "22"},
        {"statistics dimension unused", with([](Call& c) { c.icmpt = 0, c.ldstat = 0; }), 0, 0},
    };
    expect_errors(cases);
}

// phi = sqrt(chi / N), C = sqrt(chi / (chi + N)), V = sqrt(chi / (N (min(r, c) - 1))): here
// chi = 1124/143 (R's chisq.test: 7.86013986013986), N = 40.
TEST_F(ContingencyWorker, TestVectorHoldsPhiContingencyAndCramer) {
    Call c;
    c.run();
    ASSERT_TRUE(errors().empty());
    const double chi = 1124.0 / 143.0, n = 40;
    EXPECT_NEAR(c.test[0], chi, 1e-13);
    EXPECT_EQ(c.test[2], 2.0);
    EXPECT_NEAR(c.test[7], std::sqrt(chi / n), 1e-15);
    EXPECT_NEAR(c.test[8], std::sqrt(chi / (chi + n)), 1e-15);
    EXPECT_NEAR(c.test[9], std::sqrt(chi / n), 1e-15);  // min(3, 2) - 1 = 1
    EXPECT_EQ(c.expected[3 + 4 * 2], n);                // the corner of the margins
}

}  // namespace
