// The oracle tables of tests/data (made with mpmath by tools/gen_*_oracle.py) and the
// distribution functions and quantiles that are measured against them, one registry for
// the test suite and for tools/accuracy_report.cpp. Free of the test framework.
#pragma once

#include <korvstat.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace korvs_oracle {

using Row = std::vector<long double>;

// A CSV table: "#" lines are comments, the first other line names the columns. A comment
// "# double range only" marks the rows after it, whose inputs are not single-precision
// numbers.
struct Table {
    std::vector<std::string> columns;
    std::vector<Row> rows;
    std::vector<bool> double_only;

    // The index of a column, or columns.size() where there is none.
    std::size_t column(const std::string& name) const {
        std::size_t i = 0;
        while (i < columns.size() && columns[i] != name)
            ++i;
        return i;
    }
};

// An unreadable file gives a table without columns.
inline Table read_table(const std::string& path) {
    Table table;
    std::ifstream in(path);
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
        Row row;
        for (const std::string& f : fields)
            row.push_back(std::strtold(f.c_str(), nullptr));
        table.rows.push_back(row);
        table.double_only.push_back(double_only);
    }
    return table;
}

// A twin's value from a row: single is the float twin.
using Call = std::function<double(const Row&, bool single)>;

template <class F> Call both_twins(F f) {
    return [f](const Row& r, bool single) { return single ? double(f(float{}, r)) : double(f(double{}, r)); };
}

// The call of korvs_f_<name> or korvs_d_<name> on arguments written with T, the twin's
// type, and r, the row: KORVS_ORACLE_CALL(t_cdf, T(r[0]), T(r[1])).
#define KORVS_ORACLE_CALL(name, ...)                                                                         \
    ::korvs_oracle::both_twins([](auto t, const ::korvs_oracle::Row& r) {                                    \
        using T = decltype(t);                                                                               \
        (void)r;                                                                                             \
        if constexpr (sizeof(T) == sizeof(float))                                                            \
            return korvs_f_##name(__VA_ARGS__);                                                              \
        else                                                                                                 \
            return korvs_d_##name(__VA_ARGS__);                                                              \
    })

// One routine over one table: the argument columns that name a row, the exact value's
// column and, where the table has one, the column of its condition: how many units of
// relative error one unit in the arguments makes (|x f(x)/F(x)| for a distribution function,
// |G/(x f(x))| for a quantile of the tail G).
struct Routine {
    std::string name;
    std::string table;
    std::vector<std::string> arguments;
    std::string exact;
    Call call;
    bool quantile = false;
};

// arguments: the column names apart by spaces; quantile: "quantile" or "".
inline Routine routine(const char* name, const char* table, const char* arguments, const char* exact,
                       Call call, const char* kind = "") {
    std::vector<std::string> columns;
    std::stringstream ss(arguments);
    for (std::string c; ss >> c;)
        columns.push_back(c);
    return {name, table, columns, exact, call, std::string(kind) == "quantile"};
}

