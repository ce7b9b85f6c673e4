// Test support for the linear regression: the routines by twin, the NIST StRD linear
// regression files of the shared reference data (certified values and data), the R
// reference values of tests/data/regression_r.csv and the classic data sets.
#pragma once

#include <korvstat.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "../describe/describe_data.hpp"

namespace regression_test {

using describe_test::classic;
using describe_test::kEps;
using describe_test::lre;
using describe_test::twin_name;

#define KORVS_REGRESSION_TWIN(name)                                                                          \
    template <class T, class... A> auto name(A... a) {                                                       \
        if constexpr (sizeof(T) == sizeof(float))                                                            \
            return korvs_f_##name(a...);                                                                     \
        else                                                                                                 \
            return korvs_d_##name(a...);                                                                     \
    }
KORVS_REGRESSION_TWIN(regression)
KORVS_REGRESSION_TWIN(regression_summary)
KORVS_REGRESSION_TWIN(regression_prediction)
#undef KORVS_REGRESSION_TWIN

// A NIST StRD linear regression set: the certified estimates and their standard
// deviations, the residual standard deviation and R-squared, and the data: y and the
// predictor(s) of each observation.
struct NistLinear {
    std::vector<double> estimate, sd;
    double residual_sd = NAN, r_squared = NAN;
    std::vector<double> y;
    std::vector<std::vector<double>> x;  // one row per observation, as the file gives it
};

inline NistLinear nist_linear(const std::string& name) {
    NistLinear set;
    std::ifstream in(std::string(KORVS_SHARED_DATA) + "/nist/linreg/" + name + ".dat");
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::stringstream ss(line);
        std::string first;
        ss >> first;
        if (number < 60) {
            if (first.size() >= 2 && first[0] == 'B' && std::isdigit(static_cast<unsigned char>(first[1]))) {
                double e, s;
                ss >> e >> s;
                set.estimate.push_back(e);
                set.sd.push_back(s);
            } else if (first == "Standard" && line.find("Deviation") != std::string::npos && std::isnan(set.residual_sd) &&
                       !set.estimate.empty()) {
                set.residual_sd = std::strtod(line.substr(line.find("Deviation") + 9).c_str(), nullptr);
            } else if (first == "R-Squared") {
                ss >> set.r_squared;
            }
            continue;
        }
        if (number < 61 || first.empty()) continue;
        set.y.push_back(std::strtod(first.c_str(), nullptr));
        std::vector<double> row;
        for (double v; ss >> v;) row.push_back(v);
        set.x.push_back(row);
    }
    return set;
}

// The R reference values: (case, item) to the values by index.
using Reference = std::map<std::pair<std::string, std::string>, std::vector<double>>;

inline Reference r_reference() {
    Reference ref;
    for (const describe_test::Fields& f : describe_test::read_lines("regression_r.csv")) {
        if (f.size() != 4 || f[0] == "case") continue;
        std::vector<double>& v = ref[{f[0], f[1]}];
        const std::size_t index = std::strtoul(f[2].c_str(), nullptr, 10);
        if (v.size() <= index) v.resize(index + 1, NAN);
        v[index] = describe_test::number(f[3]);
    }
    return ref;
}

// A classic data set as a row-major design matrix of the named columns and a response.
struct Design {
    int n = 0, m = 0;
    std::vector<double> x, y;
};

inline Design design(const std::string& name, int y_column, const std::vector<int>& x_columns) {
    Design d;
    for (const std::vector<double>& row : classic(name)) {
        d.y.push_back(row[y_column]);
        for (int c : x_columns) d.x.push_back(row[c]);
        ++d.n;
    }
    d.m = static_cast<int>(x_columns.size());
    return d;
}

template <class T> std::vector<T> as(const std::vector<double>& v) { return std::vector<T>(v.begin(), v.end()); }

}  // namespace regression_test
