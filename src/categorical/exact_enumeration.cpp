// korvs_f_exact_enumeration: the exact p-value of independence in a two-way table by
// visiting every table with its margins, one cell at a time with the last row and column
// filled from the margins, and summing the probabilities of those no more probable than the
// observed one. Probabilities and sums are kept in double-double, so that the sum of all
// probabilities misses 1 by a few units in 1e-15 (the check). The number of tables is
// counted first, through the nodes of the network algorithm, and a table with more than
// 1e9 of them is refused.
#include <cmath>
#include <cstdarg>

#include "exact_counts.hpp"
#include "exact_driver.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "kernels/sort.hpp"
#include "network.hpp"

namespace korvs {
namespace {

constexpr double kMostTables = 1e9;
// The most nodes a stage of the count may have; more means far more tables than kMostTables.
constexpr long kMostCountRoom = 1 << 20;

// The number of tables with the margins of t (rows no more than columns): the ways of
// reaching each node of the network, column by column, the last column then being fixed.
// Returns a number above kMostTables when the count itself grows too large, -1 after an
// allocation failure. The stores start small and grow eightfold when they fill.
double count_tables(const IntegerTable& t, const double* lf, long room);

double count_tables(const IntegerTable& t, const double* lf) {
    for (long room = 1024;; room *= 8) {
        const double tables = count_tables(t, lf, room);
        if (tables != -2) return tables;
        if (room >= kMostCountRoom) return 2 * kMostTables;
    }
}

// One count with stores of the given room; -2 when they fill.
double count_tables(const IntegerTable& t, const double* lf, long room) {
    int rows[kMaxNodeRows];
    std::uint64_t weights[kMaxNodeRows + 1];
    if (t.rows > kMaxNodeRows) return 2 * kMostTables;
    for (int i = 0; i < t.rows; ++i)
        rows[i] = t.row[i];
    svign(t.rows, rows, rows);  // the sort family's ascending integer sort
    if (key_weights(t.rows, rows, weights) >= 0) return 2 * kMostTables;
    NodeStore stores[2];
    if (!stores[0].allocate(t.rows, room, room) || !stores[1].allocate(t.rows, room, room)) return -1;
    NodeStore *current = &stores[0], *next = &stores[1];
    std::uint64_t key = 0;
    for (int i = 0; i < t.rows; ++i)
        key += static_cast<std::uint64_t>(rows[i]) * weights[i];
    current->add(current->node(key, rows), 0, 1, 0.5);
    int x[kMaxNodeRows], child[kMaxNodeRows];
    for (int j = 0; j < t.cols - 1; ++j) {
        for (int node = 0; node < current->nodes(); ++node) {
            const int* u = current->totals(node);
            const double ways = current->weight(current->first(node));
            auto visit = [&](const int* xv, double, double mult) {
                for (int i = 0; i < t.rows; ++i)
                    child[i] = u[i] - xv[i];
                sort_node(t.rows, child);
                std::uint64_t k = 0;
                for (int i = 0; i < t.rows; ++i)
                    k += static_cast<std::uint64_t>(child[i]) * weights[i];
                const int c = next->node(k, child);
                if (c >= 0) next->add(c, 0, ways * mult, 0.5);
            };
            BranchWalk<decltype(visit)> walk(t.rows, u, lf, x, visit);
            walk.run(t.col[j]);
            if (next->full()) return -2;
        }
        current->clear();
        std::swap(current, next);
    }
    double tables = 0;
    for (int node = 0; node < current->nodes(); ++node)
        tables += current->weight(current->first(node));
    return tables;
}

// The walk over all tables: cell (i, j) of the first rows - 1 rows and cols - 1 columns in
// turn, each between the bounds that leave the rest feasible.
class Enumeration {
public:
    Enumeration(const IntegerTable& t, const double* lf, int* row_left) : t_(t), lf_(lf), left_(row_left) {
        for (int i = 0; i < t.rows; ++i)
            left_[i] = t.row[i];
        DoubleDouble k;
        for (int i = 0; i < t.rows; ++i)
            k.add(lf[t.row[i]]);
        for (int j = 0; j < t.cols; ++j)
            k.add(lf[t.col[j]]);
        k.add(-lf[t.total]);
        margins_ = k;
        DoubleDouble observed = k;
        for (int i = 0; i < t.rows; ++i)
            for (int j = 0; j < t.cols; ++j)
                observed.add(-lf[t.at(i, j)]);
        observed_ = observed.value();
        // A table counts when its probability is at most the observed one's over 1 - 1e4 eps.
        threshold_ = observed_ - std::log1p(-1e4 * mach<double>::eps);
        // Terms below this underflow to nothing that the sums could hold.
        floor_ = std::log(mach<double>::tiny) + 10;
    }
    void run() { column(0, t_.col[0], 0, 0.0); }
    double observed() const { return observed_; }
    double p_value() const { return p_.value(); }
    double total() const { return all_.value(); }

private:
    // Rows i onwards of column j, with `left` of the column still to place and `cells` the
    // sum of log n! of the cells placed so far.
    void column(int j, int left, int i, double cells) {
        if (j == t_.cols - 1) {
            double last = cells;
            for (int k = 0; k < t_.rows; ++k)
                last += lf_[left_[k]];
            leaf(last);
            return;
        }
        if (i == t_.rows - 1) {
            // The last row takes the rest of the column.
            left_[i] -= left;
            column(j + 1, t_.col[j + 1], 0, cells + lf_[left]);
            left_[i] += left;
            return;
        }
        int below = 0;
        for (int k = i + 1; k < t_.rows; ++k)
            below += left_[k];
        const int hi = left < left_[i] ? left : left_[i];
        const int lo = left - below > 0 ? left - below : 0;
        if (j == t_.cols - 2 && i == t_.rows - 2) {
            // The last free cell: the cell below it and the last column follow, and only four
            // of their terms move with it.
            double base = cells;
            for (int k = 0; k < i; ++k)
                base += lf_[left_[k]];
            const int mine = left_[i], last = left_[i + 1];
            for (int v = lo; v <= hi; ++v)
                leaf(base + lf_[v] + lf_[left - v] + lf_[mine - v] + lf_[last - left + v]);
            return;
        }
        for (int v = lo; v <= hi; ++v) {
            left_[i] -= v;
            column(j, left - v, i + 1, cells + lf_[v]);
            left_[i] += v;
        }
    }
    void leaf(double cells) {
        // The probability margins - cells, in double-double: the margins' low part rejoins.
        const double hi = margins_.hi - cells;
        if (hi < floor_) return;
        const double p = std::exp(hi) * (1 + margins_.lo);
        all_.add(p);
        if (hi + margins_.lo <= threshold_) p_.add(p);
    }

