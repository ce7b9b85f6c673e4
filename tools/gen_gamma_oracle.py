#!/usr/bin/env python3
"""Oracle tables of the gamma family, at 50 digits with mpmath, for the tests under
tests/special/.

    python3 tools/gen_gamma_oracle.py tests/data

writes gamma.csv (x, gamma(x), ln |gamma(x)|), beta.csv (a, b, beta, ln beta),
gamma_incomplete.csv (a, x, the lower incomplete gamma function, its regularised form
P(a, x) and that one's condition |x f(x)/P(a, x)|, to the far lower tail and to large a), binomial.csv (n, m, n over m), and
for the inner routines log_gamma_correction.csv (x, ln gamma(x) less Stirling's main
terms), tricomi.csv (a, x, Tricomi's gamma*(a, x)), psi.csv (x, digamma), cot.csv
(x, cot), alnrel.csv (x, ln(1 + x)) and poch.csv (a, x, gamma(a + x)/gamma(a)). Inputs are exactly representable in single precision, so that
one table serves both twins, except the rows after a comment "double range only".
Values carry 25 significant digits.
"""
import os
import struct
import sys

import mpmath as mp

import gen_erf_oracle
from gen_erf_oracle import Lcg, f32, fmt, val

mp.mp.dps = 50


def header(out, what, columns):
    gen_erf_oracle.header(out, what, columns, "gen_gamma_oracle.py")


def write_function(path, what, column, xs, f):
    """A table of one function of one argument, x and f(x), over the sorted inputs."""
    with open(path, "w") as out:
        header(out, what, ["x", column])
        for x in sorted(xs):
            out.write("%s,%s\n" % (fmt(x), val(f(mp.mpf(x)))))


def float_neighbours(x, steps):
    """x and the single-precision numbers `steps` units away on either side."""
    bits = struct.unpack("I", struct.pack("f", x))[0]
    return [struct.unpack("f", struct.pack("I", bits + k))[0] for k in range(-steps, steps + 1)]


def is_pole(x):
    return x <= 0 and x == int(x)


def gamma_inputs():
    xs = set()
    for k in range(-320, 321):  # -10 to 10 by 1/32: the series and the recurrence
        xs.add(k / 32)
    for k in range(80, 281):  # 10 to 35 by 1/8: Stirling's region of both twins
        xs.add(k / 8)
        xs.add(-k / 8)
    for k in range(140, 687):  # 35 to 171.5 by 1/4: the double twin's alone
        xs.add(k / 4)
        xs.add(-k / 4)
    for n in range(1, 11):  # the neighbourhoods of the poles and of the branch at 10
        xs.update(float_neighbours(-float(n), 3))
    xs.update(float_neighbours(10.0, 2))
    xs.update(float_neighbours(-10.0, 2))
    for small in (1e-30, 1e-20, 1e-10, 1e-5, 1e-3):
        xs.add(f32(small))
        xs.add(-f32(small))
    rng = Lcg(13)
    for _ in range(400):
        xs.add(f32(rng.uniform() * 60 - 30))
    for k in range(4, 127, 3):  # ln gamma far out, to the largest float exponent
        xs.add(float(2**k) * 1.25)
    for x in (-1000.5, -12345.25, -250000.75, 1e6, 3e7):
        xs.add(f32(x))
    return sorted(x for x in xs if not is_pole(x))


def log_abs_gamma(x):
    return mp.log(abs(mp.gamma(x))) if x < 0 else mp.loggamma(x)


def write_gamma(path):
    with open(path, "w") as out:
        header(out, "x, gamma(x) (nan: not tabulated, beyond the range of both twins), ln |gamma(x)|",
               ["x", "gamma", "log_gamma"])
        for x in gamma_inputs():
            m = mp.mpf(x)
            g = val(mp.gamma(m)) if abs(x) < 200 else "nan"
            out.write("%s,%s,%s\n" % (fmt(x), g, val(log_abs_gamma(m))))
        out.write("# double range only\n")
        for x in (1e100, 1e300, 2e305, -123456789.5):
            out.write("%s,nan,%s\n" % (fmt(x), val(log_abs_gamma(mp.mpf(x)))))


def write_beta(path):
    points = [1e-3, 0.1, 0.5, 1, 2.5, 5, 9.5, 10, 12, 20, 50, 100, 1000, 1e5]
    pairs = set((f32(a), f32(b)) for a in points for b in points)
    rng = Lcg(17)
    for _ in range(200):
        pairs.add((f32(rng.uniform() * 30), f32(rng.uniform() * 30)))
        pairs.add((f32(10 ** (rng.uniform() * 8 - 3)), f32(10 ** (rng.uniform() * 8 - 3))))
    with open(path, "w") as out:
        header(out, "a, b, beta(a, b), ln beta(a, b)", ["a", "b", "beta", "log_beta"])
        for a, b in sorted(p for p in pairs if p[0] > 0 and p[1] > 0):
            ma, mb = mp.mpf(a), mp.mpf(b)
            out.write("%s,%s,%s,%s\n" % (fmt(a), fmt(b), val(mp.beta(ma, mb)), val(mp.log(mp.beta(ma, mb)))))


