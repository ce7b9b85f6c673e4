#!/usr/bin/env python3
"""Oracle tables of the distributions that are integrals or mixtures of the normal and the
chi-squared: the bivariate normal, the non-central chi-squared and the non-central t, with
mpmath at 30 digits, for the tests under tests/special/ and the accuracy report.

    python3 tools/gen_mixture_oracle.py tests/data [table.csv ...]

writes, with inputs exactly representable in single precision except the rows after a
comment "# double range only":

  bivariate_normal.csv            x, y, rho, P(X <= x, Y <= y), its condition
  non_central_chi_sq.csv          x, df, delta, P(X <= x), its condition
  non_central_chi_sq_inverse.csv  p, df, delta, the quantile, its condition
  non_central_t.csv               t, df, delta, P(T <= t), its condition
  non_central_t_inverse.csv       p, df, delta, the quantile, its condition

The bivariate normal is the integral of phi(u) Phi((y - rho u)/sqrt(1 - rho^2)) over u <= x;
the non-central t the integral over the chi variable s of Phi(t s - delta) (or, for the
upper tail, Phi(delta - t s)) times its density; both integrands are log-concave, and the
quadrature is split around their maximum, found by bisection on the derivative of their
logarithm. The non-central chi-squared is the Poisson mixture of central ones, each tail
summed from the largest weight outwards until the terms fall below 1e-40 of the sum.
Conditions are as in gen_distribution_oracle.py: |x f(x)/F(x)| for a distribution function
(for the bivariate normal the sum over both arguments), |G/(x f(x))| for a quantile, G
the smaller tail. Grids reach values near 1e-30, 1e-100 and 1e-300, and large df.
"""
import math
from multiprocessing import Pool

import mpmath as mp

import gen_distribution_oracle
from gen_distribution_oracle import D, TAILS, in_float, log_root, main_for, num, root, rounded
from gen_erf_oracle import Lcg, f32, fmt

mp.mp.dps = 30
WORKERS = 6  # the non-central t rows are computed in parallel


def write_rows(path, what, columns, rows, double_rows=()):
    gen_distribution_oracle.write_rows(path, what, columns, rows, double_rows, "gen_mixture_oracle.py")


def log_concave_quad(log_f, slope, lo, hi):
    """The integral over [lo, hi] of e^log_f, log_f concave with derivative slope: split at
    its maximum and at widths of its curvature scale about it."""
    a, b = (lo if mp.isfinite(lo) else D(-1e6)), (hi if mp.isfinite(hi) else D(1e6))
    if a == 0:  # an end where log_f is singular: just inside it
        a = D(10) ** -40
    if slope(a) <= 0:
        m = a
    elif slope(b) >= 0:
        m = b
    else:
        for _ in range(200):
            mid = (a + b) / 2
            (a, b) = (mid, b) if slope(mid) > 0 else (a, mid)
        m = (a + b) / 2
    h = D(10) ** -12 * max(1, abs(m))
    curvature = (slope(m + h) - slope(m - h)) / (2 * h)
    w = 1 / mp.sqrt(max(-curvature, D(10) ** -20))
    points = [m + k * w for k in (-40, -20, -10, -5, -2, -1, 0, 1, 2, 5, 10, 20, 40)]
    points = [p for p in points if lo < p < hi]
    top = log_f(m)
    return mp.quad(lambda s: mp.exp(log_f(s) - top), [lo] + points + [hi]) * mp.exp(top)


def log_ncdf(z):
    if z < -1e4:  # far beyond any mass: the leading terms, which mpmath's erfc does not reach
        return -z * z / 2 - mp.log(-z * mp.sqrt(2 * mp.pi))
    return mp.log(mp.ncdf(z))


def mills(z):
    """phi(z)/Phi(z)."""
    if z < -1e4:
        return -z - 1 / z
    return mp.npdf(z) / mp.ncdf(z)


# ---------------------------------------------------------------------------------------
# The bivariate normal.