    const IntegerTable& t_;
    const double* lf_;
    int* left_;
    DoubleDouble margins_, p_, all_;
    double observed_ = 0, threshold_ = 0, floor_ = 0;
};

template <class T> struct EnumerationArgs {
    T* prob = nullptr;
    T* p_value = nullptr;
    T* check = nullptr;
};

// l_c2prb: the p-value, the probability of the table and the check by enumeration.
bool l_c2prb(const IntegerTable& t, const double* lf, double* p, double* prob, double* check) {
    const double tables = count_tables(t, lf);
    if (tables < 0) return false;
    if (tables > kMostTables) {
        insert_real(1, kMostTables);
        korvs_ermes(5, 20545);
        return false;
    }
    Workspace<int> left(Shape(t.rows, "n_rows"));
    if (!left) return false;
    Enumeration e(t, lf, left.get());
    e.run();
    *p = std::fmin(1.0, e.p_value());
    *prob = std::exp(e.observed());
    *check = 1 - e.total();
    return true;
}

template <class T>
void l_exact_enumeration(int n_rows, int n_columns, const T* table, OptionList& opt, T* result) {
    EnumerationArgs<T> a;
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_PROB_TABLE: a.prob = opt.pointer<T>(); break;
        case KORVS_P_VALUE: a.p_value = opt.pointer<T>(); break;
        case KORVS_CHECK: a.check = opt.pointer<T>(); break;
        default: opt.unknown(code); return;
        }
    }
    if (korvs_n1rty(0) > 0) return;
    ExactTable e;
    prepare_exact(n_rows, n_columns, table, 20540, e);
    double p = mach<double>::nan, prob = mach<double>::nan, check = mach<double>::nan;
    if (e.outcome == ExactTable::kFailed) return;
    if (e.outcome == ExactTable::kSingleTable) {
        p = prob = 1;
        check = 0;
    } else if (e.outcome == ExactTable::kReady) {
        if (!l_c2prb(e.t, e.lf, &p, &prob, &check)) return;
    }
    if (a.prob) *a.prob = T(prob);
    if (a.p_value) *a.p_value = T(p);
    if (a.check) *a.check = T(check);
    *result = T(p);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_f_exact_enumeration(int n_rows, int n_columns, float table[], ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, table);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_exact_enumeration",
                     [&] { korvs::l_exact_enumeration(n_rows, n_columns, table, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_exact_enumeration(int n_rows, int n_columns, double table[], ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, table);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_exact_enumeration",
                     [&] { korvs::l_exact_enumeration(n_rows, n_columns, table, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
