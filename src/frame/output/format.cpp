// Formats of printed tables: validation of a format string, the choice that replaces a
// %W conversion by a plain one fitted to the data, and the printing of one field.
#include "frame/output/format.hpp"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "korvstat.h"

namespace korvs {

const char* default_format(int setting) {
    static const char* const formats[3] = {"%11.4W", "%13.6W", "%13.5e"};
    return formats[setting >= 0 && setting <= 2 ? setting : 0];
}

namespace {

int flag_bit(char ch) {
    switch (ch) {
    case '+': return kFlagPlus;
    case '-': return kFlagMinus;
    case '#': return kFlagHash;
    case '0': return kFlagZero;
    case ' ': return kFlagSpace;
    default: return 0;
    }
}

// Digits of a width or precision; large numbers stop growing, they fail anyway.
int read_number(const char*& p) {
    int value = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        if (value < 1000) value = value * 10 + (*p - '0');
    return value;
}

int bad_format(const char* format, int code) {
    korvs_e1stl(1, format);
    korvs_ermes(5, code);
    return 0;
}

}  // namespace

int parse_format(const char* format, const char* letters, Conversion* out) {
    if (std::strlen(format) < 3) return bad_format(format, 10001);
    if (!std::strchr(format, '%')) return bad_format(format, 10003);
    int count = 0;
    for (const char* p = format; *p;) {
        if (*p != '%') return bad_format(format, 10002);
        ++p;
        Conversion c;
        for (int bit; (bit = flag_bit(*p)) != 0; ++p)
            c.flags |= bit;
        if (*p == '*') return bad_format(format, 10004);
        if (*p >= '0' && *p <= '9') c.width = read_number(p);
        if (c.width > kMaxField) return bad_format(format, 10005);
        if (*p == '.') {
            ++p;
            if (*p == '*') return bad_format(format, 10004);
            c.precision = read_number(p);
        }
        if (c.precision > c.width) return bad_format(format, 10006);
        if (*p == '\0' || !std::strchr(letters, *p)) return bad_format(format, 10007);
        c.letter = *p++;
        if (out) out[count] = c;
        ++count;
    }
    return count;
}

int type_digits(double eps) { return static_cast<int>(0.05 - std::log10(eps)); }

namespace {

// The plain conversion for one value x in width w with s significant digits.
Conversion value_format(double x, int flags, int w, int s) {
    Conversion fixed{flags, w, 0, 'f'};
    int p = s - 1 < w - 7 ? s - 1 : w - 7;
    const Conversion exponent{flags, w, p > 0 ? p : 0, 'e'};
    if (std::isnan(x)) return w >= 7 ? exponent : fixed;
    double a = std::fabs(x);
    if (w >= 7 && ((a > 0.0 && a < 0.001) || a >= 1e7)) return exponent;
    if (std::isinf(a)) return fixed;  // a narrow field of "+" or "-" whatever the decimals
    int length;  // digits before the decimal point
    int d;       // decimals
    if (a == 0.0) {
        length = 1;
        d = s;
    } else if (a >= 1.0) {
        int k = static_cast<int>(std::log10(a));
        length = k + 1;
        d = s - length;
        // Rounding to d decimals can carry into a new leading digit (9.99996 to 10.0000).
        if (d > 0 && static_cast<int>(std::log10(a + 0.5 * std::pow(10.0, -d))) > k) {
            --d;
            ++length;
        }
    } else {
        double t = -std::log10(a);
        int k = static_cast<int>(t);
        length = 1;
        d = s + k;
        if (t == k) {
            --d;  // a power of ten has one leading zero fewer than its logarithm says
        } else {
            double rounded = std::log10(a + 0.5 * std::pow(10.0, -d));
            if (rounded >= 0.0 || static_cast<int>(-rounded) < k) --d;
        }
    }
    if (d < 0) d = 0;
    while (length + d + 2 > w) {
        if (w >= 7) return exponent;
        if (d > 0)
            --d;
        else
            --length;
    }
    fixed.precision = d;
    return fixed;
}

}  // namespace

FormatChoice::FormatChoice(const Conversion& w, int digits) : w_(w) {
    int s = w.precision < 0 ? 4 : w.precision;
    digits_ = s < digits ? s : digits;
}

// NaN takes no part in the choice. An infinity does: it is the largest value, and no
// integer, so with it the whole set takes the exponent form in a field of 7 or more.
void FormatChoice::scan(double x) {
    if (std::isnan(x)) return;
    any_ = true;
    double a = std::fabs(x);
    if (a > largest_) largest_ = a;
    if (integers_) {
        integers_ = x == std::trunc(x) && a < 2147483647.0 && x > -std::pow(10.0, w_.width - 1) &&
                    x < std::pow(10.0, w_.width);
    }
}

bool FormatChoice::settle() {
    if (!any_) {
        chosen_ = value_format(std::nan(""), w_.flags, w_.width, digits_);
    } else if (integers_) {
        chosen_ = Conversion{w_.flags, w_.width, -1, 'd'};
    } else {
        chosen_ = value_format(largest_, w_.flags, w_.width, digits_);
    }
    if (chosen_.letter == 'f' && chosen_.precision > 0) {
        needed_ = 0;
        return true;
    }
    return false;
}

void FormatChoice::reduce(double x) {
    if (!std::isfinite(x) || needed_ == chosen_.precision) return;
    double r = std::round(x * std::pow(10.0, chosen_.precision));
    int need = chosen_.precision;
    while (need > needed_ && std::fmod(r, 10.0) == 0.0) {
        r /= 10.0;
        --need;
    }
    needed_ = need;
}

Conversion FormatChoice::result() const {
    Conversion c = chosen_;
    if (needed_ >= 0) c.precision = needed_;
    return c;
}

void format_field(const Conversion& c, double x, int nan_char, char* field) {
    const int w = c.width;
    auto fill = [&](char ch) {
        std::memset(field, ch, static_cast<std::size_t>(w));
        field[w] = '\0';
    };
    if (std::isnan(x)) return fill(nan_char == 1 ? ' ' : '.');
    if (std::isinf(x)) return fill(x > 0 ? '+' : '-');
    char conversion[32];
    char* s = conversion;
    *s++ = '%';
    for (const char* f = "+-#0 "; *f; ++f)
        if (c.flags & flag_bit(*f)) *s++ = *f;
    if (c.precision >= 0)
        std::snprintf(s, sizeof conversion - (s - conversion), "%d.%d%c", w, c.precision, c.letter);
    else
        std::snprintf(s, sizeof conversion - (s - conversion), "%d%c", w, c.letter);
    char text[64];
    int n;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (integer_letter(c.letter)) {
        if (x >= 2147483648.0 || x < -2147483648.0) return fill('*');
        int v = static_cast<int>(x);  // truncation
        if (c.letter == 'd' || c.letter == 'i')
            n = std::snprintf(text, sizeof text, conversion, v);
        else
            n = std::snprintf(text, sizeof text, conversion, static_cast<unsigned>(v));
    } else {
        n = std::snprintf(text, sizeof text, conversion, x);
    }
#pragma GCC diagnostic pop
    if (n < 0 || n > w) return fill('*');
    std::memcpy(field, text, static_cast<std::size_t>(n) + 1);
}

}  // namespace korvs
