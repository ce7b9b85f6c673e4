// Message texts and symbolic names of error codes. Until a message file is found, every
// message is the fallback "Error code %ld." and every name the code's digits.
#include <cstdio>

#include "context.hpp"
#include "errors.hpp"

namespace korvs {

const char* message_text(int code) {
    Context* c = get_context();
    std::snprintf(c->fallback_text, sizeof c->fallback_text, "Error code %ld.", static_cast<long>(code));
    return c->fallback_text;
}

const char* message_name(int code) {
    Context* c = get_context();
    std::snprintf(c->name_text, sizeof c->name_text, "%ld", static_cast<long>(code));
    return c->name_text;
}

}  // namespace korvs
