#!/usr/bin/env python3
"""Oracle tables of the distribution functions and their inverses, with mpmath (50 digits
unless a table says otherwise) and exact rational arithmetic, for the tests under
tests/special/ and the accuracy report.

    python3 tools/gen_distribution_oracle.py tests/data

writes, with inputs exactly representable in single precision so that one table serves
both twins:

  t_cdf.csv                  t, df, P(T <= t), the value of the prescribed method, branch
  t_inverse.csv              p, df, the quantile, Hill's approximation as each twin forms it, branch
  chi_squared_cdf.csv        x, df, P(X <= x), the method with each twin's stopping tests, branch
  chi_squared_inverse.csv    p, df, the quantile
  f_cdf.csv, f_inverse.csv   f (or p), df_num, df_den, the distribution function (or quantile)
  beta_incomplete.csv        x, a, b, I_x(a, b)
  beta_inverse.csv           p, a, b, the quantile x and 1 - x
  binomial_cdf.csv           k, n, p, P(X <= k), P(X = k), at 60 digits
  poisson_cdf.csv            k, theta, P(X <= k)
  hypergeometric_cdf.csv     k, sample, defectives, lot, P(X <= k), exact
  owens_t.csv                h, a, T(h, a) by quadrature, the method (Owen's limit where h a >= 4)
  bivariate_normal.csv       x, y, rho, the distribution function by quadrature, the method
  non_central_chi_sq.csv     x, df, delta, the Poisson mixture summed to 1e-40 (30 digits)
  non_central_chi_sq_inverse.csv  p, df, delta, its quantile (30 digits)
  non_central_t.csv          t, df, delta, by quadrature over the chi distribution (30 digits)
  non_central_t_inverse.csv  p, df, delta, its quantile (30 digits)

"Method" columns evaluate, in exact arithmetic, the approximation a routine is prescribed
to make where it makes one (Hill's transformation and finite-constant series for t, the
Wilson-Hilferty normal form and the 50-term series for chi-squared, Owen's limit in T);
nan where a stopping test of the method is too close to call. Values carry 25 digits.
"""
import math
import os
import struct
import sys
from fractions import Fraction

import mpmath as mp

import gen_erf_oracle
from gen_erf_oracle import Lcg, f32, fmt, val

mp.mp.dps = 50
D = mp.mpf


def header(out, what, columns):
    gen_erf_oracle.header(out, what, columns, "gen_distribution_oracle.py")


def write_rows(path, what, columns, rows):
    with open(path, "w") as out:
        header(out, what, columns)
        for row in rows:
            out.write(",".join(row) + "\n")


def num(v):
    """A value for a table: nan, an integer, or 25 digits."""
    if v is None:
        return "nan"
    if isinstance(v, int):
        return str(v)
    return val(v)


# ---------------------------------------------------------------------------------------
# The incomplete beta function and its inverse.


def _beta_fraction(a, b, x):
    """I_x(a, b) by its continued fraction (Abramowitz and Stegun 26.5.8), modified Lentz,
    in working precision; for x below (a + 1)/(a + b + 2)."""
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
    front = mp.exp(a * mp.log(x) + b * mp.log1p(-x) - log_beta(a, b)) / a
    return front * h


def log_beta(a, b):
    return mp.loggamma(a) + mp.loggamma(b) - mp.loggamma(a + b)


def beta_inc(a, b, x):
    """The regularised incomplete beta function, and its complement."""
    a, b, x = D(a), D(b), D(x)
    if x <= 0:
        return D(0), D(1)
    if x >= 1:
        return D(1), D(0)
    if x < (a + 1) / (a + b + 2):
        v = _beta_fraction(a, b, x)
        return v, 1 - v
    c = _beta_fraction(b, a, 1 - x)
    return 1 - c, c


def beta_density(a, b, x):
    return mp.exp((a - 1) * mp.log(x) + (b - 1) * mp.log1p(-x) - log_beta(a, b))


