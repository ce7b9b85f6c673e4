// korvs_f_exact_network: the exact p-value of independence in a two-way table by the
// network algorithm of Mehta and Patel (1983), with their hybrid chi-squared shortcut
// (1986). Columns are taken one per stage, largest first; the nodes are the sorted row
// totals still to fill. At each node a past path either counts whole (its longest
// completion is no more probable than the table), drops out (its shortest completion is
// more probable), is settled by the hybrid approximation, or goes on to the next stage.
// With two columns left the completions are few and are summed at once. Both twins work
// in double; the p-value agrees with complete enumeration to about 1e-13 relative.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdlib>

#include "exact_counts.hpp"
#include "exact_driver.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "kernels/sort.hpp"
#include "network.hpp"

namespace korvs {
namespace {

// The hybrid's thresholds; expect 0 turns it off.
struct Hybrid {
    double expect = 5, percent = 80, minimum = 1;
};

// A growing array of (value, multiplicity) pairs, for the completions of a node with two
// columns left.
class Pairs {
public:
    Pairs() = default;
    Pairs(const Pairs&) = delete;
    Pairs& operator=(const Pairs&) = delete;
    ~Pairs() { std::free(data_); }
    bool push(double value, double mult) {
        if (size_ == room_) {
            const long room = room_ ? 2 * room_ : 1024;
            const std::size_t bytes = static_cast<std::size_t>(room) * sizeof(Pair);
            void* p = bytes <= work_space_ceiling() ? std::realloc(data_, bytes) : nullptr;
            if (!p) {
                korvs_e1sti(1, int(std::min<long>(room, 2147483647L)));
                korvs_e1stl(1, "completions");
                korvs_ermes(5, 201);
                return false;
            }
            data_ = static_cast<Pair*>(p);
            room_ = room;
        }
        data_[size_++] = {value, mult};
        return true;
    }
    void clear() { size_ = 0; }
    long size() const { return size_; }
    struct Pair {
        double value, mult;
    };
    Pair* begin() { return data_; }
    Pair* end() { return data_ + size_; }

private:
    Pair* data_ = nullptr;
    long size_ = 0, room_ = 0;
};

// One walk of the network with stores of fixed room.
class Walk {
public:
    Walk(const IntegerTable& t, const int* rows, const int* cols, const double* lf, const double* lk,
         const std::uint64_t* weights, const Hybrid& hybrid)
        : t_(t), rows_(rows), cols_(cols), lf_(lf), lk_(lk), weights_(weights), hybrid_(hybrid) {
        DoubleDouble observed, norm;
        for (int j = 0; j < t.cols; ++j) {
            observed.add(lf[t.col[j]]);
            for (int i = 0; i < t.rows; ++i)
                observed.add(-lf[t.at(i, j)]);
        }
        norm.add(lf[t.total]);
        for (int i = 0; i < t.rows; ++i)
            norm.add(-lf[t.row[i]]);
        observed_ = observed.value();
        norm_ = norm.value();
        observed.add(-norm.hi);
        observed.add(-norm.lo);
        table_log_probability_ = observed.value();
        // Tables within sqrt(eps) of the observed one, relatively, count as equally probable.
        threshold_ = observed_ + std::sqrt(mach<double>::eps);
        // Values that agree to their rounding are one; the bounds get the same allowance.
        tolerance_ = 64 * mach<double>::eps * (t.rows + t.cols) * (1 + lf[t.total]);
    }
    double table_log_probability() const { return table_log_probability_; }

    // Allocates the stores; false after an allocation failure.
    bool allocate(long node_room, long value_room) {
        return stores_[0].allocate(t_.rows, node_room, value_room) &&
               stores_[1].allocate(t_.rows, node_room, value_room) &&
               kept_.allocate(Shape(int(value_room), "factor2")) &&
               running_.allocate(Shape(int(value_room) + 1, "factor2")) && bounds_.allocate(t_.rows, t_.cols);
    }
    // 1: done, p-value in *p; 0: a store filled (name and room for the warning); -1: error.
    int run(double* p);
    const NodeStore& full_store() const { return current_->full() ? *current_ : *next_; }

private:
    struct Past {
        double value, weight;
    };
    void describe(NodeStore& store, int node, int stage);
    long settle(int node, int stage);
    int expand(int node, int stage, long kept);
    int last_two_columns(int node);
    double hybrid_log_peak(int n, const int* u, int stage, int total) const;
    double upper_chi_squared(double x, double df) const;

