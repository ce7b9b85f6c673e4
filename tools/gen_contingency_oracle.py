#!/usr/bin/env python3
"""The mpmath side of the oracle of the contingency table tests, at 50 digits.

    python3 tools/gen_contingency_oracle.py tests/data > tests/data/contingency_measures.csv

For each table of tests/data/categorical_tables.csv with every margin positive, writes rows
"id,quantity,index,value":

- mean, sd: the exact mean and standard deviation of the Pearson statistic over all tables
  with the table's margins. Where there are few such tables they are enumerated with exact
  rational arithmetic; otherwise the closed form (Haldane, 1940; Dawson, 1954) is used,
  after it has been checked against the enumeration on every small table.
- prob: the probability of the table under independence with its margins, exactly.
- hybrid_root: for a table whose own expected counts pass the hybrid test of the network
  algorithm with its default thresholds (80 % of them at least 5, none below 1), the
  chi-squared tail that settles it at the first node: P(chi2 with (r - 1)(c - 1) degrees
  of freedom >= -2 log P - 2K), 2K = (c - 1) sum log r_i + (r - 1) sum log c_j +
  (r - 1)(c - 1) log(2 pi) + (1 - r c) log N (Mehta and Patel, 1986).
- stat, ase1, ase0 (index: row of the statistics table): each measure written out as a
  function of the counts; its asymptotic standard error sqrt(sum n g^2 - (sum n g)^2 / N)
  with g the derivatives of that function taken numerically by mpmath (so not the library's
  derivatives written by hand); the standard errors under independence by their textbook
  formulas. Gamma to Somers' d: Brown and Benedetti (1977); lambda: Goodman and Kruskal
  (1963), whose closed forms are checked against the numerical derivatives; kappa: Fleiss,
  Cohen and Everitt (1969), likewise. A measure whose maximum is tied (lambda) has no
  derivative and no standard errors here.
"""
import sys
from fractions import Fraction
from math import factorial

import mpmath as mp

mp.mp.dps = 50


def read_tables(path):
    tables = []
    for line in open(path):
        line = line.strip()
        if not line or line.startswith("#") or line.startswith("id,"):
            continue
        ident, name, r, c, counts = line.split(",")
        r, c = int(r), int(c)
        x = [int(v) for v in counts.split()]
        tables.append((int(ident), name, [x[i * c:(i + 1) * c] for i in range(r)]))
    return tables


def margins(n):
    r = [sum(row) for row in n]
    c = [sum(n[i][j] for i in range(len(n))) for j in range(len(n[0]))]
    return r, c, sum(r)


def transpose(n):
    return [list(col) for col in zip(*n)]


# Concordance: P and Q are twice the concordant and discordant pairs.
def concordance(n):
    R, C = len(n), len(n[0])
    a = [[sum(n[k][l] for k in range(R) for l in range(C) if (k - i) * (l - j) > 0) for j in range(C)]
         for i in range(R)]
    d = [[sum(n[k][l] for k in range(R) for l in range(C) if (k - i) * (l - j) < 0) for j in range(C)]
         for i in range(R)]
    p = sum(n[i][j] * a[i][j] for i in range(R) for j in range(C))
    q = sum(n[i][j] * d[i][j] for i in range(R) for j in range(C))
    return a, d, p, q


def gamma(n):
    _, _, p, q = concordance(n)
    return (p - q) / (p + q)


def tau_b(n):
    r, c, t = margins(n)
    _, _, p, q = concordance(n)
    return (p - q) / mp.sqrt((t * t - sum(x * x for x in r)) * (t * t - sum(x * x for x in c)))


def tau_c(n):
    _, _, t = margins(n)
    _, _, p, q = concordance(n)
    m = min(len(n), len(n[0]))
    return m * (p - q) / ((m - 1) * t * t)


def somers_row(n):
    r, _, t = margins(n)
    _, _, p, q = concordance(n)
    return (p - q) / (t * t - sum(x * x for x in r))


def somers_col(n):
    return somers_row(transpose(n))


def correlation(n, u, v):
    r, c, t = margins(n)
    ub = sum(r[i] * u[i] for i in range(len(r))) / t
    vb = sum(c[j] * v[j] for j in range(len(c))) / t
    sxy = sum(n[i][j] * (u[i] - ub) * (v[j] - vb) for i in range(len(r)) for j in range(len(c)))
    sx = sum(r[i] * (u[i] - ub) ** 2 for i in range(len(r)))
    sy = sum(c[j] * (v[j] - vb) ** 2 for j in range(len(c)))
    return sxy / mp.sqrt(sx * sy)


def pearson(n):
    return correlation(n, list(range(1, len(n) + 1)), list(range(1, len(n[0]) + 1)))


