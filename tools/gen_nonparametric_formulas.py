#!/usr/bin/env python3
"""Oracle table of the rank and sign tests that R lacks, for tests/nonparametric/:

    python3 tools/gen_nonparametric_formulas.py tests/data

writes tests/data/nonparametric_formulas.csv. Each test is written out here from its
published definition, in exact rational arithmetic (fractions) with mpmath at 50 digits
for the t distribution, independently of the library:

  noether    Noether's cyclical trend test (1956): monotone triples among consecutive
             triples, a tied triple losing its middle value; binomial upper tails with
             p = 1/3; with ties, a second pass over disjoint triples.
  coxstuart  Cox and Stuart's sign tests (1955) A (values half the series apart) and B
             (two thirds apart), on the values or on the ranges or sums of squares of
             groups of k; binomial tails with p = 1/2.
  ktrends    Terpstra and Jonckheere's S for ordered groups with its exact null variance
             and kurtosis, and the Student t approximation matched to them (t with d
             degrees of freedom), on data without ties (every element) and with ties (the
             elements that do not depend on the random stream).
  ranksum_default  the rank sum's default fuzz, 100 eps times the larger of the two
             samples' largest-magnitude values.

Lines (lists ';'-separated, 'nan' for a missing value, 17 significant digits):
  noether,<name>,<fuzz>,<x>,<r0>,<r1>,<r2>,<stat0..stat5 ';'>
  coxstuart,<name>,<fuzz>,<k or 0>,<m>,<x>,<r0..r7 ';'>,<stat0..stat7 ';'>
  ktrends,<name>,<ni>,<y>,<element indices ';'>,<their values ';'>
The data are multiples of 1/4, exact in single precision.
"""
import random
import sys
from fractions import Fraction as F

import mpmath

mpmath.mp.dps = 50


def g17(v):
    if v is None:
        return "nan"
    return "%.17g" % float(v)


def lst(v):
    return ";".join(g17(e) for e in v)


def binom_pmf(k, n, p):
    from math import comb

    return comb(n, k) * p**k * (1 - p) ** (n - k)


def binom_cdf(k, n, p):
    return sum((binom_pmf(j, n, p) for j in range(0, k + 1)), F(0))


def upper(k, n, p):
    """P(X >= k), X binomial(n, p)."""
    return sum((binom_pmf(j, n, p) for j in range(max(k, 0), n + 1)), F(0))


# ---------------------------------------------------------------- Noether
def noether(x, fuzz):
    pos = [i for i, v in enumerate(x) if v is not None]
    vals = [F(x[i]) for i in pos]
    fz = F(fuzz)

    def tied(a, b, c):
        return abs(a - b) <= fz or abs(c - b) <= fz

    def mono(a, b, c):
        return (a < b < c) or (a > b > c)

    triples = monotone = ties = 0
    j = 0
    m = len(vals)
    while j + 2 < m:
        a, b = j, j + 1
        c = j + 2
        while c < m and tied(vals[a], vals[b], vals[c]):
            ties += 1
            b = c
            c += 1
        if c >= m:
            break
        triples += 1
        monotone += mono(vals[a], vals[b], vals[c])
        j = c + 1
    third = F(1, 3)
    stat = [triples, monotone, monotone, monotone, 0, 0]
    if ties == 0:
        p = upper(monotone, triples, third)
        return [p, p, p], stat
    t2 = m // 3
    u = v = 0
    for q in range(t2):
        a, b, c = vals[3 * q: 3 * q + 3]
        if tied(a, b, c):
            u += 1
        elif mono(a, b, c):
            v += 1
    r0 = None if triples < 1 else upper(monotone, triples, third)
    stat = [triples, monotone, v, u + v, ties, u]
    return [r0, upper(v, t2, third), upper(u + v, t2, third)], stat


# ---------------------------------------------------------------- Cox and Stuart
def sign_probs(a, h):
    half = F(1, 2)
    b = h - a
    if a < b:
        return binom_cdf(a, h, half), upper(a, h, half)
    return upper(b, h, half), binom_cdf(b, h, half)


