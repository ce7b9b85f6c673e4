// The modified Givens rotation of Lawson, Hanson, Kincaid and Krogh (1979, the BLAS
// pair rotmg and rotm): it zeroes y1 of the scaled pair (d1, x1), (d2, y1) without a
// square root, with the rescaling by gamma = 4096 that keeps d1 and d2 in range. d2 may
// be negative: the same rotation then removes an observation (a downdate), which stands
// while the pair stays positive definite; otherwise the rotation is the zero matrix.
#pragma once

#include <cmath>

namespace korvs {

// The rotation's parameter vector in its compact form: flag -2 the identity, -1 the
// full matrix [h11 h12; h21 h22], 0 [1 h12; h21 1], 1 [h11 1; -1 h22].
template <class T> struct Rotation {
    int flag = -2;
    T h11 = 0, h21 = 0, h12 = 0, h22 = 0;
};

// rotmg: sets up the rotation and updates d1, d2 and x1 in place.
template <class T> inline Rotation<T> rotmg(T& d1, T& d2, T& x1, T y1) {
    constexpr T gam = T(4096), gamsq = gam * gam, rgamsq = T(1) / gamsq;
    Rotation<T> h;
    const T p2 = d2 * y1;
    if (d1 < T(0)) {
        h.flag = -1;
        d1 = d2 = x1 = T(0);
        return h;
    }
    if (p2 == T(0)) return h;
    const T p1 = d1 * x1, q2 = p2 * y1, q1 = p1 * x1;
    if (std::fabs(q1) > std::fabs(q2)) {
        h.h21 = -y1 / x1;
        h.h12 = p2 / p1;
        const T u = T(1) - h.h12 * h.h21;
        if (!(u > T(0))) {
            h = Rotation<T>{};
            h.flag = -1;
            d1 = d2 = x1 = T(0);
            return h;
        }
        h.flag = 0;
        d1 /= u;
        d2 /= u;
        x1 *= u;
    } else {
        if (q2 < T(0)) {
            h.flag = -1;
            d1 = d2 = x1 = T(0);
            return h;
        }
        h.flag = 1;
        h.h11 = p1 / p2;
        h.h22 = x1 / y1;
        const T u = T(1) + h.h11 * h.h22, temp = d2 / u;
        d2 = d1 / u;
        d1 = temp;
        x1 = y1 * u;
    }
    // The full form, for the rescaling below.
    auto full = [&h] {
        if (h.flag == 0) {
            h.h11 = T(1);
            h.h22 = T(1);
        } else if (h.flag == 1) {
            h.h21 = T(-1);
            h.h12 = T(1);
        }
        h.flag = -1;
    };
    if (d1 != T(0)) {
        while (d1 <= rgamsq || d1 >= gamsq) {
            full();
            if (d1 <= rgamsq) {
                d1 *= gamsq;
                x1 /= gam;
                h.h11 /= gam;
                h.h12 /= gam;
            } else {
                d1 /= gamsq;
                x1 *= gam;
                h.h11 *= gam;
                h.h12 *= gam;
            }
        }
    }
    if (d2 != T(0)) {
        while (std::fabs(d2) <= rgamsq || std::fabs(d2) >= gamsq) {
            full();
            if (std::fabs(d2) <= rgamsq) {
                d2 *= gamsq;
                h.h21 /= gam;
                h.h22 /= gam;
            } else {
                d2 /= gamsq;
                h.h21 *= gam;
                h.h22 *= gam;
            }
        }
    }
    return h;
}

// rotm: applies the rotation to the n pairs (a[j], z[j]): a := h11 a + h12 z,
// z := h21 a + h22 z, in the compact forms without the unit products.
template <class T> inline void rotm(const Rotation<T>& h, int n, T* __restrict a, T* __restrict z) {
    switch (h.flag) {
    case 0:
        for (int j = 0; j < n; ++j) {
            const T w = a[j], v = z[j];
            a[j] = w + v * h.h12;
            z[j] = w * h.h21 + v;
        }
        break;
    case 1:
        for (int j = 0; j < n; ++j) {
            const T w = a[j], v = z[j];
            a[j] = w * h.h11 + v;
            z[j] = -w + v * h.h22;
        }
        break;
    case -1:
        for (int j = 0; j < n; ++j) {
            const T w = a[j], v = z[j];
            a[j] = w * h.h11 + v * h.h12;
            z[j] = w * h.h21 + v * h.h22;
        }
        break;
    default: break;
    }
}

}  // namespace korvs
