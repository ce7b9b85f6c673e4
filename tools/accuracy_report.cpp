// The accuracy of the distribution functions and their inverses against the committed
// oracle tables (tests/data, made by tools/gen_distribution_oracle.py and
// tools/gen_mixture_oracle.py; the registry of routines is tests/support/oracle.hpp, which the
// test suite checks against the same tables), in units of the twin's machine precision
// (2^-23, 2^-52), with the arguments where each largest error occurs. For a distribution
// function: the largest relative error in the body, where the value lies in
// [1e-8, 1 - 1e-8], and in the tails, values below 1e-8 down to the twin's smallest
// normal number or above 1 - 1e-8 (an upper tail shows there as a lower one's
// complement). For a quantile: the largest relative error for p in [1e-8, 1 - 1e-8], and
// for p beyond, with the number of results that are not finite. Rows whose exact value lies
// outside the twin's normal range are left out. Prints Markdown tables.
//
//     korvs_accuracy_report [tests/data]
#include <korvstat.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
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
    Largest body, tail;
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
    Worst w;
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        if (single && table.double_only[i]) continue;
        const auto& row = table.rows[i];
        const long double exact = row[exact_column];
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
        // The body: p (quantiles) or the value (distribution functions) within [1e-8, 1 - 1e-8].
        const long double v = r.quantile ? row[0] : exact;
        const bool body = v >= 1e-8L && v <= 1 - 1e-8L;
        keep(body ? w.body : w.tail, relative, region(r, argument_columns, row, exact));
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
    // The distribution functions, and the gamma distribution function among the special ones.
    std::vector<Routine> routines = korvs_oracle::distribution_routines();
    for (const Routine& r : korvs_oracle::special_routines())
        if (r.name == "gamma_cdf") routines.insert(routines.begin() + 4, r);
    for (bool quantiles : {false, true}) {
        if (quantiles)
            std::printf(
                "\n| Quantile | Twin | Rows | Body, 1e-8 <= p <= 1 - 1e-8 (eps) | Where | Tails (eps) | "
                "Where | Not finite |\n|---|---|---|---|---|---|---|---|\n");
        else
            std::printf(
                "| Distribution function | Twin | Rows | Body, values in [1e-8, 1 - 1e-8] (eps) | Where | "
                "Tails, values outside it (eps) | Where |\n|---|---|---|---|---|---|---|\n");
        for (const Routine& r : routines) {
            if (r.quantile != quantiles) continue;
            const Table table = read_table(directory, r.table);
            for (bool single : {true, false}) {
                const Worst w = measure(table, r, single);
                std::printf("| %s | %s | %d | %s | %s | %s | %s |", r.name.c_str(), single ? "f" : "d",
                            w.rows, eps_text(w.body.value).c_str(), w.body.where.c_str(),
                            eps_text(w.tail.value).c_str(), w.tail.where.c_str());
                if (quantiles) std::printf(" %d |", w.non_finite);
                std::printf("\n");
            }
        }
    }
    return 0;
}
