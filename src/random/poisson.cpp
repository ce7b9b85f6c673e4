// Poisson deviates of mean theta, in double from single-precision uniforms. Below 15,
// inversion by a sequential search of the cumulative probabilities, which are kept in a
// table that grows through the call; from 15 on, the PTPE method of Schmeiser and
// Kachitvichyanukul (1981): a triangle and parallelograms about the mode with exponential
// tails, the ratio to the mode's probability by a product near the mode and otherwise
// squeezed and then formed by Stirling's formula.
#include <cmath>
#include <cstdarg>
#include <limits>

#include "deviates.hpp"
#include "frame/frame.hpp"
#include "tpe.hpp"

namespace korvs {
namespace {

// Inversion for theta < 15. The table's 64 entries reach far past any probability a
// uniform can tell from 1; the search goes on without storing beyond them.
class PoissonInversion {
public:
    explicit PoissonInversion(double theta) : theta_(theta) {
        term_ = std::exp(-theta);
        cumulative_[0] = term_;
    }

    int draw(double u) {
        for (int k = 0; k < size_; ++k) {
            if (u <= cumulative_[k]) return k;
        }
        double sum = cumulative_[size_ - 1], term = term_;
        for (int k = size_;; ++k) {
            term *= theta_ / k;
            if (sum + term == sum) return k - 1;  // the uniform lies beyond the rounded sum
            sum += term;
            if (k < kTable) {
                cumulative_[k] = sum;
                term_ = term;
                size_ = k + 1;
            }
            if (u <= sum) return k;
        }
    }

private:
    static constexpr int kTable = 64;
    double theta_, term_;
    double cumulative_[kTable];
    int size_ = 1;
};

// PTPE for theta >= 15.
class PoissonPtpe {
public:
    explicit PoissonPtpe(double theta) : mu_(theta), m_(std::floor(theta)), tpe_(layout(theta, m_)) {}

    template <class T> long long draw(Uniform<T>& u) const {
        return tpe_draw(u, tpe_, std::numeric_limits<long long>::max(), [this](long long ix, double v) { return accepted(ix, v); });
    }

private:
    // The triangle's half width p1 = trunc(2.195 sqrt(theta) - 2.2) + 0.5, the
    // parallelograms' height 0.133 + 8.56/(6.83 + theta), and the tails' rates
    // al (1 + al/2), below the slope of ln f at their edges xl and xr, with al = 1 - xl/theta
    // on the left and 1 - theta/xr on the right.
    static TpeLayout layout(double theta, double m) {
        const double p1 = std::trunc(2.195 * std::sqrt(theta) - 2.2) + 0.5;
        const double xl = m + 0.5 - p1, xr = m + 0.5 + p1;
        const double al = (theta - xl) / theta, ar = (xr - theta) / xr;
        return TpeLayout(m, p1, 0.133 + 8.56 / (6.83 + theta), al * (1 + al / 2), ar * (1 + ar / 2));
    }

    // v <= f(ix)/f(m): a product near the mode, otherwise the squeeze and then
    // ln(f(ix)/f(m)) = xm ln(f1/x1) + (ix - m) (ln(theta/x1) + 1) + fc(f1) - fc(x1) with
    // f1 = m + 1, x1 = ix + 1.
    bool accepted(long long ix, double v) const {
        const double k = std::fabs(static_cast<double>(ix) - m_);
        if (m_ < 100 || k <= 50) {
            double f = 1;
            if (m_ < ix) {
                for (double i = m_ + 1; i <= ix; ++i)
                    f *= mu_ / i;
            } else {
                for (double i = ix + 1; i <= m_; ++i)
                    f *= i / mu_;
            }
            return v <= f;
        }
        const double log_v = std::log(v);
        bool verdict;
        if (tpe_squeeze(k, mu_, log_v, &verdict)) return verdict;
        const double x1 = ix + 1.0, f1 = m_ + 1, d = ix - m_;
        const double bound = tpe_.xm * std::log1p(-d / x1) + d * (std::log1p((mu_ - x1) / x1) + 1) +
                             stirling_correction(f1) - stirling_correction(x1);
        return log_v <= bound;
    }

    double mu_, m_;
    TpeLayout tpe_;
};

// l_rnpoi
template <class T> void l_rnpoi(int n, double theta, int* r) {
    Uniform<T> u;
    if (!u.open()) return;
    if (theta < 15) {
        PoissonInversion table(theta);
        for (int i = 0; i < n; ++i)
            r[i] = table.draw(u.next());
    } else {
        const PoissonPtpe ptpe(theta);
        for (int i = 0; i < n; ++i)
            r[i] = clamp_to_int(static_cast<double>(ptpe.draw(u)));
    }
}

void l_random_poisson(int n_random, float theta, OptionList& opt, int** result) {
    auto check = [&] {
        if (!count_checked(n_random, "n_random")) return;
        // Above 1e9 a deviate could pass the largest int.
        if (!(theta > 0 && theta <= 1e9f)) {
            insert_real(1, theta);
            korvs_ermes(5, 11032);
        }
    };
    l_deviates(n_random, opt, result, no_options, check, [&](int* r) { l_rnpoi<float>(n_random, theta, r); });
}

}  // namespace
}  // namespace korvs

extern "C" KORVS_API int* korvs_random_poisson(int n_random, float theta, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, theta);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_random_poisson", [&] { korvs::l_random_poisson(n_random, theta, opt, &r); });
    va_end(ap);
    return r;
}
