#!/usr/bin/env python3
"""Oracle tables of the central distribution functions and their inverses, with mpmath (50
digits) and exact rational arithmetic, for the tests under tests/special/ and the accuracy
report.

    python3 tools/gen_distribution_oracle.py tests/data [table.csv ...]

writes, with inputs exactly representable in single precision so that one table serves
both twins, except the rows after a comment "# double range only":

  t_cdf.csv                  t, df, P(T <= t), its condition
  t_inverse.csv              p, df, the quantile, its condition
  chi_squared_cdf.csv        x, df, P(X <= x), its condition
  chi_squared_inverse.csv    p, df, the quantile, its condition
  f_cdf.csv, f_inverse.csv   f (or p), df_num, df_den, the distribution function (or quantile),
                             its condition
  beta_incomplete.csv        x, a, b, I_x(a, b), its condition
  beta_inverse.csv           p, a, b, the quantile x, 1 - x, its condition
  binomial_cdf.csv           k, n, p, P(X <= k), P(X = k), at 60 digits
  poisson_cdf.csv            k, theta, P(X <= k)
  hypergeometric_cdf.csv     k, sample, defectives, lot, P(X <= k), exact

The condition of a distribution function F at x is |x f(x)/F(x)|, the relative change of
F for a relative change of x: a value computed from x rounded to a unit has that many units
of error however it is computed. The condition of a quantile x of p is |G/(x f(x))|, G the
smaller of p and 1 - p: the relative change of x for a relative change of that tail. Grids
reach the tails (values near 1e-30, 1e-100 and 1e-300, quantiles of such p and of p within
1e-15 of 1) and large and fractional parameters. Values carry 25 digits.
"""
import math
import os
import sys
from fractions import Fraction

import mpmath as mp

import gen_erf_oracle
from gen_erf_oracle import Lcg, f32, fmt, val

mp.mp.dps = 50
D = mp.mpf
FLT_MIN, FLT_MAX = 2.0 ** -126, (2 - 2.0 ** -23) * 2.0 ** 127
TAILS = [1e-30, 1e-100, 1e-300]


def write_rows(path, what, columns, rows, double_rows=(), script="gen_distribution_oracle.py"):
    """Rows of strings; double_rows after the comment that marks inputs beyond single precision."""
    with open(path, "w") as out:
        gen_erf_oracle.header(out, what, columns, script)
        for row in rows:
            out.write(",".join(row) + "\n")
        if double_rows:
            out.write("# double range only\n")
            for row in double_rows:
                out.write(",".join(row) + "\n")


def num(v):
    """A value for a table: nan, an integer, or 25 digits."""
    if v is None:
        return "nan"
    if isinstance(v, int):
        return str(v)
    return val(v)


def in_float(*xs):
    """Whether every input is a single-precision number (0, or a normal one)."""
    return all(x == 0 or (FLT_MIN <= abs(x) <= FLT_MAX and f32(x) == x) for x in xs)


def rounded(x):
    """x as an input: the single-precision number where there is one, else the double."""
    return f32(x) if FLT_MIN <= abs(x) <= FLT_MAX else float(x)


def root(h, v0, step):
    """A zero of a monotone h: a bracket by steps doubling from v0 (the first of size step,
    towards the zero), then regula falsi with the Illinois weights."""
    h0 = h(v0)
    v1, h1 = v0 + step, h(v0 + step)
    while (h1 < 0) == (h0 < 0):
        v0, h0 = v1, h1
        step *= 2
        v1, h1 = v0 + step, h(v0 + step)
    side = 0
    for _ in range(500):
        v = v1 - h1 * (v1 - v0) / (h1 - h0)
        hv = h(v)
        if abs(hv) < D(10) ** (5 - mp.mp.dps) or abs(v1 - v0) < D(10) ** (5 - mp.mp.dps) * (1 + abs(v)):
            return v
        if (hv < 0) == (h1 < 0):
            v1, h1 = v, hv
            if side == 1:
                h0 /= 2
            side = 1
        else:
            v0, h0 = v, hv
            if side == -1:
                h1 /= 2
            side = -1
    raise RuntimeError("no root")


