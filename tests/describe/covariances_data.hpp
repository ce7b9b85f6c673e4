// Test support for the covariances: the routines by twin, and the cases of the oracle
// tables tests/data/covariances_r.csv (R) and covariances_weighted.csv (exact fractions).
#pragma once

#include <map>
#include <string>
#include <vector>

#include "describe_data.hpp"

namespace covariances_test {

using namespace describe_test;

#define KORVS_COVARIANCES_TWIN(name)                                                                         \
    template <class T, class... A> auto name(A... a) {                                                       \
        if constexpr (sizeof(T) == sizeof(float))                                                            \
            return korvs_f_##name(a...);                                                                     \
        else                                                                                                 \
            return korvs_d_##name(a...);                                                                     \
    }
KORVS_COVARIANCES_TWIN(covariances)
KORVS_COVARIANCES_TWIN(partial_covariances)
KORVS_COVARIANCES_TWIN(pooled_covariances)
#undef KORVS_COVARIANCES_TWIN

using Matrix = std::vector<std::vector<double>>;

// One case of a covariance table: its data (row-major, NaN for missing), method, kind
// and expected values.
struct CovCase {
    std::string name;
    int n = 0, p = 0, method = 0, kind = 0;
    std::vector<double> x, frequencies, weights;
    Matrix rows;
    std::vector<double> means;
    Matrix counts;                 // the incidence rows (method 0: one value)
    std::vector<double> totals;    // observations, rows missing, sum of weights
};

// The cases of covariances_r.csv, with their data read from the classic data sets.
inline std::vector<CovCase> r_cases() {
    std::vector<CovCase> cases;
    for (const Fields& f : read_lines("covariances_r.csv")) {
        if (f[0] == "case") {
            CovCase c;
            c.name = f[1];
            c.method = std::stoi(f[4]);
            c.kind = std::stoi(f[5]);
            const std::vector<double> columns = list(f[3]);
            const std::vector<std::vector<double>> data = classic(f[2]);
            c.n = int(data.size());
            c.p = int(columns.size());
            for (const auto& row : data)
                for (double column : columns) c.x.push_back(row[int(column) - 1]);
            for (const std::string& cell : split(f.size() > 6 ? f[6] : "", ';')) {
                if (cell.empty()) continue;
                const std::vector<double> rc = numbers(split(cell, ':'));
                c.x[(int(rc[0]) - 1) * c.p + int(rc[1]) - 1] = NAN;
            }
            cases.push_back(c);
        } else if (f[0] == "row" && !cases.empty() && cases.back().name == f[1]) {
            cases.back().rows.push_back(numbers(f, 3));
        } else if (f[0] == "means" && !cases.empty() && cases.back().name == f[1]) {
            cases.back().means = numbers(f, 2);
        } else if (f[0] == "count" && !cases.empty() && cases.back().name == f[1]) {
            cases.back().counts.push_back(numbers(f, 3));
        }
    }
    return cases;
}

// The cases of covariances_weighted.csv: twelve rows of three variables.
inline std::vector<CovCase> weighted_cases() {
    std::vector<CovCase> cases;
    for (const Fields& f : read_lines("covariances_weighted.csv")) {
        if (f[0] == "case") {
            CovCase c;
            c.name = f[1];
            c.method = std::stoi(f[2]);
            c.kind = std::stoi(f[3]);
            cases.push_back(c);
            continue;
        }
        CovCase& c = cases.back();
        if (f[0] == "x") {
            c.x = numbers(f, 2);
            c.p = 3;
            c.n = int(c.x.size()) / 3;
        } else if (f[0] == "frequencies") {
            c.frequencies = numbers(f, 2);
        } else if (f[0] == "weights") {
            c.weights = numbers(f, 2);
        } else if (f[0] == "row") {
            c.rows.push_back(numbers(f, 3));
        } else if (f[0] == "means") {
            c.means = numbers(f, 2);
        } else if (f[0] == "totals") {
            c.totals = numbers(f, 2);
        }
    }
    return cases;
}

// The option of a kind of matrix.
inline int kind_option(int kind) {
    const int options[] = {KORVS_VARIANCE_COVARIANCE_MATRIX, KORVS_CORRECTED_SSCP_MATRIX, KORVS_CORRELATION_MATRIX,
                           KORVS_STDEV_CORRELATION_MATRIX};
    return options[kind];
}

}  // namespace covariances_test
