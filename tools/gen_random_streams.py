#!/usr/bin/env python3
"""Golden streams of the random generators, from an independent model of the recurrences.

Writes tests/data/random_streams.csv and tests/data/random_deviates.csv:

    python3 tools/gen_random_streams.py tests/data

The model follows the generators' definition with Python integers and exact rationals:
s = a s mod (2^31 - 1) for the multipliers 16807, 397204094 and 950706376; the float
deviate is s times 0x2FFFFFFF (as a single-precision number) rounded once to single, the
double one s/(2^31 - 1) as a double product; a shuffled generator first fills its table of
128 values from the seed (the float table holds d/(2^31 - 1) rounded to single, the double
one d times 4.656612875245797e-10), then for each step returns table[s mod 128] and stores
the new value there. Deviates whose transformation is fixed are formed from the model's
uniforms branch for branch: single-precision arithmetic is emulated by rounding each
operation's double result to single (exact for + - * / and sqrt), and logarithms,
exponentials, powers and the circular functions are taken with mpmath at 40 digits and
rounded to single; the double twin's are the C library's own, which Python calls too.
Integer deviates are exact; real ones are held to a few units of the twin's precision.
"""
import math
import struct
import sys
from fractions import Fraction

import mpmath

mpmath.mp.dps = 40

M = 2147483647
MULTIPLIER = {1: 16807, 2: 16807, 3: 397204094, 4: 397204094, 5: 950706376, 6: 950706376}
FSCALE = struct.unpack('<f', struct.pack('<I', 0x2FFFFFFF))[0]
DSCALE = 1 / 2147483647


def f32(x):
    """x rounded to single precision (to nearest, ties to even)."""
    return struct.unpack('<f', struct.pack('<f', x))[0]


def fvalue(s):
    return f32(float(Fraction(s) * Fraction(FSCALE)))  # exact product, rounded once


def dvalue(s):
    return s * DSCALE


class Stream:
    """One thread's generator: seed, option and the table of one twin."""

    def __init__(self, seed, option, single):
        self.s = seed
        self.a = MULTIPLIER[option]
        self.shuffled = option % 2 == 0
        self.single = single
        self.table = None

    def value(self, s):
        return fvalue(s) if self.single else dvalue(s)

    def fill_table(self):
        d = self.s
        self.table = []
        for _ in range(128):
            d = self.a * d % M
            self.table.append(f32(d / 2147483647.0) if self.single else d * 4.656612875245797e-10)
        self.s = d

    def next(self):
        if self.shuffled and self.table is None:
            self.fill_table()
        self.s = self.a * self.s % M
        if not self.shuffled:
            return self.value(self.s)
        j = self.s % 128
        r = self.table[j]
        self.table[j] = self.value(self.s)
        return r


def streams(out):
    out.write('# Uniform streams: twin (0 float, 1 double), generator option, seed, draw number,\n')
    out.write('# the value of that draw and the seed after it. Made by tools/gen_random_streams.py.\n')
    out.write('twin,generator,seed,draw,value,seed_after\n')
    for single in (True, False):
        for option in range(1, 7):
            for seed in (123457, 1, 2147483646):
                g = Stream(seed, option, single)
                for draw in range(1, 10001):
                    v = g.next()
                    if draw <= 5 or draw in (128, 129, 10000):
                        out.write('%d,%d,%d,%d,%r,%d\n' % (0 if single else 1, option, seed, draw, v, g.s))


def uniforms(seed, n, single, option=1):
    g = Stream(seed, option, single)
    return [g.next() for _ in range(n)], g