def beta_quantile(a, b, p):
    """x and 1 - x with I_x(a, b) = p: bisection on ln x or ln(1 - x), whichever side of the
    median holds the quantile, then Newton's method."""
    a, b, p = D(a), D(b), D(p)
    half, _ = beta_inc(a, b, D(1) / 2)
    lower = p <= half
    # Solve I_u(alpha, beta) = target for u = x (lower) or u = 1 - x.
    alpha, beta_, target = (a, b, p) if lower else (b, a, 1 - p)
    lo, hi = mp.log(D(10) ** -400), mp.log(D(1) / 2)
    for _ in range(60):
        mid = (lo + hi) / 2
        if beta_inc(alpha, beta_, mp.exp(mid))[0] < target:
            lo = mid
        else:
            hi = mid
    u = mp.exp((lo + hi) / 2)
    for _ in range(100):
        step = (beta_inc(alpha, beta_, u)[0] - target) / beta_density(alpha, beta_, u)
        u_new = u - step
        if u_new <= 0:
            u_new = u / 2
        if abs(u_new - u) < abs(u) * mp.mpf(10) ** (8 - mp.mp.dps):
            u = u_new
            break
        u = u_new
    return (u, 1 - u) if lower else (1 - u, u)


# ---------------------------------------------------------------------------------------
# Student's t.


def t_cdf(t, df):
    t, df = D(t), D(df)
    if mp.isinf(t):
        return D(1) if t > 0 else D(0)
    x = df / (df + t * t)
    q = beta_inc(df / 2, D(1) / 2, x)[0]  # P(|T| > |t|)
    return q / 2 if t <= 0 else 1 - q / 2


TWO_OVER_PI_14 = D("0.63661977236758")
TWO_OVER_PI_SINGLE = D(f32(2 / math.pi))  # 0.6366197466850281
HALF_PI_SINGLE = D("1.570796012878418")


def t_branch(t, df):
    """0 beta, 1 cosine sum, 2 tail series, 3 Hill's normal transformation."""
    t2 = t * t
    if df <= t2:
        return 0
    if df == int(df) and (df < 20 or (df <= 200 and t2 < 4)):
        return 1 if t2 < 4 else 2
    return 3


def t_method(t, df):
    """P(T <= t) as the routine forms it in exact arithmetic: Hill's transformation where it
    applies, and the series with Hill's finite constants for 2/pi."""
    branch = t_branch(t, df)
    t, df = D(t), D(df)
    if branch == 0:
        return t_cdf(t, df)
    q_true = 2 * t_cdf(-abs(t), df)  # the two-tail probability
    if branch == 1:
        q = q_true if int(df) % 2 == 0 else 1 - (1 - q_true) * TWO_OVER_PI_14 / (2 / mp.pi)
    elif branch == 2:
        q = q_true if int(df) % 2 == 0 else q_true * TWO_OVER_PI_SINGLE / (2 / mp.pi)
    else:
        a = df - D(1) / 2
        b = 48 * a * a
        y = a * mp.log1p(t * t / df)
        y = mp.sqrt(y) * (((((-D("0.4") * y - D("3.3")) * y - 24) * y - D("85.5")) /
                           (D("0.8") * y * y + 100 + b) + y + 3) / b + 1)
        q = D(0) if y >= D("18.8125") else mp.erfc(y / mp.sqrt(2))
    return q / 2 if t <= 0 else 1 - q / 2


def write_t_cdf(path):
    dfs = [1, 1.5, 2, 2.5, 3, 3.75, 4, 5, 6, 7, 10, 15, 19, 20, 21, 30, 47.5, 64, 150, 200, 201, 500, 1e4]
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
    rows = []
    for t, df in sorted(pairs):
        rows.append([fmt(t), fmt(df), num(t_cdf(t, df)), num(t_method(t, df)), str(t_branch(t, df))])
    write_rows(path, "t, df, P(T <= t), the prescribed method's value, branch (0 incomplete beta, 1 Hill's "
               "cosine sum, 2 his tail series, 3 his normal transformation)",
               ["t", "df", "cdf", "method", "branch"], rows)


def t_quantile(p, df):
    p, df = D(p), D(df)
    if p == D(1) / 2:
        return D(0)
    q = 2 * min(p, 1 - p)
    x, xc = beta_quantile(df / 2, D(1) / 2, q)
    t = mp.sqrt(df * xc / x)
    return t if p > D(1) / 2 else -t


