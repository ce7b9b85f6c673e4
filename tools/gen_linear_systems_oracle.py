#!/usr/bin/env python3
"""Oracle table of the linear systems: matrices with their one-norm condition numbers,
at 50 digits with mpmath, for the tests under tests/kernels/.

    python3 tools/gen_linear_systems_oracle.py tests/data

writes linear_systems.csv, one matrix a row: its case number, its kind (1 general,
2 symmetric positive definite), its order n, the condition number
||A||_1 ||A^-1||_1 (A^-1 formed exactly in rational arithmetic, the product at 50
digits), and its n*n elements in column-major order. The elements are integers below
2^24 in size, exact in single precision, so that one table serves both twins.

The matrices: random integer matrices; integer matrices with one column the sum of the
others but for one unit, which are nearly singular; Hilbert matrices scaled by the least
common multiple of their denominators; Pascal matrices; and random B'B + nI.
"""
import math
import os
import sys
from fractions import Fraction

import mpmath as mp

from gen_erf_oracle import Lcg, header, val

mp.mp.dps = 50


def random_integers(rng, rows, cols, low, high):
    return [[low + int(rng.uniform() * (high - low + 1)) for _ in range(cols)] for _ in range(rows)]


def general(rng, n):
    return random_integers(rng, n, n, -9, 9)


def nearly_singular(rng, n):
    a = random_integers(rng, n, n, -9, 9)
    for i in range(n):
        a[i][n - 1] = sum(a[i][:n - 1])
    a[0][n - 1] += 1
    return a


def scaled_hilbert(n):
    scale = 1
    for d in range(1, 2 * n):
        scale = scale * d // math.gcd(scale, d)
    return [[scale // (i + j + 1) for j in range(n)] for i in range(n)]


def pascal(n):
    return [[math.comb(i + j, i) for j in range(n)] for i in range(n)]


def gram(rng, n):
    b = random_integers(rng, n, n, -3, 3)
    return [[sum(b[k][i] * b[k][j] for k in range(n)) + (n if i == j else 0) for j in range(n)] for i in range(n)]


def inverse(a):
    """The exact inverse by Gauss-Jordan elimination over the rationals."""
    n = len(a)
    m = [[Fraction(v) for v in row] + [Fraction(int(i == j)) for j in range(n)] for i, row in enumerate(a)]
    for k in range(n):
        p = next(i for i in range(k, n) if m[i][k] != 0)
        m[k], m[p] = m[p], m[k]
        pivot = m[k][k]
        m[k] = [v / pivot for v in m[k]]
        for i in range(n):
            if i != k and m[i][k] != 0:
                f = m[i][k]
                m[i] = [v - f * w for v, w in zip(m[i], m[k])]
    return [row[n:] for row in m]


def one_norm(a):
    n = len(a)
    return max(sum(abs(a[i][j]) for i in range(n)) for j in range(n))


def condition(a):
    inv = inverse(a)
    return mp.mpf(one_norm(a)) * mp.mpf(one_norm(inv).numerator) / mp.mpf(one_norm(inv).denominator)


def matrices():
    rng = Lcg(14)
    cases = []
    for n in (2, 3, 5, 8, 13, 21, 34):
        cases.append((1, general(rng, n)))
    for n in (4, 6, 10):
        cases.append((1, nearly_singular(rng, n)))
    for n in range(3, 10):
        cases.append((2, scaled_hilbert(n)))
    for n in (4, 6, 8, 10, 12):
        cases.append((2, pascal(n)))
    for n in (4, 9, 16, 25):
        cases.append((2, gram(rng, n)))
    for kind, a in cases:
        assert all(abs(v) < 2**24 for row in a for v in row)
        if kind == 2:
            assert all(a[i][j] == a[j][i] for i in range(len(a)) for j in range(len(a)))
    return cases


def main(directory):
    path = os.path.join(directory, "linear_systems.csv")
    with open(path, "w") as out:
        header(out, "case, kind (1 general, 2 positive definite), n, ||A||_1 ||A^-1||_1, "
               "then the n*n elements of A in column-major order",
               ["case", "kind", "n", "cond1", "elements"], "gen_linear_systems_oracle.py")
        for number, (kind, a) in enumerate(matrices(), 1):
            n = len(a)
            elements = [str(a[i][j]) for j in range(n) for i in range(n)]
            out.write(",".join([str(number), str(kind), str(n), val(condition(a))] + elements) + "\n")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "tests/data")