def kinderman_ramage(g, n, single):
    """Kinderman and Ramage's normals in the twin's arithmetic, as the library forms them."""
    rnd = f32 if single else (lambda x: x)
    if single:
        log = lambda x: f32(float(mpmath.log(x)))
        exp = lambda x: f32(float(mpmath.exp(x)))
        sqrt = lambda x: f32(math.sqrt(x))
    else:
        log, exp, sqrt = math.log, math.exp, math.sqrt
    xi = rnd(2.216035867166471)
    half_xi2 = rnd(2.216035867166471 * 2.216035867166471 / 2)
    c1, c2 = rnd(0.398942280401433), rnd(0.180025191068563)

    def excess(x):
        return rnd(rnd(c1 * exp(rnd(rnd(-x * x) / 2))) - rnd(c2 * rnd(xi - x)))

    def wedge(base, width, inner, bound):
        base, width, inner, bound = rnd(base), rnd(width), rnd(inner), rnd(bound)
        while True:
            v, w = g.next(), g.next()
            x = rnd(base + rnd(width * min(v, w)))
            if x < 0:
                continue
            if max(v, w) <= inner or rnd(bound * abs(rnd(v - w))) <= excess(x):
                return x if v < w else -x

    out = []
    for _ in range(n):
        u1 = g.next()
        if u1 < rnd(0.884070402298758):
            v = g.next()
            x = rnd(rnd(rnd(rnd(rnd(1.131131635444180) * u1) + v) - 1) * xi)
        elif u1 >= rnd(0.973310954173898):
            while True:
                v, w = g.next(), g.next()
                t = rnd(half_xi2 - log(w))
                if rnd(rnd(t * v) * v) <= half_xi2:
                    break
            x = sqrt(rnd(2 * t))
            x = x if u1 < rnd(0.986655477086949) else -x
        elif u1 >= rnd(0.958720824790463):
            x = wedge(xi, -0.630834801921960, 0.755591531667601, 0.034240503750111)
        elif u1 >= rnd(0.911312780288703):
            x = wedge(0.479727404222441, 1.105473661022070, 0.872834976671790, 0.049264496342790)
        else:
            x = wedge(0.479727404222441, -0.595507138015940, 0.805577924423817, 0.053377549506886)
        out.append(x)
    return out


def von_mises(g, n, c, single):
    """Best and Fisher's angles in the twin's arithmetic, as the library forms them: in
    r - 1, 1 - z and 1 + z."""
    rnd = f32 if single else (lambda x: x)
    fn = (lambda f: (lambda *a: f32(float(f(*a))))) if single else (lambda f: (lambda *a: float(f(*a))))
    sin, cos, log, atan2 = fn(mpmath.sin), fn(mpmath.cos), fn(mpmath.log), fn(mpmath.atan2)
    half_pi, c = rnd(1.5707963267948966), rnd(c)
    below_pi = f32(3.1415925) if single else 3.141592653589793
    h = rnd(math.hypot(1, rnd(2 * c)))
    tau = rnd(1 + h)
    root = rnd(math.sqrt(rnd(2 * tau)))
    rho = rnd(rnd(2 * c) / rnd(tau + root))
    one_minus_rho = rnd(rnd(rnd(1 + rnd(1 / rnd(h + rnd(2 * c)))) + root) / rnd(tau + root))
    s = rnd(rnd(one_minus_rho * one_minus_rho) / rnd(2 * rho))
    out = []
    for _ in range(n):
        while True:
            u1, u2 = g.next(), g.next()
            sine, cosine = sin(rnd(half_pi * u1)), cos(rnd(half_pi * u1))
            one_minus_z, one_plus_z = rnd(rnd(2 * sine) * sine), rnd(rnd(2 * cosine) * cosine)
            r_plus_z = rnd(s + one_plus_z)
            cc = rnd(rnd(rnd(c * s) * rnd(2 + s)) / r_plus_z)
            one_minus_f = rnd(rnd(s * one_minus_z) / r_plus_z)
            if rnd(rnd(cc * rnd(2 - cc)) - u2) > 0 or rnd(rnd(log(rnd(cc / u2)) + 1) - cc) >= 0:
                break
        sine = rnd(math.sqrt(max(0.0, rnd(one_minus_f * rnd(2 - one_minus_f)))))
        angle = min(atan2(sine, rnd(1 - one_minus_f)), below_pi)
        out.append(-angle if g.next() < 0.5 else angle)
    return out


