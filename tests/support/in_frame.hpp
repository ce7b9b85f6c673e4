// Test support for the white-box tests: an inner routine called inside a frame of the
// test's own, as an exported routine calls it, so that its errors reach the error hook
// at the frame's pop.
#pragma once

#include "frame/frame.hpp"

namespace korvs_test {

template <class F> auto in_frame(F f) {
    decltype(f()) r{};
    korvs::run_traced("caller", [&] { r = f(); });
    return r;
}

}  // namespace korvs_test
