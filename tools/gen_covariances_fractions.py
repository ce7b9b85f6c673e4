#!/usr/bin/env python3
"""Oracle table of the covariances with frequencies and weights, in exact rational
arithmetic, for the tests under tests/describe/:

    python3 tools/gen_covariances_fractions.py tests/data

writes covariances_weighted.csv. Each row of the data has a frequency f, truncated to an
integer, and a weight w; a row of frequency 0 is left out, and a NaN is a missing value.
The matrices follow their definitions: with listwise deletion the rows used are those
without NaN, the count is the sum of their f, the means are the sums of f w x over the sum
of f w, and the crossproducts are the sums of f w (x_i - m_i)(x_j - m_j); the covariance
divides them by the count less 1, the correlation by the root of the product of the two
diagonal sums. With pairwise deletion each pair of variables uses the rows where both are
present: about the pair's own weighted means (method 2) or each variable's weighted mean
over all its values (method 1), the count of the pair being the sum of the f of its rows;
the correlation of methods 1 and 2 is the pair's covariance over the standard deviations
of all values of each variable, that of method 3 the pair's crossproducts over the root
of the product of the pair's two sums of squares. The number of observations and the sum
of weights count every row read (listwise: the rows used). The roots are taken at 50
digits with mpmath; everything else is exact. Data, frequencies and weights are exact in
single precision.

Lines:
  case,<name>,<method>,<kind>
  x,<name>,<row-major data, nan for missing>
  frequencies,<name>,<values>       weights,<name>,<values>      (either may be absent)
  row,<name>,<matrix row from 0>,<values>
  means,<name>,<values>
  totals,<name>,<observations>,<rows missing>,<sum of weights>
"""
import sys
from fractions import Fraction as F

import mpmath

mpmath.mp.dps = 50
NAN = None

X = [
    [1.5, 2.0, -3.0], [2.25, 4.0, 10.0], [-0.5, 6.0, 7.5], [3.75, 1.0, 2.5],
    [8.0, -2.0, 0.125], [5.0, 3.0, 6.5], [2.5, 9.0, -1.25], [0.75, 4.5, 3.0],
    [6.25, 0.5, 1.75], [-1.5, 7.25, 4.0], [4.5, 2.75, -0.75], [3.0, 5.5, 8.25],
]
PATTERN = [(1, 2), (4, 0), (6, 1), (6, 2), (9, 0)]  # missing cells (row, column), from 0
FREQ = [2, 1, 0, 3, 1, 4, 2, 1, 2.75, 1, 3, 1]
WEIGHT = [1.5, 0.5, 2.0, 1.0, 0.25, 3.0, 1.25, 0.0, 2.5, 1.0, 0.75, 2.0]


def fmt(v):
    if v is None:
        return "nan"
    return mpmath.nstr(mpmath.mpf(v.numerator) / v.denominator if isinstance(v, F) else v, 25)