class Twin:
    """The arithmetic of one twin: rounding after each operation, and its functions."""

    def __init__(self, single):
        self.single = single
        self.r = f32 if single else (lambda x: x)
        if single:
            self.fn = lambda f: (lambda *a: f32(float(f(*[mpmath.mpf(x) for x in a]))))
        else:
            self.fn = {mpmath.log: math.log, mpmath.exp: math.exp, mpmath.power: math.pow}.get
        self.log, self.exp, self.pow = self.fn(mpmath.log), self.fn(mpmath.exp), self.fn(mpmath.power)
        self.huge = f32(3.4028234663852886e38) if single else 1.7976931348623157e308
        self.tiny = f32(1.1754943508222875e-38) if single else 2.2250738585072014e-308


def gamma_gs(g, n, a, t):
    """Ahrens and Dieter's GS for a < 1."""
    r = t.r
    a = r(a)
    b = r(r(r(2.718281828459045) + a) * r(0.36787944117144233))
    inverse_a, log_tiny = r(1 / a), t.log(t.tiny)
    out = []
    for _ in range(n):
        while True:
            u1, u2 = g.next(), g.next()
            p, e2 = r(b * u1), -t.log(u2)
            if p <= 1:
                log_x = r(t.log(p) * inverse_a)
                x = t.tiny if log_x < log_tiny else t.exp(log_x)
                if e2 >= x:
                    break
            else:
                x = -t.log(r(r(b - p) * inverse_a))
                if r(r(1 - a) * t.log(x)) <= e2:
                    break
        out.append(x)
    return out


def beta_deviates(g, n, p, q, t):
    """Johnk below 1 and 1, Cheng's BB above 1, BC otherwise."""
    r = t.r
    p, q = r(p), r(q)
    log4, one_plus_log5 = f32(1.386294), f32(2.609438)

    def scaled_exp(a, v):
        return t.huge if v >= t.log(r(t.huge / a)) else r(a * t.exp(v))

    out = []
    if p < 1 and q < 1:
        ip, iq = r(1 / p), r(1 / q)
        for _ in range(n):
            while True:
                u1, u2 = g.next(), g.next()
                x, y = t.pow(u1, ip), t.pow(u2, iq)
                s = r(x + y)
                if 0 < s <= 1:
                    out.append(r(x / s))
                    break
                assert s != 0, 'the logarithms path is not modelled'
        return out
    if min(p, q) > 1:
        a, b = min(p, q), max(p, q)
        alpha = r(a + b)
        beta = r(math.sqrt(r(r(alpha - 2) / r(r(r(2 * a) * b) - alpha))))
        gamma = r(a + r(1 / beta))
        for _ in range(n):
            while True:
                u1, u2 = g.next(), g.next()
                v = r(beta * t.log(r(u1 / r(1 - u1))))
                w = scaled_exp(a, v)
                z, rr = r(r(u1 * u1) * u2), r(r(gamma * v) - log4)
                s = r(r(a + rr) - w)
                if r(s + one_plus_log5) >= r(5 * z):
                    break
                lz = t.log(z)
                if s >= lz or r(rr + r(alpha * t.log(r(alpha / r(b + w))))) >= lz:
                    break
            out.append(r(w / r(b + w)) if a == p else r(b / r(b + w)))
        return out
    a, b = max(p, q), min(p, q)
    alpha, beta = r(a + b), r(1 / b)
    delta = r(r(1 + a) - b)
    k1 = r(r(delta * r(r(0.0138889) + r(r(0.0416667) * b))) / r(r(a * beta) - r(0.777778)))
    k2 = r(r(0.25) + r(r(r(0.5) + r(r(0.25) / delta)) * b))
    for _ in range(n):
        while True:
            u1, u2 = g.next(), g.next()
            if u1 < 0.5:
                y = r(u1 * u2)
                z = r(u1 * y)
                if r(r(r(0.25 * u2) + z) - y) >= k1:
                    continue
            else:
                z = r(r(u1 * u1) * u2)
                if z <= 0.25:
                    w = scaled_exp(a, r(beta * t.log(r(u1 / r(1 - u1)))))
                    break
                if z >= k2:
                    continue
            v = r(beta * t.log(r(u1 / r(1 - u1))))
            w = scaled_exp(a, v)
            if r(r(alpha * r(t.log(r(alpha / r(b + w))) + v)) - log4) >= t.log(z):
                break
        out.append(r(w / r(b + w)) if a == p else r(b / r(b + w)))
    return out