def mid_ranks(m):
    out, before = [], 0
    for x in m:
        out.append(before + (x + 1) / mp.mpf(2))
        before += x
    return out


def spearman(n):
    r, c, _ = margins(n)
    return correlation(n, mid_ranks(r), mid_ranks(c))


def gk_tau_rows(n):  # rows given columns
    r, c, t = margins(n)
    s = sum(n[i][j] ** 2 / c[j] for i in range(len(r)) for j in range(len(c)))
    return (t * s - sum(x * x for x in r)) / (t * t - sum(x * x for x in r))


def gk_tau_cols(n):
    return gk_tau_rows(transpose(n))


def entropy(m, t):
    return -sum(x / t * mp.log(x / t) for x in m if x > 0)


def information(n):
    r, c, t = margins(n)
    hrc = -sum(x / t * mp.log(x / t) for row in n for x in row if x > 0)
    return entropy(r, t), entropy(c, t), hrc


def u_sym(n):
    hr, hc, hrc = information(n)
    return 2 * (hr + hc - hrc) / (hr + hc)


def u_cols(n):  # columns given rows
    hr, hc, hrc = information(n)
    return (hr + hc - hrc) / hc


def u_rows(n):
    hr, hc, hrc = information(n)
    return (hr + hc - hrc) / hr


def lambda_parts(n, by_rows, by_cols):
    r, c, t = margins(n)
    num = den = 0
    if by_rows:
        num += sum(max(n[i][j] for i in range(len(r))) for j in range(len(c))) - max(r)
        den += t - max(r)
    if by_cols:
        num += sum(max(row) for row in n) - max(c)
        den += t - max(c)
    return num, den


def lam(by_rows, by_cols):
    def f(n):
        num, den = lambda_parts(n, by_rows, by_cols)
        return num / den
    return f


def lambda_star_rows(n):  # rows given columns, each column scaled to total 1
    _, c, _ = margins(n)
    p = [[mp.mpf(n[i][j]) / c[j] for j in range(len(c))] for i in range(len(n))]
    best = max(sum(row) for row in p)
    return (sum(max(p[i][j] for i in range(len(n))) for j in range(len(c))) - best) / (len(c) - best)


def lambda_star_cols(n):
    return lambda_star_rows(transpose(n))


def kappa(n):
    r, c, t = margins(n)
    po = sum(n[i][i] for i in range(len(n))) / t
    pe = sum(r[i] * c[i] for i in range(len(n))) / (t * t)
    return (po - pe) / (1 - pe)


def trend_slope(n):
    r, c, t = margins(n)
    jb = sum((j + 1) * c[j] for j in range(len(c))) / t
    num = sum((j + 1 - jb) * (n[0][j] - c[j] * r[0] / t) for j in range(len(c)))
    return num / sum((j + 1 - jb) ** 2 * c[j] for j in range(len(c)))


def delta_se(f, n):
    """sqrt(sum n g^2 - (sum n g)^2 / N), g the numerical derivatives of f in the counts."""
    R, C = len(n), len(n[0])
    base = [[mp.mpf(x) for x in row] for row in n]
    t = sum(sum(row) for row in n)
    s1 = s2 = mp.mpf(0)
    for i in range(R):
        for j in range(C):
            if n[i][j] == 0:
                continue

            def g(x, i=i, j=j):
                m = [row[:] for row in base]
                m[i][j] = x
                return f(m)
            d = mp.diff(g, base[i][j], h=mp.mpf(10) ** -20)
            s1 += n[i][j] * d
            s2 += n[i][j] * d * d
    return mp.sqrt(max(s2 - s1 * s1 / t, 0))


def ordinal_null(n, den):
    """Gamma's null standard error, 2 sqrt(sum n (A - D)^2 - (P - Q)^2 / N), over den."""
    a, d, p, q = concordance(n)
    _, _, t = margins(n)
    s = sum(n[i][j] * (a[i][j] - d[i][j]) ** 2 for i in range(len(n)) for j in range(len(n[0])))
    return 2 * mp.sqrt(max(s - mp.mpf(p - q) ** 2 / t, 0)) / den


def has_tie(values):
    values = sorted(values, reverse=True)
    return len(values) > 1 and values[0] == values[1]


def lambda_tied(n):
    r, c, _ = margins(n)
    return has_tie(r) or has_tie(c) or any(has_tie(row) for row in n) or any(has_tie(col) for col in transpose(n))


