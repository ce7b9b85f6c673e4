// korvs_wrrrs, korvs_dwrrrs and korvs_wrirs: one value under a title, after an empty
// line, as the 1 by 1 table of the matching write_matrix routine.
#include "frame/frame.hpp"
#include "frame/output/layout.hpp"

namespace korvs {
namespace {

// The empty line belongs to the table, so that a failed check prints nothing at all.
template <class T> void l_write_scalar(const char* title, T x, const char* write_matrix) {
    run_traced(write_matrix, [&] {
        MatrixOptions o;
        o.leading_blank = true;
        print_matrix(title, 1, 1, &x, o);
    });
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API void korvs_wrrrs(const char* title, float x) noexcept {
    korvs::run_frame("korvs_wrrrs", [&] { korvs::l_write_scalar(title, x, "korvs_f_write_matrix"); });
}

KORVS_API void korvs_dwrrrs(const char* title, double x) noexcept {
    korvs::run_frame("korvs_dwrrrs", [&] { korvs::l_write_scalar(title, x, "korvs_d_write_matrix"); });
}

KORVS_API void korvs_wrirs(const char* title, int x) noexcept {
    korvs::run_frame("korvs_wrirs", [&] { korvs::l_write_scalar(title, x, "korvs_i_write_matrix"); });
}

}  // extern "C"