def log_root(g, target, u0, rising):
    """The u > 0 with g(u) = target for a monotone g > 0: root of ln g(e^v) - ln target in
    v = ln u."""
    lt = mp.log(target)

    def h(v):
        value = g(mp.exp(v))
        return mp.log(value) - lt if value > 0 else D(-10) ** 9

    v0 = mp.log(u0)
    return mp.exp(root(h, v0, D(1) if (h(v0) < 0) == rising else D(-1)))


def main_for(tables):
    """Writes the tables named on the command line (all by default) into its directory."""
    directory = sys.argv[1] if len(sys.argv) > 1 else "tests/data"
    only = sys.argv[2:]
    os.makedirs(directory, exist_ok=True)
    for name, write in tables.items():
        if not only or name in only:
            write(os.path.join(directory, name))


# ---------------------------------------------------------------------------------------
# The incomplete beta and gamma functions.


def _beta_fraction(a, b, x, y):
    """I_x(a, b) by its continued fraction (Abramowitz and Stegun 26.5.8), modified Lentz,
    in working precision; for x below (a + 1)/(a + b + 2), y = 1 - x."""
    tiny = mp.mpf(10) ** (-3 * mp.mp.dps)
    eps = mp.mpf(10) ** (5 - mp.mp.dps)
    c, d = mp.mpf(1), 1 - (a + b) * x / (a + 1)
    d = 1 / (d if abs(d) >= tiny else tiny)
    h = d
    m = 1
    while True:
        for num_ in (m * (b - m) * x / ((a + 2 * m - 1) * (a + 2 * m)),
                     -(a + m) * (a + b + m) * x / ((a + 2 * m) * (a + 2 * m + 1))):
            d = 1 + num_ * d
            c = 1 + num_ / c
            d = 1 / (d if abs(d) >= tiny else tiny)
            c = c if abs(c) >= tiny else tiny
            h *= d * c
        if abs(d * c - 1) < eps:
            break
        m += 1
    return beta_front(a, b, x, y) / a * h


def log_beta(a, b):
    return mp.loggamma(a) + mp.loggamma(b) - mp.loggamma(a + b)


def beta_front(a, b, x, y=None):
    """x^a (1 - x)^b / B(a, b)."""
    y = 1 - x if y is None else y
    return mp.exp(a * mp.log(x) + b * mp.log(y) - log_beta(a, b))


def beta_inc(a, b, x, y=None):
    """The regularised incomplete beta function, and its complement; y = 1 - x where the
    caller holds it apart."""
    a, b, x = D(a), D(b), D(x)
    y = 1 - x if y is None else D(y)
    if x <= 0:
        return D(0), D(1)
    if y <= 0:
        return D(1), D(0)
    if x < (a + 1) / (a + b + 2):
        v = _beta_fraction(a, b, x, y)
        return v, 1 - v
    c = _beta_fraction(b, a, y, x)
    return 1 - c, c


def beta_quantile(a, b, p):
    """x and 1 - x with I_x(a, b) = p, solved on the smaller tail in x or in 1 - x."""
    a, b, p = D(a), D(b), D(p)
    lower = p <= beta_inc(a, b, D(1) / 2)[0]
    if lower:
        u = log_root(lambda u: beta_inc(a, b, u)[0], p, D(a) / (a + b) / 2, True)
        return u, 1 - u
    u = log_root(lambda u: beta_inc(b, a, u)[0], 1 - p, D(b) / (a + b) / 2, True)
    return 1 - u, u