def hill_396(p, df, digits):
    """Hill's quantile with the library's normal quantile approximation of the twin with
    `digits` bits, all else exact; None where the routine does not use it."""
    p, df = D(p), D(df)
    q = 2 * min(p, 1 - p)
    if df == 1:
        x = mp.cot(q * HALF_PI_SINGLE)
    elif df == 2:
        x = mp.sqrt(2 / (q * (2 - q)) - 2)
    elif df < 2:
        return None
    else:
        a = 1 / (df - D(1) / 2)
        b = 48 / (a * a)
        c = ((20700 * a / b - 98) * a - 16) * a + D("96.36")
        d = ((D("94.5") / (b + c) - 3) / b + 1) * mp.sqrt(a * HALF_PI_SINGLE) * df
        x = d * q
        y = x ** (2 / df)
        if y > D("0.05") + a:
            half_q = q / 2
            # The twin hands 0.5 q to its normal quantile: exact in both.
            x = gen_erf_oracle.approximation(float(half_q), digits)
            y = x * x
            if df < 5:
                c += D("0.3") * (df - D("4.5")) * (x + D("0.6"))
            c = (((D("0.05") * d * x - 5) * x - 7) * x - 2) * x + b + c
            y = (((((D("0.4") * y + D("6.3")) * y + 36) * y + D("94.5")) / c - y - 3) / b + 1) * x
            y = a * y * y
            y = mp.exp(y) - 1 if y > D("0.002") else y * y / 2 + y
        else:
            y = ((1 / (((df + 6) / (df * y) - D("0.089") * d - D("0.822")) * (df + 2) * 3) +
                  D("0.5") / (df + 4)) * y - 1) * (df + 1) / (df + 2) + 1 / y
        x = mp.sqrt(df * y)
    return x if p > D(1) / 2 else -x


def write_t_inverse(path):
    dfs = [1, 1.25, 1.5, 1.9, 2, 2.5, 3, 4, 4.75, 5, 7, 10, 20, 33.5, 100, 1e3]
    ps = [1e-20, 1e-9, 1e-5, 0.001, 0.025, 0.1, 0.3, 0.45, 0.55, 0.7, 0.9, 0.975, 0.999, 0.9999]
    pairs = set((f32(p), f32(df)) for p in ps for df in dfs)
    rng = Lcg(37)
    for _ in range(120):
        pairs.add((f32(rng.uniform()), f32(1 + 30 * rng.uniform() ** 2)))
    rows = []
    for p, df in sorted(pairs):
        if not 0 < p < 1:
            continue
        branch = 0 if df == 1 else 1 if df == 2 else 2 if df < 2 else 3
        rows.append([fmt(p), fmt(df), num(t_quantile(p, df)), num(hill_396(p, df, 53)),
                     num(hill_396(p, df, 24)), str(branch)])
    write_rows(path, "p, df, the t quantile, Hill's approximation as the double and the float twin form it "
               "(nan where the routine inverts the incomplete beta function), branch (0 df = 1, 1 df = 2, "
               "2 the beta quantile for 1 < df < 2, 3 Hill's expansion)",
               ["p", "df", "quantile", "hill_double", "hill_float", "branch"], rows)


# ---------------------------------------------------------------------------------------
# Chi-squared.


def chi_squared_cdf(x, df):
    x, df = D(x), D(df)
    if x <= 0:
        return D(0)
    return mp.gammainc(df / 2, 0, x / 2, regularized=True)


TWO_NINTHS_SINGLE = D(f32(2 / 9))  # 0.2222222238779068


