#ifndef AMBREL_TESTS_GUEST_USER_HPP
#define AMBREL_TESTS_GUEST_USER_HPP

#include <string>
#include <vector>

/// The guest's ordinary user, and their only group.
constexpr unsigned ordinaryUser = 1000;

/// Runs a program as an ordinary user, and returns what it prints.
std::string outputAsUser(const std::vector<std::string>& command);

#endif