def gamma_tails(a, x):
    """P(a, x) and Q(a, x); where mpmath's own does not converge, Legendre's continued
    fraction for Q, or the series for P, at working precision."""
    a, x = D(a), D(x)
    if x <= 0:
        return D(0), D(1)
    try:
        return mp.gammainc(a, 0, x, regularized=True), mp.gammainc(a, x, mp.inf, regularized=True)
    except mp.libmp.NoConvergence:
        front = mp.exp(a * mp.log(x) - x - mp.loggamma(a))
        if x > a:
            f = mp.mpf(0)
            for i in range(4000, 0, -1):  # the fraction from the back, far beyond convergence
                f = -i * (i - a) / (x + 2 * i + 1 - a + f)
            q = front / (x + 1 - a + f)
            return 1 - q, q
        p = front / a * mp.hyp1f1(1, a + 1, x, maxterms=10 ** 7)
        return p, 1 - p


# ---------------------------------------------------------------------------------------
# Tables of a continuous distribution: its function, quantile and their conditions.


class Continuous:
    """A distribution by its two tails at x, its density, and the start of its quantile
    search; quantile(p) is the x with lower(x) = p, solved on the smaller tail."""

    def __init__(self, tails, density, start, positive=True):
        self.tails, self.density, self.start, self.positive = tails, density, start, positive

    def quantile(self, p):
        p = D(p)
        small, lower = (p, True) if p <= D(1) / 2 else (1 - p, False)
        if self.positive:
            return log_root(lambda x: self.tails(x)[0 if lower else 1], small, self.start(p), lower)
        # Symmetric about 0 (t): the lower tail at -s falls with s.
        if p == D(1) / 2:
            return D(0)
        s = log_root(lambda s: self.tails(-s)[0], small, self.start(p), False)
        return -s if lower else s

    def cdf_row(self, x):
        lower, _ = self.tails(x)
        condition = abs(x * self.density(x) / lower) if lower > 0 else D(0)
        return [num(lower), num(condition)]

    def quantile_row(self, p):
        x = self.quantile(p)
        small = min(D(p), 1 - D(p))
        condition = abs(small / (x * self.density(x))) if x != 0 else D(0)
        return x, [num(x), num(condition)]


def t_dist(df):
    df = D(df)

    def tails(t):
        t = D(t)
        if mp.isinf(t):
            return (D(1), D(0)) if t > 0 else (D(0), D(1))
        q, _ = beta_inc(df / 2, D(1) / 2, df / (df + t * t))  # P(|T| > |t|)
        return (q / 2, 1 - q / 2) if t <= 0 else (1 - q / 2, q / 2)

    def density(t):
        t = D(t)
        return mp.exp(mp.loggamma((df + 1) / 2) - mp.loggamma(df / 2) - mp.log(df * mp.pi) / 2 -
                      (df + 1) / 2 * mp.log1p(t * t / df))

    return Continuous(tails, density, lambda p: 1 + mp.sqrt(-2 * mp.log(min(D(p), 1 - D(p)))), positive=False)


def chi_squared(df):
    df = D(df)
    tails = lambda x: gamma_tails(df / 2, D(x) / 2)
    density = lambda x: mp.exp((df / 2 - 1) * mp.log(D(x) / 2) - D(x) / 2 - mp.loggamma(df / 2)) / 2
    return Continuous(tails, density, lambda p: df)


def f_dist(m, n):
    m, n = D(m), D(n)

    def tails(f):
        f = D(f)
        return beta_inc(m / 2, n / 2, m * f / (m * f + n), n / (m * f + n))

    def density(f):
        f = D(f)
        return mp.exp((m / 2) * mp.log(m * f) + (n / 2) * mp.log(n) - (m + n) / 2 * mp.log(m * f + n) -
                      log_beta(m / 2, n / 2)) / f

    return Continuous(tails, density, lambda p: D(1))


