// The accuracy of the distribution functions and their inverses against the committed
// oracle tables (tests/data, made by tools/gen_distribution_oracle.py), in units of the
// twin's machine precision (2^-23, 2^-52), with the arguments where each largest error
// occurs. For a distribution function: the largest relative error where the value is at
// least 1e-3, and the largest absolute error over the whole grid (its tails are
// absolutely accurate where a method forms them as differences or cuts them off). For a
// quantile: the largest relative error for 1e-3 <= p <= 0.999 and over all p, and the
// number of results that are not finite (a quantile beyond the twin's range, or a
// failure). Rows whose exact value lies outside the twin's normal range are left out.
//
// Some branches are prescribed approximations (Hill's normal transformation for t, the
// Wilson-Hilferty form for chi-squared, Owen's limit in T, Hill's expansion for the t
// quantile). Where a table carries the approximation's own value, as the method forms it
// in exact arithmetic, a row whose approximation lies more than 1000 eps from the truth
// is measured against the approximation instead, in a column of its own: those rows show
// how faithfully the formula is evaluated, the others how close the routine comes to the
// truth. Prints Markdown tables.
//
//     korvs_accuracy_report [tests/data]
#include <korvstat.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Table {
    std::vector<std::string> columns;
    std::vector<std::vector<long double>> rows;

    std::size_t column(const std::string& name) const {
        for (std::size_t i = 0; i < columns.size(); ++i)
            if (columns[i] == name) return i;
        std::fprintf(stderr, "no column %s\n", name.c_str());
        std::exit(1);
    }
};

Table read_table(const std::string& directory, const std::string& name) {
    Table table;
    std::ifstream in(directory + "/" + name);
    if (!in) {
        std::fprintf(stderr, "cannot read %s/%s\n", directory.c_str(), name.c_str());
        std::exit(1);
    }
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> fields;
        std::stringstream ss(line);
        for (std::string field; std::getline(ss, field, ',');)
            fields.push_back(field);
        if (table.columns.empty()) {
            table.columns = fields;
            continue;
        }
        std::vector<long double> row;
        for (const std::string& f : fields)
            row.push_back(std::strtold(f.c_str(), nullptr));
        table.rows.push_back(row);
    }
    return table;
}

// One routine over one table: the twin's value from a row, the exact value's column, and
// the argument columns that name the region.
struct Routine {
    std::string name;
    std::string table;
    std::vector<std::string> arguments;
    std::string exact;
    std::function<double(const std::vector<long double>&, bool single)> call;
    bool quantile = false;
    // The columns of the prescribed approximation for the float and the double twin.
    std::string method_float = {}, method_double = {};
};

// The largest error of a kind and the row where it occurs.
struct Largest {
    double value = 0;
    std::string where = "-";
};

struct Worst {
    int rows = 0, non_finite = 0;
    Largest body;  // relative: values of at least 1e-3 (quantiles: 1e-3 <= p <= 0.999)
    Largest all;   // absolute (quantiles: relative) over the whole grid
    int approximated = 0;
    Largest method;  // against the approximation, on its rows (relative; cdfs: values >= 1e-3)
};

std::string region(const Routine& r, const std::vector<std::size_t>& columns, const std::vector<long double>& row,
                   long double exact) {
    std::ostringstream where;
    where.precision(7);
    for (std::size_t i = 0; i < columns.size(); ++i)
        where << (i ? ", " : "") << r.arguments[i] << " = " << static_cast<double>(row[columns[i]]);
    where.precision(3);
    where << " (exact " << static_cast<double>(exact) << ")";
    return where.str();
}

void keep(Largest& largest, double error, const std::string& where) {
    if (error > largest.value) {
        largest.value = error;
        largest.where = where;
    }
}