def bivariate(x, y, rho):
    """P(X <= x, Y <= y) = integral over u <= x of phi(u) Phi((y - rho u)/s)."""
    x, y, rho = D(x), D(y), D(rho)
    s = mp.sqrt((1 - rho) * (1 + rho))
    alpha, beta = -rho / s, y / s
    return log_concave_quad(lambda u: -u * u / 2 - mp.log(2 * mp.pi) / 2 + log_ncdf(alpha * u + beta),
                            lambda u: -u + alpha * mills(alpha * u + beta), mp.ninf, x)


def bivariate_condition(x, y, rho, value):
    x, y, rho = D(x), D(y), D(rho)
    s = mp.sqrt((1 - rho) * (1 + rho))
    dx = abs(x) * mp.npdf(x) * mp.ncdf((y - rho * x) / s)
    dy = abs(y) * mp.npdf(y) * mp.ncdf((x - rho * y) / s)
    return (dx + dy) / value


def write_bivariate_normal(path):
    triples = set()
    for x in [-6, -3, -1.5, -0.2, 0, 0.7, 2.5, 6]:
        for y in [-4, -0.5, 0, 0.4, 1.8, 5]:
            for rho in [-0.999, -0.95, -0.6, -0.1, 0, 0.3, 0.8, 0.95, 0.999]:
                triples.add((f32(x), f32(y), f32(rho)))
    rng = Lcg(59)
    for _ in range(150):
        triples.add((f32(8 * rng.uniform() - 4), f32(8 * rng.uniform() - 4), f32(1.98 * rng.uniform() - 0.99)))
    # The far lower tails, on the diagonal and off it: the z with P(z, c z) near each target.
    for rho in [-0.95, -0.5, 0, 0.5, 0.95]:
        for c in [1, 0.5]:
            for target in TAILS:
                z = log_root(lambda s: bivariate(-s, -c * s, rho), target, D(5), False)
                triples.add((f32(-z), f32(-c * z), f32(rho)))
    triples.add((f32(-1.5), f32(0), f32(-0.95)))
    rows = []
    for x, y, rho in sorted(triples):
        value = bivariate(x, y, rho)
        rows.append([fmt(x), fmt(y), fmt(rho), num(value), num(bivariate_condition(x, y, rho, value))])
    write_rows(path, "x, y, rho, the standard bivariate normal P(X <= x, Y <= y), and its condition "
               "(|x dF/dx| + |y dF/dy|)/F", ["x", "y", "rho", "cdf", "condition"], rows)


# ---------------------------------------------------------------------------------------
# The non-central chi-squared.


def non_central_chi_sq(x, df, delta, upper=False):
    """The lower (or upper) tail and the density at x: the Poisson mixture, from the largest
    weight outwards until the terms fall below 1e-40 of the sum."""
    x, df, delta = D(x), D(df), D(delta)
    lam, y, a = delta / 2, x / 2, df / 2

    def term(j):
        w = mp.exp(j * mp.log(lam) - lam - mp.loggamma(j + 1))
        tail = mp.gammainc(a + j, y, mp.inf, regularized=True) if upper else \
            mp.gammainc(a + j, 0, y, regularized=True)
        density = mp.exp((a + j - 1) * mp.log(y) - y - mp.loggamma(a + j)) / 2
        return w * tail, w * density

    m = int(lam)
    total, dens = term(m)
    for direction in (1, -1):
        j = m + direction
        while j >= 0:
            t, d = term(j)
            total, dens = total + t, dens + d
            if t < total * D("1e-40") and d < dens * D("1e-40") and abs(j - m) > 3 * mp.sqrt(lam) + 5:
                break
            j += direction
    return total, dens