def beta_dist(a, b):
    a, b = D(a), D(b)
    density = lambda x: mp.exp((a - 1) * mp.log(D(x)) + (b - 1) * mp.log1p(-D(x)) - log_beta(a, b))
    dist = Continuous(lambda x: beta_inc(a, b, x), density, lambda p: a / (a + b))

    def quantile_row(p):
        # Solved in 1 - x above the median, which may lie closer to 1 than the digits carry.
        x, y = beta_quantile(a, b, p)
        small = min(D(p), 1 - D(p))
        f = mp.exp((a - 1) * mp.log(x) + (b - 1) * mp.log(y) - log_beta(a, b))
        return x, [num(x), num(y), num(abs(small / (x * f)))]

    dist.quantile_row = quantile_row
    return dist


def tail_points(dist, targets=TAILS):
    """The inputs where the lower tail is near each target, rounded as table inputs (none
    where the point itself lies below the smallest double)."""
    points = [rounded(dist.quantile(t)) for t in targets]
    return [x for x in points if x != 0]


def write_cdf_table(path, what, names, cases):
    """cases: (inputs, distribution, x) with x the point; float rows and double rows apart."""
    rows, double_rows = [], []
    for inputs, dist, x in sorted(cases, key=lambda c: c[0]):
        row = [fmt(v) for v in inputs] + dist.cdf_row(x)
        (rows if in_float(*inputs) else double_rows).append(row)
    write_rows(path, what + ", and its condition |x f(x)/F(x)|", names + ["cdf", "condition"], rows, double_rows)


def write_quantile_table(path, what, names, cases, complement=False):
    rows, double_rows = [], []
    for inputs, dist in sorted(cases, key=lambda c: c[0]):
        try:
            _, cells = dist.quantile_row(inputs[0])
        except RuntimeError:
            sys.exit("%s: no quantile at %s" % (path, inputs))
        row = [fmt(v) for v in inputs] + cells
        (rows if in_float(*inputs) else double_rows).append(row)
    columns = names + (["quantile", "complement", "condition"] if complement else ["quantile", "condition"])
    write_rows(path, what + ", and its condition |G/(x f(x))|, G the smaller tail", columns, rows, double_rows)


# Inverses also at p beyond single precision.
DOUBLE_PS = [1e-100, 1e-300, 1 - 1e-15]


def write_t_cdf(path):
    dfs = [1, 1.5, 2, 2.5, 3, 3.75, 4, 5, 6, 7, 10, 15, 19, 20, 21, 30, 47.5, 64, 65.5, 150, 200, 201, 500, 1e3,
           1e4, 1e6]
    ts = [-60, -20, -8, -5, -3.5, -2.1, -1.99, -1.2, -0.6, -0.1, 0, 0.05, 0.4, 1, 1.5, 1.999, 2.001,
          2.7, 4, 7, 11, 30, 100]
    pairs = set((f32(t), f32(df)) for t in ts for df in dfs)
    for n in range(5, 20):  # Hill's tail series: integer df below 20, 4 <= t^2 < df
        for f in (0.02, 0.3, 0.7, 0.97):
            t = f32(math.sqrt(4 + f * (n - 4)))
            pairs.update([(t, float(n)), (-t, float(n))])
    rng = Lcg(31)
    for _ in range(300):
        df = f32(1 + 40 * rng.uniform() ** 2)
        if rng.uniform() < 0.5:
            df = float(int(df))
        pairs.add((f32(rng.uniform() * 16 - 8), df))
    for df in [1, 2.5, 7, 30, 65.5, 1e3, 1e6]:
        pairs.update((t, f32(df)) for t in tail_points(t_dist(f32(df))))
    cases = [((t, df), t_dist(df), D(t)) for t, df in pairs]
    write_cdf_table(path, "t, df, P(T <= t)", ["t", "df"], cases)


