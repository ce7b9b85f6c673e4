// The saved execution context of the signal trap: what a trapped frame saves on entry
// and the handler jumps back to: the C library's sigsetjmp, without the signal mask.
#pragma once

#include <csetjmp>

namespace korvs {

struct JumpBuffer {
    sigjmp_buf platform;
};
#define KORVS_SAVE_CONTEXT(buffer) sigsetjmp((buffer).platform, 0)

// Resumes the frame that saved the buffer, its save then giving 1. Called by the signal
// handler only, from a function other than the one that saved.
[[noreturn]] void jump_back(JumpBuffer& buffer);

}  // namespace korvs