def write_non_central_chi_sq(path):
    pairs = []
    for df in [0.5, 2, 7, 50, 300]:
        for delta in [1e-11, 2e-9, 0.3, 3, 20, 150, 1500]:
            mean, sd = df + delta, math.sqrt(2 * (df + 2 * delta))
            xs = set(f32(max(1e-3, mean + k * sd)) for k in (-3, -1.5, -0.5, 0, 0.7, 2, 4)) | {f32(0.01)}
            pairs.extend((x, f32(df), f32(delta)) for x in xs)
    for df, delta in [(2, 3), (7, 150), (50, 20), (0.5, 1500), (1000, 1000)]:
        for target in TAILS:
            x = log_root(lambda u: non_central_chi_sq(u, f32(df), f32(delta))[0], target, D(df), True)
            pairs.append((rounded(x), f32(df), f32(delta)))
    rows, double_rows = [], []
    for x, df, delta in sorted(set(pairs)):
        value, density = non_central_chi_sq(x, df, delta)
        row = [fmt(x), fmt(df), fmt(delta), num(value), num(abs(D(x) * density / value))]
        (rows if in_float(x) else double_rows).append(row)
    write_rows(path, "x, df, delta, the non-central chi-squared P(X <= x), and its condition |x f(x)/F(x)|",
               ["x", "df", "delta", "cdf", "condition"], rows, double_rows)


def write_non_central_chi_sq_inverse(path):
    cases = []
    for df in [0.5, 3, 40]:
        for delta in [0.5, 8, 120]:
            cases.extend((f32(p), f32(df), f32(delta)) for p in [1e-30, 1e-6, 0.05, 0.5, 0.9, 0.9999])
    cases.extend((p, f32(7), f32(20)) for p in [1e-100, 1 - 1e-15])
    rows, double_rows = [], []
    for p, df, delta in sorted(cases):
        lower = p <= 0.5
        small = D(p) if lower else 1 - D(p)
        x = log_root(lambda u: non_central_chi_sq(u, df, delta, not lower)[0], small, D(df + delta), lower)
        density = non_central_chi_sq(x, df, delta)[1]
        row = [fmt(p), fmt(df), fmt(delta), num(x), num(abs(small / (x * density)))]
        (rows if in_float(p) else double_rows).append(row)
    write_rows(path, "p, df, delta, the non-central chi-squared quantile, and its condition |G/(x f(x))|, "
               "G the smaller tail", ["p", "df", "delta", "quantile", "condition"], rows, double_rows)


# ---------------------------------------------------------------------------------------
# The non-central t.


def non_central_t(t, df, delta, upper=False, density=False):
    """P(T <= t) (P(T > t) when upper) as the integral over the chi variable s of
    Phi(t s - delta) g(s), g(s) = 2 (df/2)^(df/2) s^(df-1) e^(-df s^2/2)/gamma(df/2); or the
    density, the integral of s phi(t s - delta) g(s)."""
    if df > 10000:  # ln g's terms grow with df and cancel: more digits
        with mp.workdps(mp.mp.dps + 15):
            return +_nct(t, df, delta, upper, density)
    return _nct(t, df, delta, upper, density)


def _nct(t, df, delta, upper, density):
    t, df, delta = D(t), D(df), D(delta)
    if upper:
        t, delta = -t, -delta
    log_c = mp.log(2) + (df / 2) * mp.log(df / 2) - mp.loggamma(df / 2)

    def log_g(s):
        return log_c + (df - 1) * mp.log(s) - df * s * s / 2

    if density:
        log_f = lambda s: log_g(s) + mp.log(s) + mp.log(mp.npdf(t * s - delta))
        slope = lambda s: df / s - df * s - t * (t * s - delta)
    else:
        log_f = lambda s: log_g(s) + log_ncdf(t * s - delta)
        slope = lambda s: (df - 1) / s - df * s + t * mills(t * s - delta)
    # In v = c s, c = max(1, |t|): where |t| is large and df small the mass crowds towards
    # s = 0 on a scale of 1/|t|, which v brings to a scale of 1 for the quadrature.
    c = max(D(1), abs(t))
    return log_concave_quad(lambda v: log_f(v / c) - mp.log(c), lambda v: slope(v / c) / c, D(0), mp.inf)


