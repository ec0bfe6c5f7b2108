#ifndef AMBREL_TESTS_SUPPORT_ISOLATION_HPP
#define AMBREL_TESTS_SUPPORT_ISOLATION_HPP

#include <string>

/// Moves this process into a network of its own, in which only the loopback is up: nothing that it
/// sends leaves. Returns why that is not permitted, or an empty text.
std::string isolateNetwork();

#endif
