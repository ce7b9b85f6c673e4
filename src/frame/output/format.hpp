// Number formats of printed tables: a format is a run of printf-like conversions with
// nothing between them, used cyclically over the columns. The conversion %W stands for
// a plain conversion chosen from the data to be printed.
#pragma once

namespace korvs {

constexpr int kMaxField = 40;  // widest field a conversion may ask for

enum FormatFlag { kFlagPlus = 1, kFlagMinus = 2, kFlagHash = 4, kFlagZero = 8, kFlagSpace = 16 };

// One conversion: "%", flags, width, "." precision, letter. For W the precision is the
// number of significant digits.
struct Conversion {
    int flags = 0;
    int width = 10;      // a missing width counts as 10
    int precision = -1;  // -1: not given
    char letter = 'W';
};

inline constexpr char kRealLetters[] = "WeEfgGdiouxX";
inline constexpr char kIntegerLetters[] = "WdiouxX";

// The default formats of the format setting 0, 1 and 2.
const char* default_format(int setting);

// Checks a format against the letters allowed and gives its number of conversions,
// stored into out when out is not null. A bad format raises one of 10001 to 10007 with
// l1 the format, and gives 0.
int parse_format(const char* format, const char* letters, Conversion* out);

inline bool integer_letter(char letter) {
    return letter == 'd' || letter == 'i' || letter == 'o' || letter == 'u' || letter == 'x' || letter == 'X';
}

// The choice of a plain conversion for a %W conversion and a set of values. The values
// go through scan(); when settle() then says so, through reduce() once more, to drop
// the decimal places that all values have as trailing zeros. NaN and infinities print as
// fill characters whatever the format and take no part in the choice.
class FormatChoice {
public:
    // digits: the significant digits the element type holds (6 for float, 15 for double).
    FormatChoice(const Conversion& w, int digits);
    void scan(double x);
    bool settle();  // true when the values must go through reduce()
    void reduce(double x);
    Conversion result() const;

private:
    Conversion w_;
    int digits_;
    bool any_ = false;
    bool integers_ = true;
    double largest_ = 0.0;
    Conversion chosen_;
    int needed_ = -1;  // decimals needed, once the reduction is under way
};

// The significant digits of an element type: the integer part of 0.05 - log10(eps).
int type_digits(double eps);

// The field of x in the plain conversion c: exactly c.width characters and a NUL into
// field, which has room for kMaxField + 1. NaN is a field of "." or, with nan_char 1, of
// blanks; infinities a field of "+" or "-"; a value too wide for its field a field of
// "*". An integer conversion truncates, and refuses values outside the int range.
void format_field(const Conversion& c, double x, int nan_char, char* field);

}  // namespace korvs
