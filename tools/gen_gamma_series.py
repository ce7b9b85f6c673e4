#!/usr/bin/env python3
"""Chebyshev coefficients of the gamma family, computed from their defining functions
with mpmath at 50 digits, written as src/special/gamma_series.hpp.

    python3 tools/gen_gamma_series.py > src/special/gamma_series.hpp

The quadrature is the one of gen_erf_series.py (256 Chebyshev nodes, each coefficient
rounded once, correctly, to double). The expansions and their lengths are those of
W. Fullerton's special-function package (Los Alamos, 1977): the 42-term gamma series
and the 15-term log-gamma correction of its double-precision routines, and the 23-term
ln(1+x) and digamma, 16-term asymptotic digamma and 8-term cotangent series of its
single-precision ones. Its published leading coefficients are checked below as a guard
against a wrong definition.
"""
import sys

import mpmath as mp

from gen_erf_series import chebyshev, write_tables

mp.mp.dps = 50
HALF = mp.mpf(1) / 2


def gamma_series(t):  # gamma(1 + y) - 0.9375 on 0 <= y <= 1, t = 2y - 1
    return mp.gamma(1 + (t + 1) / 2) - mp.mpf("0.9375")


def log_gamma_correction(t):  # x (ln gamma(x) - Stirling's main terms) for x >= 10, t = 2 (10/x)^2 - 1
    x = 10 / mp.sqrt((t + 1) / 2)
    return x * (mp.loggamma(x) - ((x - HALF) * mp.log(x) - x + mp.log(2 * mp.pi) / 2))


def alnrel_series(t):  # (x - ln(1 + x))/x^2 for |x| <= 0.375, t = x/0.375: ln(1+x) = x (1 - x f)
    x = mp.mpf("0.375") * t
    return (x - mp.log1p(x)) / (x * x)


def psi_series(t):  # digamma(1 + y) on 0 <= y <= 1, t = 2y - 1
    return mp.digamma(1 + (t + 1) / 2)


def psi_asymptotic(t):  # digamma(x) - ln x + 1/(2x) for x >= 2, t = 8/x^2 - 1
    x = mp.sqrt(8 / (t + 1))
    return mp.digamma(x) - mp.log(x) + 1 / (2 * x)


def cot_series(t):  # y cot(pi y/2) - 1/2 for 0 <= y <= 1/4, t = 32 y^2 - 1
    y = mp.sqrt((t + 1) / 32)
    return y * mp.cot(mp.pi * y / 2) - HALF


SERIES = [
    ("gamma", "gamma(1 + y) - 0.9375 for 0 <= y < 1, in t = 2y - 1", gamma_series, 42,
     [0.008571195590989331, 0.004415381324841007, 0.05685043681599363]),
    ("log_gamma_correction", "x (ln gamma(x) - (x - 1/2) ln x + x - ln(2 pi)/2) for x >= 10, in t = 2 (10/x)^2 - 1",
     log_gamma_correction, 15, [0.16663894804518632, -1.3849481760675638e-05]),
    ("alnrel", "(x - ln(1 + x))/x^2 for |x| <= 0.375, in t = x/0.375", alnrel_series, 23,
     [1.037869356274377, -0.13364301504908918]),
    ("psi", "digamma(1 + y) for 0 <= y < 1, in t = 2y - 1", psi_series, 23,
     [-0.038057080835217922, 0.49141539302938713]),
    ("psi_asymptotic", "digamma(x) - ln x + 1/(2x) for x >= 2, in t = 8/x^2 - 1", psi_asymptotic, 16,
     [-0.0204749044678185]),
    ("cot", "y cot(pi y/2) - 1/2 for 0 <= y <= 1/4, in t = 32 y^2 - 1", cot_series, 8,
     [0.2402591609829563]),
]


def main():
    write_tables(sys.stdout, "gamma family", "gen_gamma_series.py", "gamma_series.hpp", SERIES)


if __name__ == "__main__":
    main()