inline std::vector<Routine> distribution_routines() {
    return {
        routine("t_cdf", "t_cdf.csv", "t df", "cdf", KORVS_ORACLE_CALL(t_cdf, T(r[0]), T(r[1]))),
        routine("t_inverse_cdf", "t_inverse.csv", "p df", "quantile",
                KORVS_ORACLE_CALL(t_inverse_cdf, T(r[0]), T(r[1])), "quantile"),
        routine("chi_squared_cdf", "chi_squared_cdf.csv", "x df", "cdf",
                KORVS_ORACLE_CALL(chi_squared_cdf, T(r[0]), T(r[1]))),
        routine("chi_squared_inverse_cdf", "chi_squared_inverse.csv", "p df", "quantile",
                KORVS_ORACLE_CALL(chi_squared_inverse_cdf, T(r[0]), T(r[1])), "quantile"),
        routine("F_cdf", "f_cdf.csv", "f df_num df_den", "cdf",
                KORVS_ORACLE_CALL(F_cdf, T(r[0]), T(r[1]), T(r[2]))),
        routine("F_inverse_cdf", "f_inverse.csv", "p df_num df_den", "quantile",
                KORVS_ORACLE_CALL(F_inverse_cdf, T(r[0]), T(r[1]), T(r[2])), "quantile"),
        routine("beta_incomplete", "beta_incomplete.csv", "x a b", "cdf",
                KORVS_ORACLE_CALL(beta_incomplete, T(r[0]), T(r[1]), T(r[2]))),
        routine("beta_cdf", "beta_incomplete.csv", "x a b", "cdf",
                KORVS_ORACLE_CALL(beta_cdf, T(r[0]), T(r[1]), T(r[2]))),
        routine("beta_inverse_cdf", "beta_inverse.csv", "p a b", "quantile",
                KORVS_ORACLE_CALL(beta_inverse_cdf, T(r[0]), T(r[1]), T(r[2])), "quantile"),
        routine("binomial_cdf", "binomial_cdf.csv", "k n p", "cdf",
                KORVS_ORACLE_CALL(binomial_cdf, int(r[0]), int(r[1]), T(r[2]))),
        routine("binpr", "binomial_cdf.csv", "k n p", "pmf",
                KORVS_ORACLE_CALL(binpr, int(r[0]), int(r[1]), T(r[2]))),
        routine("poisson_cdf", "poisson_cdf.csv", "k theta", "cdf",
                KORVS_ORACLE_CALL(poisson_cdf, int(r[0]), T(r[1]))),
        routine("hypergeometric_cdf", "hypergeometric_cdf.csv", "k sample defectives lot", "cdf",
                KORVS_ORACLE_CALL(hypergeometric_cdf, int(r[0]), int(r[1]), int(r[2]), int(r[3]))),
        routine("bivariate_normal_cdf", "bivariate_normal.csv", "x y rho", "cdf",
                KORVS_ORACLE_CALL(bivariate_normal_cdf, T(r[0]), T(r[1]), T(r[2]))),
        routine("non_central_chi_sq", "non_central_chi_sq.csv", "x df delta", "cdf",
                KORVS_ORACLE_CALL(non_central_chi_sq, T(r[0]), T(r[1]), T(r[2]))),
        routine("non_central_chi_sq_inv", "non_central_chi_sq_inverse.csv", "p df delta", "quantile",
                KORVS_ORACLE_CALL(non_central_chi_sq_inv, T(r[0]), T(r[1]), T(r[2])), "quantile"),
        routine("non_central_t_cdf", "non_central_t.csv", "t df delta", "cdf",
                KORVS_ORACLE_CALL(non_central_t_cdf, T(r[0]), int(r[1]), T(r[2]))),
        routine("non_central_t_inv_cdf", "non_central_t_inverse.csv", "p df delta", "quantile",
                KORVS_ORACLE_CALL(non_central_t_inv_cdf, T(r[0]), int(r[1]), T(r[2])), "quantile"),
    };
}

// The special functions over their tables, for the test suite.
inline std::vector<Routine> special_routines() {
    return {
        routine("erf", "erf.csv", "x", "erf", KORVS_ORACLE_CALL(erf, T(r[0]))),
        routine("erfc", "erf.csv", "x", "erfc", KORVS_ORACLE_CALL(erfc, T(r[0]))),
        routine("erfc_inverse", "erfc_inverse.csv", "x", "erfcinv", KORVS_ORACLE_CALL(erfc_inverse, T(r[0]))),
        routine("normal_cdf", "normal_cdf.csv", "x", "cdf", KORVS_ORACLE_CALL(normal_cdf, T(r[0]))),
        routine("normal_inverse_cdf", "normal_inverse_cdf.csv", "p", "quantile",
                KORVS_ORACLE_CALL(normal_inverse_cdf, T(r[0])), "quantile"),
        routine("gamma", "gamma.csv", "x", "gamma", KORVS_ORACLE_CALL(gamma, T(r[0]))),
        routine("log_gamma", "gamma.csv", "x", "log_gamma", KORVS_ORACLE_CALL(log_gamma, T(r[0]))),
        routine("beta", "beta.csv", "a b", "beta", KORVS_ORACLE_CALL(beta, T(r[0]), T(r[1]))),
        routine("log_beta", "beta.csv", "a b", "log_beta", KORVS_ORACLE_CALL(log_beta, T(r[0]), T(r[1]))),
        routine("binomial_coefficient", "binomial.csv", "n m", "binomial",
                KORVS_ORACLE_CALL(binomial_coefficient, int(r[0]), int(r[1]))),
        routine("gamma_incomplete", "gamma_incomplete.csv", "a x", "lower",
                KORVS_ORACLE_CALL(gamma_incomplete, T(r[0]), T(r[1]))),
        // The lower incomplete gamma function regularised, with x first.
        routine("gamma_cdf", "gamma_incomplete.csv", "a x", "p", KORVS_ORACLE_CALL(gamma_cdf, T(r[1]), T(r[0]))),
    };
}

}  // namespace korvs_oracle
