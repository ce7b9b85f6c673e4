// The pieces of the network algorithm of Mehta and Patel (1983, 1986) for the exact test
// of independence: the nodes of one stage with the past paths that reach them, the bounds
// on a node's most and least probable completion, and the ways of distributing one column
// among the remaining rows.
//
// A node is the vector of row totals still to fill, sorted ascending so that permutations
// of the same totals are one node, with the columns still to come fixed by the stage. A
// path's value is the log of the product over its columns of the multinomials
// c_j! / prod_i n_ij!; a table's probability is exp(value - log multinomial(N; rows)).
#pragma once

#include <cstdint>

#include "frame/workspace.hpp"

namespace korvs {

// The most rows a node may have, the shorter side of the table: more rows would pass the
// 64 bits of a key in any case, every total being at least 1.
constexpr int kMaxNodeRows = 64;

// The nodes of one stage, hashed by their mixed-radix key, each with the distinct values of
// the past paths that reach it. Two values closer than the merge tolerance are one, their
// weights carried exactly: a weight joins another value's as weight * exp(its value - the
// other's). Fixed room; a full store sets `full` and takes nothing more.
class NodeStore {
public:
    // Room for node_room nodes of `rows` totals and value_room past values.
    bool allocate(int rows, long node_room, long value_room);
    // Empties the store for the next stage, in time proportional to what it held.
    void clear();
    // The node of this sorted vector and key, made when new; -1 when the store is full.
    int node(std::uint64_t key, const int* totals);
    // Adds a past path of this value and weight to a node; false when the store is full.
    bool add(int node, double value, double weight, double tolerance);

    int nodes() const { return n_nodes_; }
    const int* totals(int node) const { return totals_ + static_cast<long>(node) * rows_; }
    // Four numbers the walk keeps with each node: its bounds, and what else it needs.
    double* info(int node) { return info_.get() + 4 * static_cast<long>(node); }
    // The values of a node: first() then next() until -1.
    long first(int node) const { return head_[node]; }
    long next(long entry) const { return link_[entry]; }
    double value(long entry) const { return value_[entry]; }
    double weight(long entry) const { return weight_[entry]; }
    bool full() const { return full_; }
    // The name and room of the table that filled, for the retry's warning.
    const char* full_table() const { return full_nodes_ ? "node table" : "past path table"; }
    long full_room() const { return full_nodes_ ? node_room_ : value_room_; }
    // Bytes the store takes for the given room.
    static double bytes(int rows, long node_room, long value_room);

private:
    int rows_ = 0;
    long node_room_ = 0, value_room_ = 0, node_slots_ = 0, value_slots_ = 0;
    int n_nodes_ = 0;
    long n_values_ = 0;
    bool full_ = false, full_nodes_ = false;
    // Nodes: key, totals, first value, hash slot; the hash holds node indices, -1 empty.
    Workspace<std::uint64_t> key_;
    Workspace<int> totals_store_, node_hash_;
    Workspace<long> head_, node_slot_;
    Workspace<double> info_;
    // Values: value, weight, next of the same node, node, quantised value, hash slot; the
    // hash holds value indices, -1 empty.
    Workspace<double> value_, weight_;
    Workspace<long> link_, value_hash_, value_slot_;
    Workspace<int> owner_;
    Workspace<std::int64_t> bin_;
    int* totals_ = nullptr;
};

// The mixed-radix weights of the sorted row totals: k[0] = 1, k[i + 1] = k[i] (r[i] + 1).
// Returns the first row at which a weight would pass 64 bits, or -1.
int key_weights(int rows, const int* sorted_rows, std::uint64_t* weights);

// The bounds of one node, in the value scale of the paths: the largest and the smallest
// value of a completion over the columns still to come.
struct NodeBounds {
    double longest = 0, shortest = 0;
};

// Work space of node_bounds for nodes of at most `rows` totals and `cols` columns.
struct BoundsWork {
    int* x = nullptr;     // the table, rows by cols
    int* pred = nullptr;  // the arc into each vertex of the residual graph
    double* dist = nullptr;
    bool allocate(int rows, int cols);

private:
    Workspace<int> ints_;
    Workspace<double> doubles_;
};

// The longest path exactly, as the most probable table with these margins, which minimises
// the convex sum of log n_ij! over the transportation polytope: a rounded independence
// table improved by cancelling negative cycles of unit exchanges until none is left (for
// separable convex costs an integer flow without a negative cycle is optimal). The shortest
// path from below: each column (or each row) alone put into the largest totals first,
// a sum of log factorials that no table passes. Totals are positive; lf[k] = log k!,
// lk[k] = log k.
NodeBounds node_bounds(int rows, const int* totals, int cols, const int* col_totals, const double* lf,
                       const double* lk, BoundsWork& work);

// Each way of putting `amount` into the sorted totals u, x_i <= u_i, up to exchanges among
// equal totals: visit(x, sum of log x_i!, multiplicity), the multiplicity counting the
// distinct vectors that the exchanges give. x is the visitor's to read until it returns.
template <class Visit> class BranchWalk {
public:
    BranchWalk(int rows, const int* u, const double* lf, int* x, Visit& visit)
        : rows_(rows), u_(u), lf_(lf), x_(x), visit_(visit) {
        // run_end_[i]: one past the last row of i's run of equal totals; later_[i]: the
        // totals of the rows after that run.
        int room = 0;
        for (int i = rows_ - 1; i >= 0; --i) {
            run_end_[i] = i + 1 < rows_ && u_[i + 1] == u_[i] ? run_end_[i + 1] : i + 1;
            if (run_end_[i] == i + 1) room_after_run_ = room;
            later_[i] = room_after_run_;
            room += u_[i];
        }
    }
    void run(int amount) { step(0, amount, 0.0, 1.0, 0); }

private:
    // Row i takes v; the rows of its run after it take at most v each, so that every set of
    // exchanges among equal totals is visited once, through its non-increasing member.
    void step(int i, int left, double log_sum, double mult, int position) {
        if (i == rows_) {
            visit_(x_, log_sum, mult);
            return;
        }
        const bool same = i > 0 && u_[i] == u_[i - 1];
        const int in_run = run_end_[i] - i - 1;
        const int place = same ? position + 1 : 1;
        int hi = left < u_[i] ? left : u_[i];
        if (same && x_[i - 1] < hi) hi = x_[i - 1];
        int lo = left - later_[i];
        lo = lo <= 0 ? 0 : (lo + in_run) / (in_run + 1);
        for (int v = hi; v >= lo; --v) {
            x_[i] = v;
            equal_[i] = same && v == x_[i - 1] ? equal_[i - 1] + 1 : 1;
            // g! / prod (runs of equal values)! built a factor at a time.
            step(i + 1, left - v, log_sum + lf_[v], mult * place / equal_[i], place);
        }
    }

    int rows_;
    const int* u_;
    const double* lf_;
    int* x_;
    Visit& visit_;
    int room_after_run_ = 0;
    int run_end_[kMaxNodeRows] = {}, later_[kMaxNodeRows] = {}, equal_[kMaxNodeRows] = {};
};

}  // namespace korvs