    const IntegerTable& t_;
    const int *rows_, *cols_;
    const double *lf_, *lk_;
    const std::uint64_t* weights_;
    Hybrid hybrid_;
    double observed_ = 0, norm_ = 0, table_log_probability_ = 0, threshold_ = 0, tolerance_ = 0;
    NodeStore stores_[2];
    NodeStore* current_ = &stores_[0];
    NodeStore* next_ = &stores_[1];
    Workspace<Past> kept_;
    Workspace<double> running_;
    BoundsWork bounds_;
    Pairs pairs_;
    DoubleDouble p_;
    int x_[kMaxNodeRows] = {}, child_[kMaxNodeRows] = {};
};

// -log of the largest probability of a table with margins u and the stage's columns, by the
// normal approximation of the multiple hypergeometric distribution (Mehta and Patel, 1986):
// log P is about -K - X^2 / 2 with 2K = (C - 1) sum log u_i + (R - 1) sum log c_j +
// (R - 1)(C - 1) log(2 pi) + (1 - R C) log M. NaN when the node does not qualify: fewer
// than `percent` of its expected counts reach `expect`, or the smallest is below `minimum`.
double Walk::hybrid_log_peak(int n, const int* u, int stage, int total) const {
    if (hybrid_.expect <= 0 || n < 2 || stage < 2) return mach<double>::nan;
    int qualified = 0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < stage; ++j)
            qualified += double(u[i]) * cols_[j] / total >= hybrid_.expect;
    const double smallest = double(u[0]) * cols_[0] / total;  // both ascending
    if (smallest < hybrid_.minimum || 100.0 * qualified < hybrid_.percent * n * stage)
        return mach<double>::nan;
    double k = (n - 1) * (stage - 1) * std::log(2 * M_PI) + (1.0 - n * stage) * std::log(double(total));
    for (int i = 0; i < n; ++i)
        k += (stage - 1) * std::log(double(u[i]));
    for (int j = 0; j < stage; ++j)
        k += (n - 1) * std::log(double(cols_[j]));
    return k / 2;
}

double Walk::upper_chi_squared(double x, double df) const {
    const double p = 1 - korvs_d_chi_squared_cdf(x, df);
    if (korvs_n1rty(0) == 2) korvs_e1mes(0, 0, " ");  // an underflow to 0 is harmless here
    return p;
}

// What the walk keeps with a node new at a stage: its longest and shortest completion
// widened by the tolerance, the log of its completions' weight as paths, multinomial(M; u),
// and its hybrid peak.
enum NodeInfo { kLongest, kShortest, kMass, kPeak };

void Walk::describe(NodeStore& store, int node, int stage) {
    const int* u = store.totals(node);
    int first = 0;
    while (first < t_.rows && u[first] == 0)
        ++first;
    const int n = t_.rows - first;
    int total = 0;
    double mass = 0;
    for (int i = first; i < t_.rows; ++i) {
        total += u[i];
        mass -= lf_[u[i]];
    }
    const NodeBounds b = node_bounds(n, u + first, stage, cols_, lf_, lk_, bounds_);
    double* info = store.info(node);
    info[kLongest] = b.longest + tolerance_;
    info[kShortest] = b.shortest - tolerance_;
    info[kMass] = mass + lf_[total];
    info[kPeak] = hybrid_log_peak(n, u + first, stage, total);
}

// The past paths of a node at a stage of three or more columns: those its bounds or the
// hybrid settle are summed into the p-value, the others kept, sorted, with running sums of
// w exp(v - the largest v).
long Walk::settle(int node, int stage) {
    const double* info = current_->info(node);
    int first = 0;
    while (current_->totals(node)[first] == 0)
        ++first;
    const double df = double(t_.rows - first - 1) * (stage - 1);  // of the hybrid's test
    long kept = 0;
    for (long e = current_->first(node); e >= 0; e = current_->next(e)) {
        const double v = current_->value(e), w = current_->weight(e);
        if (v + info[kLongest] <= threshold_) {
            p_.add(w * std::exp(v + info[kMass] - norm_));
        } else if (v + info[kShortest] > threshold_) {
            continue;
        } else if (!std::isnan(info[kPeak])) {
            // log P of the completion, as a table of its own, must stay below this.
            const double below = threshold_ - v - info[kMass];
            const double x = -2 * below - 2 * info[kPeak];
            const double tail = x <= 0 ? 1 : upper_chi_squared(x, df);
            p_.add(w * std::exp(v + info[kMass] - norm_) * tail);
        } else {
            kept_[kept++] = {v, w};
        }
    }
    std::sort(kept_.get(), kept_.get() + kept,
              [](const Past& a, const Past& b) { return a.value < b.value; });
    double run = 0;
    for (long k = 0; k < kept; ++k) {
        running_[k] = run;
        run += kept_[k].weight * std::exp(kept_[k].value - kept_[kept - 1].value);
    }
    running_[kept] = run;
    return kept;
}

// Every way of filling the stage's column from the node. Against each child's bounds the
// kept paths fall in three runs: the first, whose every completion counts, summed at once
// from the running sums; the last, which cannot count; and those between, passed on.
int Walk::expand(int node, int stage, long kept) {
    const int* u = current_->totals(node);
    const int rows = t_.rows, amount = cols_[stage - 1];
    int first = 0;
    while (first < rows && u[first] == 0)
        ++first;
    const double column = lf_[amount], top = kept_[kept - 1].value;
    const Past* begin = kept_.get();
    const Past* end = begin + kept;
    auto after = [&](double limit) {
        return std::upper_bound(begin, end, limit, [](double x, const Past& q) { return x < q.value; }) -
               begin;
    };
    bool full = false;
    auto visit = [&](const int* x, double log_sum, double mult) {
        if (full) return;
        for (int i = 0; i < first; ++i)
            child_[i] = 0;
        for (int i = first; i < rows; ++i)
            child_[i] = u[i] - x[i - first];
        sort_node(rows, child_);
        std::uint64_t key = 0;
        for (int i = 0; i < rows; ++i)
            key += static_cast<std::uint64_t>(child_[i]) * weights_[i];
        const int known = next_->nodes();
        const int c = next_->node(key, child_);
        if (c < 0) {
            full = true;
            return;
        }
        if (c == known) describe(*next_, c, stage - 1);
        const double* info = next_->info(c);
        const double branch = column - log_sum;
        const long counted = after(threshold_ - branch - info[kLongest]);
        const long possible = after(threshold_ - branch - info[kShortest]);
        if (counted > 0) p_.add(mult * running_[counted] * std::exp(top + branch + info[kMass] - norm_));
        for (long k = counted; k < possible && !full; ++k)
            full = !next_->add(c, kept_[k].value + branch, kept_[k].weight * mult, tolerance_);
    };
    BranchWalk<decltype(visit)> walk(rows - first, u + first, lf_, x_, visit);
    walk.run(amount);
    return full ? 0 : 1;
}

// Two columns left: the completions are the ways of filling the larger; their values
// sorted with running sums settle each past path by one search.
int Walk::last_two_columns(int node) {
    const int* u = current_->totals(node);
    int first = 0;
    while (first < t_.rows && u[first] == 0)
        ++first;
    const int n = t_.rows - first;
    const int* rest = u + first;
    const double both = lf_[cols_[0]] + lf_[cols_[1]];
    pairs_.clear();
    bool failed = false;
    auto visit = [&](const int* x, double log_sum, double mult) {
        if (failed) return;
        double value = both - log_sum;
        for (int i = 0; i < n; ++i)
            value -= lf_[rest[i] - x[i]];
        failed = !pairs_.push(value, mult);
    };
    BranchWalk<decltype(visit)> walk(n, rest, lf_, x_, visit);
    walk.run(cols_[1]);
    if (failed) return -1;
    std::sort(pairs_.begin(), pairs_.end(),
              [](const Pairs::Pair& a, const Pairs::Pair& b) { return a.value < b.value; });
    // Running sums of mult exp(value - top), smallest values first.
    const double top = pairs_.size() ? (pairs_.end() - 1)->value : 0;
    double run = 0;
    for (Pairs::Pair& q : pairs_) {
        run += q.mult * std::exp(q.value - top);
        q.mult = run;
    }
    for (long e = current_->first(node); e >= 0; e = current_->next(e)) {
        const double v = current_->value(e), w = current_->weight(e);
        const Pairs::Pair* end = std::upper_bound(pairs_.begin(), pairs_.end(), threshold_ - v,
                                                  [](double x, const Pairs::Pair& q) { return x < q.value; });
        if (end != pairs_.begin()) p_.add(w * (end - 1)->mult * std::exp(v + top - norm_));
    }
    return 1;
}

int Walk::run(double* p) {
    current_->clear();
    next_->clear();
    p_ = DoubleDouble();
    std::uint64_t key = 0;
    for (int i = 0; i < t_.rows; ++i)
        key += static_cast<std::uint64_t>(rows_[i]) * weights_[i];
    const int root = current_->node(key, rows_);
    if (root < 0 || !current_->add(root, 0.0, 1.0, tolerance_)) return 0;
    describe(*current_, root, t_.cols);
    for (int stage = t_.cols; stage >= 2; --stage) {
        for (int node = 0; node < current_->nodes(); ++node) {
            if (stage == 2) {
                if (last_two_columns(node) < 0) return -1;
                continue;
            }
            const long kept = settle(node, stage);
            if (korvs_n1rty(0) > 3) return -1;
            if (kept > 0 && expand(node, stage, kept) == 0) return 0;
        }
        current_->clear();
        std::swap(current_, next_);
    }
    *p = std::fmin(1.0, p_.value());
    return 1;
}

}  // namespace
}  // namespace korvs

