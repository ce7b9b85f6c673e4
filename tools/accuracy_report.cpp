// The accuracy of the distribution functions and their inverses against the committed
// oracle tables (tests/data, made by tools/gen_distribution_oracle.py; the registry of routines is
// tests/support/oracle.hpp, which the test suite checks against the same tables), in units of the
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
#include <functional>
#include <string>
#include <vector>

#include "oracle.hpp"

namespace {

using korvs_oracle::Routine;
using korvs_oracle::Table;

Table read_table(const std::string& directory, const std::string& name) {
    Table table = korvs_oracle::read_table(directory + "/" + name);
    if (table.columns.empty()) {
        std::fprintf(stderr, "cannot read %s/%s\n", directory.c_str(), name.c_str());
        std::exit(1);
    }
    return table;
}

std::size_t column(const Table& table, const std::string& name) {
    const std::size_t i = table.column(name);
    if (i == table.columns.size()) {
        std::fprintf(stderr, "no column %s\n", name.c_str());
        std::exit(1);
    }
    return i;
}

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

std::string region(const Routine& r, const std::vector<std::size_t>& columns,
                   const std::vector<long double>& row, long double exact) {
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
    const std::size_t exact_column = column(table, r.exact);
    std::vector<std::size_t> argument_columns;
    for (const std::string& a : r.arguments)
        argument_columns.push_back(column(table, a));
    const std::string& method = single ? r.method_float : r.method_double;
    const std::size_t method_column = method.empty() ? 0 : column(table, method);
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
                        "Relative error, all p (eps) | Where | Not finite | Approximated rows | Against the "
                        "approximation (eps) | "
                        "Where |\n|---|---|---|---|---|---|---|---|---|---|---|\n");
        } else {
            std::printf(
                "| Distribution function | Twin | Rows | Relative error, values >= 1e-3 (eps) | Where | "
                "Absolute error (eps) | Where | Approximated rows | Against the approximation (eps) | Where "
                "|\n"
                "|---|---|---|---|---|---|---|---|---|---|\n");
        }
        for (const Routine& r : korvs_oracle::distribution_routines()) {
            if (r.quantile != quantiles) continue;
            const Table table = read_table(directory, r.table);
            for (bool single : {true, false}) {
                const Worst w = measure(table, r, single);
                std::printf("| %s | %s | %d | %s | %s | %s | %s |", r.name.c_str(), single ? "f" : "d",
                            w.rows, eps_text(w.body.value).c_str(), w.body.where.c_str(),
                            eps_text(w.all.value).c_str(), w.all.where.c_str());
                if (quantiles) std::printf(" %d |", w.non_finite);
                std::printf(" %d | %s | %s |\n", w.approximated, eps_text(w.method.value).c_str(),
                            w.method.where.c_str());
            }
        }
    }
    return 0;
}