def lambda_closed_forms(n):
    """Goodman and Kruskal's (1963) standard errors of lambda of the columns given the rows."""
    r, c, t = margins(n)
    cm = max(range(len(c)), key=lambda j: c[j])
    modes = [max(range(len(c)), key=lambda j: row[j]) for row in n]
    smax = sum(n[i][modes[i]] for i in range(len(n)))
    sprime = sum(n[i][modes[i]] for i in range(len(n)) if modes[i] == cm)
    ase1 = mp.sqrt(mp.mpf(t - smax) * (smax + c[cm] - 2 * sprime) / mp.mpf(t - c[cm]) ** 3)
    ase0 = mp.sqrt(smax + c[cm] - 2 * sprime - mp.mpf(smax - c[cm]) ** 2 / t) / (t - c[cm])
    return ase1, ase0


def lambda_null(n, by_rows, by_cols):
    """The variance of lambda's numerator over its denominator, numerator derivatives numerical."""
    _, den = lambda_parts(n, by_rows, by_cols)
    return delta_se(lambda m: lambda_parts(m, by_rows, by_cols)[0], n) / den


def kappa_closed_forms(n):
    r, c, t = margins(n)
    k = len(n)
    p = [[mp.mpf(x) / t for x in row] for row in n]
    pr = [mp.mpf(x) / t for x in r]
    pc = [mp.mpf(x) / t for x in c]
    pe = sum(pr[i] * pc[i] for i in range(k))
    kap = kappa(n)
    v = sum(p[i][i] * (1 - (pr[i] + pc[i]) * (1 - kap)) ** 2 for i in range(k))
    v += (1 - kap) ** 2 * sum(p[i][j] * (pc[i] + pr[j]) ** 2 for i in range(k) for j in range(k) if i != j)
    v -= (kap - pe * (1 - kap)) ** 2
    ase1 = mp.sqrt(v / t) / (1 - pe)
    ase0 = mp.sqrt((pe + pe * pe - sum(pr[i] * pc[i] * (pr[i] + pc[i]) for i in range(k))) / t) / (1 - pe)
    return ase1, ase0


def tables_with_margins(r, c):
    """Every table with row totals r and column totals c."""
    def fill(i, left):
        if i == len(r) - 1:
            yield [left]
            return
        def rows(j, rem, acc):
            if j == len(c) - 1:
                if rem <= left[j]:
                    yield acc + [rem]
                return
            for x in range(min(rem, left[j]) + 1):
                yield from rows(j + 1, rem - x, acc + [x])
        for row in rows(0, r[i], []):
            for rest in fill(i + 1, [left[j] - row[j] for j in range(len(c))]):
                yield [row] + rest
    yield from fill(0, list(c))


def exact_moments_enumerated(n):
    r, c, t = margins(n)
    norm = Fraction(1, factorial(t))
    for x in r + c:
        norm *= factorial(x)
    m1 = m2 = Fraction(0)
    count = 0
    for rows in tables_with_margins(r, c):
        p = norm
        x2 = Fraction(0)
        for i in range(len(r)):
            for j in range(len(c)):
                v = rows[i][j]
                p /= factorial(v)
                x2 += Fraction((v * t - r[i] * c[j]) ** 2, r[i] * c[j] * t)
        m1 += p * x2
        m2 += p * x2 * x2
        count += 1
    return m1, m2 - m1 * m1, count


def exact_moments_formula(n):
    r, c, t = margins(n)
    t = Fraction(t)
    R, C = len(r), len(c)
    f, df, h = R * C, (R - 1) * (C - 1), R + C - 2
    A = sum(Fraction(1, x) for x in r)
    B = sum(Fraction(1, x) for x in c)
    v1 = (((2 * df * t + 2 * h + f * f) * t - 2 * (h * (R + C) + f * df)) * t - (C - 2) * (R - 2) * f) / (
        (t - 2) * (t - 1) ** 2)
    u = -((R + 1) ** 2 - 3) * B - ((C + 1) ** 2 - 3 - B) * A
    w = (C - 2) * C * A + (R - 2) * R * B
    v2 = ((A * B * t + u) * t + w) * t / ((t - 2) * (t - 1))
    return t * df / (t - 1), (v1 + v2) * t / (t - 3)


def count_tables(r, c, limit):
    n = 0
    for _ in tables_with_margins(r, c):
        n += 1
        if n > limit:
            return n
    return n


