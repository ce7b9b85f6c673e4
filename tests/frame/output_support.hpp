// Helpers of the output tests: the thread's output settings and page at their defaults,
// a table printed in string mode, and the lines of expected texts set out by hand.
#pragma once

#include <korvstat.h>

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <type_traits>

#include "korvs_test.hpp"

namespace output_test {

class OutputTest : public korvs_test::KorvsTest {
protected:
    void SetUp() override {
        korvs_test::KorvsTest::SetUp();
        korvs_write_options(0, nullptr);
        set_page(78, 60);
    }
    static void set_page(int width, int length) {
        korvs_page(-1, &width);
        korvs_page(-2, &length);
    }
    static void set(int option, int value) { korvs_write_options(option, &value); }
};

// The text of a table in string mode, the options given without their final 0: "<null>"
// when the call stored null, "<untouched>" when the walk ended before the string option.
template <class T, class... Options>
std::string table(const char* title, int nra, int nca, T* a, Options... options) {
    static char sentinel;
    char* text = &sentinel;
    if constexpr (std::is_same_v<T, float>) {
        korvs_f_write_matrix(title, nra, nca, a, options..., KORVS_RETURN_STRING, &text, 0);
    } else if constexpr (std::is_same_v<T, double>) {
        korvs_d_write_matrix(title, nra, nca, a, options..., KORVS_RETURN_STRING, &text, 0);
    } else {
        korvs_i_write_matrix(title, nra, nca, a, options..., KORVS_RETURN_STRING, &text, 0);
    }
    if (text == &sentinel) return "<untouched>";
    if (!text) return "<null>";
    std::string out = text;
    std::free(text);
    return out;
}

inline std::string sp(int n) { return std::string(static_cast<std::size_t>(n), ' '); }

// A line of the label and then each cell set right in a column of the width (by default
// the 2 blanks and 11 places of the default format), ended by a newline.
inline std::string row(std::string label, std::initializer_list<std::string> cells, int width = 13) {
    for (const std::string& cell : cells)
        label += sp(width - static_cast<int>(cell.size())) + cell;
    return label + "\n";
}

}  // namespace output_test