def nct_tail_point(case):
    """The t < 0 whose lower tail is the target."""
    df, delta, target = case
    s = log_root(lambda u: non_central_t(-u, df, delta), target, D(5), False)
    return (rounded(-s), df, f32(delta))


def nct_cases():
    triples = set()
    for df in [1, 2, 3, 10, 31, 200, 1000, 1000000]:
        for delta in [-2, 0, 3, 8]:
            for t in [-30, -6, -1, 0, 0.5, 2, 7, 30]:
                triples.add((f32(t), df, f32(delta)))
    for df in [1, 10, 1000000, 2147483647]:
        triples.add((f32(0.5), df, f32(1)))
    tails = [(df, delta, target) for df, delta in [(1, 0), (4, 2), (10, -2), (200, 3), (1000000, 1)]
             for target in TAILS]
    with Pool(WORKERS) as pool:
        triples.update(pool.map(nct_tail_point, tails))
    return sorted(triples)


def nct_row(case):
    t, df, delta = case
    lower = non_central_t(t, df, delta)
    value = lower if lower < D(1) / 2 else 1 - non_central_t(t, df, delta, upper=True)
    condition = abs(D(t) * non_central_t(t, df, delta, density=True) / value)
    return [fmt(t), str(df), fmt(delta), num(value), num(condition)], in_float(t)


def write_non_central_t(path):
    with Pool(WORKERS) as pool:
        done = pool.map(nct_row, nct_cases())
    write_rows(path, "t, df, delta, the non-central t P(T <= t) by quadrature, and its condition |t f(t)/F(t)|",
               ["t", "df", "delta", "cdf", "condition"], [r for r, single in done if single],
               [r for r, single in done if not single])


def nct_quantile(p, df, delta):
    """The t with P(T <= t) = p: a root of the log of the smaller tail less its target."""
    lower = D(p) <= D(1) / 2
    small = D(p) if lower else 1 - D(p)
    lt = mp.log(small)
    h = lambda t: mp.log(non_central_t(t, df, delta, upper=not lower)) - lt
    a = D(delta) + mp.sqrt(2) * mp.erfinv(2 * D(p) - 1) if 1e-20 < p < 1 - 1e-20 else D(delta)
    # In v = asinh(t), where a tail falling as a power of |t| is nearly straight.
    g = lambda v: h(mp.sinh(v))
    v0 = mp.asinh(a)
    return mp.sinh(root(g, v0, D(1) if (g(v0) < 0) == lower else D(-1)))


def nct_quantile_row(case):
    p32, df, d32 = case
    q = D(0) if d32 == 0 and p32 == 0.5 else nct_quantile(p32, df, d32)
    small = min(D(p32), 1 - D(p32))
    condition = abs(small / (q * non_central_t(q, df, d32, density=True))) if q != 0 else D(0)
    return [fmt(p32), str(df), fmt(d32), num(q), num(condition)]


def write_non_central_t_inverse(path):
    cases = [(f32(p), df, f32(delta)) for df in [1, 2, 5, 20, 1000000] for delta in [-1.5, 0, 2, 6]
             for p in [1e-30, 1e-6, 0.05, 0.5, 0.95, 0.999]]
    with Pool(WORKERS) as pool:
        rows = pool.map(nct_quantile_row, cases)
    write_rows(path, "p, df, delta, the non-central t quantile, and its condition |G/(t f(t))|, G the smaller tail",
               ["p", "df", "delta", "quantile", "condition"], rows)


TABLES = {
    "bivariate_normal.csv": write_bivariate_normal,
    "non_central_chi_sq.csv": write_non_central_chi_sq,
    "non_central_chi_sq_inverse.csv": write_non_central_chi_sq_inverse,
    "non_central_t.csv": write_non_central_t,
    "non_central_t_inverse.csv": write_non_central_t_inverse,
}


if __name__ == "__main__":
    main_for(TABLES)
