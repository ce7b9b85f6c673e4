// Test support: oracle tables from tests/data/ and the accuracy of a routine against
// them, in units of the twin's machine precision (2^-23 for float, 2^-52 for double).
// A failure prints the largest and the RMS error and the worst row.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace korvs_test {

// The rows of a CSV table: "#" lines are comments, the first other line names the
// columns. A comment "# double range only" marks the rows after it, whose inputs are not
// single-precision numbers.
struct OracleRow {
    double input;                // the first column, read as the exact double it is
    std::vector<long double> v;  // every column, the first included
    bool double_only;
};

struct OracleTable {
    std::vector<std::string> columns;
    std::vector<OracleRow> rows;

    std::size_t column(const std::string& name) const {
        for (std::size_t i = 0; i < columns.size(); ++i)
            if (columns[i] == name) return i;
        ADD_FAILURE() << "no column " << name;
        return 0;
    }
};

inline OracleTable read_oracle(const std::string& name) {
    OracleTable table;
    std::ifstream in(std::string(KORVS_TEST_DATA) + "/" + name);
    EXPECT_TRUE(in.good()) << "cannot read tests/data/" << name;
    bool double_only = false;
    for (std::string line; std::getline(in, line);) {
        if (line.empty()) continue;
        if (line[0] == '#') {
            double_only = double_only || line.find("double range only") != std::string::npos;
            continue;
        }
        std::vector<std::string> fields;
        std::stringstream ss(line);
        for (std::string field; std::getline(ss, field, ',');)
            fields.push_back(field);
        if (table.columns.empty()) {
            table.columns = fields;
            continue;
        }
        OracleRow row{std::strtod(fields.at(0).c_str(), nullptr), {}, double_only};
        for (const std::string& f : fields)
            row.v.push_back(std::strtold(f.c_str(), nullptr));
        table.rows.push_back(row);
    }
    EXPECT_FALSE(table.rows.empty()) << name;
    return table;
}

// Machine precision of a twin.
template <class T> constexpr double twin_eps = std::numeric_limits<T>::epsilon();

// Error of got against exact, relative, in units of the twin's machine precision. An
// exact 0 counts the absolute error in units of the smallest normal number instead.
template <class T> double error_in_eps(T got, long double exact) {
    if (std::isnan(got) || std::isnan(static_cast<double>(exact)))
        return (std::isnan(got) && std::isnan(double(exact))) ? 0 : 1e30;
    long double diff = std::fabs(static_cast<long double>(got) - exact);
    if (exact == 0) return static_cast<double>(diff / std::numeric_limits<T>::min());
    return static_cast<double>(diff / (std::fabs(exact) * twin_eps<T>));
}

class Accuracy {
public:
    explicit Accuracy(std::string what) : what_(std::move(what)) {}
    void add(long double input, long double got, long double exact, double error) {
        ++count_;
        sum_squares_ += error * error;
        if (error > worst_) {
            worst_ = error;
            std::ostringstream row;
            row.precision(21);
            row << "x = " << input << ": got " << got << ", exact " << exact;
            worst_row_ = row.str();
        }
    }
    int count() const { return count_; }
    double worst() const { return worst_; }
    // Passes when every error is within tier eps. With KORVS_SHOW_ACCURACY set in the
    // environment the figures are printed in any case, for the README's accuracy notes.
    ::testing::AssertionResult within(double tier) const {
        if (count_ == 0) return ::testing::AssertionFailure() << what_ << ": no rows";
        std::ostringstream s;
        s << what_ << ": " << count_ << " rows, max " << worst_ << " eps, RMS "
          << std::sqrt(sum_squares_ / count_) << " eps, tier " << tier << "; worst row " << worst_row_;
        if (std::getenv("KORVS_SHOW_ACCURACY")) std::printf("accuracy: %s\n", s.str().c_str());
        if (worst_ <= tier) return ::testing::AssertionSuccess() << s.str();
        return ::testing::AssertionFailure() << s.str();
    }

private:
    std::string what_;
    int count_ = 0;
    double worst_ = 0;
    double sum_squares_ = 0;
    std::string worst_row_ = "(none)";
};

}  // namespace korvs_test
