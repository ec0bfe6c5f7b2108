#ifndef AMBREL_TESTS_SUPPORT_ISOLATION_HPP
#define AMBREL_TESTS_SUPPORT_ISOLATION_HPP

#include <functional>
#include <string>

/// Moves this process, which has one thread yet, into a network of its own, in which only the
/// loopback is up and which /sys shows, and gives it mounts of its own. Whoever runs it: it and the
/// programs that it starts keep their user, may do there what root may, and change nothing outside.
/// Each call makes another network. Returns an empty text, or why the kernel does not permit it: a
/// reason to skip the test.
std::string isolate();

/// Runs `body` in a process of its own, and returns what that process has written to its standard
/// output. A program that `body` executes writes there, too.
std::string outputOf(const std::function<void()>& body);

#endif