def write_t_inverse(path):
    dfs = [1, 1.25, 1.5, 1.9, 2, 2.5, 3, 4, 4.75, 5, 7, 10, 20, 33.5, 65.5, 100, 1e3, 1e6]
    ps = [1e-30, 1e-20, 1e-9, 1e-5, 0.001, 0.025, 0.1, 0.3, 0.45, 0.55, 0.7, 0.9, 0.975, 0.999, 0.9999]
    pairs = set((f32(p), f32(df)) for p in ps for df in dfs)
    pairs.update((p, f32(df)) for p in DOUBLE_PS for df in [1, 1.5, 2.5, 10, 1e3, 1e6])
    rng = Lcg(37)
    for _ in range(120):
        pairs.add((f32(rng.uniform()), f32(1 + 30 * rng.uniform() ** 2)))
    cases = [((p, df), t_dist(df)) for p, df in pairs if 0 < p < 1]
    write_quantile_table(path, "p, df, the t quantile", ["p", "df"], cases)


def write_chi_squared_cdf(path):
    dfs = [0.5, 1, 2, 2.5, 5, 9, 17, 25, 26, 40, 52, 65, 65.5, 66, 80, 150, 1000, 1e5, 1e6]
    xs = [1e-13, 1e-6, 0.01, 0.3, 1, 1.9, 2.1, 4, 8, 15, 25.9, 26.1, 35, 50, 70, 100, 150, 199, 201, 260,
          900, 1.1e3, 9e4, 1.2e5]
    pairs = set((f32(x), f32(df)) for x in xs for df in dfs)
    rng = Lcg(41)
    for _ in range(400):
        df = f32(0.5 + 64.5 * rng.uniform())
        pairs.add((f32(df * (0.05 + 3 * rng.uniform())), df))
    for _ in range(150):
        df = f32(66 + 2000 * rng.uniform() ** 2)
        pairs.add((f32(df * (0.3 + 1.4 * rng.uniform())), df))
    for df in [0.5, 1e6]:
        pairs.update((f32(df * f), f32(df)) for f in (0.99, 0.999, 1, 1.001, 1.01))
    for df in [0.5, 2.5, 10, 65.5, 1e3, 1e6]:
        pairs.update((x, f32(df)) for x in tail_points(chi_squared(f32(df))))
    cases = [((x, df), chi_squared(df), D(x)) for x, df in pairs]
    write_cdf_table(path, "x, df, P(X <= x)", ["x", "df"], cases)


def write_chi_squared_inverse(path):
    dfs = [0.5, 1, 2, 2.5, 3.5, 10, 40, 65, 65.5, 66, 200, 1e3, 5000, 1e6]
    ps = [1e-30, 1e-10, 1e-4, 0.01, 0.1, 0.5, 0.9, 0.99, 0.9999]
    pairs = set((f32(p), f32(df)) for p in ps for df in dfs)
    pairs.update((p, f32(df)) for p in DOUBLE_PS for df in [0.5, 2.5, 10, 65.5, 1e3, 1e6])
    cases = [((p, df), chi_squared(df)) for p, df in pairs]
    write_quantile_table(path, "p, df, the chi-squared quantile", ["p", "df"], cases)


FS = [1e-6, 0.01, 0.2, 0.6, 1, 1.7, 3, 8, 40, 1e3]
DFS_F = [0.1, 0.5, 1, 2.5, 4, 9, 30, 120, 1e4]


def write_f_cdf(path):
    cases = []
    for m in DFS_F:
        for n in DFS_F:
            dist = f_dist(f32(m), f32(n))
            for f in FS:
                cases.append(((f32(f), f32(m), f32(n)), dist, D(f32(f))))
    for m, n in [(0.1, 0.1), (2.5, 9), (30, 1e4), (1e4, 0.5), (1e4, 1e4)]:
        dist = f_dist(f32(m), f32(n))
        cases.extend(((f, f32(m), f32(n)), dist, D(f)) for f in tail_points(dist))
    write_cdf_table(path, "f, df_num, df_den, P(F <= f)", ["f", "df_num", "df_den"], cases)


