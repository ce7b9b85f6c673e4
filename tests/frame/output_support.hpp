// Helpers of the output tests: the write_matrix routine of an element type, a table
// printed in string mode, and blanks counted out for expected texts written by hand.
#pragma once

#include <korvstat.h>

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <type_traits>

#include "korvs_test.hpp"

namespace output_test {

// The fixture of the output tests: the thread's output settings and page at their
// defaults, whatever a test run before in the same process left.
class OutputTest : public korvs_test::KorvsTest {
protected:
    void SetUp() override {
        korvs_test::KorvsTest::SetUp();
        korvs_write_options(0, nullptr);
        int width = 78, length = 60;
        korvs_page(-1, &width);
        korvs_page(-2, &length);
    }
};

template <class T, class... Options>
void write_matrix(const char* title, int nra, int nca, T* a, Options... options) {
    if constexpr (std::is_same_v<T, float>) {
        korvs_f_write_matrix(title, nra, nca, a, options...);
    } else if constexpr (std::is_same_v<T, double>) {
        korvs_d_write_matrix(title, nra, nca, a, options...);
    } else {
        korvs_i_write_matrix(title, nra, nca, a, options...);
    }
}

// The text of a table in string mode, the options given without their final 0:
// "<null>" when the call stored null for the string, "<untouched>" when it never read
// the string option (a walk that ended early).
template <class T, class... Options>
std::string table(const char* title, int nra, int nca, T* a, Options... options) {
    static char sentinel;
    char* text = &sentinel;
    write_matrix(title, nra, nca, a, options..., KORVS_RETURN_STRING, &text, 0);
    if (text == &sentinel) return "<untouched>";
    if (!text) return "<null>";
    std::string out = text;
    std::free(text);
    return out;
}

inline std::string sp(int n) { return std::string(static_cast<std::size_t>(n), ' '); }

// Lines joined with a newline after each.
inline std::string lines(std::initializer_list<std::string> list) {
    std::string out;
    for (const std::string& line : list)
        out += line + "\n";
    return out;
}

}  // namespace output_test
