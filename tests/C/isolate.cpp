#include "tests/support/Isolation.hpp"

extern "C" const char* isolate_c() {
    static const std::string refusal = isolate();
    return refusal.c_str();
}