def gamma_tails(a, x):
    """P(a, x) and Q(a, x), with Legendre's continued fraction for Q where mpmath's own does
    not converge."""
    try:
        return mp.gammainc(a, 0, x, regularized=True), mp.gammainc(a, x, mp.inf, regularized=True)
    except mp.libmp.NoConvergence:
        f = mp.mpf(0)
        for i in range(4000, 0, -1):
            f = -i * (i - a) / (x + 2 * i + 1 - a + f)
        q = mp.exp(a * mp.log(x) - x - mp.loggamma(a)) / (x + 1 - a + f)
        return 1 - q, q


def lower_tail_point(a, target):
    """The x where P(a, x) is near target, as a single-precision number."""
    lo, hi = mp.mpf(-800), mp.log(a + 1)  # bisection on ln x
    for _ in range(200):
        mid = (lo + hi) / 2
        (lo, hi) = (mid, hi) if gamma_tails(a, mp.exp(mid))[0] < target else (lo, mid)
    return f32(float(mp.exp(hi)))


def write_gamma_incomplete(path):
    shapes = [0.01, 0.1, 0.5, 1, 1.5, 2.5, 5, 9.75, 20, 50, 100, 200]
    xs = [1e-6, 0.01, 0.1, 0.5, 1, 1.0001, 1.5, 2, 3, 5, 7.5, 10, 15, 25, 40, 60, 100, 150, 250, 400]
    pairs = set((f32(a), f32(x)) for a in shapes for x in xs)
    rng = Lcg(19)
    for _ in range(300):
        a = f32(10 ** (rng.uniform() * 4 - 2))
        pairs.add((a, f32(a * (0.2 + 1.6 * rng.uniform()))))
        pairs.add((f32(rng.uniform() * 10), f32(rng.uniform() * 12)))
    # Large shapes about their mean, where the uniform expansion serves, and far lower tails.
    for a in (12, 30, 1e3, 1e5, 1e6):
        pairs.update((f32(a), f32(a * f)) for f in (0.4, 0.41, 0.9, 0.99, 0.999, 1, 1.001, 1.01, 1.1, 1.89, 1.91))
    for a in (0.5, 2.5, 20, 1e3, 1e5):
        pairs.update((f32(a), lower_tail_point(mp.mpf(f32(a)), mp.mpf(t))) for t in (1e-30, 1e-100, 1e-300))
    with open(path, "w") as out:
        header(out, "a, x, the lower incomplete gamma function, P(a, x), and the condition of P, "
               "|x f(x)/P(a, x)|", ["a", "x", "lower", "p", "condition"])
        for a, x in sorted(pairs):
            if not x > 0:
                continue
            ma, mx = mp.mpf(a), mp.mpf(x)
            p = gamma_tails(ma, mx)[0]
            lower = p * mp.gamma(ma)
            condition = mp.exp(ma * mp.log(mx) - mx - mp.loggamma(ma)) / p
            out.write("%s,%s,%s,%s,%s\n" % (fmt(a), fmt(x), val(lower), val(p), val(condition)))


def write_binomial(path):
    pairs = set()
    for n in (21, 30, 34, 40, 50, 60, 64, 100, 200, 500, 1000, 1030, 2000, 10000, 100000, 2000000000):
        for m in (0, 1, 2, 3, 5, 8, 9, 10, 12, 15, 20, 21, 25, 30, 50, 100, 500, 515, 1000):
            if m <= n:
                pairs.add((n, m))
                pairs.add((n, n - m))
    with open(path, "w") as out:
        header(out, "n, m, the binomial coefficient n over m", ["n", "m", "binomial"])
        for n, m in sorted(pairs):
            out.write("%d,%d,%s\n" % (n, m, val(mp.binomial(n, m))))


def write_log_gamma_correction(path):
    xs = set(k / 4 for k in range(40, 401))
    for k in range(4, 127, 2):
        xs.add(float(2**k) * 1.375)

    def correction(m):
        with mp.workdps(60 + int(mp.log10(m))):  # the correction is ln gamma's last digits
            return mp.loggamma(m) - ((m - mp.mpf(1) / 2) * mp.log(m) - m + mp.log(2 * mp.pi) / 2)

    write_function(path, "x, ln gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2)", "correction", xs, correction)


