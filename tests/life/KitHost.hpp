#ifndef AMBREL_TESTS_LIFE_KITHOST_HPP
#define AMBREL_TESTS_LIFE_KITHOST_HPP

#include "tests/life/Program.hpp"

namespace Life {

/// What the kits do for a host in C++, on a simulated platform.
std::string trace(const Program& program);

} // namespace Life

#endif