def chi_squared_method(x, df, eps):
    """The routine's value with all arithmetic exact and the stopping tests of a twin of
    machine precision eps (2^-23 or 2^-52); None where a test is too close to call.
    Also the branch: 0 zero (x <= 1e-12, or df > 65 with x < 2, or df > 25 with x < 2),
    1 Wilson-Hilferty, 2 one beyond 200, 3 lower series, 4 upper series."""
    x, df = D(x), D(df)
    if x <= D("1e-12"):
        return D(0), 0
    if df > 65:
        if x < 2:
            return D(0), 0
        v = TWO_NINTHS_SINGLE / df
        z = (mp.cbrt(x / df) - (1 - v)) / mp.sqrt(v)
        if z > 5:
            return D(1), 1
        if z < D("-18.8055"):
            return D(0), 1
        return mp.ncdf(z), 1
    if x > 200:
        return D(1), 2
    a, b = df / 2, x / 2
    g = mp.gamma(a)
    close = [False]

    def at_most(u, v):
        if v != 0 and abs(u / v - 1) < D("1e-9"):
            close[0] = True
        return u <= v

    if b < max(df / 4, D(13)):
        if df > 25 and x < 2:
            return D(0), 0
        term = 1 / (a * g)
        total = term
        for i in range(1, 51):
            term = term * b / (a + i)
            if at_most(term, eps * total):
                break
            total += term
        value = total * mp.exp(a * mp.log(b) - b)
        return (None if close[0] else value), 3
    t = 1 / b
    term = (a - 1) * t
    total = 1 + term
    for i in range(2, 51):
        term = term * (a - i) * t
        if at_most(term, eps * total):
            break
        total += term
    value = 1 - total * mp.exp(a * mp.log(b) - b) / (b * g)
    return (None if close[0] else value), 4


def write_chi_squared_cdf(path):
    dfs = [0.5, 1, 2, 2.5, 5, 9, 17, 25, 26, 40, 52, 65, 66, 80, 150, 1000, 1e5]
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
    rows = []
    for x, df in sorted(pairs):
        md, branch = chi_squared_method(x, df, D(2) ** -52)
        mf, _ = chi_squared_method(x, df, D(2) ** -23)
        rows.append([fmt(x), fmt(df), num(chi_squared_cdf(x, df)), num(md), num(mf), str(branch)])
    write_rows(path, "x, df, P(X <= x), the method as the double and the float twin form it in exact "
               "arithmetic (nan: a stopping test too close to call), branch (0 zero, 1 Wilson-Hilferty, "
               "2 one above 200, 3 lower series, 4 upper series)",
               ["x", "df", "cdf", "method_double", "method_float", "branch"], rows)


def chi_squared_quantile(p, df):
    p, df = D(p), D(df)
    a = df / 2
    # Newton on ln P from the Wilson-Hilferty start, bracketed.
    z = -mp.sqrt(2) * mp.erfinv(1 - 2 * p) if p > D("1e-30") else -mp.sqrt(-2 * mp.log(p))
    v = 2 / (9 * df)
    x = df * max(1 - v + z * mp.sqrt(v), D("0.01")) ** 3
    lo, hi = D(0), D(10) ** 8
    for _ in range(400):
        f = mp.gammainc(a, 0, x / 2, regularized=True) - p
        if f < 0:
            lo = x
        else:
            hi = x
        density = mp.exp((a - 1) * mp.log(x / 2) - x / 2 - mp.loggamma(a)) / 2
        x_new = x - f / density
        if not lo < x_new < hi:
            x_new = (lo + hi) / 2 if lo > 0 else hi / 16
        if abs(x_new - x) < x * D(10) ** -40:
            return x_new
        x = x_new
    raise RuntimeError("chi-squared quantile")


def write_chi_squared_inverse(path):
    dfs = [0.5, 1, 2, 3.5, 10, 40, 65, 66, 200, 5000]
    ps = [1e-30, 1e-10, 1e-4, 0.01, 0.1, 0.5, 0.9, 0.99, 0.9999]
    rows = []
    for df in dfs:
        for p in ps:
            p32, df32 = f32(p), f32(df)
            rows.append([fmt(p32), fmt(df32), num(chi_squared_quantile(p32, df32))])
    write_rows(path, "p, df, the chi-squared quantile", ["p", "df", "quantile"], rows)


# ---------------------------------------------------------------------------------------
# F and beta.


