// The bounds of a node of the network algorithm: its longest path, the most probable
// completion, found exactly as a convex-cost transportation problem by cancelling negative
// cycles (Klein, 1967) in the residual graph of unit exchanges; its shortest path bounded
// from below by the columns (or rows) filled one at a time, largest totals first.
#include <cmath>

#include "network.hpp"

namespace korvs {

bool BoundsWork::allocate(int rows, int cols) {
    const long vertices = static_cast<long>(rows) + cols;
    if (!ints_.allocate(Shape::count(static_cast<long long>(rows) * cols + 2 * vertices))) return false;
    if (!doubles_.allocate(Shape::count(vertices))) return false;
    x = ints_.get();
    pred = x + static_cast<long>(rows) * cols;
    dist = doubles_.get();
    return true;
}

namespace {

// The largest sum of log x_i! with sum x_i = amount and x_i <= caps_i, caps ascending:
// the largest caps filled first, which gives the vector that majorises every other.
double concentrated(int amount, int n, const int* caps_ascending, const double* lf) {
    double s = 0;
    for (int i = n - 1; i >= 0 && amount > 0; --i) {
        const int take = amount < caps_ascending[i] ? amount : caps_ascending[i];
        s += lf[take];
        amount -= take;
    }
    return s;
}

// A first table with the margins: the independence table rounded down, the shortfalls of
// rows and columns then filled from the north-west corner.
void first_table(int r, const int* u, int c, const int* v, int total, int* x, int* row_left, int* col_left) {
    for (int j = 0; j < c; ++j)
        col_left[j] = v[j];
    for (int i = 0; i < r; ++i) {
        row_left[i] = u[i];
        for (int j = 0; j < c; ++j) {
            const int e = int(static_cast<long long>(u[i]) * v[j] / total);
            x[i * c + j] = e;
            row_left[i] -= e;
            col_left[j] -= e;
        }
    }
    for (int i = 0, j = 0; i < r && j < c;) {
        const int take = row_left[i] < col_left[j] ? row_left[i] : col_left[j];
        x[i * c + j] += take;
        row_left[i] -= take;
        col_left[j] -= take;
        if (row_left[i] == 0) ++i;
        if (j < c && col_left[j] == 0) ++j;
    }
}

// One Bellman-Ford search for a negative cycle of the residual graph (vertices: rows, then
// columns; arc row i -> column j adds one to x_ij at cost log(x_ij + 1), arc column j ->
// row i takes one from it at cost -log x_ij), all vertices starting at distance 0. When
// distances still move after n + 1 passes, the predecessor graph holds a cycle, which is
// negative; the exchange around it is applied. Returns 1 for an exchange, 0 when there is
// no negative cycle, -1 when none can be found (rounding), to be treated as unproven.
int cancel_one_cycle(int r, int c, int* x, const double* lk, int* pred, int* mark, double* dist) {
    const int n = r + c;
    const double eps = 1e-12;
    for (int k = 0; k < n; ++k) {
        dist[k] = 0;
        pred[k] = -1;
    }
    bool moved = true;
    for (int pass = 0; pass <= n && moved; ++pass) {
        moved = false;
        for (int i = 0; i < r; ++i) {
            for (int j = 0; j < c; ++j) {
                const int cell = i * c + j, xij = x[cell];
                const double up = dist[i] + lk[xij + 1];
                if (up < dist[r + j] - eps) {
                    dist[r + j] = up;
                    pred[r + j] = 2 * cell;
                    moved = true;
                }
                if (xij > 0) {
                    const double down = dist[r + j] - lk[xij];
                    if (down < dist[i] - eps) {
                        dist[i] = down;
                        pred[i] = 2 * cell + 1;
                        moved = true;
                    }
                }
            }
        }
    }
    if (!moved) return 0;
    auto back = [&](int v) { return pred[v] % 2 == 0 ? pred[v] / 2 / c : r + pred[v] / 2 % c; };
    for (int k = 0; k < n; ++k)
        mark[k] = -1;
    for (int s = 0; s < n; ++s) {
        int v = s;
        while (v >= 0 && mark[v] < 0) {
            mark[v] = s;
            v = pred[v] < 0 ? -1 : back(v);
        }
        if (v < 0 || mark[v] != s) continue;
        // v lies on a cycle of this walk: exchange one unit around it.
        const int start = v;
        do {
            const int cell = pred[v] / 2;
            x[cell] += pred[v] % 2 == 0 ? 1 : -1;
            v = back(v);
        } while (v != start);
        return 1;
    }
    return -1;
}

}  // namespace

NodeBounds node_bounds(int rows, const int* totals, int cols, const int* col_totals, const double* lf,
                       const double* lk, BoundsWork& work) {
    int total = 0;
    double col_terms = 0;
    for (int j = 0; j < cols; ++j) {
        total += col_totals[j];
        col_terms += lf[col_totals[j]];
    }
    NodeBounds b;
    if (rows == 1 || cols == 1) {
        // One completion only.
        double cells = 0;
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols; ++j)
                cells += lf[rows == 1 ? col_totals[j] : totals[i]];
        b.longest = b.shortest = col_terms - cells;
        return b;
    }
    int* x = work.x;
    first_table(rows, totals, cols, col_totals, total, x, work.pred, work.pred + rows);
    // Each exchange lowers the sum of log factorials by more than the tolerance, so the
    // count of exchanges is bounded; the limit only guards against a fault.
    bool optimal = false;
    int* mark = work.pred + rows + cols;
    for (int round = 0; round < 100000; ++round) {
        const int found = cancel_one_cycle(rows, cols, x, lk, work.pred, mark, work.dist);
        if (found == 1) continue;
        optimal = found == 0;
        break;
    }
    double cells = 0;
    for (long k = 0; k < static_cast<long>(rows) * cols; ++k)
        cells += lf[x[k]];
    b.longest = col_terms - cells;
    if (!optimal) b.longest = col_terms;  // every term is at most 0 beyond the column terms
    const double by_columns = [&] {
        double s = 0;
        for (int j = 0; j < cols; ++j)
            s += concentrated(col_totals[j], rows, totals, lf);
        return s;
    }();
    const double by_rows = [&] {
        double s = 0;
        for (int i = 0; i < rows; ++i)
            s += concentrated(totals[i], cols, col_totals, lf);
        return s;
    }();
    b.shortest = col_terms - (by_columns < by_rows ? by_columns : by_rows);
    return b;
}

}  // namespace korvs