def one_sign_test(w, h, off, fz):
    up = tie = 0
    for i in range(h):
        d = w[i] - w[i + off]
        if abs(d) <= fz:
            tie += 1
        elif d < 0:
            up += 1
    down = h - up - tie
    p0, p1 = sign_probs(down, h)
    p2, p3 = sign_probs(h - up, h) if tie else (p0, p1)
    return [p0, p1, p2, p3], [up, down, tie, h]


def cox_stuart(x, fuzz, k, mode):
    fz = F(fuzz)
    w = [F(v) for v in x if v is not None]
    if k:
        ng = len(w) // k
        red = []
        for g in range(ng):
            if mode:
                grp = [F(v) for v in x[g * k: g * k + k]]
                mean = sum(grp) / k
                red.append(sum((v - mean) ** 2 for v in grp))
            else:
                grp = w[g * k: g * k + k]
                red.append(max(grp) - min(grp))
        w = red
    ng = len(w)
    h = ng // 2
    pa, sa = one_sign_test(w, h, h if ng % 2 == 0 else h + 1, fz)
    pb, sb = one_sign_test(w, (ng + 2) // 3, 2 * ng // 3, fz)
    return pa + pb, sa + sb


# ---------------------------------------------------------------- k-sample trends
def t_upper(t, d):
    t = mpmath.mpf(t)
    d = mpmath.mpf(d)
    if mpmath.isnan(t):
        return None
    x = d / (d + t * t)
    tail = mpmath.betainc(d / 2, mpmath.mpf(1) / 2, 0, x, regularized=True) / 2
    return tail if t > 0 else 1 - tail


def k_trends(groups):
    ni = [len(g) for g in groups]
    n = sum(ni)
    p = sum(ni[i] * ni[j] for i in range(len(ni)) for j in range(i + 1, len(ni)))
    a = sum((2 * m + 3) * m * m for m in ni)
    g = sum(m**3 * (6 * m * m + 15 * m + 10) for m in ni)
    up = ties = 0
    for i in range(len(groups)):
        for j in range(i + 1, len(groups)):
            for u in groups[i]:
                for v in groups[j]:
                    up += F(u) < F(v)
                    ties += F(u) == F(v)
    s_plain = 2 * up - p
    w = (2 * n + 3) * n * n - a
    var = F(w, 18)
    kurt = F(-144, 100) * F((6 * n * n + 15 * n + 10) * n**3 - g, w * w)
    d = -3 * (kurt + 2) / kurt
    el = {1: s_plain, 5: s_plain - 1, 6: var, 7: kurt, 8: n, 10: F(s_plain, p), 11: ties, 16: d}
    for idx, s in ((13, s_plain), (15, s_plain - 1)):
        den = (d + 1) * var - s * s
        t = mpmath.mpf(s.numerator) / s.denominator * mpmath.sqrt(mpmath.mpf(d.numerator) / d.denominator /
                                                                    (mpmath.mpf(den.numerator) / den.denominator))
        el[idx] = t
        el[idx - 10] = t_upper(t, mpmath.mpf(d.numerator) / d.denominator) if d >= 1 else 0
    if ties == 0:
        for src, dst in ((1, 0), (3, 2), (5, 4), (10, 9), (13, 12), (15, 14)):
            el[dst] = el[src]
    return ni, el


def main():
    out = sys.argv[1]
    rng = random.Random(2357)
    q = lambda lo, hi: round(rng.uniform(lo, hi) * 4) / 4
    lines = ["# Rank and sign tests written out from their definitions; see "
             "tools/gen_nonparametric_formulas.py for the fields.",
             "# Generated by: python3 tools/gen_nonparametric_formulas.py tests/data (mpmath %s)" % mpmath.__version__]

    noether_cases = [
        ("cycle", 0, [1, 3, 2, 4, 6, 5, 7, 8, 9, 3, 2, 1, 5, 4, 6, 7, 9, 8, 2, 4, 6, 1, 3, 5, 9, 8, 7]),
        ("ties", 0, [1, 1, 2, 3, 3, 3, 4, 2, 5, 6, 6, 7, 1, 2, 3, 9, 8, 8, 2, 5, 4, 4, 7, 8, 1]),
        ("fuzz", 0.5, [1, 1.25, 2, 3, 3.5, 4, 6, 5, 7, 2, 8.25, 8, 9, 4, 6, 1, 3, 2.75, 5, 6, 7.5]),
        ("missing", 0, [1, None, 3, 2, 4, None, None, 6, 5, 7, 8, 9, 3, None, 2, 1, 5, 4, 6, 7, 9, 8, 2, 4, 6, 1]),
        ("few", 0, [3, 1, 2, 5, 4, 6, 9, 8, 7]),
        ("all_tied", 0, [2, 2, 2, 2, 2, 2]),
        ("long", 0, [q(0, 20) for _ in range(150)]),
    ]
    for name, fuzz, x in noether_cases:
        r, s = noether(x, fuzz)
        lines.append(",".join(["noether", name, g17(fuzz), lst(x), g17(r[0]), g17(r[1]), g17(r[2]),
                               ";".join(str(v) for v in s)]))

    trend = [q(0, 5) + 0.25 * i for i in range(40)]
    spread = [q(-1, 1) * (1 + i // 10) for i in range(60)]
    cs_cases = [
        ("rising", 0, 0, 0, [1, 3, 2, 4, 6, 5, 7, 9, 8, 10, 12, 11, 13, 15, 14, 16, 17]),
        ("ties", 0, 0, 0, [5, 3, 4, 5, 2, 6, 5, 3, 4, 1, 6, 7, 2, 5, 8]),
        ("fuzz", 0.5, 0, 0, [2, 2.25, 4, 1, 3, 5, 6, 2.5, 4.5, 1.25, 3.25, 7, 6.25, 2]),
        ("missing", 0, 0, 0, [4, None, 2, 6, 3, 8, None, 5, 9, 7, 10, None, 1]),
        ("trend", 0, 0, 0, trend),
        ("ranges", 0, 5, 0, spread),
        ("squares", 0, 4, 1, spread),
        ("ranges_missing", 0, 3, 0, [1, 2, None, 4, 0.5, 3, 2, 6, 1.5, None, 5, 2, 7, 0, 4.5, 3, 8, 1]),
        ("two", 0, 0, 0, [3, 1, None]),
    ]
    for name, fuzz, k, mode, x in cs_cases:
        r, s = cox_stuart(x, fuzz, k, mode)
        lines.append(",".join(["coxstuart", name, g17(fuzz), str(k), str(mode), lst(x), lst(r),
                               ";".join(str(v) for v in s)]))

    kt_cases = [
        ("distinct", [[1.5, 2, 4.25], [3, 5.5, 6, 7.25], [4.5, 8, 9.75, 10, 11.5]]),
        ("ties", [[1, 2, 2, 3, 5], [2, 3, 4, 4, 6, 7], [3, 5, 6, 7, 8]]),
        ("four", [[q(0, 10) for _ in range(8)], [q(1, 11) for _ in range(10)], [q(2, 12) for _ in range(9)],
                  [q(3, 13) for _ in range(12)]]),
        ("decreasing", [[9, 10, 11.5], [5, 6.25, 8], [1, 2.5, 3.75, 4]]),
        ("small", [[1], [2], [3]]),
    ]
    for name, groups in kt_cases:
        ni, el = k_trends(groups)
        keys = sorted(el)
        y = [v for g in groups for v in g]
        lines.append(",".join(["ktrends", name, ";".join(map(str, ni)), lst(y), ";".join(map(str, keys)),
                               ";".join(g17(el[k]) for k in keys)]))
    with open(out + "/nonparametric_formulas.csv", "w") as f:
        f.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