def f_cdf(f, m, n):
    f, m, n = D(f), D(m), D(n)
    if f <= 0:
        return D(0)
    return beta_inc(m / 2, n / 2, m * f / (m * f + n))[0]


FS = [1e-6, 0.01, 0.2, 0.6, 1, 1.7, 3, 8, 40, 1e3]
DFS_F = [0.5, 1, 2.5, 4, 9, 30, 120, 1e4]


def write_f_cdf(path):
    rows = []
    for m in DFS_F:
        for n in DFS_F:
            for f in FS:
                f32s = [f32(v) for v in (f, m, n)]
                rows.append([fmt(v) for v in f32s] + [num(f_cdf(*f32s))])
    write_rows(path, "f, df_num, df_den, P(F <= f)", ["f", "df_num", "df_den", "cdf"], rows)


def write_f_inverse(path):
    ps = [1e-12, 0.001, 0.05, 0.3, 0.5, 0.8, 0.95, 0.999]
    rows = []
    for m in DFS_F:
        for n in DFS_F:
            for p in ps:
                p32, m32, n32 = f32(p), f32(m), f32(n)
                x, xc = beta_quantile(m32 / D(2), n32 / D(2), p32)
                rows.append([fmt(p32), fmt(m32), fmt(n32), num(n32 * x / (m32 * xc))])
    write_rows(path, "p, df_num, df_den, the F quantile", ["p", "df_num", "df_den", "quantile"], rows)


SHAPES = [0.01, 0.2, 0.5, 0.9, 1, 2, 3.5, 10, 45, 300, 5e3]


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
    rows = []
    for x, a, b in sorted(triples):
        if 0 < x < 1:
            rows.append([fmt(x), fmt(a), fmt(b), num(beta_inc(a, b, x)[0])])
    write_rows(path, "x, a, b, the regularised incomplete beta function I_x(a, b)", ["x", "a", "b", "value"],
               rows)


def write_beta_inverse(path):
    ps = [1e-30, 1e-8, 0.001, 0.1, 0.35, 0.5, 0.77, 0.99, 0.9999999]
    rows = []
    for a in SHAPES:
        for b in SHAPES:
            for p in ps:
                p32, a32, b32 = f32(p), f32(a), f32(b)
                x, xc = beta_quantile(a32, b32, p32)
                rows.append([fmt(p32), fmt(a32), fmt(b32), num(x), num(xc)])
    write_rows(path, "p, a, b, the beta quantile x with I_x(a, b) = p, and 1 - x",
               ["p", "a", "b", "quantile", "complement"], rows)


# ---------------------------------------------------------------------------------------
# The discrete distributions, exactly.


def exact(fraction):
    return mp.mpf(fraction.numerator) / fraction.denominator