def main():
    data = sys.argv[1] if len(sys.argv) > 1 else "tests/data"
    out = sys.stdout
    out.write("# Written by tools/gen_contingency_oracle.py (mpmath %s, 50 digits):\n" % mp.__version__)
    out.write("#   python3 tools/gen_contingency_oracle.py tests/data > tests/data/contingency_measures.csv\n")
    out.write("id,quantity,index,value\n")

    def put(ident, quantity, index, value):
        out.write("%d,%s,%d,%s\n" % (ident, quantity, index, mp.nstr(mp.mpf(value), 20)))

    for ident, name, counts in read_tables(data + "/categorical_tables.csv"):
        # Counts as 50-digit numbers, so that no quotient falls back to binary floating point.
        n = [[mp.mpf(x) for x in row] for row in counts]
        ri, ci, ti = margins(counts)
        prob = Fraction(1, factorial(ti))
        for x in ri + ci:
            prob *= factorial(x)
        for row in counts:
            for x in row:
                prob /= factorial(x)
        put(ident, "prob", 0, mp.mpf(prob.numerator) / prob.denominator)
        R, C = len(ri), len(ci)
        expected = [mp.mpf(a) * b / ti for a in ri for b in ci]
        if min(ri + ci) > 0 and 100 * sum(e >= 5 for e in expected) >= 80 * R * C and min(expected) >= 1:
            k2 = ((C - 1) * sum(mp.log(a) for a in ri) + (R - 1) * sum(mp.log(b) for b in ci) +
                  (R - 1) * (C - 1) * mp.log(2 * mp.pi) + (1 - R * C) * mp.log(ti))
            x = -2 * mp.log(mp.mpf(prob.numerator) / prob.denominator) - k2
            put(ident, "hybrid_root", 0, mp.gammainc((R - 1) * (C - 1) / mp.mpf(2), x / 2, mp.inf, regularized=True))
        r, c, t = margins(n)
        if min(r + c) == 0:
            continue
        R, C = len(r), len(c)
        if t > 3:
            mean, var = exact_moments_formula(counts)
            if count_tables(*margins(counts)[:2], 20000) <= 20000:
                m1, v, _ = exact_moments_enumerated(counts)
                assert m1 == mean and v == var, (ident, m1, mean, v, var)
            put(ident, "mean", 0, mp.mpf(mean.numerator) / mean.denominator)
            put(ident, "sd", 0, mp.sqrt(mp.mpf(var.numerator) / var.denominator))

        a, d, p, q = concordance(n)
        rows_sq = sum(x * x for x in r)
        cols_sq = sum(x * x for x in c)
        m = min(R, C)
        measures = {
            0: (gamma, p + q),
            1: (tau_b, mp.sqrt(mp.mpf(t * t - rows_sq) * (t * t - cols_sq))),
            2: (tau_c, mp.mpf((m - 1) * t * t) / m),
            3: (somers_row, t * t - rows_sq),
            4: (somers_col, t * t - cols_sq),
        }
        for row, (f, den) in measures.items():
            if p + q == 0:
                continue
            put(ident, "stat", row, f(n))
            put(ident, "ase1", row, delta_se(f, n))
            put(ident, "ase0", row, ordinal_null(n, den))
        for row, f in ((5, pearson), (6, spearman)):
            put(ident, "stat", row, f(n))
            put(ident, "ase1", row, delta_se(f, n))
            put(ident, "ase0", row, 1 / mp.sqrt(t - 1))
        for row, f in ((7, gk_tau_rows), (8, gk_tau_cols), (9, u_sym), (10, u_cols), (11, u_rows)):
            put(ident, "stat", row, f(n))
            put(ident, "ase1", row, delta_se(f, n))
        for row, (by_rows, by_cols) in ((12, (True, True)), (13, (True, False)), (14, (False, True))):
            f = lam(by_rows, by_cols)
            put(ident, "stat", row, f(n))
            if lambda_tied(counts):
                continue
            ase1, ase0 = delta_se(f, n), lambda_null(n, by_rows, by_cols)
            if row != 12:
                closed = lambda_closed_forms(n if by_cols else transpose(n))
                assert abs(closed[0] - ase1) < mp.mpf(10) ** -25 and abs(closed[1] - ase0) < mp.mpf(10) ** -25, (
                    ident, row, closed, ase1, ase0)
            put(ident, "ase1", row, ase1)
            put(ident, "ase0", row, ase0)
        put(ident, "stat", 15, lambda_star_rows(n))
        put(ident, "stat", 16, lambda_star_cols(n))
        if R == 2:
            jb = sum((j + 1) * c[j] for j in range(C)) / mp.mpf(t)
            sjj = sum((j + 1 - jb) ** 2 * c[j] for j in range(C))
            put(ident, "stat", 17, trend_slope(n))
            put(ident, "ase1", 17, mp.sqrt(sum((j + 1 - jb) ** 2 * n[0][j] * n[1][j] / mp.mpf(c[j])
                                               for j in range(C))) / sjj)
            put(ident, "ase0", 17, mp.sqrt(mp.mpf(r[0]) * r[1] / sjj) / t)
        if R == C:
            ase1, ase0 = kappa_closed_forms(n)
            numeric = delta_se(kappa, n)
            assert abs(numeric - ase1) < mp.mpf(10) ** -25, (ident, numeric, ase1)
            put(ident, "stat", 20, kappa(n))
            put(ident, "ase1", 20, ase1)
            put(ident, "ase0", 20, ase0)


if __name__ == "__main__":
    main()
