#!/usr/bin/env python3
"""Coefficient tables of the regularised incomplete gamma functions, computed with mpmath at
60 digits and written as src/special/gamma_ratio_series.hpp:

    python3 tools/gen_gamma_ratio_series.py > src/special/gamma_ratio_series.hpp

1. The Taylor coefficients of 1/gamma(1 + a) at a = 0 (Abramowitz and Stegun 6.1.34), for
   1/gamma(1 + a) - 1 with full relative precision near a = 0.

2. Stirling's error ln gamma(n + 1) - ((n + 1/2) ln n - n + ln(2 pi)/2) at n = 1 to 15, where
   the difference of those terms would cancel most of its digits (as in C. Loader's
   saddle-point form of the binomial probability, 2000).

3. N. M. Temme's uniform expansion (SIAM J. Math. Anal. 10, 1979; also DLMF 8.12):

       Q(a, x) = erfc(eta sqrt(a/2))/2 + exp(-a eta^2/2)/sqrt(2 pi a) sum_k C_k(eta) a^-k,

   lambda = x/a, eta = sign(lambda - 1) sqrt(2 (lambda - 1 - ln lambda)). With mu = lambda - 1
   as a power series in eta (the reversion of eta^2/2 = mu - ln(1 + mu)),
   C_0 = 1/mu - 1/eta and C_k = (1/eta) C_(k-1)' + (-1)^k g_k/mu, g_k the coefficients of
   Stirling's series gamma(z) ~ sqrt(2 pi/z) z^z e^-z sum g_k z^-k. Each C_k is regular at
   eta = 0 (the poles of the two parts cancel; checked below) and is tabulated as its
   Taylor series. Lengths: the dropped terms stay below 1e-19 for |eta| <= ETA_MAX and
   a >= A_MIN, where the fourteen C_k reach 2e-17 relative (checked against mpmath's
   incomplete gamma function below).
"""
import sys

import mpmath as mp

mp.mp.dps = 60
DEGREE = 64      # the Taylor degree the series are carried to before truncation
TERMS = 14       # C_0 .. C_13
A_MIN = 12       # the smallest a the expansion serves
ETA_MAX = 0.8    # |eta| of lambda in [0.4, 1.9]


def mul(a, b, n):
    c = [mp.mpf(0)] * n
    for i, x in enumerate(a[:n]):
        if x:
            for j, y in enumerate(b[:n - i]):
                c[i + j] += x * y
    return c


def reciprocal(a, n):
    b = [mp.mpf(0)] * n
    b[0] = 1 / a[0]
    for k in range(1, n):
        b[k] = -mp.fsum(a[j] * b[k - j] for j in range(1, min(k, len(a) - 1) + 1)) / a[0]
    return b


def square_root(h, n):
    s = [mp.mpf(0)] * n
    s[0] = mp.sqrt(h[0])
    for k in range(1, n):
        s[k] = (h[k] - mp.fsum(s[j] * s[k - j] for j in range(1, k))) / (2 * s[0])
    return s


def compose(a, b, n):
    """a(b(t)) for b(0) = 0."""
    result = [mp.mpf(0)] * n
    power = [mp.mpf(1)] + [mp.mpf(0)] * (n - 1)
    for k, ak in enumerate(a[:n]):
        if k:
            power = mul(power, b, n)
        for i in range(n):
            result[i] += ak * power[i]
    return result


def stirling_coefficients(n):
    """g_k of gamma(z) ~ sqrt(2 pi/z) z^z e^-z sum g_k z^-k: exp of the Bernoulli series."""
    s = [mp.mpf(0)] * n
    for j in range(1, n):
        if 2 * j - 1 < n:
            s[2 * j - 1] = mp.bernoulli(2 * j) / (2 * j * (2 * j - 1))
    e = [mp.mpf(0)] * n
    e[0] = mp.mpf(1)
    for k in range(1, n):
        e[k] = mp.fsum(j * s[j] * e[k - j] for j in range(1, k + 1)) / k
    return e


def temme_coefficients():
    n = DEGREE + 2 * TERMS + 4
    # eta = mu sqrt(2 (mu - ln(1 + mu))/mu^2), a series in mu; then its reversion mu(eta).
    h = [2 * mp.mpf(-1) ** k / k for k in range(2, n + 2)]
    eta_of_mu = [mp.mpf(0)] + square_root(h, n)[:n - 1]
    mu = [mp.mpf(0), mp.mpf(1)] + [mp.mpf(0)] * (n - 2)
    for _ in range(n):
        error = compose(eta_of_mu, mu, n)
        error[1] -= 1
        mu = [m - e for m, e in zip(mu, error)]
    # 1/mu = (1/eta) sum r_j eta^j.
    r = reciprocal(mu[1:] + [mp.mpf(0)], n)
    g = stirling_coefficients(TERMS + 2)
    c = [[r[j + 1] for j in range(n - 2)]]  # C_0 = 1/mu - 1/eta
    for k in range(1, TERMS):
        prev = c[-1]
        sign = (-1) ** k * g[k]
        pole = prev[1] + sign * r[0]
        if abs(pole) > mp.mpf(10) ** (-40):
            sys.exit("C_%d is not regular: %s" % (k, pole))
        c.append([(j + 2) * prev[j + 2] + sign * r[j + 1] for j in range(len(prev) - 2)])
    tables = []
    for k, ck in enumerate(c):
        scale = mp.mpf(A_MIN) ** -k
        length = len(ck)
        while length > 1 and mp.fsum(abs(v) * ETA_MAX ** j for j, v in enumerate(ck[length - 1:], length - 1)) \
                * scale < mp.mpf(10) ** -19:
            length -= 1
        if length >= DEGREE:
            sys.exit("C_%d needs more than %d terms" % (k, DEGREE))
        tables.append(ck[:length])
    return tables