def write_f_inverse(path):
    ps = [1e-30, 1e-12, 0.001, 0.05, 0.3, 0.5, 0.8, 0.95, 0.999]
    cases = []
    for m in DFS_F:
        for n in DFS_F:
            dist = f_dist(f32(m), f32(n))
            cases.extend(((f32(p), f32(m), f32(n)), dist) for p in ps)
    for m, n in [(0.5, 2.5), (4, 30), (120, 1e4)]:
        dist = f_dist(f32(m), f32(n))
        cases.extend(((p, f32(m), f32(n)), dist) for p in DOUBLE_PS)
    write_quantile_table(path, "p, df_num, df_den, the F quantile", ["p", "df_num", "df_den"], cases)


SHAPES = [0.01, 0.1, 0.2, 0.5, 0.9, 1, 2, 3.5, 10, 45, 300, 5e3, 1e4]


def write_beta_incomplete(path):
    xs = [1e-30, 1e-8, 0.001, 0.05, 0.19, 0.21, 0.35, 0.5, 0.65, 0.79, 0.81, 0.95, 0.999, 0.9999999]
    triples = set((f32(x), f32(a), f32(b)) for x in xs for a in SHAPES for b in SHAPES)
    rng = Lcg(43)
    for _ in range(300):
        a, b = f32(10 ** (4 * rng.uniform() - 1.5)), f32(10 ** (4 * rng.uniform() - 1.5))
        triples.add((f32(rng.uniform()), a, b))
    # Second parameters beyond what a finite sum of 100000 terms reaches.
    for x, a, b in [(0.1, 0.5, 2e6), (1e-6, 0.5, 2e6), (0.3, 200, 1e6), (0.19, 2.5, 3e6), (0.05, 0.9, 5e5),
                    (2e-6, 3, 2e6), (0.15, 1e5, 8e5)]:
        triples.add((f32(x), f32(a), f32(b)))
    for a, b in [(0.1, 0.1), (0.5, 1e4), (2, 3.5), (45, 0.2), (300, 10), (1e4, 1e4), (5e3, 0.9)]:
        triples.update((x, f32(a), f32(b)) for x in tail_points(beta_dist(f32(a), f32(b))))
    cases = [((x, a, b), beta_dist(a, b), D(x)) for x, a, b in triples if 0 < x < 1]
    write_cdf_table(path, "x, a, b, the regularised incomplete beta function I_x(a, b)", ["x", "a", "b"], cases)


def write_beta_inverse(path):
    ps = [1e-30, 1e-8, 0.001, 0.1, 0.35, 0.5, 0.77, 0.99, 0.9999999]
    cases = []
    for a in SHAPES:
        for b in SHAPES:
            dist = beta_dist(f32(a), f32(b))
            cases.extend(((f32(p), f32(a), f32(b)), dist) for p in ps)
    for a, b in [(0.1, 0.1), (0.5, 1e4), (2, 3.5), (300, 10), (1e4, 1e4)]:
        dist = beta_dist(f32(a), f32(b))
        cases.extend(((p, f32(a), f32(b)), dist) for p in DOUBLE_PS)

    write_quantile_table(path, "p, a, b, the beta quantile x with I_x(a, b) = p, 1 - x", ["p", "a", "b"], cases,
                         complement=True)


# ---------------------------------------------------------------------------------------
# The discrete distributions, exactly.


def exact(fraction):
    return mp.mpf(fraction.numerator) / fraction.denominator