Worst measure(const Table& table, const Routine& r, bool single) {
    const double eps = single ? FLT_EPSILON : DBL_EPSILON;
    const double tiny = single ? FLT_MIN : DBL_MIN;
    const double huge = single ? FLT_MAX : DBL_MAX;
    const std::size_t exact_column = table.column(r.exact);
    std::vector<std::size_t> argument_columns;
    for (const std::string& a : r.arguments)
        argument_columns.push_back(table.column(a));
    const std::string& method = single ? r.method_float : r.method_double;
    const std::size_t method_column = method.empty() ? 0 : table.column(method);
    Worst w;
    for (const auto& row : table.rows) {
        long double exact = row[exact_column];
        bool approximated = false;
        if (!method.empty()) {
            const long double m = row[method_column];
            // nan: no approximation here, or a stopping test too close to call
            approximated = std::fabs(m - exact) > 1000 * eps * std::fabs(exact);
            if (approximated) exact = m;
        }
        if (std::isnan(static_cast<double>(exact)) || (exact != 0 && std::fabs(exact) < tiny) ||
            std::fabs(exact) > huge)
            continue;
        const double got = r.call(row, single);
        ++w.rows;
        if (!std::isfinite(got)) {
            ++w.non_finite;
            continue;
        }
        const long double diff = std::fabs(static_cast<long double>(got) - exact);
        const double relative =
            exact == 0 ? (got == 0 ? 0 : INFINITY) : static_cast<double>(diff / std::fabs(exact) / eps);
        const std::string where = region(r, argument_columns, row, exact);
        if (approximated) {
            ++w.approximated;
            if (r.quantile || std::fabs(exact) >= 1e-3) keep(w.method, relative, where);
        } else if (r.quantile) {
            const double p = static_cast<double>(row[0]);
            if (p >= 1e-3 && p <= 0.999) keep(w.body, relative, where);
            keep(w.all, relative, where);
        } else {
            if (std::fabs(exact) >= 1e-3) keep(w.body, relative, where);
            keep(w.all, static_cast<double>(diff / eps), where);
        }
    }
    return w;
}

// Arguments as each twin takes them.
float f(long double v) { return static_cast<float>(v); }
double d(long double v) { return static_cast<double>(v); }
int i(long double v) { return static_cast<int>(v); }

std::vector<Routine> routines() {
    using Row = std::vector<long double>;
    return {
        {"t_cdf",
         "t_cdf.csv",
         {"t", "df"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_t_cdf(f(r[0]), f(r[1])) : korvs_d_t_cdf(d(r[0]), d(r[1]));
         }, false, "method", "method"},
        {"t_inverse_cdf",
         "t_inverse.csv",
         {"p", "df"},
         "quantile",
         [](const Row& r, bool s) {
             return s ? korvs_f_t_inverse_cdf(f(r[0]), f(r[1])) : korvs_d_t_inverse_cdf(d(r[0]), d(r[1]));
         }, true, "hill_float", "hill_double"},
        {"chi_squared_cdf",
         "chi_squared_cdf.csv",
         {"x", "df"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_chi_squared_cdf(f(r[0]), f(r[1])) : korvs_d_chi_squared_cdf(d(r[0]), d(r[1]));
         }, false, "method_float", "method_double"},
        {"chi_squared_inverse_cdf",
         "chi_squared_inverse.csv",
         {"p", "df"},
         "quantile",
         [](const Row& r, bool s) {
             return s ? korvs_f_chi_squared_inverse_cdf(f(r[0]), f(r[1]))
                      : korvs_d_chi_squared_inverse_cdf(d(r[0]), d(r[1]));
         }, true},
        {"F_cdf",
         "f_cdf.csv",
         {"f", "df_num", "df_den"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_F_cdf(f(r[0]), f(r[1]), f(r[2])) : korvs_d_F_cdf(d(r[0]), d(r[1]), d(r[2]));
         }},
        {"F_inverse_cdf",
         "f_inverse.csv",
         {"p", "df_num", "df_den"},
         "quantile",
         [](const Row& r, bool s) {
             return s ? korvs_f_F_inverse_cdf(f(r[0]), f(r[1]), f(r[2]))
                      : korvs_d_F_inverse_cdf(d(r[0]), d(r[1]), d(r[2]));
         }, true},
        {"beta_incomplete",
         "beta_incomplete.csv",
         {"x", "a", "b"},
         "value",
         [](const Row& r, bool s) {
             return s ? korvs_f_beta_incomplete(f(r[0]), f(r[1]), f(r[2]))
                      : korvs_d_beta_incomplete(d(r[0]), d(r[1]), d(r[2]));
         }},
        {"beta_cdf",
         "beta_incomplete.csv",
         {"x", "a", "b"},
         "value",
         [](const Row& r, bool s) {
             return s ? korvs_f_beta_cdf(f(r[0]), f(r[1]), f(r[2]))
                      : korvs_d_beta_cdf(d(r[0]), d(r[1]), d(r[2]));
         }},
        {"beta_inverse_cdf",
         "beta_inverse.csv",
         {"p", "a", "b"},
         "quantile",
         [](const Row& r, bool s) {
             return s ? korvs_f_beta_inverse_cdf(f(r[0]), f(r[1]), f(r[2]))
                      : korvs_d_beta_inverse_cdf(d(r[0]), d(r[1]), d(r[2]));
         }, true},
        {"binomial_cdf",
         "binomial_cdf.csv",
         {"k", "n", "p"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_binomial_cdf(i(r[0]), i(r[1]), f(r[2]))
                      : korvs_d_binomial_cdf(i(r[0]), i(r[1]), d(r[2]));
         }},
        {"binpr",
         "binomial_cdf.csv",
         {"k", "n", "p"},
         "pmf",
         [](const Row& r, bool s) {
             return s ? korvs_f_binpr(i(r[0]), i(r[1]), f(r[2])) : korvs_d_binpr(i(r[0]), i(r[1]), d(r[2]));
         }},
        {"poisson_cdf",
         "poisson_cdf.csv",
         {"k", "theta"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_poisson_cdf(i(r[0]), f(r[1])) : korvs_d_poisson_cdf(i(r[0]), d(r[1]));
         }},
        {"hypergeometric_cdf",
         "hypergeometric_cdf.csv",
         {"k", "sample", "defectives", "lot"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_hypergeometric_cdf(i(r[0]), i(r[1]), i(r[2]), i(r[3]))
                      : korvs_d_hypergeometric_cdf(i(r[0]), i(r[1]), i(r[2]), i(r[3]));
         }},
        {"bivariate_normal_cdf",
         "bivariate_normal.csv",
         {"x", "y", "rho"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_bivariate_normal_cdf(f(r[0]), f(r[1]), f(r[2]))
                      : korvs_d_bivariate_normal_cdf(d(r[0]), d(r[1]), d(r[2]));
         }, false, "method", "method"},
        {"non_central_chi_sq",
         "non_central_chi_sq.csv",
         {"x", "df", "delta"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_non_central_chi_sq(f(r[0]), f(r[1]), f(r[2]))
                      : korvs_d_non_central_chi_sq(d(r[0]), d(r[1]), d(r[2]));
         }},
        {"non_central_chi_sq_inv",
         "non_central_chi_sq_inverse.csv",
         {"p", "df", "delta"},
         "quantile",
         [](const Row& r, bool s) {
             return s ? korvs_f_non_central_chi_sq_inv(f(r[0]), f(r[1]), f(r[2]))
                      : korvs_d_non_central_chi_sq_inv(d(r[0]), d(r[1]), d(r[2]));
         }, true},
        {"non_central_t_cdf",
         "non_central_t.csv",
         {"t", "df", "delta"},
         "cdf",
         [](const Row& r, bool s) {
             return s ? korvs_f_non_central_t_cdf(f(r[0]), i(r[1]), f(r[2]))
                      : korvs_d_non_central_t_cdf(d(r[0]), i(r[1]), d(r[2]));
         }},
        {"non_central_t_inv_cdf",
         "non_central_t_inverse.csv",
         {"p", "df", "delta"},
         "quantile",
         [](const Row& r, bool s) {
             return s ? korvs_f_non_central_t_inv_cdf(f(r[0]), i(r[1]), f(r[2]))
                      : korvs_d_non_central_t_inv_cdf(d(r[0]), i(r[1]), d(r[2]));
         }, true},
    };
}