def poisson_inversion(g, n, theta):
    """Inversion below 15, in double from the stream's values."""
    term = math.exp(-theta)
    cumulative = [term]
    out = []
    for _ in range(n):
        u = g.next()
        k = next((j for j, c in enumerate(cumulative) if u <= c), None)
        if k is None:
            total, t, k = cumulative[-1], term, len(cumulative)
            while True:
                t *= theta / k
                if total + t == total:
                    k -= 1
                    break
                total += t
                if k < 64:
                    cumulative.append(total)
                    term = t
                if u <= total:
                    break
                k += 1
        out.append(k)
    return out


def binomial_inversion(g, n_random, n, p):
    """Inversion below n p = 10, p above 1/2 reflected, in double."""
    reflected = p > 0.5
    rp = 1 - p if reflected else p
    s = rp / (1 - rp)
    a, qn = (n + 1.0) * s, math.pow(1 - rp, n)
    out = []
    for _ in range(n_random):
        u, f, ix = g.next(), qn, 0
        while u >= f and ix < n and f > 0:
            u -= f
            ix += 1
            f *= a / ix - s
        out.append(n - ix if reflected else ix)
    return out


def logarithmic(g, n, a):
    """Kemp's LS below 0.95, LK from 0.95 on, in double."""
    h = math.log1p(-a)
    out = []
    for _ in range(n):
        if a < 0.95:
            v, term, x = g.next(), -a / h, 1
            while v > term and term > 0:
                v -= term
                term *= a * x / (x + 1.0)
                x += 1
            out.append(x)
            continue
        v = g.next()
        if v >= a:
            out.append(1)
            continue
        q = -math.expm1(h * g.next())
        out.append(int(1 + math.log(v) / math.log(q)) if v <= q * q else (2 if v <= q else 1))
    return out