def write_binomial_cdf(path):
    """Each probability C(n, i) p^i (1 - p)^(n - i) with p exact as a binary fraction and the
    arithmetic at 60 digits, far beyond what summing positive terms can lose; beside the grid
    of k, the k whose lower tail first reaches each of 1e-30, 1e-100 and 1e-300."""
    rows = []
    with mp.workdps(60):
        for n in [1, 2, 5, 12, 40, 100, 333, 1000, 5000]:
            for p in [1e-4, 0.01, 0.1, 0.3, 0.5, 0.62, 0.9, 0.999]:
                pm = D(f32(p))
                probs = [mp.binomial(n, i) * pm ** i * (1 - pm) ** (n - i) for i in range(n + 1)]
                cdf, total = [], D(0)
                for q in probs:
                    total += q
                    cdf.append(total)
                ks = set([0, 1, n // 10, n // 3, n // 2, int(n * p), int(n * p) + 1, (2 * n) // 3, n - 1, n])
                for target in TAILS:
                    ks.update(k for k in range(n + 1) if cdf[k] >= target and (k == 0 or cdf[k - 1] < target))
                for k in sorted(ks):
                    if 0 <= k <= n:
                        rows.append([str(k), str(n), fmt(f32(p)), num(cdf[k]), num(probs[k])])
        write_rows(path, "k, n, p, the binomial P(X <= k) and P(X = k), summed at 60 digits",
                   ["k", "n", "p", "cdf", "pmf"], rows)


def write_poisson_cdf(path):
    def cdf(k, theta):
        return gamma_tails(k + 1, theta)[1]

    rows = []
    for theta in [1e-6, 0.05, 0.7, 3, 12.5, 60, 250, 900, 4000, 1e5]:
        t32 = f32(theta)
        mean = D(t32)
        ks = set(max(0, int(theta * f)) for f in (0, 0.2, 0.5, 0.8, 0.95, 1, 1.05, 1.2, 1.5, 2, 3, 6))
        for target in TAILS:  # the smallest k with P(X <= k) >= target, by bisection
            if cdf(0, mean) >= target:
                continue
            lo, hi = 0, int(theta)
            while hi - lo > 1:
                mid = (lo + hi) // 2
                (lo, hi) = (lo, mid) if cdf(mid, mean) >= target else (mid, hi)
            ks.add(hi)
        for k in sorted(ks):
            rows.append([str(k), fmt(t32), num(cdf(k, mean))])
    rng = Lcg(47)
    for _ in range(150):
        theta = f32(10 ** (5 * rng.uniform() - 1))
        k = int(theta * (0.3 + 1.4 * rng.uniform()))
        rows.append([str(k), fmt(theta), num(cdf(k, D(theta)))])
    write_rows(path, "k, theta, the Poisson P(X <= k)", ["k", "theta", "cdf"], rows)


def write_hypergeometric_cdf(path):
    rows = []
    for lot, defectives, sample in [(10, 3, 4), (20, 19, 19), (50, 20, 10), (100, 60, 70), (1000, 30, 500),
                                    (2000, 1500, 1200), (5000, 2500, 2500), (10000, 40, 9000)]:
        total = math.comb(lot, sample)
        low, high = max(0, sample + defectives - lot), min(sample, defectives)
        cdf = Fraction(0)
        values = {}
        for x in range(low, high + 1):
            cdf += Fraction(math.comb(defectives, x) * math.comb(lot - defectives, sample - x), total)
            values[x] = cdf
        step = max(1, (high - low) // 12)
        for k in sorted(set(list(range(low, high, step)) + [low, high - 1, (low + high) // 2])):
            if low <= k < high:
                rows.append([str(k), str(sample), str(defectives), str(lot), num(exact(values[k]))])
    write_rows(path, "k, sample, defectives, lot, the hypergeometric P(X <= k), exact",
               ["k", "sample", "defectives", "lot", "cdf"], rows)


TABLES = {
    "t_cdf.csv": write_t_cdf,
    "t_inverse.csv": write_t_inverse,
    "chi_squared_cdf.csv": write_chi_squared_cdf,
    "chi_squared_inverse.csv": write_chi_squared_inverse,
    "f_cdf.csv": write_f_cdf,
    "f_inverse.csv": write_f_inverse,
    "beta_incomplete.csv": write_beta_incomplete,
    "beta_inverse.csv": write_beta_inverse,
    "binomial_cdf.csv": write_binomial_cdf,
    "poisson_cdf.csv": write_poisson_cdf,
    "hypergeometric_cdf.csv": write_hypergeometric_cdf,
}


if __name__ == "__main__":
    main_for(TABLES)
