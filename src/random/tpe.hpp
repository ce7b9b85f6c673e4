// What the binomial's BTPE (Kachitvichyanukul and Schmeiser, CACM 31, 1988) and the
// Poisson's PTPE (Schmeiser and Kachitvichyanukul, 1981) share: the majorant of a
// triangle centred at the mode, two parallelograms beside it and exponential tails, the
// candidate it proposes for two uniforms, and the correction of Stirling's formula that
// their acceptance tests use away from the mode. Both compute in double in either twin.
#pragma once

#include <cmath>

namespace korvs {

// ln gamma(y) - ((y - 1/2) ln y - y + ln(2 pi)/2), Stirling's series to its fifth term:
// (13860 - (462 - (132 - (99 - 140/y^2)/y^2)/y^2)/y^2)/y/166320.
inline double stirling_correction(double y) {
    const double y2 = y * y;
    return (13860 - (462 - (132 - (99 - 140 / y2) / y2) / y2) / y2) / y * 6.012506012506012e-06;
}

// The majorant of the ratio f(x)/f(m) around the mode m: the triangle of half width p1
// and height 1 centred at xm = m + 1/2, parallelograms of height c on either side, and
// tails c e^(-lambda distance) beyond xl = xm - p1 and xr = xm + p1.
struct TpeLayout {
    double xm, p1, c, xl, xr, lambda_l, lambda_r;
    double p2, p3, p4;  // the cumulative areas after the triangle's p1

    TpeLayout(double mode, double half_width, double height, double rate_l, double rate_r)
        : xm(mode + 0.5), p1(half_width), c(height), xl(xm - half_width), xr(xm + half_width),
          lambda_l(rate_l), lambda_r(rate_r) {
        p2 = p1 * (1 + 2 * c);
        p3 = p2 + c / lambda_l;
        p4 = p3 + c / lambda_r;
    }

    // The candidate for the uniforms s (scaled by p4 here) and v. Returns 1 when it is
    // accepted at once (inside the triangle), 0 when the acceptance test v <= f(ix)/f(m)
    // is still to be made (with v rescaled to the majorant's height), -1 when it lies
    // outside every piece and a new pair is needed.
    int candidate(double s, double v, long long* ix, double* height) const {
        s *= p4;
        if (s <= p1) {
            *ix = static_cast<long long>(std::floor(xm - p1 * v + s));
            return 1;
        }
        if (s <= p2) {
            const double x = xl + (s - p1) / c;
            v = v * c + 1 - std::fabs(xm - x) / p1;
            if (v > 1 || v <= 0) return -1;
            *ix = static_cast<long long>(std::floor(x));
        } else if (s <= p3) {
            const double x = xl + std::log(v) / lambda_l;
            if (x < 0) return -1;
            *ix = static_cast<long long>(std::floor(x));
            v *= (s - p2) * lambda_l;
        } else {
            *ix = static_cast<long long>(std::floor(xr - std::log(v) / lambda_r));
            v *= (s - p3) * lambda_r;
        }
        *height = v;
        return 0;
    }
};

// One deviate: pairs of uniforms until a candidate is accepted at once, or is not above
// top and passes accepted(ix, v), the test v <= f(ix)/f(m).
template <class U, class Accept> long long tpe_draw(U& u, const TpeLayout& tpe, long long top, Accept accepted) {
    for (;;) {
        const double s = u.next(), v0 = u.next();
        long long ix;
        double v;
        const int verdict = tpe.candidate(s, v0, &ix, &v);
        if (verdict == 1) return ix;
        if (verdict == 0 && ix <= top && accepted(ix, v)) return ix;
    }
}

// The squeeze of ln(f(m + k)/f(m)) for a spread sigma2 (npq, or the Poisson mean) about
// -k^2/(2 sigma2): true and *accept set when ln v decides the test on its own.
inline bool tpe_squeeze(double k, double sigma2, double log_v, bool* accept) {
    const double bound = (k / sigma2) * ((k * (k / 3 + 0.625) + 1.0 / 6) / sigma2 + 0.5);
    const double centre = -k * k / (2 * sigma2);
    if (log_v < centre - bound) {
        *accept = true;
        return true;
    }
    if (log_v > centre + bound) {
        *accept = false;
        return true;
    }
    return false;
}

}  // namespace korvs
