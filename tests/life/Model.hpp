#ifndef AMBREL_TESTS_LIFE_MODEL_HPP
#define AMBREL_TESTS_LIFE_MODEL_HPP

#include "tests/life/Program.hpp"

namespace Life {

/// What the kits of such a host must do, as docs/threads-and-lifetimes.md and the public headers
/// tell.
std::string expectedTrace(const Program& program, const Ability& host);

} // namespace Life

#endif