def deviates(out):
    out.write('# Deviates with a fixed transformation of their uniforms, generator option 1:\n')
    out.write('# twin (0 float, 1 double), routine, parameter, seed, index from 0, value, and exact\n')
    out.write('# (1: the routine forms the value exactly, 0: within a few units). Made by\n')
    out.write('# tools/gen_random_streams.py.\n')
    out.write('twin,routine,parameter,seed,index,value,exact\n')
    seed = 987654
    n = 40
    for single in (True, False):
        t = 0 if single else 1
        rnd = f32 if single else (lambda x: x)

        def row(name, parameter, i, value, exact):
            out.write('%d,%s,%r,%d,%d,%r,%d\n' % (t, name, parameter, seed, i, value, exact))

        # Exponential: -ln u.
        us, _ = uniforms(seed, n, single)
        for i, u in enumerate(us):
            row('exponential', 0, i, float(-mpmath.log(u)), 0)
        # Triangular: sqrt(u/2) or 1 - sqrt((1 - u)/2), each operation rounded.
        for i, u in enumerate(us):
            v = rnd(math.sqrt(rnd(0.5 * u))) if u <= 0.5 else rnd(1 - rnd(math.sqrt(rnd(0.5 * rnd(1 - u)))))
            row('triangular', 0, i, v, 1)
        # Cauchy: pairs from a buffer of 100, accepted inside the half disk.
        g = Stream(seed, 1, single)
        buffer, used, i = [], 100, 0
        while i < n:
            if used == 100:
                buffer, used = [g.next() for _ in range(100)], 0
            v, w = rnd(2 * rnd(buffer[used] - 0.5)), buffer[used + 1]
            used += 2
            if rnd(rnd(w * w) + rnd(v * v)) <= 1:
                row('cauchy', 0, i, rnd(v / w), 1)
                i += 1
        # Chi-squared with an even df up to 16: -2 (ln product + count ln 16), the product
        # kept above 2^-30.
        for df in (2, 6, 16):
            g = Stream(seed, 1, single)
            guard, factor, c = f32(9.313225746154785e-10), f32(4294967040.0), rnd(2.7725889682769775)
            for i in range(n):
                product, count = 1.0, 0.0
                for _ in range(df // 2):
                    product = rnd(product * g.next())
                    if product < guard:
                        product, count = rnd(product * factor), count - 8
                x = -2 * (mpmath.log(product) + mpmath.mpf(rnd(count * c)))
                row('chi_squared', df, i, float(x), 0)
        # Kinderman and Ramage's normals, enough of them to pass through every region.
        for i, x in enumerate(kinderman_ramage(Stream(seed, 1, single), 400, single)):
            row('normal_ar', 0, i, x, 0)
        # Best and Fisher's von Mises angles at c = 2.5.
        for i, x in enumerate(von_mises(Stream(seed, 1, single), n, 2.5, single)):
            row('von_mises', 2.5, i, x, 0)
        arithmetic = Twin(single)
        for a in (0.4, 0.05):
            for i, x in enumerate(gamma_gs(Stream(seed, 1, single), n, a, arithmetic)):
                row('gamma', a, i, x, 0)
        for name, p, q in (('beta_johnk', 0.4, 0.6), ('beta_bb', 2.0, 3.0), ('beta_bc', 0.6, 2.0),
                           ('beta_bc_swapped', 2.0, 0.6)):
            for i, x in enumerate(beta_deviates(Stream(seed, 1, single), n, p, q, arithmetic)):
                row(name, 0, i, x, 0)
        for theta in (0.5, 9.5):
            for i, x in enumerate(poisson_inversion(Stream(seed, 1, True), n, f32(theta))):
                if single:
                    row('poisson', theta, i, x, 1)
        for nn, p in ((20, 0.3), (60, 0.9)):
            for i, x in enumerate(binomial_inversion(Stream(seed, 1, single), n, nn, rnd(p))):
                row('binomial', nn + p, i, x, 1)
        for a in (0.5, 0.97):
            for i, x in enumerate(logarithmic(Stream(seed, 1, single), n, rnd(a))):
                row('logarithmic', a, i, x, 1)
        # Discrete uniform: trunc(u k + 1) with the exact product.
        for k in (1, 7, 1000, 2147483647):
            for i, u in enumerate(us):
                row('uniform_discrete', k, i, min(k, math.floor(Fraction(u) * k + 1)), 1)
        # Geometric: trunc(ln u/ln(1 - p) + 1); the rows are far from a whole number.
        for p in (0.25, 0.001):
            p_twin = rnd(p)
            lq = mpmath.log1p(-mpmath.mpf(p_twin))
            for i, u in enumerate(us):
                x = mpmath.log(u) / lq + 1
                assert abs(x - mpmath.nint(x)) > 1e-6, 'too close to a whole number'
                row('geometric', p, i, int(mpmath.floor(x)), 1)


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else 'tests/data'
    with open(folder + '/random_streams.csv', 'w') as out:
        streams(out)
    with open(folder + '/random_deviates.csv', 'w') as out:
        deviates(out)


if __name__ == '__main__':
    main()
