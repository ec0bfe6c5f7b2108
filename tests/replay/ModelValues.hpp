#ifndef AMBREL_TESTS_REPLAY_MODELVALUES_HPP
#define AMBREL_TESTS_REPLAY_MODELVALUES_HPP

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

namespace ReplayModel {

using nlohmann::json;

inline constexpr std::int64_t second = 1'000'000'000;

/// A number of seconds whose fraction is a sum of few powers of two, so that a double holds it.
std::int64_t nanoseconds(const json& seconds);
std::string seconds(std::int64_t nanoseconds);

std::string upperCase(std::string text);
std::string bytes(const std::string& hex);

/// What the kit makes of a TXT record.
json txtDictionary(const std::string& record);

/// The first IPv4 address of a list of socket addresses in hexadecimal digits, or null.
json ipv4(const json& addresses);

/// A service type or name of the scripts that are tested, in the form that stands for all that are
/// canonically equivalent to it.
std::string canonicalForm(const std::string& text);

} // namespace ReplayModel

#endif