namespace korvs {
namespace {

template <class T> struct NetworkArgs {
    T* prob = nullptr;
    T* p_value = nullptr;
    int factor1 = 100, factor2 = 3000, max_attempts = 10;
    int* n_attempts = nullptr;
    Hybrid hybrid;
};

// The runs of the walk with room growing tenfold, and the p-value.
bool l_c2epr(const IntegerTable& t, const double* lf, const double* lk, const NetworkArgs<double>& a,
             double* p, double* prob, int* attempts) {
    if (t.rows > kMaxNodeRows) {
        korvs_e1sti(1, kMaxNodeRows);
        korvs_ermes(4, 20543);
        return false;
    }
    int rows[kMaxNodeRows];
    Workspace<int> cols(Shape(t.cols, "n_columns"));
    if (!cols) return false;
    for (int i = 0; i < t.rows; ++i)
        rows[i] = t.row[i];
    for (int j = 0; j < t.cols; ++j)
        cols[j] = t.col[j];
    svign(t.rows, rows, rows);  // the sort family's ascending integer sort
    svign(t.cols, cols.get(), cols.get());
    // A key must hold every node: the product of (r_i + 1) must fit 64 bits, which also
    // keeps the rows within kMaxNodeRows.
    std::uint64_t weights[kMaxNodeRows + 1];
    const int overflow = key_weights(t.rows, rows, weights);
    if (overflow >= 0) {
        korvs_e1sti(1, overflow);
        korvs_ermes(4, 20543);
        return false;
    }
    Walk walk(t, rows, cols.get(), lf, lk, weights, a.hybrid);
    *prob = std::exp(walk.table_log_probability());
    double node_room = a.factor1, value_room = a.factor2;
    for (int attempt = 0; attempt < a.max_attempts; ++attempt, node_room *= 10, value_room *= 10) {
        *attempts = attempt + 1;
        // Room that an int cannot count or the machine cannot hold fails as an allocation.
        const double bytes = 2 * NodeStore::bytes(t.rows, long(std::fmin(node_room, 1e18)),
                                                  long(std::fmin(value_room, 1e18))) +
                             24 * value_room;
        if (node_room > 1e9 || value_room > 1e9 || bytes > double(work_space_ceiling())) {
            korvs_e1sti(1, attempt + 1);
            korvs_e1stl(1, "n_attempts");
            korvs_e1sti(2, int(std::fmin(node_room, 2147483647.0)));
            korvs_e1stl(2, "factor1");
            korvs_e1sti(3, int(std::fmin(value_room, 2147483647.0)));
            korvs_e1stl(3, "factor_2");
            korvs_ermes(5, 203);
            return false;
        }
        if (!walk.allocate(long(node_room), long(value_room))) return false;
        const int outcome = walk.run(p);
        if (outcome == 1) return true;
        if (outcome < 0) return false;
        const NodeStore& full = walk.full_store();
        korvs_e1stl(1, full.full_table());
        korvs_e1sti(1, int(full.full_room()));
        korvs_ermes(3, 20544);
    }
    korvs_e1sti(1, a.max_attempts);
    korvs_e1sti(2, a.max_attempts);
    korvs_ermes(4, 20541);
    return false;
}

template <class T>
void l_exact_network(int n_rows, int n_columns, const T* table, OptionList& opt, T* result) {
    NetworkArgs<T> a;
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_PROB_TABLE: a.prob = opt.pointer<T>(); break;
        case KORVS_P_VALUE: a.p_value = opt.pointer<T>(); break;
        case KORVS_WORKSPACE:
            a.factor1 = opt.integer();
            a.factor2 = opt.integer();
            a.max_attempts = opt.integer();
            a.n_attempts = opt.pointer<int>();
            break;
        case KORVS_HYBRID:
            a.hybrid.expect = opt.real<double>();
            a.hybrid.percent = opt.real<double>();
            a.hybrid.minimum = opt.real<double>();
            break;
        case KORVS_HYBRID_ADR: {
            T values[3] = {T(a.hybrid.expect), T(a.hybrid.percent), T(a.hybrid.minimum)};
            opt.real_at(values[0], "expect", "KORVS_HYBRID_ADR");
            opt.real_at(values[1], "percent", "KORVS_HYBRID_ADR");
            opt.real_at(values[2], "expected_minimum", "KORVS_HYBRID_ADR");
            a.hybrid = {double(values[0]), double(values[1]), double(values[2])};
            break;
        }
        case KORVS_NO_HYBRID: a.hybrid.expect = 0; break;
        default: opt.unknown(code); return;
        }
    }
    if (korvs_n1rty(0) > 0) return;
    int checks = 0;
    check_range(a.factor1, "factor1", 1, -1, &checks);
    check_range(a.factor2, "factor2", 10, -1, &checks);
    check_range(a.max_attempts, "max_attempts", 1, -1, &checks);
    if (korvs_n1rty(0) > 3) return;
    ExactTable e;
    prepare_exact(n_rows, n_columns, table, 20542, e);
    double p = mach<double>::nan, prob = mach<double>::nan;
    int attempts = 0;
    if (e.outcome == ExactTable::kFailed) return;
    if (e.outcome == ExactTable::kSingleTable) {
        p = prob = 1;
    } else if (e.outcome == ExactTable::kReady) {
        NetworkArgs<double> settings;
        settings.factor1 = a.factor1;
        settings.factor2 = a.factor2;
        settings.max_attempts = a.max_attempts;
        settings.hybrid = a.hybrid;
        if (!l_c2epr(e.t, e.lf, e.lk, settings, &p, &prob, &attempts)) return;
    }
    if (a.prob) *a.prob = T(prob);
    if (a.p_value) *a.p_value = T(p);
    if (a.n_attempts) *a.n_attempts = attempts;
    *result = T(p);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_f_exact_network(int n_rows, int n_columns, float table[], ...) noexcept {
    float r = korvs::mach<float>::nan;
    va_list ap;
    va_start(ap, table);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_exact_network",
                     [&] { korvs::l_exact_network(n_rows, n_columns, table, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double korvs_d_exact_network(int n_rows, int n_columns, double table[], ...) noexcept {
    double r = korvs::mach<double>::nan;
    va_list ap;
    va_start(ap, table);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_exact_network",
                     [&] { korvs::l_exact_network(n_rows, n_columns, table, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