def eta_of(lam):
    e = mp.sqrt(2 * (lam - 1 - mp.log(lam)))
    return e if lam >= 1 else -e


def check(tables):
    """The expansion against mpmath's incomplete gamma function, both tails."""
    worst = mp.mpf(0)
    for a in (A_MIN, 15, 30, 200, 1e4):
        for lam in (0.4, 0.55, 0.8, 0.97, 0.999, 1, 1.001, 1.05, 1.3, 1.6, 1.9):
            a, x = mp.mpf(a), mp.mpf(a) * mp.mpf(lam)
            eta = eta_of(x / a)
            s = mp.fsum(mp.polyval(t[::-1], eta) / a ** k for k, t in enumerate(tables))
            r = mp.exp(-a * eta ** 2 / 2) / mp.sqrt(2 * mp.pi * a) * s
            q = mp.erfc(eta * mp.sqrt(a / 2)) / 2 + r
            p = mp.erfc(-eta * mp.sqrt(a / 2)) / 2 - r
            worst = max(worst, abs(q / mp.gammainc(a, x, mp.inf, regularized=True) - 1),
                        abs(p / mp.gammainc(a, 0, x, regularized=True) - 1))
    if worst > 5e-17:
        sys.exit("the expansion misses by %s" % mp.nstr(worst, 3))
    return worst


def gamma_reciprocal_coefficients():
    c = mp.taylor(lambda a: 1 / mp.gamma(1 + a), 0, 40)
    length = len(c)
    while abs(c[length - 1]) < mp.mpf(10) ** -20:
        length -= 1
    return c[1:length]


def write(out, name, meaning, values):
    out.write("\n// %s\ninline constexpr double %s[%d] = {\n" % (meaning, name, len(values)))
    for k in range(0, len(values), 3):
        out.write("    " + " ".join("%s," % repr(float(v)) for v in values[k:k + 3]) + "\n")
    out.write("};\n")


def main():
    tables = temme_coefficients()
    worst = check(tables)
    out = sys.stdout
    out.write("// Coefficients of the regularised incomplete gamma functions, each the correctly\n"
              "// rounded double of its exact value. Generated by tools/gen_gamma_ratio_series.py\n"
              "// (mpmath, %d digits): python3 tools/gen_gamma_ratio_series.py >\n"
              "// src/special/gamma_ratio_series.hpp\n#pragma once\n\nnamespace korvs::series {\n"
              % mp.mp.dps)
    write(out, "reciprocal_gamma", "1/gamma(1 + a) - 1 = sum over k >= 1 of c[k - 1] a^k, for |a| <= 1.",
          gamma_reciprocal_coefficients())
    write(out, "stirling_error", "ln n! - ((n + 1/2) ln n - n + ln(2 pi)/2) for n = 0 to 15 (0 at n = 0).",
          [mp.mpf(0)] + [mp.loggamma(n + 1) - ((n + mp.mpf(1) / 2) * mp.log(n) - n + mp.log(2 * mp.pi) / 2)
                         for n in range(1, 16)])
    out.write("\n// Temme's C_k(eta) = sum over j of c[j] eta^j, k = 0 to %d, for |eta| <= %g and a >= %d;\n"
              "// with them the expansion is within %s of both tails.\n"
              "inline constexpr int temme_terms = %d;\n" % (TERMS - 1, ETA_MAX, A_MIN, mp.nstr(worst, 2), TERMS))
    for k, t in enumerate(tables):
        write(out, "temme_%d" % k, "C_%d." % k, t)
    out.write("\ninline constexpr const double* temme[%d] = {\n    " % TERMS)
    out.write(" ".join("temme_%d," % k for k in range(TERMS)) + "\n};\n")
    out.write("inline constexpr int temme_length[%d] = {\n    " % TERMS)
    out.write(" ".join("%d," % len(t) for t in tables) + "\n};\n")
    # A bound on |C_k(eta)| over the range, so that the sum over k can end once a^-k makes
    # the rest negligible.
    bounds = [max(abs(mp.polyval(t[::-1], e * ETA_MAX / 20)) for e in range(-20, 21)) * 2 for t in tables]
    write(out, "temme_bound", "Twice the largest |C_k(eta)| on the range.", bounds)
    out.write("\n}  // namespace korvs::series\n")


if __name__ == "__main__":
    main()