def tricomi(a, x):
    """gamma*(a, x) = exp(-x) sum over n >= 0 of x^n / gamma(a + n + 1), for any a, summed
    term by term (with 20 guard digits for the cancelling terms of a negative a) until
    the terms, past their largest, fall below 1e-70 of the sum."""
    with mp.workdps(70):
        total, n, largest = mp.mpf(0), 0, mp.mpf(0)
        while True:
            term = x**n * mp.rgamma(a + n + 1)
            total += term
            largest = max(largest, abs(term))
            if n > x + abs(a) and abs(term) < mp.mpf("1e-70") * largest:
                return mp.exp(-x) * total
            n += 1


def write_tricomi(path):
    pairs = set()
    for a in (-7.25, -5.5, -3, -2.75, -1.5, -1, -0.5, -0.25, 0, 0.25, 1, 2.5, 6, 15.5, 40):
        for x in (0.001, 0.1, 0.5, 0.9, 1, 1.5, 2.5, 5, 10, 20, 45):
            pairs.add((f32(a), f32(x)))
    with open(path, "w") as out:
        header(out, "a, x, Tricomi's incomplete gamma function gamma*(a, x) = x^-a P(a, x)", ["a", "x", "tricomi"])
        for a, x in sorted(pairs):
            out.write("%s,%s,%s\n" % (fmt(a), fmt(x), val(tricomi(mp.mpf(a), mp.mpf(x)))))


def write_psi(path):
    xs = set(k / 32 for k in range(-320, 321))
    for k in range(1, 200):
        xs.add(f32(2 + k * 0.37))
        xs.add(-f32(2 + k * 0.37))
    for k in range(2, 120, 3):
        xs.add(float(2**k) * 1.5)
    xs.update(float_neighbours(f32(1.4616321449683622), 2))  # the positive zero of digamma
    write_function(path, "x, digamma(x)", "psi", [x for x in xs if not is_pole(x)], mp.digamma)


def write_cot(path):
    xs = set(k / 16 for k in range(-640, 641) if k != 0)
    for small in (1e-30, 1e-20, 1e-8, 1e-4):
        xs.add(f32(small))
        xs.add(-f32(small))
    rng = Lcg(23)
    for _ in range(300):
        xs.add(f32(rng.uniform() * 2000 - 1000))
    write_function(path, "x, cot(x)", "cot", xs, mp.cot)


def write_alnrel(path):
    xs = set(k / 256 for k in range(-255, 2561))
    for small in (1e-30, 1e-20, 1e-10, 1e-7, 1e-4):
        xs.add(f32(small))
        xs.add(-f32(small))
    xs.update(float_neighbours(0.375, 2))
    xs.update(float_neighbours(-0.375, 2))
    write_function(path, "x, ln(1 + x)", "alnrel", xs, mp.log1p)


def write_poch(path):
    pairs = set()
    for a in (-30.5, -25.25, -12.75, -3.5, -0.5, 0.25, 1, 2.5, 7, 15.5, 30, 45.25, 120):
        for x in (-7.5, -2.25, -0.5, 0, 0.125, 1, 2, 3, 5, 10, 17, 20, 21, 3.75, 12.5, 40.5):
            if not is_pole(a + x) and not is_pole(a):
                pairs.add((f32(a), f32(x)))
    rng = Lcg(29)
    for _ in range(200):
        a, x = f32(rng.uniform() * 80 - 40), f32(rng.uniform() * 20 - 10)
        if not is_pole(a + x) and not is_pole(a):
            pairs.add((a, x))
    with open(path, "w") as out:
        header(out, "a, x, Pochhammer's symbol gamma(a + x)/gamma(a)", ["a", "x", "poch"])
        for a, x in sorted(pairs):
            out.write("%s,%s,%s\n" % (fmt(a), fmt(x), val(mp.rf(mp.mpf(a), mp.mpf(x)))))


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "tests/data"
    os.makedirs(directory, exist_ok=True)
    write_gamma(os.path.join(directory, "gamma.csv"))
    write_beta(os.path.join(directory, "beta.csv"))
    write_gamma_incomplete(os.path.join(directory, "gamma_incomplete.csv"))
    write_binomial(os.path.join(directory, "binomial.csv"))
    write_log_gamma_correction(os.path.join(directory, "log_gamma_correction.csv"))
    write_tricomi(os.path.join(directory, "tricomi.csv"))
    write_psi(os.path.join(directory, "psi.csv"))
    write_cot(os.path.join(directory, "cot.csv"))
    write_alnrel(os.path.join(directory, "alnrel.csv"))
    write_poch(os.path.join(directory, "poch.csv"))


if __name__ == "__main__":
    main()