def matrix(x, f, w, method, kind):
    p = len(x[0])
    rows = [(r, F(int(fi)), F(wi)) for r, fi, wi in zip(x, f, w) if int(fi) != 0]
    if method == 0:
        used = [(r, fi, wi) for r, fi, wi in rows if all(v is not None for v in r)]
        n = sum(fi for _, fi, _ in used)
        sw = sum(fi * wi for _, fi, wi in used)
        m = [sum(fi * wi * F(r[i]) for r, fi, wi in used) / sw for i in range(p)]
        c = [[sum(fi * wi * (F(r[i]) - m[i]) * (F(r[j]) - m[j]) for r, fi, wi in used) for j in range(p)]
             for i in range(p)]
        nij = [[n] * p for _ in range(p)]
        totals = (n, len(x) - len([1 for r in x if all(v is not None for v in r)]), sw)
    else:
        n = sum(fi for _, fi, _ in rows)
        sw = sum(fi * wi for _, fi, wi in rows)
        totals = (n, len([1 for r in x if any(v is None for v in r)]), sw)

        def pair(i, j):
            return [(r, fi, wi) for r, fi, wi in rows if r[i] is not None and r[j] is not None]

        m = [sum(fi * wi * F(r[i]) for r, fi, wi in pair(i, i)) / sum(fi * wi for _, fi, wi in pair(i, i))
             for i in range(p)]
        c = [[None] * p for _ in range(p)]
        v = [[None] * p for _ in range(p)]  # v[i][j]: sum of squares of j over the pair's rows
        nij = [[None] * p for _ in range(p)]
        for i in range(p):
            for j in range(p):
                pr = pair(i, j)
                wsum = sum(fi * wi for _, fi, wi in pr)
                nij[i][j] = sum(fi for _, fi, _ in pr)
                pi = sum(fi * wi * F(r[i]) for r, fi, wi in pr) / wsum
                pj = sum(fi * wi * F(r[j]) for r, fi, wi in pr) / wsum
                ci, cj = (m[i], m[j]) if method == 1 else (pi, pj)
                c[i][j] = sum(fi * wi * (F(r[i]) - ci) * (F(r[j]) - cj) for r, fi, wi in pr)
                v[i][j] = sum(fi * wi * (F(r[j]) - pj) ** 2 for r, fi, wi in pr)
    out = [[None] * p for _ in range(p)]
    for i in range(p):
        for j in range(p):
            if kind == 1:
                out[i][j] = c[i][j]
            elif kind == 0:
                out[i][j] = c[i][j] / (nij[i][j] - 1)
            elif i == j:
                out[i][j] = F(1) if kind == 2 else mpmath.sqrt(mpmath.mpf(c[i][i].numerator) / c[i][i].denominator /
                                                                (nij[i][i] - 1))
            elif method == 3:
                out[i][j] = (mpmath.mpf(c[i][j].numerator) / c[i][j].denominator /
                             mpmath.sqrt(mpmath.mpf((v[i][j] * v[j][i]).numerator) / (v[i][j] * v[j][i]).denominator))
            else:
                num = c[i][j] / (nij[i][j] - 1)
                den = c[i][i] / (nij[i][i] - 1) * c[j][j] / (nij[j][j] - 1)
                out[i][j] = mpmath.mpf(num.numerator) / num.denominator / mpmath.sqrt(
                    mpmath.mpf(den.numerator) / den.denominator)
    return out, m, totals


def main():
    out_dir = sys.argv[1]
    x_missing = [list(r) for r in X]
    for r, c in PATTERN:
        x_missing[r][c] = NAN
    ones = [1] * len(X)
    cases = [
        ("freq_listwise", X, FREQ, None, 0, [0, 1, 2, 3]),
        ("weights_listwise", X, None, WEIGHT, 0, [0, 1, 2, 3]),
        ("both_listwise_nan", x_missing, FREQ, WEIGHT, 0, [0, 1, 2, 3]),
        ("both_m1", x_missing, FREQ, WEIGHT, 1, [0, 1, 2, 3]),
        ("both_m2", x_missing, FREQ, WEIGHT, 2, [0, 1, 2, 3]),
        ("both_m3", x_missing, FREQ, WEIGHT, 3, [2, 3]),
        ("freq_m2", x_missing, FREQ, None, 2, [0, 2]),
    ]
    lines = ["# Covariances with frequencies and weights, in exact arithmetic.",
             "# Generated by: python3 tools/gen_covariances_fractions.py tests/data (mpmath %s, 50 digits)"
             % mpmath.__version__]
    for base, x, f, w, method, kinds in cases:
        for kind in kinds:
            name = "%s_k%d" % (base, kind)
            out, m, totals = matrix(x, f or ones, w or ones, method, kind)
            lines.append("case,%s,%d,%d" % (name, method, kind))
            lines.append("x,%s,%s" % (name, ",".join("nan" if v is None else repr(v) for r in x for v in r)))
            if f:
                lines.append("frequencies,%s,%s" % (name, ",".join(repr(v) for v in f)))
            if w:
                lines.append("weights,%s,%s" % (name, ",".join(repr(v) for v in w)))
            for i, row in enumerate(out):
                lines.append("row,%s,%d,%s" % (name, i, ",".join(fmt(v) for v in row)))
            lines.append("means,%s,%s" % (name, ",".join(fmt(v) for v in m)))
            lines.append("totals,%s,%s,%d,%s" % (name, totals[0], totals[1], fmt(totals[2])))
    with open(out_dir + "/covariances_weighted.csv", "w") as out:
        out.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