def write_binomial_cdf(path):
    """Each probability C(n, i) p^i (1 - p)^(n - i) with p exact as a binary fraction and the
    arithmetic at 60 digits, far beyond what summing positive terms can lose."""
    rows = []
    with mp.workdps(60):
        for n in [1, 2, 5, 12, 40, 100, 333, 1000, 5000]:
            for p in [1e-4, 0.01, 0.1, 0.3, 0.5, 0.62, 0.9, 0.999]:
                pm = D(f32(p))
                probs = [mp.binomial(n, i) * pm ** i * (1 - pm) ** (n - i) for i in range(n + 1)]
                ks = sorted(set([0, 1, n // 10, n // 3, n // 2, int(n * p), int(n * p) + 1, (2 * n) // 3, n - 1, n]))
                for k in ks:
                    if 0 <= k <= n:
                        rows.append([str(k), str(n), fmt(f32(p)), num(mp.fsum(probs[:k + 1])), num(probs[k])])
        write_rows(path, "k, n, p, the binomial P(X <= k) and P(X = k), summed at 60 digits",
                   ["k", "n", "p", "cdf", "pmf"], rows)


def write_poisson_cdf(path):
    rows = []
    for theta in [1e-6, 0.05, 0.7, 3, 12.5, 60, 250, 900, 4000, 1e5]:
        t32 = f32(theta)
        mean = D(t32)
        ks = sorted(set(max(0, int(theta * f)) for f in (0, 0.2, 0.5, 0.8, 0.95, 1, 1.05, 1.2, 1.5, 2, 3, 6)))
        for k in ks:
            rows.append([str(k), fmt(t32), num(mp.gammainc(k + 1, mean, mp.inf, regularized=True))])
    rng = Lcg(47)
    for _ in range(150):
        theta = f32(10 ** (5 * rng.uniform() - 1))
        k = int(theta * (0.3 + 1.4 * rng.uniform()))
        rows.append([str(k), fmt(theta), num(mp.gammainc(k + 1, D(theta), mp.inf, regularized=True))])
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


# ---------------------------------------------------------------------------------------
# Owen's T and the bivariate normal, by quadrature.


def owens_t(h, a):
    h, a = D(h), D(a)
    return mp.quad(lambda x: mp.exp(-h * h * (1 + x * x) / 2) / (1 + x * x), [0, a]) / (2 * mp.pi)


def owens_t_method(h, a):
    """T as the routine forms it: Owen's limit Phi(-|h|)/2 (signed by a) where |h a| >= 4."""
    h, a = D(h), D(a)
    if a == 0:
        return D(0)
    if h != 0 and abs(h * a) >= 4:
        return mp.sign(a) * mp.ncdf(-abs(h)) / 2
    return owens_t(h, a)


def bivariate(x, y, rho, t=owens_t):
    """Owen's identity with the T function given; the value by quadrature when t is exact."""
    x, y, rho = D(x), D(y), D(rho)
    c = 1 / mp.sqrt((1 - rho) * (1 + rho))
    if x == 0 and y == 0:
        return D(1) / 4 + mp.asin(rho) / (2 * mp.pi)
    if x == 0:
        return mp.ncdf(y) / 2 - t(y, -rho * c)
    if y == 0:
        return mp.ncdf(x) / 2 - t(x, -rho * c)
    v = (mp.ncdf(x) + mp.ncdf(y)) / 2 - t(x, c * (y / x - rho)) - t(y, c * (x / y - rho))
    if (x < 0) != (y < 0):
        v -= D(1) / 2
    return v


def bivariate_quadrature(x, y, rho):
    """P(X <= x, Y <= y) = integral of phi(s) Phi((y - rho s)/sqrt(1 - rho^2)) over s <= x,
    with the break where the inner argument is 0."""
    x, y, rho = D(x), D(y), D(rho)
    s = mp.sqrt((1 - rho) * (1 + rho))
    points = [-mp.inf]
    if rho != 0:
        centre = y / rho
        for p in (centre - 12 * s, centre - s, centre, centre + s, centre + 12 * s):
            if -40 < p < x:
                points.append(p)
    points = sorted(set(points[1:]))
    return mp.quad(lambda u: mp.npdf(u) * mp.ncdf((y - rho * u) / s), [-mp.inf] + points + [x])


def write_owens_t(path):
    pairs = set()
    for h in [0, 0.01, 0.3, 1, 1.9, 3, 3.99, 5, 9, 40]:
        for a in [-3, -0.5, 0, 0.02, 0.4, 0.9, 0.99, 1, 1.01, 1.5, 4, 30, 1e6]:
            pairs.add((f32(h), f32(a)))
    rng = Lcg(53)
    for _ in range(150):
        pairs.add((f32(6 * rng.uniform()), f32(10 ** (3 * rng.uniform() - 1.5))))
    rows = []
    for h, a in sorted(pairs):
        rows.append([fmt(h), fmt(a), num(owens_t(h, a)), num(owens_t_method(h, a))])
    write_rows(path, "h, a, Owen's T(h, a) by quadrature, and as the routine forms it (Owen's limit "
               "Phi(-|h|)/2 where |h a| >= 4)", ["h", "a", "value", "method"], rows)


def write_bivariate_normal(path):
    mp.mp.dps = 30
    triples = set()
    for x in [-6, -3, -1.5, -0.2, 0, 0.7, 2.5, 6]:
        for y in [-4, -0.5, 0, 0.4, 1.8, 5]:
            for rho in [-0.999, -0.6, -0.1, 0, 0.3, 0.8, 0.999]:
                triples.add((f32(x), f32(y), f32(rho)))
    rng = Lcg(59)
    for _ in range(150):
        triples.add((f32(8 * rng.uniform() - 4), f32(8 * rng.uniform() - 4), f32(1.98 * rng.uniform() - 0.99)))
    rows = []
    for x, y, rho in sorted(triples):
        rows.append([fmt(x), fmt(y), fmt(rho), num(bivariate_quadrature(x, y, rho)),
                     num(bivariate(x, y, rho, owens_t_method))])
    write_rows(path, "x, y, rho, the standard bivariate normal P(X <= x, Y <= y) by quadrature, and "
               "Owen's identity with T as the routine forms it", ["x", "y", "rho", "cdf", "method"], rows)
    mp.mp.dps = 50


# ---------------------------------------------------------------------------------------
# Non-central chi-squared and t (30 digits).


def non_central_chi_sq(x, df, delta):
    """The Poisson mixture, each P(df/2 + j, x/2) by mpmath, from the largest weight outwards
    until the terms fall below 1e-40 of the sum."""
    x, df, delta = D(x), D(df), D(delta)
    if x <= 0:
        return D(0)
    lam = delta / 2
    if lam == 0:
        return mp.gammainc(df / 2, 0, x / 2, regularized=True)

    def term(j):
        w = mp.exp(j * mp.log(lam) - lam - mp.loggamma(j + 1))
        return w * mp.gammainc(df / 2 + j, 0, x / 2, regularized=True)

    m = int(lam)
    total = term(m)
    for direction in (1, -1):
        j = m + direction
        while j >= 0:
            t = term(j)
            total += t
            if t < total * D("1e-40") and abs(j - m) > 3 * mp.sqrt(lam) + 5:
                break
            j += direction
    return total


def write_non_central_chi_sq(path):
    mp.mp.dps = 30
    rows = []
    for df in [0.5, 2, 7, 50, 300]:
        for delta in [1e-11, 2e-9, 0.3, 3, 20, 150, 1500]:  # 2e-9: just past the central cut
            mean = df + delta
            sd = math.sqrt(2 * (df + 2 * delta))
            xs = sorted(set(f32(max(1e-3, mean + k * sd)) for k in (-3, -1.5, -0.5, 0, 0.7, 2, 4)) | {f32(0.01)})
            for x in xs:
                xf, dff, df32 = f32(x), f32(df), f32(delta)
                rows.append([fmt(xf), fmt(dff), fmt(df32), num(non_central_chi_sq(xf, dff, df32))])
    write_rows(path, "x, df, delta, the non-central chi-squared P(X <= x), the Poisson mixture summed to 1e-40",
               ["x", "df", "delta", "cdf"], rows)
    mp.mp.dps = 50


def solve_increasing(cdf, p, x0, step, lower=None):
    """The x with cdf(x) = p: bracket from x0 by doubling steps (not below lower), then
    regula falsi with a bisection every third round, on the logarithm while the bracket
    spans more than a factor 16."""
    a = x0 if lower is None else max(x0, lower)
    fa = cdf(a) - p
    s = step if fa < 0 else -step
    while True:
        b = a + s
        if lower is not None and b <= lower:
            b = lower
        fb = cdf(b) - p
        if (fb < 0) != (fa < 0):
            break
        a, fa, s = b, fb, 2 * s
    lo, hi, flo, fhi = (a, b, fa, fb) if a < b else (b, a, fb, fa)
    for i in range(3000):
        if i % 3 == 2:
            mid = mp.sqrt(lo * hi) if lo > 0 and hi > 16 * lo else (lo + hi) / 2
        else:
            mid = lo - flo * (hi - lo) / (fhi - flo)
            if not lo < mid < hi:
                mid = (lo + hi) / 2
        fm = cdf(mid) - p
        if fm < 0:
            lo, flo = mid, fm
        else:
            hi, fhi = mid, fm
        if hi - lo < abs(mid) * D(10) ** (6 - mp.mp.dps) + D(10) ** (-2 * mp.mp.dps):
            return (lo + hi) / 2
    raise RuntimeError("no convergence")


def write_non_central_chi_sq_inverse(path):
    mp.mp.dps = 30
    rows = []
    for df in [0.5, 3, 40]:
        for delta in [0.5, 8, 120]:
            for p in [1e-6, 0.05, 0.5, 0.9, 0.9999]:
                p32, df32, d32 = f32(p), f32(df), f32(delta)
                x0 = D(df32 + d32)
                q = solve_increasing(lambda x: non_central_chi_sq(x, df32, d32), D(p32), x0,
                                     max(D(1), mp.sqrt(2 * (df32 + 2 * d32))), lower=D(0))
                rows.append([fmt(p32), fmt(df32), fmt(d32), num(q)])
    write_rows(path, "p, df, delta, the non-central chi-squared quantile", ["p", "df", "delta", "quantile"],
               rows)
    mp.mp.dps = 50


def non_central_t(t, df, delta):
    """P(T <= t) = integral over v of Phi(t sqrt(v/df) - delta) times the chi-squared density
    of df degrees of freedom."""
    t, df, delta = D(t), D(df), D(delta)
    if mp.isinf(t):
        return D(1) if t > 0 else D(0)
    log_norm = (df / 2) * mp.log(2) + mp.loggamma(df / 2)

    def integrand(v):
        if v == 0:
            return D(0)
        return mp.ncdf(t * mp.sqrt(v / df) - delta) * mp.exp((df / 2 - 1) * mp.log(v) - v / 2 - log_norm)

    sd = mp.sqrt(2 * df)
    points = sorted(set([D(0)] + [max(D(0), df + k * sd) for k in (-6, -3, -1, 0, 1, 3, 6, 12)]))
    if t != 0:
        # Where the normal factor turns over: t sqrt(v/df) = delta.
        turn = df * (delta / t) ** 2
        if turn > 0:
            points = sorted(set(points + [turn]))
    return mp.quad(integrand, points + [mp.inf])


def write_non_central_t(path):
    mp.mp.dps = 30
    rows = []
    for df in [1, 2, 3, 4, 9, 10, 31, 200]:
        for delta in [-2, 0, 0.5, 3, 8]:
            for t in [-30, -6, -1, 0, 0.5, 2, 7, 30]:
                t32, d32 = f32(t), f32(delta)
                rows.append([fmt(t32), str(df), fmt(d32), num(non_central_t(t32, df, d32))])
    write_rows(path, "t, df, delta, the non-central t P(T <= t) by quadrature", ["t", "df", "delta", "cdf"], rows)
    mp.mp.dps = 50


def write_non_central_t_inverse(path):
    mp.mp.dps = 30
    rows = []
    for df in [1, 2, 5, 20]:
        for delta in [-1.5, 0, 2, 6]:
            for p in [1e-6, 0.05, 0.5, 0.95, 0.999]:
                p32, d32 = f32(p), f32(delta)
                x0 = D(d32) + mp.sqrt(2) * mp.erfinv(2 * D(p32) - 1)
                if d32 == 0 and p32 == 0.5:
                    q = D(0)  # the median of the symmetric central case
                else:
                    q = solve_increasing(lambda t: non_central_t(t, df, d32), D(p32), x0, D(1))
                rows.append([fmt(p32), str(df), fmt(d32), num(q)])
    write_rows(path, "p, df, delta, the non-central t quantile", ["p", "df", "delta", "quantile"], rows)
    mp.mp.dps = 50


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
    "owens_t.csv": write_owens_t,
    "bivariate_normal.csv": write_bivariate_normal,
    "non_central_chi_sq.csv": write_non_central_chi_sq,
    "non_central_chi_sq_inverse.csv": write_non_central_chi_sq_inverse,
    "non_central_t.csv": write_non_central_t,
    "non_central_t_inverse.csv": write_non_central_t_inverse,
}


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "tests/data"
    only = sys.argv[2:]  # table names, all by default
    os.makedirs(directory, exist_ok=True)
    for name, write in TABLES.items():
        if not only or name in only:
            write(os.path.join(directory, name))


if __name__ == "__main__":
    main()
