// korvs_r2ase: the statistics of one case of a fitted linear model: residual, leverage,
// standardized and deleted (studentized) residuals, Cook's distance (Cook 1977), DFFITS
// (Belsley, Kuh and Welsch 1980), the limits of the mean response and of a new
// observation, and the Scheffe band. The deleted variance comes from the update formula
// s(i)^2 = (SSE - e^2 w / (1 - h)) / (dfe - 1), without refitting.
#include <cmath>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "regression.hpp"

namespace korvs {

template <class T> int r2ase(const CaseModel<T>& m, const Case<T>& c, T out[]) {
    int status = 0;
    run_traced("korvs_r2ase", [&] {
        using stat::safe_divide;
        const T nan = mach<T>::nan, eps = mach<T>::eps;
        for (int i = 0; i < kCaseItems + 2; ++i) out[i] = nan;
        if (c.w < T(0)) {
            korvs_e1sti(1, c.row);
            insert_real(1, c.w);
            korvs_ermes(4, 20222);
            status = -1;
            return;
        }
        if (std::isnan(c.w) || std::isnan(c.yhat) || std::isnan(c.leverage)) {
            status = 1;
            return;
        }
        T h = c.leverage * c.w;
        if (h > T(1) - T(10) * eps) {
            if (h > T(1) + T(1000) * eps) {
                korvs_e1sti(1, c.row);
                insert_real(1, h);
                korvs_ermes(3, 20051);
            }
            h = T(1);
        }
        const T s2 = m.dfe == T(0) ? nan : safe_divide(m.sse, m.dfe), e = c.y - c.yhat;
        out[kObserved] = c.y;
        out[kPredicted] = c.yhat;
        out[kResidual] = e;
        out[kLeverage] = h;
        if (e != T(0) && m.dfe != T(0) && c.w != T(0) && T(1) - h != T(0)) {
            const T q = (T(1) - h) / c.w;
            out[kStandardized] = safe_divide(e, std::sqrt(s2 * q));
            out[kCooks] = safe_divide(e * e * c.w * h / T(m.p), (T(1) - h) * (T(1) - h) * s2);
            if (m.dfe != T(1)) {
                T sd = (m.sse - e * e / q) / (m.dfe - T(1));
                const T scale = (m.sse + e * e / q) / (m.dfe - T(1));
                if (sd < T(10) * eps * scale) {
                    if (sd < T(-1000) * eps * scale) {
                        korvs_e1sti(1, c.row);
                        insert_real(1, sd);
                        korvs_ermes(3, 20052);
                    }
                    sd = T(0);
                }
                out[kDeleted] = safe_divide(e, std::sqrt(sd * q));
                out[kDffits] = safe_divide(std::sqrt(h * c.w) * e, std::sqrt(sd) * (T(1) - h));
            }
        }
        // Var(yhat) = s2 x'(X'WX)^-1 x = s2 h / w; a new observation at weight w2 adds s2 / w2.
        const T var_mean = s2 * h / c.w;
        out[kMeanLower] = c.yhat - m.t * std::sqrt(var_mean);
        out[kMeanUpper] = c.yhat + m.t * std::sqrt(var_mean);
        if (std::isnan(c.w2)) {
            status = 1;
        } else if (!(c.w2 > T(0))) {
            korvs_e1sti(1, c.row);
            insert_real(1, c.w2);
            korvs_ermes(4, 20221);
            status = -1;
            return;
        } else {
            const T var_new = s2 / c.w2 + var_mean;
            out[kNewLower] = c.yhat - m.t * std::sqrt(var_new);
            out[kNewUpper] = c.yhat + m.t * std::sqrt(var_new);
        }
        if (!std::isnan(m.scheffe) && m.dfe > T(0)) {
            const T half = std::sqrt(var_mean * m.scheffe);
            out[kCaseItems] = c.yhat - half;
            out[kCaseItems + 1] = c.yhat + half;
        }
    });
    return status;
}

template int r2ase(const CaseModel<float>&, const Case<float>&, float[]);
template int r2ase(const CaseModel<double>&, const Case<double>&, double[]);

}  // namespace korvs