std::string eps_text(double v) {
    if (v == 0) return "0";
    char buffer[32];
    if (std::isinf(v)) return "inf";
    std::snprintf(buffer, sizeof buffer, v < 1e4 ? "%.3g" : "%.2e", v);
    return buffer;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : KORVS_TEST_DATA;
    // Nothing printed, nothing stopped: the grids reach the edges of the supports.
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    for (int type = 1; type <= 7; ++type)
        korvs_error_options(KORVS_SET_PRINT, type, 0, KORVS_SET_STOP, type, 0, 0);
    for (bool quantiles : {false, true}) {
        if (quantiles) {
            std::printf("\n| Quantile | Twin | Rows | Relative error, 1e-3 <= p <= 0.999 (eps) | Where | "
                        "Relative error, all p (eps) | Where | Not finite | Approximated rows | Against the approximation (eps) | "
                        "Where |\n|---|---|---|---|---|---|---|---|---|---|---|\n");
        } else {
            std::printf("| Distribution function | Twin | Rows | Relative error, values >= 1e-3 (eps) | Where | "
                        "Absolute error (eps) | Where | Approximated rows | Against the approximation (eps) | Where |\n"
                        "|---|---|---|---|---|---|---|---|---|---|\n");
        }
        for (const Routine& r : routines()) {
            if (r.quantile != quantiles) continue;
            const Table table = read_table(directory, r.table);
            for (bool single : {true, false}) {
                const Worst w = measure(table, r, single);
                std::printf("| %s | %s | %d | %s | %s | %s | %s |", r.name.c_str(), single ? "f" : "d", w.rows,
                            eps_text(w.body.value).c_str(), w.body.where.c_str(), eps_text(w.all.value).c_str(),
                            w.all.where.c_str());
                if (quantiles) std::printf(" %d |", w.non_finite);
                std::printf(" %d | %s | %s |\n", w.approximated, eps_text(w.method.value).c_str(),
                            w.method.where.c_str());
            }
        }
    }
    return 0;
}
